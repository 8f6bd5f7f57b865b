// The staff's conversation list: order, the filter and the search in their order, previews,
// badges, empty states, relative times in Europe/Rome, odd Unicode in the search, and that live
// changes reach the view as moves and changed rows, not resets. The client's home beside it.

#include "AppWorld.h"
#include "localserver/DemoSeed.h"
#include "views/ClientHomeModel.h"
#include "views/ConversationListModel.h"
#include "views/RelativeTime.h"

#include <QSignalSpy>

namespace brevio::test {
namespace {

using namespace std::chrono_literals;

const QTimeZone rome("Europe/Rome");
const QString me = QStringLiteral("u-me");

QDateTime romeTime(int y, int mo, int d, int h, int mi) {
    return QDateTime(QDate(y, mo, d), QTime(h, mi), rome);
}

// A staff member's state built by hand: companies with their direct conversation, groups, and
// messages whose times and texts the tests choose.
struct StateBuilder {
    StateBuilder() {
        state.me = User{me,           QStringLiteral("Marta Ferri"),
                        std::nullopt, Role::staff,
                        std::nullopt, false,
                        std::nullopt};
        state.users.insert(me, *state.me);
    }
    // A company, one of its people and their direct conversation titled `title`.
    QString company(const QString& title, const QString& companyName, const QString& person) {
        const QString n = QString::number(++count);
        const QString clientID = QStringLiteral("k-") + n;
        state.clients.insert(clientID, ClientCompany{clientID, companyName, std::nullopt, {}});
        const QString userID = QStringLiteral("u-") + n;
        state.users.insert(userID, User{userID, person, std::nullopt, Role::client, clientID, false,
                                        std::nullopt});
        Conversation c;
        c.id = QStringLiteral("c-") + n;
        c.clientID = clientID;
        c.title = title;
        state.upsertConversation(c);
        people.insert(c.id, userID);
        return c.id;
    }
    QString group(const QString& title, const QStringList& memberIDs) {
        Conversation c;
        c.id = QStringLiteral("g-") + QString::number(++count);
        c.kind = ConversationKind::group;
        c.title = title;
        c.memberIDs = memberIDs + QStringList{me};
        state.upsertConversation(c);
        return c.id;
    }
    // A message in `conversationID` by its other person (or by me), read by me unless `unread`.
    ChatMessage say(const QString& conversationID, const QString& text, const QDateTime& at,
                    bool mine = false, bool unread = false) {
        const qint64 seq = state.conversations.value(conversationID).lastSeq + 1;
        ChatMessage m;
        m.id = QStringLiteral("m-%1-%2").arg(conversationID).arg(seq);
        m.clientID = m.id;
        m.conversationID = conversationID;
        m.seq = seq;
        m.authorID = mine ? me : people.value(conversationID, QStringLiteral("u-1"));
        m.text = text;
        m.sentAt = at.toUTC();
        m.revision = seq;
        state.insert(m);
        if (!unread)
            state.markRead(conversationID);
        return m;
    }
    QString personOf(const QString& conversationID) const { return people.value(conversationID); }

    ChatState state;
    QHash<QString, QString> people;
    int count = 0;
};

QStringList titles(const ConversationListModel& list) {
    QStringList result;
    for (int row = 0; row < list.rowCount(); ++row)
        result.append(list.row(row).title);
    return result;
}

// Counts what the view is told.
struct ViewSignals {
    explicit ViewSignals(ConversationListModel& list)
        : moved(&list, &QAbstractItemModel::rowsMoved),
          inserted(&list, &QAbstractItemModel::rowsInserted),
          removed(&list, &QAbstractItemModel::rowsRemoved),
          reset(&list, &QAbstractItemModel::modelReset),
          changed(&list, &QAbstractItemModel::dataChanged) {}
    void clear() {
        moved.clear();
        inserted.clear();
        removed.clear();
        reset.clear();
        changed.clear();
    }
    QSignalSpy moved, inserted, removed, reset, changed;
};

const QDateTime noon = romeTime(2026, 5, 20, 12, 0);

// ---- Texts ------------------------------------------------------------------------------------

TEST(ConversationListTexts, BadgeShowsNothingThenTheNumberThen99Plus) {
    EXPECT_EQ(ConversationListModel::badgeText(0), "");
    EXPECT_EQ(ConversationListModel::badgeText(-3), "");
    EXPECT_EQ(ConversationListModel::badgeText(1), "1");
    EXPECT_EQ(ConversationListModel::badgeText(99), "99");
    EXPECT_EQ(ConversationListModel::badgeText(100), "99+");
    EXPECT_EQ(ConversationListModel::badgeText(12345), "99+");
    EXPECT_EQ(ConversationListModel::badgeAccessibleText(0), "");
    EXPECT_EQ(ConversationListModel::badgeAccessibleText(1), "1 da leggere");
    EXPECT_EQ(ConversationListModel::badgeAccessibleText(100), "100 da leggere");

    // Through the rows: 0, 1, 99 and 100 unread messages.
    StateBuilder b;
    for (int unread : {0, 1, 99, 100}) {
        const QString id = b.company(QStringLiteral("Azienda %1").arg(unread),
                                     QStringLiteral("Azienda"), QStringLiteral("Persona"));
        b.say(id, QStringLiteral("letto"), noon.addSecs(-3600));
        for (int i = 0; i < unread; ++i)
            b.say(id, QStringLiteral("nuovo"), noon.addSecs(-3000 + i), false, true);
    }
    ConversationListModel list;
    list.setZone(rome);
    list.refresh(b.state, noon);
    QStringList badges, spoken;
    for (const QString& title : {"Azienda 0", "Azienda 1", "Azienda 99", "Azienda 100"}) {
        const int row = titles(list).indexOf(title);
        ASSERT_GE(row, 0) << title.toStdString();
        badges.append(list.data(list.index(row), ConversationListModel::BadgeRole).toString());
        spoken.append(
            list.data(list.index(row), ConversationListModel::BadgeAccessibleRole).toString());
    }
    EXPECT_EQ(badges, (QStringList{"", "1", "99", "99+"}));
    EXPECT_EQ(spoken, (QStringList{"", "1 da leggere", "99 da leggere", "100 da leggere"}));
}

TEST(ConversationListTexts, PreviewIsTheLastTextDeletedNothingOrSomeoneTyping) {
    StateBuilder b;
    const QString plain =
        b.company(QStringLiteral("Testo"), QStringLiteral("A"), QStringLiteral("Giulia Orlandi"));
    const QString mineGone = b.company(QStringLiteral("Mio eliminato"), QStringLiteral("B"),
                                       QStringLiteral("Paolo Bassi"));
    const QString theirsGone = b.company(QStringLiteral("Suo eliminato"), QStringLiteral("C"),
                                         QStringLiteral("Luca Gatti"));
    const QString empty =
        b.company(QStringLiteral("Vuota"), QStringLiteral("D"), QStringLiteral("Sara Conti"));
    b.say(plain, QStringLiteral("Prima riga\nseconda riga"), noon.addSecs(-60));
    ChatMessage mine = b.say(mineGone, QStringLiteral("ops"), noon.addSecs(-120), true);
    mine.deletedAt = noon;
    mine.text.clear();
    mine.revision += 10;
    b.state.applyUpdate(mine);
    ChatMessage theirs = b.say(theirsGone, QStringLiteral("ops"), noon.addSecs(-180));
    theirs.deletedAt = noon;
    theirs.text.clear();
    theirs.revision += 10;
    b.state.applyUpdate(theirs);

    ConversationListModel list;
    list.setZone(rome);
    list.refresh(b.state, noon);
    const auto previewOf = [&](const QString& id) {
        const int row = list.rowOf(id);
        return std::pair(list.row(row).preview, list.row(row).previewKind);
    };
    EXPECT_EQ(previewOf(plain), std::pair(QString("Prima riga seconda riga"), QString("text")));
    EXPECT_EQ(previewOf(mineGone),
              std::pair(QString("Hai eliminato questo messaggio"), QString("deleted")));
    EXPECT_EQ(previewOf(theirsGone), std::pair(QString("Messaggio eliminato"), QString("deleted")));
    EXPECT_EQ(previewOf(empty), std::pair(QString("Nessun messaggio"), QString("none")));

    // Someone typing replaces the preview, and the preview comes back when the mark lapses.
    b.state.setTyping(plain, b.personOf(plain), noon.addSecs(5));
    list.refresh(b.state, noon);
    EXPECT_EQ(previewOf(plain),
              std::pair(QString("Giulia Orlandi sta scrivendo…"), QString("typing")));
    b.state.pruneTyping(noon.addSecs(6));
    list.refresh(b.state, noon.addSecs(6));
    EXPECT_EQ(previewOf(plain).first, "Prima riga seconda riga");

    // The row's accessible name tells it all.
    b.say(plain, QStringLiteral("Novità"), noon.addSecs(-30), false, true);
    list.refresh(b.state, noon);
    EXPECT_EQ(list.data(list.index(list.rowOf(plain)), ConversationListModel::AccessibleNameRole)
                  .toString(),
              "Testo, Novità, alle 11:59, 1 da leggere");
}

TEST(RelativeTimes, DaysAcrossMidnightTheNewYearAndDaylightSaving) {
    using namespace RelativeTime;
    // Just past midnight: five minutes ago was yesterday.
    const QDateTime justPast = romeTime(2026, 3, 10, 0, 5);
    EXPECT_EQ(listTime(romeTime(2026, 3, 9, 23, 55), justPast, rome), "Ieri");
    EXPECT_EQ(moment(romeTime(2026, 3, 9, 23, 55), justPast, rome), "ieri alle 23:55");
    EXPECT_EQ(listTime(romeTime(2026, 3, 10, 0, 1), justPast, rome), "00:01");
    EXPECT_EQ(moment(romeTime(2026, 3, 10, 0, 1), justPast, rome), "alle 00:01");
    EXPECT_EQ(day(romeTime(2026, 3, 10, 0, 1), justPast, rome), "Oggi");
    EXPECT_EQ(listTime(romeTime(2026, 3, 8, 10, 0), justPast, rome), "8 mar");
    EXPECT_EQ(day(romeTime(2026, 3, 8, 10, 0), justPast, rome), "8 marzo");
    // UTC is still on the 9th at 00:05 in Rome: the day is Rome's.
    EXPECT_EQ(justPast.toUTC().date(), QDate(2026, 3, 9));

    // The new year: yesterday is last year's, and older dates carry their year.
    const QDateTime newYear = romeTime(2026, 1, 1, 0, 10);
    EXPECT_EQ(listTime(romeTime(2025, 12, 31, 23, 50), newYear, rome), "Ieri");
    EXPECT_EQ(listTime(romeTime(2025, 12, 30, 10, 0), newYear, rome), "30 dic 2025");
    EXPECT_EQ(moment(romeTime(2025, 12, 30, 10, 0), newYear, rome), "30 dicembre 2025 alle 10:00");
    EXPECT_EQ(day(romeTime(2025, 12, 30, 10, 0), newYear, rome), "30 dicembre 2025");

    // 29 March 2026 has 23 hours in Rome, 25 October 25.
    const QDateTime springDay = romeTime(2026, 3, 29, 12, 0);
    EXPECT_EQ(nextDayStart(romeTime(2026, 3, 28, 12, 0), rome),
              QDateTime(QDate(2026, 3, 28), QTime(23, 0), Qt::UTC));
    EXPECT_EQ(
        nextDayStart(romeTime(2026, 3, 28, 12, 0), rome).secsTo(nextDayStart(springDay, rome)),
        23 * 3600);
    EXPECT_EQ(nextDayStart(romeTime(2026, 10, 25, 1, 0), rome)
                  .secsTo(nextDayStart(romeTime(2026, 10, 26, 1, 0), rome)),
              24 * 3600);
    EXPECT_EQ(nextDayStart(romeTime(2026, 10, 24, 12, 0), rome)
                  .secsTo(nextDayStart(romeTime(2026, 10, 25, 12, 0), rome)),
              25 * 3600);
    // After the change, a message at 01:30 UTC is 03:30 in Rome, today until 22:00 UTC.
    const QDateTime afterChange(QDate(2026, 3, 29), QTime(1, 30), Qt::UTC);
    EXPECT_EQ(listTime(afterChange, QDateTime(QDate(2026, 3, 29), QTime(21, 59), Qt::UTC), rome),
              "03:30");
    EXPECT_EQ(listTime(afterChange, QDateTime(QDate(2026, 3, 29), QTime(22, 0), Qt::UTC), rome),
              "Ieri");
    EXPECT_EQ(moment(QDateTime(QDate(2026, 10, 25), QTime(0, 30), Qt::UTC),
                     QDateTime(QDate(2026, 10, 25), QTime(1, 30), Qt::UTC), rome),
              "alle 02:30");
}

// ---- Filter, search, order --------------------------------------------------------------------

// Eight conversations: direct ones whose titles differ from their company's name, two groups,
// some unread, one without messages; texts with accents and a word only a message holds.
struct GeneratedList {
    GeneratedList() {
        gatti = b.company(QStringLiteral("Officina Gatti"), QStringLiteral("Gatti Meccanica Srl"),
                          QStringLiteral("Luca Gatti"));
        orlandi = b.company(QStringLiteral("Panificio Orlandi"), QStringLiteral("Orlandi Forni"),
                            QStringLiteral("Giulia Orlandi"));
        bassi = b.company(QStringLiteral("Studio Bassi"), QStringLiteral("Bassi Architetti"),
                          QStringLiteral("Paolo Bassi"));
        elite = b.company(QStringLiteral("Élite Viaggi"), QStringLiteral("Élite"),
                          QStringLiteral("Nadia Russo"));
        edilizia = b.company(QStringLiteral("edilizia Rota"), QStringLiteral("Rota"),
                             QStringLiteral("Piero Rota"));
        querce = b.company(QStringLiteral("Agriturismo Le Querce"), QStringLiteral("Le Querce"),
                           QStringLiteral("Anna Neri"));
        cantiere =
            b.group(QStringLiteral("Cantiere via Roma"), {b.personOf(bassi), b.personOf(orlandi)});
        fiera = b.group(QStringLiteral("Fiera di maggio"), {b.personOf(gatti)});

        b.say(gatti, QStringLiteral("La copia di sicurezza parte alle 22."), noon.addSecs(-100));
        b.say(orlandi, QStringLiteral("Il menù del sabato non si vede più"), noon.addSecs(-50),
              false, true);
        b.say(bassi, QStringLiteral("PERCHÉ la stampante non va?"), noon.addSecs(-400));
        b.say(bassi, QStringLiteral("Risolto, grazie"), noon.addSecs(-300), true);
        // Élite and edilizia at the same moment: ordered by title as Italian readers expect.
        b.say(elite, QStringLiteral("Preventivo pronto"), noon.addSecs(-200));
        b.say(edilizia, QStringLiteral("Preventivo inviato"), noon.addSecs(-200));
        b.say(cantiere, QStringLiteral("Sopralluogo giovedì"), noon.addSecs(-10), false, true);
        b.say(fiera, QStringLiteral("Stand prenotato"), noon.addDays(-3));
        list.setZone(rome);
        list.refresh(b.state, noon);
    }
    QStringList search(const QString& text) {
        list.setSearch(text);
        return titles(list);
    }

    StateBuilder b;
    QString gatti, orlandi, bassi, elite, edilizia, querce, cantiere, fiera;
    ConversationListModel list;
};

TEST(ConversationListFilter, OrderIsNewestFirstWithTiesByTitleAndNoMessagesLast) {
    GeneratedList g;
    EXPECT_EQ(
        titles(g.list),
        (QStringList{"Cantiere via Roma", "Panificio Orlandi", "Officina Gatti", "edilizia Rota",
                     "Élite Viaggi", "Studio Bassi", "Fiera di maggio", "Agriturismo Le Querce"}));
    EXPECT_EQ(g.list.row(0).time, "11:59");
    EXPECT_EQ(g.list.row(6).time, "17 mag");
    EXPECT_EQ(g.list.row(7).time, "");
    EXPECT_TRUE(g.list.row(0).isGroup);
    EXPECT_EQ(g.list.row(1).company, "Orlandi Forni");
    EXPECT_EQ(g.list.row(0).avatarID, g.cantiere);
    EXPECT_EQ(g.list.row(1).avatarID, g.b.state.conversations.value(g.orlandi).clientID);
}

TEST(ConversationListFilter, FilterThenSearchInTheirOrder) {
    GeneratedList g;
    // Title, company name, a member's name, a message's text, in that order of looking.
    EXPECT_EQ(g.search(QStringLiteral("gatti")),
              (QStringList{"Officina Gatti", "Fiera di maggio"}));
    EXPECT_EQ(g.search(QStringLiteral("meccanica")), (QStringList{"Officina Gatti"}));
    EXPECT_EQ(g.search(QStringLiteral("giulia")), (QStringList{"Cantiere via Roma"}));
    EXPECT_EQ(g.search(QStringLiteral("paolo")), (QStringList{"Cantiere via Roma"}));
    EXPECT_EQ(g.search(QStringLiteral("luca")), (QStringList{"Fiera di maggio"}));
    EXPECT_EQ(g.search(QStringLiteral("copia di sicurezza")), (QStringList{"Officina Gatti"}));
    // Case and accents in both directions, and spaces around.
    EXPECT_EQ(g.search(QStringLiteral("  perche  ")), (QStringList{"Studio Bassi"}));
    EXPECT_EQ(g.search(QStringLiteral("MENU")), (QStringList{"Panificio Orlandi"}));
    EXPECT_EQ(g.search(QStringLiteral("elite")), (QStringList{"Élite Viaggi"}));
    EXPECT_EQ(g.search(QStringLiteral("preventivo")),
              (QStringList{"edilizia Rota", "Élite Viaggi"}));
    EXPECT_EQ(g.search(QStringLiteral("   ")).size(), 8);

    // "Da leggere" drops what is read before the search looks.
    g.list.setFilter(int(ConversationListModel::Filter::unread));
    EXPECT_EQ(g.search(QString()), (QStringList{"Cantiere via Roma", "Panificio Orlandi"}));
    EXPECT_EQ(g.search(QStringLiteral("giulia")), (QStringList{"Cantiere via Roma"}));
    EXPECT_EQ(g.search(QStringLiteral("orlandi")),
              (QStringList{"Cantiere via Roma", "Panificio Orlandi"}));
    EXPECT_EQ(g.search(QStringLiteral("gatti")), QStringList{});
    EXPECT_EQ(g.list.emptyTitle(), "Nessun risultato per “gatti”");

    // "Gruppi" drops the direct conversations, even where a message would match.
    g.list.setFilter(int(ConversationListModel::Filter::groups));
    EXPECT_EQ(g.search(QStringLiteral("gatti")), (QStringList{"Fiera di maggio"}));
    EXPECT_EQ(g.search(QStringLiteral("menu")), QStringList{});
    EXPECT_EQ(g.search(QString()), (QStringList{"Cantiere via Roma", "Fiera di maggio"}));
    g.list.setFilter(int(ConversationListModel::Filter::all));
    EXPECT_EQ(g.list.count(), 8);
}

TEST(ConversationListFilter, EveryEmptyStateHasItsTexts) {
    GeneratedList g;
    EXPECT_FALSE(g.list.isEmpty());
    EXPECT_EQ(g.list.emptyTitle(), "");

    g.list.setSearch(QStringLiteral("zzz"));
    EXPECT_TRUE(g.list.isEmpty());
    EXPECT_EQ(g.list.emptyTitle(), "Nessun risultato per “zzz”");
    EXPECT_EQ(g.list.emptyText(), "Controlla l'ortografia o prova con una nuova ricerca.");
    EXPECT_EQ(g.list.emptySymbol(), "magnifyingglass");
    g.list.setSearch(QString());

    // Everything read: the unread filter says so instead of showing an empty list.
    for (const QString& id : g.b.state.conversations.keys())
        g.b.state.markRead(id);
    g.list.refresh(g.b.state, noon);
    g.list.setFilter(int(ConversationListModel::Filter::unread));
    EXPECT_TRUE(g.list.isEmpty());
    EXPECT_EQ(g.list.emptyTitle(), "Tutto letto");
    EXPECT_EQ(g.list.emptyText(), "Nessun messaggio da leggere.");
    EXPECT_EQ(g.list.emptySymbol(), "checkmark.circle");
    // A search over nothing unread still says that all is read.
    g.list.setSearch(QStringLiteral("gatti"));
    EXPECT_EQ(g.list.emptyTitle(), "Tutto letto");
    g.list.setSearch(QString());

    StateBuilder onlyDirect;
    onlyDirect.company(QStringLiteral("Officina Gatti"), QStringLiteral("Gatti"),
                       QStringLiteral("Luca Gatti"));
    ConversationListModel list;
    list.refresh(onlyDirect.state, noon);
    list.setFilter(int(ConversationListModel::Filter::groups));
    EXPECT_EQ(list.emptyTitle(), "Nessun gruppo");
    EXPECT_EQ(list.emptyText(), "Non fai parte di nessun gruppo.");
    EXPECT_EQ(list.emptyDetail(),
              "Crea un gruppo con colleghi e clienti, anche di aziende diverse.");
    EXPECT_FALSE(list.emptyOffersInvite());

    StateBuilder nothing;
    ConversationListModel none;
    none.refresh(nothing.state, noon);
    EXPECT_TRUE(none.isEmpty());
    EXPECT_TRUE(none.emptyOffersInvite());
    EXPECT_EQ(none.emptyText(), "Invita il primo cliente: riceverà un codice per accedere.");
    EXPECT_EQ(none.emptySymbol(), "person.2");
}

TEST(ConversationListSearch, OddUnicodeFindsWhatItShouldAndNeverCrashes) {
    StateBuilder b;
    const QString cafe =
        b.company(QStringLiteral("Café Centrale"), QStringLiteral("Bar"), QStringLiteral("Ugo"));
    const QString strasse = b.company(QStringLiteral("Hotel Straße"), QStringLiteral("Hotel"),
                                      QStringLiteral("Jörg Weiß"));
    const QString party =
        b.company(QStringLiteral("Festa"), QStringLiteral("Eventi"), QStringLiteral("Ida"));
    // Written with a combining accent: "perché" as e + U+0301.
    const QString decomposed =
        b.company(QStringLiteral("Decomposto"), QStringLiteral("D"), QStringLiteral("Eva"));
    b.say(party, QStringLiteral("Auguri 🎉🎂 a tutti!"), noon.addSecs(-10));
    b.say(decomposed,
          QStringLiteral("perch") + QChar(0x0065) + QChar(0x0301) + QStringLiteral(" no?"),
          noon.addSecs(-20));
    ConversationListModel list;
    list.refresh(b.state, noon);
    const auto found = [&](const QString& query) {
        list.setSearch(query);
        QStringList ids;
        for (int row = 0; row < list.rowCount(); ++row)
            ids.append(list.idAt(row));
        ids.sort();
        return ids;
    };
    EXPECT_EQ(found(QStringLiteral("cafe")), QStringList{cafe});
    EXPECT_EQ(found(QStringLiteral("cafe") + QChar(0x0301)), QStringList{cafe});
    EXPECT_EQ(found(QStringLiteral("CAFÉ")), QStringList{cafe});
    EXPECT_EQ(found(QStringLiteral("strasse")), QStringList{strasse});
    EXPECT_EQ(found(QStringLiteral("STRASSE")), QStringList{strasse});
    EXPECT_EQ(found(QStringLiteral("weiss")), QStringList{}); // a person of a direct conversation
    EXPECT_EQ(found(QStringLiteral("ß")), QStringList{strasse});
    EXPECT_EQ(found(QStringLiteral("🎂")), QStringList{party});
    EXPECT_EQ(found(QStringLiteral("perché")), QStringList{decomposed});
    EXPECT_EQ(found(QStringLiteral("perche")), QStringList{decomposed});
    // Marks alone, half an emoji, control characters: nothing found, nothing broken.
    EXPECT_EQ(found(QString(QChar(0x0301))), QStringList{});
    EXPECT_EQ(found(QString(QChar(0xD83C))), QStringList{});
    EXPECT_EQ(found(QString(QChar(0xDF89))), QStringList{});
    EXPECT_EQ(found(QStringLiteral("\u200b\u0000x")), QStringList{});
    EXPECT_EQ(found(QString()).size(), 4);
}

TEST(ConversationListSearch, AGrowingQueryNarrowsAndAShorterOneWidensAgain) {
    GeneratedList g;
    EXPECT_EQ(g.search(QStringLiteral("p")).size(), 7);
    EXPECT_EQ(g.search(QStringLiteral("pr")), (QStringList{"Cantiere via Roma", "edilizia Rota",
                                                           "Élite Viaggi", "Fiera di maggio"}));
    EXPECT_EQ(g.search(QStringLiteral("pre")),
              (QStringList{"edilizia Rota", "Élite Viaggi", "Fiera di maggio"}));
    EXPECT_EQ(g.search(QStringLiteral("prev")), (QStringList{"edilizia Rota", "Élite Viaggi"}));
    EXPECT_EQ(g.search(QStringLiteral("pre")).size(), 3);
    EXPECT_EQ(g.search(QStringLiteral("p")).size(), 7);
    // A message arriving while searching is looked at.
    g.b.say(g.querce, QStringLiteral("Prevediamo 20 ospiti"), noon.addSecs(-1));
    g.list.refresh(g.b.state, noon);
    EXPECT_EQ(g.search(QStringLiteral("prev")),
              (QStringList{"Agriturismo Le Querce", "edilizia Rota", "Élite Viaggi"}));
}

// ---- Live updates -----------------------------------------------------------------------------

TEST(ConversationListUpdates, ALiveMessageMovesOneRowAndChangesItNeverResets) {
    GeneratedList g;
    ViewSignals view(g.list);
    g.b.say(g.fiera, QStringLiteral("Arrivano i volantini"), noon.addSecs(30), false, true);
    g.list.refresh(g.b.state, noon.addSecs(30));
    EXPECT_EQ(view.moved.size(), 1);
    EXPECT_EQ(view.reset.size(), 0);
    EXPECT_EQ(view.inserted.size(), 0);
    EXPECT_EQ(view.removed.size(), 0);
    ASSERT_EQ(view.changed.size(), 1);
    EXPECT_EQ(view.changed[0][0].value<QModelIndex>().row(), 0);
    EXPECT_EQ(g.list.row(0).title, "Fiera di maggio");
    EXPECT_EQ(g.list.row(0).preview, "Arrivano i volantini");
    EXPECT_EQ(g.list.row(0).time, "12:00");
    EXPECT_EQ(g.list.row(0).unread, 1);

    // Nothing new: nothing said. The top conversation again: one changed row, no move.
    view.clear();
    g.list.refresh(g.b.state, noon.addSecs(31));
    EXPECT_EQ(view.moved.size() + view.changed.size() + view.reset.size(), 0);
    g.b.say(g.fiera, QStringLiteral("E i manifesti"), noon.addSecs(40));
    g.list.refresh(g.b.state, noon.addSecs(40));
    EXPECT_EQ(view.moved.size(), 0);
    EXPECT_EQ(view.changed.size(), 1);

    // Under "Da leggere" a conversation that becomes unread comes in as one inserted row, and
    // one that is read leaves as one removed row.
    g.list.setFilter(int(ConversationListModel::Filter::unread));
    view.clear();
    g.b.say(g.gatti, QStringLiteral("Domanda"), noon.addSecs(50), false, true);
    g.list.refresh(g.b.state, noon.addSecs(50));
    EXPECT_EQ(view.inserted.size(), 1);
    EXPECT_EQ(g.list.row(0).title, "Officina Gatti");
    g.b.state.markRead(g.cantiere);
    g.list.refresh(g.b.state, noon.addSecs(50));
    EXPECT_EQ(view.removed.size(), 1);
    EXPECT_EQ(view.reset.size(), 0);
    EXPECT_EQ(titles(g.list), (QStringList{"Officina Gatti", "Panificio Orlandi"}));

    // A conversation taken away leaves as one removed row.
    g.list.setFilter(int(ConversationListModel::Filter::all));
    view.clear();
    g.b.state.removeConversation(g.bassi);
    g.list.refresh(g.b.state, noon.addSecs(50));
    EXPECT_EQ(view.removed.size(), 1);
    EXPECT_EQ(view.reset.size(), 0);
    EXPECT_EQ(g.list.rowOf(g.bassi), -1);
    EXPECT_EQ(g.list.count(), 7);
}

TEST(ConversationListUpdates, ManyRowsChangingPlaceAtOnceResetTheViewInTheRightOrder) {
    StateBuilder b;
    QStringList ids;
    for (int i = 0; i < 100; ++i) {
        ids.append(b.company(QStringLiteral("Azienda %1").arg(i, 3, 10, QLatin1Char('0')),
                             QStringLiteral("A"), QStringLiteral("P")));
        b.say(ids.back(), QStringLiteral("primo"), noon.addSecs(i));
    }
    ConversationListModel list;
    list.refresh(b.state, noon.addSecs(200));
    ASSERT_EQ(list.idAt(0), ids.back());
    ViewSignals view(list);
    // Each one gets a message, the oldest the newest: the order turns over.
    for (int i = 0; i < 100; ++i)
        b.say(ids[i], QStringLiteral("secondo"), noon.addSecs(1000 - i));
    list.refresh(b.state, noon.addSecs(2000));
    EXPECT_EQ(view.reset.size(), 1);
    EXPECT_EQ(view.moved.size(), 0);
    ASSERT_EQ(list.count(), 100);
    for (int row = 0; row < 100; ++row)
        ASSERT_EQ(list.idAt(row), ids[row]) << row;
    EXPECT_EQ(list.row(0).preview, "secondo");
}

// Against the local server: what a client writes reaches the staff's list as a move, selection
// shows on the rows, and at midnight the times are written again.
TEST(ConversationListUpdates, FollowsTheSessionTheSelectionAndTheDay) {
    AppWorld world;
    world.signIn(Role::staff);
    Correspondent client(world, Role::client);
    const QString shared = client.sharedWith(world.model->session());
    ConversationListModel list;
    list.setZone(rome);
    list.setApp(world.model.get());
    ASSERT_GT(list.count(), 1);
    if (list.rowOf(shared) == 0) // bring another conversation to the top first
        world.model->sendText(list.idAt(1), QStringLiteral("Prima"));
    world.advance(1s);
    ASSERT_GT(list.rowOf(shared), 0);

    ViewSignals view(list);
    client.session.send(shared, QStringLiteral("Ci siete?"));
    world.advance(0ms);
    EXPECT_EQ(list.rowOf(shared), 0);
    EXPECT_EQ(list.row(0).preview, "Ci siete?");
    EXPECT_EQ(view.moved.size(), 1);
    EXPECT_EQ(view.reset.size(), 0);

    QSignalSpy selection(&list, &ConversationListModel::selectionChanged);
    world.model->selectConversation(shared);
    EXPECT_EQ(list.selectedRow(), 0);
    EXPECT_TRUE(list.data(list.index(0), ConversationListModel::SelectedRole).toBool());
    EXPECT_EQ(selection.size(), 1);
    EXPECT_EQ(list.inspectorHelp(), "Mostra o nascondi la scheda del cliente");

    // Searching after the texts were folded in the background still sees what comes in later.
    world.advance(100ms);
    list.setSearch(QStringLiteral("ci siete"));
    EXPECT_EQ(list.count(), 1);
    list.setSearch(QStringLiteral("ananas"));
    EXPECT_EQ(list.count(), 0);
    client.session.send(shared, QStringLiteral("Portate gli ananas"));
    world.advance(0ms);
    EXPECT_EQ(list.count(), 1);
    EXPECT_EQ(list.idAt(0), shared);
    list.setSearch(QString());

    // The clock passes midnight in Rome: today's time becomes "Ieri".
    const QString today = list.row(0).time;
    ASSERT_EQ(today.size(), 5) << today.toStdString();
    const QDateTime midnight = RelativeTime::nextDayStart(world.clock.now(), rome);
    world.advance(Duration(world.clock.now().msecsTo(midnight) + 1));
    EXPECT_EQ(list.row(0).time, "Ieri");
    EXPECT_EQ(list.data(list.index(0), ConversationListModel::TimeAccessibleRole).toString(),
              "ieri alle " + today);
}

// ---- The client's home ------------------------------------------------------------------------

TEST(ClientHome, TitleStaffPresenceConversationAndAccountMenu) {
    EXPECT_EQ(ClientHomeModel::statusText(true), "Lo staff è online");
    EXPECT_EQ(ClientHomeModel::statusText(false), "Ti risponderemo appena possibile");

    AppWorld world;
    world.signIn(Role::client);
    ClientHomeModel home;
    home.setApp(world.model.get());
    EXPECT_EQ(home.title(), "Brevio");
    ASSERT_TRUE(home.hasConversation());
    // The company's conversation is opened by itself and comes first.
    const QString first = home.conversations().value(0).toMap().value("conversationID").toString();
    EXPECT_EQ(world.model->selectedConversationIDText(), first);
    EXPECT_EQ(world.model->session().state().conversations.value(first).kind,
              ConversationKind::direct);

    Correspondent staff(world, Role::staff);
    world.advance(0ms);
    EXPECT_TRUE(home.staffOnline());
    EXPECT_EQ(home.statusText(), "Lo staff è online");
    // Our connection lost, the staff's presence is no longer known.
    world.endpoint->dropAll();
    world.advance(0ms);
    EXPECT_FALSE(home.staffOnline());
    EXPECT_EQ(home.statusText(), "Ti risponderemo appena possibile");
    world.advance(std::chrono::seconds(5)); // both sides are back
    EXPECT_TRUE(home.staffOnline());

    EXPECT_EQ(home.accountMenuTitle(), "Il tuo account");
    EXPECT_EQ(home.settingsText(), "Foto profilo e impostazioni…");
    EXPECT_EQ(home.signOutText(), "Esci dall'account");
    EXPECT_EQ(home.emptyTitle(), "Nessuna conversazione");
    EXPECT_EQ(home.emptyText(),
              "Il tuo account non è ancora collegato a una conversazione. Contatta lo staff.");

    // The company's conversation first, then the groups by title.
    StateBuilder b;
    const QString direct = b.company(QStringLiteral("Panificio Orlandi"), QStringLiteral("Orlandi"),
                                     QStringLiteral("Giulia Orlandi"));
    const QString zeta = b.group(QStringLiteral("Zeta"), {b.personOf(direct)});
    const QString alfa = b.group(QStringLiteral("alfa"), {b.personOf(direct)});
    EXPECT_EQ(ClientHomeModel::conversationOrder(b.state), (QStringList{direct, alfa, zeta}));

    // A state without conversations shows the empty state; staff presence counts only staff.
    ChatState lonely;
    lonely.me = User{"u-c", "Cliente", std::nullopt, Role::client, "k-1", false, std::nullopt};
    lonely.users.insert(
        "u-s", User{"u-s", "Staff", std::nullopt, Role::staff, std::nullopt, false, std::nullopt});
    lonely.users.insert(
        "u-o", User{"u-o", "Altro", std::nullopt, Role::client, "k-1", false, std::nullopt});
    EXPECT_TRUE(ClientHomeModel::conversationOrder(lonely).isEmpty());
    lonely.online = {"u-o", "u-c"};
    EXPECT_FALSE(ClientHomeModel::isStaffOnline(lonely));
    lonely.online.insert("u-s");
    EXPECT_TRUE(ClientHomeModel::isStaffOnline(lonely));
}

TEST(ClientHome, AClientInAGroupHasTheCompanysConversationFirstThenTheGroup) {
    AppWorld world;
    std::optional<std::expected<void, ChatError>> result;
    world.model->session().signIn(world.url, QStringLiteral("sara@ferramentaconti.example"),
                                  QString::fromLatin1(LocalServer::demoPassword),
                                  [&](std::expected<void, ChatError> r) { result = r; });
    world.advance(0ms);
    ASSERT_TRUE(result && result->has_value());
    ClientHomeModel home;
    home.setApp(world.model.get());
    const QVariantList conversations = home.conversations();
    ASSERT_EQ(conversations.size(), 2);
    EXPECT_EQ(conversations[0].toMap().value("title").toString(), "Ferramenta Conti");
    EXPECT_EQ(conversations[1].toMap().value("title").toString(),
              QString::fromUtf8(DemoSeed::groupTitle));
    EXPECT_EQ(world.model->selectedConversationIDText(),
              conversations[0].toMap().value("conversationID").toString());
    // Choosing the group keeps it; a selection that is none of hers goes back to the company's.
    const QString group = conversations[1].toMap().value("conversationID").toString();
    world.model->selectConversation(group);
    EXPECT_EQ(world.model->selectedConversationIDText(), group);
    world.model->selectConversation(QStringLiteral("c-unknown"));
    EXPECT_EQ(world.model->selectedConversationIDText(),
              conversations[0].toMap().value("conversationID").toString());
}

} // namespace
} // namespace brevio::test
