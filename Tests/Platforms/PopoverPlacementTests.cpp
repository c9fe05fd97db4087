#include "Platforms/Qt/PopoverPlacement.hpp"

#include <gtest/gtest.h>

#include <random>

namespace {

using QtPlatform::placePopover;
using ZorbelKit::Rect;
using ZorbelKit::Size;

constexpr double margin = 4;
constexpr double beakInset = 22;
constexpr Size size{330, 431};

TEST(PopoverPlacement, HangsUnderItsAnchorAndStaysOnTheScreen) {
    struct Row {
        const char* name;
        Rect anchor; // y downwards
        Rect screen;
        double x, y, beakX;
        bool isBelow;
    };
    const Rect screen{0, 0, 1280, 800};
    const Row rows[] = {
        {"middle", {600, 0, 28, 28}, screen, 449, 28, 165, true},
        {"right corner", {1242, 0, 28, 28}, screen, 946, 28, 308, true},
        {"left corner", {0, 0, 28, 28}, screen, 4, 28, 22, true},
        {"bottom bar", {1242, 772, 28, 28}, screen, 946, 341, 308, false},
        {"bottom left", {0, 772, 28, 28}, screen, 4, 341, 22, false},
        {"second monitor", {1900, 0, 28, 28}, {1280, 0, 1280, 800}, 1749, 28, 165, true},
        {"monitor left of the main one", {-200, 50, 28, 28}, {-1280, 50, 1280, 800}, -351, 78, 165, true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const auto place = placePopover(row.anchor, size, row.screen, margin, beakInset);
        EXPECT_DOUBLE_EQ(place.x, row.x);
        EXPECT_DOUBLE_EQ(place.y, row.y);
        EXPECT_DOUBLE_EQ(place.beakX, row.beakX);
        EXPECT_EQ(place.isBelow, row.isBelow);
    }
}

TEST(PopoverPlacement, IsWholeOnEveryScreenThatCanHoldIt) {
    std::mt19937 random(11);
    const auto number = [&](int low, int high) {
        return static_cast<double>(std::uniform_int_distribution<int>(low, high)(random));
    };
    for (int round = 0; round < 5000; ++round) {
        const Rect screen{number(-2000, 2000), number(-2000, 2000), number(340, 4000), number(440, 3000)};
        const Rect anchor{screen.x + number(-50, 4000), screen.y + number(-50, 3000), number(0, 400),
                          number(0, 60)};
        const auto place = placePopover(anchor, size, screen, margin, beakInset);
        EXPECT_GE(place.x, screen.x);
        EXPECT_GE(place.y, screen.y);
        EXPECT_LE(place.x + size.width, screen.x + screen.width);
        EXPECT_LE(place.y + size.height, screen.y + screen.height);
        EXPECT_GE(place.beakX, beakInset);
        EXPECT_LE(place.beakX, size.width - beakInset);
    }
}

TEST(PopoverPlacement, TooLargeForItsScreenShowsItsTopLeftCorner) {
    const auto place = placePopover({100, 0, 28, 28}, size, {0, 0, 200, 200}, margin, beakInset);
    EXPECT_DOUBLE_EQ(place.x, margin);
    EXPECT_DOUBLE_EQ(place.y, 0);
}

} // namespace
