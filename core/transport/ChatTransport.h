#pragma once

#include "model/ChatError.h"
#include "wire/Frames.h"

#include <QUrl>
#include <expected>
#include <functional>
#include <memory>

namespace brevio {

// One live connection carrying whole frames. Every completion is called later on the thread that
// started the operation (through its event loop), never synchronously inside the call. After
// close(), pending and later operations complete with ChatError::notConnected().
class TransportConnection {
public:
    template <class T> using Done = std::function<void(std::expected<T, ChatError>)>;

    virtual ~TransportConnection() = default;

    virtual void send(ClientFrame frame, Done<void> done) = 0;
    // The next server frame. One reader at a time: call again after the previous one completed.
    virtual void receive(Done<ServerFrame> done) = 0;
    // Completes when the peer answered.
    virtual void ping(Done<void> done) = 0;
    // Idempotent; never fails.
    virtual void close() = 0;
};

class ChatTransport {
public:
    virtual ~ChatTransport() = default;
    // Opens a connection without waiting for the handshake: the first send or receive reveals a
    // failure. Fails at once only for an address the transport cannot use.
    virtual std::expected<std::shared_ptr<TransportConnection>, ChatError>
    connect(const QUrl& url) = 0;
};

} // namespace brevio
