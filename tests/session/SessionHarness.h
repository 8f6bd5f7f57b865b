#pragma once

// A ChatSession against the scripted fake transport, in virtual time, with an in-memory store.

#include "FakeTransport.h"
#include "model/ManualClock.h"
#include "session/ChatSession.h"
#include "support/Outcome.h"
#include "support/Printing.h"
#include "support/TestClient.h"

#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <vector>

namespace brevio::test {

// Keeps everything in memory and records when each state and outbox write happened.
class MemoryStore final : public SessionStore {
public:
    explicit MemoryStore(Clock& clock) : clock_(clock) {}

    std::optional<SessionCredentials> loadCredentials() override { return credentials; }
    void saveCredentials(const SessionCredentials& c) override { credentials = c; }
    void deleteCredentials() override { credentials.reset(); }
    std::optional<ChatState> loadState(const QString& userID) override;
    void loadStateAsync(const QString& userID, StateLoaded done) override;
    void saveState(ChatState state, const QString& userID) override;
    void saveOutbox(QList<PendingMessage> outbox, const QString& userID) override;
    void deleteState(const QString& userID) override {
        states.erase(userID);
        outboxes.erase(userID);
    }
    void flush() override { ++flushes; }
    void whenWritten(std::function<void()> done) override;
    void setProblemHandler(ProblemHandler handler) override { problemHandler = std::move(handler); }

    struct Write {
        QString userID;
        QDateTime at;
    };
    std::optional<SessionCredentials> credentials;
    std::map<QString, ChatState> states;
    std::map<QString, QList<PendingMessage>> outboxes;
    std::vector<Write> writes;
    std::vector<Write> outboxWrites;
    int flushes = 0;
    ProblemHandler problemHandler;

private:
    Clock& clock_;
};

// Plays a small server: answers sign-ins with `welcome`, sends with an ack, changes and history
// with empty pages. Anything else it leaves unanswered, for the test to answer by hand.
struct ScriptedServer {
    Welcome welcome;
    bool ackSends = true;
    bool answerSync = true;
    // Answer to "resume" instead of the welcome.
    std::optional<ServerError> resumeRefusal;
    std::map<QString, qint64> lastSeq; // per conversation
    std::vector<ChatMessage> stored;   // acknowledged messages, in order

    void handle(FakeConnection& connection, const ClientFrame& frame);
};

// The fixed world of these tests: a staff member (the user), three client companies with one
// user and one direct conversation each.
Welcome sampleWelcome();
ChatMessage message(const QString& conversationID, qint64 seq, const QString& authorID,
                    const QString& text, const QDateTime& sentAt);

inline const QString staffID = QStringLiteral("u-staff");
inline const QUrl serverURL = QUrl(QStringLiteral("wss://chat.example.test/ws"));

class SessionHarness {
public:
    explicit SessionHarness(SessionSettings settings = {}, bool withStore = true);
    ~SessionHarness();

    // Signs in with e-mail and password and runs until the session is online.
    void signIn();
    // Moves virtual time forward, firing timers in order and running what they post.
    void advance(Duration step);
    // By value: callers pass dates that the session itself changes, such as its status's.
    void advanceTo(QDateTime target);

    ChatSession& operator*() { return *session; }
    ChatSession* operator->() { return session.get(); }
    FakeConnection& connection() { return transport.last(); }

    ManualClock clock;
    FakeTransport transport;
    ScriptedServer server;
    MemoryStore store{clock};
    std::unique_ptr<ChatSession> session;
    std::vector<SessionEvent> events;
};

} // namespace brevio::test
