// brevio-server: the chat server behind a real WebSocket listener.

#include "Argon2idPasswordHasher.h"
#include "ServerListener.h"
#include "ServerOptions.h"
#include "localserver/LocalServer.h"
#include "process/SignalWatcher.h"

#include <QCoreApplication>
#include <QThread>
#include <QTimer>
#include <csignal>
#include <cstdio>

using namespace brevio;

namespace {

// How long a normal closure may take at shutdown before the remaining sockets are dropped.
constexpr Duration shutdownGrace = std::chrono::seconds(3);

void printLine(const QString& line, FILE* stream = stdout) {
    const QByteArray bytes = line.toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream);
    std::fputc('\n', stream);
}

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);

    QStringList arguments = QCoreApplication::arguments();
    arguments.removeFirst();
    const auto parsed = ServerOptions::parse(arguments);
    if (!parsed) {
        printLine(QStringLiteral("brevio-server: ") + parsed.error(), stderr);
        return 2;
    }
    const ServerOptions& options = *parsed;
    if (options.help) {
        std::fputs(ServerOptions::usage().toUtf8().constData(), stdout);
        return 0;
    }

    // Installed before anything listens, so an early SIGTERM still ends in an orderly way.
    SignalWatcher signalWatcher({SIGINT, SIGTERM});

    LocalServer::Options serverOptions;
    serverOptions.minimumBuild = options.minimumBuild;
    serverOptions.autoReply = options.autoReply;
    serverOptions.inviteLifetime = options.inviteLifetime;
    // The chat server runs on a thread of its own, so a sign-in (a deliberately slow hash) or a
    // large broadcast never stalls the sockets; the listener and every socket stay on this thread.
    // RealClock keeps no state: each side schedules its timers on its own thread.
    RealClock clock;
    auto* server =
        new LocalServer(serverOptions, clock, std::make_unique<Argon2idPasswordHasher>());
    if (options.seed == ServerOptions::Seed::demo)
        server->seedDemo();
    QThread serverThread;
    serverThread.setObjectName(QStringLiteral("chat server"));
    server->moveToThread(&serverThread);
    QObject::connect(&serverThread, &QThread::finished, server, &QObject::deleteLater);
    serverThread.start();
    const auto stopServer = [&] {
        serverThread.quit();
        serverThread.wait();
    };

    auto listener = std::make_unique<ServerListener>(*server, clock);
    const QHostAddress address = options.host == QStringLiteral("localhost")
                                     ? QHostAddress(QHostAddress::LocalHost)
                                     : QHostAddress(options.host);
    if (!listener->listen(address, options.port)) {
        printLine(QStringLiteral("brevio-server: cannot listen on %1:%2: %3")
                      .arg(options.host)
                      .arg(options.port)
                      .arg(listener->errorString()),
                  stderr);
        listener.reset();
        stopServer();
        return 1;
    }

    printLine(options.url(listener->port()));
    if (options.seed == ServerOptions::Seed::demo) {
        for (const auto& account : server->seededAccounts())
            printLine(QStringLiteral("%1 %2 %3")
                          .arg(account.email, toString(account.role),
                               QLatin1String(LocalServer::demoPassword)));
    }
    std::fflush(stdout);

    QObject::connect(&signalWatcher, &SignalWatcher::received, &app, [&] {
        listener->closeAll();
        QTimer::singleShot(shutdownGrace, &app, [] { QCoreApplication::exit(0); });
    });
    QObject::connect(listener.get(), &ServerListener::allClosed, &app,
                     [] { QCoreApplication::exit(0); });

    const int code = app.exec();
    // The connections leave the server before it stops.
    listener.reset();
    stopServer();
    return code;
}
