#pragma once

#include "transport/ChatTransport.h"

#include <QString>

namespace brevio {

// Connections to a real server over a WebSocket, each on a network thread of its own.
class WebSocketTransport final : public ChatTransport {
public:
    // Largest incoming message; a bigger one closes the connection (close code 1009).
    static constexpr qint64 maximumMessageSize = 4194304;

    // Accepts only "ws" and "wss" URLs. QUrl stores the scheme lower-cased, so a scheme typed in
    // capitals can only be refused by the text overload below.
    std::expected<std::shared_ptr<TransportConnection>, ChatError>
    connect(const QUrl& url) override;

    // The same from the address as text; the scheme is compared exactly, so "WS://..." fails.
    std::expected<std::shared_ptr<TransportConnection>, ChatError> connect(const QString& address);

    // Whether `scheme` is one this transport speaks (case-sensitive).
    static bool isSupportedScheme(QStringView scheme);
};

} // namespace brevio
