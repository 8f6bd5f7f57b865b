#pragma once

#include "model/Clock.h"

#include <chrono>

namespace brevio {

// How long after it was sent a message may still be edited or deleted. The client offers the
// change strictly before the limit; the server refuses with "too_late" strictly after it, so a
// change made at the limit itself, which the client never offers, is still taken.
inline constexpr Duration messageChangeWindow = std::chrono::hours(24);

// The longest message text, in characters (UTF-16 code units, as the server counts them).
inline constexpr int maximumMessageLength = 4000;

} // namespace brevio
