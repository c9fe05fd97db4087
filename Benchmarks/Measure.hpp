#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

/// What the benchmarks share: clocks, figures of a process, medians, tables and verdicts.
namespace Bench {

using Nanoseconds = std::int64_t;

/// CLOCK_MONOTONIC, the same in every process of the machine.
Nanoseconds now();
double milliseconds(Nanoseconds duration);
void pause(double seconds);

/// Lets things settle and then a window pass, calling `begin` in between, and returns how many seconds the
/// window was. When others keep the machine busy the glass may steam, which is not zorbel at rest: all of it
/// is then begun again, until that has happened too often.
double quietWindow(int settling, int window, const std::function<void()>& begin);

/// Ends the benchmark with a message and status 2: nothing was measured, so no goal was met or missed.
[[noreturn]] void fail(const std::string& message);

/// `usual`, or `quick` when BENCH_QUICK is set, for trying a benchmark out.
int countOrQuick(int usual, int quick);

/// Says on standard error what is going on: a benchmark may be silent for minutes.
void progress(const std::string& text);

struct ThreadCost {
    std::int64_t wakeUps = 0;      // voluntary context switches
    Nanoseconds processorTime = 0; // on a processor, in the kernel or not
};

/// What each thread of a process has cost since it began, by its number.
using ProcessCost = std::map<pid_t, ThreadCost>;

/// Fails when the process has ended.
ProcessCost costSoFar(pid_t process);

/// Between two readings; threads that began in between count in full, those that ended not at all.
ThreadCost spent(const ProcessCost& before, const ProcessCost& after);

/// A process, its children, their children and so on.
std::vector<pid_t> familyOf(pid_t process);

/// Megabytes of 1024 × 1024 bytes.
struct Memory {
    double resident = 0;     // RSS: every page mapped
    double proportional = 0; // PSS: a page that n processes share counts 1/n
};
Memory memoryOf(pid_t process);

/// What a process holds and would not give back by itself.
struct Holdings {
    double anonymous =
        0; // kilobytes of memory that no file stands behind: heap, stacks, and what was written
    int descriptors = 0;
    int threads = 0;
};
Holdings holdingsOf(pid_t process);

/// Whether no other program on the machine uses Qt, and so pays a share of its libraries; waits a while for
/// such a moment.
bool isOnlyQtProgram(pid_t process);

/// The values of one quantity over all rounds.
class Samples {
public:
    void add(double value) { values_.push_back(value); }
    bool isEmpty() const { return values_.empty(); }
    double median() const;
    double least() const;
    double most() const;
    /// The least value that so many per cent of all do not exceed.
    double percentile(int percent) const;

    /// "median (least–most)", or the one value.
    std::string text(int decimals) const;

private:
    std::vector<double> values_;
};

/// Text in columns: the first is aligned left, the others right.
class Table {
public:
    explicit Table(std::vector<std::string> heads) { rows_.push_back(std::move(heads)); }
    void add(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }
    void print() const;

private:
    std::vector<std::vector<std::string>> rows_;
};

/// Prints "NAME ratio R (goal ≤ G)" lines and keeps whether all goals were met. The last line printed is the
/// decisive one.
class Verdicts {
public:
    void check(std::string_view name, double ratio, double goal);

    /// 0 when every goal was met, else 1.
    int exitStatus() const { return areAllMet_ ? 0 : 1; }

private:
    bool areAllMet_ = true;
};

} // namespace Bench
