#include "session/ConnectionLoop.h"

#include <QPointer>
#include <cmath>

namespace brevio {

ConnectionLoop::ConnectionLoop(Clock& clock, ChatTransport& transport, ClientInfo clientInfo,
                               Backoff backoff, Duration pingInterval, Duration replyTimeout,
                               Hooks hooks)
    : clock_(clock), transport_(transport), clientInfo_(std::move(clientInfo)), backoff_(backoff),
      pingInterval_(pingInterval), replyTimeout_(replyTimeout), hooks_(std::move(hooks)) {}

ConnectionLoop::~ConnectionLoop() {
    // Close everything so the writer and the connections let go of each other; their pending
    // completions hold this object only weakly.
    if (outgoing_)
        outgoing_->finish();
    for (const Connection& connection : {connection_, connecting_}) {
        if (connection)
            connection->close();
    }
}

void ConnectionLoop::start(Connection connection) {
    ++generation_;
    const qint64 generation = generation_;
    attempts_ = 0;
    retryTask_.reset();
    if (connection) {
        attach(generation, connection);
        receiveNext(generation, connection);
    } else {
        connectStep(generation);
    }
}

void ConnectionLoop::connectStep(qint64 generation) {
    retryTask_.reset();
    const std::optional<SessionCredentials> credentials = hooks_.credentials();
    if (!credentials) {
        hooks_.setStatus(ConnectionStatus::offline());
        return;
    }
    hooks_.setStatus(ConnectionStatus::connecting());
    auto opened = transport_.connect(credentials->server);
    if (!opened) {
        scheduleReconnect(generation);
        return;
    }
    Connection connection = *opened;
    connecting_ = connection;
    connection->send(ClientFrame::resume({credentials->token, clientInfo_}),
                     [connection](std::expected<void, ChatError> sent) {
                         if (!sent)
                             connection->close(); // the receive below fails and backs off
                     });
    connectTimer_ = clock_.schedule(replyTimeout_, [connection] { connection->close(); });
    QPointer<ConnectionLoop> self(this);
    connection->receive(
        [self, generation, connection](std::expected<ServerFrame, ChatError> first) {
            if (!self || self->generation_ != generation || self->connecting_ != connection) {
                connection->close();
                return;
            }
            self->connecting_.reset();
            self->connectTimer_.reset();
            if (!first) {
                connection->close();
                self->scheduleReconnect(generation);
                return;
            }
            self->resumeAnswered(generation, connection, std::move(*first));
        });
}

void ConnectionLoop::resumeAnswered(qint64 generation, const Connection& connection,
                                    ServerFrame frame) {
    if (const auto* welcome = frame.as<Welcome>()) {
        hooks_.welcomed(*welcome);
        attempts_ = 0;
        attach(generation, connection);
        receiveNext(generation, connection);
        return;
    }
    connection->close();
    if (const auto* error = frame.as<ServerError>(); error && hooks_.refused(*error))
        return;
    // Any other answer (a refusal such as "rate_limited", a stray frame): try again later.
    scheduleReconnect(generation);
}

void ConnectionLoop::attach(qint64 generation, const Connection& connection) {
    auto queue = std::make_shared<FrameQueue<OutgoingFrame>>();
    outgoing_ = queue;
    connection_ = connection;

    // The writer: one frame at a time, in order, until the queue is finished. It holds neither
    // the loop nor the generation; finishing the queue and closing the connection end it.
    struct Writer {
        static void next(const Outgoing& queue, const Connection& connection) {
            queue->next([queue, connection](std::optional<OutgoingFrame> item) {
                if (!item)
                    return;
                auto sent = std::move(item->sent);
                connection->send(std::move(item->frame),
                                 [queue, connection, sent](std::expected<void, ChatError> result) {
                                     if (sent)
                                         sent(result);
                                     next(queue, connection);
                                 });
            });
        }
    };
    Writer::next(queue, connection);

    hooks_.setStatus(ConnectionStatus::online());
    hooks_.attached();
    startKeepAlive(generation);
}

void ConnectionLoop::receiveNext(qint64 generation, const Connection& connection) {
    QPointer<ConnectionLoop> self(this);
    connection->receive(
        [self, generation, connection](std::expected<ServerFrame, ChatError> result) {
            if (!self || self->generation_ != generation || self->connection_ != connection)
                return; // a replaced connection: whatever it says changes nothing
            if (!result) {
                self->connectionLost(connection);
                self->scheduleReconnect(generation);
                return;
            }
            self->hooks_.received(*result);
            if (self && self->generation_ == generation && self->connection_ == connection)
                self->receiveNext(generation, connection);
        });
}

void ConnectionLoop::connectionLost(const Connection& connection) {
    connection->close();
    if (outgoing_) {
        outgoing_->finish();
        outgoing_.reset();
    }
    connection_.reset();
    pingTask_.reset();
    pongTimer_.reset();
    hooks_.lost();
}

void ConnectionLoop::scheduleReconnect(qint64 generation) {
    if (!hooks_.credentials()) {
        hooks_.setStatus(ConnectionStatus::offline());
        return;
    }
    ++attempts_;
    const Duration delay(std::llround(backoff_.delay(attempts_) * 1000.0));
    hooks_.setStatus(ConnectionStatus::waiting(clock_.now().addMSecs(delay.count())));
    QPointer<ConnectionLoop> self(this);
    retryTask_ = clock_.schedule(delay, [self, generation] {
        if (self && self->generation_ == generation)
            self->connectStep(generation);
    });
}

void ConnectionLoop::retryNow() {
    // Cancelling the wait makes the loop go on at once.
    retryTask_.reset();
    connectStep(generation_);
}

void ConnectionLoop::startKeepAlive(qint64 generation) {
    pongTimer_.reset();
    QPointer<ConnectionLoop> self(this);
    pingTask_ = clock_.schedule(pingInterval_, [self, generation] {
        if (self && self->generation_ == generation)
            self->ping(generation);
    });
}

void ConnectionLoop::ping(qint64 generation) {
    Connection connection = connection_;
    if (!connection)
        return;
    QPointer<ConnectionLoop> self(this);
    // No pong in time: closing makes the receive fail, and the back-off takes over.
    pongTimer_ = clock_.schedule(replyTimeout_, [self, generation, connection] {
        if (self && self->generation_ == generation && self->connection_ == connection)
            connection->close();
    });
    connection->ping([self, generation, connection](std::expected<void, ChatError> result) {
        if (!self || self->generation_ != generation || self->connection_ != connection)
            return;
        self->pongTimer_.reset();
        if (!result) {
            connection->close();
            return;
        }
        self->startKeepAlive(generation);
    });
}

bool ConnectionLoop::post(ClientFrame frame, Sent sent) {
    if (!outgoing_)
        return false;
    outgoing_->push({std::move(frame), std::move(sent)});
    return true;
}

void ConnectionLoop::teardown() {
    ++generation_;
    retryTask_.reset();
    connectTimer_.reset();
    pingTask_.reset();
    pongTimer_.reset();
    if (outgoing_) {
        outgoing_->finish();
        outgoing_.reset();
    }
    if (connection_) {
        connection_->close();
        connection_.reset();
    }
    if (connecting_) {
        connecting_->close();
        connecting_.reset();
    }
}

} // namespace brevio
