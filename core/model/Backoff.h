#pragma once

namespace brevio {

// Reconnection delay: base × 2^(attempt−1), capped at maximum, then spread by ±jitter.
struct Backoff {
    double base = 1.0;     // seconds
    double maximum = 30.0; // seconds
    double jitter = 0.2;   // fraction

    // Delay in seconds for attempt n (counted from 1), with a fresh random unit.
    double delay(long long attempt) const;
    // The same formula with the random unit u in [0, 1) given.
    double delay(long long attempt, double unit) const;

    friend bool operator==(const Backoff&, const Backoff&) = default;
};

} // namespace brevio
