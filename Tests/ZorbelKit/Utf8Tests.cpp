#include "ZorbelKit/Utf8.hpp"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

using namespace ZorbelKit;

namespace {

using namespace std::string_literals;

struct Broken {
    const char* name;
    std::string text;
    std::string repaired;
};

const std::string gap = "\xEF\xBF\xBD"; // U+FFFD

const Broken brokenTexts[] = {
    {"empty", "", ""},
    {"plain", "tea", "tea"},
    {"two, three and four bytes", "é茶🫖", "é茶🫖"},
    {"a NUL inside", "a\0b"s, "a\0b"s},
    {"U+FFFD itself", gap, gap},
    {"a continuation byte alone", "a\x80z", "a" + gap + "z"},
    {"cut off at the end", "tea\xC3", "tea" + gap},
    {"cut off in the middle", "\xE8\x8Cz", gap + gap + "z"},
    {"too long a form", "\xC0\xAF", gap + gap},
    {"too long a form of three bytes", "\xE0\x80\xAF", gap + gap + gap},
    {"half of a surrogate pair", "\xED\xA0\x80", gap + gap + gap},
    {"past the last code point", "\xF4\x90\x80\x80", gap + gap + gap + gap},
    {"the last code point", "\xF4\x8F\xBF\xBF", "\xF4\x8F\xBF\xBF"},
    {"bytes that never occur", "\xFE\xFF", gap + gap},
    {"Latin-1", "caf\xE9 au lait", "caf" + gap + " au lait"},
};

} // namespace

TEST(Utf8, RepairsWhatIsBrokenAndLeavesTheRest) {
    for (const Broken& row : brokenTexts) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(utf8::repaired(row.text), row.repaired);
        EXPECT_EQ(utf8::repaired(row.repaired), row.repaired) << "once is enough";
    }
}

TEST(Utf8, RepairsWhereverInALongTextItIsBroken) {
    const std::string text = "Sixteen letters, and é more; twenty-four letters";
    for (std::size_t place = 0; place <= text.size(); ++place) {
        const bool isInside = place > 0 && place < text.size() && (text[place] & 0xC0) == 0x80;
        if (!isInside) {
            const std::string before = text.substr(0, place);
            const std::string after = text.substr(place);
            EXPECT_EQ(utf8::repaired(before + "\xFF" + after), before + gap + after) << place;
        }
    }
}

TEST(Utf8, ReadsFromBothEnds) {
    const struct {
        const char* name;
        std::string text;
        utf8::CodePoint first;
        utf8::CodePoint last;
    } rows[] = {
        {"one byte", "ab", {'a', 1}, {'b', 1}},
        {"two bytes", "éb\xC3\xA9", {0xE9, 2}, {0xE9, 2}},
        {"three bytes", "茶", {0x8336, 3}, {0x8336, 3}},
        {"four bytes", "🫖", {0x1FAD6, 4}, {0x1FAD6, 4}},
        {"broken at both ends", "\x80x\xC3", {0xFFFD, 1}, {0xFFFD, 1}},
        {"a continuation byte too many", "\xC3\xA9\x80", {0xE9, 2}, {0xFFFD, 1}},
        {"continuation bytes only", "\x80\x80\x80\x80\x80", {0xFFFD, 1}, {0xFFFD, 1}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(utf8::first(row.text).value, row.first.value);
        EXPECT_EQ(utf8::first(row.text).length, row.first.length);
        EXPECT_EQ(utf8::last(row.text).value, row.last.value);
        EXPECT_EQ(utf8::last(row.text).length, row.last.length);
    }
}

TEST(Utf8, TrimsWhiteSpaceAndLineEndsOfEveryScript) {
    const struct {
        const char* name;
        std::string text;
        std::string trimmed;
    } rows[] = {
        {"nothing to trim", "tea", "tea"},
        {"blanks, tabs and line ends", " \t\r\n\v\ftea \n", "tea"},
        {"inside stays", " a b ", "a b"},
        {"no-break space", "\xC2\xA0tea\xC2\xA0", "tea"},
        {"ideographic space", "\xE3\x80\x80茶\xE3\x80\x80", "茶"},
        {"line and paragraph separators", "\xE2\x80\xA8tea\xE2\x80\xA9", "tea"},
        {"next line", "\xC2\x85tea", "tea"},
        {"all of it", " \n\xE3\x80\x80", ""},
        {"empty", "", ""},
        {"a broken byte is no space", " \x80 ", "\x80"},
        {"a zero-width joiner is no space", "\xE2\x80\x8Dtea", "\xE2\x80\x8Dtea"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(utf8::trimmed(row.text), row.trimmed);
    }
}

TEST(Utf8, PutsATextOnOneLine) {
    const struct {
        const char* name;
        std::string text;
        std::string line;
    } rows[] = {
        {"empty", "", ""},
        {"one line", "green tea", "green tea"},
        {"line ends and tabs", "one\r\ntwo\tthree\n", "one two three"},
        {"only white space", " \n\t ", ""},
        {"control characters of both kinds",
         std::string("a\0b\x7F\xC2\x9B"
                     "c",
                     7),
         "a b c"},
        {"a separator of paragraphs", "a\xE2\x80\xA9z", "a z"},
        {"what is no UTF-8 stays", "a\xFFz", "a\xFFz"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(utf8::oneLine(row.text), row.line);
    }
}

TEST(Utf8, CutsAtTheEndOfACodePoint) {
    const std::string text = "aé茶🫖";
    const struct {
        std::size_t bytes;
        const char* prefix;
    } rows[] = {{0, ""},   {1, "a"},    {2, "a"},    {3, "aé"},          {4, "aé"},
                {5, "aé"}, {6, "aé茶"}, {9, "aé茶"}, {10, "aé茶🫖"}, {99, "aé茶🫖"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.bytes);
        EXPECT_EQ(utf8::prefixOfBytes(text, row.bytes), row.prefix);
    }
}
