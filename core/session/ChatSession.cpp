#include "session/ChatSession.h"

#include "model/ServerCode.h"

#include <QPointer>
#include <cmath>

namespace brevio {

namespace {

bool endsSession(const QString& code) {
    return code == ServerCode::sessionExpired || code == ServerCode::notAuthenticated;
}

bool isUpgradeRequired(const QString& code) {
    return code == ServerCode::upgradeRequired;
}

} // namespace

ChatSession::ChatSession(Clock& clock, ChatTransport& transport, SessionStore* store,
                         ClientInfo clientInfo, Settings settings, QObject* parent)
    : QObject(parent), clock_(clock), transport_(transport), store_(store),
      clientInfo_(std::move(clientInfo)), settings_(settings),
      replies_(clock, settings.replyTimeout), saving_(clock, store, state_,
                                                      [this]() -> std::optional<QString> {
                                                          // Nothing is written for nobody, nor over
                                                          // a saved state not read yet.
                                                          if (!credentials_ || !stateReady_)
                                                              return std::nullopt;
                                                          return credentials_->userID;
                                                      }),
      history_(state_,
               {[this] { return status_.isOnline() && loop_.attached(); },
                [this](ClientFrame frame, const QString& id, ReplyTable::Completion completion) {
                    request(std::move(frame), id, std::move(completion));
                },
                [this](const QList<ChatMessage>& messages) {
                    publishState();
                    receipts_.noteMessages(messages);
                    saving_.schedule();
                },
                [this] { Q_EMIT loadingHistoryChanged(); }}),
      receipts_(clock, state_, [this](ClientFrame frame) { return post(std::move(frame)); }),
      typing_(
          clock, state_, [this](ClientFrame frame) { return post(std::move(frame)); },
          [this] { publishState(); }),
      loop_(clock, transport, clientInfo_, settings.backoff, settings.pingInterval,
            settings.replyTimeout, loopHooks()) {
    if (store_) {
        QPointer<ChatSession> self(this);
        store_->setProblemHandler([self](const StorageProblem& problem) {
            if (self)
                self->setStorageProblem(problem);
        });
    }
}

ChatSession::~ChatSession() {
    if (store_)
        store_->setProblemHandler({});
    // The loop closes its own connections; a sign-in in progress is closed here. Pending
    // completions hold this object only weakly.
    if (signInConnection_)
        signInConnection_->close();
}

QString ChatSession::historyKey(const QString& conversationID, const HistoryDirection& direction) {
    return HistorySync::key(conversationID, direction);
}

// ---- Published setters --------------------------------------------------------------------------

void ChatSession::setPhase(SessionPhase phase) {
    if (phase_ == phase)
        return;
    phase_ = phase;
    Q_EMIT phaseChanged();
}

void ChatSession::setStatus(ConnectionStatus status) {
    if (status_ == status)
        return;
    status_ = std::move(status);
    Q_EMIT statusChanged();
}

void ChatSession::setState(ChatState state) {
    state_ = std::move(state);
    saving_.outboxMayHaveChanged();
    Q_EMIT stateChanged();
}

void ChatSession::publishState() {
    saving_.outboxMayHaveChanged();
    Q_EMIT stateChanged();
}

void ChatSession::setStorageProblem(const StorageProblem& problem) {
    if (storageProblem_ == problem)
        return;
    storageProblem_ = problem;
    Q_EMIT storageProblemChanged();
}

void ChatSession::setServer(std::optional<QUrl> server) {
    if (server_ == server)
        return;
    server_ = std::move(server);
    Q_EMIT serverChanged();
}

void ChatSession::setSignOutReason(std::optional<SignOutReason> reason) {
    if (signOutReason_ == reason)
        return;
    signOutReason_ = reason;
    Q_EMIT signOutReasonChanged();
}

// ---- Restore and sign-in ------------------------------------------------------------------------

void ChatSession::restore() {
    if (phase_.isSignedIn()) {
        if (status_.isOffline())
            retryNow(); // suspended
        return;
    }
    if (!phase_.isSignedOut() || !store_)
        return;
    std::optional<SessionCredentials> stored = store_->loadCredentials();
    if (!stored)
        return;
    credentials_ = stored;
    setServer(stored->server);
    stateReady_ = false;
    setPhase(SessionPhase::signedIn());
    const quint64 attempt = ++restoreAttempt_;
    QPointer<ChatSession> self(this);
    store_->loadStateAsync(stored->userID, [self, attempt](std::optional<ChatState> saved) {
        if (!self || self->restoreAttempt_ != attempt)
            return;
        self->stateReady_ = true;
        if (saved) {
            self->saving_.adoptOutbox(saved->outbox);
            self->setState(std::move(*saved));
        } else {
            Q_EMIT self->stateChanged(); // nothing saved: restoring is over all the same
        }
        if (self->phase_.isSignedIn() && self->credentials_)
            self->loop_.start(nullptr);
    });
}

void ChatSession::signIn(const QUrl& server, const QString& email, const QString& password,
                         Done<void> done) {
    authenticate(server, ClientFrame::login({email, password, clientInfo_}), std::move(done));
}

void ChatSession::redeem(const QUrl& server, const QString& code, const QString& name,
                         const QString& password, Done<void> done) {
    authenticate(server, ClientFrame::redeem({code, name, password, clientInfo_}), std::move(done));
}

void ChatSession::signUp(const QUrl& server, SignUpRequest request, Done<void> done) {
    request.client = clientInfo_;
    authenticate(server, ClientFrame::signup(std::move(request)), std::move(done));
}

void ChatSession::authenticate(const QUrl& server, ClientFrame frame, Done<void> done) {
    const quint64 attempt = ++signInAttempt_;
    if (signInConnection_)
        signInConnection_->close();
    signInConnection_.reset();
    signInTimer_.reset();

    auto opened = transport_.connect(server);
    if (!opened) {
        complete(done, std::unexpected(opened.error()));
        return;
    }
    Connection connection = *opened;
    signInConnection_ = connection;
    // The reason the first frame never came, when it is known better than "connection closed".
    auto failure = std::make_shared<std::optional<ChatError>>();
    connection->send(std::move(frame), [connection, failure](std::expected<void, ChatError> sent) {
        if (!sent) {
            if (!*failure)
                *failure = sent.error();
            connection->close();
        }
    });
    signInTimer_ = clock_.schedule(settings_.replyTimeout, [connection, failure] {
        if (!*failure)
            *failure = ChatError::timeout();
        connection->close();
    });
    QPointer<ChatSession> self(this);
    connection->receive([self, attempt, server, connection, failure,
                         done](std::expected<ServerFrame, ChatError> first) {
        if (!self)
            return;
        if (self->signInAttempt_ != attempt) {
            connection->close();
            self->complete(done, std::unexpected(ChatError::notConnected()));
            return;
        }
        self->signInTimer_.reset();
        self->signInConnection_.reset();
        if (!first) {
            connection->close();
            self->complete(done, std::unexpected(failure->value_or(first.error())));
            return;
        }
        self->handleSignInReply(attempt, server, connection, std::move(*first), done);
    });
}

void ChatSession::handleSignInReply(quint64 attempt, const QUrl& server,
                                    const Connection& connection, ServerFrame frame,
                                    const Done<void>& done) {
    if (const auto* error = frame.as<ServerError>()) {
        connection->close();
        if (isUpgradeRequired(error->code))
            setPhase(SessionPhase::upgradeRequired(error->minimumBuild));
        complete(done, std::unexpected(ChatError::server(error->code, error->message)));
        return;
    }
    const auto* welcomePtr = frame.as<Welcome>();
    if (!welcomePtr) {
        connection->close();
        complete(done, std::unexpected(ChatError::unexpectedReply()));
        return;
    }
    Welcome welcome = *welcomePtr;
    const SessionCredentials credentials{server, welcome.token, welcome.me.id};

    // Whatever ran before ends here; a previous user's unsaved changes are written first.
    if (credentials_ && credentials_->userID != credentials.userID)
        saving_.saveNow();
    ++restoreAttempt_;
    teardown();
    if (store_)
        store_->saveCredentials(credentials);
    credentials_ = credentials;
    setServer(server);

    QPointer<ChatSession> self(this);
    auto finish = [self, attempt, connection, welcome = std::move(welcome),
                   done](std::optional<ChatState> saved) {
        if (!self)
            return;
        if (self->signInAttempt_ != attempt) {
            connection->close();
            self->complete(done, std::unexpected(ChatError::notConnected()));
            return;
        }
        ChatState state = saved ? std::move(*saved) : ChatState{};
        self->saving_.adoptOutbox(state.outbox);
        state.applyWelcome(welcome);
        self->stateReady_ = true;
        self->setState(std::move(state));
        self->setSignOutReason(std::nullopt);
        self->setPhase(SessionPhase::signedIn());
        self->loop_.start(connection);
        self->complete(done, {});
    };
    if (store_) {
        // Decoding a large saved state must not hold up the main thread.
        stateReady_ = false;
        store_->loadStateAsync(credentials.userID, std::move(finish));
    } else {
        finish(std::nullopt);
    }
}

// ---- Connection ---------------------------------------------------------------------------------

ConnectionLoop::Hooks ChatSession::loopHooks() {
    return {[this]() -> std::optional<SessionCredentials> {
                if (!phase_.isSignedIn())
                    return std::nullopt;
                return credentials_;
            },
            [this](ConnectionStatus status) { setStatus(std::move(status)); },
            [this](const Welcome& welcome) { welcomed(welcome); },
            [this](const ServerError& error) { return handleFatal(error); },
            [this] { attached(); },
            [this](const ServerFrame& frame) { dispatch(frame); },
            [this] { connectionLost(); }};
}

void ChatSession::welcomed(const Welcome& welcome) {
    state_.applyWelcome(welcome);
    publishState();
    SessionCredentials renewed{credentials_->server, welcome.token, welcome.me.id};
    if (renewed != *credentials_) {
        credentials_ = renewed;
        if (store_)
            store_->saveCredentials(renewed);
    }
}

void ChatSession::attached() {
    history_.synchronize();
    for (const PendingMessage& pending : state_.unsent())
        transmit(pending);
    saving_.schedule();
    receipts_.connected();
}

void ChatSession::retryNow() {
    if (status_.isWaiting()) {
        loop_.retryNow();
        return;
    }
    if (status_.isOffline() && phase_.isSignedIn() && credentials_ && stateReady_)
        loop_.start(nullptr);
}

// ---- Requests -----------------------------------------------------------------------------------

bool ChatSession::post(ClientFrame frame) {
    return status_.isOnline() && loop_.post(std::move(frame));
}

void ChatSession::request(ClientFrame frame, const QString& id, ReplyTable::Completion completion) {
    if (!status_.isOnline() || !loop_.attached()) {
        completion(std::unexpected(ChatError::notConnected()));
        return;
    }
    if (!replies_.add(id, std::move(completion)))
        return; // the same request is already on its way (a resend of an unacknowledged message)
    loop_.post(std::move(frame));
}

void ChatSession::dispatch(const ServerFrame& frame) {
    const auto* error = frame.as<ServerError>();
    if (const std::optional<QString> replyTo = frame.replyTo()) {
        if (error) {
            replies_.resolve(*replyTo,
                             std::unexpected(ChatError::server(error->code, error->message)));
            handleFatal(*error);
            return;
        }
        if (replies_.resolve(*replyTo, frame))
            return;
        // A reply nobody waits for any more (it came after its time-out) is dropped.
        return;
    }
    if (error) {
        handleFatal(*error); // any other unsolicited refusal has nobody to tell
        return;
    }
    applyEvent(frame);
}

bool ChatSession::handleFatal(const ServerError& error) {
    if (endsSession(error.code)) {
        signOutNow(SignOutReason::sessionExpired, true);
        return true;
    }
    if (isUpgradeRequired(error.code)) {
        teardown();
        setPhase(SessionPhase::upgradeRequired(error.minimumBuild));
        return true;
    }
    return false;
}

void ChatSession::abandonRequests() {
    std::vector<ReplyTable::Completion> waiting = replies_.takeAll();
    history_.abandon();
    for (auto& completion : waiting)
        completion(std::unexpected(ChatError::notConnected()));
}

// ---- Teardown and sign-out ----------------------------------------------------------------------

void ChatSession::teardown() {
    loop_.teardown();
    // Everything of the old connection is gone before anyone sees "offline".
    connectionLost();
    setStatus(ConnectionStatus::offline());
}

void ChatSession::connectionLost() {
    abandonRequests();
    typing_.clear();
    // Without a connection nobody is known to be online or typing: the marks heard on the old one
    // go, and the next welcome and events bring them back. Never saved, so nothing is written.
    if (!state_.online.isEmpty() || !state_.typing.isEmpty()) {
        state_.online.clear();
        state_.typing.clear();
        Q_EMIT stateChanged();
    }
}

void ChatSession::signOutNow(SignOutReason reason, bool keepLocalCopy) {
    // An unfinished sign-in, restore or logout of before ends here too.
    ++signInAttempt_;
    ++restoreAttempt_;
    ++logoutAttempt_;
    signInTimer_.reset();
    logoutTimer_.reset();
    if (signInConnection_) {
        signInConnection_->close();
        signInConnection_.reset();
    }
    if (credentials_ && store_) {
        if (keepLocalCopy)
            saving_.saveNow();
        else
            store_->deleteState(credentials_->userID);
    }
    // Nothing pending may write the user's files again.
    saving_.cancel();
    receipts_.clear();
    typing_.stopPruning();
    teardown();
    if (store_)
        store_->deleteCredentials();
    credentials_.reset();
    stateReady_ = true;
    setState(ChatState{});
    setPhase(SessionPhase::signedOut());
    setSignOutReason(reason);
}

void ChatSession::signOut(Done<void> done) {
    // Done only once the deletes have reached the disk.
    auto whenGone = [this, done] {
        afterStoreWrites([done] {
            if (done)
                done({});
        });
    };
    if (!phase_.isSignedIn() || !status_.isOnline() || !loop_.attached()) {
        signOutNow(SignOutReason::userRequested, false);
        whenGone();
        return;
    }
    // Tell the server, but never wait more than logoutWait for the connection to take it.
    const quint64 attempt = ++logoutAttempt_;
    QPointer<ChatSession> self(this);
    auto finished = std::make_shared<bool>(false);
    auto finish = [self, attempt, whenGone, finished] {
        if (!self || *finished)
            return;
        *finished = true;
        if (self->logoutAttempt_ == attempt)
            self->signOutNow(SignOutReason::userRequested, false);
        whenGone();
    };
    loop_.post(ClientFrame::logout(), [finish](std::expected<void, ChatError>) { finish(); });
    logoutTimer_ = clock_.schedule(logoutWait, finish);
}

// ---- Saving -------------------------------------------------------------------------------------

void ChatSession::afterStoreWrites(std::function<void()> then) {
    QPointer<ChatSession> self(this);
    auto guarded = [self, then = std::move(then)] {
        if (self)
            then();
    };
    if (store_)
        store_->whenWritten(std::move(guarded));
    else
        QMetaObject::invokeMethod(this, std::move(guarded), Qt::QueuedConnection);
}

void ChatSession::flush() {
    saving_.saveNow();
    if (!store_)
        return;
    if (credentials_)
        store_->saveCredentials(*credentials_);
    store_->flush();
}

void ChatSession::suspend() {
    saving_.saveNow();
    teardown();
}

} // namespace brevio
