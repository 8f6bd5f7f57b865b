#include "state/StateBuilders.h"

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <gtest/gtest.h>

using namespace brevio;
using namespace brevio::test;
namespace bj = boost::json;

namespace {

ChatState populated() {
    ChatState s = signedInState();
    QList<ChatMessage> page = range("d", 1, 4);
    page[1].reply = QuotedMessage{1, "ann", "testo 1", false};
    page[1].replyToSeq = 1;
    page[2].reactions = {Reaction{"👍", {"me", "bob"}}};
    page[3].editedAt = base().addSecs(30);
    page[3].revision = 2;
    page[3].text = "Caffè già pronto ✓";
    s.mergeHistory("d", page, false, true);
    s.mergeChanges("d", {}, 2);
    s.advanceRead("d", "bob", 3);
    s.advanceDelivered("d", "bob", 4);
    s.appendPending(pendingMessage("p1", "d"));
    s.appendPending(pendingMessage("p2", "g", "Non inviato"));
    s.outbox[0].replyToSeq = 2;
    s.setOnline("ann", true);
    s.setTyping("d", "ann", base());
    return s;
}

TEST(ChatStateJson, RoundTripKeepsEverythingButPresenceAndTyping) {
    const ChatState s = populated();
    const Decoded<ChatState> back = decodeChatState(encodeChatState(s));
    ASSERT_TRUE(back.ok()) << back.error.toStdString();
    ChatState expected = s;
    expected.online.clear();
    expected.typing.clear();
    EXPECT_EQ(*back.value, expected);
    // And the saved state works as one: the ids of the loaded messages still match.
    EXPECT_EQ(back.value->unreadCount("d"), 4);
    EXPECT_EQ(back.value->delivery(4, "d"), Delivery::delivered());
}

TEST(ChatStateJson, WritesCompactJsonWithNineKeysAndSortedMapsAndEscapesText) {
    ChatState s = populated();
    s.organization = "Studio \"Rossi\" & C.\n";
    s.users["ann"].name = "Ann\u00e8 \\ \U0001F600";
    const std::string text = encodeChatState(s);
    EXPECT_EQ(bj::serialize(bj::parse(text)), text);
    const Decoded<ChatState> back = decodeChatState(text);
    ASSERT_TRUE(back.ok()) << back.error.toStdString();
    EXPECT_EQ(back.value->organization, s.organization);
    EXPECT_EQ(back.value->users["ann"].name, s.users["ann"].name);

    // Exactly nine keys, maps sorted by key.
    const auto keysOf = [](const bj::value& v) {
        QStringList keys;
        for (const auto& kv : v.as_object())
            keys << QString::fromUtf8(kv.key().data(), qsizetype(kv.key().size()));
        return keys;
    };
    const bj::value v = bj::parse(text);
    EXPECT_EQ(keysOf(v), (QStringList{"me", "organization", "users", "clients", "conversations",
                                      "messages", "historyStart", "outbox", "revisions"}));
    EXPECT_EQ(keysOf(v.at("users")), (QStringList{"ann", "bob", "me", "sara", "zoe"}));

    // Without a user the key is left out, not written as null.
    EXPECT_FALSE(bj::parse(encodeChatState(ChatState{})).as_object().contains("me"));
}

TEST(ChatStateJson, ALargeStateGoesOutInPartsAndASinkCanStopIt) {
    ChatState s = populated();
    s.mergeHistory("g", range("g", 1, 3000), false, true);
    std::string joined;
    int parts = 0;
    EXPECT_TRUE(writeChatState(s, [&](std::string_view part) {
        joined.append(part);
        ++parts;
        return true;
    }));
    EXPECT_GT(parts, 1);
    const Decoded<ChatState> back = decodeChatState(joined);
    ASSERT_TRUE(back.ok()) << back.error.toStdString();
    EXPECT_EQ(back.value->messages, s.messages);

    // A refused part (a failed write) ends the writing: nothing more is offered.
    int offered = 0;
    EXPECT_FALSE(writeChatState(s, [&](std::string_view) { return ++offered < 2; }));
    EXPECT_EQ(offered, 2);
}

TEST(ChatStateJson, DamagedFilesAreRefusedWithAReason) {
    const std::string good = encodeChatState(populated());
    EXPECT_FALSE(decodeChatState(good.substr(0, good.size() / 2)).ok());
    EXPECT_FALSE(decodeChatState("[]").ok());
    EXPECT_FALSE(decodeChatState("").ok());

    bj::value v = bj::parse(good);
    v.as_object()["users"] = bj::array{};
    const Decoded<ChatState> wrongType = decodeChatState(bj::serialize(v));
    ASSERT_FALSE(wrongType.ok());
    EXPECT_TRUE(wrongType.error.contains("users")) << wrongType.error.toStdString();

    v = bj::parse(good);
    v.as_object()["messages"].as_object()["d"].as_array()[0].as_object()["sentAt"] =
        "2025-03-14 09:01:00";
    const Decoded<ChatState> badDate = decodeChatState(bj::serialize(v));
    ASSERT_FALSE(badDate.ok());
    EXPECT_TRUE(badDate.error.startsWith("Data non valida: ")) << badDate.error.toStdString();

    v = bj::parse(good);
    v.as_object()["revisions"].as_object()["d"] = "due";
    EXPECT_FALSE(decodeChatState(bj::serialize(v)).ok());
}

TEST(ChatStateJson, SparseOrInconsistentFilesAreMadeSound) {
    const Decoded<ChatState> minimal = decodeChatState(R"({"organization":"Studio"})");
    ASSERT_TRUE(minimal.ok()) << minimal.error.toStdString();
    EXPECT_EQ(minimal.value->organization, "Studio");
    EXPECT_FALSE(minimal.value->me);
    EXPECT_TRUE(minimal.value->conversations.isEmpty());

    bj::value v = bj::parse(encodeChatState(populated()));
    bj::object& o = v.as_object();
    bj::array& list = o["messages"].as_object()["d"].as_array();
    std::reverse(list.begin(), list.end());
    const bj::value duplicate = list[1];
    list.push_back(duplicate);                                      // a duplicate seq
    o["messages"].as_object()["ghost"] = bj::array{duplicate};      // unknown conversation
    o["conversations"].as_object()["d"].as_object()["lastSeq"] = 2; // behind what is held
    o["revisions"].as_object()["ghost"] = 3;
    const Decoded<ChatState> fixed = decodeChatState(bj::serialize(v));
    ASSERT_TRUE(fixed.ok()) << fixed.error.toStdString();
    const ChatState& s = *fixed.value;
    EXPECT_EQ(seqsOf(s.messages["d"]), (QList<qint64>{1, 2, 3, 4}));
    EXPECT_FALSE(s.messages.contains("ghost"));
    EXPECT_FALSE(s.revisions.contains("ghost"));
    EXPECT_EQ(s.conversations["d"].lastSeq, 4);
    EXPECT_EQ(s.conversations["d"].lastMessage->seq, 4);
}

} // namespace
