#include "transport/WebSocketTransport.h"

#include "transport/WebSocketConnection.h"

namespace brevio {

bool WebSocketTransport::isSupportedScheme(QStringView scheme) {
    return scheme == u"ws" || scheme == u"wss";
}

std::expected<std::shared_ptr<TransportConnection>, ChatError>
WebSocketTransport::connect(const QUrl& url) {
    // A URL without a host cannot be opened at all; refusing it here keeps the failure ahead of
    // any network activity, like a wrong scheme.
    if (!url.isValid() || !isSupportedScheme(url.scheme()) || url.host().isEmpty())
        return std::unexpected(ChatError::invalidServerAddress());
    return std::make_shared<WebSocketConnection>(url, maximumMessageSize);
}

std::expected<std::shared_ptr<TransportConnection>, ChatError>
WebSocketTransport::connect(const QString& address) {
    const qsizetype colon = address.indexOf(u':');
    if (colon <= 0 || !isSupportedScheme(QStringView(address).left(colon)))
        return std::unexpected(ChatError::invalidServerAddress());
    return connect(QUrl(address, QUrl::StrictMode));
}

} // namespace brevio
