#include "ServerListener.h"

#include "PeerConnection.h"

#include <QTcpSocket>

namespace brevio {

struct ServerListener::PendingRequest {
    TimerHandle timeout;
};

ServerListener::ServerListener(LocalEndpoint& endpoint, Clock& clock, QObject* parent)
    : QObject(parent), endpoint_(endpoint), clock_(clock),
      webSockets_(QStringLiteral("brevio-server"), QWebSocketServer::NonSecureMode),
      drains_(std::make_shared<DrainScheduler>(this)) {
    connect(&tcp_, &QTcpServer::newConnection, this, &ServerListener::accept);
    connect(&webSockets_, &QWebSocketServer::newConnection, this, &ServerListener::upgraded);
}

ServerListener::~ServerListener() {
    drains_->detach();
    // Connections disconnect their peers from the server as they go.
    connections_.clear();
    for (auto& [socket, request] : pending_) {
        socket->disconnect(this);
        socket->abort();
    }
    pending_.clear();
}

bool ServerListener::listen(const QHostAddress& address, quint16 port) {
    closing_ = false;
    return tcp_.listen(address, port);
}

void ServerListener::accept() {
    while (QTcpSocket* socket = tcp_.nextPendingConnection()) {
        if (closing_) {
            socket->abort();
            socket->deleteLater();
            continue;
        }
        // Frames are small and written one after another: without this, a frame that follows
        // another before its acknowledgement waits for the peer's delayed ACK (up to 40 ms).
        socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        auto request = std::make_unique<PendingRequest>();
        request->timeout = clock_.schedule(requestTimeout, [this, socket] {
            socket->abort();
            forget(socket);
        });
        pending_.emplace(socket, std::move(request));
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] { readRequestLine(socket); });
        connect(socket, &QTcpSocket::disconnected, this, [this, socket] { forget(socket); });
        if (socket->bytesAvailable() > 0)
            readRequestLine(socket);
    }
}

void ServerListener::readRequestLine(QTcpSocket* socket) {
    // Peek, never read: the WebSocket server parses the whole request itself after the hand-over.
    const QByteArray head = socket->peek(maxRequestLine);
    const qsizetype end = head.indexOf("\r\n");
    if (end < 0) {
        if (head.size() >= maxRequestLine)
            refuse(socket, "414 URI Too Long");
        return;
    }
    // "GET /ws?x=1 HTTP/1.1": the path is the target up to its query.
    const QList<QByteArray> parts = head.left(end).split(' ');
    if (parts.size() != 3 || !parts[2].startsWith("HTTP/")) {
        refuse(socket, "400 Bad Request");
        return;
    }
    QByteArray target = parts[1];
    if (const qsizetype query = target.indexOf('?'); query >= 0)
        target.truncate(query);
    if (target != path) {
        refuse(socket, "404 Not Found");
        return;
    }
    if (parts[0] != "GET") {
        refuse(socket, "405 Method Not Allowed");
        return;
    }
    socket->disconnect(this);
    pending_.erase(socket);
    webSockets_.handleConnection(socket);
}

void ServerListener::refuse(QTcpSocket* socket, QByteArrayView status) {
    socket->disconnect(this);
    pending_.erase(socket);
    const QByteArray body = status.toByteArray() + "\n";
    socket->write("HTTP/1.1 " + status.toByteArray() +
                  "\r\nContent-Type: text/plain\r\nContent-Length: " +
                  QByteArray::number(body.size()) + "\r\nConnection: close\r\n\r\n" + body);
    // Closing after the reply is written; the socket deletes itself once the peer is gone.
    connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    socket->disconnectFromHost();
}

void ServerListener::forget(QTcpSocket* socket) {
    if (pending_.erase(socket) == 0)
        return;
    socket->disconnect(this);
    socket->deleteLater();
}

void ServerListener::upgraded() {
    while (QWebSocket* socket = webSockets_.nextPendingConnection()) {
        if (closing_) {
            socket->close(QWebSocketProtocol::CloseCodeGoingAway);
            connect(socket, &QWebSocket::disconnected, socket, &QObject::deleteLater);
            continue;
        }
        auto connection = std::make_unique<PeerConnection>(socket, endpoint_, encoder_, drains_);
        PeerConnection* raw = connection.get();
        connect(raw, &PeerConnection::finished, this, [this, raw] { connectionFinished(raw); });
        connections_.emplace(raw, std::move(connection));
    }
}

void ServerListener::connectionFinished(PeerConnection* connection) {
    const auto found = connections_.find(connection);
    if (found == connections_.end())
        return;
    // Deleted later: this runs inside the socket's own signal.
    found->second.release()->deleteLater();
    connections_.erase(found);
    if (closing_ && connections_.empty())
        Q_EMIT allClosed();
}

void ServerListener::closeAll() {
    closing_ = true;
    tcp_.close();
    for (auto& [socket, request] : pending_) {
        socket->disconnect(this);
        socket->abort();
        socket->deleteLater();
    }
    pending_.clear();
    if (connections_.empty()) {
        Q_EMIT allClosed();
        return;
    }
    // Closing may end a connection at once, which removes it from the map.
    std::vector<PeerConnection*> open;
    for (const auto& [raw, connection] : connections_)
        open.push_back(raw);
    for (PeerConnection* raw : open) {
        if (connections_.contains(raw))
            raw->close(QWebSocketProtocol::CloseCodeNormal);
    }
}

} // namespace brevio
