// The chat view's list on a long conversation (10,000 messages): opening it (timeline and the first
// rows), a live message arriving (the newest rows rebuilt: one inserted row; beside it the whole
// rebuild), an older page coming in at the far end, and a search over every loaded message.

#include "LongConversation.h"
#include "state/ChatState.h"
#include "views/MessageListModel.h"
#include "views/TextMatch.h"
#include "views/TimelineFeed.h"

#include <QCoreApplication>
#include <QTimeZone>
#include <benchmark/benchmark.h>

using namespace brevio;

namespace {

constexpr int messageCount = 10000;
const QString conversationID = QStringLiteral("c-1");
const QString& me = bench::staffID;
const QDateTime start(QDate(2026, 1, 5), QTime(8, 0), Qt::UTC);
const QTimeZone zone("Europe/Rome");

ChatMessage makeMessage(qint64 seq) {
    return bench::conversationMessage(conversationID, seq, start);
}

// One direct conversation with `count` messages from seq `first` on.
ChatState conversationState(qint64 first, int count) {
    ChatState state;
    state.me = User{
        me,          QStringLiteral("Sara Conti"), std::nullopt, Role::staff, std::nullopt, true,
        std::nullopt};
    state.users.insert(me, *state.me);
    state.users.insert(QStringLiteral("u-client"),
                       User{QStringLiteral("u-client"), QStringLiteral("Marta Rossi"), std::nullopt,
                            Role::client, QStringLiteral("k-1"), false, std::nullopt});
    Conversation c;
    c.id = conversationID;
    c.clientID = QStringLiteral("k-1");
    c.title = QStringLiteral("Ardena");
    state.upsertConversation(c);
    QList<ChatMessage> page;
    for (qint64 seq = first; seq < first + count; ++seq)
        page.append(makeMessage(seq));
    state.mergeHistory(conversationID, page, first > 1, true);
    return state;
}

QString nameOf(const ChatState& state, const QString& id) {
    return state.users.value(id).name;
}

QDateTime now() {
    return start.addSecs(qint64(messageCount + 10) * 173);
}

void fill(MessageListModel& model, const ChatState& state) {
    model.setRows(
        state.timeline(conversationID, std::nullopt, now(), zone),
        [&](const QString& id) { return nameOf(state, id); }, now());
}

void BM_OpenConversation(benchmark::State& s) {
    const ChatState state = conversationState(1, messageCount);
    for (auto _ : s) {
        MessageListModel model;
        model.setZone(zone);
        fill(model, state);
        benchmark::DoNotOptimize(model.rowCount());
    }
}
BENCHMARK(BM_OpenConversation)->Unit(benchmark::kMillisecond);

// As the chat view takes it: through the feed, which rebuilds only the newest rows.
void BM_LiveMessageArrives(benchmark::State& s) {
    ChatState state = conversationState(1, messageCount);
    MessageListModel model;
    model.setZone(zone);
    TimelineFeed feed(model);
    const auto names = [&](const QString& id) { return nameOf(state, id); };
    feed.update(state, conversationID, std::nullopt, now(), zone, names);
    int inserted = 0, partial = 0;
    QObject::connect(&model, &QAbstractItemModel::rowsInserted, [&] { ++inserted; });
    qint64 seq = messageCount;
    for (auto _ : s) {
        state.insert(makeMessage(++seq));
        partial += feed.update(state, conversationID, std::nullopt, now(), zone, names);
    }
    s.counters["rows inserted per message"] = double(inserted) / double(s.iterations());
    s.counters["newest rows only"] = double(partial) / double(s.iterations());
}
BENCHMARK(BM_LiveMessageArrives)->Unit(benchmark::kMicrosecond);

// The same without the feed: the whole timeline built and diffed.
void BM_LiveMessageWholeRebuild(benchmark::State& s) {
    ChatState state = conversationState(1, messageCount);
    MessageListModel model;
    model.setZone(zone);
    fill(model, state);
    qint64 seq = messageCount;
    for (auto _ : s) {
        state.insert(makeMessage(++seq));
        fill(model, state);
    }
}
BENCHMARK(BM_LiveMessageWholeRebuild)->Unit(benchmark::kMillisecond);

void BM_OlderPageArrives(benchmark::State& s) {
    const ChatState before = conversationState(101, messageCount - 100);
    const ChatState after = conversationState(1, messageCount);
    for (auto _ : s) {
        s.PauseTiming();
        MessageListModel model;
        model.setZone(zone);
        fill(model, before);
        s.ResumeTiming();
        fill(model, after);
    }
}
BENCHMARK(BM_OlderPageArrives)->Unit(benchmark::kMillisecond);

void BM_SearchEveryMessage(benchmark::State& s) {
    const ChatState state = conversationState(1, messageCount);
    const QList<ChatMessage> messages = state.messages.value(conversationID);
    for (auto _ : s) {
        int matches = 0;
        for (const ChatMessage& m : messages)
            matches += TextMatch::contains(m.text, QStringLiteral("perche"));
        benchmark::DoNotOptimize(matches);
    }
}
BENCHMARK(BM_SearchEveryMessage)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
