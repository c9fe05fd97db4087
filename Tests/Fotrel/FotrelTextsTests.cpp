#include "Fotrel/FotrelTexts.hpp"

#include <gtest/gtest.h>

#include <optional>
#include <string>

using namespace Fotrel;

namespace {

Capture captureWith(std::optional<std::string> text, bool isReading = false) {
    return {.image = ZorbelKit::Picture({.width = 1920, .height = 1080}),
            .text = std::move(text),
            .isReading = isReading};
}

} // namespace

TEST(FotrelTexts, AnErrorSaysWhatFailedAndWhy) {
    EXPECT_EQ(errorText("No such file."), "Could not start screencapture. No such file.");
    EXPECT_EQ(errorText(""), "Could not start screencapture. ");
}

TEST(FotrelTexts, LinesAreJoinedByOneLineFeed) {
    EXPECT_EQ(joined({}), "");
    EXPECT_EQ(joined({"tea"}), "tea");
    EXPECT_EQ(joined({"tea", "milk", "tea"}), "tea\nmilk\ntea");
    EXPECT_EQ(joined({"", ""}), "\n");
    EXPECT_EQ(joined({"日本語", "e\u0301"}), "日本語\ne\u0301");
}

TEST(FotrelTexts, ASavedFileIsNamedAfterItsMoment) {
    EXPECT_EQ(saveName("Nov 21, 2026, 9:56:07 PM"), "Fotrel Nov 21, 2026, 9:56:07 PM.png");
    EXPECT_EQ(saveName("21/11/2026, 21:56"), "Fotrel 21-11-2026, 21:56.png") << "a slash would be a folder";
}

TEST(FotrelTexts, TheStatusSaysHowFarReadingIs) {
    const struct {
        const char* name;
        Capture capture;
        const char* text;
    } rows[] = {
        {"read now", captureWith(std::nullopt, true), "Reading the text"},
        {"read now, though there is text", captureWith("tea", true), "Reading the text"},
        {"none", captureWith(std::nullopt), "No text in this one"},
        {"empty", captureWith(""), "No text in this one"},
        {"one line", captureWith("tea"), "1 lines of text found"},
        {"two lines", captureWith("tea\nmilk"), "2 lines of text found"},
        {"an empty line between", captureWith("tea\n\nmilk"), "3 lines of text found"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(statusText(row.capture), row.text);
    }
    std::string many = "x";
    for (int line = 1; line < 1234; ++line) {
        many += "\nx";
    }
    EXPECT_EQ(statusText(captureWith(many)), "1234 lines of text found") << "without a separator";
}

TEST(FotrelTexts, TheDetailIsWhenAndHowLarge) {
    EXPECT_EQ(detailText(captureWith("tea"), "14:02"), "14:02 · 1920 × 1080");
    EXPECT_EQ(detailText({}, "2:02 PM"), "2:02 PM · 0 × 0");
}

TEST(FotrelTexts, ARowIsSpokenAsAWhole) {
    EXPECT_EQ(spokenText(captureWith("tea\nmilk"), "14:02"),
              "Capture of 14:02, 1920 by 1080 pixels: 2 lines of text found");
    EXPECT_EQ(spokenText(captureWith(std::nullopt, true), "14:02"),
              "Capture of 14:02, 1920 by 1080 pixels: Reading the text");
}

TEST(FotrelTexts, OnlyATextWithLettersCanBeCopiedAndShown) {
    EXPECT_FALSE(hasText(captureWith(std::nullopt)));
    EXPECT_FALSE(hasText(captureWith("")));
    EXPECT_TRUE(hasText(captureWith("tea")));
}
