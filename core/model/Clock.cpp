#include "model/Clock.h"

#include <QTimer>

namespace brevio {

namespace {

class QtTimer final : public Timer {
public:
    QtTimer(Duration delay, std::function<void()> callback) : callback_(std::move(callback)) {
        timer_.setSingleShot(true);
        timer_.setTimerType(Qt::PreciseTimer);
        QObject::connect(&timer_, &QTimer::timeout, [this] {
            // Move the callback out first: it may destroy this handle.
            auto callback = std::move(callback_);
            callback_ = nullptr;
            if (callback)
                callback();
        });
        timer_.start(std::max<qint64>(0, delay.count()));
    }

private:
    QTimer timer_;
    std::function<void()> callback_;
};

} // namespace

QDateTime RealClock::now() const {
    return QDateTime::currentDateTimeUtc();
}

TimerHandle RealClock::schedule(Duration delay, std::function<void()> callback) {
    return std::make_unique<QtTimer>(delay, std::move(callback));
}

} // namespace brevio
