#include "model/ManualClock.h"

namespace brevio {

struct ManualClock::Entry {
    std::function<void()> callback;
};

class ManualTimer final : public Timer {
public:
    ManualTimer(ManualClock* clock, ManualClock::Key key, std::weak_ptr<bool> alive)
        : clock_(clock), key_(key), alive_(std::move(alive)) {}
    ~ManualTimer() override {
        // The clock may be gone already (handles often outlive it at the end of a test).
        if (alive_.lock())
            clock_->cancel(key_);
    }

private:
    ManualClock* clock_;
    ManualClock::Key key_;
    std::weak_ptr<bool> alive_;
};

ManualClock::ManualClock(QDateTime start) : now_(start.toUTC()) {}

ManualClock::~ManualClock() {
    *alive_ = false;
}

TimerHandle ManualClock::schedule(Duration delay, std::function<void()> callback) {
    const qint64 due = now_.toMSecsSinceEpoch() + std::max<qint64>(0, delay.count());
    const Key key{due, nextOrder_++};
    entries_.emplace(key, std::make_shared<Entry>(Entry{std::move(callback)}));
    return std::make_unique<ManualTimer>(this, key, alive_);
}

void ManualClock::cancel(const Key& key) {
    entries_.erase(key);
}

void ManualClock::advance(Duration step) {
    advanceTo(now_.addMSecs(std::max<qint64>(0, step.count())));
}

void ManualClock::advanceTo(const QDateTime& target) {
    const qint64 end = target.toMSecsSinceEpoch();
    while (!entries_.empty() && entries_.begin()->first.due <= end) {
        auto it = entries_.begin();
        const qint64 due = it->first.due;
        std::shared_ptr<Entry> entry = std::move(it->second);
        entries_.erase(it);
        if (due > now_.toMSecsSinceEpoch())
            now_ = QDateTime::fromMSecsSinceEpoch(due, Qt::UTC);
        if (entry->callback)
            entry->callback();
    }
    if (end > now_.toMSecsSinceEpoch())
        now_ = QDateTime::fromMSecsSinceEpoch(end, Qt::UTC);
}

QDateTime ManualClock::nextDue() const {
    if (entries_.empty())
        return {};
    return QDateTime::fromMSecsSinceEpoch(entries_.begin()->first.due, Qt::UTC);
}

} // namespace brevio
