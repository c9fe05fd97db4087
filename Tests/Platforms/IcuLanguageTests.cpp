#include "Platforms/Linux/IcuLanguage.hpp"

#include <gtest/gtest.h>

#include <string>

using Linux::IcuLanguage;

namespace {

bool contains(const IcuLanguage& language, const std::string& text, const std::string& wanted) {
    return language.folded(text).find(language.folded(wanted)) != std::string::npos;
}

} // namespace

TEST(IcuLanguage, ASearchLeavesCaseAsideInEveryScript) {
    const struct {
        const char* name;
        std::string text;
        std::string wanted;
        bool isFound;
    } rows[] = {
        {"Latin", "Masala Chai", "CHAI", true},
        {"accents", "Crème Brûlée", "CRÈME BRÛLÉE", true},
        {"an accent is a letter of its own", "Crème", "creme", false},
        {"composed and decomposed", "caf\xC3\xA9", "CAFE\xCC\x81", true},
        {"decomposed and composed", "CAFE\xCC\x81", "caf\xC3\xA9", true},
        {"the letter under an accent alone", "caf\xC3\xA9", "cafe", false},
        {"Greek", "ΚΑΛΗΜΕΡΑ", "καλημερα", true},
        {"Greek, both forms of sigma", "ΟΔΟΣ", "οδος", true},
        {"Cyrillic", "Чай с молоком", "ЧАЙ", true},
        {"Armenian", "Բարև", "ԲԱՐԵՒ", true},
        {"German sharp s", "Straße", "STRASSE", true},
        {"Chinese has no case", "奶茶", "茶", true},
        {"Devanagari", "मसाला चाय", "चाय", true},
        {"Hangul, composed and not", "한글", "\xE1\x84\x92\xE1\x85\xA1\xE1\x86\xAB", true},
        {"emoji", "tea 🫖", "🫖", true},
        {"the dotted I of Turkish", "İstanbul", "istanbul", false},
        {"a ligature", "oﬃce", "OFFICE", true},
        {"Deseret, beyond the first plane", "𐐀", "𐐨", true},
        {"Adlam", "𞤀", "𞤢", true},
        {"nothing", "tea", "", true},
    };
    const IcuLanguage english("en_GB");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(contains(english, row.text, row.wanted), row.isFound);
    }
}

TEST(IcuLanguage, TurkishHasTwoLettersI) {
    const IcuLanguage turkish("tr_TR");
    EXPECT_TRUE(contains(turkish, "İstanbul", "istanbul"));
    EXPECT_TRUE(contains(turkish, "ISPARTA", "ısparta"));
    EXPECT_FALSE(contains(turkish, "ISPARTA", "isparta"));
    const IcuLanguage azeri("az");
    EXPECT_TRUE(contains(azeri, "İstanbul", "istanbul"));
    for (const char* locale : {"en", "C", "", "xx_YY", "not a locale at all"}) {
        SCOPED_TRACE(locale);
        EXPECT_TRUE(contains(IcuLanguage(locale), "ISPARTA", "isparta"));
    }
}

TEST(IcuLanguage, BrokenTextIsNoTrouble) {
    const IcuLanguage language("en");
    for (const std::string text : {"\x80", "a\xC3", "\xFF\xFE", "\xED\xA0\x80"}) {
        EXPECT_FALSE(language.folded("tea " + text).empty());
        EXPECT_TRUE(contains(language, "TEA" + text, "tea"));
        EXPECT_FALSE(language.prefix(text + text, 1).empty());
    }
}

TEST(IcuLanguage, CountsCharactersAsAReaderDoes) {
    const struct {
        const char* name;
        std::string text;
        std::size_t characters;
        std::string prefix;
    } rows[] = {
        {"letters", "abcd", 3, "abc"},
        {"all", "abc", 3, "abc"},
        {"more than there are", "abc", 9, "abc"},
        {"none", "abc", 0, ""},
        {"of nothing", "", 3, ""},
        {"an accent on its own stays with its letter", "e\xCC\x81tea", 1, "e\xCC\x81"},
        {"the accent comes after what is cut", "abe\xCC\x81", 3, "abe\xCC\x81"},
        {"a family of emoji", "👨‍👩‍👧‍👦!", 1, "👨‍👩‍👧‍👦"},
        {"a flag", "🇮🇳🇬🇧", 1, "🇮🇳"},
        {"carriage return and line feed are one", "a\r\nb", 2, "a\r\n"},
        {"Hangul syllables", "\xE1\x84\x92\xE1\x85\xA1\xE1\x86\xAB!", 1,
         "\xE1\x84\x92\xE1\x85\xA1\xE1\x86\xAB"},
    };
    const IcuLanguage language("en");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(language.prefix(row.text, row.characters), row.prefix);
    }
}

TEST(IcuLanguage, APlainTextIsCutLikeAnyOther) {
    const IcuLanguage language("en");
    const std::string plain(1000, 'x');
    EXPECT_EQ(language.prefix(plain, 400).size(), 400U);
    EXPECT_EQ(language.prefix(plain + "é", 400).size(), 400U);
    const std::string accented = std::string(399, 'x') + "e\xCC\x81" + plain;
    EXPECT_EQ(language.prefix(accented, 400).size(), 402U) << "the accent is the 401st byte";
}
