#include "transport/LocalConnection.h"

namespace brevio {

template <class T> using Result = std::expected<T, ChatError>;

namespace {

// The frame as the other side would read it after the wire.
Result<ServerFrame> throughWire(const ServerFrame& frame) {
    Decoded<ServerFrame> decoded = wire::decodeServerFrame(wire::encode(frame));
    if (!decoded.value)
        return std::unexpected(ChatError::unexpectedReply());
    return std::move(*decoded.value);
}

Result<ClientFrame> throughWire(const ClientFrame& frame) {
    Decoded<ClientFrame> decoded = wire::decodeClientFrame(wire::encode(frame));
    if (!decoded.value)
        return std::unexpected(ChatError::unexpectedReply());
    return std::move(*decoded.value);
}

template <class T>
void completeLater(CallerContext& caller, TransportConnection::Done<T> done, Result<T> result) {
    caller.post([done = std::move(done), result = std::move(result)] { done(result); });
}

// Only the error travels: the failed result is built where it is delivered.
template <class T>
void failLater(CallerContext& caller, TransportConnection::Done<T> done, ChatError error) {
    caller.post(
        [done = std::move(done), error = std::move(error)] { done(std::unexpected(error)); });
}

} // namespace

LocalConnection::LocalConnection(std::shared_ptr<LocalEndpoint> server,
                                 LocalEndpoint::PeerLink link)
    : server_(std::move(server)), peerID_(link.peerID), frames_(std::move(link.frames)),
      caller_(std::make_shared<CallerContext>()) {}

LocalConnection::~LocalConnection() {
    caller_->cancel();
    close();
}

void LocalConnection::send(ClientFrame frame, Done<void> done) {
    if (closeOnce_.isDone() || frames_->isFinished())
        return failLater(*caller_, std::move(done), ChatError::notConnected());
    Result<ClientFrame> carried = throughWire(frame);
    if (!carried)
        return failLater(*caller_, std::move(done), carried.error());
    server_->deliver(peerID_, std::move(*carried));
    completeLater(*caller_, std::move(done), Result<void>());
}

void LocalConnection::receive(Done<ServerFrame> done) {
    if (closeOnce_.isDone())
        return failLater(*caller_, std::move(done), ChatError::notConnected());
    // The server may push from its own thread; the waiter only hands the frame over, and the
    // round trip runs on the caller's thread, not in the server's time.
    frames_->next([caller = caller_, done = std::move(done)](std::optional<ServerFrame> frame) {
        caller->post([done, frame = std::move(frame)] {
            if (!frame)
                return done(std::unexpected(ChatError::notConnected()));
            done(throughWire(*frame));
        });
    });
}

void LocalConnection::ping(Done<void> done) {
    if (closeOnce_.isDone())
        return failLater(*caller_, std::move(done), ChatError::notConnected());
    completeLater(*caller_, std::move(done), Result<void>());
}

void LocalConnection::close() {
    closeOnce_.run([this] {
        server_->disconnectPeer(peerID_);
        frames_->finish();
    });
}

} // namespace brevio
