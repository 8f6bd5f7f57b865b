#pragma once

#include "model/Backoff.h"
#include "model/ChatError.h"
#include "model/Clock.h"
#include "session/ConnectionStatus.h"
#include "session/SessionCredentials.h"
#include "transport/ChatTransport.h"
#include "transport/FrameQueue.h"
#include "wire/Frames.h"

#include <QObject>
#include <expected>
#include <functional>
#include <memory>
#include <optional>

namespace brevio {

// The live connection of a session and everything that keeps it alive: connecting with the saved
// token, the writer that drains the outgoing queue, the receive loop, the keep-alive pings, and
// the back-off between attempts. What the frames mean is the session's business, reached through
// the hooks.
//
// Every step of a connection carries the generation it started in; `generation` rises at every
// start and at every teardown, so whatever belongs to a replaced connection discards itself.
// A QObject only so that late completions can tell it is gone.
class ConnectionLoop final : public QObject {
public:
    using Connection = std::shared_ptr<TransportConnection>;
    using Sent = std::function<void(std::expected<void, ChatError>)>;

    struct Hooks {
        // Whom to connect as; nothing when the session must stay offline (signed out).
        std::function<std::optional<SessionCredentials>()> credentials;
        std::function<void(ConnectionStatus)> setStatus;
        // The resume was answered with a welcome.
        std::function<void(const Welcome&)> welcomed;
        // The resume was refused; true when that ends every attempt (a fatal code).
        std::function<bool(const ServerError&)> refused;
        // A connection is in place and online.
        std::function<void()> attached;
        // A frame arrived on the current connection.
        std::function<void(const ServerFrame&)> received;
        // The current connection broke: whatever waited for it has to fail.
        std::function<void()> lost;
    };

    ConnectionLoop(Clock& clock, ChatTransport& transport, ClientInfo clientInfo, Backoff backoff,
                   Duration pingInterval, Duration replyTimeout, Hooks hooks);
    ~ConnectionLoop() override;

    // Starts a new run with a connection already signed in, or connects by itself with `resume`.
    void start(Connection connection);
    // Stops waiting for the scheduled reconnect and connects at once.
    void retryNow();
    // Ends the connection and every timer; no status is set.
    void teardown();
    // Queues a frame on the current connection; false when there is none. `sent` learns whether
    // the connection took it.
    bool post(ClientFrame frame, Sent sent = {});
    // Whether a connection is in place to take frames.
    bool attached() const { return outgoing_ != nullptr; }

private:
    struct OutgoingFrame {
        ClientFrame frame;
        Sent sent; // optional
    };
    using Outgoing = std::shared_ptr<FrameQueue<OutgoingFrame>>;

    void connectStep(qint64 generation);
    void resumeAnswered(qint64 generation, const Connection& connection, ServerFrame frame);
    void attach(qint64 generation, const Connection& connection);
    void receiveNext(qint64 generation, const Connection& connection);
    void connectionLost(const Connection& connection);
    void scheduleReconnect(qint64 generation);
    void startKeepAlive(qint64 generation);
    void ping(qint64 generation);

    Clock& clock_;
    ChatTransport& transport_;
    const ClientInfo clientInfo_;
    const Backoff backoff_;
    const Duration pingInterval_;
    const Duration replyTimeout_;
    Hooks hooks_;

    Connection connection_;
    Outgoing outgoing_;
    Connection connecting_; // a resume in progress
    qint64 generation_ = 0;
    int attempts_ = 0; // reconnection attempts of the current run

    TimerHandle retryTask_;
    TimerHandle connectTimer_; // a resume that gets no answer
    TimerHandle pingTask_;
    TimerHandle pongTimer_;
};

} // namespace brevio
