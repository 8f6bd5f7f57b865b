#include "PeerConnection.h"

#include "FrameEncoder.h"
#include "model/ServerCode.h"

#include <boost/json/parse.hpp>
#include <mutex>

namespace brevio {

// Hand-over point between the queue's waiter (any thread) and this object (its own thread).
// Destroying the connection clears `drain` under the lock, so a late waiter does nothing.
struct PeerConnection::Mailbox : DrainScheduler::Entry {
    std::optional<ServerFrame> handed; // the element given to the waiter
    bool ended = false;                // the waiter was given the end mark
};

namespace {

// The "id" of a request that failed to decode, when the text is a JSON object holding one as a
// string, so the client can match the refusal to its request.
std::optional<QString> requestID(const QByteArray& utf8) {
    boost::system::error_code error;
    const boost::json::value value =
        boost::json::parse(boost::json::string_view(utf8.constData(), utf8.size()), error);
    if (error || !value.is_object())
        return std::nullopt;
    const auto* id = value.as_object().if_contains("id");
    if (!id || !id->is_string())
        return std::nullopt;
    const auto& text = id->get_string();
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QString addressOf(const QWebSocket& socket) {
    QHostAddress address = socket.peerAddress();
    bool mapped = false;
    const quint32 ipv4 = address.toIPv4Address(&mapped);
    if (mapped)
        address = QHostAddress(ipv4);
    return address.toString();
}

} // namespace

PeerConnection::PeerConnection(QWebSocket* socket, LocalEndpoint& endpoint, FrameEncoder& encoder,
                               std::shared_ptr<DrainScheduler> scheduler, QObject* parent)
    : QObject(parent), socket_(socket), endpoint_(endpoint), encoder_(encoder),
      scheduler_(std::move(scheduler)), mailbox_(std::make_shared<Mailbox>()) {
    socket->setParent(this);
    socket->setMaxAllowedIncomingMessageSize(maxMessageSize);
    mailbox_->drain = [this] { drain(); };
    link_ = endpoint_.registerPeer(addressOf(*socket));

    connect(socket, &QWebSocket::textMessageReceived, this,
            [this](const QString& message) { receive(message.toUtf8()); });
    connect(socket, &QWebSocket::binaryMessageReceived, this,
            [this](const QByteArray& message) { receive(message); });
    connect(socket, &QWebSocket::disconnected, this, &PeerConnection::onDisconnected);
    arm();
}

PeerConnection::~PeerConnection() {
    {
        std::lock_guard lock(mailbox_->mutex);
        mailbox_->drain = nullptr;
    }
    if (!peerDisconnected_)
        endpoint_.disconnectPeer(link_.peerID);
}

void PeerConnection::close(QWebSocketProtocol::CloseCode code, const QString& reason) {
    if (!socket_ || closing_)
        return;
    closing_ = true;
    socket_->close(code, reason);
}

void PeerConnection::arm() {
    std::weak_ptr<Mailbox> weak = mailbox_;
    std::weak_ptr<DrainScheduler> scheduler = scheduler_;
    link_.frames->next([weak, scheduler](std::optional<ServerFrame> frame) {
        const auto mailbox = weak.lock();
        const auto drains = scheduler.lock();
        if (!mailbox || !drains)
            return;
        {
            std::lock_guard lock(mailbox->mutex);
            if (!mailbox->drain)
                return;
            if (frame)
                mailbox->handed = std::move(frame);
            else
                mailbox->ended = true;
        }
        drains->schedule(mailbox);
    });
}

void PeerConnection::drain() {
    std::optional<ServerFrame> handed;
    bool ended = false;
    {
        std::lock_guard lock(mailbox_->mutex);
        handed = std::move(mailbox_->handed);
        mailbox_->handed.reset();
        ended = mailbox_->ended;
    }
    if (handed)
        send(*handed);
    if (ended) {
        // The server ended this peer: what it queued before has been sent above.
        close();
        return;
    }
    // Everything that arrived meanwhile, in order, then wait again. A long backlog is sent in
    // slices so that the other connections get their turn on this thread.
    for (int sent = 0; sent < drainSlice; ++sent) {
        auto frame = link_.frames->tryNext();
        if (!frame) {
            arm();
            return;
        }
        send(*frame);
    }
    QMetaObject::invokeMethod(this, &PeerConnection::drain, Qt::QueuedConnection);
}

void PeerConnection::send(const ServerFrame& frame) {
    if (!socket_ || closing_ || socket_->state() != QAbstractSocket::ConnectedState)
        return;
    socket_->sendTextMessage(encoder_.encode(frame));
    if (socket_->bytesToWrite() > maxPendingOutput) {
        // A closing handshake would queue behind what the client is not reading: drop the
        // connection instead, which frees its buffers at once.
        closing_ = true;
        socket_->abort();
    }
}

void PeerConnection::receive(const QByteArray& utf8) {
    if (closing_)
        return;
    Decoded<ClientFrame> decoded =
        wire::decodeClientFrame(std::string_view(utf8.constData(), utf8.size()));
    if (decoded) {
        endpoint_.deliver(link_.peerID, std::move(*decoded.value));
        return;
    }
    // The connection stays usable: one bad frame is refused, the next one is handled.
    ServerError refusal;
    refusal.replyTo = requestID(utf8);
    refusal.code = ServerCode::badRequest;
    refusal.message = decoded.error;
    send(ServerFrame::error(std::move(refusal)));
}

void PeerConnection::onDisconnected() {
    if (!peerDisconnected_) {
        peerDisconnected_ = true;
        endpoint_.disconnectPeer(link_.peerID);
    }
    Q_EMIT finished();
}

} // namespace brevio
