// The staff's conversation list over 2,000 conversations with 100 loaded messages each: filling
// it, the filter switched, a query typed letter by letter (each keystroke a new search), a pasted
// query nobody matches (every loaded message looked at), the first search that folds every text,
// and a live message that brings the last conversation to the top (one moved row, not a reset).

#include "state/ChatState.h"
#include "views/ConversationListModel.h"

#include <QCoreApplication>
#include <QTimeZone>
#include <benchmark/benchmark.h>
#include <random>

using namespace brevio;

namespace {

constexpr int conversationCount = 2000;
constexpr int groupEvery = 10; // one conversation in ten is a group
constexpr int messagesPerConversation = 100;
const QString me = QStringLiteral("u-staff");
const QDateTime start(QDate(2026, 1, 5), QTime(8, 0), Qt::UTC);
const QTimeZone zone("Europe/Rome");

const QStringList words{
    QStringLiteral("preventivo"),  QStringLiteral("fattura"),    QStringLiteral("cantiere"),
    QStringLiteral("sopralluogo"), QStringLiteral("perché"),     QStringLiteral("più"),
    QStringLiteral("domani"),      QStringLiteral("stampante"),  QStringLiteral("copia"),
    QStringLiteral("gestionale"),  QStringLiteral("grazie"),     QStringLiteral("città"),
    QStringLiteral("consegna"),    QStringLiteral("password"),   QStringLiteral("contratto"),
    QStringLiteral("venerdì"),     QStringLiteral("misure"),     QStringLiteral("sito"),
    QStringLiteral("menù"),        QStringLiteral("assistenza"), QStringLiteral("ordine"),
    QStringLiteral("magazzino"),   QStringLiteral("riunione"),   QStringLiteral("ufficio"),
};
const QStringList names{QStringLiteral("Marta"), QStringLiteral("Luca"), QStringLiteral("Giulia"),
                        QStringLiteral("Paolo"), QStringLiteral("Sara"), QStringLiteral("Nadia"),
                        QStringLiteral("Piero"), QStringLiteral("Anna")};

// Sentences of eight to twelve words with a number in them: about 80 characters.
QString sentence(std::mt19937& random) {
    QStringList parts;
    const int count = 8 + int(random() % 5);
    for (int i = 0; i < count; ++i)
        parts.append(words[int(random() % words.size())]);
    parts.insert(int(random() % parts.size()), QString::number(random() % 10000));
    QString text = parts.join(u' ');
    text[0] = text[0].toUpper();
    return text + u'.';
}

ChatState bigList() {
    std::mt19937 random(7);
    ChatState state;
    state.me = User{
        me,          QStringLiteral("Marta Ferri"), std::nullopt, Role::staff, std::nullopt, true,
        std::nullopt};
    state.users.insert(me, *state.me);
    for (int c = 0; c < conversationCount; ++c) {
        const QString n = QString::number(c);
        const QString userID = QStringLiteral("u-") + n;
        const QString clientID = QStringLiteral("k-") + n;
        state.clients.insert(
            clientID, ClientCompany{clientID, QStringLiteral("Azienda ") + n, std::nullopt, start});
        state.users.insert(userID,
                           User{userID, names[c % names.size()] + QStringLiteral(" Rossi ") + n,
                                std::nullopt, Role::client, clientID, false, std::nullopt});
        Conversation conversation;
        conversation.id = QStringLiteral("c-") + n;
        if (c % groupEvery == 0) {
            conversation.kind = ConversationKind::group;
            conversation.title = QStringLiteral("Gruppo ") + n;
            conversation.memberIDs = QStringList{me, userID, QStringLiteral("u-%1").arg(c + 1)};
        } else {
            conversation.clientID = clientID;
            conversation.title = QStringLiteral("Cliente ") + n;
        }
        state.upsertConversation(conversation);
        QList<ChatMessage> page;
        for (int m = 1; m <= messagesPerConversation; ++m) {
            ChatMessage message;
            message.id = QStringLiteral("m-%1-%2").arg(c).arg(m);
            message.clientID = message.id;
            message.conversationID = conversation.id;
            message.seq = m;
            message.authorID = m % 2 ? userID : me;
            message.text = sentence(random);
            message.sentAt = start.addSecs(qint64(c) * 97 + m * 13);
            message.revision = m;
            page.append(message);
        }
        state.mergeHistory(conversation.id, page, false, true);
        // One in four has something unread.
        state.markRead(conversation.id);
        if (c % 4 == 1) {
            ChatMessage extra = page.last();
            extra.seq = messagesPerConversation + 1;
            extra.id = extra.clientID = QStringLiteral("m-%1-extra").arg(c);
            extra.revision = extra.seq;
            extra.sentAt = extra.sentAt.addSecs(5);
            state.insert(extra);
        }
    }
    return state;
}

const ChatState& sharedState() {
    static const ChatState state = bigList();
    return state;
}

QDateTime now() {
    return start.addDays(30);
}

void BM_FillList(benchmark::State& s) {
    const ChatState& state = sharedState();
    for (auto _ : s) {
        ConversationListModel list;
        list.setZone(zone);
        list.refresh(state, now());
        benchmark::DoNotOptimize(list.rowCount());
    }
}
BENCHMARK(BM_FillList)->Unit(benchmark::kMillisecond);

void BM_SwitchFilter(benchmark::State& s) {
    const ChatState& state = sharedState();
    ConversationListModel list;
    list.setZone(zone);
    list.refresh(state, now());
    int filter = 0;
    for (auto _ : s) {
        filter = (filter + 1) % 3;
        list.setFilter(filter);
        benchmark::DoNotOptimize(list.rowCount());
    }
}
BENCHMARK(BM_SwitchFilter)->Unit(benchmark::kMillisecond);

// "misure 12" typed a letter at a time, then cleared; the time is per keystroke.
void BM_TypeQueryPerKeystroke(benchmark::State& s) {
    const ChatState& state = sharedState();
    ConversationListModel list;
    list.setZone(zone);
    list.refresh(state, now());
    list.setFilter(int(s.range(0)));
    const QString query = QStringLiteral("misure 12");
    list.setSearch(QStringLiteral("x")); // the folded texts are made once, outside the timing
    list.setSearch(QString());
    qsizetype length = 0;
    int lastCount = 0;
    for (auto _ : s) {
        length = length == query.size() ? 0 : length + 1;
        list.setSearch(query.left(length));
        if (length == query.size())
            lastCount = list.rowCount();
    }
    s.counters["hits for the whole query"] = lastCount;
}
BENCHMARK(BM_TypeQueryPerKeystroke)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);

// A pasted query that nothing contains: every title, name and loaded message is looked at.
void BM_PastedQueryNoHit(benchmark::State& s) {
    const ChatState& state = sharedState();
    ConversationListModel list;
    list.setZone(zone);
    list.refresh(state, now());
    list.setSearch(QStringLiteral("x"));
    bool odd = false;
    for (auto _ : s) {
        odd = !odd;
        list.setSearch(odd ? QStringLiteral("zzqq nessuno") : QStringLiteral("qqzz nessuno"));
        benchmark::DoNotOptimize(list.rowCount());
    }
}
BENCHMARK(BM_PastedQueryNoHit)->Unit(benchmark::kMillisecond);

// The first search of a list: every loaded text folded.
void BM_FirstSearchFoldsEverything(benchmark::State& s) {
    const ChatState& state = sharedState();
    for (auto _ : s) {
        s.PauseTiming();
        auto list = std::make_unique<ConversationListModel>();
        list->setZone(zone);
        list->refresh(state, now());
        s.ResumeTiming();
        list->setSearch(QStringLiteral("zzqq"));
        benchmark::DoNotOptimize(list->rowCount());
        s.PauseTiming();
        list.reset();
        s.ResumeTiming();
    }
}
BENCHMARK(BM_FirstSearchFoldsEverything)->Unit(benchmark::kMillisecond);

// A live message into the conversation at the bottom of the list: it moves to the top.
void BM_LiveMessageMovesToTop(benchmark::State& s) {
    ChatState state = sharedState();
    ConversationListModel list;
    list.setZone(zone);
    list.refresh(state, now());
    int moved = 0, reset = 0, changed = 0;
    QObject::connect(&list, &QAbstractItemModel::rowsMoved, [&] { ++moved; });
    QObject::connect(&list, &QAbstractItemModel::modelReset, [&] { ++reset; });
    QObject::connect(&list, &QAbstractItemModel::dataChanged, [&] { ++changed; });
    QDateTime at = now();
    qint64 n = 0;
    for (auto _ : s) {
        s.PauseTiming();
        const QString id = list.idAt(list.rowCount() - 1);
        const Conversation& c = state.conversations.value(id);
        ChatMessage m;
        m.id = m.clientID = QStringLiteral("live-%1").arg(++n);
        m.conversationID = id;
        m.seq = c.lastSeq + 1;
        m.revision = m.seq;
        m.authorID = QStringLiteral("u-1");
        m.text = QStringLiteral("Ci siete? Il preventivo numero %1").arg(n);
        at = at.addSecs(1);
        m.sentAt = at;
        state.insert(m);
        s.ResumeTiming();
        list.refresh(state, at);
    }
    s.counters["moves per message"] = double(moved) / double(s.iterations());
    s.counters["changed rows per message"] = double(changed) / double(s.iterations());
    s.counters["resets"] = reset;
}
BENCHMARK(BM_LiveMessageMovesToTop)->Unit(benchmark::kMicrosecond);

// The same while a search is shown: the new message is looked at too.
void BM_LiveMessageWhileSearching(benchmark::State& s) {
    ChatState state = sharedState();
    ConversationListModel list;
    list.setZone(zone);
    list.refresh(state, now());
    list.setSearch(QStringLiteral("preventivo"));
    QDateTime at = now();
    qint64 n = 0;
    for (auto _ : s) {
        s.PauseTiming();
        const QString id = list.idAt(list.rowCount() - 1);
        const Conversation& c = state.conversations.value(id);
        ChatMessage m;
        m.id = m.clientID = QStringLiteral("live-%1").arg(++n);
        m.conversationID = id;
        m.seq = c.lastSeq + 1;
        m.revision = m.seq;
        m.authorID = QStringLiteral("u-1");
        m.text = QStringLiteral("Il preventivo numero %1").arg(n);
        at = at.addSecs(1);
        m.sentAt = at;
        state.insert(m);
        s.ResumeTiming();
        list.refresh(state, at);
    }
}
BENCHMARK(BM_LiveMessageWhileSearching)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
