#include "Pintho/SeatGeometry.hpp"
#include "ZorbelKit/Host/Screens.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <random>
#include <set>
#include <string>
#include <vector>

using namespace Pintho;
using ZorbelKit::Rect;
using ZorbelKit::Screen;

namespace Pintho {

void PrintTo(const WindowRect& rect, std::ostream* stream) {
    *stream << rect.x << ", " << rect.y << ", " << rect.width << " x " << rect.height;
}

} // namespace Pintho

namespace {

const Rect laptop{0, 0, 1440, 875}; // less a menu bar of 25 points
constexpr double laptopTop = 900;

Screen screenOf(const Rect& frame) {
    Screen screen;
    screen.frame = frame;
    screen.visibleFrame = frame;
    return screen;
}

/// Rectangles of every size and place, the same in every run.
class Rects {
public:
    Rect next() { return {place_(generator_), place_(generator_), size_(generator_), size_(generator_)}; }
    double place() { return place_(generator_); }

private:
    std::mt19937 generator_{7};
    std::uniform_real_distribution<double> place_{-5000, 5000};
    std::uniform_real_distribution<double> size_{0, 4000};
};

} // namespace

TEST(Seat, KnowsItsNamesInTheOrderOfTheButtons) {
    const struct {
        Seat seat;
        const char* rawValue;
        const char* title;
        SeatShare share;
    } rows[] = {
        {Seat::left, "left", "Left half", {0, 0, 0.5, 1}},
        {Seat::right, "right", "Right half", {0.5, 0, 0.5, 1}},
        {Seat::top, "top", "Top half", {0, 0, 1, 0.5}},
        {Seat::bottom, "bottom", "Bottom half", {0, 0.5, 1, 0.5}},
        {Seat::topLeft, "topLeft", "Top left", {0, 0, 0.5, 0.5}},
        {Seat::topRight, "topRight", "Top right", {0.5, 0, 0.5, 0.5}},
        {Seat::bottomLeft, "bottomLeft", "Bottom left", {0, 0.5, 0.5, 0.5}},
        {Seat::bottomRight, "bottomRight", "Bottom right", {0.5, 0.5, 0.5, 0.5}},
        {Seat::centre, "centre", "Centre", {0.15, 0.1, 0.7, 0.8}},
        {Seat::full, "full", "Fill", {0, 0, 1, 1}},
    };
    ASSERT_EQ(allSeats.size(), std::size(rows));
    for (std::size_t index = 0; index < std::size(rows); ++index) {
        SCOPED_TRACE(rows[index].rawValue);
        EXPECT_EQ(allSeats[index], rows[index].seat);
        EXPECT_EQ(rawValue(rows[index].seat), rows[index].rawValue);
        EXPECT_EQ(title(rows[index].seat), rows[index].title);
        EXPECT_EQ(share(rows[index].seat), rows[index].share);
    }
}

TEST(SeatGeometry, PlacesWindowsOnALaptop) {
    const struct {
        Seat seat;
        WindowRect rect;
    } rows[] = {
        {Seat::left, {0, 25, 720, 875}},        {Seat::right, {720, 25, 720, 875}},
        {Seat::top, {0, 25, 1440, 438}},        {Seat::bottom, {0, 462, 1440, 438}},
        {Seat::topLeft, {0, 25, 720, 438}},     {Seat::topRight, {720, 25, 720, 438}},
        {Seat::bottomLeft, {0, 462, 720, 438}}, {Seat::bottomRight, {720, 462, 720, 438}},
        {Seat::centre, {216, 112, 1008, 701}},  {Seat::full, {0, 25, 1440, 875}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(rawValue(row.seat)));
        EXPECT_EQ(seatRect(row.seat, laptop, laptopTop), row.rect);
    }
}

TEST(SeatGeometry, HalvesOfAnOddWidthAreRoundedOutward) {
    const Rect odd{0, 0, 1365, 768};
    EXPECT_EQ(seatRect(Seat::left, odd, 768), (WindowRect{0, 0, 683, 768}));
    EXPECT_EQ(seatRect(Seat::right, odd, 768), (WindowRect{682, 0, 683, 768}));
}

TEST(SeatGeometry, ScreensLieWhereTheyLie) {
    const struct {
        const char* name;
        Rect visible;
        WindowRect full;
    } rows[] = {
        {"above the primary one: negative y", {0, 900, 1920, 1055}, {0, -1055, 1920, 1055}},
        {"below it", {0, -1080, 1920, 1080}, {0, 900, 1920, 1080}},
        {"left of it: negative x", {-1280, 100, 1280, 700}, {-1280, 100, 1280, 700}},
        {"right of it, higher", {1440, 300, 2560, 1415}, {1440, -815, 2560, 1415}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(seatRect(Seat::full, row.visible, laptopTop), row.full);
    }
}

TEST(SeatGeometry, TurningOverAndBackChangesNothing) {
    Rects rects;
    for (int count = 0; count < 2'000; ++count) {
        const Rect rect = rects.next();
        const double top = rects.place();
        const WindowRect turned = windowRect(rect, top);
        EXPECT_EQ(turned.x, rect.x);
        EXPECT_EQ(turned.width, rect.width);
        EXPECT_EQ(turned.height, rect.height);
        const Rect back = screenRect(turned, top);
        EXPECT_NEAR(back.y, rect.y, 1e-9);
        EXPECT_EQ(back.x, rect.x);
        const auto corner = screenPoint({turned.x, turned.y}, top);
        EXPECT_NEAR(corner.y, rect.maxY(), 1e-9) << "a window's upper left corner is a screen's";
    }
}

TEST(SeatGeometry, RoundingOutwardHoldsAllAndHardlyMore) {
    Rects rects;
    for (int count = 0; count < 2'000; ++count) {
        const Rect random = rects.next();
        const WindowRect rect{random.x, random.y, random.width, random.height};
        const WindowRect whole = roundedOutward(rect);
        for (const double edge : {whole.x, whole.y, whole.width, whole.height}) {
            EXPECT_EQ(edge, static_cast<double>(static_cast<std::int64_t>(edge)));
        }
        EXPECT_LE(whole.x, rect.x);
        EXPECT_LE(whole.y, rect.y);
        EXPECT_GE(whole.x + whole.width, rect.x + rect.width);
        EXPECT_GE(whole.y + whole.height, rect.y + rect.height);
        EXPECT_LT(whole.width, rect.width + 2);
        EXPECT_LT(whole.height, rect.height + 2);
        EXPECT_EQ(roundedOutward(whole), whole);
    }
}

TEST(SeatGeometry, EverySeatOfEveryScreenLiesWithinIt) {
    Rects rects;
    for (int count = 0; count < 500; ++count) {
        const Rect visible = rects.next();
        const double top = rects.place();
        const WindowRect all = roundedOutward(windowRect(visible, top));
        for (const Seat seat : allSeats) {
            const WindowRect rect = seatRect(seat, visible, top);
            EXPECT_GE(rect.x, all.x);
            EXPECT_GE(rect.y, all.y);
            EXPECT_LE(rect.x + rect.width, all.x + all.width);
            EXPECT_LE(rect.y + rect.height, all.y + all.height);
        }
        EXPECT_EQ(seatRect(Seat::full, visible, top), all);
    }
}

TEST(SeatGeometry, TheUpperLeftCornerDecidesTheScreen) {
    const std::vector<Screen> screens{screenOf({0, 0, 1440, 900}), screenOf({1440, 0, 1920, 1080}),
                                      screenOf({0, 900, 1440, 900}), screenOf({-800, 300, 800, 600})};
    const struct {
        const char* name;
        WindowPoint corner;
        std::optional<std::size_t> screen;
    } rows[] = {
        {"inside the primary one", {100, 100}, 0},
        {"its lowest row", {0, 900}, 0},
        {"just below it", {0, 900.5}, std::nullopt},
        {"its upper edge belongs to the screen above", {10, 0}, 2},
        {"just inside its upper edge", {10, 0.5}, 0},
        {"its right edge belongs to the neighbour", {1440, 100}, 1},
        {"the last point before it", {1439.5, 100}, 0},
        {"the neighbour's upper edge belongs to nobody", {2000, -180}, std::nullopt},
        {"just inside that", {2000, -179.5}, 1},
        {"above the primary one", {10, -10}, 2},
        {"left of it", {-1, 100}, 3},
        {"further left", {-800, 100}, 3},
        {"off every screen", {-801, 100}, std::nullopt},
        {"far away", {1e9, -1e9}, std::nullopt},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(screenAt(row.corner, screens), row.screen);
    }
    EXPECT_EQ(screenAt({0, 0}, {}), std::nullopt);
}

TEST(SeatGeometry, OfScreensThatShowTheSameTheFirstHoldsTheWindow) {
    const std::vector<Screen> screens{screenOf({0, 0, 800, 600}), screenOf({0, 0, 1920, 1080})};
    EXPECT_EQ(screenAt({10, 10}, screens), 0U);
    EXPECT_EQ(screenAt({900, 10}, screens), 1U);
}
