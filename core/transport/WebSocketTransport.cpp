#include "transport/WebSocketTransport.h"

#include "transport/WebSocketConnection.h"

namespace brevio {

std::expected<std::shared_ptr<TransportConnection>, ChatError>
WebSocketTransport::connect(const QUrl& url) {
    // QUrl keeps schemes in lower case, so comparing them exactly refuses every other one. A URL
    // without a host cannot be opened at all; refusing it here keeps the failure ahead of any
    // network activity, like a wrong scheme.
    const QString scheme = url.scheme();
    if (!url.isValid() || (scheme != u"ws" && scheme != u"wss") || url.host().isEmpty())
        return std::unexpected(ChatError::invalidServerAddress());
    return std::make_shared<WebSocketConnection>(url, maximumMessageSize);
}

} // namespace brevio
