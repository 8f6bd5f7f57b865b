#include "notifier/BusSupport.h"
#include "shell/platform/ColorSchemeWatcher.h"
#include "support/EventLoopWait.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QEvent>
#include <QStringList>
#include <gtest/gtest.h>
#include <optional>

namespace brevio {
namespace {

using test::BusConnection;
using test::waitUntil;

const QString portalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString settingsInterface = QStringLiteral("org.freedesktop.portal.Settings");

// The desktop portal's settings on the test bus, on a connection of its own. Read answers the
// colour scheme wrapped twice in variants, as the real portal does, or "not found" when it has no
// such setting.
class FakePortal : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")
public:
    explicit FakePortal(std::optional<uint> scheme) : scheme(scheme) {
        registered = connection.bus().registerService(portalService) &&
                     connection.bus().registerObject(portalPath, this,
                                                     QDBusConnection::ExportAllSlots |
                                                         QDBusConnection::ExportAllSignals);
    }
    ~FakePortal() override { connection.bus().unregisterService(portalService); }

    // Tells every listener, as the portal does when the user switches.
    void change(const QString& group, const QString& key, const QVariant& value) {
        QDBusMessage signal =
            QDBusMessage::createSignal(portalPath, settingsInterface, "SettingChanged");
        signal << group << key << QVariant::fromValue(QDBusVariant(value));
        connection.bus().send(signal);
    }

    std::optional<uint> scheme;
    bool registered = false;
    int reads = 0;

public Q_SLOTS:
    QDBusVariant Read(const QString& group, const QString& key) {
        ++reads;
        if (!scheme || group != "org.freedesktop.appearance" || key != "color-scheme") {
            sendErrorReply("org.freedesktop.portal.Error.NotFound", "Requested setting not found");
            return {};
        }
        return QDBusVariant(QVariant::fromValue(QDBusVariant(QVariant(*scheme))));
    }

Q_SIGNALS:
    void SettingChanged(const QString& group, const QString& key, const QDBusVariant& value);

private:
    BusConnection connection;
};

// Warnings Qt or our code print while a test runs: a missing portal must not produce any.
class WarningRecorder {
public:
    WarningRecorder() { previous_ = qInstallMessageHandler(&WarningRecorder::handle); }
    ~WarningRecorder() { qInstallMessageHandler(previous_); }
    static inline QStringList warnings;

private:
    static void handle(QtMsgType type, const QMessageLogContext&, const QString& text) {
        if (type != QtDebugMsg && type != QtInfoMsg)
            warnings.append(text);
    }
    QtMessageHandler previous_ = nullptr;
};

// The darkChanged signals a watcher emitted, in order.
struct Changes {
    explicit Changes(ColorSchemeWatcher& watcher) {
        QObject::connect(&watcher, &ColorSchemeWatcher::darkChanged,
                         [this](bool dark) { seen.append(dark); });
    }
    QList<bool> seen;
};

TEST(ColorSchemeWatcherTest, ThePortalValueMeansDarkLightOrNothing) {
    using W = ColorSchemeWatcher;
    EXPECT_EQ(W::darkFromPortal(QVariant(uint(1))), true);
    EXPECT_EQ(W::darkFromPortal(QVariant(uint(2))), false);
    EXPECT_EQ(W::darkFromPortal(QVariant(uint(0))), std::nullopt); // no preference
    EXPECT_EQ(W::darkFromPortal(QVariant(uint(3))), std::nullopt);
    EXPECT_EQ(W::darkFromPortal(QVariant(int(1))), true);
    // As Read answers it: a variant in a variant.
    EXPECT_EQ(W::darkFromPortal(QVariant::fromValue(
                  QDBusVariant(QVariant::fromValue(QDBusVariant(QVariant(uint(1))))))),
              true);
    EXPECT_EQ(W::darkFromPortal(QVariant(QStringLiteral("1"))), std::nullopt);
    EXPECT_EQ(W::darkFromPortal(QVariant(true)), std::nullopt);
    EXPECT_EQ(W::darkFromPortal(QVariant()), std::nullopt);
}

TEST(ColorSchemeWatcherTest, WithoutAPortalThePaletteDecidesQuietly) {
    WarningRecorder recorder;
    WarningRecorder::warnings.clear();
    BusConnection app;
    bool paletteDark = true;
    ColorSchemeWatcher watcher(app.bus(), [&] { return paletteDark; });
    Changes changes(watcher);
    // Known before anything is asked.
    EXPECT_TRUE(watcher.isDark());
    watcher.start();
    EXPECT_FALSE(watcher.isSettled()); // never waits inside start()
    ASSERT_TRUE(waitUntil([&] { return watcher.isSettled(); }));
    EXPECT_TRUE(watcher.isDark());
    EXPECT_FALSE(watcher.followsPortal());
    // The palette turns light: the application says so.
    paletteDark = false;
    QEvent paletteChange(QEvent::ApplicationPaletteChange);
    QCoreApplication::sendEvent(QCoreApplication::instance(), &paletteChange);
    EXPECT_FALSE(watcher.isDark());
    EXPECT_EQ(changes.seen, QList<bool>{false});
    EXPECT_TRUE(WarningRecorder::warnings.isEmpty())
        << WarningRecorder::warnings.join('\n').toStdString();

    // Without a bus at all it settles the same way.
    ColorSchemeWatcher offline(QDBusConnection(QStringLiteral("never-connected")),
                               [] { return true; });
    offline.start();
    ASSERT_TRUE(waitUntil([&] { return offline.isSettled(); }));
    EXPECT_TRUE(offline.isDark());
}

TEST(ColorSchemeWatcherTest, FollowsThePortalFromItsFirstAnswerThroughItsChanges) {
    FakePortal portal(1);
    ASSERT_TRUE(portal.registered);
    BusConnection app;
    ColorSchemeWatcher watcher(app.bus(), [] { return false; });
    Changes changes(watcher);
    EXPECT_FALSE(watcher.isDark());
    watcher.start();
    ASSERT_TRUE(waitUntil([&] { return watcher.isSettled(); }));
    EXPECT_EQ(portal.reads, 1);
    EXPECT_TRUE(watcher.followsPortal());
    EXPECT_TRUE(watcher.isDark());

    // Other settings and other keys change nothing; then the user picks light, then no preference
    // (the palette's light again, so no change), then dark.
    portal.change("org.freedesktop.appearance", "accent-color", QVariant(uint(2)));
    portal.change("org.gnome.desktop.interface", "color-scheme", QVariant(uint(2)));
    portal.change("org.freedesktop.appearance", "color-scheme", QVariant(uint(2)));
    portal.change("org.freedesktop.appearance", "color-scheme", QVariant(uint(0)));
    portal.change("org.freedesktop.appearance", "color-scheme", QVariant(uint(1)));
    ASSERT_TRUE(waitUntil([&] { return changes.seen.size() == 3; }));
    EXPECT_EQ(changes.seen, (QList<bool>{true, false, true}));
    EXPECT_TRUE(watcher.followsPortal());
}

TEST(ColorSchemeWatcherTest, OnlyThePortalItselfIsListenedTo) {
    FakePortal portal(2);
    ASSERT_TRUE(portal.registered);
    BusConnection app;
    BusConnection stranger;
    ColorSchemeWatcher watcher(app.bus(), [] { return false; });
    Changes changes(watcher);
    watcher.start();
    ASSERT_TRUE(waitUntil([&] { return watcher.isSettled(); }));
    // Receives every SettingChanged on the watcher's connection, whoever sends it, in order.
    test::MessageRecorder seen;
    ASSERT_TRUE(app.bus().connect(QString(), portalPath, settingsInterface, "SettingChanged", &seen,
                                  SLOT(record(QDBusMessage))));

    QDBusMessage fake = QDBusMessage::createSignal(portalPath, settingsInterface, "SettingChanged");
    fake << QStringLiteral("org.freedesktop.appearance") << QStringLiteral("color-scheme")
         << QVariant::fromValue(QDBusVariant(QVariant(uint(1))));
    ASSERT_TRUE(stranger.bus().send(fake));
    // A call after the signal: the bus has routed the stranger's signal before it answers, so it
    // reaches the watcher's connection ahead of the portal's next one.
    stranger.bus().interface()->isServiceRegistered(portalService);
    portal.change("org.freedesktop.appearance", "accent-color", QVariant(uint(1)));
    ASSERT_TRUE(waitUntil([&] { return seen.messages.size() == 2; }));
    EXPECT_TRUE(changes.seen.isEmpty());
    EXPECT_FALSE(watcher.isDark());
}

TEST(ColorSchemeWatcherTest, APortalWithoutTheSettingLeavesThePalette) {
    WarningRecorder recorder;
    WarningRecorder::warnings.clear();
    FakePortal portal(std::nullopt);
    ASSERT_TRUE(portal.registered);
    BusConnection app;
    ColorSchemeWatcher watcher(app.bus(), [] { return true; });
    Changes changes(watcher);
    watcher.start();
    ASSERT_TRUE(waitUntil([&] { return watcher.isSettled(); }));
    EXPECT_EQ(portal.reads, 1);
    EXPECT_FALSE(watcher.followsPortal());
    EXPECT_TRUE(watcher.isDark());
    EXPECT_TRUE(changes.seen.isEmpty());
    EXPECT_TRUE(WarningRecorder::warnings.isEmpty())
        << WarningRecorder::warnings.join('\n').toStdString();
}

} // namespace
} // namespace brevio

#include "test_ColorSchemeWatcher.moc"
