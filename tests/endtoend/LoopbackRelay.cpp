#include "endtoend/LoopbackRelay.h"

#include <QTcpSocket>

namespace brevio::test {

// One client connection and its own connection to the server; both sockets are its children.
// Bytes from the client wait until the server side is connected.
class LoopbackRelay::Link : public QObject {
public:
    Link(QTcpSocket* accepted, quint16 upstreamPort) : client(accepted), upstream(new QTcpSocket) {
        client->setParent(this);
        upstream->setParent(this);
        connect(client, &QTcpSocket::readyRead, this, [this] {
            const QByteArray bytes = client->readAll();
            if (upstream->state() == QAbstractSocket::ConnectedState)
                upstream->write(bytes);
            else
                early += bytes;
        });
        connect(upstream, &QTcpSocket::connected, this, [this] {
            upstream->write(early);
            early.clear();
        });
        connect(upstream, &QTcpSocket::readyRead, this,
                [this] { client->write(upstream->readAll()); });
        upstream->connectToHost(QHostAddress::LocalHost, upstreamPort);
    }

    // Stops relaying; what was already handed to a socket still goes out before it closes.
    void finish(bool abort) {
        client->disconnect(this);
        upstream->disconnect(this);
        if (abort) {
            client->abort();
            upstream->abort();
            deleteLater();
            return;
        }
        const auto closed = [this] {
            if (client->state() == QAbstractSocket::UnconnectedState &&
                upstream->state() == QAbstractSocket::UnconnectedState)
                deleteLater();
        };
        connect(client, &QTcpSocket::stateChanged, this, closed);
        connect(upstream, &QTcpSocket::stateChanged, this, closed);
        client->disconnectFromHost();
        upstream->disconnectFromHost();
        closed();
    }

    QTcpSocket* client;
    QTcpSocket* upstream;
    QByteArray early;
};

LoopbackRelay::LoopbackRelay() {
    QObject::connect(&listener_, &QTcpServer::newConnection, [this] { accept(); });
}

LoopbackRelay::~LoopbackRelay() {
    for (Link* link : std::as_const(links_))
        delete link;
}

bool LoopbackRelay::listen(quint16 upstreamPort) {
    upstreamPort_ = upstreamPort;
    return listener_.listen(QHostAddress::LocalHost, 0);
}

void LoopbackRelay::cut() {
    cut_ = true;
    // Aborted, not closed: a lost network ends nothing in an orderly way.
    for (Link* link : std::exchange(links_, {}))
        link->finish(true);
}

void LoopbackRelay::accept() {
    while (QTcpSocket* socket = listener_.nextPendingConnection()) {
        if (cut_) {
            socket->abort();
            socket->deleteLater();
            continue;
        }
        auto* link = new Link(socket, upstreamPort_);
        // Either side ending ends the link.
        for (QTcpSocket* end : {link->client, link->upstream}) {
            QObject::connect(end, &QTcpSocket::disconnected, link, [this, link] { drop(link); });
            QObject::connect(end, &QTcpSocket::errorOccurred, link, [this, link] { drop(link); });
        }
        links_.append(link);
    }
}

void LoopbackRelay::drop(Link* link) {
    if (links_.removeOne(link))
        link->finish(false);
}

} // namespace brevio::test
