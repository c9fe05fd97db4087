#pragma once

#include <cstdint>
#include <optional>

namespace Rusket {

/// The machine's processor time since start, summed over all processors, in ticks. Counters only grow.
struct ProcessorTicks {
    std::uint64_t user = 0;
    std::uint64_t system = 0;
    std::uint64_t idle = 0;
    std::uint64_t nice = 0;
    bool operator==(const ProcessorTicks&) const = default;
};

/// Memory in use, in pages. The three together are what is in use: no page is in two of them.
struct MemoryPages {
    std::uint64_t active = 0;     // programs and their data
    std::uint64_t wired = 0;      // the system's own, never given back
    std::uint64_t compressor = 0; // holding compressed memory
    std::uint64_t pageSize = 0;   // bytes
    bool operator==(const MemoryPages&) const = default;
};

/// The kernel's statistics. From any thread. None where they could not be read.
class HostStatistics {
public:
    virtual ~HostStatistics() = default;

    virtual std::optional<ProcessorTicks> processorTicks() = 0;
    virtual std::optional<MemoryPages> memoryPages() = 0;

    /// Bytes of memory in the machine; 0 where unknown.
    virtual std::uint64_t installedMemory() = 0;
};

} // namespace Rusket
