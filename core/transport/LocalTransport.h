#pragma once

#include "transport/ChatTransport.h"
#include "transport/LocalEndpoint.h"

#include <memory>

namespace brevio {

// Connections to a server inside this process. The address is ignored.
class LocalTransport final : public ChatTransport {
public:
    explicit LocalTransport(std::shared_ptr<LocalEndpoint> server);

    std::expected<std::shared_ptr<TransportConnection>, ChatError>
    connect(const QUrl& url) override;

private:
    std::shared_ptr<LocalEndpoint> server_;
};

} // namespace brevio
