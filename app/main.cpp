#include "BuildInfo.h"
#include "process/SignalWatcher.h"
#include "session/FileSessionStore.h"
#include "shell/AppModel.h"
#include "shell/MainWindowClose.h"
#include "shell/NetworkWatcher.h"
#include "shell/Preferences.h"
#include "shell/Rendering.h"
#include "shell/SettingsView.h"
#include "shell/SingleInstance.h"
#include "shell/StartupProbe.h"
#include "shell/TestDriver.h"
#include "shell/Tray.h"
#include "shell/WindowWatcher.h"
#include "shell/platform/ColorSchemeWatcher.h"
#include "shell/platform/LauncherBadge.h"
#include "shell/platform/Notifier.h"
#include "shell/platform/SleepWatcher.h"
#include "transport/WebSocketTransport.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDBusConnection>
#include <QIcon>
#include <QQmlApplicationEngine>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QtQml/qqmlextensionplugin.h>
#include <csignal>
#include <cstdio>

Q_IMPORT_QML_PLUGIN(BrevioPlugin)

using namespace brevio;

namespace {

struct Options {
    std::optional<bool> demoAsStaff;
};

// --help and --version print and leave; a wrong option says why and leaves with 2.
std::optional<Options> parseOptions(const QCoreApplication& app, int& exitCode) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Brevio, la chat con i clienti."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption demo(QStringLiteral("demo"),
                                  QStringLiteral("Apre subito la demo come staff o cliente."),
                                  QStringLiteral("staff|client"));
    parser.addOption(demo);
    if (!parser.parse(app.arguments())) {
        std::fprintf(stderr, "brevio: %s\n", qPrintable(parser.errorText()));
        exitCode = 2;
        return std::nullopt;
    }
    if (parser.isSet(QStringLiteral("help"))) {
        std::fputs(qPrintable(parser.helpText()), stdout);
        exitCode = 0;
        return std::nullopt;
    }
    if (parser.isSet(QStringLiteral("version"))) {
        std::printf("Brevio %s (%s)\n", build::version, build::buildNumber);
        exitCode = 0;
        return std::nullopt;
    }
    Options options;
    if (parser.isSet(demo)) {
        const QString role = parser.value(demo);
        if (role != QLatin1String("staff") && role != QLatin1String("client")) {
            std::fprintf(stderr, "brevio: --demo takes staff or client\n");
            exitCode = 2;
            return std::nullopt;
        }
        options.demoAsStaff = role == QLatin1String("staff");
    }
    return options;
}

void restoreGeometry(QWindow& window) {
    const QRect saved = preferences().value(QStringLiteral("window/geometry")).toRect();
    if (saved.isValid() && saved.width() >= 480 && saved.height() >= 360)
        window.setGeometry(saved);
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication::setApplicationName(QStringLiteral("Brevio"));
    QCoreApplication::setApplicationVersion(QString::fromLatin1(build::version));

    // The options are read before any window system is asked for: --help and --version work
    // without a display.
    int exitCode = 0;
    std::optional<Options> options;
    // One program per data folder (a demo too: it shares the tray, the launcher's count and the
    // preferences): a later start hands its command line to the running one and leaves, before
    // asking for a display.
    SingleInstance instance(SingleInstance::forThisUser());
    {
        QCoreApplication reader(argc, argv);
        options = parseOptions(reader, exitCode);
        if (options) {
            switch (instance.claim(reader.arguments())) {
            case SingleInstance::Claim::first:
                break;
            case SingleInstance::Claim::forwarded:
                std::fputs("Brevio è già aperto: porto in primo piano la sua finestra.\n", stderr);
                return 0;
            case SingleInstance::Claim::unanswered:
                std::fprintf(stderr, "brevio: Brevio è già aperto ma non risponde (%s).\n",
                             qPrintable(instance.errorString()));
                return 1;
            }
        }
    }
    if (!options)
        return exitCode;

    Rendering::apply();
    QApplication app(argc, argv);
    if (!instance.listen())
        std::fprintf(stderr, "brevio: other starts cannot find this one: %s\n",
                     qPrintable(instance.errorString()));
    QGuiApplication::setDesktopFileName(QStringLiteral("brevio"));
    QGuiApplication::setWindowIcon(QIcon(QStringLiteral(":/brevio/brevio.svg")));

    QQuickStyle::setStyle(QStringLiteral("Fusion"));
    // The desktop session ends programs with SIGTERM: quit the normal way, so that everything
    // reaches the disk first.
    SignalWatcher signalWatcher({SIGINT, SIGTERM});
    QObject::connect(&signalWatcher, &SignalWatcher::received, &app, &QCoreApplication::quit);

    RealClock clock;
    WebSocketTransport transport;
    FileSessionStore store;
    Notifier notifier(QDBusConnection::sessionBus(), &preference);
    LauncherBadge badge(QDBusConnection::sessionBus());
    AppModel model(AppParts{
        .clock = clock,
        .transport = transport,
        .store = &store,
        .clientInfo = ClientInfo::current(),
        .notifications = notifier,
        .badge = badge,
        .makeDemo =
            [&clock] {
                return std::make_unique<DemoWorld>(clock, DemoWorld::Threading::ownThread);
            },
    });

    // The settings window asks whether anything can show notifications.
    model.setNotificationsBlocked(notifier.serverState() == Notifier::ServerState::Missing);
    QObject::connect(&notifier, &Notifier::serverStateChanged, &model,
                     [&model](Notifier::ServerState state) {
                         model.setNotificationsBlocked(state == Notifier::ServerState::Missing);
                     });

    WindowWatcher windows(model);
    model.openMainWindow = [&windows] { windows.bringForward(); };
    // A later start: the window comes forward the way the tray's "Apri Brevio" brings it.
    QObject::connect(&instance, &SingleInstance::activationRequested, &model,
                     &AppModel::bringMainWindowForward);
    QObject::connect(&app, &QCoreApplication::aboutToQuit, &model, &AppModel::aboutToQuit);

    // The saved session is read on the store's thread while the engine loads the screens.
    if (options->demoAsStaff)
        model.startDemo(*options->demoAsStaff);
    else
        model.session().restore();

    // The desktop's colour scheme is asked for now and answers while the engine loads, usually
    // before the first frame; nothing waits for it. Until then the palette decides.
    ColorSchemeWatcher colorScheme(QDBusConnection::sessionBus(), &AppModel::paletteIsDark);
    QObject::connect(&colorScheme, &ColorSchemeWatcher::darkChanged, &model,
                     &AppModel::setDesktopDark);
    colorScheme.start();

    QQmlApplicationEngine engine;
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
    engine.setInitialProperties({{QStringLiteral("app"), QVariant::fromValue(&model)}});
    engine.load(QUrl(QStringLiteral("qrc:/qt/qml/Brevio/Main.qml")));
    auto* window = engine.rootObjects().isEmpty()
                       ? nullptr
                       : qobject_cast<QQuickWindow*>(engine.rootObjects().constFirst());
    if (!window)
        return 1;
    restoreGeometry(*window);
    windows.watch(window);
    window->show();
    QObject::connect(&app, &QCoreApplication::aboutToQuit, window, [window] {
        preferences().setValue(QStringLiteral("window/geometry"), window->geometry());
    });

    // The settings window is made when first asked for.
    SettingsView settings(engine, model);

    // With an icon in the desktop's tray, closing the main window leaves Brevio running and
    // connected (the tray's menu brings the window back); without one, closing it quits. Closing
    // the settings window alone never quits.
    std::unique_ptr<Tray> tray;
    QApplication::setQuitOnLastWindowClosed(false);
    MainWindowClose closing(
        *window, [&tray] { return tray && tray->isShown(); }, [] { QCoreApplication::quit(); });

    // Reachability and sleep matter only once something is on screen: their backends load after
    // the first frame.
    std::unique_ptr<NetworkWatcher> network;
    std::unique_ptr<SleepWatcher> sleep;
    QObject::connect(
        window, &QQuickWindow::frameSwapped, &model,
        [&] {
            network = std::make_unique<NetworkWatcher>();
            QObject::connect(network.get(), &NetworkWatcher::reachable, &model,
                             &AppModel::networkReachable);
            sleep = std::make_unique<SleepWatcher>(QDBusConnection::systemBus());
            QObject::connect(sleep.get(), &SleepWatcher::woke, &model, &AppModel::woke);
            tray = std::make_unique<Tray>(model);
        },
        Qt::SingleShotConnection);

    std::unique_ptr<StartupProbe> probe;
    if (StartupProbe::isWanted())
        probe = std::make_unique<StartupProbe>(model, *window);
    std::unique_ptr<TestDriver> driver;
    if (const QString path = TestDriver::socketPath(); !path.isEmpty()) {
        driver = std::make_unique<TestDriver>(*window);
        if (!driver->listen(path))
            std::fprintf(stderr, "brevio: test driver: %s\n", qPrintable(driver->errorString()));
    }

    return app.exec();
}
