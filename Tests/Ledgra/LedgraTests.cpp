#include "Ledgra/FileUrls.hpp"
#include "Ledgra/Ledgra.hpp"
#include "Ledgra/LedgraTexts.hpp"
#include "Ledgra/ShelfPanel.hpp"
#include "Platforms/Simulated/SimulatedHost.hpp"
#include "ZorbelKit/Stall.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace {

using namespace std::string_view_literals;
using namespace Ledgra;
using Simulated::SimulatedFloatingPanels;
using Simulated::SimulatedHost;
using ZorbelKit::Point;
using ZorbelKit::Screen;
namespace fs = std::filesystem;

using Paths = std::vector<fs::path>;
using Names = std::vector<std::string>;

constexpr const char* key = "ledgra.showShelf";

/// So many paths, "/files/1" the first.
Paths numbered(int count, int first = 1) {
    Paths paths;
    for (int number = first; number < first + count; ++number) {
        paths.emplace_back("/files/" + std::to_string(number));
    }
    return paths;
}

class LedgraTest : public ::testing::Test {
protected:
    LedgraSpice& make() {
        spice = std::make_unique<LedgraSpice>(LedgraSpice::Services{.clock = host.clock,
                                                                    .defaults = host.defaults,
                                                                    .screens = host.screens,
                                                                    .fileManager = host.fileManager,
                                                                    .panels = host.floatingPanels,
                                                                    .files = host.parkedFiles});
        return *spice;
    }

    /// As the registry turns it on and off.
    void turn(bool on) {
        spice->setEnabled(on);
        on ? spice->steep() : spice->rest();
    }

    std::shared_ptr<SimulatedFloatingPanels::Panel> panel() const { return host.floatingPanels.newest(); }
    int fronts() const { return panel() ? panel()->fronts : 0; }
    bool isShown() const { return panel() && panel()->isShown; }

    Names names() const {
        Names names;
        for (const Staged& item : spice->staged()) {
            names.push_back(item.name);
        }
        return names;
    }

    std::vector<std::string> urls() const {
        std::vector<std::string> urls;
        for (const Staged& item : spice->staged()) {
            urls.push_back(item.url.native());
        }
        return urls;
    }

    SimulatedHost host;
    std::unique_ptr<LedgraSpice> spice;
};

// The setting

TEST_F(LedgraTest, TheShelfIsWantedWhereNothingIsStoredAndThatIsWrittenBack) {
    make();
    EXPECT_TRUE(spice->showShelf());
    EXPECT_EQ(host.defaults.boolean(key), true);
    EXPECT_EQ(host.defaults.writes(), 1);
}

TEST_F(LedgraTest, AStoredNoIsKeptAndNoPanelIsBuiltThenOrWhenItIsTurnedOn) {
    host.defaults.setBoolean(key, false);
    make();
    EXPECT_FALSE(spice->showShelf());
    EXPECT_EQ(host.defaults.boolean(key), false);
    EXPECT_EQ(host.defaults.writes(), 2);
    turn(true);
    EXPECT_TRUE(host.floatingPanels.made.empty());
}

TEST_F(LedgraTest, AStoredValueOfAnotherTypeCountsAsNone) {
    struct Row {
        const char* name;
        Simulated::SimulatedDefaults::Value value;
    };
    const Row rows[] = {{"whole number", std::int64_t{0}},
                        {"number", 0.0},
                        {"text", std::string("false")},
                        {"data", std::vector<std::uint8_t>{0}}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        struct Writer {
            ZorbelKit::Defaults& defaults;
            void operator()(bool value) const { defaults.setBoolean(key, value); }
            void operator()(std::int64_t value) const { defaults.setInteger(key, value); }
            void operator()(double value) const { defaults.setNumber(key, value); }
            void operator()(const std::string& value) const { defaults.setString(key, value); }
            void operator()(const std::vector<std::uint8_t>& value) const { defaults.setData(key, value); }
        };
        std::visit(Writer{host.defaults}, row.value);
        make();
        EXPECT_TRUE(spice->showShelf());
        EXPECT_EQ(host.defaults.boolean(key), true);
    }
}

TEST_F(LedgraTest, EveryAssignmentIsWrittenAlsoAnEqualOne) {
    make();
    const int before = host.defaults.writes();
    spice->setShowShelf(true);
    spice->setShowShelf(true);
    spice->setShowShelf(false);
    spice->setShowShelf(false);
    EXPECT_EQ(host.defaults.writes(), before + 4);
    EXPECT_EQ(host.defaults.boolean(key), false);
}

TEST_F(LedgraTest, TheSettingOutlivesTheSpiceAndTheFilesDoNot) {
    make();
    spice->setShowShelf(false);
    spice->stage(numbered(3));
    make();
    EXPECT_FALSE(spice->showShelf());
    EXPECT_TRUE(spice->staged().empty());
}

// When the panel is on the screen

TEST_F(LedgraTest, ThePanelIsShownWithTheSpiceThatIsStillOff) {
    make();
    EXPECT_FALSE(spice->isEnabled());
    EXPECT_EQ(host.floatingPanels.live(), 1);
    EXPECT_TRUE(isShown());
    EXPECT_EQ(fronts(), 1);
}

TEST_F(LedgraTest, InTheRegistryThePanelOfASpiceThatStaysOffStaysToo) {
    ZorbelKit::Stall stall(host.defaults, host.loop);
    make();
    stall.add(std::move(spice));
    EXPECT_FALSE(stall.spice("ledgra")->isEnabled());
    EXPECT_TRUE(isShown());
    stall.setEnabled(true, *stall.spice("ledgra"));
    EXPECT_TRUE(isShown());
    stall.setEnabled(false, *stall.spice("ledgra"));
    EXPECT_EQ(host.floatingPanels.live(), 0);
}

TEST_F(LedgraTest, TurningItOnRaisesThePanelThatIsThere) {
    make();
    turn(true);
    EXPECT_EQ(host.floatingPanels.made.size(), 1u);
    EXPECT_EQ(fronts(), 2);
}

TEST_F(LedgraTest, OffAndOnBuildsAPanelAnew) {
    make();
    turn(true);
    turn(false);
    EXPECT_EQ(host.floatingPanels.live(), 0);
    turn(true);
    EXPECT_EQ(host.floatingPanels.made.size(), 2u);
    EXPECT_TRUE(isShown());
}

TEST_F(LedgraTest, WhileItIsOnTheSettingBuildsRaisesAndClosesThePanel) {
    make();
    turn(true);
    spice->setShowShelf(true);
    EXPECT_EQ(fronts(), 3);
    spice->setShowShelf(false);
    EXPECT_EQ(host.floatingPanels.live(), 0);
    spice->setShowShelf(false);
    EXPECT_EQ(host.floatingPanels.live(), 0);
    spice->setShowShelf(true);
    EXPECT_EQ(host.floatingPanels.made.size(), 2u);
    EXPECT_TRUE(isShown());
}

TEST_F(LedgraTest, WhileItIsOffTheSettingBuildsAndClosesThePanelAsWell) {
    make();
    spice->setShowShelf(false);
    EXPECT_EQ(host.floatingPanels.live(), 0);
    spice->setShowShelf(true);
    EXPECT_FALSE(spice->isEnabled());
    EXPECT_TRUE(isShown());
}

TEST_F(LedgraTest, WhileItIsOffAPanelThatIsThereIsNotRaised) {
    make();
    spice->setShowShelf(true);
    EXPECT_EQ(host.floatingPanels.made.size(), 1u);
    EXPECT_EQ(fronts(), 1);
}

TEST_F(LedgraTest, TurningItOffWithoutAPanelDoesNothing) {
    host.defaults.setBoolean(key, false);
    make();
    turn(true);
    turn(false);
    EXPECT_EQ(host.floatingPanels.live(), 0);
}

TEST_F(LedgraTest, ThePanelGoesWithTheSpice) {
    make();
    spice.reset();
    EXPECT_EQ(host.floatingPanels.live(), 0);
}

TEST_F(LedgraTest, ItHoldsNothingElseOnOrOff) {
    const int before = host.liveThings();
    make();
    turn(true);
    spice->stage(numbered(5));
    host.loop.advance(ZorbelKit::Seconds{60});
    EXPECT_EQ(host.liveThings(), before);
    turn(false);
    EXPECT_EQ(host.liveThings(), before);
}

TEST_F(LedgraTest, ThePanelCanTakeKeysAndIsNeverTheMainWindow) {
    make();
    const ZorbelKit::FloatingPanelStyle& style = panel()->style;
    EXPECT_TRUE(style.canBecomeKey);
    EXPECT_FALSE(style.canBecomeMain);
    EXPECT_EQ(style.size, (ZorbelKit::Size{340, 128}));
    EXPECT_FALSE(panel()->content.isEmpty());
}

TEST_F(LedgraTest, WhoWatchesHearsOfTheSettingOnlyWhenItChanges) {
    make();
    int changes = 0;
    const auto token = spice->observe([&] { ++changes; });
    spice->setShowShelf(true);
    EXPECT_EQ(changes, 0);
    spice->setShowShelf(false);
    EXPECT_EQ(changes, 1);
}

// Where the panel is

struct PlaceRow {
    const char* name;
    ZorbelKit::Rect frame;
    double topInset;
    Point origin;
};

const PlaceRow placeRows[] = {
    {"with a camera housing", {0, 0, 1440, 900}, 32, {550, 738}},
    {"without", {0, 0, 1440, 900}, 0, {550, 770}},
    {"a negative inset counts as none", {0, 0, 1440, 900}, -32, {550, 770}},
    {"a fraction of a point", {0, 0, 1441, 900}, 0.5, {550.5, 769.5}},
    {"beside the first screen", {1440, 200, 1920, 1080}, 0, {2230, 1150}},
    {"left of and below it", {-1280, -1024, 1280, 1024}, 0, {-810, -130}},
    {"narrower than the panel", {0, 0, 320, 240}, 0, {-10, 110}},
    {"lower than the panel", {0, 0, 800, 100}, 0, {230, -30}},
};

TEST_F(LedgraTest, ThePanelIsInTheMiddleOfTheTopOfTheMainScreen) {
    for (const PlaceRow& row : placeRows) {
        SCOPED_TRACE(row.name);
        host.screens.set(
            {Screen{row.frame, row.frame, 1, row.topInset}, Screen{{5000, 0, 100, 100}, {}, 1, 0}});
        make();
        EXPECT_EQ(panel()->origin, row.origin);
    }
}

TEST_F(LedgraTest, ThePanelGoesToTheScreenThatItIsGiven) {
    ShelfPanel shelf(host.floatingPanels, host.screens, {});
    for (const PlaceRow& row : placeRows) {
        SCOPED_TRACE(row.name);
        shelf.position(Screen{row.frame, row.frame, 1, row.topInset});
        EXPECT_EQ(panel()->origin, row.origin);
    }
    EXPECT_FALSE(isShown());
}

TEST_F(LedgraTest, WithoutAScreenThePanelIsShownWhereItHappensToBe) {
    host.screens.set({});
    make();
    EXPECT_FALSE(panel()->origin.has_value());
    EXPECT_TRUE(isShown());
}

TEST_F(LedgraTest, ThePanelDoesNotFollowItsScreen) {
    make();
    const auto before = panel()->origin;
    host.screens.set({Screen{{0, 0, 3840, 2160}, {}, 2, 0}});
    turn(true);
    EXPECT_EQ(panel()->origin, before);
}

// What is on the shelf

TEST_F(LedgraTest, AFileIsParkedWithItsNameItsIconAndTheTime) {
    make();
    const auto now = host.clock.now();
    spice->stage({"/home/ada/notes.txt"});
    ASSERT_EQ(spice->staged().size(), 1u);
    const Staged& item = spice->staged().front();
    EXPECT_EQ(item.url, "/home/ada/notes.txt");
    EXPECT_EQ(item.name, "notes.txt");
    EXPECT_EQ(item.addedAt, now);
    ASSERT_EQ(host.parkedFiles.icons.size(), 1u);
    EXPECT_EQ(item.icon, host.parkedFiles.icons.front().second);
}

TEST_F(LedgraTest, FilesStandInTheOrderTheyCame) {
    make();
    spice->stage({"/b", "/a"});
    host.loop.advance(ZorbelKit::Seconds{1});
    spice->stage({"/d", "/c"});
    EXPECT_EQ(names(), (Names{"b", "a", "d", "c"}));
    EXPECT_LT(spice->staged()[1].addedAt, spice->staged()[2].addedAt);
    std::set<ZorbelKit::Uuid> ids;
    for (const Staged& item : spice->staged()) {
        EXPECT_TRUE(ids.insert(item.id).second);
    }
}

TEST_F(LedgraTest, L1_OfManyFilesTheLastTwelveStay) {
    for (const int count : {0, 1, 11, 12, 13, 15, 500}) {
        SCOPED_TRACE(count);
        make();
        spice->stage(numbered(count));
        const int kept = std::min(count, 12);
        std::vector<std::string> expected;
        for (const fs::path& path : numbered(kept, count - kept + 1)) {
            expected.push_back(path.native());
        }
        EXPECT_EQ(urls(), expected);
    }
}

TEST_F(LedgraTest, L1_OneMoreOnAFullShelfPushesTheOldestOff) {
    make();
    spice->stage(numbered(12));
    const auto second = spice->staged()[1].id;
    spice->stage({"/more"});
    EXPECT_EQ(spice->staged().size(), 12u);
    EXPECT_EQ(spice->staged().front().id, second);
    EXPECT_EQ(names().back(), "more");
}

TEST_F(LedgraTest, L1_AFileIsParkedOnceHoweverOftenItComes) {
    make();
    spice->stage({"/a", "/b", "/a", "/b", "/a"});
    EXPECT_EQ(names(), (Names{"a", "b"}));
    const std::vector<Staged> before = spice->staged();
    spice->stage({"/b", "/a"});
    EXPECT_EQ(spice->staged(), before);
    spice->stage({"/b", "/c"});
    EXPECT_EQ(names(), (Names{"a", "b", "c"}));
}

TEST_F(LedgraTest, L1_ARepeatOfWhatTheSameCallPushesOffIsLeftOut) {
    make();
    Paths paths = numbered(13);
    paths.push_back(paths.front()); // pushed off only after all were looked at
    spice->stage(paths);
    EXPECT_EQ(urls().front(), "/files/2");
    EXPECT_EQ(urls().back(), "/files/13");
    EXPECT_EQ(urls().size(), 12u);
}

TEST_F(LedgraTest, L1_ARepeatOfAnOldFileThatIsPushedOffIsLeftOut) {
    make();
    spice->stage(numbered(12));
    Paths paths = numbered(12, 101);
    paths.emplace_back("/files/1");
    spice->stage(paths);
    EXPECT_EQ(urls().front(), "/files/101");
    EXPECT_EQ(urls().back(), "/files/112");
}

TEST_F(LedgraTest, L1_SpellingsOfOnePathAreSeveralFiles) {
    make();
    spice->stage({"/a/b", "/a//b", "/a/./b", "/a/../a/b", "/A/b"});
    EXPECT_EQ(spice->staged().size(), 5u);
}

TEST_F(LedgraTest, AFileThatWasTakenOffCanBeParkedAgain) {
    make();
    spice->stage({"/a"});
    const Staged first = spice->staged().front();
    spice->remove(first);
    spice->stage({"/a"});
    ASSERT_EQ(spice->staged().size(), 1u);
    EXPECT_NE(spice->staged().front().id, first.id);
}

TEST_F(LedgraTest, IconsAreMadeOnlyOfWhatStays) {
    make();
    spice->stage(numbered(500));
    ASSERT_EQ(host.parkedFiles.icons.size(), 12u);
    EXPECT_EQ(host.parkedFiles.icons.front().first, "/files/489");
    spice->stage(numbered(500));
    EXPECT_EQ(host.parkedFiles.icons.size(), 24u); // the first 488 were new; the last twelve of those stay
}

TEST_F(LedgraTest, TenThousandFilesAtOnceTakeNoTime) {
    make();
    const Paths paths = numbered(10'000);
    const auto begin = std::chrono::steady_clock::now();
    spice->stage(paths);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(500));
    EXPECT_EQ(urls().back(), "/files/10000");
}

TEST_F(LedgraTest, WhoWatchesHearsOfABatchOnceAndOfRepeatsNever) {
    make();
    int changes = 0;
    const auto token = spice->observe([&] { ++changes; });
    spice->stage(numbered(30));
    EXPECT_EQ(changes, 1);
    spice->stage(numbered(12, 19));
    EXPECT_EQ(changes, 1);
    spice->stage({});
    EXPECT_EQ(changes, 1);
}

TEST_F(LedgraTest, L2_NamesComeInByteForByte) {
    const std::string longest(255, 'n');
    const std::string inputs[] = {
        "with space",       "100%",     "#1",        "what?",           "a+b",  "two\nlines",
        "\xF0\x9F\x8D\xB5", "\xC3\xA9", "e\xCC\x81", "bad\xFF\xFEname", longest};
    make();
    for (const std::string& input : inputs) {
        SCOPED_TRACE(input);
        spice->clear();
        spice->stage(filesInList(uriList({"/folder/" + input}), ""));
        ASSERT_EQ(spice->staged().size(), 1u);
        EXPECT_EQ(spice->staged().front().url.native(), "/folder/" + input);
    }
}

TEST_F(LedgraTest, L2_ComposedAndDecomposedLettersAreTwoFiles) {
    make();
    spice->stage({"/\xC3\xA9", "/e\xCC\x81"});
    EXPECT_EQ(spice->staged().size(), 2u);
}

TEST_F(LedgraTest, L9_WhatHappensToAParkedFileChangesNothingOnTheShelf) {
    make();
    host.parkedFiles.sizes["/a"] = 7;
    spice->stage({"/a"});
    const std::vector<Staged> before = spice->staged();
    EXPECT_EQ(spice->totalBytes(), 7);
    host.parkedFiles.sizes.clear();
    host.parkedFiles.missing.insert("/a");
    turn(true);
    EXPECT_EQ(spice->staged(), before);
    EXPECT_EQ(spice->totalBytes(), 0);
    spice->reveal(spice->staged().front());
    EXPECT_EQ(host.fileManager.revealed.size(), 1u);
}

TEST_F(LedgraTest, WhatIsMissingCanBeToldFromWhatIsThere) {
    make();
    host.parkedFiles.missing.insert("/gone");
    spice->stage({"/here", "/gone"});
    std::vector<bool> answers;
    for (const Staged& item : spice->staged()) {
        spice->look(item, [&](bool isThere) { answers.push_back(isThere); });
    }
    EXPECT_EQ(answers, (std::vector{true, false}));
}

TEST_F(LedgraTest, FilesStayWhileItIsOff) {
    make();
    turn(true);
    spice->stage(numbered(3));
    const std::vector<Staged> before = spice->staged();
    turn(false);
    EXPECT_EQ(spice->staged(), before);
    turn(true);
    EXPECT_EQ(spice->staged(), before);
}

TEST_F(LedgraTest, FilesCanBeParkedWhileItIsOff) {
    make();
    spice->stage({"/a"});
    EXPECT_EQ(names(), Names{"a"});
}

TEST_F(LedgraTest, WhatIsStagedLaterArrivesOnceAndNowhereOnceTheSpiceHasGone) {
    make();
    const auto stage = spice->staging();
    stage({"/a", "/b"});
    EXPECT_EQ(names(), (Names{"a", "b"}));
    spice.reset();
    stage({"/c"});
}

TEST_F(LedgraTest, RemovingGoesByTheIdentifierAlone) {
    make();
    spice->stage({"/a", "/b", "/c"});
    Staged other = spice->staged()[1];
    other.name = "another";
    other.url = "/c";
    spice->remove(other);
    EXPECT_EQ(names(), (Names{"a", "c"}));
    spice->remove(other);
    EXPECT_EQ(names(), (Names{"a", "c"}));
    Staged stranger = spice->staged().front();
    stranger.id = ZorbelKit::Uuid::make();
    spice->remove(stranger);
    EXPECT_EQ(names(), (Names{"a", "c"}));
}

TEST_F(LedgraTest, AnItemOfTheListItselfCanBeRemoved) {
    make();
    spice->stage({"/a", "/b"});
    spice->remove(spice->staged().front());
    EXPECT_EQ(names(), Names{"b"});
}

TEST_F(LedgraTest, ClearingTakesEverythingOff) {
    make();
    spice->stage(numbered(12));
    spice->clear();
    EXPECT_TRUE(spice->staged().empty());
    spice->clear();
    EXPECT_TRUE(spice->staged().empty());
}

TEST_F(LedgraTest, RevealingShowsTheOneFile) {
    make();
    spice->stage({"/a", "/b"});
    spice->reveal(spice->staged()[1]);
    EXPECT_EQ(host.fileManager.revealed, (std::vector<Paths>{{"/b"}}));
    EXPECT_EQ(spice->staged().size(), 2u);
}

TEST_F(LedgraTest, TheBytesOfAllFilesAreAskedForAtEveryCall) {
    make();
    EXPECT_EQ(spice->totalBytes(), 0);
    host.parkedFiles.sizes = {{"/a", 40}, {"/b", 2}};
    spice->stage({"/a", "/folder", "/b"});
    EXPECT_EQ(spice->totalBytes(), 42);
    host.parkedFiles.sizes["/a"] = 100;
    EXPECT_EQ(spice->totalBytes(), 102);
    spice->remove(spice->staged().front());
    EXPECT_EQ(spice->totalBytes(), 2);
}

TEST_F(LedgraTest, FoldersAddNothing) {
    make();
    spice->stage({"/folder", "/another"});
    EXPECT_EQ(spice->totalBytes(), 0);
}

TEST_F(LedgraTest, ParkedFilesAreEqualWhenEveryFieldIs) {
    const Staged item{.url = "/a", .name = "a", .icon = nullptr, .addedAt = {}};
    const auto differs = [&](auto change) {
        Staged other = item;
        EXPECT_EQ(other, item);
        change(other);
        return other != item;
    };
    EXPECT_TRUE(differs([](Staged& other) { other.id = ZorbelKit::Uuid::make(); }));
    EXPECT_TRUE(differs([](Staged& other) { other.url = "/b"; }));
    EXPECT_TRUE(differs([](Staged& other) { other.name = "b"; }));
    EXPECT_TRUE(differs([](Staged& other) { other.icon = std::make_shared<FileIcon>(FileIcon::Look{}); }));
    EXPECT_TRUE(differs([](Staged& other) { other.addedAt += std::chrono::seconds(1); }));
}

// Texts

TEST(LedgraTexts, TheNameIsTheLastPartOfThePathInValidText) {
    struct Row {
        std::string path;
        const char* name;
    };
    const Row rows[] = {
        {"/home/ada/notes.txt", "notes.txt"},
        {"/folder/", "folder"},
        {"/folder///", "folder"},
        {"/", "/"},
        {"//", "/"},
        {"/a", "a"},
        {"/a/..", ".."},
        {"/bad\xFF", "bad\xEF\xBF\xBD"},
        {"/\xF0\x9F\x8D\xB5 chai", "\xF0\x9F\x8D\xB5 chai"},
        {"/two\nlines", "two\nlines"},
        {"", ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.path);
        EXPECT_EQ(nameOf(row.path), row.name);
    }
}

TEST(LedgraTexts, CountsAreWrittenToTheLetter) {
    EXPECT_EQ(filesText(1), "1 file");
    EXPECT_EQ(filesText(2), "2 files");
    EXPECT_EQ(filesText(12), "12 files");
    EXPECT_EQ(menuText(0), "Shelf is empty.");
    EXPECT_EQ(menuText(1), "1 on the shelf");
    EXPECT_EQ(menuText(12), "12 on the shelf");
    EXPECT_EQ(emptyText(false), "Drop files here");
    EXPECT_EQ(emptyText(true), "Let go");
}

TEST(LedgraTexts, ATitleIsOneLineAndNeverEmpty) {
    EXPECT_EQ(titleText("two\nlines"), "two lines");
    EXPECT_EQ(titleText(" \n "), " \n ");
}

TEST(LedgraTexts, ATipSaysAllOfThePathAndCanBeBroken) {
    const std::string place = "\xE2\x80\x8B";
    EXPECT_EQ(tipText("/a/b c"), "/" + place + "a/" + place + "b c");
    const std::string tip = tipText("/" + std::string(100, 'n'));
    EXPECT_EQ(tip, "/" + place + std::string(48, 'n') + place + std::string(48, 'n') + place +
                       std::string(4, 'n'));
}

// Lists of files

struct ListRow {
    const char* name;
    std::string list;
    std::vector<std::string> files;
};

TEST(FileUrls, L3_ListsAreReadHoweverTheirLinesEnd) {
    const ListRow rows[] = {
        {"CRLF", "file:///a\r\nfile:///b\r\n", {"/a", "/b"}},
        {"LF", "file:///a\nfile:///b\n", {"/a", "/b"}},
        {"no end", "file:///a\r\nfile:///b", {"/a", "/b"}},
        {"one without an end", "file:///a", {"/a"}},
        {"comments", "# copied\r\nfile:///a\r\n#file:///b\r\n", {"/a"}},
        {"blank lines", "\r\n\r\nfile:///a\r\n\r\n", {"/a"}},
        {"NUL at the end", std::string("file:///a\r\n\0", 12), {"/a"}},
        {"NULs at the end of the line", std::string("file:///a\0\0", 11), {"/a"}},
        {"NUL within", std::string("file:///a\0b\r\nfile:///c", 22), {"/c"}},
        {"NUL escaped", "file:///a%00b\r\nfile:///c", {"/c"}},
        {"empty", "", {}},
        {"only line ends", "\r\n\n\r\n", {}},
        {"repeats", "file:///a\r\nfile:///a\r\n", {"/a", "/a"}},
    };
    for (const ListRow& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(filesInList(row.list, "here"), Paths(row.files.begin(), row.files.end()));
    }
}

TEST(FileUrls, FilesOfThisMachineAreTakenAndNothingElse) {
    const ListRow rows[] = {
        {"no host", "file:///p", {"/p"}},
        {"localhost", "file://localhost/p", {"/p"}},
        {"localhost in capitals", "file://LocalHost/p", {"/p"}},
        {"no slashes", "file:/p", {"/p"}},
        {"this host", "file://here/p", {"/p"}},
        {"this host in capitals", "file://HERE/p", {"/p"}},
        {"another host", "file://there/p", {}},
        {"a longer host", "file://here.example.org/p", {}},
        {"a user before the host", "file://ada@here/p", {}},
        {"a port", "file://here:80/p", {}},
        {"no path", "file://here", {}},
        {"nothing at all", "file:", {}},
        {"a relative path", "file:p", {}},
        {"scheme in capitals", "FILE:///p", {"/p"}},
        {"https", "https://example.org/p", {}},
        {"sftp", "sftp://here/p", {}},
        {"trash", "trash:///p", {}},
        {"data", "data:text/plain,/p", {}},
        {"a bare path", "/p", {}},
        {"a space before", " file:///p", {}},
        {"what a browser says of a picture", "https://example.org/a.png\nA picture", {}},
    };
    for (const ListRow& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(filesInList(row.list, "here"), Paths(row.files.begin(), row.files.end()));
    }
}

TEST(FileUrls, WithoutANameOfItsOwnTheMachineTakesNoOtherHost) {
    EXPECT_EQ(filesInList("file:///p\r\nfile://there/q", ""), Paths{"/p"});
}

TEST(FileUrls, L2_EscapesBecomeBytes) {
    const ListRow rows[] = {
        {"a space", "file:///a%20b", {"/a b"}},
        {"a plus", "file:///a+b", {"/a+b"}},
        {"a percent sign", "file:///100%25", {"/100%"}},
        {"an escape that is none", "file:///a%zzb", {"/a%zzb"}},
        {"an escape cut off", "file:///a%4", {"/a%4"}},
        {"decoded once", "file:///a%2520b", {"/a%20b"}},
        {"a newline", "file:///a%0Ab", {"/a\nb"}},
        {"no UTF-8", "file:///%ff%FE", {"/\xFF\xFE"}},
        {"UTF-8 not escaped", "file:///\xC3\xA9", {"/\xC3\xA9"}},
        {"a question mark and a number sign", "file:///a?b#c", {"/a?b#c"}},
        {"a slash", "file:///a%2Fb", {"/a/b"}},
    };
    for (const ListRow& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(filesInList(row.list, ""), Paths(row.files.begin(), row.files.end()));
    }
}

TEST(FileUrls, PathsAreNotInterpreted) {
    const std::pair<const char*, const char*> rows[] = {{"file:///a/../b", "/a/../b"},
                                                        {"file:///a/%2e%2e/b", "/a/../b"},
                                                        {"file:///a/./b", "/a/./b"},
                                                        {"file:////a//b", "//a//b"},
                                                        {"file:///a/", "/a"},
                                                        {"file:///a//", "/a"},
                                                        {"file:///", "/"},
                                                        {"file:////", "/"}};
    for (const auto& [list, path] : rows) {
        SCOPED_TRACE(list);
        const Paths files = filesInList(list, "");
        ASSERT_EQ(files.size(), 1u);
        EXPECT_EQ(files.front().native(), path);
    }
}

TEST(FileUrls, L3_AMegabyteOfLinesIsReadAtOnce) {
    std::string list;
    while (list.size() < 1'000'000) {
        list += "file:///a/file/" + std::to_string(list.size()) + "\r\n";
    }
    const auto begin = std::chrono::steady_clock::now();
    const Paths files = filesInList(list, "here");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
    EXPECT_GT(files.size(), 30'000u);
}

TEST(FileUrls, L3_APathThatNoFileCanHaveIsLeftOut) {
    const std::string longest = "/" + std::string(4094, 'n');
    EXPECT_EQ(filesInList("file://" + longest, ""), Paths{longest});
    EXPECT_TRUE(filesInList("file://" + longest + "n", "").empty());
    EXPECT_TRUE(filesInList("file:///" + std::string(1'000'000, 'n'), "").empty());
}

TEST(FileUrls, WhatIsWrittenEscapesAllThatCouldBeMisread) {
    EXPECT_EQ(uriList({"/a b/100%#?&+\n\xC3\xA9\xFF~-_.Z9"}),
              "file:///a%20b/100%25%23%3F%26%2B%0A%C3%A9%FF~-_.Z9\r\n");
    EXPECT_EQ(uriList({"/a", "/b"}), "file:///a\r\nfile:///b\r\n");
    EXPECT_EQ(uriList({}), "");
}

TEST(FileUrls, L2_WhatIsWrittenIsReadBackByteForByte) {
    std::string all = "/";
    for (int byte = 1; byte < 256; ++byte) {
        if (byte != '/') {
            all += static_cast<char>(byte);
        }
    }
    const Paths paths{all, "/", "/plain", "/e\xCC\x81", "/\xC3\xA9", "/" + std::string(255, '\xFF')};
    const Paths read = filesInList(uriList(paths), "");
    ASSERT_EQ(read.size(), paths.size());
    for (std::size_t index = 0; index < paths.size(); ++index) {
        EXPECT_EQ(read[index].native(), paths[index].native());
    }
}

} // namespace
