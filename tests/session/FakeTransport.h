#pragma once

// A scripted stand-in for the network: connections whose server side the test plays by hand.
// Completions are posted to the event loop, never run inside the call, as the real transports do.

#include "model/ManualClock.h"
#include "support/VirtualTime.h"
#include "transport/ChatTransport.h"

#include <deque>
#include <functional>
#include <memory>
#include <vector>

namespace brevio::test {

class FakeConnection final : public TransportConnection {
public:
    using Script = std::function<void(FakeConnection&, const ClientFrame&)>;

    void send(ClientFrame frame, Done<void> done) override;
    void receive(Done<ServerFrame> done) override;
    void ping(Done<void> done) override;
    void close() override;

    // ---- The server's side ----
    // Queues a frame for the session's next receive.
    void push(ServerFrame frame);
    // Breaks the connection: the pending and every later receive fail with `error`.
    void fail(ChatError error = ChatError::unreachable());
    // Completes the pings that were held back (answerPings false) with a pong.
    void answerHeldPings();

    // Every frame the session sent, in order.
    std::vector<ClientFrame> sent;
    // Called for every frame the session sends (the scripted server).
    Script script;
    // When false, pings stay unanswered until answerHeldPings() or close().
    bool answerPings = true;
    // When true, sends never complete (a connection that takes nothing any more).
    bool holdSends = false;
    // When true, close() leaves a pending receive waiting until fail(): the news of a closed
    // socket can arrive late.
    bool lateCloseNews = false;
    int pings = 0;
    bool closed = false;

    std::vector<const ClientFrame*> sentOf(ClientFrame::Type type) const;

private:
    std::deque<ServerFrame> inbox_;
    Done<ServerFrame> waiter_;
    std::vector<Done<void>> heldPings_;
    std::optional<ChatError> failure_;
};

class FakeTransport final : public ChatTransport {
public:
    std::expected<std::shared_ptr<TransportConnection>, ChatError>
    connect(const QUrl& url) override;

    // While true, new connections fail on their first receive, as a socket to a server that is
    // down does.
    bool serverDown = false;
    // Given to every new connection.
    FakeConnection::Script script;

    std::vector<std::shared_ptr<FakeConnection>> connections;
    std::vector<QUrl> urls;

    FakeConnection& last() { return *connections.back(); }
    // Frames of one type sent over every connection, oldest first.
    std::vector<ClientFrame> sentOf(ClientFrame::Type type) const;
};

} // namespace brevio::test
