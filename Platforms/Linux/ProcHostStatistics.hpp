#pragma once

#include "Rusket/HostStatistics.hpp"

#include <array>
#include <cstdint>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Linux {

/// The kernel's statistics as /proc and /sys give them. From any thread: a lock is held while reading, which
/// never waits, as the kernel answers from memory. Files are opened at the first reading and kept, so an
/// object that nobody reads costs nothing. What could not be read is none this time and is opened afresh at
/// the next reading.
///
/// Processor time is the aggregate row of /proc/stat in USER_HZ ticks: user and nice as they are (each
/// contains its guests), system with irq, softirq and steal, idle with iowait. The kernel's counters may step
/// back, idle and iowait above all, across suspend and when a processor goes offline. Those handed on never
/// do: they are sums of the forward steps of each column, begun with the raw values of the first reading. A
/// reading in which idle time as a whole stepped back adds nothing.
///
/// Memory in use, U, is MemTotal − MemAvailable, less what ZFS gives back (ARC size − c_min): what `free`
/// calls used. Without MemAvailable it is MemFree + Buffers + Cached + SReclaimable − Shmem. Of U,
/// - compressor is Zswap + mem_used_total of every zram device, at most U;
/// - wired is SUnreclaim + KernelStack + PageTables + SecPageTables + Percpu + Mlocked, at most what is left;
/// - active is the rest,
///
/// so that the three together are U, to the whole page below. A field that is absent counts as 0.
class ProcHostStatistics : public Rusket::HostStatistics {
public:
    /// `root` is the folder that holds proc and sys; `pageSize` is in bytes, this machine's unless given.
    explicit ProcHostStatistics(const std::string& root = "/",
                                std::optional<std::uint64_t> pageSize = std::nullopt);

    /// Closes every file. The sums of ticks are kept: the next load is the average over the pause.
    void release();

    std::optional<Rusket::ProcessorTicks> processorTicks() override;
    std::optional<Rusket::MemoryPages> memoryPages() override;

    /// Bytes. MemTotal as memoryPages() last read it, or as read here before that; 0 if it never could be.
    std::uint64_t installedMemory() override;

private:
    /// A file that is opened when first read and then read from its start again and again.
    class KeptFile {
    public:
        explicit KeptFile(std::string path);
        KeptFile(KeptFile&& other) noexcept;
        KeptFile& operator=(KeptFile&& other) noexcept;
        ~KeptFile();

        /// As much of the beginning as one read brings; empty, and the file closed, where that failed.
        std::string_view read(std::span<char> buffer);
        /// The same up to the end of the file, for those that the kernel hands out in portions.
        std::string_view readAll(std::span<char> buffer);
        void close();

        bool isOpen() const { return descriptor_ >= 0; }
        const std::string& path() const { return path_; }

    private:
        std::string path_;
        int descriptor_ = -1;
    };

    struct MemoryInfo;

    std::optional<MemoryInfo> readMemoryInfo();
    void findCompressedDevices();
    std::uint64_t bytesHeldByCompressedDevices();
    std::uint64_t evictableCacheBytes();

    const std::string blockDevices_; // folder
    const std::uint64_t pageSize_;   // bytes

    std::mutex lock_; // guards all below
    KeptFile processorFile_;
    KeptFile memoryFile_;
    KeptFile cacheFile_;
    std::vector<KeptFile> compressedDevices_;

    // In the kernel's order: user, nice, system, idle, iowait, irq, softirq, steal.
    std::array<std::uint64_t, 8> lastTicks_{};
    std::array<std::uint64_t, 8> tickSums_{};
    std::uint64_t installed_ = 0;       // bytes
    int memoryReadingsUntilSearch_ = 0; // for zram devices and ZFS, which come and go
};

} // namespace Linux
