#include "Platforms/Linux/ProcHostStatistics.hpp"
#include "Rusket/VitalsReader.hpp"
#include "Tests/TemporaryFolder.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

using Linux::ProcHostStatistics;
using Rusket::ProcessorTicks;
using Rusket::Vitals;
using Rusket::VitalsReader;

namespace {

constexpr std::uint64_t kibi = 1024;
constexpr std::uint64_t mebi = 1024 * kibi;
constexpr std::uint64_t gibi = 1024 * mebi;

/// A folder that stands for "/", made for one test and removed with it. Files are rewritten in place, so that
/// who has one open sees the new text, as in /proc.
class FakeRoot {
public:
    void write(const std::string& file, std::string_view text) const {
        std::filesystem::create_directories((folder_.path() / file).parent_path());
        std::ofstream(folder_.path() / file, std::ios::binary | std::ios::trunc) << text;
    }
    void remove(const std::string& file) const { std::filesystem::remove_all(folder_.path() / file); }
    void makeFolder(const std::string& folder) const {
        std::filesystem::create_directories(folder_.path() / folder);
    }

    /// The first columns of the processor row.
    void writeTicks(const std::vector<std::uint64_t>& columns) const {
        std::ostringstream text;
        text << "cpu ";
        for (const std::uint64_t column : columns) {
            text << ' ' << column;
        }
        text << "\nintr 160560 0 0\nctxt 4711\n";
        write("proc/stat", text.str());
    }

    using Amounts = std::vector<std::pair<std::string, std::uint64_t>>; // name, KiB
    void writeMemory(const Amounts& amounts) const {
        std::ostringstream text;
        for (const auto& [name, kibibytes] : amounts) {
            text << name << ":   " << kibibytes << " kB\n";
        }
        write("proc/meminfo", text.str());
    }
    void writeCompressedDevice(const std::string& name, std::uint64_t bytesHeld) const {
        write("sys/block/" + name + "/mm_stat",
              "2147483648 700000000 " + std::to_string(bytesHeld) + " 0 751619276 0 0 0 0\n");
    }

    /// This process's open descriptors on files under the folder.
    std::vector<int> descriptors(const std::string& under = {}) const {
        std::vector<int> found;
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
            std::error_code gone; // the listing's own descriptor
            const std::string target = std::filesystem::read_symlink(entry.path(), gone);
            if (target.starts_with(path() + "/" + under)) {
                found.push_back(std::stoi(entry.path().filename()));
            }
        }
        return found;
    }

    /// Makes the next read on the descriptor fail, while the file can still be opened.
    void spoil(int descriptor) const {
        const int folder = ::open(path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        ::dup3(folder, descriptor, O_CLOEXEC);
        ::close(folder);
    }

    std::string path() const { return std::filesystem::canonical(folder_.path()); }

private:
    TemporaryFolder folder_;
};

/// The adapter on a folder of the test's, and the reader over it.
struct Machine {
    FakeRoot root;
    ProcHostStatistics statistics{root.path(), 4 * kibi};
    VitalsReader reader{statistics};

    /// The load of the time between two processor rows.
    double loadBetween(const std::vector<std::uint64_t>& before, const std::vector<std::uint64_t>& after) {
        root.writeTicks(before);
        reader.read();
        root.writeTicks(after);
        return reader.read().cpu;
    }
};

std::uint64_t bytesInUse(const Rusket::MemoryPages& pages) {
    return (pages.active + pages.wired + pages.compressor) * pages.pageSize;
}

const FakeRoot::Amounts plainMemory = {{"MemTotal", 8 * mebi}, {"MemFree", mebi}, {"MemAvailable", 6 * mebi}};

/// Lowers the limit of open descriptors so that none can be opened; puts it back at the end of the scope.
class NoMoreDescriptors {
public:
    NoMoreDescriptors() {
        ::getrlimit(RLIMIT_NOFILE, &before_);
        rlimit none = before_;
        none.rlim_cur = 0;
        ::setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoMoreDescriptors() { ::setrlimit(RLIMIT_NOFILE, &before_); }
    NoMoreDescriptors(const NoMoreDescriptors&) = delete;
    NoMoreDescriptors& operator=(const NoMoreDescriptors&) = delete;

private:
    rlimit before_{};
};

} // namespace

// Processor time

TEST(ProcHostStatistics, R01_TheFirstReadingHasNoLoadAndRealMemory) {
    Machine machine;
    machine.root.writeTicks({9000, 0, 1000, 100});
    machine.root.writeMemory(plainMemory);
    EXPECT_EQ(machine.reader.read(), (Vitals{.cpu = 0, .memoryUsed = 2 * gibi, .memoryTotal = 8 * gibi}));
}

TEST(ProcHostStatistics, R02_IdleGoingBackwardsKeepsTheLoadWithinBounds) {
    Machine machine; // hundredths of a second: idle 62218.47 to 58733.86 s, iowait 79.98 to 76.24 s
    const double load = machine.loadBetween({50'000, 10, 9000, 6'221'847, 7998, 0, 40, 0},
                                            {50'030, 10, 9010, 5'873'386, 7624, 0, 41, 0});
    EXPECT_EQ(load, 0) << "idle time unknown: a full load after every suspend would be a lie";

    machine.root.writeTicks({50'055, 10, 9010, 5'873'461, 7624, 0, 41, 0});
    EXPECT_DOUBLE_EQ(machine.reader.read().cpu, 0.25) << "the next reading is right, not an hour later";
}

TEST(ProcHostStatistics, R02_OneColumnSteppingBackCountsAsNoStep) {
    const struct {
        const char* name;
        std::vector<std::uint64_t> after;
        double load;
    } rows[] = {
        {"iowait back, idle forward", {1020, 100, 1000, 9080, 490, 0, 0, 100}, 0.20},
        {"idle back, iowait forward", {1020, 100, 1000, 8990, 580, 0, 0, 100}, 0.20},
        {"user back", {900, 100, 1025, 9075, 500, 0, 0, 100}, 0.25},
        {"steal back", {1025, 100, 1000, 9075, 500, 0, 0, 7}, 0.25},
        {"steal wrapped in the kernel", {1025, 100, 1000, 9075, 500, 0, 0, 1'844'674'407'370}, 0.25},
        {"everything back to zero", {0, 0, 0, 0, 0, 0, 0, 0}, 0.0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Machine machine;
        EXPECT_DOUBLE_EQ(machine.loadBetween({1000, 100, 1000, 9000, 500, 0, 0, 100}, row.after), row.load);
    }
}

TEST(ProcHostStatistics, R03_TimeOfGuestsIsCountedOnce) {
    Machine machine; // user holds the 40 of the guest, nice the 10 of the nice one
    const double load =
        machine.loadBetween({0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, {40, 10, 0, 50, 0, 0, 0, 0, 40, 10});
    EXPECT_DOUBLE_EQ(load, 0.5);
}

TEST(ProcHostStatistics, R04_WaitingForADiskIsIdle) {
    Machine machine;
    EXPECT_DOUBLE_EQ(machine.loadBetween({0, 0, 0, 0, 0, 0, 0, 0}, {2, 0, 3, 5, 90, 0, 0, 0}), 0.05);
}

TEST(ProcHostStatistics, R05_StolenAndInterruptTimeIsTheSystems) {
    Machine machine;
    EXPECT_DOUBLE_EQ(machine.loadBetween({0, 0, 0, 0, 0, 0, 0, 0}, {0, 0, 0, 70, 0, 0, 0, 30}), 0.3);

    machine.root.writeTicks({1, 2, 4, 70 + 8, 16, 32, 64, 30 + 128});
    EXPECT_EQ(machine.statistics.processorTicks(),
              (ProcessorTicks{.user = 1, .system = 4 + 32 + 64 + 158, .idle = 78 + 16, .nice = 2}));
}

TEST(ProcHostStatistics, R06_ColumnsThatAreMissingOrUnknownDoNotMatter) {
    const struct {
        const char* name;
        const char* text;
        ProcessorTicks ticks;
    } rows[] = {
        {"4 columns", "cpu  1 2 4 8\n", {.user = 1, .system = 4, .idle = 8, .nice = 2}},
        {"7 columns", "cpu  1 2 4 8 16 32 64\n", {.user = 1, .system = 100, .idle = 24, .nice = 2}},
        {"8 columns", "cpu  1 2 4 8 16 32 64 128\n", {.user = 1, .system = 228, .idle = 24, .nice = 2}},
        {"10 columns", "cpu  1 2 4 8 16 32 64 128 1 2\n", {.user = 1, .system = 228, .idle = 24, .nice = 2}},
        {"11 columns",
         "cpu  1 2 4 8 16 32 64 128 1 2 999\n",
         {.user = 1, .system = 228, .idle = 24, .nice = 2}},
        {"a twelfth in words",
         "cpu  1 2 4 8 16 32 64 128 1 2 999 soon\n",
         {.user = 1, .system = 228, .idle = 24, .nice = 2}},
        {"one space, one at the end", "cpu 1 2 4 8 \n", {.user = 1, .system = 4, .idle = 8, .nice = 2}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Machine machine;
        machine.root.write("proc/stat", row.text);
        EXPECT_EQ(machine.statistics.processorTicks(), row.ticks);
    }
}

TEST(ProcHostStatistics, R07_AProcessorGoingOfflineAndBackMakesNoJump) {
    Machine machine;
    const struct {
        const char* name;
        const char* text;
        double load;
    } rows[] = {
        {"both on", "cpu  2000 0 0 8000\ncpu0 1000 0 0 4000\ncpu1 1000 0 0 4000\n", 0.0},
        {"one gone, its rows with it", "cpu  2025 0 0 8075\ncpu0 1025 0 0 4075\n", 0.25},
        {"one gone, the sum less it", "cpu  1035 0 0 4165\ncpu0 1035 0 0 4165\n", 0.0},
        {"going on with one", "cpu  1085 0 0 4215\ncpu0 1085 0 0 4215\n", 0.5},
        {"back, its own row behind", "cpu  1110 0 0 4290\ncpu0 1110 0 0 4290\ncpu1 0 0 0 0\n", 0.25},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        machine.root.write("proc/stat", row.text);
        EXPECT_DOUBLE_EQ(machine.reader.read().cpu, row.load);
    }
}

TEST(ProcHostStatistics, R08_TwoReadingsWithinOneTickHaveNoLoad) {
    Machine machine;
    EXPECT_EQ(machine.loadBetween({100, 0, 50, 800}, {100, 0, 50, 800}), 0);
}

TEST(ProcHostStatistics, R09_ALongInterruptRowIsOfNoConcern) {
    Machine machine;
    std::string interrupts = "\nintr 160560";
    for (int line = 0; line < 5000; ++line) {
        interrupts += " 0";
    }
    machine.root.write("proc/stat", "cpu  100 0 0 100 0 0 0 0 0 0" + interrupts);
    machine.reader.read();
    const auto descriptors = machine.root.descriptors("proc/stat");
    ASSERT_EQ(descriptors.size(), 1U);

    machine.root.write("proc/stat", "cpu  125 0 0 175 0 0 0 0 0 0" + interrupts);
    EXPECT_DOUBLE_EQ(machine.reader.read().cpu, 0.25);
    EXPECT_EQ(machine.root.descriptors("proc/stat"), descriptors) << "kept, not opened again";
    EXPECT_EQ(::lseek(descriptors.front(), 0, SEEK_CUR), 0) << "always from the start";
}

TEST(ProcHostStatistics, R10_TheLoadIsOfAllProcessorsTogether) {
    Machine machine; // 256 of them for ten seconds, a quarter busy, up for a year
    const std::uint64_t year = 256ULL * 100 * 86'400 * 365;
    EXPECT_DOUBLE_EQ(machine.loadBetween({year, 0, 0, year}, {year + 64'000, 0, 0, year + 192'000}), 0.25);
}

// Memory

TEST(ProcHostStatistics, R11_WhatCanBeGivenBackIsNotInUse) {
    Machine machine;
    machine.root.writeMemory({{"MemTotal", 16 * mebi},
                              {"MemFree", 200 * kibi},
                              {"MemAvailable", 12 * mebi},
                              {"Buffers", 300 * kibi},
                              {"Cached", 11 * mebi},
                              {"SReclaimable", mebi}});
    EXPECT_EQ(machine.reader.read().memoryUsed, 4 * gibi);
}

TEST(ProcHostStatistics, R12_CompressedSwapIsCountedOnceInItsCompressedSize) {
    Machine machine; // 2 GiB swapped into 0.7 GiB
    constexpr std::uint64_t held = 751'619'276;
    machine.root.writeMemory({{"MemTotal", 8 * mebi},
                              {"MemFree", mebi},
                              {"MemAvailable", 3 * mebi},
                              {"SwapTotal", 4 * mebi},
                              {"SwapFree", 2 * mebi},
                              {"SUnreclaim", 256 * kibi}});
    machine.root.writeCompressedDevice("zram0", held);
    const auto pages = machine.statistics.memoryPages();
    ASSERT_TRUE(pages);
    EXPECT_EQ(bytesInUse(*pages), 5 * gibi);
    EXPECT_EQ(pages->compressor, held / 4096);
    EXPECT_EQ(pages->wired, 256 * mebi / 4096);

    const Vitals vitals = machine.reader.read();
    EXPECT_EQ(vitals.memoryUsed, 5 * gibi);
    EXPECT_NEAR(vitals.memoryPressure, (0.7 + 0.25) / 8, 1e-5);
}

TEST(ProcHostStatistics, R12_CompressedDevicesComeAndGo) {
    Machine machine;
    machine.root.writeMemory(plainMemory);
    machine.root.writeCompressedDevice("zram0", 100 * mebi);
    machine.root.writeCompressedDevice("loop0", gibi);
    int reading = 0;
    const auto compressedAtReading = [&](int number) {
        std::uint64_t bytes = 0;
        for (; reading < number; ++reading) {
            bytes = machine.statistics.memoryPages().value().compressor * 4096;
        }
        return bytes;
    };
    EXPECT_EQ(compressedAtReading(1), 100 * mebi) << "the loop device is not one of them";

    machine.root.writeCompressedDevice("zram1", 50 * mebi);
    machine.root.writeCompressedDevice("zram0", 80 * mebi);
    EXPECT_EQ(compressedAtReading(30), 80 * mebi) << "the new one is not looked for yet";
    EXPECT_EQ(compressedAtReading(31), 130 * mebi);
    EXPECT_EQ(machine.root.descriptors("sys").size(), 2U) << "the one known before is not opened twice";

    machine.root.spoil(machine.root.descriptors("sys/block/zram0").front());
    EXPECT_EQ(compressedAtReading(32), 50 * mebi);
    EXPECT_EQ(machine.root.descriptors("sys").size(), 1U) << "a device that vanished is dropped";
    EXPECT_EQ(compressedAtReading(60), 50 * mebi);
    EXPECT_EQ(compressedAtReading(61), 130 * mebi) << "and found again when it is back";
}

TEST(ProcHostStatistics, R13_TheZswapPoolIsCompressedWhereTheKernelTells) {
    Machine machine;
    auto amounts = plainMemory;
    machine.root.writeMemory(amounts);
    EXPECT_EQ(machine.statistics.memoryPages().value().compressor, 0U);

    amounts.emplace_back("Zswap", 300 * kibi);
    amounts.emplace_back("Zswapped", 900 * kibi);
    machine.root.writeMemory(amounts);
    const auto pages = machine.statistics.memoryPages();
    EXPECT_EQ(pages.value().compressor * 4096, 300 * mebi);
    EXPECT_EQ(bytesInUse(*pages), 2 * gibi);
}

TEST(ProcHostStatistics, R14_TheZFSCacheCountsAsFreeDownToItsLeast) {
    const auto cache = [](std::uint64_t size, std::uint64_t least) {
        std::string text =
            "13 1 0x01 147 39984 3836523352 1267381\nname                            type data\n";
        for (int row = 0; row < 100; ++row) { // past the first portion of 4 KiB
            text += "demand_data_hits_" + std::to_string(row) + "             4    123456\n";
        }
        return text + "c_min                           4    " + std::to_string(least) + "\n" +
               "c_max                           4    17179869184\n" +
               "size                            4    " + std::to_string(size) +
               "\ncompressed_size                 4    99\n";
    };
    const struct {
        const char* name;
        std::string text;
        std::uint64_t used;
    } rows[] = {
        {"half the memory", cache(8 * gibi, gibi), 5 * gibi},
        {"at its least", cache(gibi, gibi), 12 * gibi},
        {"below its least", cache(gibi / 2, gibi), 12 * gibi},
        {"more than is in use", cache(15 * gibi, gibi), 0},
        {"the least is not told", "size 4 8589934592\n", 12 * gibi},
        {"not numbers", "size 4 many\nc_min 4 few\n", 12 * gibi},
        {"empty", "", 12 * gibi},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Machine machine;
        machine.root.writeMemory({{"MemTotal", 16 * mebi}, {"MemAvailable", 4 * mebi}});
        machine.root.write("proc/spl/kstat/zfs/arcstats", row.text);
        EXPECT_EQ(machine.reader.read().memoryUsed, row.used);
        EXPECT_EQ(machine.reader.read().memoryUsed, row.used) << "the second time, on the same descriptor";
    }
}

TEST(ProcHostStatistics, R14_ZFSLoadedLaterIsFoundWithinThirtyReadings) {
    Machine machine;
    machine.root.writeMemory(plainMemory);
    EXPECT_EQ(machine.reader.read().memoryUsed, 2 * gibi);
    machine.root.write("proc/spl/kstat/zfs/arcstats", "c_min 4 0\nsize 4 1073741824\n");
    for (int reading = 2; reading <= 30; ++reading) {
        EXPECT_EQ(machine.reader.read().memoryUsed, 2 * gibi);
    }
    EXPECT_EQ(machine.reader.read().memoryUsed, gibi);
    EXPECT_EQ(machine.reader.read().memoryUsed, gibi) << "and at every reading from then on";
}

TEST(ProcHostStatistics, R15_WithoutMemAvailableItIsWorkedOut) {
    const struct {
        const char* name;
        FakeRoot::Amounts amounts;
        std::uint64_t used; // MiB
    } rows[] = {
        {"all its parts",
         {{"MemTotal", 8000 * kibi},
          {"MemFree", 1000 * kibi},
          {"Buffers", 200 * kibi},
          {"Cached", 2000 * kibi},
          {"SReclaimable", 300 * kibi},
          {"Shmem", 500 * kibi}},
         5000},
        {"only what is free", {{"MemTotal", 8000 * kibi}, {"MemFree", 1000 * kibi}}, 7000},
        {"more shared than cached",
         {{"MemTotal", 8000 * kibi}, {"MemFree", 10 * kibi}, {"Shmem", 500 * kibi}},
         8000},
        {"more than there is", {{"MemTotal", 8000 * kibi}, {"MemFree", 9000 * kibi}}, 0},
        {"nothing but the total", {{"MemTotal", 8000 * kibi}}, 8000},
        {"available, but none", {{"MemTotal", 8000 * kibi}, {"MemFree", 900}, {"MemAvailable", 0}}, 8000},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Machine machine;
        machine.root.writeMemory(row.amounts);
        EXPECT_EQ(machine.reader.read().memoryUsed, row.used * mebi);
    }
}

TEST(ProcHostStatistics, R16_FiguresThatContradictOneAnotherStayWithinTheTotal) {
    const std::uint64_t huge = std::numeric_limits<std::uint64_t>::max();
    const struct {
        const char* name;
        FakeRoot::Amounts amounts;
        std::uint64_t held; // bytes in zram
        Rusket::MemoryPages pages;
    } rows[] = {
        {"more available than there is", {{"MemTotal", 4000}, {"MemAvailable", 4004}}, 0, {}},
        {"more wired than in use",
         {{"MemTotal", 4000}, {"MemAvailable", 3600}, {"SUnreclaim", 300}, {"PageTables", 200}},
         0,
         {.wired = 100}},
        {"compressed comes first",
         {{"MemTotal", 4000}, {"MemAvailable", 3600}, {"SUnreclaim", 300}},
         240 * kibi,
         {.wired = 40, .compressor = 60}},
        {"more compressed than in use",
         {{"MemTotal", 4000}, {"MemAvailable", 3600}, {"SUnreclaim", 300}},
         gibi,
         {.compressor = 100}},
        {"every kind of the system's own",
         {{"Mlocked", 4},
          {"Percpu", 8},
          {"SecPageTables", 16},
          {"PageTables", 32},
          {"KernelStack", 64},
          {"SUnreclaim", 128},
          {"MemAvailable", 2000},
          {"MemTotal", 4000}},
         0,
         {.active = 500 - 63, .wired = 63}},
        {"numbers without end",
         {{"MemTotal", 4000}, {"MemAvailable", 0}, {"SUnreclaim", huge}, {"Percpu", huge}, {"Zswap", huge}},
         huge,
         {.compressor = 1000}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Machine machine;
        machine.root.writeMemory(row.amounts);
        machine.root.writeCompressedDevice("zram0", row.held);
        auto expected = row.pages;
        expected.pageSize = 4096;
        EXPECT_EQ(machine.statistics.memoryPages(), expected);
        EXPECT_LE(machine.reader.read().memoryUsed, 4000 * kibi);
    }
}

TEST(ProcHostStatistics, R16_AnAbsurdTotalDoesNotStopTheReader) {
    Machine machine;
    machine.root.writeMemory({{"MemTotal", std::numeric_limits<std::uint64_t>::max()}});
    const Vitals vitals = machine.reader.read();
    EXPECT_EQ(vitals.memoryUsed, vitals.memoryTotal);
}

TEST(ProcHostStatistics, R17_TheTotalIsTheMachinesWhateverTheContainerMayUse) {
    Machine machine;
    machine.root.writeMemory(plainMemory);
    machine.root.write("sys/fs/cgroup/memory.max", "536870912\n");
    EXPECT_EQ(machine.statistics.installedMemory(), 8 * gibi);
    EXPECT_EQ(machine.reader.read().memoryTotal, 8 * gibi);
}

TEST(ProcHostStatistics, R17_TheTotalFollowsMemoryAddedWhileRunning) {
    Machine machine;
    machine.root.writeMemory(plainMemory);
    EXPECT_EQ(machine.statistics.installedMemory(), 8 * gibi);
    machine.root.writeMemory({{"MemTotal", 12 * mebi}, {"MemAvailable", 10 * mebi}});
    EXPECT_EQ(machine.statistics.installedMemory(), 8 * gibi)
        << "one reading of the file serves both figures";
    ASSERT_TRUE(machine.statistics.memoryPages());
    EXPECT_EQ(machine.statistics.installedMemory(), 12 * gibi);
}

TEST(ProcHostStatistics, R18_BytesAreRightWhateverThePageSize) {
    for (const std::uint64_t pageSize : {4 * kibi, 16 * kibi, 64 * kibi}) {
        SCOPED_TRACE(pageSize);
        FakeRoot root;
        root.writeMemory({{"MemTotal", 1'000'000},
                          {"MemAvailable", 399'900},
                          {"SUnreclaim", 100'000},
                          {"Zswap", 50'000}}); // 600 100 KiB in use: no whole number of large pages
        ProcHostStatistics statistics(root.path(), pageSize);
        const auto pages = statistics.memoryPages();
        ASSERT_TRUE(pages);
        EXPECT_EQ(pages->pageSize, pageSize);
        EXPECT_EQ(bytesInUse(*pages), 600'100 * kibi / pageSize * pageSize);
        EXPECT_EQ(pages->wired, 100'000 * kibi / pageSize);
        EXPECT_EQ(pages->compressor, 50'000 * kibi / pageSize);
    }
}

// Failures

TEST(ProcHostStatistics, R19_UnreadableProcessorTimeIsNoneAndTheNextGoodReadingWorks) {
    const std::string path = "proc/stat";
    const struct {
        const char* name;
        std::function<void(const FakeRoot&)> make;
    } rows[] = {
        {"absent", [](const FakeRoot&) {}},
        {"a folder", [&](const FakeRoot& root) { root.makeFolder(path); }},
        {"empty", [&](const FakeRoot& root) { root.write(path, ""); }},
        {"binary", [&](const FakeRoot& root) { root.write(path, std::string(600, '\0') + "\xff\xfe\n"); }},
        {"zero bytes in the row",
         [&](const FakeRoot& root) {
             root.write(path, {"cpu  1 2\0 3 4\n", 14});
         }},
        {"no row end", [&](const FakeRoot& root) { root.write(path, "cpu  100 0 100 80"); }},
        {"a row without an end in reach",
         [&](const FakeRoot& root) { root.write(path, "cpu " + std::string(600, ' ') + "1 2 3 4\n"); }},
        {"label only", [&](const FakeRoot& root) { root.write(path, "cpu\n"); }},
        {"no columns", [&](const FakeRoot& root) { root.write(path, "cpu  \n"); }},
        {"no idle column", [&](const FakeRoot& root) { root.write(path, "cpu  1 2 3\n"); }},
        {"another row first", [&](const FakeRoot& root) { root.write(path, "cpu0 1 2 3 4\n"); }},
        {"words", [&](const FakeRoot& root) { root.write(path, "cpu  1 2 three 4\n"); }},
        {"negative", [&](const FakeRoot& root) { root.write(path, "cpu  1 2 -3 4\n"); }},
        {"a fraction", [&](const FakeRoot& root) { root.write(path, "cpu  1 2 3.5 4\n"); }},
        {"beyond 64 bits",
         [&](const FakeRoot& root) { root.write(path, "cpu  1 2 18446744073709551616 4\n"); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Machine machine;
        row.make(machine.root);
        EXPECT_EQ(machine.statistics.processorTicks(), std::nullopt);
        EXPECT_EQ(machine.reader.read().cpu, 0);

        if (std::filesystem::is_directory(machine.root.path() + "/" + path)) {
            machine.root.remove(path);
        }
        EXPECT_DOUBLE_EQ(machine.loadBetween({10, 0, 0, 10}, {11, 0, 0, 13}), 0.25);
    }
}

TEST(ProcHostStatistics, R19_UnreadableMemoryIsNoneAndTheNextGoodReadingWorks) {
    const std::string path = "proc/meminfo";
    const struct {
        const char* name;
        std::function<void(const FakeRoot&)> make;
    } rows[] = {
        {"absent", [](const FakeRoot&) {}},
        {"a folder", [&](const FakeRoot& root) { root.makeFolder(path); }},
        {"empty", [&](const FakeRoot& root) { root.write(path, ""); }},
        {"binary", [&](const FakeRoot& root) { root.write(path, std::string(9000, '\0')); }},
        {"no total", [&](const FakeRoot& root) { root.write(path, "MemAvailable: 4000 kB\n"); }},
        {"a total of zero", [&](const FakeRoot& root) { root.write(path, "MemTotal: 0 kB\n"); }},
        {"a total cut off", [&](const FakeRoot& root) { root.write(path, "MemTotal:  80"); }},
        {"a total in words", [&](const FakeRoot& root) { root.write(path, "MemTotal: lots kB\n"); }},
        {"a negative total", [&](const FakeRoot& root) { root.write(path, "MemTotal: -8 kB\n"); }},
        {"a total without a number",
         [&](const FakeRoot& root) { root.write(path, "MemTotal:\nMemTotal\n"); }},
        {"a name that only begins so", [&](const FakeRoot& root) { root.write(path, "MemTotals: 80 kB\n"); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Machine machine;
        row.make(machine.root);
        EXPECT_EQ(machine.statistics.memoryPages(), std::nullopt);
        EXPECT_EQ(machine.statistics.installedMemory(), 0U);
        EXPECT_EQ(machine.reader.read(), Vitals{});

        if (std::filesystem::is_directory(machine.root.path() + "/" + path)) {
            machine.root.remove(path);
        }
        machine.root.writeMemory(plainMemory);
        EXPECT_EQ(machine.reader.read().memoryUsed, 2 * gibi);
        EXPECT_EQ(machine.reader.read().memoryTotal, 8 * gibi);
    }
}

TEST(ProcHostStatistics, R19_AReadThatFailsClosesItsFileAndTheNextOneOpensItAgain) {
    Machine machine;
    machine.root.writeTicks({10, 0, 0, 10});
    machine.root.writeMemory(plainMemory);
    machine.reader.read();
    for (const int descriptor : machine.root.descriptors()) {
        machine.root.spoil(descriptor);
    }
    machine.root.writeTicks({11, 0, 0, 13});
    EXPECT_EQ(machine.reader.read(), (Vitals{.memoryTotal = 8 * gibi})) << "the memory is still installed";
    EXPECT_TRUE(machine.root.descriptors("proc").empty());

    EXPECT_EQ(machine.reader.read(), (Vitals{.cpu = 0.25, .memoryUsed = 2 * gibi, .memoryTotal = 8 * gibi}));
}

TEST(ProcHostStatistics, R19_WithoutDescriptorsLeftTheReadingIsEmptyAndTheNextGoodOneWorks) {
    // The sanitizer opens a pipe when it first meets a class: let it do so while there are descriptors.
    Machine().reader.read();
    Machine machine;
    machine.root.writeTicks({10, 0, 0, 10});
    machine.root.writeMemory(plainMemory);
    machine.root.writeCompressedDevice("zram0", 100 * mebi);
    std::optional<ProcessorTicks> ticks = ProcessorTicks{};
    std::optional<Rusket::MemoryPages> pages = Rusket::MemoryPages{};
    Vitals vitals{.cpu = 1};
    {
        const NoMoreDescriptors limit;
        ticks = machine.statistics.processorTicks();
        pages = machine.statistics.memoryPages();
        vitals = machine.reader.read();
    }
    EXPECT_EQ(ticks, std::nullopt);
    EXPECT_EQ(pages, std::nullopt);
    EXPECT_EQ(vitals, Vitals{});

    EXPECT_DOUBLE_EQ(machine.loadBetween({10, 0, 0, 10}, {11, 0, 0, 13}), 0.25);
    EXPECT_EQ(machine.statistics.memoryPages().value().compressor * 4096, 100 * mebi);
    {
        const NoMoreDescriptors limit; // of no concern to files already open
        vitals = machine.reader.read();
    }
    EXPECT_EQ(vitals.memoryUsed, 2 * gibi);
}

// Time

TEST(ProcHostStatistics, R21_TheLoadComesFromTicksWhateverTheClockSays) {
    Machine machine; // two minutes of four processors, read within the same instant
    EXPECT_DOUBLE_EQ(machine.loadBetween({0, 0, 0, 0}, {12'000, 0, 0, 36'000}), 0.25);
    machine.root.writeTicks({12'001, 0, 0, 36'001});
    EXPECT_DOUBLE_EQ(machine.reader.read().cpu, 0.5);
}

TEST(ProcHostStatistics, R22_AfterAPauseTheLoadIsTheAverageOverIt) {
    Machine machine;
    machine.root.writeTicks({1000, 0, 0, 9000});
    machine.root.writeMemory(plainMemory);
    machine.reader.read();
    machine.statistics.release();
    machine.root.writeTicks({1000 + 36'000, 0, 0, 9000 + 324'000}); // an hour later
    EXPECT_DOUBLE_EQ(machine.reader.read().cpu, 0.1);
}

TEST(ProcHostStatistics, OpensNothingBeforeTheFirstReadingAndClosesAllOnRelease) {
    Machine machine;
    machine.root.writeTicks({10, 0, 0, 10});
    machine.root.writeMemory(plainMemory);
    machine.root.writeCompressedDevice("zram0", mebi);
    machine.root.write("proc/spl/kstat/zfs/arcstats", "c_min 4 0\nsize 4 0\n");
    EXPECT_TRUE(machine.root.descriptors().empty());

    machine.statistics.processorTicks();
    EXPECT_EQ(machine.root.descriptors().size(), 1U) << "only what was asked for";
    machine.reader.read();
    const auto descriptors = machine.root.descriptors();
    EXPECT_EQ(descriptors.size(), 4U);
    for (const int descriptor : descriptors) {
        EXPECT_TRUE(::fcntl(descriptor, F_GETFD) & FD_CLOEXEC) << "not handed to programs we start";
    }

    machine.statistics.release();
    EXPECT_TRUE(machine.root.descriptors().empty());
    machine.reader.read();
    EXPECT_EQ(machine.root.descriptors().size(), 4U) << "devices are looked for at once after a pause";
    {
        ProcHostStatistics another(machine.root.path());
        another.memoryPages();
        EXPECT_EQ(machine.root.descriptors().size(), 7U);
    }
    EXPECT_EQ(machine.root.descriptors().size(), 4U) << "destroying one closes its own";
}

TEST(ProcHostStatistics, AnyCountersKeepTheLoadWithinBounds) {
    Machine machine;
    machine.root.writeTicks({});
    const int file = ::open((machine.root.path() + "/proc/stat").c_str(), O_WRONLY | O_CLOEXEC);
    ASSERT_GE(file, 0);
    std::mt19937_64 random(20'240'817);
    const auto upTo = [&random](std::uint64_t most) { return random() % most; };

    for (int sequence = 0; sequence < 10'000; ++sequence) {
        ProcHostStatistics statistics(machine.root.path());
        VitalsReader reader(statistics);
        std::vector<std::uint64_t> columns(4 + upTo(8));
        for (auto& column : columns) {
            column = upTo(1'000'000);
        }
        for (int reading = 0; reading < 8; ++reading) {
            std::string row = "cpu ";
            for (auto& column : columns) {
                switch (upTo(8)) {
                case 0:
                    column -= std::min(column, upTo(10'000));
                    break;
                case 1:
                    column = upTo(100) == 0 ? random() : column;
                    break;
                default:
                    column += upTo(1000);
                }
                row += " " + std::to_string(column);
            }
            row += "\n";
            ASSERT_EQ(::pwrite(file, row.data(), row.size(), 0), static_cast<ssize_t>(row.size()));
            const double load = reader.read().cpu;
            ASSERT_TRUE(load >= 0 && load <= 1) << load << " in sequence " << sequence << " after " << row;
        }
    }
    ::close(file);
}

TEST(ProcHostStatistics, IsReadAndReleasedFromSeveralThreadsAtOnce) {
    Machine machine;
    machine.root.writeTicks({1, 2, 3, 4});
    machine.root.writeMemory(plainMemory);
    machine.root.writeCompressedDevice("zram0", mebi);
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&machine, &wrong, thread] {
            for (int reading = 0; reading < 200; ++reading) {
                const auto ticks = machine.statistics.processorTicks();
                const auto pages = machine.statistics.memoryPages();
                wrong += ticks == ProcessorTicks{.user = 1, .system = 3, .idle = 4, .nice = 2} ? 0 : 1;
                wrong += pages && bytesInUse(*pages) == 2 * gibi && pages->compressor == 256 ? 0 : 1;
                wrong += machine.statistics.installedMemory() == 8 * gibi ? 0 : 1;
                if (thread == 0 && reading % 10 == 0) {
                    machine.statistics.release();
                }
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
}

TEST(ProcHostStatistics, AgreesWithThisMachine) {
    std::uint64_t total = 0;
    const auto usedNow = [&total] { // bytes
        std::ifstream file("/proc/meminfo");
        std::uint64_t available = 0;
        for (std::string line; std::getline(file, line);) {
            std::istringstream words(line);
            std::string name;
            std::uint64_t kibibytes = 0;
            words >> name >> kibibytes;
            (name == "MemTotal:"       ? total
             : name == "MemAvailable:" ? available
                                       : kibibytes) = kibibytes * kibi;
        }
        return total - available;
    };
    ProcHostStatistics statistics;
    const std::uint64_t before = usedNow();
    const Vitals vitals = VitalsReader(statistics).read();
    const std::uint64_t after = usedNow();
    if (!std::filesystem::exists("/proc/spl/kstat/zfs/arcstats")) { // what ZFS could give back is taken off
        EXPECT_GE(vitals.memoryUsed + 64 * mebi, std::min(before, after));
    }
    EXPECT_LE(vitals.memoryUsed, std::max(before, after) + 64 * mebi);
    EXPECT_EQ(vitals.memoryTotal, total);
    EXPECT_GT(vitals.memoryPressure, 0) << "every kernel holds some memory of its own";

    const auto ticks = statistics.processorTicks();
    ASSERT_TRUE(ticks);
    EXPECT_GT(ticks->user, 0U);
    EXPECT_GT(ticks->system, 0U);
    EXPECT_GT(ticks->idle, 0U);
}
