#pragma once

#include <cstdint>
#include <string>

namespace Rusket {

/// One reading of the machine.
struct Vitals {
    double cpu = 0;                // processor load since the reading before, 0 … 1 of the whole machine
    std::uint64_t memoryUsed = 0;  // bytes: active + wired + compressor
    std::uint64_t memoryTotal = 0; // bytes installed
    double memoryPressure = 0;     // (wired + compressor) ÷ installed, 0 … 1

    /// Used ÷ total; 0 when the total is 0, not capped at 1.
    double memoryFraction() const;

    bool operator==(const Vitals&) const = default;
};

/// A size in binary megabytes or gigabytes, "1.5 GB".
std::string asMemorySize(std::uint64_t bytes);

} // namespace Rusket
