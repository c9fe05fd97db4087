#include "Rusket/VitalsReader.hpp"

#include "ZorbelKit/ByteCount.hpp"
#include "ZorbelKit/Checked.hpp"

#include <algorithm>

namespace Rusket {

double Vitals::memoryFraction() const {
    return memoryTotal == 0 ? 0.0 : static_cast<double>(memoryUsed) / static_cast<double>(memoryTotal);
}

std::string asMemorySize(std::uint64_t bytes) {
    return ZorbelKit::byteCountText(bytes, ZorbelKit::CountStyle::memory);
}

VitalsReader::VitalsReader(HostStatistics& statistics)
    : statistics_(statistics) {
}

Vitals VitalsReader::read() {
    const double cpu = readCPU();
    const Memory memory = readMemory();
    return {cpu, memory.used, memory.total, memory.pressure};
}

double VitalsReader::readCPU() {
    const auto ticks = statistics_.processorTicks();
    if (!ticks) {
        return 0;
    }
    const std::lock_guard guard(lock_);
    if (!previousTicks_) {
        previousTicks_ = ticks;
        return 0;
    }
    // A counter that stepped back wraps to a huge difference here, and the checked sum stops the process
    // rather than show a wrong figure: whoever supplies the counters keeps them from stepping back.
    const std::uint64_t user = ticks->user - previousTicks_->user;
    const std::uint64_t system = ticks->system - previousTicks_->system;
    const std::uint64_t nice = ticks->nice - previousTicks_->nice;
    const std::uint64_t idle = ticks->idle - previousTicks_->idle;
    previousTicks_ = ticks;
    const auto busy = static_cast<double>(checked::add(checked::add(user, system), nice));
    const double total = static_cast<double>(idle) + busy;
    return total > 0.0 ? std::min(busy / total, 1.0) : 0.0;
}

VitalsReader::Memory VitalsReader::readMemory() {
    const auto pages = statistics_.memoryPages();
    const std::uint64_t installed = statistics_.installedMemory();
    if (!pages) {
        return {0, installed, 0};
    }
    const std::uint64_t wired = checked::multiply(pages->wired, pages->pageSize);
    const std::uint64_t active = checked::multiply(pages->active, pages->pageSize);
    const std::uint64_t compressed = checked::multiply(pages->compressor, pages->pageSize);
    const std::uint64_t used = checked::add(checked::add(wired, active), compressed);
    if (installed == 0) {
        return {used, 0, 0};
    }
    const double held = static_cast<double>(checked::add(wired, compressed)) / static_cast<double>(installed);
    return {used, installed, std::min(held, 1.0)};
}

} // namespace Rusket
