// Sign-in, restore, the outbox, history requests, server events and the fatal codes, against the
// scripted transport.

#include "SessionHarness.h"

using namespace std::chrono_literals;

namespace brevio::test {
namespace {

std::vector<QString> sentClientIDs(const FakeTransport& transport) {
    std::vector<QString> ids;
    for (const ClientFrame& frame : transport.sentOf(ClientFrame::Type::send))
        ids.push_back(frame.as<SendRequest>()->id);
    return ids;
}

TEST(SessionSignIn, AWelcomeSignsInStoresCredentialsAndPublishesTheState) {
    SessionHarness h;
    int phaseSignals = 0;
    QObject::connect(h.session.get(), &ChatSession::phaseChanged, [&] { ++phaseSignals; });
    h.signIn();
    EXPECT_TRUE(h->phase().isSignedIn());
    EXPECT_EQ(phaseSignals, 1);
    EXPECT_EQ(h->server(), serverURL);
    EXPECT_EQ(h->signOutReason(), std::nullopt);
    ASSERT_TRUE(h.store.credentials);
    EXPECT_EQ(*h.store.credentials, (SessionCredentials{serverURL, "token-1", staffID}));
    EXPECT_EQ(h->state().me->id, staffID);
    EXPECT_EQ(h->state().conversations.size(), 3);
    const auto login = h.transport.sentOf(ClientFrame::Type::login);
    ASSERT_EQ(login.size(), 1u);
    EXPECT_EQ(login[0].as<LoginRequest>()->client.build, 100);
}

TEST(SessionSignIn, RefusalsAndOddAnswersComeBackAsErrors) {
    {
        SessionHarness h;
        h.transport.script = [](FakeConnection& c, const ClientFrame&) {
            c.push(ServerFrame::error({std::nullopt, "invalid_credentials", std::nullopt, {}}));
        };
        Outcome<void> out;
        h->signIn(serverURL, "a@b.it", "sbagliata", out.done());
        h.advance(0ms);
        ASSERT_EQ(out.calls, 1);
        EXPECT_EQ(*out.result, std::unexpected(ChatError::server("invalid_credentials")));
        EXPECT_TRUE(h->phase().isSignedOut());
        EXPECT_TRUE(h.connection().closed);
        EXPECT_FALSE(h.store.credentials);
    }
    {
        SessionHarness h;
        h.transport.script = [](FakeConnection& c, const ClientFrame&) {
            c.push(ServerFrame::error({std::nullopt, "upgrade_required", std::nullopt, 240}));
        };
        Outcome<void> out;
        h->redeem(serverURL, "ABCD-EFGH", "Nuovo", "password1", out.done());
        h.advance(0ms);
        EXPECT_EQ(*out.result, std::unexpected(ChatError::server("upgrade_required")));
        EXPECT_EQ(h->phase(), SessionPhase::upgradeRequired(240));
    }
    {
        SessionHarness h;
        h.transport.script = [](FakeConnection& c, const ClientFrame&) {
            c.push(ServerFrame::presence({"x", true}));
        };
        Outcome<void> out;
        h->signUp(serverURL, SignUpRequest{"Nome", "n@x.it", {}, "password1", "Ciao", {}, {}},
                  out.done());
        h.advance(0ms);
        EXPECT_EQ(*out.result, std::unexpected(ChatError::unexpectedReply()));
        EXPECT_TRUE(h.connection().closed);
        EXPECT_EQ(h.connection().sentOf(ClientFrame::Type::signup)[0]->as<SignUpRequest>()->client,
                  h->clientInfo());
    }
    {
        SessionHarness h;
        h.transport.serverDown = true;
        Outcome<void> out;
        h->signIn(serverURL, "a@b.it", "password1", out.done());
        h.advance(0ms);
        EXPECT_EQ(*out.result, std::unexpected(ChatError::unreachable()));
        h.advance(1min); // no reconnecting without a sign-in
        EXPECT_EQ(h.transport.connections.size(), 1u);
    }
    {
        SessionHarness h;
        h.transport.script = nullptr; // a server that never answers
        Outcome<void> out;
        h->signIn(serverURL, "a@b.it", "password1", out.done());
        h.advance(15s);
        ASSERT_EQ(out.calls, 1);
        EXPECT_EQ(*out.result, std::unexpected(ChatError::timeout()));
    }
}

TEST(SessionRestore, TheSavedStateShowsBeforeTheServerAnswers) {
    SessionHarness h;
    ChatState saved;
    saved.applyWelcome(sampleWelcome());
    saved.insert(message("c1", 1, "u-client1", "Salvato", h.clock.now()));
    h.store.credentials = SessionCredentials{serverURL, "token-old", staffID};
    h.store.states[staffID] = saved;
    h.transport.script = nullptr; // the server stays silent

    h->restore();
    EXPECT_TRUE(h->phase().isSignedIn());
    EXPECT_TRUE(h->isRestoring());
    EXPECT_EQ(h->server(), serverURL);
    h.advance(0ms);
    EXPECT_FALSE(h->isRestoring());
    EXPECT_EQ(h->state(), saved);
    EXPECT_TRUE(h->status().isConnecting());
    const auto resume = h.transport.sentOf(ClientFrame::Type::resume);
    ASSERT_EQ(resume.size(), 1u);
    EXPECT_EQ(resume[0].as<ResumeRequest>()->token, "token-old");

    // The resume gets no answer in time: the connection is dropped and tried again later.
    h.advance(15s);
    EXPECT_TRUE(h->status().isWaiting());
    EXPECT_EQ(h->state(), saved);
}

TEST(SessionRestore, WithNothingSavedTheEndOfReadingIsStillAnnounced) {
    SessionHarness h;
    h.store.credentials = SessionCredentials{serverURL, "token-old", staffID};
    h.transport.script = nullptr; // the server stays silent
    h->restore();
    int changes = 0;
    QObject::connect(h.session.get(), &ChatSession::stateChanged, [&] { ++changes; });
    h.advance(0ms);
    EXPECT_FALSE(h->isRestoring());
    EXPECT_EQ(changes, 1);
    EXPECT_FALSE(h->state().me);
}

TEST(SessionRestore, NothingHappensWithoutCredentials) {
    SessionHarness h;
    h->restore();
    h.advance(1min);
    EXPECT_TRUE(h->phase().isSignedOut());
    EXPECT_TRUE(h.transport.connections.empty());
    h->retryNow();
    EXPECT_TRUE(h.transport.connections.empty());
}

TEST(SessionFatal, UpgradeRequiredDuringResumeStopsAllReconnection) {
    SessionHarness h;
    h.store.credentials = SessionCredentials{serverURL, "token-old", staffID};
    h.server.resumeRefusal = ServerError{std::nullopt, "upgrade_required", std::nullopt, 7};
    h->restore();
    h.advance(0ms);
    EXPECT_EQ(h->phase(), SessionPhase::upgradeRequired(7));
    EXPECT_TRUE(h->status().isOffline());
    h.advance(30min);
    h->retryNow();
    h.advance(30min);
    EXPECT_EQ(h.transport.connections.size(), 1u);
    EXPECT_EQ(h->phase(), SessionPhase::upgradeRequired(7));
}

TEST(SessionFatal, AnExpiredSessionSignsOutButKeepsTheLocalCopy) {
    SessionHarness h;
    h.signIn();
    h.connection().push(
        ServerFrame::message({message("c1", 1, "u-client1", "Da tenere", h.clock.now())}));
    h.advance(0ms);
    h.connection().push(ServerFrame::error({std::nullopt, "session_expired", std::nullopt, {}}));
    h.advance(0ms); // no debounce: the save happens with the sign-out
    EXPECT_TRUE(h->phase().isSignedOut());
    EXPECT_EQ(h->signOutReason(), SignOutReason::sessionExpired);
    EXPECT_TRUE(h->status().isOffline());
    EXPECT_EQ(h->state(), ChatState{});
    EXPECT_FALSE(h.store.credentials);
    ASSERT_TRUE(h.store.states.contains(staffID));
    EXPECT_EQ(h.store.states.at(staffID).messages.value("c1").size(), 1);
    h.advance(10min);
    EXPECT_EQ(h.transport.connections.size(), 1u);

    // The next sign-in of the same user starts from it.
    h.server.welcome.conversations[0].lastSeq = 1;
    h.signIn();
    EXPECT_EQ(h->state().messages.value("c1").size(), 1);
}

TEST(SessionFatal, NotAuthenticatedAsAReplyFailsTheRequestAndSignsOut) {
    SessionHarness h;
    h.signIn();
    Outcome<QString> out;
    h->createGroup("G", {"u-client1"}, out.done());
    h.advance(0ms);
    const QString id = h.connection().sentOf(ClientFrame::Type::createGroup)[0]->requestID();
    h.connection().push(ServerFrame::error({id, "not_authenticated", std::nullopt, {}}));
    h.advance(0ms);
    EXPECT_EQ(*out.result, std::unexpected(ChatError::server("not_authenticated")));
    EXPECT_EQ(h->signOutReason(), SignOutReason::sessionExpired);
}

TEST(SessionSignOut, TheUsersSignOutTellsTheServerAndForgetsTheLocalCopy) {
    SessionHarness h;
    h.signIn();
    h.advance(2s);
    ASSERT_TRUE(h.store.states.contains(staffID));
    Outcome<void> out;
    h->signOut(out.done());
    h.advance(0ms);
    EXPECT_EQ(out.calls, 1);
    EXPECT_EQ(h.connection().sentOf(ClientFrame::Type::logout).size(), 1u);
    EXPECT_TRUE(h->phase().isSignedOut());
    EXPECT_EQ(h->signOutReason(), SignOutReason::userRequested);
    EXPECT_FALSE(h.store.states.contains(staffID));
    EXPECT_FALSE(h.store.credentials);
    EXPECT_TRUE(h.connection().closed);
}

TEST(SessionSignOut, AConnectionThatTakesNothingDelaysTheSignOutAtMostTwoSeconds) {
    SessionHarness h;
    h.signIn();
    h.connection().holdSends = true;
    Outcome<void> out;
    h->signOut(out.done());
    h.advance(1999ms);
    EXPECT_TRUE(h->phase().isSignedIn());
    EXPECT_EQ(out.calls, 0);
    h.advance(1ms);
    EXPECT_TRUE(h->phase().isSignedOut());
    EXPECT_EQ(out.calls, 1);
}

TEST(SessionSignOut, NoObserverSeesOfflineWithRequestsStillLoading) {
    SessionHarness h;
    h.server.answerSync = false;
    h.signIn();
    h->loadOlder("c1");
    h->typing("c2");
    h.advance(0ms);
    ASSERT_FALSE(h->loadingHistory().isEmpty());
    Outcome<void> edit;
    h->edit("c1", 1, "x", edit.done());
    int offline = 0;
    QObject::connect(h.session.get(), &ChatSession::statusChanged, [&] {
        if (!h->status().isOffline())
            return;
        ++offline;
        EXPECT_TRUE(h->loadingHistory().isEmpty());
    });
    h->suspend();
    EXPECT_EQ(offline, 1);
    h.advance(0ms);
    EXPECT_EQ(*edit.result, std::unexpected(ChatError::notConnected()));
    // No stop-typing frame goes out later for a typing mark of the old connection.
    const std::size_t typing = h.transport.sentOf(ClientFrame::Type::typing).size();
    h->retryNow();
    h.advance(10s);
    EXPECT_EQ(h.transport.sentOf(ClientFrame::Type::typing).size(), typing);
}

TEST(SessionSuspend, SuspendSavesAndDisconnectsAndRestoreResumesTakingTheNewToken) {
    SessionHarness h;
    h.signIn();
    h.connection().push(ServerFrame::read({"c1", "u-client1", 3}));
    h.advance(0ms);
    h.store.writes.clear();
    h->suspend();
    ASSERT_EQ(h.store.writes.size(), 1u);
    EXPECT_EQ(h.store.states.at(staffID).conversations.value("c1").reads.value("u-client1"), 3);
    EXPECT_TRUE(h.connection().closed);
    EXPECT_TRUE(h->status().isOffline());
    EXPECT_TRUE(h->phase().isSignedIn());
    h.advance(10min);
    EXPECT_EQ(h.transport.connections.size(), 1u);

    // A new token in the resume's welcome replaces the stored one.
    h.server.welcome.token = "token-new";
    h->restore();
    h.advance(0ms);
    EXPECT_TRUE(h->status().isOnline());
    ASSERT_EQ(h.transport.connections.size(), 2u);
    const auto resume = h.connection().sentOf(ClientFrame::Type::resume);
    ASSERT_EQ(resume.size(), 1u);
    EXPECT_EQ(resume[0]->as<ResumeRequest>()->token, "token-1");
    EXPECT_EQ(h.store.credentials->token, "token-new");
    EXPECT_EQ(h->credentials()->token, "token-new");
}

TEST(SessionOutbox, AMessageWrittenOfflineGoesOutOnceAtTheNextConnection) {
    SessionHarness h(SessionSettings{{1, 30, 0}, 20s, 15s, false});
    h.signIn();
    h.transport.serverDown = true;
    h.connection().fail();
    h.advance(0ms);
    const QString a = h->send("c1", "primo");
    const QString b = h->send("c2", "secondo", 4);
    ASSERT_FALSE(a.isEmpty());
    EXPECT_EQ(h->state().outbox.size(), 2);
    EXPECT_TRUE(h.transport.sentOf(ClientFrame::Type::send).empty());

    h.transport.serverDown = false;
    h.advanceTo(h->status().until);
    ASSERT_TRUE(h->status().isOnline());
    EXPECT_EQ(sentClientIDs(h.transport), (std::vector<QString>{a, b}));
    EXPECT_EQ(h.transport.sentOf(ClientFrame::Type::send)[1].as<SendRequest>()->replyToSeq, 4);
    EXPECT_TRUE(h->state().outbox.isEmpty());
    EXPECT_EQ(h->state().messages.value("c1").size(), 1);
    EXPECT_EQ(h->state().messages.value("c1").first().clientID, a);
}

TEST(SessionEvents, PresenceAndTypingHeardOnALostConnectionAreForgottenBeforeItSaysOffline) {
    SessionHarness h(SessionSettings{{1, 30, 0}, 20s, 15s, false});
    h.signIn();
    h.connection().push(ServerFrame::presence({"u-client1", true}));
    h.connection().push(ServerFrame::typing({"c1", "u-client1", true}));
    h.advance(0ms);
    ASSERT_TRUE(h->state().online.contains("u-client1"));
    ASSERT_EQ(h->state().typingUsers("c1"), QStringList{"u-client1"});

    // Whoever looks at the state when the status says offline sees nobody online or typing.
    bool staleWhenOffline = false;
    QObject::connect(h.session.get(), &ChatSession::statusChanged, [&] {
        if (!h->status().isOnline())
            staleWhenOffline |= !h->state().online.isEmpty() || !h->state().typing.isEmpty();
    });
    h.advance(6s); // anything the events scheduled is written
    const auto writes = h.store.writes.size();
    h.transport.serverDown = true;
    h.connection().fail();
    h.advance(0ms);
    EXPECT_FALSE(h->status().isOnline());
    EXPECT_FALSE(staleWhenOffline);
    EXPECT_TRUE(h->state().online.isEmpty());
    EXPECT_TRUE(h->state().typingUsers("c1").isEmpty());
    h.advance(6s);
    EXPECT_EQ(h.store.writes.size(), writes) << "presence and typing are never saved";
}

TEST(SessionOutbox, AnAckLostWithTheConnectionIsResentWithTheSameClientID) {
    SessionHarness h(SessionSettings{{1, 30, 0}, 20s, 15s, false});
    h.signIn();
    // The server stores the message but the connection drops before its ack arrives.
    h.transport.script = [&](FakeConnection& c, const ClientFrame& frame) {
        if (frame.type == ClientFrame::Type::send) {
            FakeConnection lost;
            h.server.handle(lost, frame);
            c.fail();
            return;
        }
        h.server.handle(c, frame);
    };
    h.connection().script = h.transport.script;
    const QString id = h->send("c1", "una volta sola");
    h.advance(0ms);
    EXPECT_TRUE(h->status().isWaiting());
    EXPECT_EQ(h->state().outbox.size(), 1);
    EXPECT_FALSE(h->state().outbox.first().failure);

    h.transport.script = [&](FakeConnection& c, const ClientFrame& frame) {
        h.server.handle(c, frame);
    };
    h.advanceTo(h->status().until);
    ASSERT_TRUE(h->status().isOnline());
    EXPECT_EQ(sentClientIDs(h.transport), (std::vector<QString>{id, id}));
    EXPECT_EQ(h.server.stored.size(), 1u);
    EXPECT_TRUE(h->state().outbox.isEmpty());
    EXPECT_EQ(h->state().messages.value("c1").size(), 1);
}

TEST(SessionOutbox, ARefusedMessageWaitsForTheUsersRetryUnderItsOwnID) {
    SessionHarness h(SessionSettings{{1, 30, 0}, 20s, 15s, false});
    h.signIn();
    h.server.ackSends = false;
    h.transport.script = [&](FakeConnection& c, const ClientFrame& frame) {
        if (const auto* send = frame.as<SendRequest>(); send && !h.server.ackSends) {
            c.push(ServerFrame::error({send->id, "message_too_long", std::nullopt, {}}));
            return;
        }
        h.server.handle(c, frame);
    };
    h.connection().script = h.transport.script;
    const QString id = h->send("c1", "troppo lungo");
    h.advance(0ms);
    ASSERT_EQ(h->state().outbox.size(), 1);
    EXPECT_EQ(h->state().outbox.first().failure,
              ChatError::server("message_too_long").description());

    // A new connection does not send it again by itself.
    h.connection().fail();
    h.advance(0ms);
    h.advanceTo(h->status().until);
    ASSERT_TRUE(h->status().isOnline());
    EXPECT_EQ(sentClientIDs(h.transport).size(), 1u);

    h.server.ackSends = true;
    EXPECT_TRUE(h->retrySend(id));
    h.advance(0ms);
    EXPECT_EQ(sentClientIDs(h.transport), (std::vector<QString>{id, id}));
    EXPECT_TRUE(h->state().outbox.isEmpty());
    EXPECT_FALSE(h->retrySend(id));
}

TEST(SessionOutbox, ATimedOutSendIsMarkedFailedAndCanBeDropped) {
    SessionHarness h;
    h.signIn();
    h.server.ackSends = false;
    const QString id = h->send("c3", "senza risposta");
    h.advance(15s);
    ASSERT_EQ(h->state().outbox.size(), 1);
    EXPECT_EQ(h->state().outbox.first().failure, ChatError::timeout().description());
    EXPECT_TRUE(h->discardPending(id));
    EXPECT_TRUE(h->state().outbox.isEmpty());
    EXPECT_TRUE(h->send("nessuna", "x").isEmpty()); // unknown conversation
}

// The server may never have seen a message whose send timed out: nothing written after it in the
// same conversation may reach the server before the user has decided about it.
TEST(SessionOutbox, ATimedOutMessageIsNotOvertakenByTheOnesWrittenAfterIt) {
    SessionHarness h(SessionSettings{{1, 30, 0}, 20s, 15s, false});
    h.signIn();
    h.server.ackSends = false;
    const QString first = h->send("c1", "primo");
    h.advance(5s);
    const QString second = h->send("c1", "secondo");
    const QString elsewhere = h->send("c2", "altrove");
    h.advance(10s);
    ASSERT_EQ(h->state().outbox.size(), 3);
    EXPECT_TRUE(h->state().outbox[0].failure);
    EXPECT_TRUE(h->state().outbox[1].failure);
    EXPECT_FALSE(h->state().outbox[2].failure);

    h.server.ackSends = true;
    h.connection().fail();
    h.advance(0ms);
    h.advanceTo(h->status().until);
    ASSERT_TRUE(h->status().isOnline());
    EXPECT_EQ(sentClientIDs(h.transport),
              (std::vector<QString>{first, second, elsewhere, elsewhere}));

    ASSERT_TRUE(h->retrySend(first));
    ASSERT_TRUE(h->retrySend(second));
    h.advance(0ms);
    ASSERT_EQ(h.server.stored.size(), 3u);
    EXPECT_EQ(h.server.stored[0].clientID, elsewhere);
    EXPECT_EQ(h.server.stored[1].clientID, first);
    EXPECT_EQ(h.server.stored[2].clientID, second);
    EXPECT_TRUE(h->state().outbox.isEmpty());
}

TEST(SessionOutbox, TheOutboxSurvivesARestart) {
    ManualClock clock;
    MemoryStore store(clock);
    QString id;
    {
        SessionHarness h;
        h.signIn();
        h.transport.serverDown = true;
        h.connection().fail();
        h.advance(0ms);
        id = h->send("c2", "scritto offline");
        h->flush();
        store.credentials = h.store.credentials;
        store.states = h.store.states;
    }
    SessionHarness h;
    h.store.credentials = store.credentials;
    h.store.states = store.states;
    h->restore();
    h.advance(0ms);
    ASSERT_TRUE(h->status().isOnline());
    EXPECT_EQ(sentClientIDs(h.transport), std::vector<QString>{id});
    EXPECT_TRUE(h->state().outbox.isEmpty());
}

TEST(SessionHistory, RequestsWithTheSameKeyNeverRunTogether) {
    SessionHarness h;
    h.signIn();
    h.server.answerSync = false;
    h.connection().push(
        ServerFrame::message({message("c1", 50, "u-client1", "ultimo", h.clock.now())}));
    h.advance(0ms);

    h->loadOlder("c1");
    h->loadOlder("c1");
    h->loadHistory("c1", HistoryDirection::newer(50));
    h->loadHistory("c1", HistoryDirection::latest()); // shares the newer key
    h.advance(0ms);
    const auto history = h.connection().sentOf(ClientFrame::Type::history);
    ASSERT_EQ(history.size(), 2u);
    EXPECT_EQ(history[0]->as<HistoryRequest>()->before, 50);
    EXPECT_EQ(history[0]->as<HistoryRequest>()->limit, 100);
    EXPECT_EQ(history[1]->as<HistoryRequest>()->after, 50);
    EXPECT_EQ(h->loadingHistory(), (QSet<QString>{"c1|older", "c1|newer"}));

    QList<ChatMessage> page;
    for (qint64 seq = 1; seq < 50; ++seq)
        page.append(message("c1", seq, "u-client1", "vecchio", h.clock.now()));
    h.connection().push(
        ServerFrame::history({history[0]->as<HistoryRequest>()->id, "c1", page, false}));
    h.advance(0ms);
    EXPECT_EQ(h->loadingHistory(), QSet<QString>{"c1|newer"});
    EXPECT_EQ(h->state().messages.value("c1").size(), 50);
    EXPECT_FALSE(h->state().hasOlder("c1"));

    // A failed connection takes the other key with it.
    h.connection().fail();
    h.advance(0ms);
    EXPECT_TRUE(h->loadingHistory().isEmpty());
}

TEST(SessionHistory, AGapInLiveMessagesIsFilledWithNewerPages) {
    SessionHarness h;
    h.signIn();
    h.server.answerSync = false;
    for (qint64 seq = 1; seq <= 3; ++seq)
        h.connection().push(
            ServerFrame::message({message("c2", seq, "u-client2", "m", h.clock.now())}));
    h.connection().push(
        ServerFrame::message({message("c2", 250, "u-client2", "m", h.clock.now())}));
    h.advance(0ms);
    auto history = h.connection().sentOf(ClientFrame::Type::history);
    ASSERT_EQ(history.size(), 1u);
    EXPECT_EQ(history[0]->as<HistoryRequest>()->after, 3);

    QList<ChatMessage> page;
    for (qint64 seq = 4; seq <= 103; ++seq)
        page.append(message("c2", seq, "u-client2", "m", h.clock.now()));
    h.connection().push(
        ServerFrame::history({history[0]->as<HistoryRequest>()->id, "c2", page, true}));
    h.advance(0ms);
    history = h.connection().sentOf(ClientFrame::Type::history);
    ASSERT_EQ(history.size(), 2u);
    EXPECT_EQ(history[1]->as<HistoryRequest>()->after, 103);
}

TEST(SessionSync, EachConversationIsBroughtUpToDateAtEveryAttach) {
    SessionHarness h(SessionSettings{{1, 30, 0}, 20s, 15s, false});
    h.server.welcome.conversations[1].lastSeq = 7; // c2 has messages, none loaded
    h.signIn();
    // c1 and c3 are empty: nothing to ask; c2 gets its latest page.
    auto history = h.transport.sentOf(ClientFrame::Type::history);
    ASSERT_EQ(history.size(), 1u);
    EXPECT_EQ(history[0].as<HistoryRequest>()->conversationID, "c2");
    EXPECT_FALSE(history[0].as<HistoryRequest>()->after);
    EXPECT_FALSE(history[0].as<HistoryRequest>()->before);
    EXPECT_TRUE(h.transport.sentOf(ClientFrame::Type::changes).empty());

    h.connection().push(ServerFrame::message({message("c1", 1, "u-client1", "m", h.clock.now())}));
    h.advance(0ms);
    h.server.answerSync = false;
    h.server.welcome.conversations[0].lastSeq = 1;
    h.connection().fail();
    h.advance(0ms);
    h.advanceTo(h->status().until);
    ASSERT_TRUE(h->status().isOnline());
    const auto changes = h.connection().sentOf(ClientFrame::Type::changes);
    ASSERT_EQ(changes.size(), 1u);
    EXPECT_EQ(changes[0]->as<ChangesRequest>()->conversationID, "c1");

    // A full page asks for the next one from its revision, the last one fetches what is missing.
    const QString first = changes[0]->as<ChangesRequest>()->id;
    h.connection().push(ServerFrame::changes({first, "c1", {}, true, 40}));
    h.advance(0ms);
    const auto more = h.connection().sentOf(ClientFrame::Type::changes);
    ASSERT_EQ(more.size(), 2u);
    EXPECT_EQ(more[1]->as<ChangesRequest>()->since, 40);
    h.connection().push(
        ServerFrame::changes({more[1]->as<ChangesRequest>()->id,
                              "c1",
                              {message("c1", 5, "u-client1", "nuovo", h.clock.now())},
                              false,
                              45}));
    h.advance(0ms);
    EXPECT_EQ(h->state().revisions.value("c1"), 45);
    const auto fill = h.connection().sentOf(ClientFrame::Type::history);
    ASSERT_FALSE(fill.empty());
    EXPECT_EQ(fill.back()->as<HistoryRequest>()->after, 1);
}

TEST(SessionEvents, EventsChangeTheStateAndRaiseNotifications) {
    SessionHarness h;
    h.signIn();
    auto& c = h.connection();
    c.push(ServerFrame::message({message("c1", 1, "u-client1", "ciao", h.clock.now())}));
    c.push(ServerFrame::message({message("c1", 2, staffID, "mio", h.clock.now())}));
    c.push(ServerFrame::message({message("c1", 2, staffID, "mio", h.clock.now())}));
    ChatMessage edited = message("c1", 1, "u-client1", "ciao!", h.clock.now());
    edited.editedAt = h.clock.now();
    edited.revision = 10;
    c.push(ServerFrame::messageUpdated({edited}));
    c.push(ServerFrame::read({"c1", "u-client1", 2}));
    c.push(ServerFrame::delivered({"c1", "u-client1", 2}));
    c.push(ServerFrame::presence({"u-client1", true}));
    ClientCompany company = h->state().clients.value("k2");
    company.notes = "nota";
    c.push(ServerFrame::client({company}));
    c.push(ServerFrame::unknown("poll"));
    c.push(ServerFrame::conversationRemoved({"c3"}));
    h.advance(0ms);

    const ChatState& s = h->state();
    EXPECT_EQ(s.messages.value("c1").size(), 2);
    EXPECT_EQ(s.messages.value("c1").first().text, "ciao!");
    EXPECT_EQ(s.conversations.value("c1").reads.value("u-client1"), 2);
    EXPECT_EQ(s.delivery(2, "c1"), Delivery::read());
    EXPECT_TRUE(s.online.contains("u-client1"));
    EXPECT_EQ(s.clients.value("k2").notes, "nota");
    EXPECT_FALSE(s.conversations.contains("c3"));
    ASSERT_EQ(h.events.size(), 2u); // own messages and duplicates raise nothing
    EXPECT_EQ(h.events[0], SessionEvent::incoming(
                               message("c1", 1, "u-client1", "ciao", h.events[0].message.sentAt)));
    EXPECT_EQ(h.events[1], SessionEvent::removed("c3"));
    EXPECT_TRUE(h->status().isOnline());
}

TEST(SessionOperations, RepliesOfTheWrongKindFailTheRequest) {
    SessionHarness h;
    h.signIn();
    Outcome<Invite> invite;
    h->createInvite(std::nullopt, QString("Nuova Srl"), "Ugo", "ugo@nuova.it", invite.done());
    Outcome<void> react;
    h->react("c1", 1, QString("👍"), react.done());
    h.advance(0ms);
    const QString inviteID = h.connection().sentOf(ClientFrame::Type::createInvite)[0]->requestID();
    const QString reactID = h.connection().sentOf(ClientFrame::Type::react)[0]->requestID();
    h.connection().push(ServerFrame::ok({inviteID, std::nullopt, std::nullopt}));
    h.connection().push(ServerFrame::error({reactID, "not_found", std::nullopt, {}}));
    h.advance(0ms);
    EXPECT_EQ(*invite.result, std::unexpected(ChatError::unexpectedReply()));
    EXPECT_EQ(*react.result, std::unexpected(ChatError::server("not_found")));
    EXPECT_TRUE(h->phase().isSignedIn());
}

TEST(SessionOperations, MarkReadSendsTheLastLoadedSeqOnce) {
    SessionHarness h;
    h.signIn();
    for (qint64 seq = 1; seq <= 3; ++seq)
        h.connection().push(
            ServerFrame::message({message("c1", seq, "u-client1", "m", h.clock.now())}));
    h.advance(0ms);
    h->markRead("c1");
    h->markRead("c1");
    h.advance(0ms);
    const auto read = h.connection().sentOf(ClientFrame::Type::read);
    ASSERT_EQ(read.size(), 1u);
    EXPECT_EQ(read[0]->as<ReadRequest>()->seq, 3);
    EXPECT_EQ(h->state().unreadCount("c1"), 0);
}

} // namespace
} // namespace brevio::test
