#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <cstdio>
#include <gtest/gtest.h>

// The tests own the desktop portal's name on the session bus, so they must run on a private one:
// `dbus-run-session -- test_colorscheme`, as ctest does.
int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected() ||
        bus.interface()->isServiceRegistered(QStringLiteral("org.freedesktop.portal.Desktop"))) {
        std::fputs("test_colorscheme needs a private session bus: run it under dbus-run-session\n",
                   stderr);
        return 1;
    }
    return RUN_ALL_TESTS();
}
