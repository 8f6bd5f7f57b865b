#include "state/StateBuilders.h"

#include <gtest/gtest.h>

using namespace brevio;
using namespace brevio::test;

namespace {

Welcome welcomeWith(QList<Conversation> conversations) {
    Welcome w = welcomeFor(staffUser("me"));
    w.conversations = std::move(conversations);
    return w;
}

TEST(ChatStateWelcome, AnotherUserStartsFromNothing) {
    ChatState s = signedInState("me");
    s.mergeHistory("d", range("d", 1, 3), false, true);
    s.appendPending(pendingMessage("p1", "d"));
    s.setTyping("d", "ann", base());
    s.mergeChanges("g", {}, 5);

    Welcome other = welcomeFor(clientUser("zoe", "beta"));
    other.organization = "Altro studio";
    other.users = {clientUser("zoe", "beta"), staffUser("sara")};
    other.clients = {};
    other.conversations = {direct("z", "beta", 2)};
    other.online = {"sara"};
    s.applyWelcome(other);

    ChatState expected;
    expected.me = other.me;
    expected.organization = "Altro studio";
    expected.users = {{"zoe", clientUser("zoe", "beta")}, {"sara", staffUser("sara")}};
    expected.conversations = {{"z", direct("z", "beta", 2)}};
    expected.revisions = {{"z", 0}};
    expected.online = {"sara"};
    EXPECT_EQ(s, expected);
}

TEST(ChatStateWelcome, ServerBehindLoadedMessagesDropsThem) {
    ChatState s = signedInState();
    s.mergeHistory("d", range("d", 1, 12), false, true);
    s.mergeChanges("d", {}, 4);
    ASSERT_EQ(s.historyStart.value("d"), 1);

    Conversation back = direct("d", "acme", 10);
    back.revision = 4;
    s.applyWelcome(welcomeWith({back, group("g", {"me", "ann"})}));
    EXPECT_FALSE(s.messages.contains("d"));
    EXPECT_FALSE(s.historyStart.contains("d"));
    EXPECT_EQ(s.conversations["d"], back); // the server's copy as it is
    EXPECT_EQ(s.revisions.value("d"), 4);  // nothing held: takes the welcome's revision
}

TEST(ChatStateWelcome, ServerBehindOurLastSeqOnlyGivesItsSummaryBack) {
    ChatState s = signedInState();
    s.mergeHistory("d", range("d", 1, 7), false, true);
    s.markRead("d");
    ASSERT_EQ(s.insert(message("d", 12, "ann")), InsertResult::gap(7));

    Conversation back = direct("d", "acme", 10);
    back.lastMessage = message("d", 10, "ann");
    back.reads = {{"me", 7}, {"ann", 10}};
    s.applyWelcome(welcomeWith({back, group("g", {"me", "ann"})}));
    EXPECT_EQ(s.conversations["d"], back);
    EXPECT_EQ(s.unreadCount("d"), 3);
    EXPECT_EQ(seqsOf(s.messages["d"]), (QList<qint64>{1, 2, 3, 4, 5, 6, 7})); // still there
    EXPECT_EQ(s.historyStart.value("d"), 1);
}

TEST(ChatStateWelcome, ServerBehindSyncedRevisionDropsLoadedMessages) {
    ChatState s = signedInState();
    s.mergeHistory("d", range("d", 1, 3), false, true);
    s.mergeChanges("d", {}, 9);
    Conversation d = direct("d", "acme", 3);
    d.revision = 8;
    s.applyWelcome(welcomeWith({d, group("g", {"me", "ann"})}));
    EXPECT_FALSE(s.messages.contains("d"));
    EXPECT_EQ(s.revisions.value("d"), 8);
}

TEST(ChatStateWelcome, UpToDateConversationKeepsWhatIsLoaded) {
    ChatState s = signedInState();
    s.mergeHistory("d", range("d", 1, 5), false, true);
    s.mergeChanges("d", {}, 2);
    s.markRead("d");
    s.appendPending(pendingMessage("p1", "d"));

    Conversation d = direct("d", "acme", 7);
    d.title = "Acme S.r.l.";
    d.revision = 3;
    d.reads.insert("me", 2); // the server has not seen my last read yet
    d.reads.insert("ann", 7);
    s.applyWelcome(welcomeWith({d, group("g", {"me", "ann"}, 0)}));

    EXPECT_EQ(seqsOf(s.messages["d"]), (QList<qint64>{1, 2, 3, 4, 5}));
    EXPECT_EQ(s.historyStart.value("d"), 1);
    EXPECT_EQ(s.revisions.value("d"), 2); // still to be brought up to date by a changes request
    EXPECT_EQ(s.revisions.value("g"), 0);
    const Conversation& c = s.conversations["d"];
    EXPECT_EQ(c.title, "Acme S.r.l.");
    EXPECT_EQ(c.lastSeq, 7);
    EXPECT_EQ(c.reads.value("me"), 5);
    EXPECT_EQ(c.reads.value("ann"), 7);
    EXPECT_EQ(s.outbox.size(), 1);
}

TEST(ChatStateWelcome, ConversationsNoLongerListedAreDropped) {
    ChatState s = signedInState();
    s.mergeHistory("d", range("d", 1, 3), false, true);
    s.mergeChanges("d", {}, 3);
    s.appendPending(pendingMessage("p1", "d"));
    s.appendPending(pendingMessage("p2", "g"));
    s.setTyping("d", "ann", base());

    s.applyWelcome(welcomeWith({group("g", {"me", "ann"})}));
    EXPECT_EQ(s.conversations.keys(), QStringList{"g"});
    EXPECT_FALSE(s.messages.contains("d"));
    EXPECT_FALSE(s.historyStart.contains("d"));
    EXPECT_FALSE(s.revisions.contains("d"));
    EXPECT_FALSE(s.typing.contains("d"));
    ASSERT_EQ(s.outbox.size(), 1);
    EXPECT_EQ(s.outbox[0].clientID, "p2");
}

TEST(ChatStateWelcome, TakesPeopleAndPresenceFromTheSnapshot) {
    ChatState s = signedInState();
    s.setOnline("bob", true);
    Welcome w = welcomeFor(staffUser("me"));
    w.users.removeIf([](const User& u) { return u.id == "bob"; });
    w.online = {"ann", "sara"};
    s.applyWelcome(w);
    EXPECT_FALSE(s.users.contains("bob"));
    EXPECT_EQ(s.users.size(), 4);
    EXPECT_EQ(s.clients.size(), 2);
    EXPECT_EQ(s.online, (QSet<QString>{"ann", "sara"}));
}

TEST(ChatStateHistory, OlderPageIsMergedInOrder) {
    ChatState s = signedInState();
    s.upsertConversation(direct("d", "acme", 300));
    s.mergeHistory("d", range("d", 201, 300), true, true);
    EXPECT_FALSE(s.historyStart.contains("d"));
    s.mergeHistory("d", range("d", 101, 200), true, true);
    EXPECT_EQ(s.messages["d"].size(), 200);
    EXPECT_TRUE(s.hasOlder("d"));
    s.mergeHistory("d", range("d", 1, 100), false, true);
    const QList<ChatMessage>& list = s.messages["d"];
    ASSERT_EQ(list.size(), 300);
    for (qsizetype i = 0; i < list.size(); ++i)
        ASSERT_EQ(list[i].seq, i + 1);
    EXPECT_EQ(s.historyStart.value("d"), 1);
    EXPECT_FALSE(s.hasOlder("d"));
}

TEST(ChatStateHistory, OverlappingPagesKeepOneCopyPerSeqByRevision) {
    ChatState s = signedInState();
    QList<ChatMessage> first = range("d", 1, 5);
    first[2].revision = 4;
    first[2].text = "rev 4";
    s.mergeHistory("d", first, true, false);

    QList<ChatMessage> second = range("d", 3, 8);
    std::reverse(second.begin(), second.end()); // a server may send any order
    second.append(message("d", 6, "ann", 2));   // and a seq twice
    second.last().text = "rev 2";
    for (ChatMessage& m : second) {
        if (m.seq == 4) {
            m.revision = 1;
            m.text = "rev 1";
        }
        if (m.seq == 5)
            m.text = "same revision, later copy"; // as with live messages, a tie takes the newcomer
    }
    s.mergeHistory("d", second, true, false);
    const QList<ChatMessage>& list = s.messages["d"];
    EXPECT_EQ(seqsOf(list), (QList<qint64>{1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(list[2].text, "rev 4"); // revision 0 did not replace revision 4
    EXPECT_EQ(list[3].text, "rev 1");
    EXPECT_EQ(list[4].text, "same revision, later copy");
    EXPECT_EQ(list[5].text, "rev 2");
}

TEST(ChatStateHistory, PageMovesSummaryAndRetiresOwnPendingCopies) {
    ChatState s = signedInState();
    s.appendPending(pendingMessage("p1", "d"));
    QList<ChatMessage> page = range("d", 1, 4);
    page[3].authorID = "me";
    page[3].clientID = "p1";
    page.append(message("g", 5, "ann")); // belongs elsewhere: ignored
    s.mergeHistory("d", page, false, false);
    EXPECT_TRUE(s.outbox.isEmpty());
    EXPECT_EQ(seqsOf(s.messages["d"]), (QList<qint64>{1, 2, 3, 4}));
    EXPECT_FALSE(s.messages.contains("g"));
    EXPECT_EQ(s.conversations["d"].lastSeq, 4);
    EXPECT_EQ(s.conversations["d"].lastMessage->clientID, "p1");
    EXPECT_FALSE(s.historyStart.contains("d")); // a newer page never says where history begins

    // A newer copy of the last message already in the summary is not replaced by an older one.
    ChatMessage edited = message("d", 4, "me", 3);
    s.applyUpdate(edited);
    s.mergeHistory("d", {message("d", 4, "me", 1)}, false, false);
    EXPECT_EQ(s.conversations["d"].lastMessage->revision, 3);
}

TEST(ChatStateHistory, EmptyPageThatReachedBack) {
    ChatState s = signedInState();
    s.mergeHistory("d", {}, false, true);
    EXPECT_EQ(s.historyStart.value("d"), 1);
    EXPECT_FALSE(s.messages.contains("d"));

    s.mergeHistory("g", range("g", 4, 6), true, false);
    s.mergeHistory("g", {}, false, true);
    EXPECT_EQ(s.historyStart.value("g"), 4);
    EXPECT_FALSE(s.hasOlder("g"));

    const ChatState before = s;
    s.mergeHistory("x", range("x", 1, 3), false, true);
    EXPECT_EQ(s, before);
}

TEST(ChatStateChanges, UpdatesLoadedAndAppendsWhatFollows) {
    ChatState s = signedInState();
    s.mergeHistory("d", range("d", 1, 5), false, true);
    s.appendPending(pendingMessage("p1", "d"));
    ChatMessage edited = message("d", 2, "ann", 8);
    edited.editedAt = base();
    ChatMessage own = message("d", 6, "me", 9);
    own.clientID = "p1";
    ChatMessage next = message("d", 7, "ann", 10);

    EXPECT_EQ(s.mergeChanges("d", {next, own, edited}, 10), std::nullopt);
    EXPECT_EQ(seqsOf(s.messages["d"]), (QList<qint64>{1, 2, 3, 4, 5, 6, 7}));
    EXPECT_TRUE(s.messages["d"][1].isEdited());
    EXPECT_TRUE(s.outbox.isEmpty());
    EXPECT_EQ(s.revisions.value("d"), 10);
    EXPECT_EQ(s.conversations["d"].revision, 10);
    EXPECT_EQ(s.conversations["d"].lastSeq, 7);
}

TEST(ChatStateChanges, NewMessagesAfterAHoleAreReportedNotStored) {
    ChatState s = signedInState();
    s.mergeHistory("d", range("d", 1, 5), false, true);
    EXPECT_EQ(s.mergeChanges("d", {message("d", 8, "ann", 3), message("d", 9, "ann", 4)}, 4),
              std::optional<qint64>(5));
    EXPECT_EQ(seqsOf(s.messages["d"]), (QList<qint64>{1, 2, 3, 4, 5}));
    EXPECT_EQ(s.conversations["d"].lastSeq, 9);
    EXPECT_EQ(s.revisions.value("d"), 4);

    // Nothing loaded: only the summary moves, the latest page brings the list.
    EXPECT_EQ(s.mergeChanges("g", {message("g", 3, "ann", 2)}, 2), std::nullopt);
    EXPECT_FALSE(s.messages.contains("g"));
    EXPECT_EQ(s.conversations["g"].lastSeq, 3);

    const ChatState before = s;
    EXPECT_EQ(s.mergeChanges("x", {message("x", 1, "ann")}, 4), std::nullopt);
    EXPECT_EQ(s, before);
}

TEST(ChatStateChanges, StaleCopiesDoNotWin) {
    ChatState s = signedInState();
    QList<ChatMessage> page = range("d", 1, 3);
    page[1].revision = 6;
    page[1].text = "nuovo";
    s.mergeHistory("d", page, false, true);
    ChatMessage stale = message("d", 2, "ann", 5);
    stale.text = "vecchio";
    s.mergeChanges("d", {stale}, 6);
    EXPECT_EQ(s.messages["d"][1].text, "nuovo");
}

} // namespace
