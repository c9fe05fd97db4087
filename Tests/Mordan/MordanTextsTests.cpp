#include "Mordan/MordanTexts.hpp"
#include "Platforms/Linux/IcuLanguage.hpp"
#include "Platforms/Simulated/SimulatedLanguage.hpp"
#include "ZorbelKit/Palette.hpp"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace Mordan;
using namespace std::string_literals;
using ZorbelKit::Color;

TEST(MordanTexts, EveryKindHasASymbolAndAName) {
    struct Row {
        Wound::Kind kind;
        std::string_view symbol;
        std::string_view name;
    };
    const Row rows[] = {
        {Wound::Kind::text, "text.alignleft", "Text"},
        {Wound::Kind::code, "chevron.left.forwardslash.chevron.right", "Code"},
        {Wound::Kind::url, "link", "Link"},
        {Wound::Kind::colour, "paintpalette", "Colour"},
        {Wound::Kind::image, "photo", "Image"},
        {Wound::Kind::file, "doc", "File"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(symbolName(row.kind), row.symbol);
        EXPECT_EQ(kindText(row.kind), row.name);
    }
}

TEST(MordanTexts, APreviewBecomesOneLine) {
    struct Row {
        const char* name;
        std::string preview;
        std::string line;
    };
    const Row rows[] = {
        {"empty", "", ""},
        {"plain", "tea", "tea"},
        {"white space only", " \n\t ", ""},
        {"at both ends", "\n  tea \r\n", "tea"},
        {"runs", "tea  \t with\r\n\r\n milk", "tea with milk"},
        {"control characters", "tea\0\x1B[31mmilk\x7F!"s, "tea [31mmilk !"},
        {"control characters of two bytes", "tea\xC2\x85milk\xC2\x9B!", "tea milk !"},
        {"wide spaces and separators", "tea\xE3\x80\x80milk\xE2\x80\xA8sugar\xC2\xA0!", "tea milk sugar !"},
        {"other scripts", "\xD7\xAA\xD7\x94\n\xE8\x8C\xB6", "\xD7\xAA\xD7\x94 \xE8\x8C\xB6"},
        {"emoji", "\xF0\x9F\x8D\xB5\n", "\xF0\x9F\x8D\xB5"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(lineText(row.preview), row.line);
        EXPECT_EQ(lineText(lineText(row.preview)), row.line) << "one line stays as it is";
    }
}

TEST(MordanTexts, OnlyAHexColourIsAColour) {
    struct Row {
        std::string_view text;
        std::optional<Color> colour;
    };
    const Color brass = ZorbelKit::brass;
    const Row rows[] = {
        {"#C4661A", brass},
        {"#c4661a", brass},
        {"  #C4661a\n", brass},
        {"#fff", Color{1, 1, 1, 1}},
        {"#000000", Color{0, 0, 0, 1}},
        {"#f00", Color{1, 0, 0, 1}},
        {"#0F0", Color{0, 1, 0, 1}},
        {"", std::nullopt},
        {"#", std::nullopt},
        {"#ff", std::nullopt},
        {"#ffff", std::nullopt},
        {"#fffff", std::nullopt},
        {"#fffffff", std::nullopt},
        {"C4661A", std::nullopt},
        {"#C4661G", std::nullopt},
        {"#C4 61A", std::nullopt},
        {"##4661A", std::nullopt},
        {"#C4661A;", std::nullopt},
        {"#\xC3\xA9", std::nullopt},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(writtenColour(row.text), row.colour);
    }
}

TEST(MordanTexts, TheCountSaysHowManyASearchHoldsBack) {
    EXPECT_EQ(countText(0, 0), "0");
    EXPECT_EQ(countText(12, 12), "12");
    EXPECT_EQ(countText(3, 12), "3 of 12");
    EXPECT_EQ(countText(0, 1), "0 of 1");
}

TEST(MordanTexts, AnEntryIsSpokenWithItsKindAndWhetherItIsPinned) {
    Wound wound;
    wound.kind = Wound::Kind::url;
    wound.preview = "https://zorbel.org";
    EXPECT_EQ(spokenText(wound), "Link https://zorbel.org");
    wound.pinned = true;
    EXPECT_EQ(spokenText(wound), "Link https://zorbel.org, pinned");
    wound.kind = Wound::Kind::text;
    wound.preview = "tea\nwith milk";
    EXPECT_EQ(spokenText(wound), "Text tea with milk, pinned");
}

TEST(MordanTexts, TheOriginNamesTheProgramWhereItIsKnown) {
    Wound wound;
    EXPECT_EQ(originText(wound, "14:02"), "14:02");
    wound.source = "xterm";
    EXPECT_EQ(originText(wound, "14:02"), "xterm, 14:02");
    wound.source = " two\nlines ";
    EXPECT_EQ(originText(wound, "14:02"), "two lines, 14:02");
    wound.source = "\n";
    EXPECT_EQ(originText(wound, "14:02"), "14:02");
}

TEST(MordanTexts, AToolTipKeepsLinesAndDropsControlCharacters) {
    EXPECT_EQ(tipText(""), "");
    EXPECT_EQ(tipText("tea\n\twith  milk"), "tea\n\twith  milk");
    EXPECT_EQ(tipText("tea\r\nmilk\0\x1B[0m"s), "tea\nmilk[0m");
    EXPECT_EQ(tipText("<b>tea</b>"), "<b>tea</b>");
}

TEST(MordanTexts, AToolTipsLongWordsCanBeBroken) {
    const std::string breakPlace = "\xE2\x80\x8B";
    EXPECT_EQ(tipText(std::string(48, 'x')), std::string(48, 'x'));
    EXPECT_EQ(tipText(std::string(49, 'x')), std::string(48, 'x') + breakPlace + 'x');
    EXPECT_EQ(tipText(std::string(100, 'x')),
              std::string(48, 'x') + breakPlace + std::string(48, 'x') + breakPlace + std::string(4, 'x'));
    const std::string words = std::string(40, 'x') + ' ' + std::string(40, 'y');
    EXPECT_EQ(tipText(words), words);
    std::string accents = "e";
    for (int accent = 0; accent < 100; ++accent) {
        accents += "\xCC\x81";
    }
    EXPECT_EQ(tipText(accents), accents) << "an accent stays with its letter";
}

TEST(MordanTexts, FindsTheFirstPlaceOfWhatIsSearchedFor) {
    struct Row {
        const char* name;
        std::string line;
        std::string search;
        std::optional<std::string> found;
        std::size_t begin = 0;
    };
    const Row rows[] = {
        {"nothing to look for", "tea", "", std::nullopt},
        {"only white space", "tea", " \n", std::nullopt},
        {"not in there", "tea", "milk", std::nullopt},
        {"longer than the line", "tea", "teapot", std::nullopt},
        {"in an empty line", "", "tea", std::nullopt},
        {"all of it", "tea", "tea", "tea", 0},
        {"case aside", "Black TEA", "tea", "TEA", 6},
        {"the first of two", "tea, tea", "tea", "tea", 0},
        {"overlapping itself", "aaab", "aa", "aa", 0},
        {"at the end", "with milk", "k", "k", 8},
        {"lines as one", "tea with milk", "tea\n  with", "tea with", 0},
        {"among wide characters", "\xE8\x8C\xB6 tea \xE8\x8C\xB6", "TEA \xE8\x8C\xB6", "tea \xE8\x8C\xB6", 4},
    };
    const Simulated::SimulatedLanguage simple;
    const Linux::IcuLanguage real("en");
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        for (const ZorbelKit::Language* language : {static_cast<const ZorbelKit::Language*>(&simple),
                                                    static_cast<const ZorbelKit::Language*>(&real)}) {
            const auto span = foundIn(row.line, row.search, *language);
            ASSERT_EQ(span.has_value(), row.found.has_value());
            if (span) {
                EXPECT_EQ(row.line.substr(span->begin, span->length), *row.found);
                EXPECT_EQ(span->begin, row.begin);
            }
        }
    }
}

TEST(MordanTexts, FindsInWholeCharacters) {
    const Linux::IcuLanguage language("en");
    const std::string sharp = "Stra\xC3\x9F"
                              "e"; // folds to two letters
    EXPECT_EQ(foundIn(sharp, "STRASSE", language), (TextSpan{0, 7}));
    EXPECT_EQ(foundIn(sharp, "s", language), (TextSpan{0, 1}));
    EXPECT_EQ(foundIn(sharp, "ss", language), (TextSpan{4, 2}));
    const std::string apart = "un cafe\xCC\x81 noir"; // the accent after its letter
    EXPECT_EQ(foundIn(apart, "CAF\xC3\x89", language), (TextSpan{3, 6}));
    EXPECT_EQ(foundIn(apart, "noir", language), (TextSpan{10, 4}));
}

TEST(MordanTexts, FindsWhateverWasPutIntoALine) {
    const Simulated::SimulatedLanguage language;
    for (std::size_t before = 0; before < 70; before += 3) {
        for (std::size_t after = 0; after < 70; after += 7) {
            const std::string line = std::string(before, '-') + "Chai" + std::string(after, '-');
            EXPECT_EQ(foundIn(line, "cHAI", language), (TextSpan{before, 4}));
        }
    }
}

} // namespace
