#include "state/StateBuilders.h"

#include <gtest/gtest.h>

using namespace brevio;
using namespace brevio::test;

namespace {

TEST(ChatStateInsert, UnknownConversationChangesNothing) {
    ChatState s = signedInState();
    s.appendPending(pendingMessage("c-x-1", "d"));
    const ChatState before = s;
    ChatMessage m = message("x", 1, "me");
    m.clientID = "c-x-1"; // even an own message with a pending client id
    EXPECT_EQ(s.insert(m), InsertResult::unknownConversation());
    EXPECT_EQ(s, before);

    ChatState empty;
    EXPECT_EQ(empty.insert(message("d", 1, "ann")), InsertResult::unknownConversation());
    EXPECT_EQ(empty, ChatState{});
}

TEST(ChatStateInsert, FirstMessageIsAddedWhateverItsSeqAndAGapOnlyMovesTheSummary) {
    ChatState s = signedInState();
    EXPECT_EQ(s.insert(message("d", 40, "ann")), InsertResult::added());
    EXPECT_EQ(s.conversations["d"].lastSeq, 40);
    EXPECT_EQ(s.insert(message("d", 41, "ann")), InsertResult::added());
    EXPECT_EQ(s.insert(message("d", 43, "ann")), InsertResult::gap(41));
    EXPECT_EQ(seqsOf(s.messages["d"]), (QList<qint64>{40, 41}));
    const Conversation& c = s.conversations["d"];
    EXPECT_EQ(c.lastSeq, 43);
    ASSERT_TRUE(c.lastMessage);
    EXPECT_EQ(c.lastMessage->seq, 43);
}

TEST(ChatStateInsert, DuplicatesKeepTheHigherRevision) {
    ChatState s = signedInState();
    s.mergeHistory("d", range("d", 1, 3), false, true);
    ChatMessage edited = message("d", 2, "ann", 5);
    edited.text = "modificato";
    EXPECT_EQ(s.insert(edited), InsertResult::duplicate());
    EXPECT_EQ(s.messages["d"][1].text, "modificato");

    ChatMessage stale = message("d", 2, "ann", 4);
    stale.text = "vecchio";
    EXPECT_EQ(s.insert(stale), InsertResult::duplicate());
    EXPECT_EQ(s.messages["d"][1].text, "modificato");

    ChatMessage same = message("d", 2, "ann", 5);
    same.text = "stessa revisione";
    EXPECT_EQ(s.insert(same), InsertResult::duplicate());
    EXPECT_EQ(s.messages["d"][1].text, "stessa revisione");
}

TEST(ChatStateInsert, OwnMessageRetiresPendingCopyEvenWhenNotStored) {
    ChatState s = signedInState();
    s.mergeHistory("d", range("d", 5, 6), true, false);
    ASSERT_TRUE(s.appendPending(pendingMessage("p1", "d")));
    ASSERT_TRUE(s.appendPending(pendingMessage("p2", "d")));
    ASSERT_TRUE(s.appendPending(pendingMessage("p3", "d")));

    ChatMessage gap = message("d", 9, "me");
    gap.clientID = "p2";
    EXPECT_EQ(s.insert(gap), InsertResult::gap(6));
    ChatMessage older = message("d", 2, "me");
    older.clientID = "p1";
    EXPECT_EQ(s.insert(older), InsertResult::older());
    ASSERT_EQ(s.outbox.size(), 1);
    EXPECT_EQ(s.outbox[0].clientID, "p3");
}

TEST(ChatStateInsert, ClearsTheAuthorsTypingMark) {
    ChatState s = signedInState();
    const QDateTime until = base().addSecs(6);
    s.setTyping("g", "ann", until);
    s.setTyping("g", "zoe", until);
    s.insert(message("g", 1, "ann"));
    EXPECT_EQ(s.typingUsers("g"), QStringList{"zoe"});
    s.insert(message("g", 2, "zoe"));
    EXPECT_FALSE(s.typing.contains("g"));
}

TEST(ChatStateMarks, MarkReadStopsAtWhatIsLoaded) {
    ChatState s = signedInState();
    s.mergeHistory("d", range("d", 1, 7), false, true);
    s.insert(message("d", 9, "ann")); // gap: lastSeq 9, list ends at 7
    EXPECT_EQ(s.markRead("d"), std::optional<qint64>(7));
    EXPECT_EQ(s.markRead("d"), std::nullopt);
    EXPECT_EQ(s.unreadCount("d"), 2);

    EXPECT_EQ(s.markRead("g"), std::nullopt); // nothing loaded
    EXPECT_EQ(s.markRead("x"), std::nullopt);
    ChatState nobody;
    nobody.conversations.insert("d", direct("d", "acme", 3));
    nobody.messages.insert("d", range("d", 1, 3));
    EXPECT_EQ(nobody.markRead("d"), std::nullopt);
}

TEST(ChatStateMarks, UnreadCounts) {
    ChatState s = signedInState();
    Conversation d = direct("d", "acme", 9);
    d.reads.insert("me", 12); // ahead of lastSeq
    s.upsertConversation(d);
    s.upsertConversation(group("g", {"me", "ann"}, 4));
    EXPECT_EQ(s.unreadCount("d"), 0);
    EXPECT_EQ(s.unreadCount("g"), 4);
    EXPECT_EQ(s.unreadCount("x"), 0);
    EXPECT_EQ(s.totalUnread(), 4);

    ChatState nobody = s;
    nobody.me.reset();
    EXPECT_EQ(nobody.totalUnread(), 13); // each conversation counts its whole lastSeq
}

TEST(ChatStateQueries, CanChangeWithinStrictlyTwentyFourHours) {
    ChatState s = signedInState();
    ChatMessage mine = message("d", 1, "me", 0, base());
    EXPECT_TRUE(s.canChange(mine, base().addSecs(86399)));
    EXPECT_FALSE(s.canChange(mine, base().addSecs(86400)));
    EXPECT_TRUE(s.canChange(mine, base().addMSecs(86400 * 1000LL - 1)));

    ChatMessage deleted = mine;
    deleted.deletedAt = base();
    EXPECT_FALSE(s.canChange(deleted, base().addSecs(10)));
    EXPECT_FALSE(s.canChange(message("d", 2, "ann", 0, base()), base().addSecs(10)));
    ChatState nobody;
    EXPECT_FALSE(nobody.canChange(mine, base().addSecs(10)));
}

TEST(ChatStateQueries, DeliveryInGroupNeedsEveryone) {
    ChatState s = signedInState();
    s.upsertConversation(group("g", {"me", "ann", "bob", "zoe"}));
    s.advanceRead("g", "ann", 5);
    s.advanceRead("g", "bob", 5);
    EXPECT_EQ(s.delivery(5, "g"), Delivery::sent());
    s.advanceDelivered("g", "zoe", 5);
    EXPECT_EQ(s.delivery(5, "g"), Delivery::delivered());
    EXPECT_EQ(s.delivery(6, "g"), Delivery::sent());
    s.advanceRead("g", "zoe", 9);
    EXPECT_EQ(s.delivery(5, "g"), Delivery::read());
}

TEST(ChatStateQueries, DeliveryInDirectConversationNeedsOneOnTheOtherSide) {
    ChatState staff = signedInState("me");
    staff.advanceRead("d", "sara", 5); // a colleague on my own side does not count
    EXPECT_EQ(staff.delivery(5, "d"), Delivery::sent());
    staff.advanceDelivered("d", "bob", 5);
    EXPECT_EQ(staff.delivery(5, "d"), Delivery::delivered());
    staff.advanceRead("d", "ann", 5);
    EXPECT_EQ(staff.delivery(5, "d"), Delivery::read());
    staff.advanceRead("d", "zoe", 9); // another company's client is not in this conversation
    EXPECT_EQ(staff.delivery(7, "d"), Delivery::sent());

    ChatState client = signedInState("ann");
    client.advanceRead("d", "bob", 5); // nor is the client's own colleague
    EXPECT_EQ(client.delivery(5, "d"), Delivery::sent());
    client.advanceRead("d", "sara", 5);
    EXPECT_EQ(client.delivery(5, "d"), Delivery::read());

    EXPECT_EQ(client.delivery(1, "x"), Delivery::sent());
    client.upsertConversation(group("solo", {"ann"}));
    client.advanceRead("solo", "ann", 9);
    EXPECT_EQ(client.delivery(1, "solo"), Delivery::sent());
}

TEST(ChatStateQueries, HasOlder) {
    ChatState s = signedInState();
    s.mergeHistory("d", range("d", 1, 3), true, false);
    EXPECT_FALSE(s.hasOlder("d"));
    s.upsertConversation(group("g", {"me", "ann"}, 5));
    s.mergeHistory("g", range("g", 2, 5), true, false);
    EXPECT_TRUE(s.hasOlder("g"));
    s.historyStart["g"] = 2;
    EXPECT_FALSE(s.hasOlder("g"));

    s.upsertConversation(direct("empty", "beta", 0));
    EXPECT_FALSE(s.hasOlder("empty"));
    s.upsertConversation(direct("unloaded", "beta", 4));
    EXPECT_TRUE(s.hasOlder("unloaded"));
    EXPECT_FALSE(s.hasOlder("x"));
}

TEST(ChatStateQueries, TrimmedKeepsNewestAndDropsVolatileMarks) {
    ChatState s = signedInState();
    s.upsertConversation(direct("d", "acme", 250));
    s.mergeHistory("d", range("d", 1, 250), false, true);
    s.upsertConversation(group("g", {"me", "ann"}, 200));
    s.mergeHistory("g", range("g", 1, 200), false, true);
    s.setTyping("g", "ann", base());
    s.setOnline("ann", true);

    const ChatState t = s.trimmed(200);
    ASSERT_EQ(t.messages["d"].size(), 200);
    EXPECT_EQ(t.messages["d"].first().seq, 51);
    EXPECT_EQ(t.messages["d"].last().seq, 250);
    EXPECT_EQ(t.messages["g"], s.messages["g"]);
    EXPECT_TRUE(t.online.isEmpty());
    EXPECT_TRUE(t.typing.isEmpty());
    EXPECT_TRUE(t.hasOlder("d"));
    EXPECT_EQ(s.messages["d"].size(), 250); // the original is untouched
    EXPECT_EQ(s.typingUsers("g"), QStringList{"ann"});
}

TEST(ChatStateOutbox, QueueFailRetryAndDiscard) {
    ChatState s = signedInState();
    EXPECT_TRUE(s.appendPending(pendingMessage("p1", "d")));
    EXPECT_TRUE(s.appendPending(pendingMessage("p2", "g")));
    EXPECT_TRUE(s.appendPending(pendingMessage("p3", "d")));
    EXPECT_FALSE(s.appendPending(pendingMessage("p1", "g"))); // client id taken
    EXPECT_FALSE(s.appendPending(pendingMessage("p4", "x"))); // unknown conversation

    EXPECT_TRUE(s.setFailure("p1", "Messaggio troppo lungo"));
    EXPECT_FALSE(s.setFailure("p9", "x"));
    QStringList unsent;
    for (const PendingMessage& p : s.unsent())
        unsent << p.clientID;
    EXPECT_EQ(unsent, (QStringList{"p2", "p3"}));
    QStringList inD;
    for (const PendingMessage& p : s.pending("d"))
        inD << p.clientID;
    EXPECT_EQ(inD, (QStringList{"p1", "p3"}));

    EXPECT_TRUE(s.setFailure("p1", std::nullopt)); // retry
    EXPECT_EQ(s.unsent().size(), 3);
    EXPECT_TRUE(s.removePending("p3"));
    EXPECT_FALSE(s.removePending("p3"));
    EXPECT_EQ(s.outbox.size(), 2);
}

TEST(ChatStateTyping, MarksLapseAtTheirExpiry) {
    ChatState s = signedInState();
    s.setTyping("g", "ann", base().addSecs(6));
    s.setTyping("d", "bob", base().addSecs(4));
    s.setTyping("d", "me", base().addSecs(9)); // never shown to myself
    s.setTyping("x", "bob", base().addSecs(1));
    EXPECT_EQ(s.earliestTypingExpiry(), base().addSecs(4));
    EXPECT_FALSE(s.pruneTyping(base().addSecs(3)));
    EXPECT_TRUE(s.pruneTyping(base().addSecs(4)));
    EXPECT_FALSE(s.typing.contains("d"));
    EXPECT_EQ(s.earliestTypingExpiry(), base().addSecs(6));
    s.setTyping("g", "ann", base().addSecs(12)); // a new event renews the mark
    EXPECT_FALSE(s.pruneTyping(base().addSecs(6)));
    s.clearTyping("g", "ann");
    EXPECT_TRUE(s.typing.isEmpty());
    EXPECT_EQ(s.earliestTypingExpiry(), std::nullopt);
}

TEST(ChatStateRecords, UserEventRefreshesMe) {
    ChatState s = signedInState();
    User me = *s.me;
    me.avatar = "data:image/jpeg;base64,AAAA";
    s.upsertUser(me);
    EXPECT_EQ(s.me->avatar, me.avatar);
    EXPECT_EQ(s.users["me"], me);
    s.setOnline("ann", true);
    s.setOnline("ann", false);
    s.setOnline("bob", true);
    EXPECT_EQ(s.online, QSet<QString>{"bob"});
}

} // namespace
