#include "ServerHarness.h"

#include <limits>
#include <set>

using namespace brevio;
using namespace brevio::test;

namespace {

class LocalServerMessages : public ::testing::Test {
protected:
    ServerHarness h;
    ServerHarness::Peer staff = h.signIn(h.email(QStringLiteral("Marta Ferri")));
    ServerHarness::Peer client = h.signIn(h.email(QStringLiteral("Giulia Orlandi")));
    QString bakery = ServerHarness::conversationTitled(client.welcome, "Panificio Orlandi");
    int nextID = 0;

    void SetUp() override { staff.take(); } // Giulia's arrival

    QString id() { return QStringLiteral("r%1").arg(++nextID); }

    ServerFrame send(ServerHarness::Peer& peer, const QString& text,
                     std::optional<qint64> replyTo = std::nullopt) {
        return peer.request(ClientFrame::send({id(), bakery, text, replyTo}));
    }
    ChatMessage sent(ServerHarness::Peer& peer, const QString& text) {
        const ServerFrame reply = send(peer, text);
        EXPECT_TRUE(reply.as<Ack>()) << errorCode(reply).toStdString();
        return reply.as<Ack>() ? reply.as<Ack>()->message : ChatMessage{};
    }
    ServerFrame edit(ServerHarness::Peer& peer, qint64 seq, const QString& text) {
        return peer.request(ClientFrame::edit({id(), bakery, seq, text}));
    }
    ServerFrame remove(ServerHarness::Peer& peer, qint64 seq) {
        return peer.request(ClientFrame::remove({id(), bakery, seq}));
    }
    ServerFrame react(ServerHarness::Peer& peer, qint64 seq, std::optional<QString> emoji) {
        return peer.request(ClientFrame::react({id(), bakery, seq, emoji}));
    }
    ChangesPage changes(qint64 since) {
        const ServerFrame reply = client.request(ClientFrame::changes({id(), bakery, since}));
        EXPECT_TRUE(reply.as<ChangesPage>());
        return reply.as<ChangesPage>() ? *reply.as<ChangesPage>() : ChangesPage{};
    }
};

} // namespace

TEST_F(LocalServerMessages, TextLengthLimitsOnSendAndEdit) {
    const ChatMessage longest = sent(client, QString(4000, u'a'));
    EXPECT_EQ(longest.text.size(), 4000);
    EXPECT_EQ(errorCode(send(client, QString(4001, u'a'))), "message_too_long");
    // Characters as people count them: an emoji of several code units is one.
    QString emoji;
    for (int i = 0; i < 4000; ++i)
        emoji += QStringLiteral("👍🏽");
    EXPECT_TRUE(send(client, emoji).as<Ack>());
    EXPECT_EQ(errorCode(send(client, QStringLiteral(" \n "))), "bad_request");

    EXPECT_EQ(errorCode(edit(client, longest.seq, QString(4001, u'b'))), "message_too_long");
    EXPECT_EQ(errorCode(edit(client, longest.seq, QString())), "bad_request");
    const ServerFrame ok = edit(client, longest.seq, QString(4000, u'b'));
    ASSERT_TRUE(ok.as<OKReply>());
    ASSERT_TRUE(ok.as<OKReply>()->message);
    EXPECT_EQ(ok.as<OKReply>()->message->text, QString(4000, u'b'));
    EXPECT_TRUE(ok.as<OKReply>()->message->editedAt);
}

TEST_F(LocalServerMessages, EditAndDeleteWithinOneDayOfSending) {
    const ChatMessage first = sent(client, QStringLiteral("uno"));
    const ChatMessage second = sent(client, QStringLiteral("due"));
    EXPECT_EQ(errorCode(edit(staff, first.seq, QStringLiteral("mio"))), "forbidden");
    EXPECT_EQ(errorCode(remove(staff, first.seq)), "forbidden");
    EXPECT_EQ(errorCode(edit(client, 999, QStringLiteral("x"))), "not_found");

    h.clock.advance(std::chrono::seconds(86400));
    EXPECT_TRUE(edit(client, first.seq, QStringLiteral("uno!")).as<OKReply>());
    EXPECT_TRUE(remove(client, second.seq).as<OKReply>());

    const ChatMessage third = sent(client, QStringLiteral("tre"));
    h.clock.advance(std::chrono::seconds(86401));
    const std::string before = h.server.stateSnapshot();
    EXPECT_EQ(errorCode(edit(client, third.seq, QStringLiteral("tardi"))), "too_late");
    EXPECT_EQ(errorCode(remove(client, third.seq)), "too_late");
    EXPECT_EQ(h.server.stateSnapshot(), before);
}

TEST_F(LocalServerMessages, ResendingTheSameClientIDCreatesNothing) {
    const ClientFrame frame = ClientFrame::send(
        {QStringLiteral("pending-1"), bakery, QStringLiteral("Ci sei?"), std::nullopt});
    const ServerFrame first = client.request(frame);
    ASSERT_TRUE(first.as<Ack>());
    auto toStaff = staff.take();
    ASSERT_FALSE(toStaff.empty());
    EXPECT_TRUE(toStaff[0].as<MessageEvent>());

    const std::string before = h.server.stateSnapshot();
    const ServerFrame again = client.request(frame);
    ASSERT_TRUE(again.as<Ack>());
    EXPECT_EQ(again.as<Ack>()->message, first.as<Ack>()->message);
    EXPECT_EQ(h.server.stateSnapshot(), before);
    EXPECT_TRUE(staff.take().empty());
}

TEST_F(LocalServerMessages, SendingBroadcastsTheMessageAndTheSendersReadMark) {
    const auto frames = client.exchange(
        ClientFrame::send({QStringLiteral("c-1"), bakery, QStringLiteral("Ciao"), 1}));
    ASSERT_EQ(frames.size(), 1u); // the sender gets the ack only
    const ChatMessage message = frames[0].as<Ack>()->message;
    EXPECT_EQ(message.clientID, "c-1");
    EXPECT_EQ(message.authorID, client.welcome.me.id);
    EXPECT_EQ(message.sentAt, h.clock.now());
    ASSERT_TRUE(message.reply);
    EXPECT_EQ(message.reply->seq, 1);

    const auto toStaff = staff.take();
    ASSERT_EQ(toStaff.size(), 2u);
    EXPECT_EQ(toStaff[0].as<MessageEvent>()->message, message);
    EXPECT_EQ(toStaff[1].type, ServerFrame::Type::read);
    EXPECT_EQ(*toStaff[1].as<ReadEvent>(), (ReadEvent{bakery, client.welcome.me.id, message.seq}));
    EXPECT_EQ(errorCode(send(client, QStringLiteral("x"), 999)), "bad_request");
}

TEST_F(LocalServerMessages, HistoryPagesAreClampedAndSayWhetherMoreLies) {
    for (int i = 0; i < 230; ++i)
        sent(client, QStringLiteral("m%1").arg(i));
    const qint64 last = 5 + 230; // the seeded conversation holds five messages
    auto page = [&](std::optional<qint64> after, std::optional<qint64> before, qint64 limit) {
        const ServerFrame reply =
            client.request(ClientFrame::history({id(), bakery, after, before, limit}));
        return reply.as<HistoryPage>() ? *reply.as<HistoryPage>() : HistoryPage{};
    };
    HistoryPage latest = page({}, {}, 1000);
    ASSERT_EQ(latest.messages.size(), 200);
    EXPECT_EQ(latest.messages.back().seq, last);
    EXPECT_EQ(latest.messages.front().seq, last - 199);
    EXPECT_TRUE(latest.hasMore);

    HistoryPage older = page({}, last - 199, 100);
    ASSERT_EQ(older.messages.size(), 35);
    EXPECT_EQ(older.messages.front().seq, 1);
    EXPECT_FALSE(older.hasMore);

    HistoryPage newer = page(last - 3, {}, 0); // limit 0 counts as 1
    ASSERT_EQ(newer.messages.size(), 1);
    EXPECT_EQ(newer.messages[0].seq, last - 2);
    EXPECT_TRUE(newer.hasMore);
    EXPECT_TRUE(page(last, {}, 50).messages.isEmpty());
    // Out-of-range bounds give empty pages, not errors or wrap-arounds.
    EXPECT_TRUE(page({}, std::numeric_limits<qint64>::min(), 10).messages.isEmpty());
    EXPECT_TRUE(page(std::numeric_limits<qint64>::max(), {}, 10).messages.isEmpty());
    EXPECT_EQ(page(std::numeric_limits<qint64>::min(), {}, 2).messages.front().seq, 1);
    EXPECT_FALSE(page(last, {}, 50).hasMore);
}

TEST_F(LocalServerMessages, ChangesPagesLoseNothingAcrossTheCut) {
    const qint64 start = changes(0).revision;
    std::vector<ChatMessage> messages;
    for (int i = 0; i < 250; ++i)
        messages.push_back(sent(client, QStringLiteral("m%1").arg(i)));
    // Edits, reactions and receipts in between; an edited message must appear with its edit.
    for (int i = 0; i < 250; i += 2)
        ASSERT_TRUE(edit(client, messages[i].seq, QStringLiteral("e%1").arg(i)).as<OKReply>());
    staff.send(ClientFrame::read({bakery, messages.back().seq}));
    ASSERT_TRUE(react(staff, messages[1].seq, QStringLiteral("👍")).as<OKReply>());

    std::map<qint64, ChatMessage> seen;
    qint64 since = start, previous = start;
    int pages = 0;
    for (bool more = true; more; ++pages) {
        const ChangesPage page = changes(since);
        for (const ChatMessage& message : page.messages) {
            EXPECT_GT(message.revision, since);
            EXPECT_LE(message.revision, page.revision);
            seen[message.seq] = message;
        }
        EXPECT_LE(page.messages.size(), 200);
        EXPECT_GT(page.revision, previous);
        previous = since = page.revision;
        more = page.hasMore;
        ASSERT_LT(pages, 5);
    }
    EXPECT_EQ(pages, 2);
    ASSERT_EQ(seen.size(), 250u);
    for (int i = 0; i < 250; ++i) {
        const ChatMessage& latest = seen.at(messages[i].seq);
        EXPECT_EQ(latest.text, i % 2 ? QStringLiteral("m%1").arg(i) : QStringLiteral("e%1").arg(i));
    }
    EXPECT_EQ(seen.at(messages[1].seq).reactions.size(), 1);
    const ChangesPage after = changes(since);
    EXPECT_TRUE(after.messages.isEmpty());
    EXPECT_EQ(after.revision, since);
}

TEST_F(LocalServerMessages, EveryChangeTakesAHigherRevision) {
    const ChatMessage message = sent(client, QStringLiteral("v1"));
    std::vector<qint64> revisions{message.revision};
    auto updated = [&](const ServerFrame& reply) {
        EXPECT_TRUE(reply.as<OKReply>() && reply.as<OKReply>()->message);
        revisions.push_back(reply.as<OKReply>()->message->revision);
    };
    updated(edit(client, message.seq, QStringLiteral("v2")));
    updated(react(staff, message.seq, QStringLiteral("👍")));
    updated(react(staff, message.seq, QStringLiteral("❤️"))); // replaces the first
    updated(react(staff, message.seq, std::nullopt));
    updated(remove(client, message.seq));
    EXPECT_TRUE(std::is_sorted(revisions.begin(), revisions.end()));
    EXPECT_EQ(std::set<qint64>(revisions.begin(), revisions.end()).size(), revisions.size());
    const ChangesPage page = changes(0);
    EXPECT_GE(page.revision, revisions.back());
}

TEST_F(LocalServerMessages, ReactionsOnePerPersonWithUsableEmoji) {
    const ChatMessage message = sent(client, QStringLiteral("Buongiorno"));
    for (const QString& bad : {QStringLiteral(""), QStringLiteral("a"), QStringLiteral("ab"),
                               QStringLiteral("👍👍"), QStringLiteral(" "), QStringLiteral("1")})
        EXPECT_EQ(errorCode(react(staff, message.seq, bad)), "bad_request") << bad.toStdString();
    react(staff, message.seq, QStringLiteral("👍"));
    react(client, message.seq, QStringLiteral("👍"));
    const ServerFrame family = react(staff, message.seq, QStringLiteral("👨‍👩‍👧"));
    ASSERT_TRUE(family.as<OKReply>());
    const QList<Reaction> reactions = family.as<OKReply>()->message->reactions;
    ASSERT_EQ(reactions.size(), 2);
    EXPECT_EQ(reactions[0], (Reaction{QStringLiteral("👍"), {client.welcome.me.id}}));
    EXPECT_EQ(reactions[1],
              (Reaction{QStringLiteral("👨‍👩‍👧"), {staff.welcome.me.id}}));
    const auto toClient = client.take();
    ASSERT_FALSE(toClient.empty());
    EXPECT_EQ(toClient.back().type, ServerFrame::Type::messageUpdated);
}

TEST_F(LocalServerMessages, DeletingDropsTheTextAndMarksQuotes) {
    const ChatMessage original = sent(client, QStringLiteral("segreto"));
    const ChatMessage reply =
        staff.request(ClientFrame::send({id(), bakery, QStringLiteral("Risposta"), original.seq}))
            .as<Ack>()
            ->message;
    EXPECT_EQ(reply.reply->text, "segreto");
    ASSERT_TRUE(remove(client, original.seq).as<OKReply>());
    const auto toStaff = staff.take();
    bool quoteUpdated = false;
    for (const auto& frame : toStaff) {
        const auto* event = frame.as<MessageEvent>();
        if (event && event->message.seq == reply.seq) {
            quoteUpdated = event->message.reply->deleted && event->message.reply->text.isEmpty();
            EXPECT_GT(event->message.revision, reply.revision);
        }
    }
    EXPECT_TRUE(quoteUpdated);
    const auto history =
        client.request(ClientFrame::history({id(), bakery, original.seq - 1, {}, 1}));
    EXPECT_TRUE(history.as<HistoryPage>()->messages[0].text.isEmpty());
    EXPECT_EQ(errorCode(edit(client, original.seq, QStringLiteral("x"))), "not_found");
    EXPECT_EQ(errorCode(react(staff, original.seq, QStringLiteral("👍"))), "not_found");
}

TEST_F(LocalServerMessages, ReceiptsComeFromTheRecordedSteps) {
    const ChatMessage message = sent(staff, QStringLiteral("Domani passo io"));
    const QDateTime sentAt = h.clock.now();
    h.clock.advance(std::chrono::seconds(3));
    client.send(ClientFrame::delivered({bakery, message.seq}));
    h.clock.advance(std::chrono::seconds(4));
    client.send(ClientFrame::read({bakery, message.seq + 50})); // capped at the last message
    staff.take();
    client.send(ClientFrame::read({bakery, message.seq})); // no move, no broadcast
    EXPECT_TRUE(staff.take().empty());

    const ServerFrame reply = staff.request(ClientFrame::receipts({id(), bakery, message.seq}));
    ASSERT_TRUE(reply.as<ReceiptsReply>());
    const auto& entries = reply.as<ReceiptsReply>()->entries;
    ASSERT_EQ(entries.size(), 1); // everyone but the author
    EXPECT_EQ(entries[0].userID, client.welcome.me.id);
    EXPECT_EQ(entries[0].deliveredAt, sentAt.addSecs(3));
    EXPECT_EQ(entries[0].readAt, sentAt.addSecs(7));
    EXPECT_EQ(errorCode(staff.request(ClientFrame::receipts({id(), bakery, 999}))), "not_found");
}
