#include "BusSupport.h"
#include "shell/platform/LauncherBadge.h"
#include "shell/platform/Notifier.h"
#include "shell/platform/SleepWatcher.h"
#include "support/EventLoopWait.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QVariantMap>
#include <gtest/gtest.h>

using brevio::LauncherBadge;
using brevio::SleepWatcher;
using brevio::test::BusConnection;
using brevio::test::MessageRecorder;
using brevio::test::waitUntil;

namespace {

TEST(LauncherBadgeTest, SendsTheCountOnlyWhenItChangesAndHidesZero) {
    BusConnection app;
    BusConnection dock;
    MessageRecorder updates;
    ASSERT_TRUE(dock.bus().connect(QString(), QString(),
                                   QStringLiteral("com.canonical.Unity.LauncherEntry"),
                                   QStringLiteral("Update"), &updates, SLOT(record(QDBusMessage))));

    // A receiver taking the whole message gets the map still marshalled.
    const auto propertiesOf = [](const QDBusMessage& update) {
        return qdbus_cast<QVariantMap>(update.arguments().value(1));
    };

    LauncherBadge badge(app.bus());
    badge.setCount(3);
    badge.setCount(3);
    badge.setCount(0);
    badge.setCount(-1); // shows the same as 0
    badge.setCount(12);
    // One sender's signals arrive in order: once 12 is here, nothing else is coming.
    ASSERT_TRUE(waitUntil([&] {
        return !updates.messages.isEmpty() &&
               propertiesOf(updates.messages.last()).value("count").toLongLong() == 12;
    }));

    QList<std::pair<qint64, bool>> seen;
    for (const QDBusMessage& update : updates.messages) {
        EXPECT_EQ(update.arguments().value(0).toString(), "application://brevio.desktop");
        const QVariantMap properties = propertiesOf(update);
        // Launchers read the count as a 64-bit integer ('x').
        EXPECT_EQ(properties.value("count").metaType(), QMetaType::fromType<qlonglong>());
        seen.append(
            {properties.value("count").toLongLong(), properties.value("count-visible").toBool()});
    }
    EXPECT_EQ(seen, (QList<std::pair<qint64, bool>>{{3, true}, {0, false}, {12, true}}));
}

TEST(SleepWatcherTest, WakesOnTheEndOfSleepFromTheLoginManagerOnly) {
    BusConnection app;
    BusConnection logind;
    BusConnection stranger;
    ASSERT_TRUE(logind.bus().registerService(QStringLiteral("org.freedesktop.login1")));
    // Receives the same signals on the watcher's connection, in the same order.
    MessageRecorder seen;
    ASSERT_TRUE(app.bus().connect(QString(), QStringLiteral("/org/freedesktop/login1"),
                                  QStringLiteral("org.freedesktop.login1.Manager"), QString(),
                                  &seen, SLOT(record(QDBusMessage))));

    SleepWatcher watcher(app.bus());
    int woke = 0;
    QObject::connect(&watcher, &SleepWatcher::woke, [&] { ++woke; });

    const auto prepareForSleep = [](BusConnection& from, bool goingToSleep) {
        QDBusMessage signal = QDBusMessage::createSignal(
            QStringLiteral("/org/freedesktop/login1"),
            QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("PrepareForSleep"));
        signal << goingToSleep;
        ASSERT_TRUE(from.bus().send(signal));
    };

    prepareForSleep(stranger, false);
    // A call to the bus after the signal: the daemon has routed the signal before it answers, so it
    // reaches the watcher's connection ahead of the login manager's.
    stranger.bus().interface()->isServiceRegistered(QStringLiteral("org.freedesktop.login1"));
    prepareForSleep(logind, true);
    prepareForSleep(logind, false);
    prepareForSleep(logind, true);
    prepareForSleep(logind, false);
    // Once the recorder has this last one, the watcher has had every PrepareForSleep before it.
    QDBusMessage last = QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/login1"),
                                                   QStringLiteral("org.freedesktop.login1.Manager"),
                                                   QStringLiteral("PrepareForShutdown"));
    last << false;
    ASSERT_TRUE(logind.bus().send(last));

    ASSERT_TRUE(waitUntil([&] { return seen.messages.size() == 6; }));
    EXPECT_EQ(woke, 2);
    logind.bus().unregisterService(QStringLiteral("org.freedesktop.login1"));
}

TEST(DesktopSignalsTest, WithoutABusEveryServiceIsANoOp) {
    QDBusConnection none(QStringLiteral("never-connected"));
    brevio::Notifier notifier(none, nullptr);
    notifier.activate();
    EXPECT_TRUE(notifier.isActive());
    EXPECT_EQ(notifier.serverState(), brevio::Notifier::ServerState::Missing);
    notifier.notify("Anna", std::nullopt, "Ciao", "A");
    notifier.withdraw("A");
    LauncherBadge badge(none);
    badge.setCount(4);
    SleepWatcher watcher(none);
}

} // namespace
