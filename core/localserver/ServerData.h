#pragma once

#include "model/Clock.h"
#include "model/Records.h"

#include <QByteArray>
#include <QSet>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace brevio {

struct Account {
    User user;
    QByteArray passwordRecord; // from the PasswordHasher: salt and digest together
};

// One step of a member's delivered or read mark, kept to answer receipt queries.
struct ReceiptStep {
    QString conversationID;
    QString userID;
    bool isRead = false;
    qint64 seq = 0;
    QDateTime at;
};

struct StoredInvite {
    Invite invite;
    bool used = false;
};

// Who takes part in one conversation, prepared for checking many users in a row (a broadcast):
// a group's member list is made a set once, so each check is a lookup, not a scan.
class Participation {
public:
    explicit Participation(const Conversation& conversation);
    bool includes(const User& user) const;

private:
    const Conversation& conversation_;
    QSet<QString> members_;
};

// The server's records and the rules of who may see what. It knows nothing of peers or frames;
// LocalServer validates requests and turns the changes made here into replies and broadcasts.
//
// Revisions: each conversation has one counter, its `revision`. Every change in it (a message
// added, edited, deleted or reacted to, a receipt mark moved, the title or members changed) takes
// the next value, and a changed message carries the value of its last change. So a message's
// revision is unique in its conversation and never above the conversation's.
class ServerData {
public:
    explicit ServerData(Clock& clock);

    // Now, cut to whole milliseconds.
    QDateTime now() const;
    // A fresh identifier: prefix + a number never handed out before.
    QString makeID(QStringView prefix);

    // Accounts. E-mail addresses match without regard to case or surrounding blanks.
    Account* account(const QString& userID);
    const Account* account(const QString& userID) const;
    const Account* accountByEmail(const QString& email) const;
    bool isEmailInUse(const QString& email) const { return accountByEmail(email) != nullptr; }
    // Stores the account under user.id (made when empty); the e-mail must not be in use.
    User& addAccount(User user, QByteArray passwordRecord);
    const User* user(const QString& userID) const;

    // Client companies; adding one also opens its direct conversation.
    ClientCompany* client(const QString& clientID);
    ClientCompany& addClient(const QString& name, std::optional<QString> notes);
    Conversation* directConversation(const QString& clientID);

    // Conversations and their messages (in seq order; seq n sits at index n - 1).
    Conversation* conversation(const QString& conversationID);
    Conversation& addGroup(const QString& title, const QStringList& memberIDs);
    const std::vector<ChatMessage>& messages(const QString& conversationID) const;
    ChatMessage* message(const QString& conversationID, qint64 seq);
    // The message an author already sent under a client id, for idempotent sending.
    const ChatMessage* sentByClientID(const QString& authorID, const QString& clientID) const;

    // Who may see what. Staff take part in every direct conversation; a client takes part in its
    // company's direct conversation; a group is open to its members only.
    bool takesPart(const User& user, const Conversation& conversation) const;
    QStringList participants(const Conversation& conversation) const;
    // Clients see the staff, their colleagues and the members of their groups; staff see everyone.
    bool canSeeUser(const User& viewer, const User& other) const;
    // Copies trimmed for the viewer: e-mail only for staff and for oneself, notes only for staff.
    User userAsSeenBy(const User& viewer, const User& other) const;
    ClientCompany clientAsSeenBy(const User& viewer, const ClientCompany& company) const;
    // Clients see only their own company.
    bool canSeeClient(const User& viewer, const QString& clientID) const;
    QList<User> usersVisibleTo(const User& viewer) const;
    QList<ClientCompany> clientsVisibleTo(const User& viewer) const;
    QList<Conversation> conversationsVisibleTo(const User& viewer) const;

    // Changes. The caller has validated the request; each of these takes a new revision.
    ChatMessage& append(Conversation& conversation, const QString& authorID,
                        const QString& clientID, const QString& text,
                        std::optional<qint64> replyToSeq, const QDateTime& at);
    // Gives `message` the next revision and refreshes the conversation's copy of it.
    void markChanged(Conversation& conversation, ChatMessage& message);
    // Moves a member's delivered (or read, which implies delivered) mark up to `seq`, capped at
    // the last message; false when the mark does not move.
    bool recordReceipt(Conversation& conversation, const QString& userID, qint64 seq, bool isRead,
                       const QDateTime& at);
    // One entry per participant other than the author, from the receipt log.
    QList<ReceiptEntry> receipts(const Conversation& conversation,
                                 const ChatMessage& message) const;
    // The revision counter itself moves for changes of the conversation record.
    qint64 bump(Conversation& conversation) { return ++conversation.revision; }

    std::map<QString, QString> tokens; // token → user id
    std::map<QString, StoredInvite> invites;
    std::set<QString> simulatedOnline;
    std::vector<ReceiptStep> receiptLog;

    // Everything above as deterministic JSON text.
    std::string snapshot() const;

private:
    static QString emailKey(const QString& email) { return email.trimmed().toLower(); }

    Clock& clock_;
    quint64 nextID_ = 1;
    std::map<QString, Account> accounts_;
    std::map<QString, QString> emailIndex_; // emailKey → user id
    std::map<QString, ClientCompany> clients_;
    std::map<QString, Conversation> conversations_;
    std::map<QString, std::vector<ChatMessage>> messages_;
    std::map<QString, QString> directIndex_; // client id → its direct conversation
    std::map<std::pair<QString, QString>, std::pair<QString, qint64>> sentIndex_;
};

} // namespace brevio
