// The session's persistence at scale: a saved state of 500 conversations × 200 messages
// (about 30 MB of JSON). Measures, in wall-clock time:
//   - restore: from ChatSession::restore() to the loaded state being published;
//   - save: the encode and write of one save on the store thread;
//   - the main thread's longest gap between two ticks of a 1 ms timer while each runs
//     (the decode and the encode must not stall the interface).
// Figures are reported as counters; nothing here passes or fails.

#include "BigState.h"
#include "model/ManualClock.h"
#include "session/ChatSession.h"
#include "session/FileSessionStore.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <atomic>
#include <benchmark/benchmark.h>
#include <chrono>
#include <ctime>
#include <memory>

using namespace brevio;
using namespace brevio::bench;

namespace {

// No server: every connection attempt fails at once, so a restored session only waits.
class NoServer final : public ChatTransport {
public:
    std::expected<std::shared_ptr<TransportConnection>, ChatError> connect(const QUrl&) override {
        return std::unexpected(ChatError::unreachable());
    }
};

qint64 threadCpuNanos() {
    timespec ts{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return qint64(ts.tv_sec) * 1000000000 + ts.tv_nsec;
}

// Ticks every millisecond on the main thread and remembers the longest gap between two ticks,
// both in wall-clock time and in the main thread's own CPU time. On a busy machine the wall gap
// also holds time the thread merely waited for a core; the CPU gap is work done on the main thread
// between two ticks, which is what would freeze the interface on an idle machine.
class StallMeter {
public:
    StallMeter() {
        timer_.setTimerType(Qt::PreciseTimer);
        timer_.setInterval(1);
        QObject::connect(&timer_, &QTimer::timeout, [this] { tick(); });
    }
    void start() {
        wallMax_ = cpuMax_ = 0;
        clock_.start();
        cpuStart_ = cpuLast_ = threadCpuNanos();
        timer_.start();
    }
    void stop() {
        timer_.stop();
        tick();
        cpuTotal_ = cpuLast_ - cpuStart_;
    }
    double wallMaxMs() const { return wallMax_ / 1e6; }
    double cpuMaxMs() const { return cpuMax_ / 1e6; }
    double cpuTotalMs() const { return cpuTotal_ / 1e6; }

private:
    void tick() {
        const qint64 cpu = threadCpuNanos();
        wallMax_ = std::max(wallMax_, clock_.nsecsElapsed());
        cpuMax_ = std::max(cpuMax_, cpu - cpuLast_);
        clock_.restart();
        cpuLast_ = cpu;
    }

    QTimer timer_;
    QElapsedTimer clock_;
    qint64 wallMax_ = 0, cpuMax_ = 0, cpuStart_ = 0, cpuLast_ = 0, cpuTotal_ = 0;
};

template <class Pred> void spinUntil(Pred done) {
    while (!done())
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
}

// Records when the store's serial queue reaches this point, and wakes the main thread so that a
// spinUntil() waiting for the mark sees it (setting an atomic alone wakes nobody).
void markOnStore(FileSessionStore& store, std::atomic<qint64>& mark, const QElapsedTimer& clock) {
    store.post([&mark, &clock] {
        mark = std::max<qint64>(clock.nsecsElapsed(), 1);
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [] {}, Qt::QueuedConnection);
    });
}

struct Fixture {
    Fixture() {
        store = std::make_unique<FileSessionStore>(dir.path() + QStringLiteral("/Brevio"));
        state = bigState();
        store->saveCredentials(
            {QUrl(QStringLiteral("wss://chat.example.test/ws")), QStringLiteral("token"), userID});
        store->saveState(state, userID);
        store->flush();
        fileBytes = QFileInfo(store->statePath(userID)).size();
    }
    QTemporaryDir dir;
    std::unique_ptr<FileSessionStore> store;
    ChatState state;
    qint64 fileBytes = 0;
};

Fixture& fixture() {
    static Fixture f;
    return f;
}

void BM_RestoreToPublishedState(benchmark::State& bench) {
    Fixture& f = fixture();
    NoServer transport;
    ManualClock clock;
    StallMeter stalls;
    double wallStall = 0, cpuStall = 0, mainCpu = 0, decode = 0, restoreCall = 0;
    for (auto _ : bench) {
        ChatSession session(clock, transport, f.store.get(), ClientInfo{});
        std::atomic<qint64> begin{0}, end{0};
        QElapsedTimer elapsed;
        elapsed.start();
        stalls.start();
        // Marks on the store's queue around the load: the read and decode time on that thread.
        markOnStore(*f.store, begin, elapsed);
        session.restore();
        restoreCall = std::max(restoreCall, elapsed.nsecsElapsed() / 1e6);
        markOnStore(*f.store, end, elapsed);
        spinUntil([&] { return session.state().conversations.size() == conversationCount; });
        const double seconds = elapsed.nsecsElapsed() / 1e9;
        stalls.stop();
        spinUntil([&] { return end.load() != 0; }); // the mark lives on this iteration's stack
        wallStall = std::max(wallStall, stalls.wallMaxMs());
        cpuStall = std::max(cpuStall, stalls.cpuMaxMs());
        mainCpu = std::max(mainCpu, stalls.cpuTotalMs());
        decode += (end - begin) / 1e6;
        bench.SetIterationTime(seconds);
        if (session.state().messages.size() != conversationCount)
            bench.SkipWithError("the restored state is incomplete");
        bench.PauseTiming();
        session.signOutNow(SignOutReason::sessionExpired, false); // keeps nothing running
        f.store->saveCredentials(
            {QUrl(QStringLiteral("wss://chat.example.test/ws")), QStringLiteral("token"), userID});
        f.store->saveState(f.state, userID);
        f.store->flush();
        bench.ResumeTiming();
    }
    bench.counters["file_MB"] = f.fileBytes / 1e6;
    bench.counters["store_read_decode_ms_mean"] = decode / double(bench.iterations());
    bench.counters["restore_call_ms"] = restoreCall;
    bench.counters["main_cpu_total_ms"] = mainCpu;
    bench.counters["main_max_gap_wall_ms"] = wallStall;
    bench.counters["main_max_gap_cpu_ms"] = cpuStall;
}

void BM_SaveOnStoreThread(benchmark::State& bench) {
    Fixture& f = fixture();
    NoServer transport;
    ManualClock clock;
    StallMeter stalls;
    ChatSession session(clock, transport, f.store.get(), ClientInfo{});
    session.restore();
    spinUntil([&] { return session.state().conversations.size() == conversationCount; });
    double wallStall = 0, cpuStall = 0, mainCpu = 0, call = 0;
    for (auto _ : bench) {
        // Marks on the store's serial queue just before and after the save's own job.
        std::atomic<qint64> begin{0}, end{0};
        QElapsedTimer wall;
        wall.start();
        markOnStore(*f.store, begin, wall);
        stalls.start();
        QElapsedTimer inCall;
        inCall.start();
        session.suspend(); // saves at once: trimmed copy here, encode and write on the store thread
        call = std::max(call, inCall.nsecsElapsed() / 1e6);
        markOnStore(*f.store, end, wall);
        spinUntil([&] { return end.load() != 0; });
        stalls.stop();
        wallStall = std::max(wallStall, stalls.wallMaxMs());
        cpuStall = std::max(cpuStall, stalls.cpuMaxMs());
        mainCpu = std::max(mainCpu, stalls.cpuTotalMs());
        bench.SetIterationTime((end - begin) / 1e9);
    }
    bench.counters["file_MB"] = f.fileBytes / 1e6;
    bench.counters["save_call_on_main_ms"] = call;
    bench.counters["main_cpu_total_ms"] = mainCpu;
    bench.counters["main_max_gap_wall_ms"] = wallStall;
    bench.counters["main_max_gap_cpu_ms"] = cpuStall;
    session.signOutNow(SignOutReason::sessionExpired, true);
    f.store->flush();
}

// From send() to the outbox file written, on an idle store (0) and behind a full save of the large
// state queued just before (1), the worst a message waits for the disk.
void BM_OutboxOnDisk(benchmark::State& bench) {
    Fixture& f = fixture();
    NoServer transport;
    ManualClock clock;
    ChatSession session(clock, transport, f.store.get(), ClientInfo{});
    session.restore();
    spinUntil([&] { return session.state().conversations.size() == conversationCount; });
    const QString conversationID = session.state().conversations.cbegin().key();
    const bool behindSave = bench.range(0) == 1;
    qsizetype written = 0;
    for (auto _ : bench) {
        if (behindSave)
            f.store->saveState(f.state, userID);
        std::atomic<qint64> end{0};
        QElapsedTimer wall;
        wall.start();
        session.send(conversationID, QStringLiteral("Messaggio %1").arg(++written));
        markOnStore(*f.store, end, wall);
        spinUntil([&] { return end.load() != 0; });
        bench.SetIterationTime(end / 1e9);
    }
    bench.counters["outbox_entries"] = double(session.state().outbox.size());
    session.signOutNow(SignOutReason::sessionExpired, false);
    f.store->saveCredentials(
        {QUrl(QStringLiteral("wss://chat.example.test/ws")), QStringLiteral("token"), userID});
    f.store->saveState(f.state, userID);
    f.store->flush();
}

// For comparison, the codecs alone on the calling thread. The encoder hands its parts to a sink
// that only counts them, so this is the encode without the file write.
void BM_EncodeStateJson(benchmark::State& bench) {
    const ChatState& state = fixture().state;
    std::size_t bytes = 0;
    for (auto _ : bench) {
        // Parts are handed on as the file writer gets them; only their length is kept here.
        bytes = 0;
        writeChatState(state, [&](std::string_view part) {
            bytes += part.size();
            benchmark::DoNotOptimize(part.data());
            return true;
        });
    }
    bench.SetBytesProcessed(qint64(bench.iterations()) * qint64(bytes));
}

void BM_DecodeStateJson(benchmark::State& bench) {
    const std::string text = encodeChatState(fixture().state);
    for (auto _ : bench) {
        Decoded<ChatState> decoded = decodeChatState(text);
        if (!decoded)
            bench.SkipWithError("decode failed");
        benchmark::DoNotOptimize(decoded.value->messages.size());
    }
    bench.SetBytesProcessed(qint64(bench.iterations()) * qint64(text.size()));
}

void BM_ParseJsonOnly(benchmark::State& bench) {
    const std::string text = encodeChatState(fixture().state);
    for (auto _ : bench) {
        boost::json::value value = json::parse(text);
        benchmark::DoNotOptimize(value.is_object());
    }
    bench.SetBytesProcessed(qint64(bench.iterations()) * qint64(text.size()));
}

BENCHMARK(BM_EncodeStateJson)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_DecodeStateJson)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_ParseJsonOnly)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_RestoreToPublishedState)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(10);
BENCHMARK(BM_OutboxOnDisk)
    ->Arg(0)
    ->Arg(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(20);
BENCHMARK(BM_SaveOnStoreThread)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(10);

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
