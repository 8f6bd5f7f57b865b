#include "FrameEncoder.h"

#include <gtest/gtest.h>

using namespace brevio;

namespace {

ServerFrame clientEvent(std::optional<QString> notes) {
    ClientCompany company;
    company.id = QStringLiteral("cl-1");
    company.name = QStringLiteral("Ferramenta Bassi");
    company.notes = std::move(notes);
    company.createdAt = QDateTime(QDate(2025, 1, 2), QTime(8, 30), Qt::UTC);
    return ServerFrame::client(ClientEvent{company});
}

ServerFrame messageEvent(qint64 seq, const QString& text) {
    ChatMessage m;
    m.id = QStringLiteral("m-%1").arg(seq);
    m.clientID = QStringLiteral("c-%1").arg(seq);
    m.conversationID = QStringLiteral("conv-1");
    m.seq = seq;
    m.authorID = QStringLiteral("u-1");
    m.text = text;
    m.sentAt = QDateTime(QDate(2025, 3, 14), QTime(9, 0), Qt::UTC).addMSecs(seq);
    return ServerFrame::message(MessageEvent{m});
}

// Whatever the cache holds, every text is exactly the fresh encoding of its own frame.
TEST(FrameEncoderTest, EveryTextIsTheFrameOwnEncoding) {
    FrameEncoder encoder(4);
    std::vector<ServerFrame> frames = {
        clientEvent(QStringLiteral("Paga a 60 giorni")), // what staff see
        clientEvent(std::nullopt),                       // the same company as clients see it
        messageEvent(1, QStringLiteral("ciao")),
        messageEvent(1, QStringLiteral("ciao!")), // edited copy: same ids, other text
        ServerFrame::read(ReadEvent{QStringLiteral("conv-1"), QStringLiteral("u-1"), 1}),
        ServerFrame::delivered(ReadEvent{QStringLiteral("conv-1"), QStringLiteral("u-1"), 1}),
        ServerFrame::ok(OKReply{QStringLiteral("r-1"), std::nullopt, std::nullopt}),
    };
    for (int i = 2; i < 10; ++i)
        frames.push_back(messageEvent(i, QStringLiteral("testo")));
    // Repeats near and far, past the capacity, in both directions.
    std::vector<std::size_t> order;
    for (int round = 0; round < 3; ++round) {
        for (std::size_t i = 0; i < frames.size(); ++i)
            order.push_back(i);
        for (std::size_t i = frames.size(); i-- > 0;)
            order.push_back(i);
        for (std::size_t i = 0; i < frames.size(); ++i) {
            order.push_back(i);
            order.push_back(i);
            order.push_back((i + 1) % frames.size());
        }
    }
    for (const std::size_t i : order)
        ASSERT_EQ(encoder.encode(frames[i]).toStdString(), wire::encode(frames[i])) << i;
    EXPECT_GT(encoder.hits(), 0u);
}

// A member's drain replays the frames the previous member's drain just sent, in the same order;
// a backlog of many broadcasts must still come from memory the second time.
TEST(FrameEncoderTest, ABacklogReplayedByTheNextMemberIsNotEncodedAgain) {
    FrameEncoder encoder(1000);
    std::vector<ServerFrame> backlog;
    for (int i = 1; i <= 400; ++i) {
        backlog.push_back(messageEvent(i, QStringLiteral("messaggio %1").arg(i)));
        backlog.push_back(
            ServerFrame::read(ReadEvent{QStringLiteral("conv-1"), QStringLiteral("u-1"), i}));
    }
    for (const auto& frame : backlog)
        encoder.encode(frame);
    EXPECT_EQ(encoder.misses(), backlog.size());
    for (int member = 0; member < 3; ++member) {
        for (const auto& frame : backlog)
            ASSERT_EQ(encoder.encode(frame).toStdString(), wire::encode(frame));
    }
    EXPECT_EQ(encoder.hits(), 3 * backlog.size());
    EXPECT_EQ(encoder.misses(), backlog.size());
}

} // namespace
