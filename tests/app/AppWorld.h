#pragma once

// An AppModel in virtual time: its server session talks to a seeded LocalServer on the test
// thread, demos get their own, and the desktop services are fakes that record what they were
// asked.

#include "localserver/LocalServer.h"
#include "model/ManualClock.h"
#include "shell/AppModel.h"
#include "support/Printing.h"
#include "support/RecordingEndpoint.h"
#include "support/TestClient.h"
#include "support/VirtualTime.h"
#include "transport/LocalTransport.h"

#include <gtest/gtest.h>
#include <memory>
#include <vector>

namespace brevio::test {

struct FakeNotifications final : Notifications {
    struct Posted {
        QString title;
        std::optional<QString> subtitle;
        QString body;
        QString conversationID;
    };
    void activate() override {
        ++activations;
        active = true;
    }
    bool isActive() const override { return active; }
    void notify(const QString& title, const std::optional<QString>& subtitle, const QString& body,
                const QString& conversationID) override {
        posted.push_back({title, subtitle, body, conversationID});
    }
    void withdraw(const QString& conversationID) override { withdrawn.push_back(conversationID); }

    int activations = 0;
    bool active = false;
    std::vector<Posted> posted;
    QStringList withdrawn;
};

struct FakeBadge final : Badge {
    void setCount(qint64 count) override { counts.push_back(count); }
    std::vector<qint64> counts;
};

class AppWorld {
public:
    explicit AppWorld(SessionSettings settings = {}) {
        LocalServer::Options options;
        options.autoReply = false;
        server = std::make_unique<LocalServer>(options, clock);
        server->seedDemo();
        endpoint = std::make_shared<RecordingEndpoint>(*server);
        transport = std::make_unique<LocalTransport>(endpoint);
        model = std::make_unique<AppModel>(AppParts{
            .clock = clock,
            .transport = *transport,
            .store = nullptr,
            .clientInfo = testClient(),
            .notifications = notifications,
            .badge = badge,
            .makeDemo =
                [this] {
                    ++demosMade;
                    return std::make_unique<DemoWorld>(clock, DemoWorld::Threading::callerThread);
                },
            .settings = settings,
        });
        model->openMainWindow = [this] { ++windowOpened; };
    }
    ~AppWorld() {
        model.reset();
        pump();
    }

    void advance(Duration step) { advanceClockTo(clock, clock.now().addMSecs(step.count())); }

    // Signs the model's server session in as a seeded account.
    void signIn(Role role) {
        std::optional<std::expected<void, ChatError>> result;
        model->session().signIn(url, account(role).email,
                                QString::fromLatin1(LocalServer::demoPassword),
                                [&](std::expected<void, ChatError> r) { result = r; });
        advance(Duration::zero());
        ASSERT_TRUE(result && result->has_value());
    }
    LocalServer::SeededAccount account(Role role) const {
        for (const auto& a : server->seededAccounts())
            if (a.role == role)
                return a;
        return {};
    }
    // The application in front with its window shown.
    void showWindow() {
        model->setApplicationActive(true);
        model->setMainWindow(true, true, false);
    }
    // The model's session's first conversation, by id order.
    QString someConversation() const {
        QStringList ids = model->session().state().conversations.keys();
        ids.sort();
        return ids.value(0);
    }

    const QUrl url{QStringLiteral("ws://server.invalid/ws")};
    ManualClock clock;
    std::unique_ptr<LocalServer> server;
    std::shared_ptr<RecordingEndpoint> endpoint;
    std::unique_ptr<LocalTransport> transport;
    FakeNotifications notifications;
    FakeBadge badge;
    int demosMade = 0;
    int windowOpened = 0;
    std::unique_ptr<AppModel> model;
};

// Another person of the seeded organisation, signed in on their own session to write to us.
struct Correspondent {
    Correspondent(AppWorld& world, Role role) : Correspondent(world, world.account(role).email) {}
    Correspondent(AppWorld& world, const QString& email)
        : session(world.clock, *world.transport, nullptr, testClient(), SessionSettings{}) {
        std::optional<std::expected<void, ChatError>> result;
        session.signIn(world.url, email, QString::fromLatin1(LocalServer::demoPassword),
                       [&](std::expected<void, ChatError> r) { result = r; });
        world.advance(Duration::zero());
        EXPECT_TRUE(result && result->has_value());
    }
    // The first conversation both sides see.
    QString sharedWith(const ChatSession& other) const {
        QStringList ids = session.state().conversations.keys();
        ids.sort();
        for (const QString& id : ids)
            if (other.state().conversations.contains(id))
                return id;
        return {};
    }
    ChatSession session;
};

} // namespace brevio::test
