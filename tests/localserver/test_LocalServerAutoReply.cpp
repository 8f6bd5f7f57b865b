#include "ServerHarness.h"

#include "localserver/AutoReplier.h"

using namespace brevio;
using namespace brevio::test;
using std::chrono::milliseconds;

namespace {

const char* const staffTexts[] = {
    "Ciao! Ci pensiamo noi, ti aggiorno a breve.",
    "Certo, controllo subito e ti faccio sapere.",
    "Ricevuto, lo mettiamo in lavorazione oggi.",
    "Fatto! Dimmi se adesso va tutto bene.",
    "Grazie a te, buona giornata!",
};

LocalServer::Options talkative() {
    LocalServer::Options options;
    options.autoReply = true;
    return options;
}

class LocalServerAutoReply : public ::testing::Test {
protected:
    ServerHarness h{talkative()};
    ServerHarness::Peer client = h.signIn(h.email(QStringLiteral("Giulia Orlandi")));
    QString bakery = ServerHarness::conversationTitled(client.welcome, "Panificio Orlandi");
    QString staffID = h.account(QStringLiteral("Marta Ferri")).userID;

    ChatMessage send(const QString& id, const QString& text = QStringLiteral("Ciao")) {
        const ServerFrame reply =
            client.request(ClientFrame::send({id, bakery, text, std::nullopt}));
        return reply.as<Ack>() ? reply.as<Ack>()->message : ChatMessage{};
    }

    // The texts of the messages from staff among `frames`.
    QStringList replies(const std::vector<ServerFrame>& frames) {
        QStringList texts;
        for (const auto& frame : frames) {
            if (frame.type == ServerFrame::Type::message &&
                frame.as<MessageEvent>()->message.authorID == staffID)
                texts.append(frame.as<MessageEvent>()->message.text);
        }
        return texts;
    }
};

} // namespace

TEST_F(LocalServerAutoReply, DeliveredReadTypingAndReplyArriveOnTime) {
    const ChatMessage message = send(QStringLiteral("c1"));
    h.clock.advance(milliseconds(499));
    EXPECT_TRUE(client.take().empty());
    h.clock.advance(milliseconds(1));
    auto frames = client.take();
    ASSERT_EQ(frames.size(), 1u);
    EXPECT_EQ(frames[0].type, ServerFrame::Type::delivered);
    EXPECT_EQ(*frames[0].as<ReadEvent>(), (ReadEvent{bakery, staffID, message.seq}));

    h.clock.advance(milliseconds(899));
    EXPECT_TRUE(client.take().empty());
    h.clock.advance(milliseconds(1));
    frames = client.take();
    ASSERT_EQ(frames.size(), 2u);
    EXPECT_EQ(frames[0].type, ServerFrame::Type::read);
    EXPECT_EQ(frames[0].as<ReadEvent>()->seq, message.seq);
    EXPECT_EQ(*frames[1].as<TypingEvent>(), (TypingEvent{bakery, staffID, true}));

    h.clock.advance(milliseconds(1999));
    EXPECT_TRUE(client.take().empty());
    h.clock.advance(milliseconds(1));
    frames = client.take();
    ASSERT_EQ(replies(frames), QStringList{staffTexts[0]});
    const ChatMessage reply = frames[0].as<MessageEvent>()->message;
    EXPECT_EQ(reply.seq, message.seq + 1);
    EXPECT_EQ(reply.sentAt, message.sentAt.addMSecs(3400));
    EXPECT_EQ(h.clock.pendingTimers(), 0);

    // The staff's marks were recorded, not only announced.
    const ServerFrame receipts =
        client.request(ClientFrame::receipts({QStringLiteral("q"), bakery, message.seq}));
    const auto& entries = receipts.as<ReceiptsReply>()->entries;
    ASSERT_EQ(entries.size(), 1);
    EXPECT_EQ(entries[0].deliveredAt, message.sentAt.addMSecs(500));
    EXPECT_EQ(entries[0].readAt, message.sentAt.addMSecs(1400));
}

TEST_F(LocalServerAutoReply, TextsRotateAndTheEleventhReplyUsesTheFirstAgain) {
    QStringList texts;
    for (int i = 1; i <= 11; ++i) {
        send(QStringLiteral("c%1").arg(i));
        h.clock.advance(milliseconds(3400));
        texts += replies(client.take());
    }
    ASSERT_EQ(texts.size(), 11);
    for (int i = 0; i < 11; ++i)
        EXPECT_EQ(texts[i], staffTexts[i % 5]) << i;
    EXPECT_EQ(texts[10], texts[0]);
}

TEST_F(LocalServerAutoReply, RepliesOverlapWhileOtherFramesAreHandled) {
    send(QStringLiteral("a"));
    h.clock.advance(milliseconds(1000));
    send(QStringLiteral("b")); // the first answer is half-way
    const ServerFrame history = client.request(
        ClientFrame::history({QStringLiteral("h"), bakery, std::nullopt, std::nullopt, 5}));
    EXPECT_TRUE(history.as<HistoryPage>());
    h.clock.advance(milliseconds(10000));
    EXPECT_EQ(replies(client.take()), (QStringList{staffTexts[0], staffTexts[1]}));
    // A resend of an acknowledged message is not answered again.
    send(QStringLiteral("b"));
    EXPECT_EQ(h.clock.pendingTimers(), 0);
}

TEST(LocalServerAutoReplyVoices, ClientsAnswerStaffOnlyWhenNobodyIsThere) {
    ServerHarness h(talkative());
    auto staff = h.signIn(h.email(QStringLiteral("Marta Ferri")));
    const QString garage = ServerHarness::conversationTitled(staff.welcome, "Officina Gatti");
    const QString lucaID = h.account(QStringLiteral("Luca Gatti")).userID;
    staff.request(ClientFrame::send({QStringLiteral("s1"), garage, QStringLiteral("Fatto"), {}}));
    h.clock.advance(milliseconds(3400));
    QStringList texts;
    for (const auto& frame : staff.take()) {
        if (const auto* event = frame.as<MessageEvent>();
            event && event->message.authorID == lucaID)
            texts.append(event->message.text);
    }
    EXPECT_EQ(texts, QStringList{AutoReplier::text(Role::client, 0)});
    EXPECT_EQ(texts[0], "Perfetto, grazie mille!");

    // With Luca signed in he speaks for himself, and a company without people stays silent.
    auto luca = h.signIn(h.email(QStringLiteral("Luca Gatti")));
    staff.request(ClientFrame::send({QStringLiteral("s2"), garage, QStringLiteral("Ci sei?"), {}}));
    const QString empty = ServerHarness::conversationTitled(staff.welcome, "Agriturismo Le Querce");
    staff.request(
        ClientFrame::send({QStringLiteral("s3"), empty, QStringLiteral("Benvenuti"), {}}));
    EXPECT_EQ(h.clock.pendingTimers(), 0);
}

TEST(LocalServerAutoReplyVoices, NothingIsScheduledWhenAutomaticRepliesAreOff) {
    ServerHarness h; // quiet
    auto client = h.signIn(h.email(QStringLiteral("Giulia Orlandi")));
    const QString bakery = ServerHarness::conversationTitled(client.welcome, "Panificio Orlandi");
    client.request(ClientFrame::send({QStringLiteral("x"), bakery, QStringLiteral("Ciao"), {}}));
    EXPECT_EQ(h.clock.pendingTimers(), 0);
}
