#pragma once

#include <QtGlobal>
#include <optional>

namespace brevio {

// Where the user is in the sign-in flow.
struct SessionPhase {
    enum class Kind {
        upgradeRequired, // the server refuses this build
        signedOut,
        signedIn,
    };

    Kind kind = Kind::signedOut;
    std::optional<qint64> minimumBuild; // only for `upgradeRequired`, when the server said so

    static SessionPhase upgradeRequired(std::optional<qint64> minimumBuild) {
        return {Kind::upgradeRequired, minimumBuild};
    }
    static SessionPhase signedOut() { return {Kind::signedOut, std::nullopt}; }
    static SessionPhase signedIn() { return {Kind::signedIn, std::nullopt}; }

    bool isSignedIn() const { return kind == Kind::signedIn; }
    bool isSignedOut() const { return kind == Kind::signedOut; }
    bool isUpgradeRequired() const { return kind == Kind::upgradeRequired; }

    // The build number only counts for `upgradeRequired`.
    friend bool operator==(const SessionPhase& a, const SessionPhase& b) {
        return a.kind == b.kind &&
               (a.kind != Kind::upgradeRequired || a.minimumBuild == b.minimumBuild);
    }
};

// Why the last sign-out happened.
enum class SignOutReason { userRequested, sessionExpired };

} // namespace brevio
