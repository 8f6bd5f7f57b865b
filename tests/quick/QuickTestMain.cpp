#include "localserver/LocalServer.h"
#include "shell/AppModel.h"
#include "support/FaultyEndpoint.h"
#include "support/QuietDesktop.h"
#include "transport/LocalTransport.h"
#include "transport/WebSocketTransport.h"

#include <QQmlContext>
#include <QQmlEngine>
#include <QtQml/qqmlextensionplugin.h>
#include <QtQuickTest/quicktest.h>

Q_IMPORT_QML_PLUGIN(BrevioPlugin)

namespace brevio {
namespace {

using test::FaultyEndpoint;
using test::NoBadge;
using test::NoNotifications;

// A second application model whose server session talks to a seeded in-process server through
// an endpoint that fails when told to, for what the demo cannot do: losing the connection and a
// refused message. Its reconnection waits a minute, so only "Riprova ora" brings it back while
// a test looks. The server answers nobody by itself and lives on the main thread.
class TestServer : public QObject {
    Q_OBJECT
    Q_PROPERTY(AppModel* app READ app CONSTANT)

public:
    explicit TestServer(Clock& clock)
        : server_(std::make_shared<LocalServer>(LocalServer::Options{.autoReply = false}, clock)),
          endpoint_(std::make_shared<FaultyEndpoint>(server_)), transport_(endpoint_),
          model_(AppParts{
              .clock = clock,
              .transport = transport_,
              .store = nullptr,
              .clientInfo = ClientInfo::current(),
              .notifications = notifications_,
              .badge = badge_,
              .makeDemo = {},
              .settings = {.backoff = {.base = 60, .maximum = 60, .jitter = 0}},
          }) {
        server_->seedDemo();
    }

    AppModel* app() { return &model_; }

    // Signs the model's session in as the seeded staff member (once signed out, again).
    Q_INVOKABLE void signInAsStaff() {
        if (!model_.session().phase().isSignedOut())
            return;
        model_.session().signIn(QUrl(QStringLiteral("ws://127.0.0.1:8787/ws")),
                                server_->seededAccounts().constFirst().email,
                                QString::fromLatin1(LocalServer::demoPassword), {});
    }
    // The server ends every connection: the session has lost its own.
    Q_INVOKABLE void dropConnections() { endpoint_->dropAll(); }
    // Out of reach, connections end at once; back in reach, they work again.
    Q_INVOKABLE void setReachable(bool reachable) { endpoint_->setReachable(reachable); }
    Q_INVOKABLE int connectionAttempts() const { return endpoint_->connectionAttempts(); }
    // The next message anyone sends is refused as if the server were busy.
    Q_INVOKABLE void refuseNextMessage() {
        endpoint_->refuseNextMessage(QStringLiteral("rate_limited"));
    }

private:
    std::shared_ptr<LocalServer> server_;
    std::shared_ptr<FaultyEndpoint> endpoint_;
    LocalTransport transport_;
    NoNotifications notifications_;
    NoBadge badge_;
    AppModel model_;
};

// The screens under test get the real model: a real WebSocket transport for the server session
// (nothing listens where the tests point it), demos on a server thread of their own, no files.
// Beside it, `testServer` for the tests that need a server to fail.
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
        testServer_ = std::make_unique<TestServer>(clock_);
        engine->rootContext()->setContextProperty(QStringLiteral("testServer"), testServer_.get());
    }
    void cleanupTestCase() {
        testServer_.reset();
        model_.reset();
    }

private:
    RealClock clock_;
    WebSocketTransport transport_;
    NoNotifications notifications_;
    NoBadge badge_;
    std::unique_ptr<AppModel> model_;
    std::unique_ptr<TestServer> testServer_;
};

} // namespace
} // namespace brevio

QUICK_TEST_MAIN_WITH_SETUP(brevio_views, brevio::Setup)

#include "QuickTestMain.moc"
