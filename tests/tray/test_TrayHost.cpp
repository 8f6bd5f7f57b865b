// The tray icon against a tray host of our own: a StatusNotifier watcher on the private session
// bus, as the desktop's panel would offer it.

#include "app/AppWorld.h"
#include "appendtoend/TrayHost.h"
#include "notifier/BusSupport.h"
#include "shell/MainWindowClose.h"
#include "shell/Tray.h"

#include <QDBusConnectionInterface>
#include <QSystemTrayIcon>
#include <QTest>
#include <QWindow>

namespace brevio::test {
namespace {

// The watcher must be on the bus before the application first asks for a tray.
TrayHost& host() {
    static TrayHost h;
    return h;
}

// The icon's pictures as the panel reads them from the item: (width, height, ARGB data) each.
QList<std::tuple<int, int, QByteArray>> iconPixmaps(QDBusConnection bus, const QString& item) {
    const qsizetype slash = item.indexOf(QLatin1Char('/'));
    const QString service = slash < 0 ? item : item.left(slash);
    const QString path = slash < 0 ? QStringLiteral("/StatusNotifierItem") : item.mid(slash);
    QDBusMessage get = QDBusMessage::createMethodCall(
        service, path, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    get << QStringLiteral("org.kde.StatusNotifierItem") << QStringLiteral("IconPixmap");
    // Asynchronous: the item answers from this thread's event loop.
    QDBusPendingCall pending = bus.asyncCall(get);
    QTest::qWaitFor([&] { return pending.isFinished(); }, 5000);
    QList<std::tuple<int, int, QByteArray>> pixmaps;
    const QDBusMessage reply = pending.reply();
    if (reply.type() != QDBusMessage::ReplyMessage)
        return pixmaps;
    const QDBusArgument array =
        reply.arguments().value(0).value<QDBusVariant>().variant().value<QDBusArgument>();
    array.beginArray();
    while (!array.atEnd()) {
        int width = 0, height = 0;
        QByteArray data;
        array.beginStructure();
        array >> width >> height >> data;
        array.endStructure();
        pixmaps.append({width, height, data});
    }
    array.endArray();
    return pixmaps;
}

TEST(TrayHost, WithAPanelTheIconRegistersAndClosingTheWindowKeepsBrevioRunning) {
    TrayHost& panel = host();
    ASSERT_TRUE(panel.isRegistered());
    ASSERT_TRUE(QDBusConnection::sessionBus().isConnected());
    EXPECT_TRUE(Tray::isAvailable());

    AppWorld world;
    world.signIn(Role::staff);
    Tray tray(*world.model);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !panel.items().isEmpty(); }, 5000));
    EXPECT_TRUE(tray.isShown());
    // What the menu shows is the model's: signed in, the seed's unread conversations.
    EXPECT_EQ(tray.entries().value(0).text, QStringLiteral("collegato"));
    ASSERT_GT(world.model->session().state().totalUnread(), 0);
    EXPECT_EQ(tray.shownUnread(), world.model->session().state().totalUnread());

    // The panel gets the icon drawn at several sizes; reading everything changes it.
    const QString item = panel.items().value(0);
    const auto withUnread = iconPixmaps(panel.bus(), item);
    ASSERT_FALSE(withUnread.isEmpty());
    for (const auto& [width, height, data] : withUnread) {
        EXPECT_GT(width, 0);
        EXPECT_EQ(data.size(), qsizetype(width) * height * 4);
    }
    world.showWindow();
    for (const QString& id : world.model->session().state().conversations.keys()) {
        world.model->selectConversation(id);
        world.advance(Duration::zero());
    }
    EXPECT_EQ(tray.shownUnread(), 0);
    EXPECT_EQ(tray.entries().value(2).text, QStringLiteral("Nessun messaggio da leggere"));
    QTest::qWait(0);
    const auto outline = iconPixmaps(panel.bus(), item);
    ASSERT_EQ(outline.size(), withUnread.size());
    EXPECT_NE(std::get<2>(outline.front()), std::get<2>(withUnread.front()));

    // The main window closes; Brevio stays, and the tray brings the window back.
    QWindow window;
    window.resize(320, 200);
    window.show();
    int quits = 0;
    MainWindowClose closing(
        window, [&] { return tray.isShown(); }, [&] { ++quits; });
    window.close();
    EXPECT_EQ(quits, 0);
    EXPECT_TRUE(world.model->session().status().isOnline());
    world.model->openMainWindow = [&] { window.show(); };
    const TrayEntry* open = nullptr;
    for (const TrayEntry& entry : tray.entries())
        if (entry.action == TrayEntry::Action::openWindow)
            open = &entry;
    ASSERT_NE(open, nullptr);
    tray.choose(*open);
    EXPECT_TRUE(window.isVisible());
}

} // namespace
} // namespace brevio::test
