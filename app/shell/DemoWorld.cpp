#include "shell/DemoWorld.h"

#include <QMetaObject>

namespace brevio {

DemoWorld::DemoWorld(Clock& serverClock, Threading threading) {
    auto* server = new LocalServer(LocalServer::Options{}, serverClock);
    server->seedDemo();
    if (threading == Threading::ownThread) {
        thread_ = std::make_shared<QThread>();
        thread_->setObjectName(QStringLiteral("demo server"));
        server->moveToThread(thread_.get());
        thread_->start();
        // The last connection may let go of the server on any thread; its timers belong to the
        // server's thread, so it is deleted there (or here once that thread has stopped).
        server_ = std::shared_ptr<LocalServer>(server, [owner = thread_](LocalServer* s) {
            if (owner->isRunning() && QThread::currentThread() != owner.get())
                QMetaObject::invokeMethod(
                    s, [s] { delete s; }, Qt::BlockingQueuedConnection);
            else
                delete s;
        });
    } else {
        server_ = std::shared_ptr<LocalServer>(server);
    }
    transport_ = std::make_unique<LocalTransport>(server_);
}

DemoWorld::~DemoWorld() {
    transport_.reset();
    if (thread_) {
        // A connection may hold the server until after its thread stopped; the timers of the
        // answers under way go now, on the thread they belong to.
        LocalServer* server = server_.get();
        QMetaObject::invokeMethod(
            server, [server] { server->cancelPendingAnswers(); }, Qt::BlockingQueuedConnection);
    }
    server_.reset();
    if (thread_) {
        thread_->quit();
        thread_->wait();
    }
}

LocalServer::SeededAccount DemoWorld::account(Role role) const {
    const auto accounts = server_->seededAccounts();
    for (const auto& account : accounts) {
        if (account.role == role)
            return account;
    }
    return accounts.isEmpty() ? LocalServer::SeededAccount{} : accounts.front();
}

QUrl DemoWorld::address() {
    return QUrl(QStringLiteral("local://demo"));
}

} // namespace brevio
