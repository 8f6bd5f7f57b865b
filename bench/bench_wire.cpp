// Encoding and decoding of the two largest frames a client meets: a history page of 100 messages
// and the welcome of a large organisation (2,000 conversations, 500 users, about 1 MB of JSON).
// Each benchmark reports the time per frame and the bytes of JSON per second.

#include "model/Json.h"
#include "model/WireCoding.h"
#include "wire/Frames.h"

#include <benchmark/benchmark.h>
#include <boost/json/parse.hpp>
#include <optional>
#include <random>

using namespace brevio;

namespace {

const QDateTime origin = QDateTime::fromMSecsSinceEpoch(1'741'944'413'589, Qt::UTC);

QString words(std::mt19937& rng, int count) {
    static const char* vocabulary[] = {"buongiorno", "preventivo", "allegato", "fattura", "grazie",
                                       "domani",     "riunione",   "è",        "pronto",  "ciao",
                                       "consegna",   "ordine",     "perché",   "📎",       "👍"};
    QString text;
    for (int i = 0; i < count; ++i) {
        if (i)
            text += QLatin1Char(' ');
        text += QString::fromUtf8(vocabulary[rng() % std::size(vocabulary)]);
    }
    return text;
}

ChatMessage makeMessage(std::mt19937& rng, const QString& conversationID, qint64 seq) {
    ChatMessage m;
    m.id = QStringLiteral("msg-%1-%2").arg(conversationID).arg(seq);
    m.clientID = QStringLiteral("8f14e45f-ceea-467f-a0e6-%1").arg(seq, 12, 10, QLatin1Char('0'));
    m.conversationID = conversationID;
    m.seq = seq;
    m.authorID = QStringLiteral("user-%1").arg(rng() % 500);
    m.text = words(rng, 3 + int(rng() % 25));
    m.sentAt = origin.addSecs(seq * 37);
    if (seq % 5 == 0) {
        m.replyToSeq = seq - 1;
        m.reply = QuotedMessage{seq - 1, QStringLiteral("user-%1").arg(rng() % 500), words(rng, 6),
                                false};
    }
    if (seq % 7 == 0)
        m.editedAt = m.sentAt.addSecs(60);
    if (seq % 4 == 0)
        m.reactions = {Reaction{QString::fromUtf8("👍"), {"user-1", "user-2"}}};
    m.revision = seq % 3;
    return m;
}

HistoryPage makeHistoryPage() {
    std::mt19937 rng(7);
    HistoryPage page{"5b2c1d0e-6f7a-4b8c-9d0e-1f2a3b4c5d6e", "conv-17", {}, true};
    for (qint64 seq = 1; seq <= 100; ++seq)
        page.messages.append(makeMessage(rng, page.conversationID, seq));
    return page;
}

Welcome makeWelcome() {
    std::mt19937 rng(11);
    Welcome w;
    w.token = QStringLiteral("b6f0c0d2a9e94e0f8c1d2e3f4a5b6c7d");
    w.organization = QStringLiteral("Studio Associato Verdi");
    for (int i = 0; i < 500; ++i) {
        User u;
        u.id = QStringLiteral("user-%1").arg(i);
        u.name = words(rng, 2);
        u.email = QStringLiteral("persona%1@example.com").arg(i);
        u.role = i < 40 ? Role::staff : Role::client;
        if (u.role == Role::client)
            u.clientID = QStringLiteral("client-%1").arg(i % 200);
        u.isAdmin = i < 3;
        w.users.append(u);
    }
    w.me = w.users.front();
    for (int i = 0; i < 200; ++i)
        w.clients.append(ClientCompany{QStringLiteral("client-%1").arg(i), words(rng, 2),
                                       i % 3 ? std::optional<QString>() : words(rng, 12),
                                       origin.addDays(-i)});
    for (int i = 0; i < 2000; ++i) {
        Conversation c;
        c.id = QStringLiteral("conv-%1").arg(i);
        const bool group = i % 10 == 0;
        c.kind = group ? ConversationKind::group : ConversationKind::direct;
        c.title = words(rng, 2);
        if (group)
            c.memberIDs = QStringList{"user-1", "user-7", "user-120", "user-300"};
        else
            c.clientID = QStringLiteral("client-%1").arg(i % 200);
        c.lastSeq = 1 + qint64(rng() % 5000);
        c.lastMessage = makeMessage(rng, c.id, c.lastSeq);
        const int members = 3 + int(rng() % 3);
        for (int k = 0; k < members; ++k) {
            const QString member = QStringLiteral("user-%1").arg(rng() % 500);
            c.reads.insert(member, c.lastSeq - qint64(rng() % 3));
            c.delivered.insert(member, c.lastSeq);
        }
        c.revision = qint64(rng() % 40);
        w.conversations.append(c);
    }
    for (int i = 0; i < 60; ++i)
        w.online.append(QStringLiteral("user-%1").arg(i * 7));
    return w;
}

const ServerFrame& historyFrame() {
    static const ServerFrame frame = ServerFrame::history(makeHistoryPage());
    return frame;
}

const ServerFrame& welcomeFrame() {
    static const ServerFrame frame = ServerFrame::welcome(makeWelcome());
    return frame;
}

void encodeFrame(benchmark::State& state, const ServerFrame& frame) {
    std::size_t bytes = 0;
    for (auto _ : state) {
        std::string text = wire::encode(frame);
        bytes = text.size();
        benchmark::DoNotOptimize(text);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(bytes));
    state.counters["frame_bytes"] = double(bytes);
}

// Decoding alone: the previous iteration's records are freed with the clock stopped, since in
// the client they are dropped much later, after the state has merged them. `alsoFree` times the
// freeing too.
void decodeFrame(benchmark::State& state, const ServerFrame& frame, bool alsoFree = false) {
    const std::string text = wire::encode(frame);
    std::optional<Decoded<ServerFrame>> decoded;
    for (auto _ : state) {
        if (!alsoFree) {
            state.PauseTiming();
            decoded.reset();
            state.ResumeTiming();
        }
        decoded.emplace(wire::decodeServerFrame(text));
        if (!decoded->ok()) {
            state.SkipWithError(decoded->error.toStdString().c_str());
            break;
        }
        benchmark::DoNotOptimize(*decoded);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
    state.counters["frame_bytes"] = double(text.size());
}

void BM_EncodeHistoryPage(benchmark::State& state) {
    encodeFrame(state, historyFrame());
}
void BM_DecodeHistoryPage(benchmark::State& state) {
    decodeFrame(state, historyFrame());
}
void BM_EncodeWelcome(benchmark::State& state) {
    encodeFrame(state, welcomeFrame());
}
void BM_DecodeWelcome(benchmark::State& state) {
    decodeFrame(state, welcomeFrame());
}
void BM_DecodeAndFreeWelcome(benchmark::State& state) {
    decodeFrame(state, welcomeFrame(), true);
}

// For comparison: only the parsing step of the welcome, into a fresh heap DOM and into the
// reused arena the decoder uses.
void BM_ParseWelcomeHeap(benchmark::State& state) {
    const std::string text = wire::encode(welcomeFrame());
    for (auto _ : state)
        benchmark::DoNotOptimize(boost::json::parse(text));
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}
void BM_ParseWelcomeArena(benchmark::State& state) {
    const std::string text = wire::encode(welcomeFrame());
    json::Parser parser;
    for (auto _ : state)
        benchmark::DoNotOptimize(&parser.parse(text));
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}

void BM_DecodeDate(benchmark::State& state) {
    const std::string text = "2025-03-14T09:26:53.589Z";
    for (auto _ : state)
        benchmark::DoNotOptimize(WireCoding::decodeDate(text));
}
void BM_EncodeDate(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(WireCoding::encodeDateUtf8(origin));
}

} // namespace

BENCHMARK(BM_EncodeHistoryPage)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_DecodeHistoryPage)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_EncodeWelcome)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DecodeWelcome)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DecodeAndFreeWelcome)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ParseWelcomeHeap)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ParseWelcomeArena)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DecodeDate);
BENCHMARK(BM_EncodeDate);

BENCHMARK_MAIN();
