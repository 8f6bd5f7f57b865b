#include "shell/AppModel.h"
#include "support/QuietDesktop.h"
#include "transport/WebSocketTransport.h"

#include <QQmlContext>
#include <QQmlEngine>
#include <QtQml/qqmlextensionplugin.h>
#include <QtQuickTest/quicktest.h>

Q_IMPORT_QML_PLUGIN(BrevioPlugin)

namespace brevio {
namespace {

using test::NoBadge;
using test::NoNotifications;

// The screens under test get the real model: a real WebSocket transport for the server session
// (nothing listens where the tests point it), demos on a server thread of their own, no files.
class Setup : public QObject {
    Q_OBJECT
public Q_SLOTS:
    void qmlEngineAvailable(QQmlEngine* engine) {
        engine->addImportPath(QStringLiteral("qrc:/qt/qml"));
        model_ = std::make_unique<AppModel>(AppParts{
            .clock = clock_,
            .transport = transport_,
            .store = nullptr,
            .clientInfo = ClientInfo::current(),
            .notifications = notifications_,
            .badge = badge_,
            .makeDemo =
                [this] {
                    return std::make_unique<DemoWorld>(clock_, DemoWorld::Threading::ownThread);
                },
        });
        engine->rootContext()->setContextProperty(QStringLiteral("testApp"), model_.get());
    }
    void cleanupTestCase() { model_.reset(); }

private:
    RealClock clock_;
    WebSocketTransport transport_;
    NoNotifications notifications_;
    NoBadge badge_;
    std::unique_ptr<AppModel> model_;
};

} // namespace
} // namespace brevio

QUICK_TEST_MAIN_WITH_SETUP(brevio_views, brevio::Setup)

#include "QuickTestMain.moc"
