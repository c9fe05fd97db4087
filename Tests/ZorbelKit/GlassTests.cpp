#include "ZorbelKit/Surfaces/ChaiGlassRenderer.hpp"
#include "ZorbelKit/Surfaces/RecordingCanvas.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

using namespace ZorbelKit;

namespace {

using Operation = RecordingCanvas::Operation;
using Mark = RecordingCanvas::Mark;

constexpr double tolerance = 1e-12;
constexpr Color tea = Color::hex(0xC4661A);
constexpr Rect menuBarRect{0, 0, 18, 18};

/// Every kind of rectangle the glass is drawn in, and some it should survive.
constexpr struct {
    const char* name;
    Rect rect;
} places[] = {
    {"menu bar", {0, 0, 18, 18}},
    {"away from the origin", {100, 40, 18, 18}},
    {"left of and below it", {-30.5, -7.25, 22, 22}},
    {"large", {0, 0, 512, 512}},
    {"wide", {3, 5, 60, 20}},
    {"tall", {3, 5, 20, 60}},
};

std::vector<Mark> drawn(const Rect& rect, double steam, double phase, const Color& colour = tea) {
    RecordingCanvas canvas;
    ChaiGlassRenderer::draw(canvas, rect, steam, phase, colour);
    return canvas.marks();
}

std::vector<Mark> wisps(const Rect& rect, double steam, double phase) {
    const std::vector<Mark> marks = drawn(rect, steam, phase);
    return {marks.begin() + 3, marks.end()}; // after the clip, the chai and the outline
}

void expectPoint(Point actual, double x, double y) {
    EXPECT_NEAR(actual.x, x, tolerance * std::max(1.0, std::abs(x)));
    EXPECT_NEAR(actual.y, y, tolerance * std::max(1.0, std::abs(y)));
}

void expectRoundPen(const Mark& mark) {
    EXPECT_EQ(mark.state.cap, LineCap::round);
    EXPECT_EQ(mark.state.join, LineJoin::round);
    EXPECT_EQ(mark.state.strokeColour, tea);
}

} // namespace

TEST(Glass, IsDrawnAsClipChaiAndOutline) {
    const std::vector<Mark> marks = drawn(menuBarRect, 0, 0);
    ASSERT_EQ(marks.size(), 3U);
    EXPECT_EQ(marks[0].operation, Operation::clip);
    EXPECT_EQ(marks[1].operation, Operation::fillRect);
    EXPECT_EQ(marks[2].operation, Operation::stroke);
    EXPECT_EQ(marks[0].path, marks[2].path);
}

TEST(Glass, TheOutlineIsATumblerThatNarrowsToItsBase) {
    for (const auto& place : places) {
        SCOPED_TRACE(place.name);
        const auto [x, y, width, height] = place.rect;
        const double middle = x + 0.5 * width;
        const double rim = y + 0.72 * height;
        const double base = y + 0.12 * height;
        const double bulge = y + 0.336 * height;  // 0.12 + 0.36 × (0.72 − 0.12)
        const double bulgeReach = 0.2244 * width; // 0.88 × 0.255

        const auto marks = drawn(place.rect, 0, 0);
        const auto& outline = marks.at(2).path.segments();
        ASSERT_EQ(outline.size(), 6U);
        EXPECT_EQ(outline[0].verb, Path::Verb::move);
        expectPoint(outline[0].end, middle - 0.255 * width, rim);
        EXPECT_EQ(outline[1].verb, Path::Verb::line);
        expectPoint(outline[1].end, middle + 0.255 * width, rim);
        EXPECT_EQ(outline[2].verb, Path::Verb::quad);
        expectPoint(outline[2].control, middle + bulgeReach, bulge);
        expectPoint(outline[2].end, middle + 0.165 * width, base);
        EXPECT_EQ(outline[3].verb, Path::Verb::line);
        expectPoint(outline[3].end, middle - 0.165 * width, base);
        EXPECT_EQ(outline[4].verb, Path::Verb::quad);
        expectPoint(outline[4].control, middle - bulgeReach, bulge);
        expectPoint(outline[4].end, middle - 0.255 * width, rim);
        EXPECT_EQ(outline[5].verb, Path::Verb::close);
    }
}

TEST(Glass, TheChaiFillsFourFifthsInsideTheOutline) {
    for (const auto& place : places) {
        SCOPED_TRACE(place.name);
        const auto [x, y, width, height] = place.rect;
        const auto marks = drawn(place.rect, 0, 0);
        const Mark& chai = marks.at(1);
        EXPECT_NEAR(chai.rect.x, x, tolerance);
        EXPECT_NEAR(chai.rect.y, y + 0.12 * height, 1e-10);
        EXPECT_NEAR(chai.rect.width, width, tolerance);
        EXPECT_NEAR(chai.rect.height, 0.48 * height, 1e-10); // 0.8 × (0.72 − 0.12)
        EXPECT_EQ(chai.state.alpha, 0.55);
        EXPECT_EQ(chai.state.fillColour, tea);
        ASSERT_EQ(chai.state.clips.size(), 1U);
        EXPECT_EQ(chai.state.clips[0], marks.at(2).path);
    }
}

TEST(Glass, TheOutlineIsOpaqueUnclippedAndARoundLineWide) {
    const struct {
        const char* name;
        Rect rect;
        double width;
    } rows[] = {
        {"menu bar", {0, 0, 18, 18}, 1.5},
        {"twice as large", {0, 0, 36, 36}, 3},
        {"wide: the height counts", {0, 0, 90, 18}, 1.5},
        {"tall: the width counts", {0, 0, 9, 90}, 0.75},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto marks = drawn(row.rect, 1, 0);
        EXPECT_NEAR(marks.at(2).state.lineWidth, row.width, tolerance);
        EXPECT_EQ(marks.at(2).state.alpha, 1);
        EXPECT_TRUE(marks.at(2).state.clips.empty());
        expectRoundPen(marks.at(2));
    }
}

TEST(Glass, SteamsOnlyAboveTwoHundredths) {
    const struct {
        const char* name;
        double steam;
        std::size_t wisps;
    } rows[] = {
        {"at rest", 0, 0},          {"negative", -1, 0},
        {"at the border", 0.02, 0}, {"just past the border", 0.021, 3},
        {"the faintest", 0.15, 3},  {"the strongest", 1, 3},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(wisps(menuBarRect, row.steam, 1).size(), row.wisps);
    }
}

TEST(Glass, StrongerSteamIsMoreOpaqueUpToOne) {
    const struct {
        double steam;
        double alpha;
    } rows[] = {{0.021, 0.36365}, {0.15, 0.4475}, {0.5, 0.675}, {0.99, 0.9935}, {1, 1}, {1.5, 1}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.steam);
        for (const Mark& wisp : wisps(menuBarRect, row.steam, 0)) {
            EXPECT_NEAR(wisp.state.alpha, row.alpha, tolerance);
            EXPECT_LE(wisp.state.alpha, 1);
        }
    }
}

TEST(Glass, WispsAreDrawnWithAThinnerLine) {
    for (const Mark& wisp : wisps(menuBarRect, 0.5, 0)) {
        EXPECT_EQ(wisp.operation, Operation::stroke);
        EXPECT_NEAR(wisp.state.lineWidth, 1.02, tolerance); // 0.68 × 1.5
        EXPECT_TRUE(wisp.state.clips.empty());
        expectRoundPen(wisp);
    }
}

TEST(Glass, WispsRiseInEightStepsFromAboveTheRim) {
    for (const auto& place : places) {
        for (const double steam : {0.021, 0.15, 0.4, 1.0}) {
            for (const double phase : {0.0, 1.0, 3.5, 2 * std::numbers::pi}) {
                SCOPED_TRACE(place.name);
                SCOPED_TRACE(steam);
                SCOPED_TRACE(phase);
                const auto [x, y, width, height] = place.rect;
                const double start = y + 0.76 * height; // 0.72 + 0.04
                const double wispHeight = height * (0.06 + 0.16 * steam);
                const auto marks = wisps(place.rect, steam, phase);
                ASSERT_EQ(marks.size(), 3U);
                const double feet[] = {x + 0.355 * width, x + 0.5 * width, x + 0.645 * width}; // 0.5 ± 0.145
                const double offsets[] = {0, 1.9, 3.8};
                for (std::size_t index = 0; index < 3; ++index) {
                    const auto& points = marks[index].path.segments();
                    ASSERT_EQ(points.size(), 9U);
                    EXPECT_EQ(points[0].verb, Path::Verb::move);
                    expectPoint(points[0].end, feet[index], start);
                    for (std::size_t step = 1; step < points.size(); ++step) {
                        const auto k = static_cast<double>(step);
                        EXPECT_EQ(points[step].verb, Path::Verb::line);
                        expectPoint(points[step].end,
                                    feet[index] +
                                        width * 0.05 * steam * std::sin(offsets[index] + phase + 0.504 * k),
                                    start + k * 0.14 * wispHeight);
                    }
                }
            }
        }
    }
}

TEST(Glass, AtFullSteamWispsSwayATwentiethOfTheWidthEitherWay) {
    constexpr double size = 100;
    double furthestLeft = 0;
    double furthestRight = 0;
    for (double phase = 0; phase < 2 * std::numbers::pi; phase += 0.01) {
        for (const Mark& wisp : wisps({0, 0, size, size}, 1, phase)) {
            const auto& points = wisp.path.segments();
            for (const auto& point : points) {
                furthestLeft = std::min(furthestLeft, point.end.x - points[0].end.x);
                furthestRight = std::max(furthestRight, point.end.x - points[0].end.x);
            }
            // Eight steps of 0.14 of the wisp height of 0.22 × size.
            EXPECT_NEAR(points.back().end.y - points[0].end.y, 8 * 0.14 * 22, 1e-9);
        }
    }
    EXPECT_NEAR(furthestLeft, -5, 1e-3);
    EXPECT_NEAR(furthestRight, 5, 1e-3);
}

TEST(Glass, WispsTravelWithThePhaseAndComeRoundAfterAFullTurn) {
    const auto start = wisps(menuBarRect, 1, 0);
    EXPECT_NE(wisps(menuBarRect, 1, 0.2), start);
    const auto turned = wisps(menuBarRect, 1, 2 * std::numbers::pi);
    for (std::size_t index = 0; index < start.size(); ++index) {
        for (std::size_t step = 0; step < 9; ++step) {
            const Point point = start[index].path.segments()[step].end;
            expectPoint(turned[index].path.segments()[step].end, point.x, point.y);
        }
    }
}

TEST(Glass, LeavesTheCanvasOpaqueUnclippedAndBalanced) {
    for (const double steam : {0.0, 1.0}) {
        SCOPED_TRACE(steam);
        RecordingCanvas canvas;
        ChaiGlassRenderer::draw(canvas, menuBarRect, steam, 1, tea);
        EXPECT_EQ(canvas.savedStates(), 0U);
        EXPECT_EQ(canvas.state().alpha, 1);
        EXPECT_TRUE(canvas.state().clips.empty());
    }
}

TEST(Glass, TheStatusImageIsABlackSquareTemplate) {
    const Image image = ChaiGlassRenderer::statusImage(0.5, 1, 18);
    EXPECT_TRUE(image.isTemplate());
    EXPECT_FALSE(image.isEmpty());
    EXPECT_EQ(image.size(), (Size{18, 18}));
    RecordingCanvas canvas;
    image.draw(canvas, menuBarRect);
    EXPECT_EQ(canvas.marks(), drawn(menuBarRect, 0.5, 1, Color{0, 0, 0, 1}));
}

TEST(Glass, TheSameArgumentsAlwaysGiveTheSameImage) {
    const auto marksOf = [](double steam, double phase) {
        RecordingCanvas canvas;
        ChaiGlassRenderer::statusImage(steam, phase, 18).draw(canvas, menuBarRect);
        return canvas.marks();
    };
    const auto first = marksOf(0.75, 2.5);
    EXPECT_NE(marksOf(0.75, 2.6), first);
    EXPECT_NE(marksOf(0.7, 2.5), first);
    EXPECT_EQ(marksOf(0.75, 2.5), first);
    EXPECT_EQ(marksOf(0, 1), marksOf(0.02, 5)); // without wisps neither counts
}
