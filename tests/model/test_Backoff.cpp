#include "model/Backoff.h"

#include <climits>
#include <cmath>
#include <gtest/gtest.h>

using namespace brevio;

namespace {

// The largest unit a draw can produce.
constexpr double almostOne = 1.0 - 0x1.0p-53;

TEST(Backoff, DoublesFromBaseUntilTheMaximum) {
    const Backoff backoff{.base = 1.5, .maximum = 20.0, .jitter = 0.0};
    const double expected[] = {1.5, 3.0, 6.0, 12.0, 20.0, 20.0};
    for (int attempt = 1; attempt <= 6; ++attempt)
        EXPECT_DOUBLE_EQ(backoff.delay(attempt, 0.37), expected[attempt - 1]) << attempt;
}

TEST(Backoff, AttemptsOutsideTheUsualRangeStayFiniteAndNonNegative) {
    const Backoff backoff{.base = 2.0, .maximum = 1e12, .jitter = 0.0};
    EXPECT_EQ(backoff.delay(0, 0.5), 2.0);
    EXPECT_EQ(backoff.delay(-5, 0.5), 2.0);
    EXPECT_EQ(backoff.delay(LLONG_MIN, 0.5), 2.0);
    // The exponent stops at 30, so even the largest attempt number gives base × 2^30.
    EXPECT_EQ(backoff.delay(31, 0.5), 2.0 * 0x1.0p30);
    EXPECT_EQ(backoff.delay(32, 0.5), 2.0 * 0x1.0p30);
    EXPECT_EQ(backoff.delay(LLONG_MAX, 0.5), 2.0 * 0x1.0p30);

    // Never negative, not even with a jitter above one or a broken base.
    const Backoff wide{.base = 1.0, .maximum = 30.0, .jitter = 1.5};
    EXPECT_EQ(wide.delay(1, 0.0), 0.0);
    EXPECT_GT(wide.delay(1, 0.5), 0.0);
    const Backoff broken{.base = NAN, .maximum = 30.0, .jitter = 0.2};
    EXPECT_EQ(broken.delay(1, 0.5), 0.0);
}

TEST(Backoff, JitterSpreadsTheCappedValueSymmetrically) {
    const Backoff backoff{.base = 1.0, .maximum = 30.0, .jitter = 0.2};
    EXPECT_DOUBLE_EQ(backoff.delay(3, 0.0), 4.0 * 0.8);
    EXPECT_DOUBLE_EQ(backoff.delay(3, 0.5), 4.0);
    EXPECT_NEAR(backoff.delay(3, almostOne), 4.0 * 1.2, 1e-12);
    // After the cap, not before: a capped delay can pass the maximum by up to jitter × maximum.
    EXPECT_DOUBLE_EQ(backoff.delay(10, 0.0), 24.0);
    EXPECT_DOUBLE_EQ(backoff.delay(10, 0.75), 33.0);
}

} // namespace
