// A program that leaves main() while a WebSocket connection is still alive, the way an application
// does after `return app.exec();`. It must exit promptly whatever the order of destruction; the
// transport tests run it as a child process with a time limit. The scenario is the only argument:
//
//   before-app     the connection is dropped on the main thread after the loop ended, while the
//                  application object still exists;
//   in-app-exit    a failed receive's completion, still queued on the main thread, owns the
//                  connection; it is destroyed inside the application object's destructor;
//   after-app      the connection outlives the application object and is dropped afterwards;
//   socket-thread  the application object is gone and the last reference is released on the
//                  connection's own thread, whose event loop can no longer deliver anything.
//
// Exit code 0: the scenario ran as intended and returned. Anything else names what went wrong.

#include "model/Clock.h"
#include "transport/WebSocketTransport.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QThread>
#include <QWebSocket>
#include <QWebSocketServer>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <future>
#include <mutex>
#include <optional>
#include <thread>

using namespace brevio;
using namespace std::chrono_literals;

namespace {

// How long the program waits for anything before giving up with a failure code.
constexpr Duration limit = 10s;

enum Failure {
    badArguments = 2,
    noServer,
    noHandshake,
    socketThreadNotSeen,
    peerNeverClosed,
    neverReleased,
    socketThreadLeftRunning
};

// Whether the connection's thread is running, seen from outside it: Linux names each thread after
// its QThread's object name, cut to 15 characters. Without /proc the answer is unknown.
std::optional<bool> socketThreadRunning() {
    const QString tasks = QStringLiteral("/proc/self/task");
    const QStringList ids = QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    if (ids.isEmpty())
        return std::nullopt;
    const QByteArray name = QByteArrayLiteral("brevio-websocket").left(15);
    for (const QString& id : ids) {
        QFile comm(tasks + u'/' + id + QStringLiteral("/comm"));
        if (comm.open(QIODevice::ReadOnly) && comm.readAll().trimmed() == name)
            return true;
    }
    return false;
}

bool socketThreadEnded() {
    const QDeadlineTimer deadline(limit);
    for (;;) {
        if (socketThreadRunning() == false)
            return true;
        if (deadline.hasExpired())
            return false;
        std::this_thread::sleep_for(10ms);
    }
}

// A WebSocket server on a thread of its own, so that the main thread can wait for what it sees
// without running its own event loop.
class ServerThread final : public QThread {
public:
    // The port once listening; 0 if listening failed.
    quint16 waitUntilListening() {
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, limit, [&] { return ready_; });
        return port_;
    }
    // Whether a peer went away within the limit.
    bool waitForPeerClosed() {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, limit, [&] { return peerClosed_; });
    }

protected:
    void run() override {
        QWebSocketServer server(QStringLiteral("quit"), QWebSocketServer::NonSecureMode);
        const bool listening = server.listen(QHostAddress::LocalHost, 0);
        QObject::connect(&server, &QWebSocketServer::newConnection, &server, [&] {
            while (QWebSocket* socket = server.nextPendingConnection()) {
                socket->setParent(&server);
                QObject::connect(socket, &QWebSocket::disconnected, socket, [this] {
                    std::lock_guard lock(mutex_);
                    peerClosed_ = true;
                    changed_.notify_all();
                });
            }
        });
        {
            std::lock_guard lock(mutex_);
            ready_ = true;
            port_ = listening ? server.serverPort() : 0;
            changed_.notify_all();
        }
        exec();
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool ready_ = false;
    bool peerClosed_ = false;
    quint16 port_ = 0;
};

void stop(ServerThread& server) {
    server.quit();
    server.wait();
}

// Owns the connection inside a completion and reports when it lets go of it.
struct Keeper {
    std::shared_ptr<TransportConnection> connection;
    std::promise<void> released;

    ~Keeper() {
        connection.reset();
        released.set_value();
    }
};

} // namespace

int main(int argc, char** argv) {
    auto app = std::make_unique<QCoreApplication>(argc, argv);
    const QStringList args = QCoreApplication::arguments();
    const QString scenario = args.size() == 2 ? args[1] : QString();
    if (scenario != u"before-app" && scenario != u"in-app-exit" && scenario != u"after-app" &&
        scenario != u"socket-thread") {
        std::fprintf(stderr,
                     "usage: QuitAfterLoop before-app|in-app-exit|after-app|socket-thread\n");
        return badArguments;
    }

    ServerThread server;
    server.start();
    const quint16 port = server.waitUntilListening();
    if (port == 0)
        return noServer;

    WebSocketTransport transport;
    std::shared_ptr<TransportConnection> connection =
        *transport.connect(QUrl(QStringLiteral("ws://127.0.0.1:%1/ws").arg(port)));
    bool answered = false;
    connection->ping([&](std::expected<void, ChatError> pong) {
        answered = pong.has_value();
        QCoreApplication::quit();
    });
    app->exec();
    if (!answered)
        return noHandshake;
    if (socketThreadRunning() != true)
        return socketThreadNotSeen; // the check at the end would prove nothing

    if (scenario == u"before-app") {
        connection->receive([](std::expected<ServerFrame, ChatError>) {});
        connection.reset();
        stop(server);
    } else if (scenario == u"in-app-exit") {
        connection->receive(
            [connection](std::expected<ServerFrame, ChatError>) { connection->close(); });
        connection->close();
        connection.reset();
        // The receive failed on the socket thread before the socket closed: once the server saw
        // the close, its completion waits in the main thread's queue, which no loop drains.
        const bool closed = server.waitForPeerClosed();
        stop(server);
        if (!closed)
            return peerNeverClosed;
        app.reset(); // as when main() returns
    } else if (scenario == u"after-app") {
        stop(server);
        connection->receive([](std::expected<ServerFrame, ChatError>) {});
        app.reset();
        connection.reset();
    } else {
        stop(server);
        app.reset();
        // The request goes to the socket thread, which drops it undelivered now that the
        // application object is gone, and with it the last reference.
        auto keeper = std::make_shared<Keeper>();
        keeper->connection = std::exchange(connection, nullptr);
        std::future<void> released = keeper->released.get_future();
        TransportConnection& kept = *keeper->connection;
        kept.ping([keeper = std::exchange(keeper, nullptr)](std::expected<void, ChatError>) {});
        if (released.wait_for(limit) != std::future_status::ready)
            return neverReleased;
    }
    // A thread still running here would be cut off in the middle of whatever it does.
    return socketThreadEnded() ? 0 : socketThreadLeftRunning;
}
