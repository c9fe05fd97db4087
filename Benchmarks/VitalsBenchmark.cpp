// What looking at the machine once a second costs: one reading, beside the bare reading of the two files
// behind it, and a minute of zorbel with its default spices beside the same minute of conky as it is shipped.

#include "Benchmarks/Programs.hpp"
#include "Platforms/Linux/ProcHostStatistics.hpp"
#include "Rusket/VitalsReader.hpp"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdio>

namespace {

using namespace Bench;

constexpr double longestReading = 20;                   // microseconds
constexpr double mostOfConky = 0.15;                    // of its processor time
constexpr auto conkySettings = "/etc/conky/conky.conf"; // as shipped; updates every second

void vitalsReading(benchmark::State& state) {
    Linux::ProcHostStatistics statistics;
    Rusket::VitalsReader reader(statistics);
    for (auto _ : state) {
        benchmark::DoNotOptimize(reader.read());
    }
}

/// The floor: the kernel's part alone.
void bareReading(benchmark::State& state) {
    const int processor = open("/proc/stat", O_RDONLY | O_CLOEXEC);
    const int memory = open("/proc/meminfo", O_RDONLY | O_CLOEXEC);
    std::array<char, 8192> buffer;
    for (auto _ : state) {
        benchmark::DoNotOptimize(pread(processor, buffer.data(), 512, 0));
        benchmark::DoNotOptimize(pread(memory, buffer.data(), buffer.size(), 0));
    }
    close(processor);
    close(memory);
}

/// Keeps every repetition's time, in microseconds.
class Collector : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Iteration) {
                times[run.run_name.function_name].add(run.GetAdjustedRealTime());
            }
        }
    }

    std::map<std::string, Samples> times;
};

std::map<std::string, Samples> timeReadings(int repetitions) {
    for (const auto& [name, function] :
         {std::pair{"vitals", &vitalsReading}, std::pair{"bare", &bareReading}}) {
        benchmark::RegisterBenchmark(name, function)
            ->Unit(benchmark::kMicrosecond)
            ->Repetitions(repetitions)
            ->MinTime(0.2);
    }
    std::array<std::string, 2> arguments{"vitals", "--benchmark_enable_random_interleaving=true"};
    std::array<char*, 2> argumentList{arguments[0].data(), arguments[1].data()};
    int count = 2;
    benchmark::Initialize(&count, argumentList.data());
    Collector collector;
    benchmark::RunSpecifiedBenchmarks(&collector);
    return collector.times;
}

} // namespace

int main() {
    const int repetitions = countOrQuick(15, 5);
    const int settling = countOrQuick(15, 2);
    const int window = countOrQuick(20, 5);
    const int rounds = 3;

    progress("timing one reading");
    const auto readings = timeReadings(repetitions);
    const Samples& reading = readings.at("vitals");

    Tray tray;
    const Program ours(zorbel());
    const Program conky({"conky", "--quiet", "--config", conkySettings});
    tray.itemRegistered();
    Samples ourTime;
    Samples conkyTime;
    for (int round = 1; round <= rounds; ++round) {
        progress("beside conky: " + std::to_string(window) + " s, " + std::to_string(round) + " of " +
                 std::to_string(rounds));
        ProcessCost ourStart;
        ProcessCost conkyStart;
        const double seconds = quietWindow(settling, window, [&] {
            ourStart = costSoFar(ours.process());
            conkyStart = costSoFar(conky.process());
        });
        ourTime.add(milliseconds(spent(ourStart, costSoFar(ours.process())).processorTime) / seconds);
        conkyTime.add(milliseconds(spent(conkyStart, costSoFar(conky.process())).processorTime) / seconds);
    }

    std::printf(
        "\nMedian (least–most) of %d readings' rounds and of %d times %d s with both programs running.\n\n",
        repetitions, rounds, window);
    Table table({"", "", "goal"});
    table.add({"one reading of the vitals, µs", reading.text(2), "≤ 20"});
    table.add({"the two files behind it alone, µs", readings.at("bare").text(2), ""});
    table.add({"zorbel, ms of processor time a second", ourTime.text(3), "≤ 0.15 × conky"});
    table.add({"conky, ms of processor time a second", conkyTime.text(3), ""});
    table.print();

    Verdicts verdicts;
    verdicts.check("vitals.reading", reading.median() / longestReading, 1);
    verdicts.check("vitals", ourTime.median() / conkyTime.median(), mostOfConky);
    return verdicts.exitStatus();
}
