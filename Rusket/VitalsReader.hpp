#pragma once

#include "Rusket/HostStatistics.hpp"
#include "Rusket/Vitals.hpp"

#include <cstdint>
#include <mutex>
#include <optional>

namespace Rusket {

/// Turns the kernel's counters into readings. The load of a reading is the average since the reading before
/// it, however long ago that was; the very first reads exactly 0. From any thread.
class VitalsReader {
public:
    explicit VitalsReader(HostStatistics& statistics);

    Vitals read();

private:
    struct Memory {
        std::uint64_t used = 0;
        std::uint64_t total = 0;
        double pressure = 0;
    };

    double readCPU();
    Memory readMemory();

    HostStatistics& statistics_;
    std::mutex lock_; // guards previousTicks_, never held across a kernel call
    std::optional<ProcessorTicks> previousTicks_;
};

} // namespace Rusket
