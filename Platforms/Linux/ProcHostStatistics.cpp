#include "Platforms/Linux/ProcHostStatistics.hpp"

#include "Platforms/Linux/SystemCalls.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <memory>
#include <utility>

namespace Linux {

struct ProcHostStatistics::MemoryInfo {
    // Bytes; none where no row of the file gave them.
    std::optional<std::uint64_t> total;
    std::optional<std::uint64_t> available;
    std::optional<std::uint64_t> spare;  // free or easily given back, with shared memory counted among it
    std::optional<std::uint64_t> shared; // held in memory files, which nothing can give back
    std::optional<std::uint64_t> wired;
    std::optional<std::uint64_t> compressed;

    static MemoryInfo parsed(std::string_view text);
};

namespace {

enum Tick : std::size_t { user, nice, system, idle, ioWait, irq, softIRQ, steal, tickCount };
using TickRow = std::array<std::uint64_t, tickCount>;

constexpr int memoryReadingsBetweenSearches = 30;

// More than three centuries of one processor between two readings: a subtraction that wrapped in the kernel
// (steal does, when a virtual machine is moved), not work.
constexpr std::uint64_t wildStep = 1ULL << 40;

// No machine has that much memory, and any number of rows of it still add up within 64 bits.
constexpr std::uint64_t mostBytes = 1ULL << 53;

std::uint64_t idleTime(const TickRow& ticks) {
    return ticks[idle] + ticks[ioWait];
}

std::uint64_t differenceOrZero(std::uint64_t left, std::uint64_t right) {
    return left > right ? left - right : 0;
}

void skipSpaces(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
}

/// Takes the next word off the front of a row.
std::string_view takeWord(std::string_view& row) {
    skipSpaces(row);
    const std::string_view word = row.substr(0, row.find(' '));
    row.remove_prefix(word.size());
    return word;
}

/// Takes the next word off the front of a row; none where it is not a number of 64 bits.
std::optional<std::uint64_t> takeNumber(std::string_view& row) {
    const std::string_view word = takeWord(row);
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    if (error != std::errc{} || end != word.data() + word.size()) {
        return std::nullopt;
    }
    return number;
}

/// Calls `use` with every row that has its end: one without was cut off, and its number may be too.
template <class Use>
void forEachRow(std::string_view text, Use use) {
    for (auto end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
        use(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
}

/// The first row of /proc/stat. Old kernels have fewer columns, which count as 0; what newer ones add is not
/// ours.
std::optional<TickRow> parsedTicks(std::string_view text) {
    constexpr std::string_view label = "cpu ";
    const auto end = text.find('\n');
    if (!text.starts_with(label) || end == std::string_view::npos) {
        return std::nullopt;
    }
    std::string_view row = text.substr(label.size(), end - label.size());
    TickRow ticks{};
    for (std::size_t column = 0; column < tickCount; ++column) {
        skipSpaces(row);
        if (row.empty()) {
            return column > idle ? std::optional(ticks) : std::nullopt;
        }
        const auto number = takeNumber(row);
        if (!number) {
            return std::nullopt;
        }
        ticks[column] = *number;
    }
    return ticks;
}

/// What ZFS would give back if asked: all of its cache but the part it keeps. Rows read "name type value".
std::uint64_t parsedEvictableCache(std::string_view text) {
    std::optional<std::uint64_t> size;
    std::optional<std::uint64_t> least;
    forEachRow(text, [&](std::string_view row) {
        const std::string_view name = takeWord(row);
        if (name == "size" || name == "c_min") {
            takeWord(row);
            (name == "size" ? size : least) = takeNumber(row);
        }
    });
    return size && least ? differenceOrZero(*size, *least) : 0;
}

} // namespace

ProcHostStatistics::MemoryInfo ProcHostStatistics::MemoryInfo::parsed(std::string_view text) {
    struct Row {
        std::string_view name;
        std::optional<std::uint64_t> MemoryInfo::*sum;
    };
    static constexpr Row rows[] = {
        {"MemTotal", &MemoryInfo::total},      {"MemAvailable", &MemoryInfo::available},
        {"MemFree", &MemoryInfo::spare},       {"Buffers", &MemoryInfo::spare},
        {"Cached", &MemoryInfo::spare},        {"SReclaimable", &MemoryInfo::spare},
        {"Shmem", &MemoryInfo::shared},        {"SUnreclaim", &MemoryInfo::wired},
        {"KernelStack", &MemoryInfo::wired},   {"PageTables", &MemoryInfo::wired},
        {"SecPageTables", &MemoryInfo::wired}, {"Percpu", &MemoryInfo::wired},
        {"Mlocked", &MemoryInfo::wired},       {"Zswap", &MemoryInfo::compressed},
    };
    MemoryInfo info;
    forEachRow(text, [&](std::string_view line) {
        const std::string_view name = line.substr(0, line.find(':'));
        const auto* row = std::find_if(std::begin(rows), std::end(rows),
                                       [name](const Row& candidate) { return candidate.name == name; });
        if (row == std::end(rows) || name.size() == line.size()) {
            return;
        }
        line.remove_prefix(name.size() + 1);
        if (const auto kibibytes = takeNumber(line)) { // "kB" in the file, whatever the page size
            auto& sum = info.*(row->sum);
            sum = sum.value_or(0) + std::min(*kibibytes, mostBytes / 1024) * 1024;
        }
    });
    return info;
}

ProcHostStatistics::ProcHostStatistics(const std::string& root, std::optional<std::uint64_t> pageSize)
    : blockDevices_(root + "/sys/block")
    , pageSize_(pageSize.value_or(static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE))))
    , processorFile_(root + "/proc/stat")
    , memoryFile_(root + "/proc/meminfo")
    , cacheFile_(root + "/proc/spl/kstat/zfs/arcstats") {
}

void ProcHostStatistics::release() {
    const std::lock_guard guard(lock_);
    processorFile_.close();
    memoryFile_.close();
    cacheFile_.close();
    compressedDevices_.clear();
    memoryReadingsUntilSearch_ = 0;
}

std::optional<Rusket::ProcessorTicks> ProcHostStatistics::processorTicks() {
    const std::lock_guard guard(lock_);
    std::array<char, 512> buffer; // the first row and no more: the rest may be many KiB
    const auto ticks = parsedTicks(processorFile_.read(buffer));
    if (!ticks) {
        return std::nullopt;
    }
    // When all idle time together stepped back, nobody knows how much of it there was. Busy time alone would
    // read 100 % after every suspend, so a reading like that adds nothing.
    const bool isUsable = idleTime(*ticks) >= idleTime(lastTicks_);
    for (std::size_t column = 0; column < tickCount; ++column) {
        const std::uint64_t step = differenceOrZero((*ticks)[column], lastTicks_[column]);
        tickSums_[column] += isUsable && step < wildStep ? step : 0;
    }
    lastTicks_ = *ticks;
    return Rusket::ProcessorTicks{.user = tickSums_[user],
                                  .system = tickSums_[system] + tickSums_[irq] + tickSums_[softIRQ] +
                                            tickSums_[steal],
                                  .idle = tickSums_[idle] + tickSums_[ioWait],
                                  .nice = tickSums_[nice]};
}

std::optional<Rusket::MemoryPages> ProcHostStatistics::memoryPages() {
    const std::lock_guard guard(lock_);
    const auto info = readMemoryInfo();
    if (!info) {
        return std::nullopt;
    }
    const std::uint64_t evictable = evictableCacheBytes();
    if (memoryReadingsUntilSearch_ == 0) {
        findCompressedDevices();
        memoryReadingsUntilSearch_ = memoryReadingsBetweenSearches;
    }
    --memoryReadingsUntilSearch_;
    const std::uint64_t compressed = info->compressed.value_or(0) + bytesHeldByCompressedDevices();

    const std::uint64_t available =
        info->available.value_or(differenceOrZero(info->spare.value_or(0), info->shared.value_or(0)));
    const std::uint64_t used = differenceOrZero(differenceOrZero(*info->total, available), evictable);

    const std::uint64_t usedPages = used / pageSize_;
    const std::uint64_t compressorPages = std::min(compressed / pageSize_, usedPages);
    const std::uint64_t wiredPages =
        std::min(info->wired.value_or(0) / pageSize_, usedPages - compressorPages);
    return Rusket::MemoryPages{.active = usedPages - compressorPages - wiredPages,
                               .wired = wiredPages,
                               .compressor = compressorPages,
                               .pageSize = pageSize_};
}

std::uint64_t ProcHostStatistics::installedMemory() {
    const std::lock_guard guard(lock_);
    if (installed_ == 0) {
        readMemoryInfo();
    }
    return installed_;
}

std::optional<ProcHostStatistics::MemoryInfo> ProcHostStatistics::readMemoryInfo() {
    std::array<char, 8192> buffer;
    const MemoryInfo info = MemoryInfo::parsed(memoryFile_.read(buffer));
    if (info.total.value_or(0) == 0) {
        return std::nullopt;
    }
    installed_ = *info.total;
    return info;
}

void ProcHostStatistics::findCompressedDevices() {
    struct Closer {
        void operator()(DIR* folder) const { ::closedir(folder); }
    };
    const std::unique_ptr<DIR, Closer> folder(::opendir(blockDevices_.c_str()));
    if (!folder) {
        return;
    }
    while (const dirent* entry = ::readdir(folder.get())) {
        const std::string_view name = entry->d_name;
        if (!name.starts_with("zram")) {
            continue;
        }
        std::string path = blockDevices_ + "/" + entry->d_name + "/mm_stat";
        if (std::ranges::find(compressedDevices_, path, &KeptFile::path) == compressedDevices_.end()) {
            compressedDevices_.emplace_back(std::move(path));
        }
    }
}

std::uint64_t ProcHostStatistics::bytesHeldByCompressedDevices() {
    std::uint64_t sum = 0;
    for (KeptFile& device : compressedDevices_) {
        std::array<char, 256> buffer;
        forEachRow(device.read(buffer), [&sum](std::string_view row) {
            takeWord(row);                                           // size of what is stored
            takeWord(row);                                           // the same compressed
            sum += std::min(takeNumber(row).value_or(0), mostBytes); // memory taken by it, with the losses
        });
    }
    std::erase_if(compressedDevices_, [](const KeptFile& device) { return !device.isOpen(); });
    return sum;
}

std::uint64_t ProcHostStatistics::evictableCacheBytes() {
    if (!cacheFile_.isOpen() && memoryReadingsUntilSearch_ > 0) {
        return 0;
    }
    std::array<char, 16'384> buffer;
    return parsedEvictableCache(cacheFile_.readAll(buffer));
}

ProcHostStatistics::KeptFile::KeptFile(std::string path)
    : path_(std::move(path)) {
}

ProcHostStatistics::KeptFile::KeptFile(KeptFile&& other) noexcept
    : path_(std::move(other.path_))
    , descriptor_(std::exchange(other.descriptor_, -1)) {
}

ProcHostStatistics::KeptFile& ProcHostStatistics::KeptFile::operator=(KeptFile&& other) noexcept {
    std::swap(path_, other.path_);
    std::swap(descriptor_, other.descriptor_);
    return *this;
}

ProcHostStatistics::KeptFile::~KeptFile() {
    close();
}

std::string_view ProcHostStatistics::KeptFile::read(std::span<char> buffer) {
    if (!isOpen()) {
        descriptor_ = retried([this] { return ::open(path_.c_str(), O_RDONLY | O_CLOEXEC); });
    }
    if (!isOpen()) {
        return {};
    }
    const ssize_t length = retried([&] { return ::pread(descriptor_, buffer.data(), buffer.size(), 0); });
    if (length <= 0) {
        close();
        return {};
    }
    return {buffer.data(), static_cast<std::size_t>(length)};
}

std::string_view ProcHostStatistics::KeptFile::readAll(std::span<char> buffer) {
    std::size_t length = read(buffer).size();
    while (length > 0 && length < buffer.size()) {
        const std::span<char> rest = buffer.subspan(length);
        const ssize_t more = retried(
            [&] { return ::pread(descriptor_, rest.data(), rest.size(), static_cast<off_t>(length)); });
        if (more <= 0) {
            break;
        }
        length += static_cast<std::size_t>(more);
    }
    return {buffer.data(), length};
}

void ProcHostStatistics::KeptFile::close() {
    if (isOpen()) {
        ::close(std::exchange(descriptor_, -1));
    }
}

} // namespace Linux
