#include "SessionHarness.h"

#include <QCoreApplication>

namespace brevio::test {

std::optional<ChatState> MemoryStore::loadState(const QString& userID) {
    const auto it = states.find(userID);
    std::optional<ChatState> state =
        it == states.end() ? std::nullopt : std::optional<ChatState>(it->second);
    // The outbox written on its own is the newer one.
    if (const auto outbox = outboxes.find(userID); outbox != outboxes.end()) {
        if (!state)
            state.emplace();
        state->outbox = outbox->second;
    }
    return state;
}

void MemoryStore::loadStateAsync(const QString& userID, StateLoaded done) {
    auto loaded = loadState(userID);
    QMetaObject::invokeMethod(
        QCoreApplication::instance(), [done, loaded] { done(loaded); }, Qt::QueuedConnection);
}

void MemoryStore::saveState(ChatState state, const QString& userID) {
    states[userID] = std::move(state);
    writes.push_back({userID, clock_.now()});
}

void MemoryStore::saveOutbox(QList<PendingMessage> outbox, const QString& userID) {
    outboxes[userID] = std::move(outbox);
    outboxWrites.push_back({userID, clock_.now()});
}

void MemoryStore::whenWritten(std::function<void()> done) {
    QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(done), Qt::QueuedConnection);
}

Welcome sampleWelcome() {
    Welcome welcome;
    welcome.token = QStringLiteral("token-1");
    welcome.organization = QStringLiteral("Ardena");
    welcome.me = User{staffID,
                      QStringLiteral("Sara Staff"),
                      QStringLiteral("sara@example.test"),
                      Role::staff,
                      std::nullopt,
                      true,
                      std::nullopt};
    welcome.users.append(welcome.me);
    const QDateTime created(QDate(2024, 1, 10), QTime(8, 0), Qt::UTC);
    for (int i = 1; i <= 3; ++i) {
        const QString n = QString::number(i);
        welcome.clients.append(
            ClientCompany{QStringLiteral("k") + n, QStringLiteral("Azienda ") + n, {}, created});
        welcome.users.append(User{QStringLiteral("u-client") + n, QStringLiteral("Cliente ") + n,
                                  std::nullopt, Role::client, QStringLiteral("k") + n, false,
                                  std::nullopt});
        Conversation conversation;
        conversation.id = QStringLiteral("c") + n;
        conversation.kind = ConversationKind::direct;
        conversation.clientID = QStringLiteral("k") + n;
        conversation.title = QStringLiteral("Azienda ") + n;
        welcome.conversations.append(conversation);
    }
    return welcome;
}

ChatMessage message(const QString& conversationID, qint64 seq, const QString& authorID,
                    const QString& text, const QDateTime& sentAt) {
    ChatMessage m;
    m.id = QStringLiteral("m-%1-%2").arg(conversationID).arg(seq);
    m.clientID = QStringLiteral("cid-%1-%2").arg(conversationID).arg(seq);
    m.conversationID = conversationID;
    m.seq = seq;
    m.authorID = authorID;
    m.text = text;
    m.sentAt = sentAt;
    m.revision = seq;
    return m;
}

void ScriptedServer::handle(FakeConnection& connection, const ClientFrame& frame) {
    switch (frame.type) {
    case ClientFrame::Type::login:
    case ClientFrame::Type::redeem:
    case ClientFrame::Type::signup:
        connection.push(ServerFrame::welcome(welcome));
        break;
    case ClientFrame::Type::resume:
        if (resumeRefusal)
            connection.push(ServerFrame::error(*resumeRefusal));
        else
            connection.push(ServerFrame::welcome(welcome));
        break;
    case ClientFrame::Type::send: {
        if (!ackSends)
            break;
        const SendRequest& request = *frame.as<SendRequest>();
        for (const ChatMessage& m : stored) {
            if (m.clientID == request.id) { // a resend: the stored copy again
                connection.push(ServerFrame::ack({request.id, m}));
                return;
            }
        }
        const qint64 seq = ++lastSeq[request.conversationID];
        ChatMessage m = message(request.conversationID, seq, welcome.me.id, request.text,
                                QDateTime(QDate(2025, 3, 14), QTime(9, 0), Qt::UTC));
        m.clientID = request.id;
        m.replyToSeq = request.replyToSeq;
        stored.push_back(m);
        connection.push(ServerFrame::ack({request.id, m}));
        break;
    }
    case ClientFrame::Type::changes:
        if (answerSync) {
            const ChangesRequest& request = *frame.as<ChangesRequest>();
            connection.push(ServerFrame::changes(
                {request.id, request.conversationID, {}, false, request.since}));
        }
        break;
    case ClientFrame::Type::history:
        if (answerSync) {
            const HistoryRequest& request = *frame.as<HistoryRequest>();
            connection.push(ServerFrame::history({request.id, request.conversationID, {}, false}));
        }
        break;
    default:
        break;
    }
}

SessionHarness::SessionHarness(SessionSettings settings, bool withStore) {
    server.welcome = sampleWelcome();
    transport.script = [this](FakeConnection& connection, const ClientFrame& frame) {
        server.handle(connection, frame);
    };
    session = std::make_unique<ChatSession>(clock, transport, withStore ? &store : nullptr,
                                            testClient(), settings);
    session->setOnEvent([this](const SessionEvent& event) { events.push_back(event); });
}

SessionHarness::~SessionHarness() {
    session.reset();
    pump();
}

void SessionHarness::signIn() {
    Outcome<void> outcome;
    session->signIn(serverURL, QStringLiteral("sara@example.test"), QStringLiteral("segreta123"),
                    outcome.done());
    advance(Duration::zero());
    ASSERT_EQ(outcome.calls, 1);
    ASSERT_TRUE(outcome.result->has_value());
    ASSERT_TRUE(session->status().isOnline());
}

void SessionHarness::advanceTo(QDateTime target) {
    advanceClockTo(clock, std::move(target));
}

void SessionHarness::advance(Duration step) {
    advanceTo(clock.now().addMSecs(step.count()));
}

} // namespace brevio::test
