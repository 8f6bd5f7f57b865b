#pragma once

// Sessions against a real LocalServer through the in-process transport, all in virtual time on
// the test thread.

#include "FakeTransport.h"
#include "SessionHarness.h"
#include "localserver/LocalServer.h"
#include "transport/LocalTransport.h"

#include <algorithm>
#include <mutex>

namespace brevio::test {

// Passes everything to the server and remembers which peers connected, so a test can drop them
// from the server's side.
class RecordingEndpoint final : public LocalEndpoint {
public:
    explicit RecordingEndpoint(LocalEndpoint& server) : server_(server) {}

    PeerLink registerPeer(const QString& address = {}) override {
        PeerLink link = server_.registerPeer(address);
        std::lock_guard lock(mutex_);
        peers_.push_back(link.peerID);
        return link;
    }
    void deliver(qint64 peerID, ClientFrame frame) override {
        server_.deliver(peerID, std::move(frame));
    }
    void disconnectPeer(qint64 peerID) override { server_.disconnectPeer(peerID); }

    // Ends every peer so far from the server's side.
    void dropAll() {
        std::vector<qint64> peers;
        {
            std::lock_guard lock(mutex_);
            peers.swap(peers_);
        }
        for (qint64 peer : peers)
            server_.disconnectPeer(peer);
    }
    std::size_t registered() const {
        std::lock_guard lock(mutex_);
        return peers_.size();
    }

private:
    LocalEndpoint& server_;
    mutable std::mutex mutex_;
    std::vector<qint64> peers_;
};

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
    ChatSession& make() {
        stores.push_back(std::make_unique<MemoryStore>(clock));
        sessions.push_back(std::make_unique<ChatSession>(clock, *transport, stores.back().get(),
                                                         testClient(), SessionSettings{}));
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
