#pragma once

#include <cstdint>
#include <fstream>
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
