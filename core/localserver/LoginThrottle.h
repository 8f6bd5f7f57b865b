#pragma once

#include "model/Clock.h"

#include <QDateTime>
#include <QString>
#include <map>

namespace brevio {

// Counts failed sign-in attempts per key (an account, an address). A window opens at the first
// failure; once `limit` failures fall inside it, the key stays blocked until the window ends.
// Time comes from the injected clock, so tests move through the window in virtual time.
class LoginThrottle {
public:
    LoginThrottle(Clock& clock, int limit, Duration window);

    bool isBlocked(const QString& key) const;
    void recordFailure(const QString& key);
    // Forgets the key's failures (a successful sign-in of the account).
    void reset(const QString& key);

private:
    struct Window {
        QDateTime start;
        int failures = 0;
    };
    bool isOpen(const Window& window) const;
    void prune();

    Clock& clock_;
    int limit_;
    Duration window_;
    std::map<QString, Window> windows_;
};

} // namespace brevio
