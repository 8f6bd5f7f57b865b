#pragma once

#include "model/Backoff.h"
#include "model/ChatError.h"
#include "model/Clock.h"
#include "session/ConnectionLoop.h"
#include "session/ConnectionStatus.h"
#include "session/DeliveryReceipts.h"
#include "session/HistorySync.h"
#include "session/ReplyTable.h"
#include "session/SaveScheduler.h"
#include "session/SessionCredentials.h"
#include "session/SessionEvent.h"
#include "session/SessionPhase.h"
#include "session/SessionStore.h"
#include "session/StorageProblem.h"
#include "session/TypingSender.h"
#include "state/ChatState.h"
#include "transport/ChatTransport.h"
#include "wire/Frames.h"

#include <QObject>
#include <QSet>
#include <QUrl>
#include <chrono>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <type_traits>

namespace brevio {

// The constants a session is built with; the defaults are those of the application's session.
struct SessionSettings {
    Backoff backoff; // 1 s, 30 s, 0.2
    Duration pingInterval = std::chrono::seconds(20);
    Duration replyTimeout = std::chrono::seconds(15);
    bool isDemo = false;
};

// The one object of the core that talks to a server: it owns the connection, the signed-in user's
// ChatState, every request waiting for its reply and every timer of the client (reconnect,
// keep-alive, save, typing, delivered receipts). The save scheduling, history and changes, the
// delivered receipts and typing are helpers it owns, each with its own fields and timers.
//
// Main thread only. Every wait goes through the injected Clock, so the whole engine runs in virtual
// time under a ManualClock. Completion callbacks are never called inside the call that takes them:
// they run later on the main thread, and not at all once the session is gone. Timers and callbacks
// that belong to a replaced connection discard themselves: `generation` rises at every start of a
// receive loop and at every teardown, and they compare it (and the connection) when they wake.
// The connection itself, with its keep-alive and back-off, is the ConnectionLoop it owns.
class ChatSession : public QObject {
    Q_OBJECT
public:
    template <class T> using Done = std::function<void(std::expected<T, ChatError>)>;
    using EventHandler = std::function<void(const SessionEvent&)>;

    using Settings = SessionSettings;

    static constexpr qint64 historyPageSize = HistorySync::pageSize;
    static constexpr Duration logoutWait{2000};

    // `clock`, `transport` and `store` must outlive the session; `store` may be null (then nothing
    // is persisted).
    ChatSession(Clock& clock, ChatTransport& transport, SessionStore* store, ClientInfo clientInfo,
                Settings settings = {}, QObject* parent = nullptr);
    ~ChatSession() override;

    // ---- Published state ----------------------------------------------------------------------
    const SessionPhase& phase() const { return phase_; }
    const ConnectionStatus& status() const { return status_; }
    const ChatState& state() const { return state_; }
    const std::optional<QUrl>& server() const { return server_; }
    std::optional<SignOutReason> signOutReason() const { return signOutReason_; }
    // History keys ("<conversation id>|older", "<conversation id>|newer") of requests in flight.
    const QSet<QString>& loadingHistory() const { return history_.loading(); }
    // The last thing the store could not read or write; nothing while all is well.
    const std::optional<StorageProblem>& storageProblem() const { return storageProblem_; }
    static QString historyKey(const QString& conversationID, const HistoryDirection& direction);

    bool isDemo() const { return settings_.isDemo; }
    const Settings& settings() const { return settings_; }
    const ClientInfo& clientInfo() const { return clientInfo_; }
    const std::optional<SessionCredentials>& credentials() const { return credentials_; }
    // Signed in from the saved credentials while the saved state is still being read.
    bool isRestoring() const { return phase_.isSignedIn() && !stateReady_; }
    // Raised for notifications: messages of others that arrive live, conversations taken away.
    void setOnEvent(EventHandler handler) { onEvent_ = std::move(handler); }

    // ---- Lifecycle ----------------------------------------------------------------------------

    // With stored credentials: signs in from them, shows the saved state as soon as the store has
    // read it and connects with the saved token. While signed in but offline (after suspend), it
    // connects again.
    void restore();
    // Sign-in with e-mail and password, an invite, or a sign-up request. The error is the
    // transport's (unreachable, invalidServerAddress), the server's refusal, unexpectedReply for
    // a first frame that is neither welcome nor error, or timeout.
    void signIn(const QUrl& server, const QString& email, const QString& password, Done<void> done);
    void redeem(const QUrl& server, const QString& code, const QString& name,
                const QString& password, Done<void> done);
    // `request.client` is replaced by this session's ClientInfo.
    void signUp(const QUrl& server, SignUpRequest request, Done<void> done);
    // Connects at once instead of waiting for the scheduled reconnect; does nothing while
    // connecting or online.
    void retryNow();
    // The user's sign-out: when online, tells the server and waits for that at most 2 s, then
    // forgets the credentials and the saved state of this user. `done` runs once they are gone
    // from disk.
    void signOut(Done<void> done = {});
    // Signs out at once. With `keepLocalCopy` the state is saved for the next sign-in of the same
    // user, otherwise the user's saved state is deleted.
    void signOutNow(SignOutReason reason, bool keepLocalCopy);
    // Writes state and credentials now and returns when they are on disk (for quitting).
    void flush();
    // Saves at once, then drops the connection (it comes back with retryNow or restore).
    void suspend();

    // ---- Messages -----------------------------------------------------------------------------

    // Queues a message in the outbox (shown at once) and sends it when online. Returns its client
    // id, or an empty string for an unknown conversation.
    QString send(const QString& conversationID, const QString& text,
                 std::optional<qint64> replyToSeq = std::nullopt);
    // Sends a failed outbox entry again under its own client id; false if there is no such entry.
    bool retrySend(const QString& clientID);
    // Drops an outbox entry that failed; false if there is no such entry.
    bool discardPending(const QString& clientID);
    void edit(const QString& conversationID, qint64 seq, const QString& text, Done<void> done);
    void deleteMessage(const QString& conversationID, qint64 seq, Done<void> done);
    // Without an emoji the user's reaction is removed.
    void react(const QString& conversationID, qint64 seq, std::optional<QString> emoji,
               Done<void> done);

    // ---- History and receipts -----------------------------------------------------------------

    // One page of history; nothing when a request with the same key is in flight, or offline.
    void loadHistory(const QString& conversationID, HistoryDirection direction);
    // The page before the first loaded message (the latest page when none is loaded).
    void loadOlder(const QString& conversationID);
    // Moves the user's read mark to the last loaded message and tells the server.
    void markRead(const QString& conversationID);
    // A keystroke in the composer of a conversation.
    void typing(const QString& conversationID);
    void stopTyping(const QString& conversationID);
    void receipts(const QString& conversationID, qint64 seq, Done<QList<ReceiptEntry>> done);

    // ---- Organisation -------------------------------------------------------------------------

    // For an existing company pass `clientID`, for a new one `companyName`.
    void createInvite(std::optional<QString> clientID, std::optional<QString> companyName,
                      const QString& name, const QString& email, Done<Invite> done);
    void updateClient(const QString& clientID, std::optional<QString> name,
                      std::optional<QString> notes, Done<void> done);
    // Gives the new conversation's id.
    void createGroup(const QString& name, const QStringList& memberIDs, Done<QString> done);
    void updateGroup(const QString& conversationID, std::optional<QString> name,
                     std::optional<QStringList> add, std::optional<QStringList> remove,
                     Done<void> done);
    void renameGroup(const QString& conversationID, const QString& name, Done<void> done);
    void addMembers(const QString& conversationID, const QStringList& userIDs, Done<void> done);
    void removeMembers(const QString& conversationID, const QStringList& userIDs, Done<void> done);
    void leaveGroup(const QString& conversationID, Done<void> done);
    // The encoded picture, or nothing to remove it.
    void setAvatar(std::optional<QString> image, Done<void> done);

Q_SIGNALS:
    void phaseChanged();
    void statusChanged();
    void stateChanged();
    void serverChanged();
    void signOutReasonChanged();
    void loadingHistoryChanged();
    void storageProblemChanged();

private:
    static std::expected<void, ChatError> applyChangeReply(const QPointer<ChatSession>& self,
                                                           const ServerFrame& frame);
    using Connection = std::shared_ptr<TransportConnection>;

    // Lifecycle (ChatSession.cpp).
    void authenticate(const QUrl& server, ClientFrame frame, Done<void> done);
    void handleSignInReply(quint64 attempt, const QUrl& server, const Connection& connection,
                           ServerFrame frame, const Done<void>& done);
    ConnectionLoop::Hooks loopHooks();
    void welcomed(const Welcome& welcome);
    void attached();
    bool handleFatal(const ServerError& error);
    void teardown();
    // The connection broke or was ended: what waited for it fails, what it told of others lapses.
    void connectionLost();
    void abandonRequests();
    void dispatch(const ServerFrame& frame);
    void request(ClientFrame frame, const QString& id, ReplyTable::Completion completion);
    bool post(ClientFrame frame);
    template <class T>
    void complete(const Done<T>& done, std::type_identity_t<std::expected<T, ChatError>> result);
    // Runs `then` on the main thread once the store has carried out everything asked of it so far.
    void afterStoreWrites(std::function<void()> then);
    void setStorageProblem(const StorageProblem& problem);

    // Operations and events (ChatSessionOperations.cpp).
    void transmit(const PendingMessage& pending);
    void handleSendResult(const QString& clientID, ReplyTable::Result result);
    template <class T>
    void ask(ClientFrame frame, const QString& id, Done<T> done,
             std::function<std::expected<T, ChatError>(const ServerFrame&)> onReply);
    void applyEvent(const ServerFrame& frame);
    void afterInsert(const ChatMessage& message, const InsertResult& result, bool live);
    bool isMine(const ChatMessage& message) const;
    void raise(const SessionEvent& event);

    // Published setters: each signals only a real change.
    void setPhase(SessionPhase phase);
    void setStatus(ConnectionStatus status);
    void setState(ChatState state);
    void publishState();
    void setServer(std::optional<QUrl> server);
    void setSignOutReason(std::optional<SignOutReason> reason);

    Clock& clock_;
    ChatTransport& transport_;
    SessionStore* const store_;
    const ClientInfo clientInfo_;
    const Settings settings_;
    EventHandler onEvent_;

    SessionPhase phase_;
    ConnectionStatus status_;
    ChatState state_;
    std::optional<QUrl> server_;
    std::optional<SignOutReason> signOutReason_;
    std::optional<StorageProblem> storageProblem_;

    std::optional<SessionCredentials> credentials_;
    // False while the saved state is being read: nothing may be saved over it until it is in.
    bool stateReady_ = true;

    quint64 signInAttempt_ = 0;
    Connection signInConnection_;
    quint64 restoreAttempt_ = 0;
    quint64 logoutAttempt_ = 0;

    TimerHandle signInTimer_; // a sign-in that gets no answer
    TimerHandle logoutTimer_;

    ReplyTable replies_;

    // After the state they read: they go first, and their timers with them.
    SaveScheduler saving_;
    HistorySync history_;
    DeliveryReceipts receipts_;
    TypingSender typing_;
    // Last: it goes first, closing the connections before anything they report to.
    ConnectionLoop loop_;
};

template <class T>
void ChatSession::complete(const Done<T>& done,
                           std::type_identity_t<std::expected<T, ChatError>> result) {
    if (!done)
        return;
    // Later, on the main thread: the caller's code never runs inside the session's own steps.
    QMetaObject::invokeMethod(
        this, [done, result = std::move(result)] { done(result); }, Qt::QueuedConnection);
}

} // namespace brevio
