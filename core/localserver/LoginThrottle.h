#pragma once

#include "model/Clock.h"

#include <QDateTime>
#include <QString>
#include <map>

namespace brevio {

// Counts failed sign-in attempts per key (an account, an address). Failures add up as long as
// none comes more than `window` after the one before; the failure that reaches `limit` locks the
// key for `window` from then on, after which it starts again from nothing. Time comes from the
// injected clock, so tests move through the window in virtual time.
class LoginThrottle {
public:
    LoginThrottle(Clock& clock, int limit, Duration window);

    bool isBlocked(const QString& key) const;
    void recordFailure(const QString& key);
    // Forgets the key's failures (a successful sign-in of the account).
    void reset(const QString& key);

private:
    struct Record {
        int failures = 0;
        QDateTime last;         // the latest failure
        QDateTime blockedUntil; // set by the failure that reached the limit
    };
    bool isCurrent(const Record& record) const;
    void prune();

    Clock& clock_;
    int limit_;
    Duration window_;
    std::map<QString, Record> records_;
};

} // namespace brevio
