#pragma once

#include "DrainScheduler.h"
#include "FrameEncoder.h"
#include "model/Clock.h"
#include "transport/LocalEndpoint.h"

#include <QHostAddress>
#include <QObject>
#include <QTcpServer>
#include <QWebSocketServer>
#include <map>
#include <memory>

class QTcpSocket;

namespace brevio {

class PeerConnection;

// Accepts WebSocket clients on "/ws" and connects each one to the server as a peer. The request
// line is read before the upgrade so that any other path gets a plain HTTP 404; the socket is then
// handed to the WebSocket server, which performs the handshake.
class ServerListener : public QObject {
    Q_OBJECT
public:
    static constexpr auto path = "/ws";
    // A connection that has not sent its request line by then is dropped.
    static constexpr Duration requestTimeout = std::chrono::seconds(10);
    // Longer than any real request line; a client that sends more without a line break is refused.
    static constexpr qint64 maxRequestLine = 8 * 1024;

    ServerListener(LocalEndpoint& endpoint, Clock& clock, QObject* parent = nullptr);
    ~ServerListener() override;

    bool listen(const QHostAddress& address, quint16 port);
    QString errorString() const { return tcp_.errorString(); }
    quint16 port() const { return tcp_.serverPort(); }

    // Open WebSocket connections.
    qsizetype connectionCount() const { return qsizetype(connections_.size()); }

    // Stops accepting and closes every connection with a normal closure. allClosed() follows once
    // the last one is gone (at once when there is none).
    void closeAll();

Q_SIGNALS:
    void allClosed();

private:
    struct PendingRequest;

    void accept();
    void readRequestLine(QTcpSocket* socket);
    void refuse(QTcpSocket* socket, QByteArrayView status);
    void forget(QTcpSocket* socket);
    void upgraded();
    void connectionFinished(PeerConnection* connection);

    LocalEndpoint& endpoint_;
    Clock& clock_;
    QTcpServer tcp_;
    QWebSocketServer webSockets_;
    FrameEncoder encoder_;
    std::shared_ptr<DrainScheduler> drains_;
    std::map<QTcpSocket*, std::unique_ptr<PendingRequest>> pending_;
    std::map<PeerConnection*, std::unique_ptr<PeerConnection>> connections_;
    bool closing_ = false;
};

} // namespace brevio
