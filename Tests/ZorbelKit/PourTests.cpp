#include "ZorbelKit/Pour.hpp"

#include <gtest/gtest.h>

#include <cmath>

namespace Pour = ZorbelKit::Pour;
using ZorbelKit::Point;
using ZorbelKit::Seconds;

TEST(Pour, HasFourDurations) {
    EXPECT_EQ(Pour::sip, Seconds{0.12});
    EXPECT_EQ(Pour::pour, Seconds{0.24});
    EXPECT_EQ(Pour::steep, Seconds{0.4});
    EXPECT_EQ(Pour::boil, Seconds{0.8});
}

TEST(Pour, SettlingEasesOutOverTheGivenDuration) {
    const Pour::Curve curve = Pour::settle(Pour::pour);
    EXPECT_EQ(curve.first, (Point{0.22, 0.85}));
    EXPECT_EQ(curve.second, (Point{0.3, 1.0}));
    EXPECT_EQ(curve.duration, Pour::pour);
    EXPECT_NE(curve, Pour::settle(Pour::sip));
}

TEST(Pour, ACurveStartsAtZeroEndsAtOneAndStaysThere) {
    for (const auto& curve : {Pour::settle(Pour::boil), Pour::stream(Pour::boil)}) {
        EXPECT_EQ(curve.progress(Seconds{-1}), 0);
        EXPECT_EQ(curve.progress(Seconds{0}), 0);
        EXPECT_LT(curve.progress(Pour::boil - Seconds{0.001}), 1);
        EXPECT_NEAR(curve.progress(Pour::boil - Seconds{0.001}), 1, 0.01);
        EXPECT_EQ(curve.progress(Pour::boil), 1);
        EXPECT_EQ(curve.progress(Seconds{60}), 1);
    }
}

TEST(Pour, ACurveWithoutDurationIsOverAtOnce) {
    EXPECT_EQ(Pour::settle(Seconds{0}).progress(Seconds{0}), 1);
}

TEST(Pour, SettlingFollowsItsCubic) {
    const Pour::Curve curve = Pour::settle(Seconds{1});
    const auto cubic = [](double first, double second, double t) {
        return 3 * (1 - t) * (1 - t) * t * first + 3 * (1 - t) * t * t * second + t * t * t;
    };
    for (double t = 0.01; t < 1; t += 0.01) { // the curve's own parameter: x is the time, y the progress
        const double x = cubic(0.22, 0.3, t);
        EXPECT_NEAR(curve.progress(Seconds{x}), cubic(0.85, 1.0, t), 1e-9) << t;
    }
}

TEST(Pour, SettlingOnlyGoesForwardsAndIsEarlierThanLinear) {
    const Pour::Curve curve = Pour::settle(Seconds{1});
    double before = 0;
    for (double x = 0.01; x < 0.99; x += 0.01) {
        const double progress = curve.progress(Seconds{x});
        EXPECT_GT(progress, before) << x;
        EXPECT_GT(progress, x);
        before = progress;
    }
}

TEST(Pour, StreamingIsLinear) {
    const Pour::Curve curve = Pour::stream(Seconds{2});
    EXPECT_EQ(curve.duration, Seconds{2});
    for (double share = 0; share <= 1; share += 0.05) {
        EXPECT_NEAR(curve.progress(Seconds{2 * share}), share, 1e-9);
    }
}
