#pragma once

// Drives a LocalServer through its endpoint on the test thread, in virtual time: frames are
// delivered, the posted work is run with sendPostedEvents(), and timers fire only when the
// ManualClock is advanced.

#include "localserver/LocalServer.h"
#include "model/ManualClock.h"
#include "support/Printing.h"
#include "support/TestClient.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

#include <vector>

namespace brevio::test {

inline const QString demoPassword = QString::fromLatin1(LocalServer::demoPassword);

class ServerHarness {
public:
    class Peer {
    public:
        Peer(ServerHarness& harness, LocalEndpoint::PeerLink link)
            : harness_(&harness), id_(link.peerID), frames_(std::move(link.frames)) {}

        qint64 id() const { return id_; }
        // Delivers a frame and runs the server until it has handled it.
        void send(ClientFrame frame) {
            harness_->server.deliver(id_, std::move(frame));
            harness_->pump();
        }
        // Everything the server has pushed to this peer so far, oldest first.
        std::vector<ServerFrame> take() {
            std::vector<ServerFrame> frames;
            while (auto frame = frames_->tryNext())
                frames.push_back(std::move(*frame));
            return frames;
        }
        // Sends and gives what came back.
        std::vector<ServerFrame> exchange(ClientFrame frame) {
            take();
            send(std::move(frame));
            return take();
        }
        // Sends a request and gives the frame that answers it (by replyTo); fails the test when
        // there is none.
        ServerFrame request(ClientFrame frame) {
            const QString id = frame.requestID();
            for (ServerFrame& reply : exchange(std::move(frame))) {
                if (reply.replyTo() == id)
                    return reply;
            }
            ADD_FAILURE() << "no reply to " << id.toStdString();
            return ServerFrame::unknown(QStringLiteral("none"));
        }
        bool isFinished() const { return frames_->isFinished(); }
        void disconnect() {
            harness_->server.disconnectPeer(id_);
            harness_->pump();
        }

        Welcome welcome;

    private:
        ServerHarness* harness_;
        qint64 id_;
        std::shared_ptr<FrameQueue<ServerFrame>> frames_;
    };

    static LocalServer::Options quiet() {
        LocalServer::Options options;
        options.autoReply = false;
        return options;
    }

    explicit ServerHarness(LocalServer::Options options = quiet(), bool seed = true)
        : server(options, clock) {
        if (seed)
            server.seedDemo();
    }

    void pump() { QCoreApplication::sendPostedEvents(); }

    Peer connect(const QString& address = {}) {
        Peer peer(*this, server.registerPeer(address));
        pump();
        return peer;
    }

    // A peer signed in with e-mail and password; its welcome is kept in `welcome`.
    Peer signIn(const QString& email, const QString& password = demoPassword,
                const QString& address = {}) {
        Peer peer = connect(address);
        const auto frames = peer.exchange(ClientFrame::login({email, password, testClient()}));
        EXPECT_EQ(frames.size(), 1u);
        if (!frames.empty() && frames.front().as<Welcome>())
            peer.welcome = *frames.front().as<Welcome>();
        else
            ADD_FAILURE() << "no welcome for " << email.toStdString();
        return peer;
    }

    // Seeded accounts by name.
    LocalServer::SeededAccount account(const QString& name) const {
        for (const auto& account : server.seededAccounts()) {
            if (account.name == name)
                return account;
        }
        ADD_FAILURE() << "no seeded account " << name.toStdString();
        return {};
    }
    QString email(const QString& name) const { return account(name).email; }

    // The direct conversation of a company as the welcome of a staff member lists it.
    static QString conversationTitled(const Welcome& welcome, const QString& title) {
        for (const Conversation& conversation : welcome.conversations) {
            if (conversation.title == title)
                return conversation.id;
        }
        ADD_FAILURE() << "no conversation " << title.toStdString();
        return {};
    }

    ManualClock clock;
    LocalServer server;
};

// The error code of a frame, or an empty text when it is not an error.
inline QString errorCode(const ServerFrame& frame) {
    const auto* error = frame.as<ServerError>();
    return error ? error->code : QString();
}

} // namespace brevio::test
