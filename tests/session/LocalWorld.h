#pragma once

// Sessions against a real LocalServer through the in-process transport, all in virtual time on
// the test thread.

#include "FakeTransport.h"
#include "SessionHarness.h"
#include "localserver/LocalServer.h"
#include "support/RecordingEndpoint.h"
#include "transport/LocalTransport.h"

#include <algorithm>

namespace brevio::test {

class LocalWorld {
public:
    explicit LocalWorld(bool autoReply = true) {
        LocalServer::Options options;
        options.autoReply = autoReply;
        server = std::make_unique<LocalServer>(options, clock);
        server->seedDemo();
        endpoint = std::make_shared<RecordingEndpoint>(*server);
        transport = std::make_unique<LocalTransport>(endpoint);
    }
    ~LocalWorld() {
        sessions.clear();
        pump();
    }

    // A new session (with its own in-memory store) signed in as a seeded account.
    ChatSession& signIn(const QString& email) {
        ChatSession& session = make();
        Outcome<void> out;
        session.signIn(url, email, QString::fromLatin1(LocalServer::demoPassword), out.done());
        advance(Duration::zero());
        EXPECT_EQ(out.calls, 1);
        EXPECT_TRUE(out.result && out.result->has_value()) << email.toStdString();
        return session;
    }
    // A session with its own in-memory store, on the in-process transport unless told otherwise.
    ChatSession& make(ChatTransport* over = nullptr) {
        stores.push_back(std::make_unique<MemoryStore>(clock));
        sessions.push_back(std::make_unique<ChatSession>(clock, over ? *over : *transport,
                                                         stores.back().get(), testClient(),
                                                         SessionSettings{}));
        events.emplace_back();
        auto* sink = &events.back();
        sessions.back()->setOnEvent([sink](const SessionEvent& e) { sink->push_back(e); });
        return *sessions.back();
    }

    void advance(Duration step) { advanceClockTo(clock, clock.now().addMSecs(step.count())); }

    LocalServer::SeededAccount staff() const { return server->seededAccounts().front(); }
    LocalServer::SeededAccount clientAccount(int index) const {
        int seen = 0;
        for (const auto& account : server->seededAccounts()) {
            if (account.role == Role::client && seen++ == index)
                return account;
        }
        ADD_FAILURE() << "no client account " << index;
        return {};
    }

    const QUrl url{QStringLiteral("ws://demo.invalid/ws")};
    ManualClock clock;
    std::unique_ptr<LocalServer> server;
    std::shared_ptr<RecordingEndpoint> endpoint;
    std::unique_ptr<LocalTransport> transport;
    std::vector<std::unique_ptr<MemoryStore>> stores;
    std::vector<std::unique_ptr<ChatSession>> sessions;
    std::deque<std::vector<SessionEvent>> events; // per session, in order of make()
};

// The direct conversation of a company, as a session's state knows it.
inline QString directConversation(const ChatState& state, const QString& clientID) {
    for (const Conversation& c : state.conversations) {
        if (c.kind == ConversationKind::direct && c.clientID == clientID)
            return c.id;
    }
    return {};
}

inline QList<ChatMessage> messagesOf(const ChatSession& session, const QString& conversationID) {
    return session.state().messages.value(conversationID);
}

// How many of `messages` have exactly this text.
inline qsizetype countText(const QList<ChatMessage>& messages, const QString& text) {
    return std::count_if(messages.cbegin(), messages.cend(),
                         [&](const ChatMessage& m) { return m.text == text; });
}

} // namespace brevio::test
