#include "localserver/LoginThrottle.h"

namespace brevio {

LoginThrottle::LoginThrottle(Clock& clock, int limit, Duration window)
    : clock_(clock), limit_(limit), window_(window) {}

// A record still matters while it locks its key or while its count may still grow.
bool LoginThrottle::isCurrent(const Record& record) const {
    const QDateTime now = clock_.now();
    if (record.blockedUntil.isValid())
        return now < record.blockedUntil;
    return now < record.last.addMSecs(window_.count());
}

bool LoginThrottle::isBlocked(const QString& key) const {
    const auto it = records_.find(key);
    return it != records_.end() && it->second.blockedUntil.isValid() && isCurrent(it->second);
}

void LoginThrottle::recordFailure(const QString& key) {
    prune();
    Record& record = records_[key]; // a pruned or new key starts from nothing
    if (record.blockedUntil.isValid())
        return; // refused before the password was looked at
    record.last = clock_.now();
    if (++record.failures >= limit_)
        record.blockedUntil = record.last.addMSecs(window_.count());
}

void LoginThrottle::reset(const QString& key) {
    records_.erase(key);
}

// Records that no longer matter carry no information; dropping them keeps the map as small as
// the recent failures, whatever an attacker sends.
void LoginThrottle::prune() {
    std::erase_if(records_, [this](const auto& entry) { return !isCurrent(entry.second); });
}

} // namespace brevio
