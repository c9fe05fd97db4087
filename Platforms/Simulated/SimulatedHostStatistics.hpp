#pragma once

#include "Rusket/HostStatistics.hpp"

namespace Simulated {

/// A machine whose counters tests set by hand.
class SimulatedHostStatistics : public Rusket::HostStatistics {
public:
    std::optional<Rusket::ProcessorTicks> processorTicks() override {
        ++processorReads;
        return ticks;
    }
    std::optional<Rusket::MemoryPages> memoryPages() override { return pages; }
    std::uint64_t installedMemory() override { return installed; }

    /// Lets time pass with this much work done in it.
    void work(std::uint64_t busyTicks, std::uint64_t idleTicks) {
        if (ticks) {
            ticks->user += busyTicks;
            ticks->idle += idleTicks;
        }
    }

    std::optional<Rusket::ProcessorTicks> ticks{{.user = 1000, .system = 500, .idle = 8000, .nice = 0}};
    std::optional<Rusket::MemoryPages> pages{
        {.active = 786'432, .wired = 196'608, .compressor = 65'536, .pageSize = 4096}}; // 3 + 0.75 + 0.25 GiB
    std::uint64_t installed = 8ULL << 30;
    int processorReads = 0;
};

} // namespace Simulated
