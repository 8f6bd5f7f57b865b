#pragma once

#include "model/Clock.h"

#include <map>

namespace brevio {

// Virtual time for tests and benchmarks. Time stands still until advance() moves it; timers fire in
// order of their due time (ties in scheduling order), each with now() set to its due time.
// Single-threaded: schedule, advance and handle destruction must happen on one thread.
class ManualClock final : public Clock {
public:
    explicit ManualClock(QDateTime start = QDateTime(QDate(2025, 3, 14), QTime(9, 0), Qt::UTC));
    ~ManualClock() override;

    QDateTime now() const override { return now_; }
    [[nodiscard]] TimerHandle schedule(Duration delay, std::function<void()> callback) override;

    // Moves time forward by `step`, firing every timer that falls due on the way, including timers
    // scheduled by callbacks while advancing.
    void advance(Duration step);
    void advanceTo(const QDateTime& target);
    // Fires the timers due right now without moving time.
    void runDue() { advance(Duration::zero()); }

    // Number of timers scheduled and not yet fired or cancelled.
    int pendingTimers() const { return static_cast<int>(entries_.size()); }
    // Due time of the earliest pending timer; invalid when there is none.
    QDateTime nextDue() const;

private:
    friend class ManualTimer;
    struct Key {
        qint64 due;
        quint64 order;
        auto operator<=>(const Key&) const = default;
    };
    struct Entry;
    void cancel(const Key& key);

    QDateTime now_;
    quint64 nextOrder_ = 0;
    std::map<Key, std::shared_ptr<Entry>> entries_;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

} // namespace brevio
