#include "Duvesk/BundlePlaces.hpp"
#include "Duvesk/Scanner.hpp"
#include "Platforms/Linux/Storage/DirectoryWalker.hpp"
#include "Platforms/Simulated/SimulatedFiles.hpp"
#include "Tests/TemporaryFolder.hpp"
#include "Tests/TestFiles.hpp"
#include "Tests/TimeZone.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <limits>
#include <optional>

namespace fs = std::filesystem;
using Duvesk::Finding;
using Duvesk::Kind;
using Duvesk::Scanner;
using Duvesk::wholeDays;
using Simulated::SimulatedFiles;
using ZorbelKit::TimePoint;
using namespace std::chrono_literals;

namespace {

constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
constexpr auto day = 24h;

TimePoint utc(int year, unsigned month, unsigned dayOfMonth, std::chrono::nanoseconds time = 0h) {
    return std::chrono::sys_days(std::chrono::year(year) / std::chrono::month(month) /
                                 std::chrono::day(dayOfMonth)) +
           time;
}

struct Row {
    Kind kind;
    std::string name;
    std::int64_t bytes;
    std::string note;

    bool operator==(const Row&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Row& row) {
    return out << kindText(row.kind) << ' ' << row.name << ' ' << row.bytes << ' ' << row.note;
}

std::vector<Row> rowsOf(const std::vector<Finding>& findings) {
    std::vector<Row> rows;
    for (const Finding& finding : findings) {
        EXPECT_TRUE(finding.selected);
        rows.push_back({finding.kind, finding.url.filename(), finding.bytes, finding.note});
    }
    return rows;
}

using Rows = std::vector<Row>;

/// A home folder on the disk.
struct Home {
    TimeZone zone{"UTC0"};
    TemporaryFolder folder;
    fs::path home = folder.path() / "home";
    fs::path applications = folder.path() / "Applications";
    fs::path caches = home / "Library/Caches";
    fs::path support = home / "Library/Application Support";
    TimePoint now = utc(2026, 11, 21, 12h);
    std::shared_ptr<const Duvesk::FileWalker> walker = std::make_shared<const Linux::DirectoryWalker>();
    Scanner scanner{std::make_shared<const Duvesk::BundlePlaces>(home, std::vector<fs::path>{applications},
                                                                 walker,
                                                                 [](const fs::path& file) {
                                                                     std::string identifier;
                                                                     std::ifstream(file) >> identifier;
                                                                     return std::optional(identifier);
                                                                 }),
                    walker};

    /// A folder with one file, last changed so many days ago.
    void addSupport(const std::string& name, std::int64_t size, int days) const {
        makeFile(support / name / "file", size);
        setModified(support / name, now - days * day);
    }
    void install(const fs::path& bundle, const std::string& identifier) const {
        fs::create_directories(bundle / "Contents");
        std::ofstream(bundle / "Contents/Info.plist") << identifier;
    }
    Rows scan() const { return rowsOf(scanner.run(now)); }
};

/// A home folder in memory, "/home".
struct MemoryHome {
    TimeZone zone{"UTC0"};
    std::shared_ptr<SimulatedFiles> files = std::make_shared<SimulatedFiles>();
    Scanner scanner{files, files};
    TimePoint now = utc(2026, 11, 21, 12h);

    Rows scan() const { return rowsOf(scanner.run(now)); }
};

} // namespace

TEST(Scanner, FindsNothingWhereThereIsNothing) {
    const Home home;
    EXPECT_EQ(home.scan(), Rows{});
    fs::create_directories(home.caches);
    fs::create_directories(home.support);
    EXPECT_EQ(home.scan(), Rows{});
    makeFile(home.home / "Downloads");
    makeFile(home.home / "Desktop", 200'000'000); // no folder
    EXPECT_EQ(home.scan(), Rows{});
}

TEST(Scanner, S14_CachesCountFromTheirFloorOn) {
    const Home home;
    makeFile(home.caches / "exact/file", Scanner::cacheFloor);
    makeFile(home.caches / "more/file", Scanner::cacheFloor + 1);
    makeFile(home.caches / "pieces/a", 10'485'760);
    makeFile(home.caches / "pieces/inner/Tea.app/b", 10'485'761); // packages are entered
    const Rows expected{{Kind::cache, "more", 20'971'521, "Cache for more"},
                        {Kind::cache, "pieces", 20'971'521, "Cache for pieces"}};
    EXPECT_EQ(home.scan(), expected);
    EXPECT_EQ(home.scanner.run(home.now).front().url, home.caches / "more");
}

TEST(Scanner, SomeCachesAreNotLookedAt) {
    const Home home;
    makeFile(home.caches / "com.apple.tea/file", 30'000'000);
    makeFile(home.caches / ".hidden/file", 30'000'000);
    makeFile(home.caches / "file", 30'000'000); // nothing is below a file
    makeFile(home.caches / "hidden-inside/.hidden/file", 30'000'000);
    makeFile(home.folder.path() / "elsewhere/file", 30'000'000);
    fs::create_directory_symlink(home.folder.path() / "elsewhere", home.caches / "link");
    EXPECT_EQ(home.scan(), Rows{});
    makeFile(home.caches / "com.apple", 0);
    makeFile(home.caches / "com.applet/file", 30'000'000);
    makeFile(home.caches / "Com.Apple.tea/file", 29'000'000);
    EXPECT_EQ(home.scan(), (Rows{{Kind::cache, "com.applet", 30'000'000, "Cache for com.applet"},
                                 {Kind::cache, "Com.Apple.tea", 29'000'000, "Cache for Com.Apple.tea"}}));
}

TEST(Scanner, S06_OfALargeCacheTheFirst60000ItemsCount) {
    const Home home;
    makeFile(home.caches / "tea/00000", 1000);
    for (int number = 1; number < 60'000; ++number) {
        const std::string name = std::to_string(100'000 + number).substr(1);
        ASSERT_EQ(::link((home.caches / "tea/00000").c_str(), (home.caches / "tea" / name).c_str()), 0);
    }
    EXPECT_EQ(home.scan(), (Rows{{Kind::cache, "tea", 60'000'000, "Cache for tea"}}));
    makeFile(home.caches / "tea/last", 7);
    EXPECT_EQ(home.scan(), (Rows{{Kind::cache, "tea", 60'000'000, "Cache for tea"}}));
    EXPECT_EQ(home.scanner.directorySize(home.caches / "tea"), 60'000'000);
}

TEST(Scanner, S14_LargeFilesCountFromTheirFloorOn) {
    const Home home;
    makeFile(home.home / "Downloads/exact", Scanner::largeFileFloor);
    makeFile(home.home / "Downloads/more", Scanner::largeFileFloor + 1);
    EXPECT_EQ(home.scan(), (Rows{{Kind::large, "more", 104'857'601, "In Downloads"}}));
}

TEST(Scanner, LargeFilesAreFoundInFourFolders) {
    const Home home;
    for (const char* root : {"Movies", "Documents", "Desktop", "Downloads", "Pictures", "Music"}) {
        makeFile(home.home / root / "inner/folder/file", 200'000'000);
    }
    makeFile(home.home / "file", 200'000'000);
    EXPECT_EQ(home.scan(), (Rows{{Kind::large, "file", 200'000'000, "In Downloads"},
                                 {Kind::large, "file", 200'000'000, "In Desktop"},
                                 {Kind::large, "file", 200'000'000, "In Documents"},
                                 {Kind::large, "file", 200'000'000, "In Movies"}}));
}

TEST(Scanner, SomeLargeFilesAreNotLookedAt) {
    const Home home;
    const fs::path root = home.home / "Documents";
    makeFile(root / "Trip.photoslibrary/originals/file", 200'000'000);
    makeFile(root / "Tea.app/Contents/file", 200'000'000);
    makeFile(root / ".hidden", 200'000'000);
    makeFile(root / ".hidden-folder/file", 200'000'000);
    makeFile(home.folder.path() / "elsewhere/file", 200'000'000);
    fs::create_symlink(home.folder.path() / "elsewhere/file", root / "link-to-file");
    fs::create_directory_symlink(home.folder.path() / "elsewhere", root / "link-to-folder");
    EXPECT_EQ(home.scan(), Rows{});
}

TEST(Scanner, S01_TheLengthOfASparseFileCounts) {
    const Home home;
    makeFile(home.home / "Downloads/sparse", 524'288'000); // no block of it is on the disk
    EXPECT_EQ(home.scan(), (Rows{{Kind::large, "sparse", 524'288'000, "In Downloads"}}));
}

TEST(Scanner, S02_EachNameOfALargeFileIsListed) {
    const Home home;
    makeFile(home.home / "Downloads/one", 150'000'000);
    fs::create_hard_link(home.home / "Downloads/one", home.home / "Downloads/two");
    fs::create_directories(home.home / "Movies");
    fs::create_hard_link(home.home / "Downloads/one", home.home / "Movies/three");
    EXPECT_EQ(home.scan(), (Rows{{Kind::large, "one", 150'000'000, "In Downloads"},
                                 {Kind::large, "two", 150'000'000, "In Downloads"},
                                 {Kind::large, "three", 150'000'000, "In Movies"}}));
}

TEST(Scanner, S06_OfARootTheFirst20000ItemsAreLookedAt) {
    const MemoryHome home;
    for (int number = 0; number < 19'999; ++number) {
        home.files->add("/home/Downloads/" + std::to_string(100'000 + number), 1);
    }
    home.files->add("/home/Downloads/200000", 200'000'000);
    home.files->add("/home/Downloads/200001", 300'000'000);
    home.files->add("/home/Movies/file", 400'000'000); // each root has a count of its own
    EXPECT_EQ(home.scan(), (Rows{{Kind::large, "file", 400'000'000, "In Movies"},
                                 {Kind::large, "200000", 200'000'000, "In Downloads"}}));
}

TEST(Scanner, S14_LargeFilesTellForHowLongTheyHaveRested) {
    const struct {
        const char* name;
        std::chrono::nanoseconds age;
        const char* note;
    } rows[] = {
        {"changed just now", 0h, "In Downloads"},
        {"in the future", -400 * day, "In Downloads"},
        {"180 days", 180 * day, "In Downloads"},
        {"a moment less than 181 days", 181 * day - 1ns, "In Downloads"},
        {"181 days", 181 * day, "In Downloads · untouched for 6 months"},
        {"209 days", 209 * day, "In Downloads · untouched for 6 months"},
        {"210 days", 210 * day, "In Downloads · untouched for 7 months"},
        {"365 days", 365 * day, "In Downloads · untouched for 12 months"},
        {"since 1970", 20'778 * day, "In Downloads · untouched for 692 months"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const MemoryHome home;
        home.files->add("/home/Downloads/file", 200'000'000, home.now - row.age);
        EXPECT_EQ(home.scan(), (Rows{{Kind::large, "file", 200'000'000, row.note}}));
    }
    const MemoryHome home;
    home.files->add("/home/Movies/undated", 200'000'000);
    EXPECT_EQ(home.scan(), (Rows{{Kind::large, "undated", 200'000'000, "In Movies"}}));
}

TEST(Scanner, AgesAreReadFromTheDisk) {
    const Home home;
    const fs::path file = home.home / "Movies/file";
    makeFile(file, 200'000'000);
    setModified(file, home.now - 181 * day);
    EXPECT_EQ(home.scan(), (Rows{{Kind::large, "file", 200'000'000, "In Movies · untouched for 6 months"}}));
    setModified(file, home.now - 180 * day);
    EXPECT_EQ(home.scan(), (Rows{{Kind::large, "file", 200'000'000, "In Movies"}}));
}

TEST(Scanner, S14_WhatIsLeftBehindIsOldAndLargeEnough) {
    constexpr std::int64_t size = 10'485'761;
    const struct {
        const char* description;
        const char* name;
        std::int64_t size;
        int days;
        bool isFound;
    } rows[] = {
        {"an identifier", "org.example.tea", size, 40, true},
        {"of the floor's size", "org.example.tea", size - 1, 40, false},
        {"31 days", "org.example.tea", size, 31, true},
        {"30 days", "org.example.tea", size, 30, false},
        {"from the future", "org.example.tea", size, -400, false},
        {"no dot", "tea", size, 40, false},
        {"of the system", "com.apple.tea", size, 40, false},
        {"nearly of the system", "com.apple", size, 40, true},
        {"hidden", ".org.example", size, 40, false},
        {"installed", "com.example.tea", size, 40, false},
        {"installed in other letters", "com.example.Tea", size, 40, true},
        {"a dot at the end", "tea.", size, 40, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.description);
        const Home home;
        home.install(home.applications / "Tea.app", "com.example.tea");
        home.addSupport(row.name, row.size, row.days);
        const std::string note =
            std::string("No installed app claims ") + row.name + ", untouched for months";
        EXPECT_EQ(home.scan(), row.isFound ? (Rows{{Kind::leftover, row.name, row.size, note}}) : Rows{});
    }
}

TEST(Scanner, AFileIsNeverLeftBehind) {
    const Home home;
    makeFile(home.support / "org.example.tea", 20'000'000);
    setModified(home.support / "org.example.tea", home.now - 40 * day);
    EXPECT_EQ(home.scan(), Rows{});
}

TEST(Scanner, AFolderWithoutADateIsOldEnough) {
    const MemoryHome home;
    home.files->add("/home/Library/Application Support/org.example.tea/file", 10'485'761);
    EXPECT_EQ(home.scan(), (Rows{{Kind::leftover, "org.example.tea", 10'485'761,
                                  "No installed app claims org.example.tea, untouched for months"}}));
}

TEST(Scanner, ProgramsInFoldersOfProgramsAreInstalled) {
    const Home home;
    home.install(home.applications / "Utilities/Inner.app", "com.example.inner");
    home.install(home.applications / "Utilities/More/Deep.app", "com.example.deep");
    home.addSupport("com.example.inner", 20'000'000, 40);
    home.addSupport("com.example.deep", 20'000'000, 40);
    EXPECT_EQ(home.scan(), (Rows{{Kind::leftover, "com.example.deep", 20'000'000,
                                  "No installed app claims com.example.deep, untouched for months"}}));
    EXPECT_EQ(home.scanner.installedBundleIDs(), (std::set<std::string, std::less<>>{"com.example.inner"}));
}

TEST(Scanner, S13_WhatIsInUseIsNotLeftBehind) {
    const MemoryHome home;
    const fs::path folder = "/home/Library/Application Support/org.example.tea";
    home.files->add(folder / "file", 20'000'000);
    EXPECT_EQ(home.scan().size(), 1U);
    home.files->inUse.insert(folder);
    EXPECT_EQ(home.scan(), Rows{});
}

TEST(Scanner, TheLargestComesFirstAndEqualOnesAsTheyWereFound) {
    const Home home;
    home.addSupport("org.example.a", 200'000'000, 40);
    home.addSupport("org.example.b", 300'000'000, 40);
    makeFile(home.home / "Movies/film", 200'000'000);
    makeFile(home.home / "Downloads/b", 200'000'000);
    makeFile(home.home / "Downloads/a", 200'000'000);
    makeFile(home.caches / "tea/file", 200'000'000);
    makeFile(home.caches / "cup/file", 100'000'000);
    std::vector<std::string> names;
    for (const Row& row : home.scan()) {
        names.push_back(row.name);
    }
    EXPECT_EQ(names,
              (std::vector<std::string>{"org.example.b", "tea", "a", "b", "film", "org.example.a", "cup"}));
}

TEST(Scanner, S08_NotesAreOneLineOfText) {
    const Home home;
    makeFile(home.caches / "t\xE9\na/file", 30'000'000);
    home.addSupport("org.\xFFx", 20'000'000, 40);
    const auto findings = home.scanner.run(home.now);
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[0].note, "Cache for t\xEF\xBF\xBD a");
    EXPECT_EQ(findings[0].url, home.caches / "t\xE9\na"); // as it is on the disk
    EXPECT_EQ(findings[1].note, "No installed app claims org.\xEF\xBF\xBDx, untouched for months");
    EXPECT_EQ(findings[1].url, home.support / "org.\xFFx");
}

TEST(Scanner, EachFindingHasAnIdentityOfItsOwn) {
    const Home home;
    makeFile(home.caches / "a/file", 30'000'000);
    makeFile(home.caches / "b/file", 30'000'000);
    const auto first = home.scanner.run(home.now);
    const auto second = home.scanner.run(home.now);
    ASSERT_EQ(first.size(), 2U);
    EXPECT_NE(first[0].id, first[1].id);
    EXPECT_NE(first[0].id, second[0].id);
}

TEST(Scanner, AbsurdSizesDoNoHarm) {
    const MemoryHome home;
    home.files->add("/home/Library/Caches/huge/a", most);
    home.files->add("/home/Library/Caches/huge/b", most);
    home.files->add("/home/Library/Caches/odd/a", -5);
    home.files->add("/home/Downloads/huge", most, TimePoint::min());
    home.files->add("/home/Downloads/least", std::numeric_limits<std::int64_t>::min(), TimePoint::max());
    home.files->add("/home/Downloads/late", 200'000'000, TimePoint::max());
    const Rows found = home.scan();
    ASSERT_EQ(found.size(), 3U);
    EXPECT_EQ(found[0], (Row{Kind::cache, "huge", most, "Cache for huge"}));
    EXPECT_EQ(found[1].bytes, most);
    EXPECT_EQ(found[2], (Row{Kind::large, "late", 200'000'000, "In Downloads"}));
}

TEST(Scanner, TheSizeOfWhatIsNotThereIsZero) {
    const Home home;
    makeFile(home.home / "folder/inner/file", 7);
    EXPECT_EQ(home.scanner.directorySize(home.home / "folder"), 7);
    EXPECT_EQ(home.scanner.directorySize(home.home / "missing"), 0);
    EXPECT_EQ(home.scanner.directorySize(home.home / "folder/inner/file"), 0);
}

namespace {

/// Keeps what was asked of it.
struct AskedFiles : SimulatedFiles {
    std::vector<std::optional<std::int64_t>> sizesBelow(const std::vector<fs::path>& folders,
                                                        std::int64_t limit) const override {
        EXPECT_EQ(limit, 60'000);
        if (!folders.empty()) {
            asked.push_back(folders);
        }
        return SimulatedFiles::sizesBelow(folders, limit);
    }
    std::set<std::string, std::less<>> installedBundleIDs() const override {
        ++readings;
        return SimulatedFiles::installedBundleIDs();
    }

    mutable std::vector<std::vector<fs::path>> asked;
    mutable int readings = 0; // of what is installed
};

} // namespace

TEST(Scanner, SizesAreAskedForAllAtOnceAndOnlyWhereTheyDecide) {
    const auto files = std::make_shared<AskedFiles>();
    const Scanner scanner(files, files);
    const TimePoint now = utc(2026, 11, 21);
    const fs::path support = "/home/Library/Application Support";
    files->add(support / "nodot/file", 20'000'000);
    files->add(support / "org.example.young/file", 20'000'000, now);
    files->add("/home/Library/Caches/a/file", 1);
    files->add("/home/Library/Caches/b/file", 1);
    scanner.run(now);
    EXPECT_EQ(files->asked,
              (std::vector<std::vector<fs::path>>{{"/home/Library/Caches/a", "/home/Library/Caches/b"}}));
    EXPECT_EQ(files->readings, 0) << "nothing there could be left behind";

    files->asked.clear();
    files->add(support / "org.example.a/file", 20'000'000);
    files->add(support / "org.example.b/file", 20'000'000);
    files->add(support / "org.example.c/file", 20'000'000);
    files->add(support / "org.example.d/file", 20'000'000);
    files->installed = {"org.example.b"};
    files->inUse = {support / "org.example.c"};
    scanner.run(now);
    ASSERT_EQ(files->asked.size(), 2U);
    EXPECT_EQ(files->asked[1], (std::vector<fs::path>{support / "org.example.a", support / "org.example.d"}));
    EXPECT_EQ(files->readings, 1);
}

TEST(WholeDays, AreCountedByTheCalendar) {
    // Central European time: summer from 29 March 2026, 2:00 to 25 October 2026, 3:00.
    constexpr auto berlin = "CET-1CEST,M3.5.0,M10.5.0/3";
    constexpr auto newYork = "EST5EDT,M3.2.0,M11.1.0";
    const struct {
        const char* name;
        const char* zone;
        TimePoint from;
        TimePoint to;
        std::int64_t days;
    } rows[] = {
        {"no time", "UTC0", utc(2026, 3, 1), utc(2026, 3, 1), 0},
        {"a nanosecond less than a day", "UTC0", utc(2026, 3, 1), utc(2026, 3, 2) - 1ns, 0},
        {"a day", "UTC0", utc(2026, 3, 1), utc(2026, 3, 2), 1},
        {"a day from part of a second", "UTC0", utc(2026, 3, 1, 5ns), utc(2026, 3, 2, 5ns), 1},
        {"just not from part of a second", "UTC0", utc(2026, 3, 1, 6ns), utc(2026, 3, 2, 5ns), 0},
        {"a leap year", "UTC0", utc(2024, 1, 1), utc(2025, 1, 1), 366},
        {"from before 1970", "UTC0", utc(1969, 12, 31, 23h), utc(1970, 1, 1, 23h), 1},
        {"to the last second before 1970", "UTC0", utc(1969, 12, 30, 23h + 59min + 59s),
         utc(1969, 12, 31, 23h + 59min + 59s), 1},
        {"the clock was set back", "UTC0", utc(2026, 3, 2), utc(2026, 3, 1, 1ns), 0},
        {"by a day", "UTC0", utc(2026, 3, 2), utc(2026, 3, 1), -1},
        {"by a day and a half", "UTC0", utc(2026, 3, 3), utc(2026, 3, 1, 12h), -1},
        {"the date of the zone counts", newYork, utc(2026, 1, 1, 4h), utc(2026, 1, 2, 3h + 59min), 0},
        {"23 hours where clocks go forward", berlin, utc(2026, 3, 28, 11h), utc(2026, 3, 29, 10h), 1},
        {"less than that", berlin, utc(2026, 3, 28, 11h), utc(2026, 3, 29, 10h) - 1ns, 0},
        {"24 hours where clocks go back", berlin, utc(2026, 10, 24, 10h), utc(2026, 10, 25, 10h), 0},
        {"25 hours where clocks go back", berlin, utc(2026, 10, 24, 10h), utc(2026, 10, 25, 11h), 1},
        {"from 2:30 to a day without, before", berlin, utc(2026, 3, 28, 90min), utc(2026, 3, 29, 90min) - 1s,
         0},
        {"from 2:30 to a day without, 3:30", berlin, utc(2026, 3, 28, 90min), utc(2026, 3, 29, 90min), 1},
        {"from 2:30 in summer to the first 2:30", berlin, utc(2026, 10, 24, 30min), utc(2026, 10, 25, 30min),
         1},
        {"the minute before", berlin, utc(2026, 10, 24, 30min), utc(2026, 10, 25, 29min), 0},
        {"180 days over a change", berlin, utc(2026, 2, 1, 11h), utc(2026, 7, 31, 10h), 180},
        {"179 days and 23 hours over a change", berlin, utc(2026, 2, 1, 11h), utc(2026, 7, 31, 10h) - 1s,
         179},
        {"back over a change", berlin, utc(2026, 3, 29, 10h), utc(2026, 3, 28, 11h), -1},
        {"less than that back", berlin, utc(2026, 3, 29, 10h), utc(2026, 3, 28, 11h + 1ns), 0},
        {"as long as can be", "UTC0", TimePoint::min(), TimePoint::max(), 213'503},
        {"as long back", "UTC0", TimePoint::max(), TimePoint::min(), -213'503},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const TimeZone zone(row.zone);
        EXPECT_EQ(wholeDays(row.from, row.to), row.days);
    }
}

TEST(WholeDays, NeverGoBackWhileTimePasses) {
    for (const char* name : {"UTC0", "CET-1CEST,M3.5.0,M10.5.0/3", "LHST-10:30LHDT-11,M10.1.0,M4.1.0"}) {
        SCOPED_TRACE(name);
        const TimeZone zone(name);
        for (const TimePoint from :
             {utc(2026, 3, 27, 90min), utc(2026, 10, 23, 30min), utc(2026, 4, 3, 15h)}) {
            std::int64_t days = 0;
            for (TimePoint to = from; to < from + 4 * day; to += 5min) {
                const std::int64_t next = wholeDays(from, to).value_or(-1);
                EXPECT_GE(next, days);
                EXPECT_LE(next, days + 1);
                days = next;
            }
            EXPECT_GE(days, 3);
        }
    }
}
