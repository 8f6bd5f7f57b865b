#include "transport/LocalTransport.h"

#include "transport/LocalConnection.h"

namespace brevio {

LocalTransport::LocalTransport(std::shared_ptr<LocalEndpoint> server)
    : server_(std::move(server)) {}

std::expected<std::shared_ptr<TransportConnection>, ChatError>
LocalTransport::connect(const QUrl&) {
    if (!server_)
        return std::unexpected(ChatError::notConnected());
    return std::make_shared<LocalConnection>(server_, server_->registerPeer());
}

} // namespace brevio
