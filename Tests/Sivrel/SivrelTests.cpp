#include "Platforms/Simulated/SimulatedHost.hpp"
#include "Sivrel/BarGeometry.hpp"
#include "Sivrel/Sivrel.hpp"
#include "Sivrel/SivrelTexts.hpp"
#include "ZorbelKit/Stall.hpp"
#include "ZorbelKit/Surfaces/RecordingCanvas.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <memory>
#include <optional>
#include <vector>

using Simulated::SimulatedHost;
using Sivrel::SivrelSpice;
using ZorbelKit::ClickButton;
using ZorbelKit::Seconds;
using ZorbelKit::Token;

namespace {

constexpr auto dividerName = "zorbel.sivrel.divider";

/// A bar with the spice on it; the settings are filled in before it is made.
class SivrelTest : public ::testing::Test {
protected:
    SivrelSpice& make() {
        sivrel.reset();
        liveBefore = host.liveThings();
        return sivrel.emplace(host.loop, host.clock, host.defaults, host.statusBar);
    }

    SivrelSpice& start() {
        make().steep();
        return *sivrel;
    }

    SivrelSpice& startCollapsed() {
        host.defaults.setBoolean("sivrel.collapsed", true);
        return start();
    }

    void click(ClickButton button = ClickButton::left) { host.statusBar.click(dividerName, button); }
    Simulated::SimulatedStatusBar::Item* divider() { return host.statusBar.item(dividerName); }
    void wait(double seconds) { host.loop.advance(Seconds{seconds}); }

    SimulatedHost host;
    int liveBefore = 0;
    std::optional<SivrelSpice> sivrel;
};

std::vector<ZorbelKit::RecordingCanvas::Mark> drawn(const ZorbelKit::Image& image,
                                                    const ZorbelKit::Rect& rect) {
    ZorbelKit::RecordingCanvas canvas;
    image.draw(canvas, rect);
    return canvas.marks();
}

std::vector<ZorbelKit::RecordingCanvas::Mark> drawn(const ZorbelKit::Image& image) {
    return drawn(image, {0, 0, image.size().width, image.size().height});
}

} // namespace

TEST_F(SivrelTest, KnowsItsNames) {
    make();
    EXPECT_EQ(sivrel->id(), "sivrel");
    EXPECT_EQ(sivrel->name(), "Sivrel");
    EXPECT_EQ(sivrel->role(), "Menu Bar");
    EXPECT_EQ(sivrel->summary(), "Hides the menu bar icons you do not need to see.");
    EXPECT_FALSE(sivrel->reason().empty());
    EXPECT_EQ(sivrel->wave(), ZorbelKit::Wave::inTheCup);
    EXPECT_FALSE(sivrel->isEnabled());
}

TEST_F(SivrelTest, WithoutStoredSettingsItIsRevealedAndHidesAfterEightSeconds) {
    make();
    EXPECT_FALSE(sivrel->isCollapsed());
    EXPECT_TRUE(sivrel->revealOnHover());
    EXPECT_EQ(sivrel->autoCollapseAfter(), 8.0);
    EXPECT_EQ(sivrel->revealsToday(), 0);
    EXPECT_EQ(sivrel->lastRevealed(), std::nullopt);
    EXPECT_EQ(host.liveThings(), liveBefore);
    EXPECT_TRUE(host.defaults.values().empty()) << "nothing is stored before the start";
}

TEST_F(SivrelTest, AFreshStartShowsARevealedDividerAndNoTimer) {
    start();
    ASSERT_NE(divider(), nullptr);
    EXPECT_EQ(divider()->kind, ZorbelKit::StatusItemKind::divider);
    EXPECT_EQ(divider()->length, 22);
    EXPECT_EQ(divider()->toolTip, "Sivrel — click to show hidden menu bar items");
    EXPECT_EQ(divider()->image.size(), (ZorbelKit::Size{12, 16}));
    EXPECT_TRUE(divider()->image.isTemplate());
    EXPECT_EQ(drawn(divider()->image), drawn(Sivrel::dividerImage(false)));
    EXPECT_EQ(host.loop.liveTimers(), 0);
    EXPECT_EQ(host.defaults.boolean("sivrel.collapsed"), false);
    wait(60);
    EXPECT_FALSE(sivrel->isCollapsed()) << "a start is no reveal: nothing tidies it away";
}

TEST_F(SivrelTest, ReadsItsStoredSettings) {
    host.defaults.setBoolean("sivrel.revealOnHover", false);
    host.defaults.setNumber("sivrel.autoCollapse", 12.9);
    startCollapsed();
    EXPECT_TRUE(sivrel->isCollapsed());
    EXPECT_FALSE(sivrel->revealOnHover());
    EXPECT_EQ(sivrel->autoCollapseAfter(), 12.9);
    EXPECT_EQ(divider()->length, 10000);
    EXPECT_EQ(drawn(divider()->image), drawn(Sivrel::dividerImage(true)));
    EXPECT_EQ(host.loop.liveTimers(), 0);
}

TEST_F(SivrelTest, AStoredWholeNumberOfSecondsIsADelay) {
    host.defaults.setInteger("sivrel.autoCollapse", 15);
    EXPECT_EQ(make().autoCollapseAfter(), 15.0);
}

TEST_F(SivrelTest, SettingsOfAnotherTypeCountAsNone) {
    host.defaults.setString("sivrel.collapsed", "true");
    host.defaults.setInteger("sivrel.revealOnHover", 0);
    host.defaults.setBoolean("sivrel.autoCollapse", true);
    make();
    EXPECT_FALSE(sivrel->isCollapsed());
    EXPECT_TRUE(sivrel->revealOnHover());
    EXPECT_EQ(sivrel->autoCollapseAfter(), 8.0);
}

TEST_F(SivrelTest, AClickOnACollapsedDividerRevealsForEightSeconds) {
    startCollapsed();
    wait(100);
    click();
    EXPECT_FALSE(sivrel->isCollapsed());
    EXPECT_EQ(sivrel->revealsToday(), 1);
    EXPECT_EQ(sivrel->lastRevealed(), host.clock.now());
    EXPECT_EQ(divider()->length, 22);
    EXPECT_EQ(drawn(divider()->image), drawn(Sivrel::dividerImage(false)));
    EXPECT_EQ(host.defaults.boolean("sivrel.collapsed"), false);
    wait(7.999);
    EXPECT_EQ(divider()->length, 22);
    wait(0.001);
    EXPECT_TRUE(sivrel->isCollapsed());
    EXPECT_EQ(divider()->length, 10000);
    EXPECT_EQ(drawn(divider()->image), drawn(Sivrel::dividerImage(true)));
    EXPECT_EQ(host.defaults.boolean("sivrel.collapsed"), true);
    EXPECT_EQ(sivrel->revealsToday(), 1);
    EXPECT_EQ(host.loop.liveTimers(), 0);
}

TEST_F(SivrelTest, S08_TwoClicksInQuickSuccessionFlipTwiceAndCountOnce) {
    startCollapsed();
    click();
    wait(0.05);
    click();
    EXPECT_TRUE(sivrel->isCollapsed());
    EXPECT_EQ(divider()->length, 10000);
    EXPECT_EQ(sivrel->revealsToday(), 1);
    EXPECT_EQ(host.loop.liveTimers(), 0) << "the second click cancels the timer";
    const int told = divider()->imagesShown;
    wait(60);
    EXPECT_EQ(divider()->imagesShown, told);
}

TEST_F(SivrelTest, ARevealAfterAnotherWaitsItsFullDelay) {
    startCollapsed();
    click();
    wait(5);
    click();
    click();
    wait(7.999);
    EXPECT_FALSE(sivrel->isCollapsed());
    wait(0.001);
    EXPECT_TRUE(sivrel->isCollapsed());
    EXPECT_EQ(sivrel->revealsToday(), 2);
}

TEST_F(SivrelTest, ARightClickTogglesLikeALeftOne) {
    startCollapsed();
    click(ClickButton::right);
    EXPECT_FALSE(sivrel->isCollapsed());
    EXPECT_EQ(sivrel->revealsToday(), 1);
    EXPECT_EQ(host.loop.liveTimers(), 1);
    click(ClickButton::right);
    EXPECT_TRUE(sivrel->isCollapsed());
    EXPECT_EQ(host.loop.liveTimers(), 0);
}

TEST_F(SivrelTest, ADelayThatIsNotGreaterThanZeroIsNever) {
    struct Row {
        const char* name;
        double delay;
    };
    for (const Row row : {Row{"zero", 0.0}, Row{"minus zero", -0.0}, Row{"negative", -8.0},
                          Row{"minus infinity", -std::numeric_limits<double>::infinity()},
                          Row{"not a number", std::numeric_limits<double>::quiet_NaN()}}) {
        SCOPED_TRACE(row.name);
        host.defaults.setNumber("sivrel.autoCollapse", row.delay);
        startCollapsed();
        click();
        EXPECT_EQ(host.loop.liveTimers(), 0);
        wait(3600);
        EXPECT_FALSE(sivrel->isCollapsed());
        click();
        EXPECT_TRUE(sivrel->isCollapsed());
        EXPECT_EQ(Sivrel::hidesAfterText(sivrel->autoCollapseAfter()), "Never");
    }
}

TEST_F(SivrelTest, AGiganticDelayHoldsForDaysAndHarmsNothing) {
    for (const double delay : {3e6, 1e18, 1e300, std::numeric_limits<double>::infinity()}) {
        SCOPED_TRACE(delay);
        host.defaults.setNumber("sivrel.autoCollapse", delay);
        startCollapsed();
        click();
        EXPECT_EQ(host.loop.liveTimers(), 1);
        wait(19.0 * 24 * 60 * 60);
        EXPECT_FALSE(sivrel->isCollapsed());
        sivrel->rest();
        EXPECT_EQ(host.liveThings(), liveBefore);
    }
}

TEST_F(SivrelTest, TheShortestDelayCollapsesInTheNextTurn) {
    host.defaults.setNumber("sivrel.autoCollapse", std::numeric_limits<double>::denorm_min());
    startCollapsed();
    click();
    EXPECT_FALSE(sivrel->isCollapsed());
    host.loop.settle();
    EXPECT_TRUE(sivrel->isCollapsed());
}

TEST_F(SivrelTest, AChangeOfTheDelayAppliesFromTheNextReveal) {
    startCollapsed();
    click();
    sivrel->setAutoCollapseAfter(4);
    wait(7.999);
    EXPECT_FALSE(sivrel->isCollapsed());
    wait(0.001);
    EXPECT_TRUE(sivrel->isCollapsed());
    click();
    sivrel->setAutoCollapseAfter(0);
    wait(3.999);
    EXPECT_FALSE(sivrel->isCollapsed());
    wait(0.001);
    EXPECT_TRUE(sivrel->isCollapsed()) << "not even \"Never\" stops a wait that has begun";
    click();
    wait(3600);
    EXPECT_FALSE(sivrel->isCollapsed());
}

TEST_F(SivrelTest, SettersStoreAtOnceAndInTheirTypes) {
    make();
    sivrel->setRevealOnHover(false);
    EXPECT_EQ(host.defaults.boolean("sivrel.revealOnHover"), false);
    sivrel->setAutoCollapseAfter(15);
    EXPECT_EQ(host.defaults.number("sivrel.autoCollapse"), 15.0);
    EXPECT_EQ(host.defaults.integer("sivrel.autoCollapse"), std::nullopt);
    EXPECT_FALSE(host.defaults.has("sivrel.collapsed"));
    SivrelSpice next(host.loop, host.clock, host.defaults, host.statusBar);
    EXPECT_FALSE(next.revealOnHover());
    EXPECT_EQ(next.autoCollapseAfter(), 15.0);
}

TEST_F(SivrelTest, AnEqualValueIsSilent) {
    make();
    int told = 0;
    const Token changes = sivrel->observe([&] { ++told; });
    sivrel->setRevealOnHover(true);
    sivrel->setAutoCollapseAfter(8);
    sivrel->setEnabled(false);
    sivrel->reveal();
    EXPECT_EQ(told, 0);
    EXPECT_EQ(host.defaults.number("sivrel.autoCollapse"), 8.0) << "chosen, if by another way: it is kept";
    sivrel->setRevealOnHover(false);
    sivrel->setAutoCollapseAfter(4);
    EXPECT_EQ(told, 2);
}

TEST_F(SivrelTest, TellsItsReadersOfEveryField) {
    startCollapsed();
    struct Seen {
        bool isCollapsed;
        std::int64_t reveals;
        bool hasLast;
        bool operator==(const Seen&) const = default;
    };
    std::vector<Seen> seen;
    const Token changes = sivrel->observe([&] {
        seen.push_back({sivrel->isCollapsed(), sivrel->revealsToday(), sivrel->lastRevealed().has_value()});
    });
    click();
    EXPECT_EQ(seen, (std::vector<Seen>{{false, 0, false}, {false, 1, false}, {false, 1, true}}));
    seen.clear();
    wait(8);
    EXPECT_EQ(seen, (std::vector<Seen>{{true, 1, true}}));
}

TEST_F(SivrelTest, RevealAndCollapseDoNothingWhereTheyHaveNothingToDo) {
    startCollapsed();
    const int images = divider()->imagesShown;
    const int writes = host.defaults.writes();
    sivrel->collapse();
    EXPECT_EQ(divider()->imagesShown, images);
    EXPECT_EQ(host.defaults.writes(), writes);
    sivrel->reveal();
    EXPECT_EQ(sivrel->revealsToday(), 1);
    EXPECT_EQ(divider()->length, 22);
    wait(5);
    sivrel->reveal();
    EXPECT_EQ(sivrel->revealsToday(), 1);
    wait(3);
    EXPECT_TRUE(sivrel->isCollapsed()) << "the second reveal does not postpone";
}

TEST_F(SivrelTest, CollapseCancelsTheWait) {
    startCollapsed();
    sivrel->reveal();
    sivrel->collapse();
    EXPECT_EQ(divider()->length, 10000);
    EXPECT_EQ(host.loop.liveTimers(), 0);
    EXPECT_EQ(host.defaults.boolean("sivrel.collapsed"), true);
    EXPECT_EQ(sivrel->revealsToday(), 1);
}

TEST_F(SivrelTest, TheFirstRevealAfterMidnightCountsFromOne) {
    host.defaults.setNumber("sivrel.autoCollapse", 4);
    host.clock.setZoneOffset(std::chrono::minutes{-330});
    startCollapsed();
    const auto midnight = host.clock.startOfDay(host.clock.now()) + std::chrono::hours{24};
    host.clock.set(midnight - std::chrono::minutes{1});
    for (int reveal = 0; reveal < 3; ++reveal) {
        click();
        wait(4);
    }
    EXPECT_EQ(sivrel->revealsToday(), 3);
    host.clock.set(midnight);
    EXPECT_EQ(sivrel->revealsToday(), 3) << "yesterday's count stays until the next reveal";
    click();
    EXPECT_EQ(sivrel->revealsToday(), 1);
    EXPECT_EQ(sivrel->lastRevealed(), midnight);
    wait(4);
    click();
    EXPECT_EQ(sivrel->revealsToday(), 2);
}

TEST_F(SivrelTest, AClockSetBackToYesterdayCountsThatDayAnew) {
    startCollapsed();
    click();
    click();
    host.clock.shift(std::chrono::hours{-24});
    click();
    EXPECT_EQ(sivrel->revealsToday(), 1);
    wait(7.999);
    EXPECT_FALSE(sivrel->isCollapsed()) << "the wait is not told by the wall clock";
    wait(0.001);
    EXPECT_TRUE(sivrel->isCollapsed());
}

TEST_F(SivrelTest, ADayWithoutAnyRevealDoesNotTellOfTheReset) {
    startCollapsed();
    host.clock.shift(std::chrono::hours{24});
    std::vector<std::int64_t> counts;
    const Token changes = sivrel->observe([&] { counts.push_back(sivrel->revealsToday()); });
    click();
    EXPECT_EQ(counts, (std::vector<std::int64_t>{0, 1, 1})) << "the state, the count and the moment";
}

TEST_F(SivrelTest, CountsAreNotKeptAcrossLaunches) {
    startCollapsed();
    click();
    wait(8);
    start();
    EXPECT_EQ(sivrel->revealsToday(), 0);
    EXPECT_EQ(sivrel->lastRevealed(), std::nullopt);
    EXPECT_TRUE(sivrel->isCollapsed());
}

TEST_F(SivrelTest, AtRestNothingLives) {
    startCollapsed();
    click();
    EXPECT_EQ(host.liveThings(), liveBefore + 2) << "the divider and the timer";
    sivrel->rest();
    EXPECT_EQ(host.liveThings(), liveBefore);
    sivrel->rest();
    EXPECT_EQ(host.liveThings(), liveBefore);
}

TEST_F(SivrelTest, TurnedOffWhileRevealedItComesBackRevealedAndNothingFires) {
    startCollapsed();
    click();
    sivrel->rest();
    const int writes = host.defaults.writes();
    wait(60);
    EXPECT_FALSE(sivrel->isCollapsed());
    EXPECT_EQ(host.defaults.writes(), writes);
    EXPECT_EQ(host.defaults.boolean("sivrel.collapsed"), false);
    sivrel->steep();
    EXPECT_EQ(divider()->length, 22);
    EXPECT_EQ(host.loop.liveTimers(), 0);
}

TEST_F(SivrelTest, S06_TurnedOffWhileCollapsedItTakesTheDividerAwayAndBringsItBackWide) {
    startCollapsed();
    sivrel->rest();
    EXPECT_EQ(divider(), nullptr) << "what it pushed is in sight again";
    EXPECT_TRUE(sivrel->isCollapsed());
    EXPECT_EQ(host.defaults.boolean("sivrel.collapsed"), true);
    sivrel->steep();
    ASSERT_NE(divider(), nullptr);
    EXPECT_EQ(divider()->length, 10000);
    EXPECT_EQ(drawn(divider()->image), drawn(Sivrel::dividerImage(true)));
}

TEST_F(SivrelTest, TurnedOnTwiceItKeepsItsDivider) {
    start();
    const auto* first = divider();
    const int images = divider()->imagesShown;
    sivrel->steep();
    EXPECT_EQ(host.statusBar.liveItems(), 1);
    EXPECT_EQ(divider(), first);
    EXPECT_EQ(divider()->imagesShown, images);
}

TEST_F(SivrelTest, WithoutStatusItemsItStillWorks) {
    host.statusBar.setShowsItems(false);
    startCollapsed();
    EXPECT_EQ(host.statusBar.liveItems(), 0);
    sivrel->toggleCollapsed();
    EXPECT_EQ(sivrel->revealsToday(), 1);
    EXPECT_EQ(host.defaults.boolean("sivrel.collapsed"), false);
    wait(8);
    EXPECT_TRUE(sivrel->isCollapsed());
    EXPECT_EQ(host.defaults.boolean("sivrel.collapsed"), true);
    sivrel->toggleCollapsed();
    sivrel->rest();
    EXPECT_EQ(host.liveThings(), liveBefore);
}

TEST_F(SivrelTest, DestroyedWithATimerPendingItFiresNothing) {
    startCollapsed();
    click();
    sivrel.reset();
    EXPECT_EQ(host.liveThings(), liveBefore);
    const int writes = host.defaults.writes();
    wait(60);
    EXPECT_EQ(host.defaults.writes(), writes);
    EXPECT_EQ(host.defaults.boolean("sivrel.collapsed"), false);
}

TEST_F(SivrelTest, AReaderMayTurnItOffInTheMiddleOfAClick) {
    ZorbelKit::Stall stall(host.defaults, host.loop);
    host.defaults.setBoolean("sivrel.collapsed", true);
    const int before = host.liveThings();
    stall.add(std::make_unique<SivrelSpice>(host.loop, host.clock, host.defaults, host.statusBar));
    auto& spice = dynamic_cast<SivrelSpice&>(*stall.spice("sivrel"));
    ASSERT_TRUE(spice.isEnabled());
    Token turnOff = spice.observe([&] {
        if (!spice.isCollapsed()) {
            stall.setEnabled(false, spice);
        }
    });
    click();
    turnOff.reset();
    EXPECT_FALSE(spice.isEnabled());
    EXPECT_EQ(host.liveThings(), before);
    EXPECT_EQ(host.defaults.boolean("sivrel.collapsed"), false);
}

TEST_F(SivrelTest, NothingWatchesThePointerWhateverTheSettingSays) {
    for (const bool on : {true, false}) {
        startCollapsed();
        sivrel->setRevealOnHover(on);
        EXPECT_EQ(host.liveThings(), liveBefore + 1) << "the divider alone";
        wait(60);
        EXPECT_TRUE(sivrel->isCollapsed());
    }
}

TEST(SivrelDivider, IsTwoChevronsInOneStroke) {
    using namespace ZorbelKit;
    struct Row {
        const char* name;
        bool isCollapsed;
        double end; // x of a chevron's ends, from its base
        double tip;
    };
    for (const Row row : {Row{"revealed, pointing right", false, -1.5, 1.5},
                          Row{"collapsed, pointing left", true, 1.5, -1.5}}) {
        for (const Rect rect : {Rect{0, 0, 12, 16}, Rect{100, -40, 12, 16}, Rect{3, 5, 24, 32}}) {
            SCOPED_TRACE(row.name);
            const auto marks = drawn(Sivrel::dividerImage(row.isCollapsed), rect);
            ASSERT_EQ(marks.size(), 1u);
            EXPECT_EQ(marks[0].operation, RecordingCanvas::Operation::stroke);
            EXPECT_EQ(marks[0].state.strokeColour, (Color{0, 0, 0, 1}));
            EXPECT_EQ(marks[0].state.lineWidth, 1.4);
            EXPECT_EQ(marks[0].state.cap, LineCap::round);
            EXPECT_EQ(marks[0].state.join, LineJoin::round);
            Path expected;
            for (const double base : {rect.midX() - 1.5, rect.midX() + 2.5}) {
                expected.moveTo({base + row.end, rect.midY() + 3});
                expected.lineTo({base + row.tip, rect.midY()});
                expected.lineTo({base + row.end, rect.midY() - 3});
            }
            EXPECT_EQ(marks[0].path, expected);
        }
    }
    EXPECT_EQ(Sivrel::dividerImage(true).size(), (Size{12, 16}));
    EXPECT_TRUE(Sivrel::dividerImage(true).isTemplate());
}

TEST(SivrelTexts, FollowTheState) {
    EXPECT_EQ(Sivrel::statusLine(true), "Hidden items are off the bar.");
    EXPECT_EQ(Sivrel::statusLine(false), "Hidden items are showing.");
    EXPECT_EQ(Sivrel::menuAction(true), "Show hidden items");
    EXPECT_EQ(Sivrel::menuAction(false), "Hide items");
    EXPECT_EQ(Sivrel::panelAction(true), "Show");
    EXPECT_EQ(Sivrel::panelAction(false), "Hide");
}

TEST(SivrelTexts, MoreThanSevenRevealsSuggestMovingAnIconOut) {
    for (const std::int64_t few : {0, 1, 7}) {
        EXPECT_EQ(Sivrel::revealsCaption(few), "How often you went looking") << few;
    }
    for (const std::int64_t many : {std::int64_t{8}, std::numeric_limits<std::int64_t>::max()}) {
        EXPECT_EQ(Sivrel::revealsCaption(many), "Often — maybe move one out") << many;
    }
}

TEST(SivrelTexts, DelaysAreCutToWholeSeconds) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    struct Row {
        double seconds;
        const char* brief;
        const char* words;
    };
    for (const Row row :
         {Row{8, "8s", "8 seconds"}, Row{12.9, "12s", "12 seconds"}, Row{4, "4s", "4 seconds"},
          Row{0.9, "0s", "0 seconds"}, Row{1.5, "1s", "1 second"}, Row{0, "Never", "Never"},
          Row{-0.0, "Never", "Never"}, Row{-1, "Never", "Never"}, Row{-infinity, "Never", "Never"},
          Row{std::numeric_limits<double>::quiet_NaN(), "Never", "Never"},
          Row{86400, "86400s", "86400 seconds"}, Row{1e300, "999999999s", "999999999 seconds"},
          Row{infinity, "999999999s", "999999999 seconds"}}) {
        SCOPED_TRACE(row.seconds);
        EXPECT_EQ(Sivrel::hidesAfterText(row.seconds), row.brief);
        EXPECT_EQ(Sivrel::delayText(row.seconds), row.words);
    }
}

TEST(SivrelTexts, ABarThatPushesNothingSaysSo) {
    for (const auto choice : {std::optional<bool>(), std::optional(false), std::optional(true)}) {
        EXPECT_NE(Sivrel::barNote(false, choice).find("cannot hide any there"), std::string::npos);
    }
    EXPECT_NE(Sivrel::barNote(true, true).find("both places"), std::string::npos);
    EXPECT_EQ(Sivrel::barNote(true, false), "");
    EXPECT_EQ(Sivrel::barNote(true, std::nullopt), "");
}

TEST(SivrelBarGeometry, RevealedShowsEveryIconInsideLeftOfTheDivider) {
    for (const double width : {579.0, 700.0, 450.0}) {
        SCOPED_TRACE(width);
        const auto bar = Sivrel::barGeometry(width, 0);
        EXPECT_FALSE(bar.hidden.empty());
        for (const auto& icon : bar.hidden) {
            EXPECT_EQ(icon.opacity, 1);
            EXPECT_GT(icon.x, bar.menusRight);
            EXPECT_LT(icon.x, bar.dividerLeft);
        }
        for (const auto& icon : bar.visible) {
            EXPECT_EQ(icon.opacity, 1);
            EXPECT_GT(icon.x, bar.dividerRight);
            EXPECT_LT(icon.x, width);
        }
        EXPECT_EQ(bar.dividerRight - bar.dividerLeft, SivrelSpice::revealedLength);
    }
    EXPECT_EQ(Sivrel::barGeometry(579, 0).hidden.size(), 6u);
}

TEST(SivrelBarGeometry, CollapsedHidesThemAllAndMovesNothingElse) {
    for (const double width : {579.0, 700.0, 450.0}) {
        SCOPED_TRACE(width);
        const auto revealed = Sivrel::barGeometry(width, 0);
        const auto collapsed = Sivrel::barGeometry(width, 1);
        ASSERT_EQ(collapsed.hidden.size(), revealed.hidden.size());
        for (const auto& icon : collapsed.hidden) {
            EXPECT_EQ(icon.opacity, 0);
        }
        EXPECT_EQ(collapsed.visible, revealed.visible);
        EXPECT_EQ(collapsed.divider, revealed.divider);
        EXPECT_EQ(collapsed.dividerRight, revealed.dividerRight);
        EXPECT_LT(collapsed.dividerLeft, revealed.hidden.front().x + 34);
    }
}

TEST(SivrelBarGeometry, EveryIconMovesLeftAndFadesAsTheDividerGrows) {
    auto before = Sivrel::barGeometry(579, 0);
    for (int step = 1; step <= 100; ++step) {
        SCOPED_TRACE(step);
        const auto now = Sivrel::barGeometry(579, step / 100.0);
        for (std::size_t index = 0; index < now.hidden.size(); ++index) {
            EXPECT_LT(now.hidden[index].x, before.hidden[index].x);
            EXPECT_LE(now.hidden[index].opacity, before.hidden[index].opacity);
            EXPECT_LT(now.hidden[index].x, now.dividerLeft) << "it is pushed, never passed";
        }
        EXPECT_LT(now.dividerLeft, before.dividerLeft);
        before = now;
    }
}

TEST(SivrelBarGeometry, ANarrowStripHasFewerIcons) {
    std::size_t most = 0;
    for (int width = 0; width <= 700; ++width) {
        const auto bar = Sivrel::barGeometry(width, 0);
        EXPECT_GE(bar.hidden.size(), most) << width;
        most = bar.hidden.size();
        if (!bar.hidden.empty()) {
            EXPECT_GT(bar.hidden.front().x, 0) << width;
        }
    }
    EXPECT_EQ(most, 6u);
    EXPECT_TRUE(Sivrel::barGeometry(0, 0.5).hidden.empty());
}
