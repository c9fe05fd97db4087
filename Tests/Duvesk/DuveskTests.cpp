#include "Duvesk/Duvesk.hpp"
#include "Duvesk/DuveskTexts.hpp"
#include "Platforms/Simulated/SimulatedHost.hpp"
#include "ZorbelKit/Stall.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace fs = std::filesystem;
using Duvesk::DuveskSpice;
using Duvesk::Finding;
using Duvesk::Kind;
using Duvesk::Scanner;
using Simulated::SimulatedHost;
using ZorbelKit::Token;

namespace {

using Names = std::vector<std::string>;

Names namesOf(const std::vector<Finding>& findings) {
    Names names;
    for (const Finding& finding : findings) {
        names.push_back(finding.url.filename());
    }
    return names;
}

struct Desk {
    SimulatedHost host;
    const int liveBefore = host.liveThings();
    std::unique_ptr<DuveskSpice> owner = std::make_unique<DuveskSpice>(
        host.loop, host.clock, host.fileManager, std::make_shared<const Scanner>(host.files, host.files));
    DuveskSpice& duvesk = *owner;

    void addCache(const std::string& name, std::int64_t bytes) const {
        host.files->add("/home/Library/Caches/" + name + "/file", bytes);
    }
    void addFile(const std::string& name, std::int64_t bytes) const {
        host.files->add("/home/Downloads/" + name, bytes);
    }
    void addLeftover(const std::string& name, std::int64_t bytes) const {
        host.files->add("/home/Library/Application Support/" + name + "/file", bytes);
    }
    /// Two caches, a large file and a folder that is left behind.
    void fill() const {
        addCache("cup", 30'000'000);
        addCache("pot", 40'000'000);
        addFile("film", 200'000'000);
        addLeftover("org.example.tea", 20'000'000);
    }
    void scan() {
        duvesk.scan();
        host.loop.settle();
    }
    void finishMoves() {
        host.fileManager.finish();
        host.loop.settle();
    }
    Finding finding(const std::string& name) const {
        const auto found = std::ranges::find_if(
            duvesk.findings(), [&](const Finding& each) { return each.url.filename() == name; });
        EXPECT_NE(found, duvesk.findings().end()) << name;
        return found == duvesk.findings().end() ? Finding{} : *found;
    }
    Names found() const { return namesOf(duvesk.findings()); }
    Names selected() const {
        std::vector<Finding> selected;
        std::ranges::copy_if(duvesk.findings(), std::back_inserter(selected), &Finding::selected);
        return namesOf(selected);
    }
};

} // namespace

TEST(Duvesk, KnowsItsNames) {
    const Desk desk;
    EXPECT_EQ(DuveskSpice::largeFileFloor, 100 * 1024 * 1024);
    EXPECT_EQ(desk.duvesk.id(), "duvesk");
    EXPECT_EQ(desk.duvesk.name(), "Duvesk");
    EXPECT_EQ(desk.duvesk.role(), "Storage & Uninstall");
    EXPECT_EQ(desk.duvesk.summary(), "Finds what is large, cached or left behind, and puts it in the Trash.");
    EXPECT_FALSE(desk.duvesk.reason().empty());
    EXPECT_EQ(desk.duvesk.wave(), ZorbelKit::Wave::nextBatch);
    EXPECT_FALSE(desk.duvesk.isEnabled());
    EXPECT_TRUE(desk.duvesk.findings().empty());
    EXPECT_FALSE(desk.duvesk.isScanning());
    EXPECT_EQ(desk.duvesk.scanned(), 0);
    EXPECT_EQ(desk.duvesk.lastReclaimed(), 0);
    EXPECT_EQ(desk.duvesk.showing(), std::nullopt);
    EXPECT_EQ(Scanner::largeFileFloor, 104'857'600);
}

TEST(Duvesk, KindsHaveTheirNames) {
    EXPECT_EQ(kindText(Kind::cache), "Cache");
    EXPECT_EQ(kindText(Kind::large), "Large file");
    EXPECT_EQ(kindText(Kind::leftover), "Left behind");
    EXPECT_EQ(Duvesk::allKinds, (std::array{Kind::cache, Kind::large, Kind::leftover}));
}

TEST(Duvesk, SizesAreMegabytesAndGigabytes) {
    const struct {
        std::int64_t bytes;
        const char* text;
    } rows[] = {{0, "Zero MB"},
                {999, "0 MB"},
                {1'000'000, "1 MB"},
                {20'971'521, "21 MB"},
                {999'000'000, "999 MB"},
                {1'250'000'000, "1.25 GB"},
                {5'000'000'000'000, "5000 GB"},
                {-1'000'000, "-1 MB"}};
    for (const auto& row : rows) {
        EXPECT_EQ(Duvesk::asSize(row.bytes), row.text);
    }
}

TEST(Duvesk, DoesNothingByItself) {
    Desk desk;
    desk.fill();
    desk.duvesk.steep();
    desk.host.loop.advance(ZorbelKit::Seconds{3600});
    EXPECT_TRUE(desk.duvesk.findings().empty());
    EXPECT_FALSE(desk.duvesk.isScanning());
    EXPECT_EQ(desk.host.liveThings(), desk.liveBefore);
    desk.scan();
    EXPECT_EQ(desk.host.liveThings(), desk.liveBefore);
    EXPECT_EQ(desk.host.loop.firedTimers(), 0);
    desk.duvesk.rest();
    EXPECT_EQ(desk.host.liveThings(), desk.liveBefore);
}

TEST(Duvesk, AScanLeavesWhatItFoundLargestFirst) {
    Desk desk;
    desk.fill();
    desk.duvesk.scan();
    EXPECT_TRUE(desk.duvesk.isScanning());
    EXPECT_TRUE(desk.duvesk.findings().empty());
    desk.host.loop.settle();
    EXPECT_FALSE(desk.duvesk.isScanning());
    EXPECT_EQ(desk.found(), (Names{"film", "pot", "cup", "org.example.tea"}));
    EXPECT_EQ(desk.selected(), desk.found());
    EXPECT_EQ(desk.duvesk.scanned(), 0);
    EXPECT_EQ(desk.duvesk.selectedBytes(), 290'000'000);
    EXPECT_EQ(desk.duvesk.total(Kind::cache), 70'000'000);
    EXPECT_EQ(desk.duvesk.total(Kind::large), 200'000'000);
    EXPECT_EQ(desk.duvesk.total(Kind::leftover), 20'000'000);
}

TEST(Duvesk, AScanReplacesWhatTheLastOneFound) {
    Desk desk;
    desk.fill();
    desk.scan();
    desk.duvesk.toggle(desk.finding("cup"));
    desk.addCache("saucer", 50'000'000);
    desk.duvesk.scan();
    EXPECT_TRUE(desk.duvesk.findings().empty());
    desk.host.loop.settle();
    EXPECT_EQ(desk.found(), (Names{"film", "saucer", "pot", "cup", "org.example.tea"}));
    EXPECT_TRUE(desk.finding("cup").selected) << "what is found is ticked anew";
}

TEST(Duvesk, S21_ASecondPressWhileItScansDoesNothing) {
    Desk desk;
    desk.fill();
    desk.duvesk.scan();
    int changes = 0;
    const Token listening = desk.duvesk.observe([&] { ++changes; });
    desk.duvesk.scan();
    EXPECT_EQ(changes, 0);
    desk.host.loop.settle();
    const auto first = desk.duvesk.findings();
    EXPECT_EQ(changes, 2); // what was found, and that it is over: one scan's
    desk.host.loop.settle();
    EXPECT_EQ(desk.duvesk.findings(), first);
}

TEST(Duvesk, S21_AScanThatEndsAfterItWasTurnedOffStillTells) {
    Desk desk;
    desk.fill();
    desk.duvesk.scan();
    desk.duvesk.rest();
    EXPECT_FALSE(desk.duvesk.isScanning());
    EXPECT_TRUE(desk.duvesk.findings().empty());
    desk.host.loop.settle();
    EXPECT_FALSE(desk.duvesk.isScanning());
    EXPECT_EQ(desk.duvesk.findings().size(), 4U);
    desk.duvesk.rest();
    EXPECT_TRUE(desk.duvesk.findings().empty());
}

TEST(Duvesk, S21_AnotherScanMayBeginAfterItWasTurnedOff) {
    Desk desk;
    desk.fill();
    desk.duvesk.scan();
    desk.duvesk.rest();
    desk.duvesk.scan(); // while the first is still under way
    EXPECT_TRUE(desk.duvesk.isScanning());
    desk.host.loop.settle();
    EXPECT_FALSE(desk.duvesk.isScanning());
    EXPECT_EQ(desk.found(), (Names{"film", "pot", "cup", "org.example.tea"}));
}

TEST(Duvesk, AScanMayOutliveIt) {
    Desk desk;
    desk.fill();
    desk.duvesk.scan();
    desk.owner.reset();
    desk.host.loop.settle(); // nothing is written to what is gone
    EXPECT_EQ(desk.host.liveThings(), desk.liveBefore);
}

TEST(Duvesk, TicksAreTurnedOneByOne) {
    Desk desk;
    desk.fill();
    desk.scan();
    desk.duvesk.toggle(desk.finding("pot"));
    EXPECT_EQ(desk.selected(), (Names{"film", "cup", "org.example.tea"}));
    EXPECT_EQ(desk.duvesk.selectedBytes(), 250'000'000);
    EXPECT_EQ(desk.duvesk.total(Kind::cache), 70'000'000) << "ticked or not";
    desk.duvesk.toggle(desk.finding("pot"));
    EXPECT_EQ(desk.selected(), desk.found());

    Finding stale = desk.finding("cup"); // only its identity counts
    stale.selected = false;
    stale.url = "/elsewhere";
    desk.duvesk.toggle(stale);
    EXPECT_EQ(desk.selected(), (Names{"film", "pot", "org.example.tea"}));
    desk.duvesk.toggle(Finding{});
    EXPECT_EQ(desk.selected(), (Names{"film", "pot", "org.example.tea"}));
}

TEST(Duvesk, AllTicksOfTheKindThatIsShownAreSet) {
    Desk desk;
    desk.fill();
    desk.scan();
    desk.duvesk.setShowing(Kind::cache);
    desk.duvesk.setAll(false);
    EXPECT_EQ(desk.selected(), (Names{"film", "org.example.tea"}));
    desk.duvesk.setShowing(Kind::large);
    desk.duvesk.setAll(false);
    EXPECT_EQ(desk.selected(), Names{"org.example.tea"});
    desk.duvesk.setAll(true);
    EXPECT_EQ(desk.selected(), (Names{"film", "org.example.tea"}));
    desk.duvesk.setShowing(std::nullopt);
    desk.duvesk.setAll(true);
    EXPECT_EQ(desk.selected(), desk.found());
    desk.duvesk.setAll(false);
    EXPECT_EQ(desk.selected(), Names{});
    EXPECT_EQ(desk.duvesk.selectedBytes(), 0);
}

TEST(Duvesk, ShowsOneKindOrAll) {
    Desk desk;
    desk.fill();
    desk.addCache("bowl", 40'000'000); // as large as the pot, and found before it
    desk.scan();
    EXPECT_EQ(namesOf(desk.duvesk.visible()), (Names{"film", "bowl", "pot", "cup", "org.example.tea"}));
    desk.duvesk.setShowing(Kind::cache);
    EXPECT_EQ(namesOf(desk.duvesk.visible()), (Names{"bowl", "pot", "cup"}));
    desk.duvesk.toggle(desk.finding("bowl"));
    EXPECT_EQ(namesOf(desk.duvesk.visible()), (Names{"bowl", "pot", "cup"}));
    EXPECT_EQ(desk.duvesk.selectedBytes(), 290'000'000) << "of what is not shown too";
    desk.duvesk.setShowing(Kind::leftover);
    EXPECT_EQ(namesOf(desk.duvesk.visible()), Names{"org.example.tea"});
    EXPECT_EQ(desk.found().size(), 5U);
}

TEST(Duvesk, WhatIsTickedGoesToTheTrash) {
    Desk desk;
    desk.fill();
    desk.scan();
    desk.duvesk.toggle(desk.finding("pot"));
    desk.duvesk.clear();
    EXPECT_EQ(desk.host.fileManager.moves(), 1);
    EXPECT_EQ(desk.found().size(), 4U) << "all stay until they are moved";
    EXPECT_EQ(desk.duvesk.lastReclaimed(), 0);
    desk.finishMoves();
    EXPECT_EQ(desk.found(), Names{"pot"});
    EXPECT_EQ(desk.duvesk.lastReclaimed(), 250'000'000);
    EXPECT_EQ(desk.host.fileManager.recycled,
              (std::vector<fs::path>{"/home/Downloads/film", "/home/Library/Caches/cup",
                                     "/home/Library/Application Support/org.example.tea"}));
}

TEST(Duvesk, WhatIsTickedGoesWhetherItIsShownOrNot) {
    Desk desk;
    desk.fill();
    desk.scan();
    desk.duvesk.setShowing(Kind::large);
    desk.duvesk.clear();
    desk.finishMoves();
    EXPECT_EQ(desk.found(), Names{});
    EXPECT_EQ(desk.duvesk.lastReclaimed(), 290'000'000);
}

TEST(Duvesk, S19_WhatCannotBeMovedStaysTickedAndIsReportedAllTheSame) {
    Desk desk;
    desk.fill();
    desk.scan();
    desk.host.fileManager.immovable = {"/home/Library/Caches/pot"};
    desk.duvesk.clear();
    desk.finishMoves();
    EXPECT_EQ(desk.found(), Names{"pot"});
    EXPECT_EQ(desk.selected(), Names{"pot"});
    EXPECT_EQ(desk.duvesk.lastReclaimed(), 290'000'000);

    desk.duvesk.clear(); // nothing at all can be moved
    desk.finishMoves();
    EXPECT_EQ(desk.found(), Names{"pot"});
    EXPECT_EQ(desk.duvesk.lastReclaimed(), 40'000'000) << "of the last time alone";
}

TEST(Duvesk, NothingTickedMovesNothing) {
    Desk desk;
    desk.fill();
    desk.duvesk.clear();
    EXPECT_EQ(desk.host.fileManager.moves(), 0);
    desk.scan();
    desk.duvesk.setShowing(Kind::large);
    desk.duvesk.clear();
    desk.finishMoves();
    const auto reclaimed = desk.duvesk.lastReclaimed();
    desk.scan();
    desk.duvesk.setShowing(std::nullopt);
    desk.duvesk.setAll(false);
    int changes = 0;
    const Token listening = desk.duvesk.observe([&] { ++changes; });
    desk.duvesk.clear();
    desk.finishMoves();
    EXPECT_EQ(desk.host.fileManager.moves(), 0);
    EXPECT_EQ(desk.duvesk.lastReclaimed(), reclaimed);
    EXPECT_EQ(changes, 0);
}

TEST(Duvesk, AMoveThatEndsLateTakesOnlyWhatItMoved) {
    Desk desk;
    desk.fill();
    desk.scan();
    desk.duvesk.setAll(false);
    desk.duvesk.toggle(desk.finding("pot"));
    desk.duvesk.clear();
    desk.duvesk.rest();
    desk.scan(); // finds the pot once more
    desk.finishMoves();
    EXPECT_EQ(desk.found(), (Names{"film", "cup", "org.example.tea"}));
    EXPECT_EQ(desk.duvesk.lastReclaimed(), 40'000'000);
}

TEST(Duvesk, AMoveMayOutliveIt) {
    Desk desk;
    desk.fill();
    desk.scan();
    desk.duvesk.clear();
    desk.owner.reset();
    desk.finishMoves();
    EXPECT_EQ(desk.host.fileManager.recycled.size(), 4U);
}

TEST(Duvesk, ShowsAFindingInTheFileManager) {
    Desk desk;
    desk.fill();
    desk.scan();
    desk.duvesk.reveal(desk.finding("film"));
    EXPECT_EQ(desk.host.fileManager.revealed, (std::vector<std::vector<fs::path>>{{"/home/Downloads/film"}}));
}

TEST(Duvesk, ReadersAreToldOfEachChangeAndOfNothingElse) {
    Desk desk;
    desk.fill();
    int changes = 0;
    const Token listening = desk.duvesk.observe([&] { ++changes; });
    const auto changesOf = [&](const auto& action) {
        changes = 0;
        action();
        return changes;
    };
    EXPECT_EQ(changesOf([&] { desk.duvesk.steep(); }), 0);
    EXPECT_EQ(changesOf([&] { desk.duvesk.rest(); }), 0);
    EXPECT_EQ(changesOf([&] { desk.duvesk.scan(); }), 1); // nothing had been found before
    EXPECT_EQ(changesOf([&] { desk.host.loop.settle(); }), 2);
    EXPECT_EQ(changesOf([&] { desk.duvesk.scan(); }), 2);
    EXPECT_EQ(changesOf([&] { desk.host.loop.settle(); }), 2);
    EXPECT_EQ(changesOf([&] { desk.duvesk.setAll(true); }), 0);
    EXPECT_EQ(changesOf([&] { desk.duvesk.toggle(desk.finding("cup")); }), 1);
    EXPECT_EQ(changesOf([&] { desk.duvesk.toggle(Finding{}); }), 0);
    EXPECT_EQ(changesOf([&] { desk.duvesk.setAll(true); }), 1);
    EXPECT_EQ(changesOf([&] { desk.duvesk.setShowing(Kind::cache); }), 1);
    EXPECT_EQ(changesOf([&] { desk.duvesk.setShowing(Kind::cache); }), 0);
    EXPECT_EQ(changesOf([&] { desk.duvesk.reveal(desk.finding("cup")); }), 0);
    EXPECT_EQ(changesOf([&] { desk.duvesk.visible(); }), 0);
    desk.host.fileManager.immovable = {"/home/Library/Caches/pot"};
    EXPECT_EQ(changesOf([&] { desk.duvesk.clear(); }), 0);
    EXPECT_EQ(changesOf([&] { desk.finishMoves(); }), 2); // what is gone, and how much that was
    desk.duvesk.clear();
    EXPECT_EQ(changesOf([&] { desk.finishMoves(); }), 1); // how much that was
    desk.duvesk.clear();
    EXPECT_EQ(changesOf([&] { desk.finishMoves(); }), 0);
    EXPECT_EQ(changesOf([&] { desk.duvesk.rest(); }), 1);
    desk.duvesk.scan();
    EXPECT_EQ(changesOf([&] { desk.duvesk.rest(); }), 1);
}

TEST(Duvesk, AReaderMayActInTheMiddleOfAChange) {
    Desk desk;
    desk.fill();
    bool hasTurnedOff = false;
    Token listening = desk.duvesk.observe([&] {
        if (desk.duvesk.isScanning() && !hasTurnedOff) {
            hasTurnedOff = true;
            desk.duvesk.rest();
        }
    });
    desk.scan(); // turned off as soon as it says so; what it finds still comes
    EXPECT_TRUE(hasTurnedOff);
    EXPECT_FALSE(desk.duvesk.isScanning());
    EXPECT_EQ(desk.found().size(), 4U);

    listening = desk.duvesk.observe([&] {
        if (!desk.duvesk.findings().empty() && desk.duvesk.selectedBytes() > 0) {
            desk.duvesk.setAll(false);
        }
    });
    desk.scan(); // unticked as soon as they are there
    EXPECT_FALSE(desk.duvesk.isScanning());
    EXPECT_EQ(desk.selected(), Names{});

    int scans = 0;
    listening = desk.duvesk.observe([&] {
        if (!desk.duvesk.isScanning() && !desk.duvesk.findings().empty() && scans < 2) {
            ++scans;
            desk.duvesk.scan(); // again as soon as it is over
        }
    });
    desk.scan();
    desk.host.loop.settle();
    EXPECT_EQ(scans, 2);
    EXPECT_FALSE(desk.duvesk.isScanning());
    EXPECT_EQ(desk.found().size(), 4U);
}

TEST(Duvesk, AReaderMayClearAndScanInTheMiddleOfAMove) {
    Desk desk;
    desk.fill();
    desk.scan();
    desk.host.fileManager.immovable = {"/home/Library/Caches/pot"};
    bool hasTriedAgain = false;
    const Token listening = desk.duvesk.observe([&] {
        if (desk.duvesk.findings().size() == 1 && !hasTriedAgain) {
            hasTriedAgain = true;
            desk.host.fileManager.immovable.clear();
            desk.duvesk.clear();
        }
    });
    desk.duvesk.clear();
    desk.finishMoves();
    EXPECT_EQ(desk.found(), Names{"pot"});
    EXPECT_EQ(desk.duvesk.lastReclaimed(), 290'000'000);
    desk.finishMoves();
    EXPECT_EQ(desk.found(), Names{});
    EXPECT_EQ(desk.duvesk.lastReclaimed(), 40'000'000);
}

TEST(Duvesk, S20_TenThousandFindingsAreHandledAtOnce) {
    constexpr int count = 10'000;
    constexpr std::int64_t bytes = 104'857'601;
    Desk desk;
    for (int number = 0; number < count; ++number) {
        desk.addFile("folder/" + std::to_string(100'000 + number), bytes);
    }
    desk.scan();
    ASSERT_EQ(desk.duvesk.findings().size(), static_cast<std::size_t>(count));
    EXPECT_EQ(desk.duvesk.selectedBytes(), count * bytes);
    const auto start = std::chrono::steady_clock::now();
    desk.duvesk.toggle(desk.duvesk.findings().back());
    EXPECT_EQ(desk.duvesk.selectedBytes(), (count - 1) * bytes);
    desk.duvesk.clear();
    desk.finishMoves();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2)); // square work takes minutes
    EXPECT_EQ(desk.duvesk.findings().size(), 1U);
    EXPECT_EQ(desk.host.fileManager.recycled.size(), static_cast<std::size_t>(count - 1));
    EXPECT_EQ(desk.duvesk.lastReclaimed(), (count - 1) * bytes);
}

TEST(Duvesk, AbsurdSizesAddUpToTheMost) {
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
    Desk desk;
    desk.addFile("a", most);
    desk.addFile("b", most);
    desk.scan();
    EXPECT_EQ(desk.duvesk.selectedBytes(), most);
    EXPECT_EQ(desk.duvesk.total(Kind::large), most);
    desk.duvesk.clear();
    desk.finishMoves();
    EXPECT_EQ(desk.duvesk.lastReclaimed(), most);
}

TEST(DuveskTexts, NamesAndPathsAreOneLineOfText) {
    const Finding finding{.url = "/home/t\xE9\n\n.d/a  b\x01\xFF"};
    EXPECT_EQ(Duvesk::titleText(finding), "a b \xEF\xBF\xBD");
    EXPECT_EQ(Duvesk::pathText(finding), "/home/t\xEF\xBF\xBD .d/a b \xEF\xBF\xBD");
    EXPECT_EQ(Duvesk::titleText(Finding{.url = "/home/tea"}), "tea");
}

TEST(DuveskTexts, FindingsAreAlwaysMany) {
    EXPECT_EQ(Duvesk::findingsText(0), "0 findings");
    EXPECT_EQ(Duvesk::findingsText(1), "1 findings");
    EXPECT_EQ(Duvesk::findingsText(12'000), "12000 findings");
}
