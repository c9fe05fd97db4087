#include "Pintho/PinthoTexts.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

namespace {

using namespace Pintho;
using namespace std::string_literals;

TEST(PinthoTexts, AWindowsNumbersAreWholePoints) {
    constexpr auto least = std::numeric_limits<std::int64_t>::min();
    const struct {
        const char* name;
        WindowInfo window;
        std::string_view size;
        std::string_view position;
    } rows[] = {
        {"ordinary", {.width = 640, .height = 480, .x = 100, .y = 200}, "640 × 480", "at 100, 200"},
        {"nothing known", {}, "0 × 0", "at 0, 0"},
        {"left of and above the primary screen",
         {.width = 1, .height = 1, .x = -1280, .y = -40},
         "1 × 1",
         "at -1280, -40"},
        {"as far as numbers go",
         {.width = 0, .height = 0, .x = least, .y = 0},
         "0 × 0",
         "at -9223372036854775808, 0"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(sizeText(row.window), row.size);
        EXPECT_EQ(positionText(row.window), row.position);
    }
}

TEST(PinthoTexts, AScreensScaleIsSaidWhereItIsNotOne) {
    const struct {
        double scale;
        std::string_view text;
    } rows[] = {
        {1, "1920 × 1080"},
        {2, "1920 × 1080 at 2×"},
        {1.5, "1920 × 1080 at 1.5×"},
        {1.25, "1920 × 1080 at 1.25×"},
        {1.333333, "1920 × 1080 at 1.33×"},
        {10, "1920 × 1080 at 10×"},
        {0.5, "1920 × 1080 at 0.5×"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.scale);
        EXPECT_EQ(sizeText(ScreenInfo{.width = 1920, .height = 1080, .scale = row.scale}), row.text);
    }
}

TEST(PinthoTexts, ASeatsTipNamesItsKeys) {
    const struct {
        const char* name;
        SeatKeys keys;
        std::string_view tip;
        std::string_view help;
    } rows[] = {
        {"with keys",
         {.isOn = true, .shortcut = "Ctrl+Alt+Left"},
         "Left half — Ctrl+Alt+Left",
         "Left half\nCtrl+Alt+Left"},
        {"its keys are taken",
         {.isOn = true, .shortcut = {}},
         "Left half — its keys belong to another program",
         "Left half\nIts keys belong to another program"},
        {"the spice is off", {}, "Left half", "Left half"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(tipText(Seat::left, row.keys), row.tip);
        EXPECT_EQ(helpText(Seat::left, row.keys), row.help);
    }
}

TEST(PinthoTexts, AReaderHearsTheKeysAndTheLastPlace) {
    const SeatKeys free{.isOn = true, .shortcut = "Ctrl+Alt+U"};
    const SeatKeys taken{.isOn = true, .shortcut = {}};
    EXPECT_EQ(descriptionText(free, false), "Ctrl+Alt+U");
    EXPECT_EQ(descriptionText(free, true), "Ctrl+Alt+U, last placed here");
    EXPECT_EQ(descriptionText(taken, false), "Its keys belong to another program");
    EXPECT_EQ(descriptionText(taken, true), "Its keys belong to another program, last placed here");
    EXPECT_EQ(descriptionText({}, false), "");
    EXPECT_EQ(descriptionText({}, true), "Last placed here");
}

TEST(PinthoTexts, NamesAndTitlesAreOneLine) {
    const struct {
        const char* name;
        std::string text;
        std::string line;
    } rows[] = {
        {"empty", "", ""},
        {"plain", "Letter to Asha", "Letter to Asha"},
        {"line ends and tabs", "one\r\ntwo\tthree\n", "one two three"},
        {"white space at the ends", "  tea \xC2\xA0", "tea"},
        {"control characters", "a\0b\x1B[31m\x7F c"s, "a b [31m c"},
        {"nothing but white space", " \n \t ", ""},
        {"another script", "Чай в четыре", "Чай в четыре"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(lineText(row.text), row.line);
    }
}

TEST(PinthoTexts, ALongTitleIsCutAtAWholeLetter) {
    EXPECT_EQ(lineText(std::string(1'000, 'a')), std::string(1'000, 'a'));
    EXPECT_EQ(lineText(std::string(1'000'000, 'a')), std::string(1'000, 'a'));
    std::string title = "a";
    std::string expected = "a";
    for (int count = 0; count < 500; ++count) {
        title += "é";
        expected += count < 499 ? "é" : "";
    }
    EXPECT_EQ(lineText(title), expected);
}

TEST(PinthoTexts, SaysAPlacementAndAScreen) {
    EXPECT_EQ(spokenText(Placement{.app = "Text\nEditor", .seat = Seat::topLeft, .at = {}}, "14:02"),
              "Text Editor, Top left, 14:02");
    ScreenInfo screen{.name = "Built-in display", .width = 1512, .height = 982, .scale = 2};
    EXPECT_EQ(spokenText(screen), "Built-in display, 1512 × 982 at 2×");
    EXPECT_EQ(symbolName(screen), "display");
    screen.isMain = true;
    screen.hasNotch = true;
    EXPECT_EQ(spokenText(screen), "Built-in display, main, 1512 × 982 at 2×");
    EXPECT_EQ(symbolName(screen), "laptopcomputer");
}

} // namespace
