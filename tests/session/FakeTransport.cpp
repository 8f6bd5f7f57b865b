#include "FakeTransport.h"

#include <QCoreApplication>

namespace brevio::test {

namespace {

void later(std::function<void()> work) {
    QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(work), Qt::QueuedConnection);
}

} // namespace

void FakeConnection::send(ClientFrame frame, Done<void> done) {
    if (closed || failure_) {
        const ChatError error = failure_.value_or(ChatError::notConnected());
        later([done, error] { done(std::unexpected(error)); });
        return;
    }
    sent.push_back(frame);
    if (script)
        script(*this, sent.back());
    if (!holdSends)
        later([done] { done({}); });
}

void FakeConnection::receive(Done<ServerFrame> done) {
    if (!inbox_.empty()) {
        ServerFrame frame = std::move(inbox_.front());
        inbox_.pop_front();
        later([done, frame] { done(frame); });
    } else if (failure_ || closed) {
        const ChatError error = failure_.value_or(ChatError::notConnected());
        later([done, error] { done(std::unexpected(error)); });
    } else {
        waiter_ = std::move(done);
    }
}

void FakeConnection::ping(Done<void> done) {
    ++pings;
    if (closed || failure_)
        later([done] { done(std::unexpected(ChatError::notConnected())); });
    else if (answerPings)
        later([done] { done({}); });
    else
        heldPings_.push_back(std::move(done));
}

void FakeConnection::close() {
    if (closed)
        return;
    closed = true;
    if (lateCloseNews)
        return;
    if (auto waiter = std::exchange(waiter_, nullptr))
        later([waiter] { waiter(std::unexpected(ChatError::notConnected())); });
    for (auto& held : std::exchange(heldPings_, {}))
        later([held] { held(std::unexpected(ChatError::notConnected())); });
}

void FakeConnection::push(ServerFrame frame) {
    if (closed || failure_)
        return;
    if (auto waiter = std::exchange(waiter_, nullptr))
        later([waiter, frame = std::move(frame)] { waiter(frame); });
    else
        inbox_.push_back(std::move(frame));
}

void FakeConnection::fail(ChatError error) {
    failure_ = error;
    inbox_.clear();
    if (auto waiter = std::exchange(waiter_, nullptr))
        later([waiter, error] { waiter(std::unexpected(error)); });
}

void FakeConnection::answerHeldPings() {
    for (auto& held : std::exchange(heldPings_, {}))
        later([held] { held({}); });
}

std::vector<const ClientFrame*> FakeConnection::sentOf(ClientFrame::Type type) const {
    std::vector<const ClientFrame*> frames;
    for (const ClientFrame& frame : sent) {
        if (frame.type == type)
            frames.push_back(&frame);
    }
    return frames;
}

std::expected<std::shared_ptr<TransportConnection>, ChatError>
FakeTransport::connect(const QUrl& url) {
    urls.push_back(url);
    auto connection = std::make_shared<FakeConnection>();
    connection->script = script;
    if (serverDown)
        connection->fail(ChatError::unreachable());
    connections.push_back(connection);
    return connection;
}

std::vector<ClientFrame> FakeTransport::sentOf(ClientFrame::Type type) const {
    std::vector<ClientFrame> frames;
    for (const auto& connection : connections) {
        for (const ClientFrame* frame : connection->sentOf(type))
            frames.push_back(*frame);
    }
    return frames;
}

} // namespace brevio::test
