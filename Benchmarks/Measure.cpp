#include "Benchmarks/Measure.hpp"

#include <signal.h>
#include <sys/wait.h>
#include <time.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace Bench {

namespace {

constexpr double busyShare = 0.3; // of all processors' time; the glass steams from 0.35 on
constexpr int slice = 5;          // seconds
constexpr std::size_t slicesLookedBack = 3;
constexpr int mostAttempts = 12;

/// The number after a label at the start of a line, as in "Rss:   23 kB".
std::int64_t labelledNumber(const std::string& path, std::string_view label) {
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(label)) {
            return std::atoll(line.c_str() + label.size());
        }
    }
    fail(std::string(label) + " is missing in " + path);
}

std::string rounded(double value, int decimals) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

bool hasEnded(pid_t process) {
    siginfo_t end{};
    const bool isChild = waitid(P_PID, static_cast<id_t>(process), &end, WEXITED | WNOHANG | WNOWAIT) == 0;
    return isChild ? end.si_pid != 0 : kill(process, 0) != 0;
}

/// Characters of a UTF-8 text, which is what columns are counted in.
std::size_t width(const std::string& text) {
    return static_cast<std::size_t>(
        std::ranges::count_if(text, [](char character) { return (character & 0xC0) != 0x80; }));
}

/// Clock ticks of all processors together.
struct MachineTime {
    double busy = 0;
    double all = 0;
};

MachineTime machineTime() {
    std::ifstream file("/proc/stat");
    std::string label;
    file >> label;
    MachineTime time;
    double ticks = 0;
    for (int column = 0; column < 8 && file >> ticks; ++column) {
        const bool isIdle = column == 3 || column == 4; // idle, iowait
        time.all += ticks;
        time.busy += isIdle ? 0 : ticks;
    }
    return time;
}

/// False as soon as the processors were too busy for as long as zorbel looks back.
bool staysQuiet(int seconds) {
    std::vector<MachineTime> readings{machineTime()}; // one after each slice
    for (int left = seconds; left > 0; left -= slice) {
        pause(std::min(left, slice));
        readings.push_back(machineTime());
        const MachineTime& last = readings.back();
        const MachineTime& first =
            readings[readings.size() - std::min(readings.size(), slicesLookedBack + 1)];
        if (readings.size() > slicesLookedBack &&
            last.busy - first.busy > busyShare * (last.all - first.all)) {
            return false;
        }
    }
    return true;
}

} // namespace

Nanoseconds now() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<Nanoseconds>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

double milliseconds(Nanoseconds duration) {
    return static_cast<double>(duration) / 1e6;
}

void pause(double seconds) {
    if (seconds <= 0) {
        return;
    }
    timespec left{static_cast<time_t>(seconds), std::lround((seconds - std::floor(seconds)) * 1e9)};
    while (nanosleep(&left, &left) != 0) {
    }
}

double quietWindow(int settling, int window, const std::function<void()>& begin) {
    for (int attempt = 1;; ++attempt) {
        const bool isSettled = staysQuiet(settling);
        begin();
        const Nanoseconds start = now();
        if ((isSettled && staysQuiet(window)) || attempt == mostAttempts) {
            pause(window - milliseconds(now() - start) / 1000);
            return milliseconds(now() - start) / 1000;
        }
        progress("  others keep the machine busy: once more");
    }
}

void fail(const std::string& message) {
    std::fprintf(stderr, "bench: %s\n", message.c_str());
    std::exit(2);
}

int countOrQuick(int usual, int quick) {
    return std::getenv("BENCH_QUICK") ? quick : usual;
}

void progress(const std::string& text) {
    std::fprintf(stderr, "%s\n", text.c_str());
}

ProcessCost costSoFar(pid_t process) {
    if (hasEnded(process)) {
        fail("a program ended while it was measured");
    }
    ProcessCost cost;
    for (const auto& thread :
         std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task")) {
        const std::string folder = thread.path().string();
        ThreadCost& entry = cost[std::stoi(thread.path().filename().string())];
        entry.wakeUps = labelledNumber(folder + "/status", "voluntary_ctxt_switches:");
        if (!(std::ifstream(folder + "/schedstat") >> entry.processorTime)) {
            fail("the kernel keeps no processor times of threads");
        }
    }
    return cost;
}

ThreadCost spent(const ProcessCost& before, const ProcessCost& after) {
    ThreadCost sum;
    for (const auto& [thread, cost] : after) {
        const auto earlier = before.find(thread);
        const ThreadCost start = earlier == before.end() ? ThreadCost{} : earlier->second;
        sum.wakeUps += cost.wakeUps - start.wakeUps;
        sum.processorTime += cost.processorTime - start.processorTime;
    }
    return sum;
}

std::vector<pid_t> familyOf(pid_t process) {
    std::multimap<pid_t, pid_t> children;
    for (const auto& folder : std::filesystem::directory_iterator("/proc")) {
        std::ifstream file(folder.path() / "status");
        for (std::string line; std::getline(file, line);) {
            if (line.starts_with("PPid:")) {
                children.emplace(std::atoi(line.c_str() + 5), std::atoi(folder.path().filename().c_str()));
            }
        }
    }
    std::vector<pid_t> family{process};
    for (std::size_t index = 0; index < family.size(); ++index) {
        const auto [first, last] = children.equal_range(family[index]);
        std::transform(first, last, std::back_inserter(family),
                       [](const auto& entry) { return entry.second; });
    }
    return family;
}

Memory memoryOf(pid_t process) {
    const std::string file = "/proc/" + std::to_string(process) + "/smaps_rollup";
    const auto megabytes = [&](std::string_view label) {
        return static_cast<double>(labelledNumber(file, label)) / 1024;
    };
    return {.resident = megabytes("Rss:"), .proportional = megabytes("Pss:")};
}

Holdings holdingsOf(pid_t process) {
    const std::string folder = "/proc/" + std::to_string(process);
    const auto entries = [&](const char* name) {
        const std::filesystem::directory_iterator first(folder + name);
        return static_cast<int>(std::distance(first, std::filesystem::directory_iterator()));
    };
    return {.anonymous = static_cast<double>(labelledNumber(folder + "/smaps_rollup", "Anonymous:")),
            .descriptors = entries("/fd"),
            .threads = entries("/task")};
}

bool isOnlyQtProgram(pid_t process) {
    constexpr int patience = 60; // seconds
    const std::string ownFolder = "/proc/" + std::to_string(process);
    const auto usesQt = [&](const std::filesystem::directory_entry& folder) {
        if (folder.path() == ownFolder) {
            return false;
        }
        std::ifstream maps(folder.path() / "maps");
        for (std::string line; std::getline(maps, line);) {
            if (line.find("/libQt6Core.") != std::string::npos) {
                return true;
            }
        }
        return false;
    };
    for (int second = 0; second < patience; ++second) {
        if (std::ranges::none_of(std::filesystem::directory_iterator("/proc"), usesQt)) {
            return true;
        }
        pause(1);
    }
    return false;
}

double Samples::median() const {
    std::vector<double> sorted = values_;
    std::ranges::sort(sorted);
    const std::size_t middle = sorted.size() / 2;
    return sorted.size() % 2 == 1 ? sorted[middle] : (sorted[middle - 1] + sorted[middle]) / 2;
}

double Samples::least() const {
    return *std::ranges::min_element(values_);
}

double Samples::most() const {
    return *std::ranges::max_element(values_);
}

double Samples::percentile(int percent) const {
    std::vector<double> sorted = values_;
    std::ranges::sort(sorted);
    const std::size_t rank = (sorted.size() * static_cast<std::size_t>(percent) + 99) / 100;
    return sorted[std::max<std::size_t>(rank, 1) - 1];
}

std::string Samples::text(int decimals) const {
    if (values_.size() == 1) {
        return rounded(values_.front(), decimals);
    }
    return rounded(median(), decimals) + " (" + rounded(least(), decimals) + "–" + rounded(most(), decimals) +
           ")";
}

void Table::print() const {
    std::vector<std::size_t> widths(rows_.front().size());
    for (const auto& row : rows_) {
        for (std::size_t column = 0; column < row.size(); ++column) {
            widths[column] = std::max(widths[column], width(row[column]));
        }
    }
    for (const auto& row : rows_) {
        std::string line;
        for (std::size_t column = 0; column < row.size(); ++column) {
            const std::string padding(widths[column] - width(row[column]), ' ');
            line += column == 0 ? row[column] + padding : "   " + padding + row[column];
        }
        std::puts(line.c_str());
    }
    std::puts("");
}

void Verdicts::check(std::string_view name, double ratio, double goal) {
    std::printf("%.*s ratio %.2f (goal ≤ %g)\n", static_cast<int>(name.size()), name.data(), ratio, goal);
    areAllMet_ = areAllMet_ && ratio <= goal;
}

} // namespace Bench
