#include "Hushel/HushelTexts.hpp"
#include "Hushel/Session.hpp"

#include <gtest/gtest.h>

#include <limits>

namespace {

using namespace Hushel;
using ZorbelKit::Seconds;

TEST(HushelTexts, TheClockCountsMinutesAndSeconds) {
    const struct {
        double remaining;
        const char* text;
    } rows[] = {
        {0, "0:00"},
        {0.999, "0:00"},
        {1, "0:01"},
        {9.5, "0:09"},
        {59, "0:59"},
        {59.999, "0:59"},
        {60, "1:00"},
        {61, "1:01"},
        {25 * 60, "25:00"},
        {25 * 60 - 0.001, "24:59"},
        {90 * 60, "90:00"},
        {600 * 60, "600:00"},
        {-0.5, "0:00"},
        {-3600, "0:00"},
        {-std::numeric_limits<double>::infinity(), "0:00"},
        {60.0 * 153'722'867'280'912.0, "16666666666666:40"},
        {std::numeric_limits<double>::infinity(), "16666666666666:40"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.remaining);
        EXPECT_EQ(clockText(Seconds(row.remaining)), row.text);
    }
}

TEST(HushelTexts, AClockHasEachSecondForASecond) {
    const struct {
        double remaining;
        double shown;
        double next;
    } rows[] = {
        {1500, 1500, 1}, {1499.75, 1500, 0.75}, {1499.25, 1500, 0.25}, {1499, 1499, 1}, {0.5, 1, 0.5},
        {0, 0, 1},       {3600.5, 3601, 0.5},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.remaining);
        EXPECT_EQ(atLastSecond(Seconds(row.remaining)).count(), row.shown);
        EXPECT_EQ(untilNextSecond(Seconds(row.remaining)).count(), row.next);
    }
    for (double remaining = 0; remaining < 120; remaining += 0.01) {
        const double next = untilNextSecond(Seconds(remaining)).count();
        EXPECT_GT(next, 0);
        EXPECT_LE(next, 1);
    }
}

TEST(HushelTexts, WhatTheViewsSay) {
    EXPECT_EQ(startText(25), "Start 25m session");
    EXPECT_EQ(startText(0), "Start 0m session");
    EXPECT_EQ(startText(-3), "Start -3m session");
    EXPECT_EQ(endText("10:25 AM"), "Ends at 10:25 AM");
    EXPECT_EQ(presetMinutes, (std::array<std::int64_t, 5>{15, 25, 45, 60, 90}));
}

TEST(HushelTexts, InterruptionsAreToldFromTheFirstOn) {
    const struct {
        std::int64_t count;
        const char* text;
    } rows[] = {
        {-1, ""},
        {0, ""},
        {1, "1 time you reached for something"},
        {2, "2 times you reached for something"},
        {3, "3 times you reached for something"},
        {11, "11 times you reached for something"},
        {1000, "1000 times you reached for something"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(interruptionText(row.count), row.text);
    }
}

TEST(HushelTexts, ANameIsOneLineOfBoundedLength) {
    const struct {
        Blocked application;
        std::string text;
    } rows[] = {
        {{"org.example.Chat", "Chat"}, "Chat"},
        {{"a", "  Two \n lines\t"}, "Two lines"},
        {{"a", "bell\a"}, "bell"},
        {{"org.example.Nameless", ""}, "org.example.Nameless"},
        {{"org.example.Nameless", " \n "}, "org.example.Nameless"},
        {{"", ""}, ""},
        {{"a", std::string(100'000, 'n')}, std::string(512, 'n')},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(nameText(row.application), row.text);
    }
}

TEST(HushelTexts, WhatCannotBeHiddenIsNamedLineByLine) {
    EXPECT_EQ(outOfReachText({}), "");
    EXPECT_EQ(outOfReachText({"Notes"}), "Notes cannot be hidden here.");
    EXPECT_EQ(outOfReachText({"Notes", "Big\nClock"}),
              "Notes cannot be hidden here.\nBig Clock cannot be hidden here.");
    EXPECT_EQ(outOfReachText({"A", "B", "C", "D"}),
              "A cannot be hidden here.\nB cannot be hidden here.\nC cannot be hidden here.");
}

} // namespace
