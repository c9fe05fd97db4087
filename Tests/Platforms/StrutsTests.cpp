#include "Pintho/SeatGeometry.hpp"
#include "Platforms/Linux/Windows/Monitors.hpp"
#include "Platforms/Linux/Windows/Struts.hpp"
#include "Platforms/Linux/Windows/WindowShape.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <vector>

using namespace Linux;

namespace {

constexpr std::uint32_t huge = std::numeric_limits<std::uint32_t>::max();

// Two monitors side by side, the second one lower than the first and shorter.
constexpr PixelRect screen{0, 0, 2560, 1024};
constexpr PixelRect first{0, 0, 1280, 1024};
constexpr PixelRect second{1280, 100, 1280, 720};

constexpr Strut left(std::uint32_t thickness, std::uint32_t begin, std::uint32_t end) {
    return {thickness, 0, 0, 0, begin, end, 0, 0, 0, 0, 0, 0};
}
constexpr Strut right(std::uint32_t thickness, std::uint32_t begin, std::uint32_t end) {
    return {0, thickness, 0, 0, 0, 0, begin, end, 0, 0, 0, 0};
}
constexpr Strut top(std::uint32_t thickness, std::uint32_t begin, std::uint32_t end) {
    return {0, 0, thickness, 0, 0, 0, 0, 0, begin, end, 0, 0};
}
constexpr Strut bottom(std::uint32_t thickness, std::uint32_t begin, std::uint32_t end) {
    return {0, 0, 0, thickness, 0, 0, 0, 0, 0, 0, begin, end};
}

SizeHints hints(std::vector<std::uint32_t> numbers) {
    return sizeHints(numbers);
}

} // namespace

TEST(Struts, APanelTakesItsRoomFromItsOwnMonitor) {
    const struct {
        const char* name;
        std::vector<Strut> struts;
        PixelRect first;
        PixelRect second;
    } rows[] = {
        {"none", {}, first, second},
        {"a bar along the first", {top(28, 0, 1279)}, {0, 28, 1280, 996}, second},
        {"a bar along the second, which begins lower", {top(128, 1280, 2559)}, first, {1280, 128, 1280, 692}},
        {"a bar along both", {top(128, 0, 2559)}, {0, 128, 1280, 896}, {1280, 128, 1280, 692}},
        {"the last pixel of a range counts",
         {top(128, 0, 1280)},
         {0, 128, 1280, 896},
         {1280, 128, 1280, 692}},
        {"the pixel after it does not", {top(128, 1280, 1280)}, first, {1280, 128, 1280, 692}},
        {"along the lower edge of the first", {bottom(40, 0, 1279)}, {0, 0, 1280, 984}, second},
        {"along the lower edge of the second, above a gap",
         {bottom(234, 1280, 2559)},
         first,
         {1280, 100, 1280, 690}},
        {"lost in that gap", {bottom(204, 1280, 2559)}, first, second},
        {"left", {left(60, 0, 1023)}, {60, 0, 1220, 1024}, second},
        {"right", {right(60, 100, 819)}, first, {1280, 100, 1220, 720}},
        {"beside the monitor", {right(60, 820, 1023)}, first, second},
        {"P10, on the inner edge of the second", {left(1302, 100, 819)}, first, {1302, 100, 1258, 720}},
        {"on the inner edge of the first", {right(1302, 0, 1023)}, {0, 0, 1258, 1024}, second},
        {"just less than half", {left(639, 0, 1023)}, {639, 0, 641, 1024}, second},
        {"half a monitor is no panel", {left(640, 0, 1023)}, first, second},
        {"two on one edge overlap", {top(28, 0, 639), top(40, 640, 1279)}, {0, 40, 1280, 984}, second},
        {"two on opposite edges add up",
         {left(600, 0, 1023), right(1880, 0, 1023)},
         {600, 0, 80, 1024},
         second},
        {"on every edge of the first",
         {left(1, 0, 1023), top(2, 0, 1279), bottom(3, 0, 1279), right(1284, 0, 99)},
         {1, 2, 1275, 1019},
         second},
        {"huge",
         {left(huge, 0, huge), right(huge, 0, huge), top(huge, 0, huge), bottom(huge, 0, huge)},
         first,
         second},
        {"a range that ends before it begins", {top(28, 600, 500)}, first, second},
        {"a range beyond the screen", {top(28, 9999, huge)}, first, second},
        {"a range to the end of all numbers", {top(28, 0, huge)}, {0, 28, 1280, 996}, second},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(usableArea(first, screen, row.struts), row.first);
        EXPECT_EQ(usableArea(second, screen, row.struts), row.second);
    }
}

TEST(Struts, NeverEmptyAMonitorNorLeaveIt) {
    for (const std::int32_t side : {1, 2, 3, 7, 100}) {
        const PixelRect monitor{50, 50, side, side};
        for (std::uint32_t thickness = 0; thickness < 300; ++thickness) {
            const std::vector<Strut> all{left(thickness, 0, 999), right(thickness, 0, 999),
                                         top(thickness, 0, 999), bottom(thickness, 0, 999)};
            const PixelRect area = usableArea(monitor, {0, 0, 200, 200}, all);
            EXPECT_GT(area.width, 0);
            EXPECT_GT(area.height, 0);
            EXPECT_EQ(overlap(area, monitor), area);
        }
    }
}

TEST(Struts, AreReadFromTwelveNumbersOrFour) {
    EXPECT_EQ(strut(std::vector<std::uint32_t>{0, 0, 28, 0, 0, 0, 0, 0, 5, 9, 0, 0}), top(28, 5, 9));
    const auto whole = strut(std::vector<std::uint32_t>{0, 0, 28, 0});
    ASSERT_TRUE(whole);
    EXPECT_EQ(usableArea(first, screen, std::vector{*whole}), (PixelRect{0, 28, 1280, 996}));
    EXPECT_EQ(strut(std::vector<std::uint32_t>{}), std::nullopt);
    EXPECT_EQ(strut(std::vector<std::uint32_t>{0, 0, 28}), std::nullopt);
    EXPECT_EQ(strut(std::vector<std::uint32_t>(13, 5)), std::nullopt);
    EXPECT_EQ(strut(std::vector<std::uint32_t>{0, 0, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8}), std::nullopt);
}

TEST(WorkAreas, AreMatchedByWhatTheyCover) {
    const std::vector<std::uint32_t> areas{1280, 132, 1280, 688, 0, 32, 1280, 992};
    EXPECT_EQ(workAreaOn(first, areas), (PixelRect{0, 32, 1280, 992}));
    EXPECT_EQ(workAreaOn(second, areas), (PixelRect{1280, 132, 1280, 688}));
    EXPECT_EQ(workAreaOn({0, 2000, 100, 100}, areas), std::nullopt);
    EXPECT_EQ(workAreaOn(first, std::vector<std::uint32_t>{0, 32, 1280}), std::nullopt) << "not four numbers";
    EXPECT_EQ(workAreaOn(first, std::vector<std::uint32_t>{huge, huge, huge, huge}), std::nullopt);
    EXPECT_EQ(workAreaOn(first, std::vector<std::uint32_t>{0, 0, 9999, 9999}), first) << "no further than it";
}

TEST(Monitors, AreTurnedOverOnceAroundThePrimaryOnesLowerLeftCorner) {
    const std::vector<Monitor> monitors{{5, "DP-1", {1000, 200, 1280, 1024}, {1000, 228, 1280, 996}},
                                        {6, "eDP-1", {0, 0, 1000, 600}, {0, 0, 1000, 560}},
                                        {7, "DP-2", {1000, 1224, 1280, 720}, {1060, 1224, 1220, 720}}};
    const auto all = screens(monitors);
    ASSERT_EQ(all.size(), 3U);
    EXPECT_EQ(all[0].id, 5);
    EXPECT_EQ(all[0].name, "DP-1");
    EXPECT_EQ(all[0].scale, 1);
    EXPECT_EQ(all[0].topInset, 0);
    EXPECT_EQ(all[0].frame.maxY(), 1024) << "from which everything is turned over";
    EXPECT_EQ(all[0].frame.width, 1280);
    EXPECT_EQ(all[0].frame.height, 1024);
    EXPECT_EQ(all[0].visibleFrame, (ZorbelKit::Rect{0, 0, 1280, 996}));
    EXPECT_EQ(all[1].visibleFrame, (ZorbelKit::Rect{-1000, 664, 1000, 560}));
    EXPECT_EQ(all[2].visibleFrame, (ZorbelKit::Rect{60, -720, 1220, 720}));
    EXPECT_TRUE(screens({}).empty());
}

TEST(Monitors, AWindowsCornerBelongsToTheMonitorWithThatPixel) {
    // The primary one in the middle of others on every side, of different heights.
    const std::vector<Monitor> monitors{{1, "middle", {1000, 1000, 1000, 1000}, {}},
                                        {2, "left", {0, 1000, 1000, 600}, {}},
                                        {3, "right", {2000, 900, 1000, 600}, {}},
                                        {4, "above", {1000, 0, 1000, 1000}, {}},
                                        {5, "below", {1000, 2000, 1000, 1000}, {}}};
    const auto all = screens(monitors);
    for (std::size_t index = 0; index < monitors.size(); ++index) {
        SCOPED_TRACE(monitors[index].name);
        const PixelRect& frame = monitors[index].frame;
        const double x = frame.x - 1000;
        const double y = frame.y - 1000;
        const auto at = [&](double dx, double dy) { return Pintho::screenAt({x + dx, y + dy}, all); };
        EXPECT_EQ(at(0, 1), index);
        EXPECT_EQ(at(frame.width - 1, 1), index);
        EXPECT_EQ(at(0, frame.height - 1), index);
        EXPECT_EQ(at(frame.width - 1, frame.height - 1), index);
        if (index == 0) {
            EXPECT_EQ(at(0, 0), std::nullopt) << "no screen's, for which the primary one stands in";
        } else {
            EXPECT_EQ(at(0, 0), index);
        }
    }
}

TEST(WindowShape, SeesTheFrameAndNotTheShadow) {
    WindowShape shape{.client = {100, 100, 400, 300}, .frame = {}, .shadow = {}, .hints = {}};
    EXPECT_EQ(visibleRect(shape), (PixelRect{100, 100, 400, 300}));
    shape.frame = {1, 2, 20, 5};
    EXPECT_EQ(visibleRect(shape), (PixelRect{99, 80, 403, 325}));
    EXPECT_EQ(placement(visibleRect(shape), shape), (PixelRect{99, 80, 400, 300}));
    EXPECT_TRUE(isSettled(visibleRect(shape), shape));
    shape.frame = {};
    shape.shadow = {26, 26, 23, 29};
    EXPECT_EQ(visibleRect(shape), (PixelRect{126, 123, 348, 248}));
    EXPECT_EQ(placement(visibleRect(shape), shape), (PixelRect{100, 100, 400, 300}));
    EXPECT_FALSE(isSettled({125, 123, 348, 248}, shape));
    EXPECT_FALSE(isSettled({126, 123, 349, 248}, shape));
    shape.shadow = {1000, 1000, 1000, 1000};
    EXPECT_EQ(visibleRect(shape).width, 1) << "more shadow than window";
}

TEST(WindowShape, PlacesTheClientWhereNobodyTellsOfTheFrame) {
    // A server's border of one pixel in a frame of two, and a title bar.
    WindowShape shape{.client = {103, 119, 400, 300}, .frame = {}, .shadow = {}, .hints = {}, .border = 1};
    shape.frame = edgesAround(shape.client, {100, 100, 406, 322});
    shape.isFrameTold = false;
    EXPECT_EQ(shape.frame, (Edges{3, 3, 19, 3}));
    EXPECT_EQ(visibleRect(shape), (PixelRect{100, 100, 406, 322}));
    EXPECT_EQ(placement({0, 0, 640, 400}, shape), (PixelRect{2, 18, 634, 378}));
    EXPECT_EQ(edgesAround({10, 10, 5, 5}, {11, 10, 5, 5}), Edges{}) << "not around it";
    EXPECT_EQ(edgesAround({1500, 10, 5, 5}, {0, 0, 2000, 2000}), Edges{}) << "a whole desktop";
}

TEST(WindowShape, LeavesNonsenseOut) {
    EXPECT_EQ(edges(std::vector<std::uint32_t>{1, 2, 3, 4}), (Edges{1, 2, 3, 4}));
    EXPECT_EQ(edges(std::vector<std::uint32_t>{1, 2, 3}), Edges{});
    EXPECT_EQ(edges(std::vector<std::uint32_t>{1, 2, 3, 1025}), Edges{});
    EXPECT_EQ(edges(std::vector<std::uint32_t>{1, 2, 3, huge}), Edges{});
    EXPECT_EQ(hints({}), SizeHints{});
    EXPECT_EQ(hints({0x1F0}), SizeHints{}) << "bits without their numbers";
    EXPECT_EQ(hints(std::vector<std::uint32_t>(18, huge)).width, Lengths{});
    EXPECT_EQ(hints(std::vector<std::uint32_t>(18, 0)), SizeHints{});
}

TEST(WindowShape, KeepsToTheStepsAndLimitsOfAWindow) {
    //                    bits   place and size  least   most        step  aspect      base    gravity
    const auto terminal = hints({0x150, 0, 0, 0, 0, 26, 30, 0, 0, 6, 13, 0, 0, 0, 0, 20, 4, 1});
    const auto limited = hints({0x030, 0, 0, 0, 0, 300, 200, 500, 400, 0, 0, 0, 0, 0, 0, 0, 0, 1});
    const auto fixed = hints({0x030, 0, 0, 0, 0, 300, 200, 300, 200, 0, 0, 0, 0, 0, 0, 0, 0, 1});
    const auto fromLeast = hints({0x050, 0, 0, 0, 0, 25, 25, 0, 0, 10, 10, 0, 0, 0, 0, 0, 0, 1});
    const auto crossed = hints({0x030, 0, 0, 0, 0, 300, 200, 100, 100, 0, 0, 0, 0, 0, 0, 0, 0, 1});
    const struct {
        const char* name;
        Lengths lengths;
        std::int32_t wanted;
        std::int32_t result;
    } rows[] = {
        {"any", {}, 640, 640},
        {"none at all", {}, -5, 1},
        {"a step", terminal.width, 638, 638},
        {"one pixel less than a step", terminal.width, 637, 632},
        {"the other axis", terminal.height, 512, 511},
        {"least", terminal.width, 3, 26},
        {"between", limited.width, 400, 400},
        {"too small", limited.width, 299, 300},
        {"too large", limited.height, 401, 400},
        {"fixed, smaller", fixed.width, 10, 300},
        {"fixed, larger", fixed.width, 1000, 300},
        {"steps from the least where no base is named", fromLeast.width, 44, 35},
        {"limits the wrong way round", crossed.width, 200, 300},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(row.lengths.nearest(row.wanted), row.result);
    }
}
