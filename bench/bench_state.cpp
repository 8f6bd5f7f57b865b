// Chat state hot paths: appending a live message, merging a history page, building a timeline,
// the resident cost of a large state, and preparing the saved file.

#include "state/ChatState.h"
#include "state/Timeline.h"

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <fstream>

using namespace brevio;

namespace {

const QDateTime start(QDate(2025, 1, 6), QTime(8, 0), Qt::UTC);

// Identifiers shaped like the server's (36-character UUID text), built fresh for every message as
// the decoder would, so that sharing them with the map keys is part of what is measured.
QString uuidLike(quint64 n) {
    return QStringLiteral("%1-4f2a-4c1e-9b7d-%2")
        .arg(n, 8, 16, QLatin1Char('0'))
        .arg(n * 2654435761ULL % 0xFFFFFFFFFFFFULL, 12, 16, QLatin1Char('0'));
}

const QStringList texts{
    QStringLiteral("Buongiorno, le invio il preventivo aggiornato."),
    QStringLiteral("Grazie, lo guardo subito."),
    QStringLiteral("Perfetto, ci sentiamo domani mattina per la firma del contratto?"),
    QStringLiteral("Ok!"),
    QStringLiteral("La fattura di febbraio risulta ancora da saldare, può verificare?"),
};

QString people(int i) {
    return QStringLiteral("user-%1").arg(i);
}

// Server message ids: short counters ("m1234", as the local server makes them), or UUID text.
bool uuidMessageIDs = false;

ChatMessage makeMessage(const QString& conversationID, qint64 seq, int author, quint64 serial) {
    ChatMessage m;
    m.id = uuidMessageIDs ? uuidLike(serial) : QStringLiteral("m%1").arg(serial);
    m.clientID = uuidLike(serial ^ 0x5bd1e995ULL);
    m.conversationID = QString(conversationID.constData(), conversationID.size()); // own copy
    m.seq = seq;
    m.authorID = people(author);
    m.text = texts[int(serial % texts.size())];
    m.text.detach();
    m.sentAt = start.addSecs(seq * 97);
    if (serial % 10 == 3)
        m.reply = QuotedMessage{seq - 1, people(author ^ 1), texts[1], false};
    return m;
}

// A staff member "user-0" with a client company of three people.
ChatState baseState(int conversations) {
    Welcome w;
    w.me = User{people(0), "Io", std::nullopt, Role::staff, std::nullopt, false, std::nullopt};
    w.organization = "Studio";
    for (int i = 0; i < 4; ++i) {
        User u{people(i),    QStringLiteral("Persona %1").arg(i),
               std::nullopt, i < 2 ? Role::staff : Role::client,
               std::nullopt, false,
               std::nullopt};
        if (u.role == Role::client)
            u.clientID = "acme";
        w.users.append(u);
    }
    for (int c = 0; c < conversations; ++c) {
        Conversation conv;
        conv.id = QStringLiteral("conv-%1").arg(c);
        conv.clientID = "acme";
        conv.title = conv.id;
        w.conversations.append(conv);
    }
    ChatState s;
    s.applyWelcome(w);
    return s;
}

QList<ChatMessage> page(const QString& conversationID, qint64 from, qint64 count, quint64& serial) {
    QList<ChatMessage> out;
    out.reserve(count);
    for (qint64 seq = from; seq < from + count; ++seq)
        out.append(makeMessage(conversationID, seq, int(seq % 4), serial++));
    return out;
}

// A conversation of `count` messages loaded the usual way: the latest page, then older ones.
void loadConversation(ChatState& s, const QString& id, qint64 count, quint64& serial) {
    for (qint64 from = count - 99; from >= 1; from -= 100)
        s.mergeHistory(id, page(id, from, 100, serial), from > 1, true);
}

double threadCpuMs() {
    timespec ts{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return ts.tv_sec * 1e3 + ts.tv_nsec / 1e6;
}

long residentBytes() {
    long pages = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    return resident * sysconf(_SC_PAGESIZE);
}

void BM_AppendLiveMessage(benchmark::State& bs) {
    quint64 serial = 1;
    ChatState s = baseState(1);
    const QString id = "conv-0";
    loadConversation(s, id, 10000, serial);
    const QList<ChatMessage> loaded = s.messages[id];
    const ChatMessage tmpl = makeMessage(id, 1, 2, serial++);
    qint64 seq = loaded.last().seq;
    int sinceReset = 0;
    for (auto _ : bs) {
        // Stay near 10,000 loaded messages: every 10,000 appends start again from the base list.
        if (++sinceReset == 10000) {
            bs.PauseTiming();
            s.messages[id] = QList<ChatMessage>(loaded.cbegin(), loaded.cend());
            seq = loaded.last().seq;
            sinceReset = 0;
            bs.ResumeTiming();
        }
        ChatMessage m = tmpl;
        m.seq = ++seq;
        benchmark::DoNotOptimize(s.insert(std::move(m)));
    }
    bs.counters["final_messages"] = double(s.messages[id].size());
}
BENCHMARK(BM_AppendLiveMessage);

// An own message: queued in the outbox, then acknowledged, which retires the pending copy.
void BM_AppendAcknowledgedOwnMessage(benchmark::State& bs) {
    quint64 serial = 1;
    ChatState s = baseState(1);
    const QString id = "conv-0";
    loadConversation(s, id, 10000, serial);
    const QList<ChatMessage> loaded = s.messages[id];
    const ChatMessage tmpl = makeMessage(id, 1, 0, serial++);
    qint64 seq = loaded.last().seq;
    for (int i = 0; i < 3; ++i)
        s.appendPending(
            PendingMessage{QStringLiteral("pending-%1").arg(i), id, "x", start, {}, {}});
    int sinceReset = 0;
    const PendingMessage queued{uuidLike(1), id, tmpl.text, start, {}, {}};
    for (auto _ : bs) {
        if (++sinceReset == 10000) {
            bs.PauseTiming();
            s.messages[id] = QList<ChatMessage>(loaded.cbegin(), loaded.cend());
            seq = loaded.last().seq;
            sinceReset = 0;
            bs.ResumeTiming();
        }
        // Measured together: queueing the pending copy, then the server's ack retiring it.
        ChatMessage m = tmpl;
        m.seq = ++seq;
        m.clientID = queued.clientID;
        s.appendPending(queued);
        benchmark::DoNotOptimize(s.insert(std::move(m)));
    }
    bs.counters["outbox_left"] = double(s.outbox.size());
}
BENCHMARK(BM_AppendAcknowledgedOwnMessage);

// Arg 0: an older page (scrolling up), 1: a newer page, 2: a page overlapping the loaded end.
void BM_MergeHistoryPage(benchmark::State& bs) {
    quint64 serial = 1;
    ChatState s = baseState(1);
    const QString id = "conv-0";
    s.upsertConversation([&] {
        Conversation c = s.conversations[id];
        c.lastSeq = 20200;
        return c;
    }());
    s.mergeHistory(id, page(id, 10001, 10000, serial), true, true);
    const QList<ChatMessage> loaded = s.messages[id];
    const qint64 from = bs.range(0) == 0 ? 9901 : bs.range(0) == 1 ? 20001 : 19951;
    const QList<ChatMessage> incoming = page(id, from, 100, serial);
    for (auto _ : bs) {
        bs.PauseTiming();
        s.messages[id] = QList<ChatMessage>(loaded.cbegin(), loaded.cend()); // unshared
        QList<ChatMessage> p(incoming.cbegin(), incoming.cend());
        bs.ResumeTiming();
        s.mergeHistory(id, std::move(p), true, bs.range(0) == 0);
    }
    bs.counters["merged_size"] = double(s.messages[id].size());
}
BENCHMARK(BM_MergeHistoryPage)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMicrosecond);

void BM_Timeline10k(benchmark::State& bs) {
    quint64 serial = 1;
    ChatState s = baseState(1);
    const QString id = "conv-0";
    loadConversation(s, id, 10000, serial);
    s.advanceRead(id, people(2), 9990);
    for (int i = 0; i < 3; ++i)
        s.appendPending(PendingMessage{QStringLiteral("p%1").arg(i), id, "x", start, {}, 9000});
    const QTimeZone zone("Europe/Rome");
    const QDateTime now = s.messages[id].last().sentAt.addSecs(3600);
    qsizetype entries = 0;
    for (auto _ : bs) {
        const QList<TimelineEntry> t = s.timeline(id, 9950, now, zone);
        entries = t.size();
        benchmark::DoNotOptimize(t.constData());
    }
    bs.counters["entries"] = double(entries);
}
BENCHMARK(BM_Timeline10k)->Unit(benchmark::kMicrosecond);

// Resident memory of 100,000 loaded messages: 100 conversations of 1,000, each loaded in pages.
// Arg 0: short server message ids, 1: UUID-text server message ids.
void BM_ResidentPerMessage(benchmark::State& bs) {
    uuidMessageIDs = bs.range(0) == 1;
    for (auto _ : bs) {
        malloc_trim(0);
        const long before = residentBytes();
        quint64 serial = 1;
        ChatState s = baseState(100);
        for (int c = 0; c < 100; ++c)
            loadConversation(s, QStringLiteral("conv-%1").arg(c), 1000, serial);
        const long after = residentBytes();
        malloc_trim(0);
        const long trimmed = residentBytes();
        qsizetype total = 0;
        for (const auto& list : std::as_const(s.messages))
            total += list.size();
        bs.counters["messages"] = double(total);
        bs.counters["rss_before_MB"] = before / 1048576.0;
        bs.counters["rss_after_MB"] = after / 1048576.0;
        bs.counters["bytes_per_msg"] = double(after - before) / double(total);
        bs.counters["bytes_per_msg_trimmed"] = double(trimmed - before) / double(total);
        benchmark::DoNotOptimize(s.messages.size());
    }
    uuidMessageIDs = false;
}
BENCHMARK(BM_ResidentPerMessage)->Arg(0)->Arg(1)->Iterations(1)->Unit(benchmark::kMillisecond);

// What the session does once a second at most: trimmed(200) of a big state, then its JSON text.
void BM_TrimAndEncode(benchmark::State& bs) {
    quint64 serial = 1;
    ChatState s = baseState(500);
    for (int c = 0; c < 500; ++c)
        loadConversation(s, QStringLiteral("conv-%1").arg(c), 200, serial);
    std::size_t bytes = 0;
    double trimMs = 0, textMs = 0;
    for (auto _ : bs) {
        // The two phases are also timed apart (thread CPU time): the copy for saving, made on
        // the session's thread, and the text, written on the store's thread.
        const double t0 = threadCpuMs();
        const ChatState copy = s.trimmed(200);
        const double t1 = threadCpuMs();
        const std::string text = encodeChatState(copy);
        const double t2 = threadCpuMs();
        trimMs += t1 - t0;
        textMs += t2 - t1;
        bytes = text.size();
        benchmark::DoNotOptimize(text.data());
    }
    const double n = double(bs.iterations());
    bs.counters["file_MB"] = bytes / 1048576.0;
    bs.counters["messages"] = 500 * 200;
    bs.counters["trim_ms"] = trimMs / n;
    bs.counters["encode_ms"] = textMs / n;
}
BENCHMARK(BM_TrimAndEncode)->Unit(benchmark::kMillisecond);

// Reading that file back at start-up.
void BM_DecodeSavedState(benchmark::State& bs) {
    quint64 serial = 1;
    ChatState s = baseState(500);
    for (int c = 0; c < 500; ++c)
        loadConversation(s, QStringLiteral("conv-%1").arg(c), 200, serial);
    const std::string text = encodeChatState(s.trimmed(200));
    for (auto _ : bs) {
        Decoded<ChatState> d = decodeChatState(text);
        if (!d.ok())
            bs.SkipWithError("decode failed");
        benchmark::DoNotOptimize(d.value->messages.size());
    }
    bs.SetBytesProcessed(int64_t(bs.iterations()) * int64_t(text.size()));
}
BENCHMARK(BM_DecodeSavedState)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
