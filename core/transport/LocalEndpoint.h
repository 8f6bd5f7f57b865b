#pragma once

#include "transport/FrameQueue.h"
#include "wire/Frames.h"

#include <memory>

namespace brevio {

// What the in-process transport needs of a server. The local server implements it; keeping it
// here lets the transport sit below the server in the layering. All three calls are thread-safe;
// deliver() and disconnectPeer() are handled later in the server's own context, in call order.
class LocalEndpoint {
public:
    struct PeerLink {
        qint64 peerID = 0;
        std::shared_ptr<FrameQueue<ServerFrame>> frames; // filled by the server
    };

    virtual ~LocalEndpoint() = default;

    // `address` identifies where the peer connects from (used for rate limits); empty in-process.
    virtual PeerLink registerPeer(const QString& address = {}) = 0;
    virtual void deliver(qint64 peerID, ClientFrame frame) = 0;
    virtual void disconnectPeer(qint64 peerID) = 0;
};

} // namespace brevio
