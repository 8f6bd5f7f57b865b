#pragma once

#include "DrainScheduler.h"
#include "transport/LocalEndpoint.h"

#include <QObject>
#include <QPointer>
#include <QWebSocket>
#include <memory>

namespace brevio {

class FrameEncoder;

// One WebSocket client bound to one peer of the server. Incoming messages are decoded and
// delivered; the peer's frame queue is drained onto the socket as text messages. The server may
// fill the queue from another thread: the queue's waiter only hands the frame over and marks this
// connection with the scheduler, which drains it on this object's thread, where every socket
// operation happens.
class PeerConnection : public QObject {
    Q_OBJECT
public:
    static constexpr qint64 maxMessageSize = 4 * 1024 * 1024;
    // A client that stops reading is cut off once this much output waits for it, so that one slow
    // reader cannot make the server buffer without bound. Room for two frames of the largest size
    // a client accepts, and a backlog besides. It loses nothing: a client catches up with
    // "changes" after reconnecting.
    static constexpr qint64 maxPendingOutput = 3 * maxMessageSize;

    // Takes ownership of `socket`, which has completed its handshake.
    PeerConnection(QWebSocket* socket, LocalEndpoint& endpoint, FrameEncoder& encoder,
                   std::shared_ptr<DrainScheduler> scheduler, QObject* parent = nullptr);
    ~PeerConnection() override;

    // Closes the socket with the given code after what is already queued on it.
    void close(QWebSocketProtocol::CloseCode code = QWebSocketProtocol::CloseCodeNormal,
               const QString& reason = {});

Q_SIGNALS:
    // The socket is gone and the peer has been disconnected from the server.
    void finished();

private:
    struct Mailbox;
    static constexpr int drainSlice = 256;

    void arm();
    void drain();
    void send(const ServerFrame& frame);
    void receive(const QByteArray& utf8);
    void onDisconnected();

    QPointer<QWebSocket> socket_;
    LocalEndpoint& endpoint_;
    FrameEncoder& encoder_;
    std::shared_ptr<DrainScheduler> scheduler_;
    LocalEndpoint::PeerLink link_;
    std::shared_ptr<Mailbox> mailbox_;
    bool peerDisconnected_ = false;
    bool closing_ = false;
};

} // namespace brevio
