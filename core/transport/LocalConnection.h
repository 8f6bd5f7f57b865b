#pragma once

#include "transport/CallerContext.h"
#include "transport/ChatTransport.h"
#include "transport/LocalEndpoint.h"

#include <memory>

namespace brevio {

// One peer of an in-process server. Every frame makes the JSON round trip a real socket would
// impose (encode, then decode), so the demo exercises the same wire format; a frame that does not
// survive it fails with ChatError::unexpectedReply(). Completions run on the thread that created
// the connection, also when the server pushes from its own thread; operations must be started on
// that thread.
//
// After close() sends fail and a pending or later receive ends with ChatError::notConnected().
// When the server ends the peer instead (it finishes the queue), the frames it queued before are
// still received, then the same error. Destroying the connection closes it and drops pending
// completions.
class LocalConnection final : public TransportConnection {
public:
    LocalConnection(std::shared_ptr<LocalEndpoint> server, LocalEndpoint::PeerLink link);
    ~LocalConnection() override;

    void send(ClientFrame frame, Done<void> done) override;
    void receive(Done<ServerFrame> done) override;
    // The server is in the same process: completes at once (on the next turn of the event loop).
    void ping(Done<void> done) override;
    void close() override;

private:
    std::shared_ptr<LocalEndpoint> server_;
    qint64 peerID_;
    std::shared_ptr<FrameQueue<ServerFrame>> frames_;
    std::shared_ptr<CallerContext> caller_;
    Once closeOnce_;
};

} // namespace brevio
