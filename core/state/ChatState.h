#pragma once

// The client-side copy of the signed-in user's world. A plain value owned by the session, which
// applies every server frame to it through the operations below; views read it by const reference.
//
// Invariants kept by every operation:
// - every key of `messages`, `historyStart`, `revisions` and `typing` is a key of `conversations`;
// - each message list is ascending by seq with one message per seq;
// - a conversation's lastSeq and its reads/delivered entries never decrease (the one exception is
//   a welcome that shows the server has gone back, with a lastSeq below ours, loaded messages
//   beyond it or a revision below the one we synced: then the server's copy is taken as it is);
// - a message is only replaced by a copy with the same seq and a revision at least as high.
// No operation fails: unknown conversations, unknown messages and stale copies are ignored.

#include "model/Json.h"
#include "model/Records.h"
#include "state/Delivery.h"
#include "wire/Events.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QTimeZone>
#include <boost/json/value.hpp>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace brevio {

struct TimelineEntry;
struct ChatState;
ChatState chatStateFromJson(const boost::json::value& value);

// What insert() did with a live message.
struct InsertResult {
    enum class Kind { gap, added, duplicate, older, unknownConversation };

    Kind kind = Kind::added;
    qint64 after = 0; // only for `gap`: the seq of the last loaded message

    static InsertResult gap(qint64 after) { return {Kind::gap, after}; }
    static InsertResult added() { return {Kind::added, 0}; }
    static InsertResult duplicate() { return {Kind::duplicate, 0}; }
    static InsertResult older() { return {Kind::older, 0}; }
    static InsertResult unknownConversation() { return {Kind::unknownConversation, 0}; }

    friend bool operator==(const InsertResult&, const InsertResult&) = default;
};

// The kind of a history request, kept beside its request id until the page arrives.
struct HistoryDirection {
    enum class Kind { newer, older, latest };

    Kind kind = Kind::latest;
    qint64 seq = 0; // `after` for newer, `before` for older, 0 for latest

    static HistoryDirection newer(qint64 after) { return {Kind::newer, after}; }
    static HistoryDirection older(qint64 before) { return {Kind::older, before}; }
    static HistoryDirection latest() { return {Kind::latest, 0}; }

    // A page that reached back may tell where the conversation's history begins.
    bool reachesBack() const { return kind != Kind::newer; }

    friend bool operator==(const HistoryDirection&, const HistoryDirection&) = default;
};

// The marks that decide the delivery state of every own message of one conversation: read up to
// `read`, delivered up to `delivered`; without other participants (`valid` false) only `sent`.
struct DeliveryThresholds {
    bool valid = false;
    qint64 read = 0;
    qint64 delivered = 0;

    Delivery of(qint64 seq) const;
};

// Who is typing in one conversation: user id → the moment the mark lapses.
using TypingMarks = QHash<QString, QDateTime>;

struct ChatState {
    std::optional<User> me;
    QString organization;
    QHash<QString, User> users;
    QHash<QString, ClientCompany> clients;
    QHash<QString, Conversation> conversations;
    QHash<QString, QList<ChatMessage>> messages;
    QHash<QString, qint64> historyStart;
    QList<PendingMessage> outbox;
    QHash<QString, qint64> revisions;
    QSet<QString> online;
    QHash<QString, TypingMarks> typing;

    friend bool operator==(const ChatState&, const ChatState&) = default;

    // ---- Server events ------------------------------------------------------------------------

    // A live message or an acknowledged own message. Retires the pending copy, moves the
    // conversation summary and the author's marks and clears the author's typing mark even when
    // the message itself is not stored (gap, older).
    InsertResult insert(ChatMessage message);

    // An edited, deleted or re-reacted message. A message that is not loaded changes only the
    // conversation summary.
    void applyUpdate(ChatMessage message);

    // A welcome snapshot. A welcome for another user than `me` first resets the whole state.
    // Conversations the welcome no longer lists are dropped together with their messages, marks
    // and unsent outbox entries: the user has lost access to them. A listed conversation keeps
    // whatever we hold further along, unless the server went back (see the invariants above):
    // then its record is taken as sent, and loaded messages beyond it are dropped.
    void applyWelcome(const Welcome& welcome);

    // A history page. `reachedBack` is true for older and latest requests. Messages naming another
    // conversation than `conversationID` are ignored.
    void mergeHistory(const QString& conversationID, QList<ChatMessage> messages, bool hasMore,
                      bool reachedBack);

    // A changes page: loaded copies are updated as by applyUpdate; messages beyond the loaded list
    // are taken like live messages (appended when they follow on, otherwise only the summary
    // moves); the conversation's entry in `revisions` becomes the page's revision. Returns the seq
    // after which messages are missing when new ones did not follow on (fetch newer(after:) then).
    std::optional<qint64> mergeChanges(const QString& conversationID,
                                       const QList<ChatMessage>& messages, qint64 revision);

    // ---- Outbox -------------------------------------------------------------------------------

    // Queues a message written by the user. Refused (false) for an unknown conversation or a
    // client id already in the outbox.
    bool appendPending(PendingMessage pending);
    // Sets (or, with nullopt, clears) the failure text of an entry; false when there is none.
    bool setFailure(const QString& clientID, std::optional<QString> failure);
    // Drops an entry (the user discarded a failed message); false when there is none.
    bool removePending(const QString& clientID);

    // ---- Marks, typing, presence --------------------------------------------------------------

    // Moves the signed-in user's read mark to the last loaded message. Returns the new mark, or
    // nothing when nothing changed (no user, unknown or empty conversation, mark already there).
    std::optional<qint64> markRead(const QString& conversationID);

    // Another member's receipts: the mark only ever moves forward.
    void advanceRead(const QString& conversationID, const QString& userID, qint64 seq);
    void advanceDelivered(const QString& conversationID, const QString& userID, qint64 seq);

    // Marks `userID` typing in a known conversation until `until`; the signed-in user is ignored.
    void setTyping(const QString& conversationID, const QString& userID, const QDateTime& until);
    void clearTyping(const QString& conversationID, const QString& userID);
    // Removes every mark that has lapsed at `now` (expiry at or before it); true if any went.
    bool pruneTyping(const QDateTime& now);
    // The earliest expiry among the marks, for scheduling the next prune.
    std::optional<QDateTime> earliestTypingExpiry() const;
    // The users typing in a conversation, sorted by id.
    QStringList typingUsers(const QString& conversationID) const;

    void setOnline(const QString& userID, bool isOnline);

    // ---- Records ------------------------------------------------------------------------------

    // Inserts or replaces a conversation. lastSeq and the read/delivered marks never move back;
    // a copy with a lower revision than the stored one does not change title, kind or members.
    void upsertConversation(Conversation conversation);
    // Drops a conversation with its messages, marks, history start, revision and outbox entries.
    void removeConversation(const QString& conversationID);
    void upsertClient(ClientCompany client);
    void upsertUser(User user);

    // ---- Queries ------------------------------------------------------------------------------

    // lastSeq minus the signed-in user's read mark, never below 0; 0 for an unknown conversation.
    qint64 unreadCount(const QString& conversationID) const;
    qint64 totalUnread() const;
    // The user may still edit or delete the message: own, not deleted, less than 24 h old.
    bool canChange(const ChatMessage& message, const QDateTime& now) const;
    // Outbox entries of one conversation, in outbox order.
    QList<PendingMessage> pending(const QString& conversationID) const;
    // Outbox entries without a failure, in outbox order: what is sent again after connecting.
    QList<PendingMessage> unsent() const;
    // Delivery state of an own accepted message.
    Delivery delivery(qint64 seq, const QString& conversationID) const;
    // The same rule computed once for a whole conversation (the timeline asks for every row).
    DeliveryThresholds deliveryThresholds(const QString& conversationID) const;
    // The users on the other side of a conversation: a group's members without the signed-in
    // user; for a direct conversation, the company's users seen by staff, or the staff seen by a
    // client (both from `users`).
    QStringList otherParticipants(const QString& conversationID) const;
    // Whether older messages than the loaded ones exist on the server.
    bool hasOlder(const QString& conversationID) const;
    // A copy for saving: at most `limit` newest messages per conversation, no presence, no typing.
    ChatState trimmed(qsizetype limit) const;

    // The display rows of a conversation (see Timeline.h).
    QList<TimelineEntry> timeline(const QString& conversationID, std::optional<qint64> unreadAfter,
                                  const QDateTime& now, const QTimeZone& zone) const;

private:
    friend ChatState chatStateFromJson(const boost::json::value& value);
    // Stores a saved message list as it was, only made sound: sorted, one message per seq, ids
    // shared, and the summary raised to cover it.
    void restoreMessages(const QString& conversationID, QList<ChatMessage> list);
    void internIDs(ChatMessage& message, const QString& conversationKey) const;
    void retirePending(const ChatMessage& message);
    void dropConversationData(const QString& conversationID);
};

// ---- JSON form --------------------------------------------------------------------------------
// Exactly nine keys: "me" (left out when absent), "organization", "users", "clients",
// "conversations", "messages", "historyStart", "outbox", "revisions". Presence and typing are never
// written. Maps are written with their keys sorted, so equal states give equal files.

// Throws DecodeError. A missing or null collection reads as empty. The result is normalised:
// messages of unknown conversations are dropped, lists sorted by seq without duplicates, and
// lastSeq raised to the last loaded seq.
ChatState chatStateFromJson(const boost::json::value& value);

// Receives a text part by part; returns false to stop the writing (a failed write).
using TextSink = std::function<bool(std::string_view part)>;
// Writes the saved form in consecutive parts of a few hundred kilobytes, so that a large state
// goes to its file without ever being whole in memory. False when the sink stopped it.
bool writeChatState(const ChatState& state, const TextSink& sink);
// The saved form as one string.
std::string encodeChatState(const ChatState& state);
// Never throws: malformed text or a bad value gives the reason instead.
Decoded<ChatState> decodeChatState(std::string_view text);

} // namespace brevio
