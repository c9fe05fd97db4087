#include "Platforms/Linux/IcuLanguage.hpp"
#include "Tests/TimeZone.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

using Linux::IcuLanguage;
using ZorbelKit::TimePoint;
using namespace std::chrono_literals;

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

TEST(IcuLanguage, AListIsInTheOrderItsReaderKnows) {
    const struct {
        const char* name;
        const char* locale;
        std::string first;
        std::string second;
    } rows[] = {
        {"case is left aside", "en_GB", "firefox", "Gedit"},
        {"and so the other way", "en_GB", "Firefox", "gedit"},
        {"an accent stays with its letter", "en_GB", "Éclair", "Files"},
        {"Swedish ends with letters of its own", "sv_SE", "Zebra", "Ångström"},
        {"German knows them as A", "de_DE", "Ångström", "Zebra"},
        {"an accent tells two apart", "en_GB", "resume", "résumé"},
        {"nothing comes first", "en_GB", "", "a"},
        {"not UTF-8", "en_GB", "a", "\xFF"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const IcuLanguage language(row.locale);
        EXPECT_LT(language.compare(row.first, row.second), 0);
        EXPECT_GT(language.compare(row.second, row.first), 0);
    }
    EXPECT_EQ(IcuLanguage("en_GB").compare("Tea", "tEA"), 0);
    EXPECT_EQ(IcuLanguage("not a locale at all").compare("Tea", "tEA"), 0);
}

// Dates

namespace {

TimePoint utc(int year, unsigned month, unsigned day, std::chrono::nanoseconds time) {
    return std::chrono::sys_days(std::chrono::year(year) / std::chrono::month(month) /
                                 std::chrono::day(day)) +
           time;
}

TimePoint evening() {
    return utc(2026, 11, 21, 21h + 56min + 7s + 999ms);
}

} // namespace

TEST(IcuLanguage, SaysTheTimeAsTheUserDoes) {
    const TimeZone zone("UTC");
    EXPECT_EQ(IcuLanguage("en_US").timeOfDay(evening()), "9:56 PM");
    EXPECT_EQ(IcuLanguage("en_GB").timeOfDay(evening()), "21:56");
    EXPECT_EQ(IcuLanguage("de_DE").timeOfDay(evening()), "21:56");
    const TimeZone elsewhere("Asia/Kolkata");
    EXPECT_EQ(IcuLanguage("en_GB").timeOfDay(evening()), "03:26");
}

TEST(IcuLanguage, SaysDateAndTimeAsTheUserDoes) {
    const TimeZone zone("UTC");
    const struct {
        const char* locale;
        std::string text;
    } rows[] = {
        {"en_US", "Nov 21, 2026, 9:56:07 PM"},  {"en_GB", "21 Nov 2026, 21:56:07"},
        {"de_DE", "21. Nov. 2026, 21:56:07"},   {"ja_JP", "2026年11月21日 21:56:07"},
        {"ar_EG", "٢١ نوفمبر ٢٠٢٦، ٩:٥٦:٠٧ م"}, {"C", "Nov 21, 2026, 21:56:07"},
        {"xx_YY", "Nov 21, 2026, 21:56:07"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.locale);
        EXPECT_EQ(IcuLanguage(row.locale).dateAndTime(evening()), row.text);
    }
}

TEST(IcuLanguage, NoLocaleLeavesADateOut) {
    const TimeZone zone("UTC");
    for (const char* locale : {"", "not a locale at all", "en_US@calendar=buddhist", "\xFF\xFE"}) {
        SCOPED_TRACE(locale);
        EXPECT_NE(IcuLanguage(locale).dateAndTime(evening()).find("56:07"), std::string::npos);
    }
}

TEST(IcuLanguage, ATimeIsThatOfTheUsersZone) {
    const struct {
        const char* name;
        const char* zone;
        TimePoint moment;
        std::string text;
    } rows[] = {
        {"east, the next day", "Asia/Kolkata", evening(), "22 Nov 2026, 03:26:07"},
        {"west", "America/St_Johns", evening(), "21 Nov 2026, 18:26:07"},
        {"as far east as it goes", "Pacific/Kiritimati", evening(), "22 Nov 2026, 11:56:07"},
        {"the last second of winter", "Europe/London", utc(2026, 3, 29, 0h + 59min + 59s),
         "29 Mar 2026, 00:59:59"},
        {"the first of summer", "Europe/London", utc(2026, 3, 29, 1h), "29 Mar 2026, 02:00:00"},
        {"the hour that comes twice", "Europe/London", utc(2026, 10, 25, 0h + 30min),
         "25 Oct 2026, 01:30:00"},
        {"the second time", "Europe/London", utc(2026, 10, 25, 1h + 30min), "25 Oct 2026, 01:30:00"},
        {"a zone that nobody knows", "Nowhere/At_All", evening(), "21 Nov 2026, 21:56:07"},
        {"before zones there were", "Europe/London", utc(1700, 1, 1, 12h), "1 Jan 1700, 11:58:45"},
        {"before the world's time began", "UTC", utc(1969, 12, 31, 23h + 59min + 59s + 1ns),
         "31 Dec 1969, 23:59:59"},
        {"far ahead", "UTC", utc(2261, 12, 31, 23h + 59min + 59s), "31 Dec 2261, 23:59:59"},
    };
    const IcuLanguage language("en_GB");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const TimeZone zone(row.zone);
        EXPECT_EQ(language.dateAndTime(row.moment), row.text);
    }
}

TEST(IcuLanguage, TheFirstAndTheLastMomentHaveADate) {
    const TimeZone zone("UTC");
    const IcuLanguage language("en_GB");
    EXPECT_EQ(language.dateAndTime(TimePoint::min()), "21 Sept 1677, 00:12:43");
    EXPECT_EQ(language.dateAndTime(TimePoint::max()), "11 Apr 2262, 23:47:16");
}

TEST(IcuLanguage, SeveralThreadsMayAskAtOnce) {
    const TimeZone zone("UTC");
    const IcuLanguage language("en_GB");
    std::atomic<int> right = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&] {
            for (int round = 0; round < 50; ++round) {
                right += language.dateAndTime(evening()) == "21 Nov 2026, 21:56:07" ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(right, 200);
}
