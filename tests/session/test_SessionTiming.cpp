// The session's time rules, in virtual time against the scripted transport.

#include "SessionHarness.h"

using namespace std::chrono_literals;

namespace brevio::test {
namespace {

SessionSettings noJitter() {
    SessionSettings settings;
    settings.backoff.jitter = 0;
    return settings;
}

// Seconds from now to the scheduled reconnect.
double waitingSeconds(SessionHarness& h) {
    EXPECT_TRUE(h->status().isWaiting());
    return h.clock.now().msecsTo(h->status().until) / 1000.0;
}

// Breaks the live connection while the server is down, then lets every scheduled reconnect fail.
std::vector<double> failures(SessionHarness& h, int count) {
    h.transport.serverDown = true;
    h.connection().fail();
    h.advance(0ms);
    std::vector<double> delays;
    for (int i = 0; i < count; ++i) {
        delays.push_back(waitingSeconds(h));
        h.advanceTo(h->status().until);
    }
    return delays;
}

TEST(SessionBackoff, FailuresInARowDoubleTheDelayUpToTheMaximum) {
    SessionHarness h(noJitter());
    h.signIn();
    const std::size_t before = h.transport.connections.size();
    const std::vector<double> delays = failures(h, 8);
    EXPECT_EQ(delays, (std::vector<double>{1, 2, 4, 8, 16, 30, 30, 30}));
    // Each wait ended in exactly one new attempt.
    EXPECT_EQ(h.transport.connections.size(), before + 8);
}

TEST(SessionBackoff, JitterKeepsEveryDelayWithinTwentyPercent) {
    SessionHarness h;
    h.signIn();
    const std::vector<double> delays = failures(h, 20);
    const double expected[] = {1, 2, 4, 8, 16};
    for (std::size_t i = 0; i < delays.size(); ++i) {
        const double nominal = i < 5 ? expected[i] : 30.0;
        EXPECT_GE(delays[i], nominal * 0.8 - 0.001) << "attempt " << i + 1;
        EXPECT_LE(delays[i], nominal * 1.2 + 0.001) << "attempt " << i + 1;
        EXPECT_LE(delays[i], 36.0);
    }
}

TEST(SessionBackoff, ASuccessfulResumeStartsTheCountAgainAndRetryNowConnectsAtOnce) {
    SessionHarness h(noJitter());
    h.signIn();
    failures(h, 3); // 1, 2, 4; now waiting 8 s
    h.transport.serverDown = false;
    h.advanceTo(h->status().until);
    ASSERT_TRUE(h->status().isOnline());
    EXPECT_EQ(h.connection().sentOf(ClientFrame::Type::resume).size(), 1u);
    h.connection().fail();
    h.advance(0ms);
    EXPECT_EQ(waitingSeconds(h), 1.0);

    // Waiting: a retry connects without waiting for the timer; online, it does nothing.
    h->retryNow();
    h.advance(0ms);
    EXPECT_TRUE(h->status().isOnline());
    const std::size_t connections = h.transport.connections.size();
    h->retryNow();
    h.advance(0ms);
    EXPECT_EQ(h.transport.connections.size(), connections);
    EXPECT_TRUE(h->status().isOnline());
}

TEST(SessionBackoff, SigningOutWhileWaitingCancelsTheReconnect) {
    SessionHarness h;
    h.signIn();
    failures(h, 2);
    ASSERT_TRUE(h->status().isWaiting());
    const std::size_t connections = h.transport.connections.size();
    Outcome<void> out;
    h->signOut(out.done());
    h.advance(0ms);
    EXPECT_EQ(out.calls, 1);
    EXPECT_TRUE(h->status().isOffline());
    EXPECT_TRUE(h->phase().isSignedOut());
    EXPECT_EQ(h->signOutReason(), SignOutReason::userRequested);
    h.advance(10min);
    EXPECT_EQ(h.transport.connections.size(), connections);
    EXPECT_TRUE(h->status().isOffline());
}

TEST(SessionReplies, ARequestTimesOutAfterFifteenSecondsAndItsLateReplyIsDropped) {
    SessionHarness h;
    h.signIn();
    h.connection().push(
        ServerFrame::message({message("c1", 1, "u-client1", "Buongiorno", h.clock.now())}));
    h.advance(0ms);
    ASSERT_EQ(h->state().messages.value("c1").size(), 1);

    Outcome<void> edited;
    h->edit("c1", 1, "Modificato", edited.done());
    Outcome<QList<ReceiptEntry>> receipts;
    h->receipts("c1", 1, receipts.done());
    h.advance(0ms);
    const auto edits = h.connection().sentOf(ClientFrame::Type::edit);
    const auto asks = h.connection().sentOf(ClientFrame::Type::receipts);
    ASSERT_EQ(edits.size(), 1u);
    ASSERT_EQ(asks.size(), 1u);

    h.advance(14999ms);
    EXPECT_EQ(edited.calls, 0);
    h.advance(1ms);
    ASSERT_EQ(edited.calls, 1);
    EXPECT_EQ(*edited.result, std::unexpected(ChatError::timeout()));
    ASSERT_EQ(receipts.calls, 1);
    EXPECT_EQ(*receipts.result, std::unexpected(ChatError::timeout()));

    // The answers come late: nobody is told again and the state does not take the edit.
    ChatMessage changed = message("c1", 1, "u-client1", "Modificato", h.clock.now());
    changed.editedAt = h.clock.now();
    changed.revision = 9;
    h.connection().push(ServerFrame::ok({edits[0]->as<EditRequest>()->id, std::nullopt, changed}));
    h.connection().push(ServerFrame::receipts({asks[0]->as<ReceiptsRequest>()->id, "c1", 1, {}}));
    h.advance(0ms);
    EXPECT_EQ(edited.calls, 1);
    EXPECT_EQ(receipts.calls, 1);
    EXPECT_EQ(h->state().messages.value("c1").first().text, "Buongiorno");
    EXPECT_TRUE(h->status().isOnline());
}

TEST(SessionReplies, RequestsFailAtOnceOfflineAndWithTheConnection) {
    SessionHarness h;
    Outcome<QString> offline;
    h->createGroup("Gruppo", {"u-client1"}, offline.done());
    EXPECT_EQ(offline.calls, 0); // never inside the call
    h.advance(0ms);
    ASSERT_EQ(offline.calls, 1);
    EXPECT_EQ(*offline.result, std::unexpected(ChatError::notConnected()));

    h.signIn();
    Outcome<QString> pending;
    h->createGroup("Gruppo", {"u-client1"}, pending.done());
    h.advance(0ms);
    h.connection().fail();
    h.advance(0ms);
    ASSERT_EQ(pending.calls, 1);
    EXPECT_EQ(*pending.result, std::unexpected(ChatError::notConnected()));
}

TEST(SessionSave, ChangesAreSavedASecondAfterTheLastButAtMostFiveAfterTheFirst) {
    SessionHarness h;
    h.signIn();
    h.advance(5s); // the save scheduled by the attach
    ASSERT_EQ(h.store.writes.size(), 1u);
    h.store.writes.clear();

    for (int i = 1; i <= 20; ++i) {
        h.connection().push(ServerFrame::read({"c1", "u-client1", i}));
        if (i < 20)
            h.advance(50ms);
        else
            h.advance(0ms);
    }
    const QDateTime last = h.clock.now();
    h.advance(999ms);
    EXPECT_TRUE(h.store.writes.empty());
    h.advance(1ms);
    ASSERT_EQ(h.store.writes.size(), 1u);
    EXPECT_EQ(h.store.writes[0].at, last.addSecs(1));
    EXPECT_EQ(h.store.writes[0].userID, staffID);
    EXPECT_EQ(h.store.states.at(staffID).conversations.value("c1").reads.value("u-client1"), 20);
    h.advance(10s);
    EXPECT_EQ(h.store.writes.size(), 1u);

    // Changes that never pause are saved five seconds after the first.
    h.store.writes.clear();
    const QDateTime first = h.clock.now();
    for (int i = 21; i <= 50; ++i) { // one change every 400 ms for 12 s
        h.connection().push(ServerFrame::read({"c1", "u-client1", i}));
        h.advance(400ms);
    }
    ASSERT_GE(h.store.writes.size(), 2u);
    EXPECT_EQ(h.store.writes[0].at, first.addSecs(5));
    // The next unsaved change came 200 ms after that write.
    EXPECT_EQ(h.store.writes[1].at, first.addMSecs(10200));
}

// While read marks keep the state's save waiting, every change of the outbox is written at once.
TEST(SessionSave, EveryChangeOfTheOutboxIsWrittenAtOnceWhateverElseIsGoingOn) {
    SessionHarness h;
    h.signIn();
    h.server.ackSends = false;
    h.advance(5s);
    h.store.writes.clear();
    int seq = 0;
    auto traffic = [&](Duration length) {
        for (Duration t{0}; t < length; t += 300ms) {
            h.connection().push(ServerFrame::read({"c2", "u-client2", ++seq}));
            h.advance(300ms);
        }
    };
    auto savedOutbox = [&] { return h.store.outboxes[staffID]; };

    traffic(900ms);
    const QString first = h->send("c1", "primo");
    const QDateTime sentAt = h.clock.now();
    h.advance(0ms);
    ASSERT_FALSE(h.store.outboxWrites.empty());
    EXPECT_EQ(h.store.outboxWrites.back().at, sentAt);
    ASSERT_EQ(savedOutbox().size(), 1);
    EXPECT_EQ(savedOutbox().first().clientID, first);
    EXPECT_TRUE(h.store.writes.empty()); // the state itself waits

    // The ack retires it on disk too.
    traffic(600ms);
    const ClientFrame* frame = h.connection().sentOf(ClientFrame::Type::send).back();
    ChatMessage stored = message("c1", 1, staffID, "primo", h.clock.now());
    stored.clientID = first;
    h.connection().push(ServerFrame::ack({frame->as<SendRequest>()->id, stored}));
    h.advance(0ms);
    EXPECT_EQ(h.store.outboxWrites.back().at, h.clock.now());
    EXPECT_TRUE(savedOutbox().isEmpty());

    // A failure is recorded, cleared by a retry, and the entry dropped: each is on disk at once.
    const QString second = h->send("c1", "secondo");
    traffic(15s);
    ASSERT_EQ(savedOutbox().size(), 1);
    EXPECT_EQ(savedOutbox().first().failure, ChatError::timeout().description());
    ASSERT_TRUE(h->retrySend(second));
    EXPECT_FALSE(savedOutbox().first().failure);
    ASSERT_TRUE(h->discardPending(second));
    EXPECT_TRUE(savedOutbox().isEmpty());
    // Writes only happen on a change: the read marks wrote no outbox.
    EXPECT_EQ(h.store.outboxWrites.size(), 6u);
}

TEST(SessionSave, TheSavedCopyIsTrimmedAndHoldsNoPresence) {
    SessionHarness h;
    h.signIn();
    h.connection().push(ServerFrame::presence({"u-client1", true}));
    for (int seq = 1; seq <= 230; ++seq)
        h.connection().push(
            ServerFrame::message({message("c2", seq, "u-client2", "x", h.clock.now())}));
    h.advance(2s);
    ASSERT_EQ(h->state().messages.value("c2").size(), 230);
    ASSERT_TRUE(h->state().online.contains("u-client1"));
    const ChatState& saved = h.store.states.at(staffID);
    ASSERT_EQ(saved.messages.value("c2").size(), 200);
    EXPECT_EQ(saved.messages.value("c2").first().seq, 31);
    EXPECT_TRUE(saved.online.isEmpty());
}

TEST(SessionTyping, KeystrokesSendAFrameEveryThreeSecondsAndAStopAfterSilenceOrASend) {
    SessionHarness h;
    h.signIn();
    for (int i = 0; i < 50; ++i) {
        h->typing("c1");
        h.advance(59ms); // 50 keystrokes within 2.95 s
    }
    auto typing = h.connection().sentOf(ClientFrame::Type::typing);
    ASSERT_EQ(typing.size(), 1u);
    EXPECT_TRUE(typing[0]->as<TypingRequest>()->isTyping);
    EXPECT_EQ(typing[0]->as<TypingRequest>()->conversationID, "c1");

    // The last keystroke was 59 ms ago; the stop comes 5 s after it, not before.
    h.advance(5000ms - 59ms - 1ms);
    EXPECT_EQ(h.connection().sentOf(ClientFrame::Type::typing).size(), 1u);
    h.advance(1ms);
    typing = h.connection().sentOf(ClientFrame::Type::typing);
    ASSERT_EQ(typing.size(), 2u);
    EXPECT_FALSE(typing[1]->as<TypingRequest>()->isTyping);
    h.advance(1min);
    EXPECT_EQ(h.connection().sentOf(ClientFrame::Type::typing).size(), 2u);

    // Longer typing is announced again every three seconds, and sending stops it.
    for (int i = 0; i < 70; ++i) { // 7 s of typing, one keystroke every 100 ms
        h->typing("c2");
        h.advance(100ms);
    }
    typing = h.connection().sentOf(ClientFrame::Type::typing);
    ASSERT_EQ(typing.size(), 5u); // at 0, 3 and 6 s
    EXPECT_EQ(typing[4]->as<TypingRequest>()->conversationID, "c2");
    h->send("c2", "Eccomi");
    h.advance(0ms);
    typing = h.connection().sentOf(ClientFrame::Type::typing);
    ASSERT_EQ(typing.size(), 6u);
    EXPECT_FALSE(typing[5]->as<TypingRequest>()->isTyping);
    h.advance(10s); // the automatic stop was cancelled with it
    EXPECT_EQ(h.connection().sentOf(ClientFrame::Type::typing).size(), 6u);
}

TEST(SessionTyping, AnotherUsersMarkLapsesAfterSixSeconds) {
    SessionHarness h;
    h.signIn();
    h.connection().push(ServerFrame::typing({"c1", "u-client1", true}));
    h.advance(0ms);
    EXPECT_EQ(h->state().typingUsers("c1"), QStringList{"u-client1"});
    h.advance(5900ms);
    EXPECT_EQ(h->state().typingUsers("c1"), QStringList{"u-client1"});
    h.advance(200ms); // expiry at 6 s, pruned within the 0.05 s margin
    EXPECT_TRUE(h->state().typingUsers("c1").isEmpty());

    h.connection().push(ServerFrame::typing({"c1", "u-client1", true}));
    h.connection().push(ServerFrame::typing({"c1", "u-client1", false}));
    h.advance(0ms);
    EXPECT_TRUE(h->state().typingUsers("c1").isEmpty());
}

TEST(SessionReceipts, TenMessagesInThreeConversationsMakeThreeDeliveredFrames) {
    SessionHarness h;
    h.signIn();
    const struct {
        const char* conversation;
        qint64 seq;
    } arrivals[] = {{"c1", 1}, {"c2", 1}, {"c1", 2}, {"c3", 1}, {"c2", 2},
                    {"c1", 3}, {"c3", 2}, {"c2", 3}, {"c1", 4}, {"c3", 3}};
    for (const auto& a : arrivals) {
        const QString conversation = a.conversation;
        const QString author = "u-client" + conversation.mid(1);
        h.connection().push(
            ServerFrame::message({message(conversation, a.seq, author, "ciao", h.clock.now())}));
        h.advance(20ms);
    }
    // 200 ms after the first arrival: nothing yet.
    EXPECT_TRUE(h.connection().sentOf(ClientFrame::Type::delivered).empty());
    h.advance(50ms);
    const auto delivered = h.connection().sentOf(ClientFrame::Type::delivered);
    ASSERT_EQ(delivered.size(), 3u);
    std::map<QString, qint64> seqs;
    for (const ClientFrame* frame : delivered)
        seqs[frame->as<ReadRequest>()->conversationID] = frame->as<ReadRequest>()->seq;
    EXPECT_EQ(seqs, (std::map<QString, qint64>{{"c1", 4}, {"c2", 3}, {"c3", 3}}));
    EXPECT_EQ(h.events.size(), 10u);
    h.advance(5s);
    EXPECT_EQ(h.connection().sentOf(ClientFrame::Type::delivered).size(), 3u);
}

TEST(SessionReceipts, AReceiptLostWithItsConnectionIsSentAgainAfterTheReconnect) {
    SessionHarness h(noJitter());
    h.signIn();
    h.connection().push(
        ServerFrame::message({message("c1", 1, "u-client1", "ciao", h.clock.now())}));
    h.server.welcome.conversations[0].lastSeq = 1;
    h.advance(0ms);
    // The receipt leaves but the connection takes nothing more and breaks.
    h.connection().holdSends = true;
    h.advance(250ms);
    ASSERT_EQ(h.connection().sentOf(ClientFrame::Type::delivered).size(), 1u);
    h.connection().fail();
    h.advance(0ms);
    h.advanceTo(h->status().until);
    ASSERT_TRUE(h->status().isOnline());
    ASSERT_EQ(h.transport.connections.size(), 2u);

    // The server's welcome says it never got it: it goes again, once.
    h.advance(250ms);
    auto delivered = h.connection().sentOf(ClientFrame::Type::delivered);
    ASSERT_EQ(delivered.size(), 1u);
    EXPECT_EQ(delivered[0]->as<ReadRequest>()->conversationID, "c1");
    EXPECT_EQ(delivered[0]->as<ReadRequest>()->seq, 1);
    h.advance(5s);
    EXPECT_EQ(h.connection().sentOf(ClientFrame::Type::delivered).size(), 1u);

    // Once the server has it (its welcome carries the mark), a reconnect sends nothing.
    h.server.welcome.conversations[0].delivered.insert(staffID, 1);
    h.connection().fail();
    h.advance(0ms);
    h.advanceTo(h->status().until);
    ASSERT_TRUE(h->status().isOnline());
    h.advance(5s);
    EXPECT_TRUE(h.connection().sentOf(ClientFrame::Type::delivered).empty());
}

TEST(SessionKeepAlive, APongThatDoesNotComeClosesTheConnection) {
    SessionHarness h(noJitter());
    h.signIn();
    h.advance(20s);
    EXPECT_EQ(h.connection().pings, 1);
    h.advance(20s);
    EXPECT_EQ(h.connection().pings, 2);
    EXPECT_TRUE(h->status().isOnline());

    h.connection().answerPings = false;
    h.advance(20s);
    EXPECT_EQ(h.connection().pings, 3);
    h.advance(14999ms);
    EXPECT_TRUE(h->status().isOnline());
    h.advance(1ms);
    EXPECT_TRUE(h.connection().closed);
    EXPECT_TRUE(h->status().isWaiting());
    h.advanceTo(h->status().until);
    EXPECT_TRUE(h->status().isOnline());
    EXPECT_EQ(h.transport.connections.size(), 2u);
}

TEST(SessionGenerations, AReplacedConnectionsFailureChangesNothing) {
    SessionHarness h;
    h.signIn();
    const std::shared_ptr<FakeConnection> first = h.transport.connections.back();
    first->lateCloseNews = true;
    // A second sign-in replaces the connection; the first one's receive fails only afterwards.
    h.signIn();
    ASSERT_EQ(h.transport.connections.size(), 2u);
    EXPECT_TRUE(first->closed);
    first->fail();
    h.advance(0ms);
    EXPECT_TRUE(h->status().isOnline());
    h.advance(1min);
    EXPECT_EQ(h.transport.connections.size(), 2u);
    EXPECT_TRUE(h->status().isOnline());

    // Frames of the current connection still arrive.
    h.connection().push(ServerFrame::presence({"u-client3", true}));
    h.advance(0ms);
    EXPECT_TRUE(h->state().online.contains("u-client3"));
}

} // namespace
} // namespace brevio::test
