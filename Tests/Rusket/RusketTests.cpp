#include "Platforms/Simulated/SimulatedHost.hpp"
#include "Rusket/Rusket.hpp"
#include "ZorbelKit/Stall.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

using Rusket::RusketSpice;
using Rusket::Vitals;
using Simulated::SimulatedHost;
using ZorbelKit::Seconds;
using ZorbelKit::Token;

namespace {

struct Machine {
    SimulatedHost host;
    const int liveBefore = host.liveThings();
    RusketSpice rusket{host.loop, host.statistics};

    /// One second in which this share of a hundred ticks was busy.
    void advanceSecond(std::uint64_t busyPercent) {
        host.statistics.work(busyPercent, 100 - busyPercent);
        host.loop.advance(Seconds{1});
    }
};

} // namespace

TEST(Rusket, KnowsItsNames) {
    const Machine machine;
    EXPECT_EQ(machine.rusket.id(), "rusket");
    EXPECT_EQ(machine.rusket.name(), "Rusket");
    EXPECT_EQ(machine.rusket.role(), "System Monitor");
    EXPECT_EQ(machine.rusket.summary(), "Reads processor load, memory and pressure, once a second.");
    EXPECT_FALSE(machine.rusket.reason().empty());
    EXPECT_EQ(machine.rusket.wave(), ZorbelKit::Wave::inTheCup);
    EXPECT_TRUE(isOnByDefault(machine.rusket));
}

TEST(Rusket, ReadsNothingBeforeItIsOn) {
    Machine machine;
    EXPECT_FALSE(machine.rusket.isEnabled());
    machine.host.loop.advance(Seconds{60});
    EXPECT_EQ(machine.rusket.vitals(), Vitals{});
    EXPECT_TRUE(machine.rusket.history().empty());
    EXPECT_EQ(machine.host.statistics.processorReads, 0);
    EXPECT_EQ(machine.host.liveThings(), machine.liveBefore);
}

TEST(Rusket, TakesAReadingAtOnceWhoseLoadIsZero) {
    Machine machine;
    machine.rusket.steep();
    ASSERT_EQ(machine.rusket.history().size(), 1U);
    EXPECT_EQ(machine.rusket.history().front(), machine.rusket.vitals());
    EXPECT_EQ(machine.rusket.vitals().cpu, 0.0);
    EXPECT_EQ(machine.rusket.vitals().memoryUsed, 4ULL << 30);
    EXPECT_EQ(machine.rusket.vitals().memoryTotal, 8ULL << 30);
    EXPECT_EQ(machine.rusket.vitals().memoryPressure, 0.125);
}

TEST(Rusket, TakesAReadingEverySecond) {
    Machine machine;
    machine.rusket.steep();
    machine.host.statistics.work(25, 75);
    machine.host.loop.advance(Seconds{0.999});
    EXPECT_EQ(machine.rusket.history().size(), 1U);
    machine.host.loop.advance(Seconds{0.001});
    ASSERT_EQ(machine.rusket.history().size(), 2U);
    EXPECT_EQ(machine.rusket.vitals().cpu, 0.25);
    EXPECT_EQ(machine.rusket.history().back(), machine.rusket.vitals());
    machine.host.loop.advance(Seconds{10});
    EXPECT_EQ(machine.host.statistics.processorReads, 12);
}

TEST(Rusket, KeepsTheLastSixtyReadings) {
    Machine machine;
    machine.rusket.steep();
    for (std::uint64_t second = 1; second <= 59; ++second) {
        machine.advanceSecond(second);
        ASSERT_EQ(machine.rusket.history().size(), second + 1);
    }
    EXPECT_EQ(machine.rusket.history().front().cpu, 0.0); // the first is still there
    machine.advanceSecond(60);
    ASSERT_EQ(machine.rusket.history().size(), RusketSpice::historyLength); // after 61 readings
    for (std::size_t index = 0; index < 60; ++index) {
        ASSERT_DOUBLE_EQ(machine.rusket.history()[index].cpu, static_cast<double>(index + 1) / 100);
    }
    machine.advanceSecond(61);
    EXPECT_EQ(machine.rusket.history().size(), 60U);
    EXPECT_DOUBLE_EQ(machine.rusket.history().front().cpu, 0.02);
}

TEST(Rusket, TurnedOnTwiceItRunsOneTimer) {
    Machine machine;
    machine.rusket.steep();
    machine.host.loop.advance(Seconds{0.5});
    machine.rusket.steep();
    EXPECT_EQ(machine.rusket.history().size(), 1U);
    EXPECT_EQ(machine.host.loop.liveTimers(), 1);
    machine.host.loop.advance(Seconds{0.5});
    EXPECT_EQ(machine.rusket.history().size(), 2U); // on the beat of the first
    machine.host.loop.advance(Seconds{1});
    EXPECT_EQ(machine.rusket.history().size(), 3U);
}

TEST(Rusket, AtRestItHoldsNothingAndShowsNothing) {
    Machine machine;
    machine.rusket.steep();
    machine.advanceSecond(50);
    EXPECT_EQ(machine.host.liveThings(), machine.liveBefore + 1);
    machine.rusket.rest();
    EXPECT_EQ(machine.host.liveThings(), machine.liveBefore);
    EXPECT_EQ(machine.rusket.vitals(), Vitals{});
    EXPECT_TRUE(machine.rusket.history().empty());
    const int reads = machine.host.statistics.processorReads;
    machine.host.loop.advance(Seconds{60});
    EXPECT_EQ(machine.host.statistics.processorReads, reads);
    EXPECT_TRUE(machine.rusket.history().empty());
}

TEST(Rusket, RestingTwiceOrBeforeTheStartIsHarmless) {
    Machine machine;
    machine.rusket.rest();
    machine.rusket.steep();
    machine.rusket.rest();
    machine.rusket.rest();
    EXPECT_EQ(machine.host.liveThings(), machine.liveBefore);
    EXPECT_TRUE(machine.rusket.history().empty());
}

TEST(Rusket, AfterAPauseHistoryStartsAgainWithTheAverageLoadOverThePause) {
    Machine machine;
    machine.rusket.steep();
    machine.advanceSecond(90);
    machine.rusket.rest();
    machine.advanceSecond(10);
    machine.advanceSecond(30);
    machine.rusket.steep();
    ASSERT_EQ(machine.rusket.history().size(), 1U);
    EXPECT_DOUBLE_EQ(machine.rusket.vitals().cpu, 0.2);
    machine.advanceSecond(70);
    EXPECT_EQ(machine.rusket.history().size(), 2U);
    EXPECT_DOUBLE_EQ(machine.rusket.vitals().cpu, 0.7);
}

TEST(Rusket, AfterAPauseReadingsComeASecondAfterTheNewStart) {
    Machine machine;
    machine.rusket.steep();
    machine.host.loop.advance(Seconds{0.6});
    machine.rusket.rest();
    machine.rusket.steep();
    machine.host.loop.advance(Seconds{0.999});
    EXPECT_EQ(machine.rusket.history().size(), 1U);
    machine.host.loop.advance(Seconds{0.001});
    EXPECT_EQ(machine.rusket.history().size(), 2U);
}

TEST(Rusket, APauseWithinOneTickReadsZero) {
    Machine machine;
    machine.rusket.steep();
    machine.rusket.rest();
    machine.rusket.steep();
    EXPECT_EQ(machine.rusket.vitals().cpu, 0.0);
}

TEST(Rusket, AReadingThatFailsIsKeptAsZero) {
    Machine machine;
    machine.rusket.steep();
    const auto ticks = machine.host.statistics.ticks;
    machine.host.statistics.ticks.reset();
    machine.host.statistics.pages.reset();
    machine.host.loop.advance(Seconds{1});
    EXPECT_EQ(machine.rusket.history().size(), 2U);
    EXPECT_EQ(machine.rusket.vitals(),
              (Vitals{.cpu = 0, .memoryUsed = 0, .memoryTotal = 8ULL << 30, .memoryPressure = 0}));
    machine.host.statistics.ticks = ticks;
    machine.advanceSecond(40);
    EXPECT_DOUBLE_EQ(machine.rusket.vitals().cpu, 0.4);
}

TEST(Rusket, TellsItsReadersOfNewReadings) {
    Machine machine;
    std::string heard;
    const Token changes =
        machine.rusket.observe([&] { heard += std::to_string(machine.rusket.history().size()) + " "; });
    machine.rusket.steep(); // the reading, then the history
    EXPECT_EQ(heard, "0 1 ");
    heard.clear();
    machine.host.loop.advance(Seconds{1}); // an equal reading: only the history has changed
    EXPECT_EQ(heard, "2 ");
    heard.clear();
    machine.advanceSecond(50);
    EXPECT_EQ(heard, "2 3 ");
    heard.clear();
    machine.rusket.rest();
    EXPECT_EQ(heard, "0 0 ");
    heard.clear();
    machine.rusket.rest();
    EXPECT_EQ(heard, "");
}

TEST(Rusket, AMinuteOfEqualReadingsFallsSilent) {
    Machine machine;
    machine.rusket.steep();
    machine.host.loop.advance(Seconds{59});
    ASSERT_EQ(machine.rusket.history().size(), 60U);
    int told = 0;
    const Token changes = machine.rusket.observe([&] { ++told; });
    machine.host.loop.advance(Seconds{60});
    EXPECT_EQ(told, 0);
    EXPECT_EQ(machine.host.statistics.processorReads, 120);
    machine.advanceSecond(1);
    EXPECT_EQ(told, 2);
}

TEST(Rusket, DestroyingItStopsItsTimer) {
    SimulatedHost host;
    const int before = host.liveThings();
    std::optional<RusketSpice> rusket(std::in_place, host.loop, host.statistics);
    rusket->steep();
    rusket.reset();
    EXPECT_EQ(host.liveThings(), before);
    host.loop.advance(Seconds{5});
    EXPECT_EQ(host.statistics.processorReads, 1);
}

TEST(Rusket, RunsWhileTheStallHasItOn) {
    SimulatedHost host;
    ZorbelKit::Stall stall(host.defaults, host.loop);
    const int before = host.liveThings();
    stall.add(std::make_unique<RusketSpice>(host.loop, host.statistics));
    auto& rusket = dynamic_cast<RusketSpice&>(*stall.spice("rusket"));
    EXPECT_TRUE(rusket.isEnabled());
    host.loop.advance(Seconds{5});
    EXPECT_EQ(rusket.history().size(), 6U);
    stall.toggle(rusket);
    EXPECT_EQ(host.liveThings(), before);
    stall.toggle(rusket);
    EXPECT_EQ(rusket.history().size(), 1U);
    EXPECT_EQ(host.loop.liveTimers(), 1);
    stall.restAll();
    EXPECT_EQ(host.liveThings(), before);
    EXPECT_EQ(host.defaults.boolean("spice.rusket.enabled"), true);
}

TEST(Rusket, AReaderMayTurnItOffWhileItIsToldOfAReading) {
    struct Row {
        const char* name;
        int reading; // the one at which it is turned off
    };
    for (const Row row : {Row{"the first", 1}, Row{"a later one", 3}}) {
        SCOPED_TRACE(row.name);
        SimulatedHost host;
        ZorbelKit::Stall stall(host.defaults, host.loop);
        host.defaults.setBoolean("spice.rusket.enabled", false);
        const int before = host.liveThings();
        stall.add(std::make_unique<RusketSpice>(host.loop, host.statistics));
        auto& rusket = dynamic_cast<RusketSpice&>(*stall.spice("rusket"));
        int readings = 0;
        Token turnOff = rusket.observe([&] {
            if (rusket.isEnabled() && rusket.vitals() != Vitals{} && ++readings == row.reading) {
                stall.setEnabled(false, rusket);
            }
        });
        stall.setEnabled(true, rusket);
        host.statistics.work(30, 70);
        host.loop.advance(Seconds{5});
        turnOff.reset();
        EXPECT_FALSE(rusket.isEnabled());
        EXPECT_EQ(host.defaults.boolean("spice.rusket.enabled"), false);
        EXPECT_TRUE(rusket.history().empty());
        EXPECT_EQ(rusket.vitals(), Vitals{});
        EXPECT_EQ(host.liveThings(), before);
    }
}
