#pragma once

#include "localserver/LocalServer.h"
#include "model/Clock.h"
#include "transport/LocalTransport.h"

#include <QThread>
#include <memory>

namespace brevio {

// The demo's own server: a seeded LocalServer reached through the in-process transport. Its data
// lives only as long as this object. In the application the server runs on a thread of its own
// (a sign-in hashes a password, automatic replies wait on timers); tests keep it on their thread
// with a ManualClock and pump it themselves.
class DemoWorld {
public:
    enum class Threading { ownThread, callerThread };

    // `serverClock` must outlive the world and, with `callerThread`, belong to this thread.
    DemoWorld(Clock& serverClock, Threading threading);
    ~DemoWorld();
    DemoWorld(const DemoWorld&) = delete;
    DemoWorld& operator=(const DemoWorld&) = delete;

    ChatTransport& transport() { return *transport_; }
    // The seeded staff account, or the first seeded client account.
    LocalServer::SeededAccount account(Role role) const;

    // The address a demo session is bound to: never a real server.
    static QUrl address();

private:
    std::shared_ptr<QThread> thread_;
    // Shared with the transport's connections; destroyed on the server's own thread.
    std::shared_ptr<LocalServer> server_;
    std::unique_ptr<LocalTransport> transport_;
};

} // namespace brevio
