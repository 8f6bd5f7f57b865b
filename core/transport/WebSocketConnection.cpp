#include "transport/WebSocketConnection.h"

#include <QAbstractSocket>
#include <QCoreApplication>
#include <QThread>
#include <QWebSocket>
#include <deque>
#include <map>
#include <optional>

namespace brevio {

template <class T> using Result = std::expected<T, ChatError>;

// Everything below runs on the connection's own thread. The socket is created there, so its
// signals arrive there too, and the frames are encoded and decoded there.
class WebSocketConnection::Socket : public QObject {
public:
    Socket(QUrl url, qint64 maximumMessageSize, std::shared_ptr<CallerContext> caller)
        : url_(std::move(url)), maximumMessageSize_(maximumMessageSize),
          caller_(std::move(caller)) {}

    void open() {
        socket_ = new QWebSocket(QString(), QWebSocketProtocol::VersionLatest, this);
        socket_->setMaxAllowedIncomingMessageSize(maximumMessageSize_);
        QObject::connect(socket_, &QWebSocket::connected, this, [this] { opened(); });
        QObject::connect(socket_, &QWebSocket::disconnected, this, [this] { lost(); });
        QObject::connect(socket_, qOverload<QAbstractSocket::SocketError>(&QWebSocket::error), this,
                         [this](QAbstractSocket::SocketError) { lost(); });
        QObject::connect(socket_, &QWebSocket::textMessageReceived, this,
                         [this](const QString& text) { arrived(text.toUtf8()); });
        QObject::connect(socket_, &QWebSocket::binaryMessageReceived, this,
                         [this](const QByteArray& bytes) { arrived(bytes); });
        QObject::connect(socket_, &QWebSocket::pong, this,
                         [this](quint64, const QByteArray& payload) { ponged(payload); });
        socket_->open(url_);
    }

    void send(ClientFrame frame, Done<void> done) {
        if (failure_)
            return complete(std::move(done), Result<void>(std::unexpected(*failure_)));
        Outgoing out{std::move(frame), std::move(done)};
        if (!open_)
            waiting_.push_back(std::move(out));
        else
            write(std::move(out));
    }

    void ping(Done<void> done) {
        if (failure_)
            return complete(std::move(done), Result<void>(std::unexpected(*failure_)));
        Outgoing out{std::nullopt, std::move(done)};
        if (!open_)
            waiting_.push_back(std::move(out));
        else
            write(std::move(out));
    }

    void receive(Done<ServerFrame> done) {
        readers_.push_back(std::move(done));
        serveReaders();
    }

    // close() by the owner: everything pending fails with notConnected, including what was
    // received but not yet read.
    void closeByOwner() {
        failure_ = ChatError::notConnected();
        inbox_.clear();
        failPending(*failure_);
        serveReaders();
        if (socket_->state() == QAbstractSocket::ConnectedState)
            socket_->close(QWebSocketProtocol::CloseCodeNormal);
        else
            socket_->abort();
    }

    // The connection is being destroyed: close the socket now, on this thread, so that nothing of
    // it outlives the thread. The completions were cancelled already.
    void shutdown() {
        if (!socket_)
            return;
        socket_->disconnect(this);
        if (socket_->state() == QAbstractSocket::ConnectedState) {
            socket_->close(QWebSocketProtocol::CloseCodeNormal);
            socket_->flush();
        }
        delete socket_;
        socket_ = nullptr;
    }

private:
    // A send (frame set) or a ping (no frame) waiting for the socket to open.
    struct Outgoing {
        std::optional<ClientFrame> frame;
        Done<void> done;
    };

    template <class T> void complete(Done<T> done, Result<T> result) {
        caller_->post([done = std::move(done), result = std::move(result)] { done(result); });
    }

    void opened() {
        if (failure_)
            return;
        open_ = true;
        // Frames are small and often follow one another closely (typing, then the message):
        // without this, the second waits for the server's delayed ACK, up to 40 ms. The socket
        // offers no option of its own, so it goes to the TCP socket it owns.
        if (auto* tcp = socket_->findChild<QAbstractSocket*>())
            tcp->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        auto waiting = std::move(waiting_);
        waiting_.clear();
        for (auto& out : waiting)
            write(std::move(out));
    }

    void write(Outgoing out) {
        if (!out.frame) {
            const QByteArray payload = QByteArray::number(nextPing_++);
            pings_.emplace(payload, std::move(out.done));
            socket_->ping(payload);
            return;
        }
        const std::string json = wire::encode(*out.frame);
        const qint64 written = socket_->sendTextMessage(QString::fromUtf8(json));
        if (written < 0 || socket_->state() != QAbstractSocket::ConnectedState)
            return complete(std::move(out.done),
                            Result<void>(std::unexpected(ChatError::unreachable())));
        complete(std::move(out.done), Result<void>());
    }

    void arrived(const QByteArray& bytes) {
        if (failure_ && failure_->kind == ChatError::Kind::notConnected)
            return;
        Decoded<ServerFrame> decoded =
            wire::decodeServerFrame(std::string_view(bytes.constData(), bytes.size()));
        if (decoded.value)
            inbox_.emplace_back(std::move(*decoded.value));
        else
            inbox_.emplace_back(std::unexpected(ChatError::unexpectedReply()));
        serveReaders();
    }

    void ponged(const QByteArray& payload) {
        const auto it = pings_.find(payload);
        if (it == pings_.end())
            return; // not ours, or already failed
        Done<void> done = std::move(it->second);
        pings_.erase(it);
        complete(std::move(done), Result<void>());
    }

    // The peer went away, the connection was refused or a message was too big. Reported once;
    // messages already received are still read before the failure.
    void lost() {
        if (failure_)
            return;
        failure_ = ChatError::unreachable();
        failPending(*failure_);
        serveReaders();
    }

    void failPending(const ChatError& error) {
        auto waiting = std::move(waiting_);
        waiting_.clear();
        for (auto& out : waiting)
            complete(std::move(out.done), Result<void>(std::unexpected(error)));
        auto pings = std::move(pings_);
        pings_.clear();
        for (auto& [payload, done] : pings)
            complete(std::move(done), Result<void>(std::unexpected(error)));
    }

    // Hands received frames, then the failure if there is one, to the waiting readers in order.
    void serveReaders() {
        while (!readers_.empty() && (!inbox_.empty() || failure_)) {
            Done<ServerFrame> reader = std::move(readers_.front());
            readers_.pop_front();
            if (inbox_.empty()) {
                complete(std::move(reader), Result<ServerFrame>(std::unexpected(*failure_)));
                continue;
            }
            Result<ServerFrame> next = std::move(inbox_.front());
            inbox_.pop_front();
            complete(std::move(reader), std::move(next));
        }
    }

    const QUrl url_;
    const qint64 maximumMessageSize_;
    const std::shared_ptr<CallerContext> caller_;
    QWebSocket* socket_ = nullptr;
    bool open_ = false;
    std::optional<ChatError> failure_; // unreachable, or notConnected after close()
    std::deque<Outgoing> waiting_;     // sends and pings issued before the socket opened
    std::deque<Result<ServerFrame>> inbox_;
    std::deque<Done<ServerFrame>> readers_;
    std::map<QByteArray, Done<void>> pings_; // by ping payload
    quint64 nextPing_ = 0;
};

namespace {

template <class Socket, class F> void onSocketThread(Socket* socket, F f) {
    QMetaObject::invokeMethod(
        socket, [socket, f = std::move(f)]() mutable { f(*socket); }, Qt::QueuedConnection);
}

template <class T> void failLater(CallerContext& caller, TransportConnection::Done<T> done) {
    caller.post([done = std::move(done)] { done(std::unexpected(ChatError::notConnected())); });
}

} // namespace

WebSocketConnection::WebSocketConnection(const QUrl& url, qint64 maximumMessageSize)
    : caller_(std::make_shared<CallerContext>()), thread_(std::make_unique<QThread>()) {
    thread_->setObjectName(QStringLiteral("brevio-websocket"));
    socket_ = new Socket(url, maximumMessageSize, caller_);
    socket_->moveToThread(thread_.get());
    // The last thing the thread does, even when its loop could no longer deliver a queued call:
    // the socket is closed on its own thread whichever way the thread was made to end.
    QObject::connect(
        thread_.get(), &QThread::finished, thread_.get(),
        [socket = socket_] { socket->shutdown(); }, Qt::DirectConnection);
    thread_->start();
    onSocketThread(socket_, [](Socket& s) { s.open(); });
}

WebSocketConnection::~WebSocketConnection() {
    caller_->cancel();
    if (QThread::currentThread() == thread_.get()) {
        // The last owner let go on the socket's own thread: a completion that held the connection
        // was dropped there, possibly in the middle of one of the socket's own calls. The thread
        // cannot wait for itself, and the socket must outlive that call: the loop ends once the
        // call has returned; the thread then closes and deletes the socket, and the thread object
        // goes with the next turn of its owner's loop (or with the process).
        QThread* thread = thread_.release();
        QObject::connect(
            thread, &QThread::finished, thread, [socket = socket_] { delete socket; },
            Qt::DirectConnection);
        QObject::connect(thread, &QThread::finished, thread, &QObject::deleteLater);
        thread->quit();
        return;
    }
    if (QCoreApplication::instance()) {
        // Calls queued before this one still run first, then the socket closes.
        onSocketThread(socket_, [](Socket&) { QThread::currentThread()->quit(); });
    } else {
        // Without the application object no thread delivers queued calls any more (the loop
        // ended and main() is returning): end the thread's loop directly.
        thread_->quit();
    }
    thread_->wait();
    // The thread is gone and the socket with its notifiers was deleted on it; what is left is a
    // plain object.
    delete socket_;
}

void WebSocketConnection::send(ClientFrame frame, Done<void> done) {
    if (closed_.load())
        return failLater(*caller_, std::move(done));
    onSocketThread(socket_, [frame = std::move(frame), done = std::move(done)](Socket& s) mutable {
        s.send(std::move(frame), std::move(done));
    });
}

void WebSocketConnection::receive(Done<ServerFrame> done) {
    if (closed_.load())
        return failLater(*caller_, std::move(done));
    onSocketThread(socket_,
                   [done = std::move(done)](Socket& s) mutable { s.receive(std::move(done)); });
}

void WebSocketConnection::ping(Done<void> done) {
    if (closed_.load())
        return failLater(*caller_, std::move(done));
    onSocketThread(socket_,
                   [done = std::move(done)](Socket& s) mutable { s.ping(std::move(done)); });
}

void WebSocketConnection::close() {
    if (closed_.exchange(true))
        return;
    onSocketThread(socket_, [](Socket& s) { s.closeByOwner(); });
}

} // namespace brevio
