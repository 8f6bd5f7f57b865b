#pragma once

// A TCP relay on the loopback address in front of the server, for network outages: cut() drops
// every connection through it and refuses new ones until restore(). The server keeps running.

#include <QList>
#include <QTcpServer>

class QTcpSocket;

namespace brevio::test {

class LoopbackRelay {
public:
    LoopbackRelay();
    LoopbackRelay(const LoopbackRelay&) = delete;
    LoopbackRelay& operator=(const LoopbackRelay&) = delete;
    ~LoopbackRelay();

    // Listens on 127.0.0.1 with a free port and relays to 127.0.0.1:`upstreamPort`.
    bool listen(quint16 upstreamPort);
    quint16 port() const { return listener_.serverPort(); }

    void cut();
    void restore() { cut_ = false; }

private:
    class Link;
    void accept();
    void drop(Link* link);

    QTcpServer listener_;
    quint16 upstreamPort_ = 0;
    bool cut_ = false;
    QList<Link*> links_;
};

} // namespace brevio::test
