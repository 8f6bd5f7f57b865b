#pragma once

// Driving the event loop and a ManualClock together, for tests in virtual time.

#include "model/ManualClock.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QDateTime>

namespace brevio::test {

// Runs everything posted to this thread (completions, queued calls), including what that posts.
inline void pump() {
    // Until the loop finds nothing more to do: a completion may post the next one.
    QAbstractEventDispatcher* dispatcher = QAbstractEventDispatcher::instance();
    for (int i = 0; i < 1000000; ++i) {
        QCoreApplication::sendPostedEvents();
        if (!dispatcher->processEvents(QEventLoop::AllEvents))
            break;
    }
}

// Moves `clock` to `target`, firing its timers in due order and pumping after each, so that what
// a timer posts runs before the next one fires.
inline void advanceClockTo(ManualClock& clock, QDateTime target) {
    pump();
    for (QDateTime next = clock.nextDue(); next.isValid() && next <= target;
         next = clock.nextDue()) {
        clock.advanceTo(next);
        pump();
    }
    clock.advanceTo(target);
    pump();
}

} // namespace brevio::test
