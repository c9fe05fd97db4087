#include "Tests/ZorbelKit/RecordingSpice.hpp"
#include "ZorbelKit/Palette.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <set>
#include <string_view>

using namespace ZorbelKit;

namespace {

/// The 24 bits a colour was made from.
std::uint32_t bits(const Color& colour) {
    const auto byte = [](double fraction) { return static_cast<std::uint32_t>(std::lround(fraction * 255)); };
    return byte(colour.red) << 16 | byte(colour.green) << 8 | byte(colour.blue);
}

} // namespace

TEST(Palette, EveryColourHasItsValueAndIsOpaque) {
    const struct {
        const char* name;
        Color colour;
        std::uint32_t value;
    } rows[] = {
        {"stall", stall, 0x140F09},       {"kettle", kettle, 0x1E170F},
        {"kettleHi", kettleHi, 0x2A2016}, {"rim", rim, 0x453322},
        {"brass", brass, 0xC4661A},       {"brassDim", brassDim, 0xA05000},
        {"chai", chai, 0x6E3200},         {"malai", malai, 0xD2B4A0},
        {"malaiDim", malaiDim, 0xA0785A}, {"malaiFaint", malaiFaint, 0x7E6A57},
        {"slate", slate, 0x939DB0},       {"mist", mist, 0xB4C8D2},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(bits(row.colour), row.value);
        EXPECT_EQ(row.colour.opacity, 1);
    }
}

TEST(Palette, CornerRadiiGrowWithWhatTheyRound) {
    EXPECT_EQ(radiusControl, 8);
    EXPECT_EQ(radiusPanel, 12);
    EXPECT_EQ(radiusWindow, 16);
}

TEST(Palette, AColourFromBitsDividesEachByteBy255) {
    const struct {
        const char* name;
        std::uint32_t value;
        Color colour;
    } rows[] = {
        {"black", 0x000000, {0, 0, 0, 1}},
        {"white", 0xFFFFFF, {1, 1, 1, 1}},
        {"red", 0xFF0000, {1, 0, 0, 1}},
        {"green", 0x00FF00, {0, 1, 0, 1}},
        {"blue", 0x0000FF, {0, 0, 1, 1}},
        {"one step of each", 0x010203, {1.0 / 255, 2.0 / 255, 3.0 / 255, 1}},
        {"bits above the 24 are ignored", 0xFF000001, {0, 0, 1.0 / 255, 1}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(Color::hex(row.value), row.colour);
    }
}

TEST(Palette, AnotherOpacityLeavesTheColour) {
    EXPECT_EQ(brass.withOpacity(0.28), (Color{brass.red, brass.green, brass.blue, 0.28}));
    EXPECT_EQ(brass.opacity, 1);
}

TEST(Palette, EverySpiceHasItsAccent) {
    const struct {
        const char* id;
        std::uint32_t value;
    } rows[] = {
        {"sivrel", 0xC9A06A},  {"mordan", 0x7A9A46}, {"pintho", 0xA15F3A}, {"rusket", 0x939DB0},
        {"wendrel", 0xC98A2E}, {"duvesk", 0xA9B863}, {"fotrel", 0xD2542A}, {"hushel", 0x5A7832},
        {"tonvik", 0x82B400},  {"ledgra", 0xC08658},
    };
    EXPECT_EQ(spiceColours.size(), std::size(rows));
    for (const auto& row : rows) {
        SCOPED_TRACE(row.id);
        EXPECT_EQ(bits(RecordingSpice(row.id).accent()), row.value);
        EXPECT_EQ(spiceColour(row.id), RecordingSpice(row.id).accent());
    }
}

TEST(Palette, NoSpiceIsListedTwice) {
    std::set<std::string_view> ids;
    for (const auto& entry : spiceColours) {
        EXPECT_TRUE(ids.insert(entry.id).second) << entry.id;
    }
}

TEST(Palette, ASpiceWithoutAnEntryIsBrass) {
    for (const char* id : {"", "saffron", "Sivrel", "sivrel ", "sivre"}) {
        SCOPED_TRACE(id);
        EXPECT_EQ(RecordingSpice(id).accent(), brass);
    }
}

TEST(Color, IsMixedComponentByComponent) {
    constexpr Color under{0, 0.2, 1, 0};
    constexpr Color over{1, 0.6, 0, 1};
    EXPECT_EQ(under.mixedWith(over, 0), under);
    EXPECT_EQ(under.mixedWith(over, 1), over);
    const Color half = under.mixedWith(over, 0.5);
    EXPECT_DOUBLE_EQ(half.red, 0.5);
    EXPECT_DOUBLE_EQ(half.green, 0.4);
    EXPECT_DOUBLE_EQ(half.blue, 0.5);
    EXPECT_DOUBLE_EQ(half.opacity, 0.5);
}
