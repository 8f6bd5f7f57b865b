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

TEST(ChatStateWelcome, AServerThatWentBackIsTakenAsSent) {
    ChatState s = signedInState();
    s.mergeHistory("d", range("d", 1, 12), false, true);
    s.mergeChanges("d", {}, 4);
    // After a gap: loaded 1-7, a live 12 that the server then lost.
    s.mergeHistory("g", range("g", 1, 7), false, true);
    s.markRead("g");
    ASSERT_EQ(s.insert(message("g", 12, "ann")), InsertResult::gap(7));

    Conversation d = direct("d", "acme", 10);
    d.revision = 4;
    Conversation g = group("g", {"me", "ann"}, 10);
    g.lastMessage = message("g", 10, "ann");
    g.reads = {{"me", 7}, {"ann", 10}};
    s.applyWelcome(welcomeWith({d, g}));

    EXPECT_EQ(s.conversations["d"], d);
    EXPECT_FALSE(s.messages.contains("d")); // held beyond what the server has
    EXPECT_FALSE(s.historyStart.contains("d"));
    EXPECT_EQ(s.revisions.value("d"), 4); // nothing held: takes the welcome's revision

    EXPECT_EQ(s.conversations["g"], g); // no preview of 12, and 3 unread rather than 5
    EXPECT_EQ(s.unreadCount("g"), 3);
    EXPECT_EQ(seqsOf(s.messages["g"]), (QList<qint64>{1, 2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(s.historyStart.value("g"), 1);
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

TEST(ChatStateHistory, PageMovesSummary) {
    ChatState s = signedInState();
    QList<ChatMessage> page = range("d", 1, 4);
    page.append(message("g", 5, "ann")); // belongs elsewhere: ignored
    s.mergeHistory("d", page, false, false);
    EXPECT_EQ(seqsOf(s.messages["d"]), (QList<qint64>{1, 2, 3, 4}));
    EXPECT_FALSE(s.messages.contains("g"));
    EXPECT_EQ(s.conversations["d"].lastSeq, 4);
    EXPECT_EQ(s.conversations["d"].lastMessage->seq, 4);

    // A newer copy of the last message already in the summary is not replaced by an older one.
    Conversation g = group("g", {"me", "ann"}, 4);
    g.lastMessage = message("g", 4, "ann", 3);
    s.upsertConversation(g);
    s.mergeHistory("g", range("g", 1, 4), false, false);
    EXPECT_EQ(s.conversations["g"].lastMessage->revision, 3);
}

TEST(ChatStateChanges, UpdatesLoadedAppendsWhatFollowsAndReportsAHole) {
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

    // New messages after a hole are reported, not stored.
    s = signedInState();
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

} // namespace
