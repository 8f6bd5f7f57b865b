#include "AppWorld.h"
#include "shell/TrayMenu.h"

#include <QColor>
#include <QSignalSpy>

namespace brevio::test {
namespace {

using Action = TrayEntry::Action;

// The menu as lines of text: separators as "--", a conversation as "title | detail", a line
// that cannot be chosen in brackets.
QStringList lines(const QList<TrayEntry>& entries) {
    QStringList out;
    for (const TrayEntry& e : entries) {
        if (e.action == Action::separator) {
            out << QStringLiteral("--");
            continue;
        }
        QString line = e.detail.isEmpty() ? e.text : e.text + QStringLiteral(" | ") + e.detail;
        out << (e.enabled ? line : QLatin1Char('[') + line + QLatin1Char(']'));
    }
    return out;
}

const TrayEntry* entryTitled(const QList<TrayEntry>& entries, const QString& text) {
    for (const TrayEntry& e : entries)
        if (e.text == text)
            return &e;
    return nullptr;
}

// Every conversation read, with the window in front.
void readEverything(AppWorld& world) {
    world.showWindow();
    for (const QString& id : world.model->session().state().conversations.keys()) {
        world.model->selectConversation(id);
        world.advance(Duration::zero());
    }
    world.model->selectConversation({});
}

TEST(TrayMenu, SignedOutShowsOnlyThatAndTheThreeCommands) {
    TrayState state;
    state.signedIn = false;
    state.connectionWord = QStringLiteral("non collegato");
    state.unread = {{QStringLiteral("c1"), QStringLiteral("Panificio"), 2}}; // ignored
    EXPECT_EQ(lines(trayMenu(state)),
              (QStringList{"[Non hai effettuato l'accesso]", "--", "Apri Brevio", "Impostazioni…",
                           "--", "Esci da Brevio"}));
    const auto entries = trayMenu(state);
    EXPECT_EQ(entryTitled(entries, "Apri Brevio")->action, Action::openWindow);
    EXPECT_EQ(entryTitled(entries, "Impostazioni…")->action, Action::openSettings);
    EXPECT_EQ(entryTitled(entries, "Esci da Brevio")->action, Action::quit);
}

TEST(TrayMenu, SignedInListsTheConversationsToReadUnderTheConnectionWord) {
    TrayState state;
    state.signedIn = true;
    state.connectionWord = QStringLiteral("collegato");
    state.unread = {{QStringLiteral("c2"), QStringLiteral("Studio Bassi"), 1},
                    {QStringLiteral("c1"), QStringLiteral("Panificio Orlandi"), 3}};
    const auto entries = trayMenu(state);
    EXPECT_EQ(lines(entries), (QStringList{"[collegato]", "--", "Studio Bassi | 1 nuovo",
                                           "Panificio Orlandi | 3 nuovi", "--", "Apri Brevio",
                                           "Impostazioni…", "--", "Esci da Brevio"}));
    EXPECT_EQ(entries[2].action, Action::openConversation);
    EXPECT_EQ(entries[2].conversationID, QStringLiteral("c2"));
    EXPECT_EQ(entries[3].conversationID, QStringLiteral("c1"));

    state.unread.clear();
    state.connectionWord = QStringLiteral("riconnessione…");
    EXPECT_EQ(lines(trayMenu(state)),
              (QStringList{"[riconnessione…]", "--", "[Nessun messaggio da leggere]", "--",
                           "Apri Brevio", "Impostazioni…", "--", "Esci da Brevio"}));
}

TEST(TrayMenu, CountsAndIconText) {
    EXPECT_EQ(newCountText(1), QStringLiteral("1 nuovo"));
    EXPECT_EQ(newCountText(2), QStringLiteral("2 nuovi"));
    EXPECT_EQ(newCountText(120), QStringLiteral("120 nuovi"));
    // The icon carries the total as a number; at 0 it carries none.
    EXPECT_EQ(trayIconText(0), QString());
    EXPECT_EQ(trayIconText(-1), QString());
    EXPECT_EQ(trayIconText(1), QStringLiteral("1"));
    EXPECT_EQ(trayIconText(99), QStringLiteral("99"));
    EXPECT_EQ(trayIconText(100), QStringLiteral("100"));

    TrayState state;
    EXPECT_EQ(trayToolTip(state), QStringLiteral("Brevio"));
    state.signedIn = true;
    state.unreadTotal = 4;
    EXPECT_EQ(trayToolTip(state), QStringLiteral("Brevio: 4 nuovi"));
}

TEST(TrayMenu, TheModelsStateGivesTheMenuOnlineOfflineAndSignedOut) {
    AppWorld world;
    EXPECT_EQ(lines(trayMenu(TrayState::of(*world.model))).value(0),
              QStringLiteral("[Non hai effettuato l'accesso]"));

    world.signIn(Role::staff);
    readEverything(world);
    TrayState state = TrayState::of(*world.model);
    EXPECT_TRUE(state.signedIn);
    EXPECT_EQ(state.unreadTotal, 0);
    EXPECT_EQ(lines(trayMenu(state)).mid(0, 3),
              (QStringList{"[collegato]", "--", "[Nessun messaggio da leggere]"}));

    // Someone writes while the window is away: one new, then three.
    world.model->setMainWindow(true, false, false);
    Correspondent client(world, Role::client);
    const QString id = client.sharedWith(world.model->session());
    ASSERT_FALSE(id.isEmpty());
    const QString title = world.model->session().state().conversations.value(id).title;
    client.session.send(id, QStringLiteral("Buongiorno"));
    world.advance(Duration::zero());
    EXPECT_EQ(lines(trayMenu(TrayState::of(*world.model))).mid(0, 4),
              (QStringList{"[collegato]", "--", title + " | 1 nuovo", "--"}));
    client.session.send(id, QStringLiteral("Ci sentiamo?"));
    client.session.send(id, QStringLiteral("Grazie"));
    world.advance(Duration::zero());
    state = TrayState::of(*world.model);
    EXPECT_EQ(state.unreadTotal, 3);
    EXPECT_EQ(lines(trayMenu(state)).value(2), title + " | 3 nuovi");

    // The connection lost: the word changes, the list stays.
    world.endpoint->dropAll();
    world.advance(Duration::zero());
    EXPECT_EQ(lines(trayMenu(TrayState::of(*world.model))).mid(0, 3),
              (QStringList{"[riconnessione…]", "--", title + " | 3 nuovi"}));

    world.model->signOut();
    world.advance(std::chrono::seconds(3));
    EXPECT_EQ(lines(trayMenu(TrayState::of(*world.model))),
              (QStringList{"[Non hai effettuato l'accesso]", "--", "Apri Brevio", "Impostazioni…",
                           "--", "Esci da Brevio"}));
}

TEST(TrayMenu, TheSeedsUnreadConversationsComeNewestFirstAndAddUpToTheTotal) {
    AppWorld world;
    world.signIn(Role::staff);
    const TrayState state = TrayState::of(*world.model);
    const ChatState& chat = world.model->session().state();
    ASSERT_GT(state.unread.size(), 0);
    EXPECT_EQ(state.unreadTotal, chat.totalUnread());
    for (qsizetype i = 1; i < state.unread.size(); ++i) {
        const auto& newer = chat.conversations.value(state.unread[i - 1].id).lastMessage;
        const auto& older = chat.conversations.value(state.unread[i].id).lastMessage;
        ASSERT_TRUE(newer && older);
        EXPECT_GE(newer->sentAt, older->sentAt);
    }
    for (const TrayConversation& c : state.unread)
        EXPECT_EQ(c.unread, chat.unreadCount(c.id)) << c.title.toStdString();
}

TEST(TrayMenu, ChoosingAConversationOpensItInTheWindowAndReadsIt) {
    AppWorld world;
    world.signIn(Role::staff);
    world.model->setApplicationActive(true);
    const TrayState state = TrayState::of(*world.model);
    ASSERT_FALSE(state.unread.isEmpty());
    const QString id = state.unread.constFirst().id;
    const auto entries = trayMenu(state);
    const TrayEntry* entry = nullptr;
    for (const TrayEntry& e : entries)
        if (e.conversationID == id)
            entry = &e;
    ASSERT_NE(entry, nullptr);

    // The window comes forward when asked (as the window watcher reports it).
    world.model->openMainWindow = [&] {
        ++world.windowOpened;
        world.model->setMainWindow(true, true, false);
    };
    chooseTrayEntry(*world.model, *entry);
    world.advance(Duration::zero());
    EXPECT_EQ(world.model->selectedConversationID(), id);
    EXPECT_EQ(world.windowOpened, 1);
    EXPECT_EQ(world.model->session().state().unreadCount(id), 0);

    QSignalSpy settings(world.model.get(), &AppModel::settingsRequested);
    chooseTrayEntry(*world.model, *entryTitled(entries, "Impostazioni…"));
    EXPECT_EQ(settings.count(), 1);
    chooseTrayEntry(*world.model, *entryTitled(entries, "Apri Brevio"));
    EXPECT_EQ(world.windowOpened, 2);
}

// ---- The icon -------------------------------------------------------------------------------

// Pixels of the white number.
int whitePixels(const QImage& image) {
    int count = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            count += qAlpha(image.pixel(x, y)) > 200 && QColor(image.pixel(x, y)).lightness() > 230;
    return count;
}

TEST(TrayIcon, NothingUnreadIsAnOutlineSomethingUnreadIsFilledWithItsNumber) {
    for (const int side : {16, 22, 24, 32, 64}) {
        SCOPED_TRACE(side);
        const QSize size(side, side);
        const QImage outline = trayIconImage(0, size, false);
        const QImage one = trayIconImage(1, size, false);
        const QImage many = trayIconImage(99, size, false);
        ASSERT_EQ(outline.size(), size);
        ASSERT_EQ(one.size(), size);
        // The middle of the front bubble: empty in the outline, filled otherwise.
        const QPoint inside(int(side * 0.62), int(side * 0.56));
        EXPECT_LT(qAlpha(outline.pixel(inside)), 60);
        const QPoint leftInside(int(side * 0.33), int(side * 0.56));
        EXPECT_EQ(qAlpha(one.pixel(leftInside)), 255);
        EXPECT_EQ(whitePixels(outline), 0);
        EXPECT_GT(whitePixels(one), 0);
        // The number is drawn: another count gives another picture.
        EXPECT_NE(one, many);
        EXPECT_NE(many, trayIconImage(100, size, false));
    }
}

TEST(TrayIcon, TheBubbleCarriesTheBadgeColourAndTheOutlineThePanelsInk) {
    const QImage light = trayIconImage(3, QSize(64, 64), false);
    const QImage dark = trayIconImage(3, QSize(64, 64), true);
    // The left of the front bubble, away from the number.
    const QPoint edge(20, 36);
    EXPECT_EQ(QColor(light.pixel(edge)).name(), QStringLiteral("#2a63d4"));
    EXPECT_EQ(QColor(dark.pixel(edge)).name(), QStringLiteral("#3a6bd0"));

    const QImage inkLight = trayIconImage(0, QSize(64, 64), false);
    const QImage inkDark = trayIconImage(0, QSize(64, 64), true);
    int darkInk = 0, lightInk = 0;
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 64; ++x) {
            if (qAlpha(inkLight.pixel(x, y)) == 255)
                darkInk += QColor(inkLight.pixel(x, y)).lightness() < 60;
            if (qAlpha(inkDark.pixel(x, y)) == 255)
                lightInk += QColor(inkDark.pixel(x, y)).lightness() > 200;
        }
    EXPECT_GT(darkInk, 20);
    EXPECT_GT(lightInk, 20);
}

TEST(TrayIcon, ANonSquareSizeIsFilledCentred) {
    const QImage image = trayIconImage(5, QSize(30, 22), false);
    ASSERT_EQ(image.size(), QSize(30, 22));
    // Nothing is drawn in the side margins.
    for (int y = 0; y < 22; ++y) {
        EXPECT_EQ(qAlpha(image.pixel(0, y)), 0);
        EXPECT_EQ(qAlpha(image.pixel(29, y)), 0);
    }
}

} // namespace
} // namespace brevio::test
