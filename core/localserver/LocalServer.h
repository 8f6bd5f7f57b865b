#pragma once

#include "localserver/PasswordHasher.h"
#include "model/Clock.h"
#include "model/Records.h"
#include "transport/LocalEndpoint.h"

#include <QObject>
#include <QString>
#include <atomic>
#include <memory>
#include <mutex>
#include <string>

namespace brevio {

// The chat server that runs inside the application for the demo, and behind the standalone
// listener. It keeps everything in memory.
//
// Threading: the server is one serial context. registerPeer(), deliver() and disconnectPeer() may
// be called from any thread; they post the work to the thread this object lives on, where all the
// state is touched, one frame at a time and in call order. Everything that waits (the automatic
// replies) goes through the injected Clock, which must belong to that same thread. In the
// application the object is moved to a QThread of its own; in tests it stays on the test thread
// with a ManualClock: deliver, then QCoreApplication::sendPostedEvents(), then advance the clock.
//
// Decisions where the protocol leaves room:
// - Automatic replies come from the other side of the conversation: a client's message is answered
//   by a staff member with the staff-voiced texts, a staff message by a user of the client company
//   with the client-voiced texts (each voice has its own rotation). Groups are answered the same
//   way by a member of the other side. Only people with no connected peer answer: a real person
//   who is signed in speaks for themselves.
// - An authentication request from a peer that is already signed in is handled like a first one;
//   on success the peer is bound to the new session, on refusal it stays as it was.
// - A client may leave a group ("updateGroup" that only removes itself); all other group changes
//   are for staff.
// - A non-empty `website` on a sign-up request marks an automated form filler: "bad_request".
// - Refusals carry the code only; the client words every code itself.
class LocalServer : public QObject, public LocalEndpoint {
    Q_OBJECT
public:
    struct Options {
        QString organization = QStringLiteral("Ardena");
        qint64 minimumBuild = 0;
        bool autoReply = true;
        Duration inviteLifetime = std::chrono::days(7);
    };

    // A seeded account the demo can sign in with (all share demoPassword).
    struct SeededAccount {
        QString userID;
        QString email;
        QString name;
        Role role = Role::client;
        std::optional<QString> clientID;
    };

    static constexpr const char* demoPassword = "corda5678";

    // The largest profile picture, in bytes once decoded.
    static constexpr qsizetype maximumAvatarBytes = 409600;

    // Without a hasher the server uses the salted SHA-256 one. `clock` must outlive the server.
    LocalServer(Options options, Clock& clock, std::unique_ptr<PasswordHasher> hasher = {},
                QObject* parent = nullptr);
    ~LocalServer() override;

    // Fills an empty server with the demo organisation: one staff member, five client companies,
    // a group, short conversations with times just before clock.now(). Call once, before peers
    // connect, on the thread that owns the server.
    void seedDemo();

    // Drops every automatic answer still waiting (their timers belong to the server's thread):
    // for a server about to stop. Server thread only.
    void cancelPendingAnswers();

    // The accounts seedDemo() created, staff first. Safe from any thread.
    QList<SeededAccount> seededAccounts() const;

    // LocalEndpoint (thread-safe).
    PeerLink registerPeer(const QString& address = {}) override;
    void deliver(qint64 peerID, ClientFrame frame) override;
    void disconnectPeer(qint64 peerID) override;

    // The whole state as deterministic JSON text (password hashes and tokens included), for
    // diagnostics and for tests that check a refused request changed nothing. Server thread only.
    std::string stateSnapshot() const;

private:
    struct Impl;
    void handle(qint64 peerID, const ClientFrame& frame);
    void addPeer(qint64 peerID, std::shared_ptr<FrameQueue<ServerFrame>> frames, QString address);
    void removePeer(qint64 peerID);

    Options options_;
    std::unique_ptr<Impl> d;
    std::atomic<qint64> nextPeerID_{1};
    mutable std::mutex seededMutex_;
    QList<SeededAccount> seeded_;
};

} // namespace brevio
