#pragma once

#include <QDateTime>
#include <chrono>
#include <functional>
#include <memory>

namespace brevio {

using Duration = std::chrono::milliseconds;

// A scheduled callback. Destroying the handle cancels it; a timer that already fired is inert.
class Timer {
public:
    virtual ~Timer() = default;
    Timer() = default;
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;
};

using TimerHandle = std::unique_ptr<Timer>;

// The one source of "now" and of delayed work in the core. Production code uses RealClock; tests
// use ManualClock and advance virtual time, so nothing ever sleeps to wait for a timer.
class Clock {
public:
    virtual ~Clock() = default;

    // The current moment, in UTC.
    virtual QDateTime now() const = 0;

    // Runs `callback` once, `delay` from now, on the thread that called schedule(). A negative
    // delay counts as zero. The callback never runs synchronously inside schedule().
    [[nodiscard]] virtual TimerHandle schedule(Duration delay, std::function<void()> callback) = 0;
};

// Wall-clock time and QTimer-based timers on the calling thread's event loop.
class RealClock final : public Clock {
public:
    QDateTime now() const override;
    [[nodiscard]] TimerHandle schedule(Duration delay, std::function<void()> callback) override;
};

} // namespace brevio
