#pragma once

#include "transport/CallerContext.h"
#include "transport/ChatTransport.h"

#include <QUrl>
#include <atomic>
#include <memory>

class QThread;

namespace brevio {

// One WebSocket on a network thread of its own: the socket, the JSON encoding of outgoing frames
// and the decoding of incoming ones all live there, and completions hop back to the thread that
// created the connection. Operations must be started on that thread.
//
// - The handshake is not awaited: sends and pings issued before the socket opens wait for it and
//   fail if it never opens.
// - send() completes once the message is handed to the socket; a later loss of the connection is
//   reported by the next receive().
// - Messages that arrive before receive() is called are decoded and kept in arrival order; they are
//   still delivered after the peer went away, then the failure follows.
// - Errors: a lost or refused connection, or a message above the size limit (the socket closes
//   with 1009), is ChatError::unreachable(); a message that is not a valid server frame is
//   ChatError::unexpectedReply() for that receive only; after close() everything pending and
//   later fails with ChatError::notConnected().
// - Destroying the connection without close() closes the socket, stops its thread and drops the
//   completions still pending (they are never called). This holds on either thread and also once
//   no event loop will run again (after the application object is gone), so quitting never hangs.
class WebSocketConnection final : public TransportConnection {
public:
    WebSocketConnection(const QUrl& url, qint64 maximumMessageSize);
    ~WebSocketConnection() override;

    void send(ClientFrame frame, Done<void> done) override;
    void receive(Done<ServerFrame> done) override;
    void ping(Done<void> done) override;
    void close() override;

private:
    class Socket;

    std::shared_ptr<CallerContext> caller_;
    std::unique_ptr<QThread> thread_;
    Socket* socket_ = nullptr; // lives on thread_
    std::atomic<bool> closed_{false};
};

} // namespace brevio
