#pragma once

#include "transport/ChatTransport.h"

namespace brevio {

// Connections to a real server over a WebSocket, each on a network thread of its own.
class WebSocketTransport final : public ChatTransport {
public:
    // Largest incoming message; a bigger one closes the connection (close code 1009).
    static constexpr qint64 maximumMessageSize = 4194304;

    // Accepts only "ws" and "wss" URLs with a host.
    std::expected<std::shared_ptr<TransportConnection>, ChatError>
    connect(const QUrl& url) override;
};

} // namespace brevio
