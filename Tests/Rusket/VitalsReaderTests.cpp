#include "Platforms/Simulated/SimulatedHostStatistics.hpp"
#include "Rusket/VitalsReader.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>

using Rusket::MemoryPages;
using Rusket::ProcessorTicks;
using Rusket::Vitals;
using Rusket::VitalsReader;
using Simulated::SimulatedHostStatistics;

namespace {

constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();

/// A reader over counters set by hand; memory is of no interest unless a test says so.
struct Bench {
    SimulatedHostStatistics statistics;
    VitalsReader reader{statistics};

    double loadAfter(const ProcessorTicks& from, const ProcessorTicks& to) {
        statistics.ticks = from;
        (void)reader.read();
        statistics.ticks = to;
        return reader.read().cpu;
    }
};

Vitals memoryReading(std::optional<MemoryPages> pages, std::uint64_t installed) {
    Bench bench;
    bench.statistics.pages = pages;
    bench.statistics.installed = installed;
    return bench.reader.read();
}

} // namespace

TEST(VitalsReader, TheFirstReadingHasNoLoadButRealMemory) {
    Bench bench;
    const Vitals reading = bench.reader.read();
    EXPECT_EQ(reading.cpu, 0.0);
    EXPECT_EQ(reading.memoryUsed, 4ULL << 30);
    EXPECT_EQ(reading.memoryTotal, 8ULL << 30);
    EXPECT_EQ(reading.memoryPressure, 0.125);
}

TEST(VitalsReader, TheLoadIsTheBusyShareSinceTheReadingBefore) {
    const ProcessorTicks from{.user = 1000, .system = 500, .idle = 8000, .nice = 10};
    const struct {
        const char* name;
        ProcessorTicks more;
        double load;
    } rows[] = {
        {"nothing moved", {}, 0.0},
        {"idle only", {.idle = 100}, 0.0},
        {"user only", {.user = 100}, 1.0},
        {"system only", {.system = 1}, 1.0},
        {"nice only", {.nice = 1}, 1.0},
        {"a quarter", {.user = 10, .system = 10, .idle = 75, .nice = 5}, 0.25},
        {"one in a million", {.user = 1, .idle = 999'999}, 1e-6},
        {"the largest sum that fits", {.user = most - 1, .nice = 1}, 1.0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Bench bench;
        EXPECT_DOUBLE_EQ(bench.loadAfter(from, {.user = from.user + row.more.user,
                                                .system = from.system + row.more.system,
                                                .idle = from.idle + row.more.idle,
                                                .nice = from.nice + row.more.nice}),
                         row.load);
    }
}

TEST(VitalsReader, EachReadingSpansOnlyTheTimeSinceTheLast) {
    Bench bench;
    (void)bench.reader.read();
    bench.statistics.work(100, 0);
    EXPECT_EQ(bench.reader.read().cpu, 1.0);
    bench.statistics.work(0, 100);
    EXPECT_EQ(bench.reader.read().cpu, 0.0);
    EXPECT_EQ(bench.reader.read().cpu, 0.0); // twice in the same tick
}

TEST(VitalsReader, TheLoadIsNeverAboveOne) {
    Bench bench;
    EXPECT_EQ(bench.loadAfter({}, {.user = most}), 1.0);
}

TEST(VitalsReader, AReadingThatFailsIsZeroAndTheNextSpansBothIntervals) {
    Bench bench;
    (void)bench.reader.read();
    const auto ticks = bench.statistics.ticks;
    bench.statistics.ticks.reset();
    EXPECT_EQ(bench.reader.read().cpu, 0.0);
    bench.statistics.ticks = ticks;
    bench.statistics.work(30, 70);
    EXPECT_DOUBLE_EQ(bench.reader.read().cpu, 0.3);
}

TEST(VitalsReader, AFailureBeforeTheFirstReadingIsNotTheFirstReading) {
    Bench bench;
    const auto ticks = bench.statistics.ticks;
    bench.statistics.ticks.reset();
    EXPECT_EQ(bench.reader.read().cpu, 0.0);
    bench.statistics.ticks = ticks;
    EXPECT_EQ(bench.reader.read().cpu, 0.0); // not the average since the machine started
    bench.statistics.work(1, 1);
    EXPECT_EQ(bench.reader.read().cpu, 0.5);
}

TEST(VitalsReader, MemoryFiguresFollowFromPages) {
    const std::uint64_t gibibyte = 1ULL << 30;
    const struct {
        const char* name;
        MemoryPages pages;
        std::uint64_t installed;
        std::uint64_t used;
        double pressure;
    } rows[] = {
        {"nothing in use", {.pageSize = 4096}, gibibyte, 0, 0},
        {"active only", {.active = 10, .pageSize = 4096}, 81'920, 40'960, 0},
        {"wired only", {.wired = 10, .pageSize = 4096}, 81'920, 40'960, 0.5},
        {"compressor only", {.compressor = 5, .pageSize = 4096}, 81'920, 20'480, 0.25},
        {"all three", {.active = 1, .wired = 2, .compressor = 3, .pageSize = 16'384}, 163'840, 98'304, 0.5},
        {"pages of no size", {.active = 1, .wired = 2, .compressor = 3, .pageSize = 0}, gibibyte, 0, 0},
        {"pressure at one", {.wired = 1, .compressor = 1, .pageSize = 4096}, 8192, 8192, 1},
        {"pressure capped", {.wired = 3, .compressor = 1, .pageSize = 4096}, 8192, 16'384, 1},
        {"used above installed stays", {.active = 4, .pageSize = 4096}, 8192, 16'384, 0},
        {"installed unknown", {.active = 1, .wired = 1, .compressor = 1, .pageSize = 4096}, 0, 12'288, 0},
        {"the largest that fits",
         {.active = 1, .wired = most - 2, .compressor = 1, .pageSize = 1},
         most,
         most,
         1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const Vitals reading = memoryReading(row.pages, row.installed);
        EXPECT_EQ(reading.memoryUsed, row.used);
        EXPECT_EQ(reading.memoryTotal, row.installed);
        EXPECT_EQ(reading.memoryPressure, row.pressure);
    }
}

TEST(VitalsReader, WithoutMemoryStatisticsTheInstalledMemoryIsStillTold) {
    EXPECT_EQ(memoryReading(std::nullopt, 8ULL << 30),
              (Vitals{.cpu = 0, .memoryUsed = 0, .memoryTotal = 8ULL << 30, .memoryPressure = 0}));
    EXPECT_EQ(memoryReading(std::nullopt, 0), Vitals{});
}

TEST(VitalsReader, MemoryIsReadEvenWhenTheProcessorIsNot) {
    Bench bench;
    bench.statistics.ticks.reset();
    EXPECT_EQ(bench.reader.read().memoryUsed, 4ULL << 30);
}

TEST(VitalsReader, TickSumsThatDoNotFitStopTheProcess) {
    const struct {
        const char* name;
        ProcessorTicks from;
        ProcessorTicks to;
    } rows[] = {
        {"user and system", {}, {.user = most, .system = 1}},
        {"and nice", {}, {.user = most - 1, .system = 1, .nice = 1}},
        {"user stepped back", {.user = 100}, {.user = 99, .system = 1}},
        {"system stepped back", {.system = 100}, {.user = 1, .system = 99}},
        {"nice stepped back", {.nice = 100}, {.user = 1, .nice = 99}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Bench bench;
        EXPECT_DEATH((void)bench.loadAfter(row.from, row.to), "arithmetic overflow in add");
    }
}

TEST(VitalsReader, AnIdleCounterThatStepsBackReadsAsIdle) {
    Bench bench;
    EXPECT_NEAR(bench.loadAfter({.idle = 100}, {.user = 50, .idle = 99}), 0.0, 1e-12);
}

TEST(VitalsReader, ByteProductsAndSumsThatDoNotFitStopTheProcess) {
    const struct {
        const char* name;
        MemoryPages pages;
        const char* message;
    } rows[] = {
        {"active bytes", {.active = 1ULL << 52, .pageSize = 4096}, "overflow in multiply"},
        {"wired bytes", {.wired = 1ULL << 52, .pageSize = 4096}, "overflow in multiply"},
        {"compressor bytes", {.compressor = 1ULL << 52, .pageSize = 4096}, "overflow in multiply"},
        {"wired and active",
         {.active = 1ULL << 51, .wired = 1ULL << 51, .pageSize = 4096},
         "overflow in add"},
        {"and compressor",
         {.active = 1, .wired = most - 1, .compressor = 1, .pageSize = 1},
         "overflow in add"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_DEATH((void)memoryReading(row.pages, 1ULL << 30), row.message);
        EXPECT_DEATH((void)memoryReading(row.pages, 0), row.message); // also where nothing is installed
    }
}
