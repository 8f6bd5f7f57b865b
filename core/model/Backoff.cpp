#include "model/Backoff.h"

#include "model/SystemRandom.h"

#include <algorithm>
#include <cmath>

namespace brevio {

namespace {

// Past 30 doublings every sensible maximum has long been reached; clamping the exponent first
// keeps huge attempt numbers from overflowing.
constexpr long long maximumExponent = 30;

} // namespace

double Backoff::delay(long long attempt, double unit) const {
    // Compare before subtracting: attempt − 1 would overflow for the smallest value.
    const long long exponent = attempt <= 0 ? 0 : std::min(attempt - 1, maximumExponent);
    const double growth = std::ldexp(1.0, static_cast<int>(exponent));
    const double capped = std::min(base * growth, maximum);
    // The jitter comes after the cap on purpose: a delay may pass `maximum` by up to
    // jitter × maximum, which keeps clients that hit the cap from reconnecting in lock-step.
    const double delay = capped * (1.0 + jitter * (2.0 * unit - 1.0));
    // Written so that a NaN (from NaN parameters) also ends up as zero.
    return delay > 0.0 ? delay : 0.0;
}

double Backoff::delay(long long attempt) const {
    return delay(attempt, SystemRandom::unit());
}

} // namespace brevio
