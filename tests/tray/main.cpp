#include <QApplication>
#include <QtQml/qqmlextensionplugin.h>
#include <gtest/gtest.h>

Q_IMPORT_QML_PLUGIN(BrevioPlugin)

// The tray needs a QApplication on a real display (Xvfb) and a session bus of the test's own
// (dbus-run-session), where the test plays the desktop's tray host.
int main(int argc, char** argv) {
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
