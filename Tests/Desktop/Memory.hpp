#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

namespace Desktop {

/// The machine's memory by the kernel's own account, in bytes.
struct Memory {
    std::uint64_t total = 0;
    std::uint64_t available = 0;

    std::uint64_t used() const { return total - available; }
    int usedPercent() const { return total == 0 ? 0 : static_cast<int>(used() * 100 / total); }
};

/// What a process holds and would not give back by itself.
struct Holdings {
    std::uint64_t anonymous = 0; // bytes that no file stands behind: heap, stacks, and what was written
    int descriptors = 0;
    int threads = 0;
};

inline Holdings holdings(pid_t process) {
    const std::filesystem::path folder = "/proc/" + std::to_string(process);
    const auto entries = [&](const char* name) {
        const std::filesystem::directory_iterator first(folder / name);
        return static_cast<int>(std::distance(first, std::filesystem::directory_iterator()));
    };
    Holdings result{.descriptors = entries("fd"), .threads = entries("task")};
    std::ifstream file(folder / "smaps_rollup");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("Anonymous:")) {
            result.anonymous = 1024 * std::stoull(line.substr(line.find(':') + 1));
        }
    }
    return result;
}

inline Memory memory() {
    Memory result;
    std::ifstream file("/proc/meminfo");
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string name;
        std::uint64_t kibibytes = 0;
        words >> name >> kibibytes;
        if (name == "MemTotal:") {
            result.total = kibibytes * 1024;
        } else if (name == "MemAvailable:") {
            result.available = kibibytes * 1024;
        }
    }
    return result;
}

} // namespace Desktop
