#include "Platforms/Simulated/SimulatedHost.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

using Simulated::SimulatedDefaults;
using Simulated::SimulatedHost;
using Simulated::SimulatedHostStatistics;
using Simulated::SimulatedMainLoop;
using Simulated::SimulatedScreens;
using Simulated::SimulatedStatusBar;
using ZorbelKit::ClickButton;
using ZorbelKit::Priority;
using ZorbelKit::Seconds;
using ZorbelKit::TimePoint;
using ZorbelKit::Token;
using namespace std::chrono_literals;

TEST(SimulatedMainLoop, TimeMovesOnlyWhenTold) {
    SimulatedMainLoop loop;
    EXPECT_EQ(loop.elapsed(), Seconds{0});
    loop.advance(Seconds{1.5});
    loop.settle();
    EXPECT_EQ(loop.elapsed(), Seconds{1.5});
}

TEST(SimulatedMainLoop, ADelayedTaskRunsOnceAtItsTimeAndNotBefore) {
    SimulatedMainLoop loop;
    int runs = 0;
    const Token task = loop.after(Seconds{1}, [&] { ++runs; });
    loop.advance(Seconds{0.999});
    EXPECT_EQ(runs, 0);
    EXPECT_EQ(loop.liveTimers(), 1);
    loop.advance(Seconds{0.001});
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(loop.liveTimers(), 0);
    EXPECT_TRUE(task); // the token of a task that has run stays true
    loop.advance(Seconds{100});
    EXPECT_EQ(runs, 1);
}

TEST(SimulatedMainLoop, ATaskWithoutDelayWaitsForTheLoop) {
    SimulatedMainLoop loop;
    int runs = 0;
    const Token now = loop.after(Seconds{0}, [&] { ++runs; });
    const Token overdue = loop.after(Seconds{-5}, [&] { ++runs; });
    EXPECT_EQ(runs, 0);
    loop.settle();
    EXPECT_EQ(runs, 2);
    EXPECT_EQ(loop.elapsed(), Seconds{0});
}

TEST(SimulatedMainLoop, ATimerRepeatsUntilItsTokenGoes) {
    SimulatedMainLoop loop;
    int ticks = 0;
    Token timer = loop.every(Seconds{1}, [&] { ++ticks; });
    loop.advance(Seconds{0.999});
    EXPECT_EQ(ticks, 0);
    loop.advance(Seconds{2.001});
    EXPECT_EQ(ticks, 3);
    EXPECT_EQ(loop.firedTimers(), 3);
    timer.reset();
    EXPECT_EQ(loop.liveTimers(), 0);
    loop.advance(Seconds{10});
    EXPECT_EQ(ticks, 3);
}

TEST(SimulatedMainLoop, TwelveFramesFitInOneSecondEverySecond) {
    SimulatedMainLoop loop;
    int frames = 0;
    const Token timer = loop.every(Seconds{1.0 / 12}, [&] { ++frames; });
    for (int second = 1; second <= 60; ++second) {
        loop.advance(Seconds{1});
        ASSERT_EQ(frames, 12 * second);
    }
}

TEST(SimulatedMainLoop, DueTasksRunInOrderOfTimeThenOfCreation) {
    SimulatedMainLoop loop;
    std::string order;
    std::vector<Token> tokens;
    tokens.push_back(loop.after(Seconds{2}, [&] { order += "c"; }));
    tokens.push_back(loop.after(Seconds{1}, [&] { order += "a"; }));
    tokens.push_back(loop.after(Seconds{1}, [&] { order += "b"; }));
    tokens.push_back(loop.every(Seconds{1}, [&] { order += "t"; }));
    loop.advance(Seconds{3});
    EXPECT_EQ(order, "abtctt");
}

TEST(SimulatedMainLoop, ATaskSeesTheTimeItWasDue) {
    SimulatedMainLoop loop;
    std::vector<Seconds> times;
    const Token timer = loop.every(Seconds{0.25}, [&] { times.push_back(loop.elapsed()); });
    loop.advance(Seconds{1});
    EXPECT_EQ(times, (std::vector{Seconds{0.25}, Seconds{0.5}, Seconds{0.75}, Seconds{1}}));
}

TEST(SimulatedMainLoop, WhatATaskSchedulesRunsInTheSameAdvanceIfItFallsDue) {
    SimulatedMainLoop loop;
    std::vector<Seconds> times;
    Token inner;
    const Token outer = loop.after(
        Seconds{1}, [&] { inner = loop.after(Seconds{0.5}, [&] { times.push_back(loop.elapsed()); }); });
    loop.advance(Seconds{1.4});
    EXPECT_TRUE(times.empty());
    loop.advance(Seconds{1});
    EXPECT_EQ(times, std::vector{Seconds{1.5}});
}

TEST(SimulatedMainLoop, ATimerMayStopItselfOrAnotherFromItsTick) {
    SimulatedMainLoop loop;
    int ticks = 0;
    int otherTicks = 0;
    Token other;
    Token timer;
    timer = loop.every(Seconds{1}, [&] {
        ++ticks;
        other.reset();
        timer.reset();
    });
    other = loop.every(Seconds{1}, [&] { ++otherTicks; });
    loop.advance(Seconds{5});
    EXPECT_EQ(ticks, 1);
    EXPECT_EQ(otherTicks, 0);
    EXPECT_EQ(loop.liveTimers(), 0);
}

TEST(SimulatedMainLoop, ATokenMayOutliveTheLoop) {
    Token timer;
    {
        SimulatedMainLoop loop;
        timer = loop.every(Seconds{1}, [] {});
    }
    EXPECT_TRUE(timer);
    timer.reset();
    EXPECT_FALSE(timer);
}

TEST(SimulatedMainLoop, AStoppedTimerLetsGoOfWhatItHeld) {
    SimulatedMainLoop loop;
    const auto held = std::make_shared<int>(0);
    Token timer = loop.every(Seconds{1}, [held] {});
    const Token task = loop.after(Seconds{1}, [held] {});
    EXPECT_EQ(held.use_count(), 3);
    timer.reset();
    loop.advance(Seconds{1});
    EXPECT_EQ(held.use_count(), 1);
}

TEST(SimulatedMainLoop, PostedTasksRunInOrderBeforeTheTimers) {
    SimulatedMainLoop loop;
    std::string order;
    const Token timer = loop.after(Seconds{0}, [&] { order += "t"; });
    loop.post([&] {
        order += "a";
        loop.post([&] { order += "c"; });
    });
    loop.post([&] { order += "b"; });
    EXPECT_EQ(order, "");
    loop.settle();
    EXPECT_EQ(order, "abct");
}

TEST(SimulatedMainLoop, WhatATimerPostsRunsBeforeTheNextTimer) {
    SimulatedMainLoop loop;
    std::string order;
    const Token first = loop.after(Seconds{1}, [&] { loop.post([&] { order += "p"; }); });
    const Token second = loop.after(Seconds{1}, [&] { order += "t"; });
    loop.advance(Seconds{1});
    EXPECT_EQ(order, "pt");
}

TEST(SimulatedMainLoop, BackgroundWorkRunsOffTheMainThreadAndAnswersOnIt) {
    SimulatedMainLoop loop;
    std::optional<bool> workOnMain;
    std::optional<bool> answerOnMain;
    loop.background(Priority::userInitiated, [&] {
        workOnMain = loop.isMainThread();
        loop.post([&] { answerOnMain = loop.isMainThread(); });
    });
    EXPECT_EQ(workOnMain, std::nullopt);
    loop.settle();
    EXPECT_EQ(workOnMain, false);
    EXPECT_EQ(answerOnMain, true);
    EXPECT_TRUE(loop.isMainThread());
}

TEST(SimulatedMainLoop, TakesPostsFromAnotherThread) {
    SimulatedMainLoop loop;
    bool isMainThere = true;
    int runs = 0;
    std::thread([&] {
        isMainThere = loop.isMainThread();
        for (int count = 0; count < 100; ++count) {
            loop.post([&] { ++runs; });
        }
    }).join();
    EXPECT_FALSE(isMainThere);
    loop.settle();
    EXPECT_EQ(runs, 100);
}

TEST(SimulatedClock, FollowsTheLoop) {
    SimulatedHost host;
    const TimePoint start = host.clock.now();
    host.loop.advance(Seconds{1.25});
    EXPECT_EQ(host.clock.now() - start, 1250ms);
}

TEST(SimulatedClock, CanBeMovedApartFromTheLoop) {
    SimulatedHost host;
    const TimePoint start = host.clock.now();
    int ticks = 0;
    const Token timer = host.loop.every(Seconds{1}, [&] { ++ticks; });
    host.clock.shift(Seconds{3600});
    EXPECT_EQ(host.clock.now() - start, 1h);
    host.clock.shift(Seconds{-7200});
    EXPECT_EQ(host.clock.now() - start, -1h);
    EXPECT_EQ(ticks, 0);
    host.loop.advance(Seconds{1});
    EXPECT_EQ(ticks, 1);
    const TimePoint moment = std::chrono::sys_days{2026y / 12 / 31} + 23h + 59min;
    host.clock.set(moment);
    EXPECT_EQ(host.clock.now(), moment);
    host.loop.advance(Seconds{60});
    EXPECT_EQ(host.clock.now(), std::chrono::sys_days{2027y / 1 / 1});
}

TEST(SimulatedClock, ADayStartsAtTheUsersMidnight) {
    const auto day = [](int number) { return std::chrono::sys_days{2026y / 3 / number}; };
    const struct {
        const char* name;
        std::chrono::minutes zone;
        TimePoint moment;
        TimePoint start;
    } rows[] = {
        {"at midnight", 0min, day(14), day(14)},
        {"just before midnight", 0min, day(14) - 1ns, day(13)},
        {"in the afternoon", 0min, day(14) + 15h, day(14)},
        {"east, already tomorrow", 330min, day(14) + 20h, day(15) - 330min},
        {"east, at its midnight", 330min, day(15) - 330min, day(15) - 330min},
        {"west, still yesterday", -300min, day(14) + 4h, day(13) + 5h},
        {"before 1970", 0min, TimePoint{-1ns}, TimePoint{-24h}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        SimulatedHost host;
        host.clock.setZoneOffset(row.zone);
        EXPECT_EQ(host.clock.startOfDay(row.moment), row.start);
    }
}

TEST(SimulatedDefaults, EveryTypeComesBackAsItself) {
    SimulatedDefaults defaults;
    const std::int64_t lowest = std::numeric_limits<std::int64_t>::min();
    const SimulatedDefaults::Data data{0, 255, 10};
    defaults.setBoolean("boolean", false);
    defaults.setInteger("integer", lowest);
    defaults.setNumber("number", 0.1);
    defaults.setString("string", std::string("a\0b", 3));
    defaults.setData("data", data);
    EXPECT_EQ(defaults.boolean("boolean"), false);
    EXPECT_EQ(defaults.integer("integer"), lowest);
    EXPECT_EQ(defaults.number("number"), 0.1);
    EXPECT_EQ(defaults.string("string"), std::string("a\0b", 3));
    EXPECT_EQ(defaults.data("data"), data);
    EXPECT_EQ(defaults.writes(), 5);
}

TEST(SimulatedDefaults, AValueReadsOnlyAsItsOwnTypeButAnIntegerIsANumberToo) {
    const struct {
        const char* name;
        void (*store)(SimulatedDefaults&);
        bool asBoolean, asInteger, asNumber, asString, asData;
    } rows[] = {
        {"nothing", [](auto&) {}, false, false, false, false, false},
        {"boolean", [](auto& d) { d.setBoolean("key", true); }, true, false, false, false, false},
        {"integer", [](auto& d) { d.setInteger("key", 1); }, false, true, true, false, false},
        {"number", [](auto& d) { d.setNumber("key", 1.0); }, false, false, true, false, false},
        {"string", [](auto& d) { d.setString("key", "1"); }, false, false, false, true, false},
        {"data", [](auto& d) { d.setData("key", {1}); }, false, false, false, false, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        SimulatedDefaults defaults;
        row.store(defaults);
        EXPECT_EQ(defaults.boolean("key").has_value(), row.asBoolean);
        EXPECT_EQ(defaults.integer("key").has_value(), row.asInteger);
        EXPECT_EQ(defaults.number("key").has_value(), row.asNumber);
        EXPECT_EQ(defaults.string("key").has_value(), row.asString);
        EXPECT_EQ(defaults.data("key").has_value(), row.asData);
    }
}

TEST(SimulatedDefaults, ALaterWriteReplacesTheValueAndItsType) {
    SimulatedDefaults defaults;
    defaults.setBoolean("key", true);
    defaults.setString("key", "text");
    EXPECT_EQ(defaults.boolean("key"), std::nullopt);
    EXPECT_EQ(defaults.string("key"), "text");
    defaults.remove("key");
    defaults.remove("never stored");
    EXPECT_FALSE(defaults.has("key"));
    EXPECT_TRUE(defaults.values().empty());
}

TEST(SimulatedStatusBar, AnItemIsListedUntilItIsDestroyed) {
    SimulatedStatusBar bar;
    auto item = bar.statusItem(SimulatedStatusBar::squareLength, "zorbel", ZorbelKit::StatusItemKind::button);
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(bar.liveItems(), 1);
    EXPECT_EQ(bar.item("zorbel")->length, -2);
    item->setLength(100);
    item->setToolTip("Zorbel");
    item->setImage(ZorbelKit::Image({18, 18}, [](auto&, auto&) {}));
    EXPECT_EQ(bar.item("zorbel")->length, 100);
    EXPECT_EQ(bar.item("zorbel")->toolTip, "Zorbel");
    EXPECT_EQ(bar.item("zorbel")->imagesShown, 1);
    EXPECT_EQ(item->frame(), bar.item("zorbel")->frame);
    item.reset();
    EXPECT_EQ(bar.liveItems(), 0);
    EXPECT_EQ(bar.item("zorbel"), nullptr);
}

TEST(SimulatedStatusBar, AClickTellsTheButtonAndTheFrameAndMayDestroyTheItem) {
    SimulatedStatusBar bar;
    auto item = bar.statusItem(20, "zorbel", ZorbelKit::StatusItemKind::button);
    std::optional<ZorbelKit::StatusClick> seen;
    bar.click("zorbel", ClickButton::left); // nobody listens yet
    item->onClick([&](const ZorbelKit::StatusClick& click) {
        seen = click;
        item.reset();
    });
    bar.click("other", ClickButton::right);
    EXPECT_FALSE(seen.has_value());
    bar.click("zorbel", ClickButton::right);
    ASSERT_TRUE(seen.has_value());
    EXPECT_EQ(seen->button, ClickButton::right);
    EXPECT_EQ(seen->itemFrame, (ZorbelKit::Rect{700, 572, 28, 28}));
    EXPECT_EQ(bar.liveItems(), 0);
}

TEST(SimulatedStatusBar, TellsWhenItsWaysChange) {
    SimulatedStatusBar bar;
    int told = 0;
    const Token changes = bar.onChange([&] { ++told; });
    bar.setPushesOthers(false);
    EXPECT_FALSE(bar.pushesOthers());
    bar.setReachable(false);
    EXPECT_FALSE(bar.isReachable());
    EXPECT_EQ(told, 2);
}

TEST(SimulatedStatusBar, HandsOutNothingWhereThereAreNoItems) {
    SimulatedStatusBar bar;
    bar.setShowsItems(false);
    EXPECT_EQ(bar.statusItem(20, "zorbel", ZorbelKit::StatusItemKind::button), nullptr);
    EXPECT_FALSE(bar.isReachable());
}

TEST(SimulatedScreens, TellsOfANewSetOfMonitors) {
    SimulatedScreens screens;
    EXPECT_EQ(screens.all().size(), 1U);
    std::size_t seen = 99;
    const Token changes = screens.onChange([&] { seen = screens.all().size(); });
    screens.set({});
    EXPECT_EQ(seen, 0U);
}

TEST(SimulatedHostStatistics, WorkMovesTheCountersOn) {
    SimulatedHostStatistics statistics;
    const auto before = statistics.processorTicks();
    statistics.work(30, 70);
    const auto after = statistics.processorTicks();
    ASSERT_TRUE(before && after);
    EXPECT_EQ(after->user - before->user, 30U);
    EXPECT_EQ(after->idle - before->idle, 70U);
    EXPECT_EQ(statistics.processorReads, 2);
    statistics.ticks.reset();
    statistics.work(1, 1);
    EXPECT_EQ(statistics.processorTicks(), std::nullopt);
}

TEST(SimulatedHost, CountsEverythingASpiceCouldLeaveBehind) {
    SimulatedHost host;
    const int before = host.liveThings();
    const Token timer = host.loop.every(Seconds{1}, [] {});
    const Token task = host.loop.after(Seconds{1}, [] {});
    const Token reader = host.screens.onChange([] {});
    const auto item = host.statusBar.statusItem(20, "zorbel", ZorbelKit::StatusItemKind::button);
    EXPECT_EQ(host.liveThings(), before + 4);
}
