#include "localserver/LoginThrottle.h"

namespace brevio {

LoginThrottle::LoginThrottle(Clock& clock, int limit, Duration window)
    : clock_(clock), limit_(limit), window_(window) {}

bool LoginThrottle::isOpen(const Window& window) const {
    return clock_.now() < window.start.addMSecs(window_.count());
}

bool LoginThrottle::isBlocked(const QString& key) const {
    const auto it = windows_.find(key);
    return it != windows_.end() && isOpen(it->second) && it->second.failures >= limit_;
}

void LoginThrottle::recordFailure(const QString& key) {
    prune();
    auto& window = windows_[key];
    if (window.failures == 0 || !isOpen(window))
        window = Window{clock_.now(), 0};
    ++window.failures;
}

void LoginThrottle::reset(const QString& key) {
    windows_.erase(key);
}

// Closed windows carry no information; dropping them keeps the map as small as the recent
// failures, whatever an attacker sends.
void LoginThrottle::prune() {
    std::erase_if(windows_, [this](const auto& entry) { return !isOpen(entry.second); });
}

} // namespace brevio
