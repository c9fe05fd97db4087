#include "Platforms/Qt/QtMainLoop.hpp"

#include <QTest>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace {

using QtPlatform::QtClock;
using QtPlatform::QtMainLoop;
using ZorbelKit::Priority;
using ZorbelKit::Seconds;
using ZorbelKit::Token;

constexpr Seconds soon{0.002};

TEST(QtMainLoop, TicksUntilItsTokenGoes) {
    QtMainLoop loop;
    int ticks = 0;
    Token timer = loop.every(soon, [&] { ++ticks; });
    EXPECT_TRUE(QTest::qWaitFor([&] { return ticks >= 3; }));
    timer.reset();
    const int stopped = ticks;
    int later = 0;
    const Token marker = loop.after(soon * 10, [&] { ++later; });
    EXPECT_TRUE(QTest::qWaitFor([&] { return later == 1; }));
    EXPECT_EQ(ticks, stopped);
}

TEST(QtMainLoop, ATickMayDropItsOwnToken) {
    QtMainLoop loop;
    int ticks = 0;
    Token timer;
    timer = loop.every(soon, [&] {
        timer.reset();
        ++ticks;
    });
    int later = 0;
    const Token marker = loop.after(soon * 10, [&] { ++later; });
    EXPECT_TRUE(QTest::qWaitFor([&] { return later == 1; }));
    EXPECT_EQ(ticks, 1);
}

TEST(QtMainLoop, ADelayedTaskRunsOnceAndItsTokenStaysTrue) {
    QtMainLoop loop;
    int runs = 0;
    const Token task = loop.after(soon, [&] { ++runs; });
    EXPECT_TRUE(QTest::qWaitFor([&] { return runs == 1; }));
    EXPECT_TRUE(static_cast<bool>(task));
}

TEST(QtMainLoop, AStoppedDelayedTaskNeverRuns) {
    QtMainLoop loop;
    int runs = 0;
    {
        const Token task = loop.after(soon, [&] { ++runs; });
    }
    int later = 0;
    const Token marker = loop.after(soon * 10, [&] { ++later; });
    EXPECT_TRUE(QTest::qWaitFor([&] { return later == 1; }));
    EXPECT_EQ(runs, 0);
}

TEST(QtMainLoop, PostedTasksRunInOrderOnTheMainThread) {
    QtMainLoop loop;
    std::vector<int> order;
    std::thread other([&] {
        EXPECT_FALSE(loop.isMainThread());
        for (int number = 0; number < 100; ++number) {
            loop.post([&, number] {
                EXPECT_TRUE(loop.isMainThread());
                order.push_back(number);
            });
        }
    });
    other.join();
    EXPECT_TRUE(QTest::qWaitFor([&] { return order.size() == 100; }));
    EXPECT_TRUE(std::ranges::is_sorted(order));
}

TEST(QtMainLoop, BackgroundWorkLeavesTheMainThreadFree) {
    std::atomic<bool> isOver = false;
    int answers = 0;
    {
        QtMainLoop loop;
        loop.background(Priority::utility, [&] {
            EXPECT_FALSE(loop.isMainThread());
            loop.post([&] { ++answers; });
            isOver = true;
        });
        EXPECT_TRUE(QTest::qWaitFor([&] { return answers == 1; }));
    }
    EXPECT_TRUE(isOver) << "the loop waits for work under way when it ends";
}

TEST(QtClock, MidnightIsAtOrBeforeTheMomentAndItsOwnMidnight) {
    const QtClock clock;
    const auto now = clock.now();
    const auto midnight = clock.startOfDay(now);
    EXPECT_LE(midnight, now);
    EXPECT_LT(now - midnight, std::chrono::hours(26)) << "a day of 25 hours, when the clocks go back";
    EXPECT_EQ(clock.startOfDay(midnight), midnight);
    EXPECT_LT(clock.startOfDay(midnight - std::chrono::nanoseconds(1)), midnight);
}

} // namespace
