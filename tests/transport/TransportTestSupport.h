#pragma once

#include "support/EventLoopWait.h"
#include "support/Outcome.h"

#include <QCoreApplication>

namespace brevio::test {

// Delivers everything already posted to this thread, without waiting for more.
inline void drainPosted() {
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
}

} // namespace brevio::test
