#pragma once

#include "localserver/LocalServer.h"
#include "localserver/LoginThrottle.h"

#include <functional>

namespace brevio {

class PeerHub;
class ServerData;

// Everything that makes a peer signed in or out: the client version check, login, resume,
// invite redemption, sign-up without invite, logout, and the limit on failed attempts.
// Refusals go to the peer as errors without a reply id (sign-in frames carry none).
//
// Failed attempts are limited twice: per account, so that nobody guesses one person's password,
// and per peer address with a far higher limit, so that one address cannot guess across many
// accounts or invite codes, yet a mistyping colleague behind the same address locks out only
// their own account. Invite codes belong to no account and count against the address only.
class Gatekeeper {
public:
    static constexpr int failuresPerAccount = 10;
    static constexpr int failuresPerAddress = 100;
    static constexpr Duration failureWindow = std::chrono::minutes(10);

    Gatekeeper(const LocalServer::Options& options, ServerData& data, PeerHub& hub,
               PasswordHasher& hasher, Clock& clock);

    void login(qint64 peerID, const LoginRequest& request);
    void resume(qint64 peerID, const ResumeRequest& request);
    void redeem(qint64 peerID, const RedeemRequest& request);
    void signup(qint64 peerID, const SignUpRequest& request);
    void logout(qint64 peerID);

    // Told of the message a sign-up opens its conversation with (for the automatic reply).
    std::function<void(const QString& conversationID, qint64 seq, const QString& authorID)>
        onMessage;

private:
    bool acceptsClient(qint64 peerID, const ClientInfo& client);
    void refuse(qint64 peerID, const QString& code);
    // The peer's address; empty for in-process peers, which are limited per account only.
    QString address(qint64 peerID);
    // Binds the peer to the user under `token` and sends the welcome.
    void signIn(qint64 peerID, const QString& userID, const QString& token);

    const LocalServer::Options& options_;
    ServerData& data_;
    PeerHub& hub_;
    PasswordHasher& hasher_;
    LoginThrottle accounts_;
    LoginThrottle addresses_;
    QByteArray decoyRecord_; // checked when no account matches, so both cases take as long
};

} // namespace brevio
