#include "Platforms/Linux/Windows/Monitors.hpp"

#include <algorithm>
#include <limits>

namespace Linux {

namespace {

constexpr double lift = 1.0 / 1024;
constexpr double hair = std::numeric_limits<double>::epsilon(); // lost in a sum with anything from 4 up

std::int64_t areaOf(const PixelRect& rect) {
    return std::int64_t{rect.width} * rect.height;
}

} // namespace

std::optional<PixelRect> workAreaOn(const PixelRect& monitor, std::span<const std::uint32_t> numbers) {
    std::optional<PixelRect> best;
    for (; numbers.size() >= 4; numbers = numbers.subspan(4)) {
        const auto number = [&](std::size_t index) { return static_cast<std::int32_t>(numbers[index]); };
        const auto part = overlap(monitor, {number(0), number(1), number(2), number(3)});
        if (part && (!best || areaOf(*part) > areaOf(*best))) {
            best = part;
        }
    }
    return best;
}

std::vector<ZorbelKit::Screen> screens(std::span<const Monitor> monitors) {
    std::vector<ZorbelKit::Screen> result;
    for (const Monitor& monitor : monitors) {
        const PixelRect& primary = monitors.front().frame;
        const auto flipped = [&](const PixelRect& rect) {
            return ZorbelKit::Rect{static_cast<double>(rect.x - primary.x),
                                   static_cast<double>(primary.y + primary.height - rect.y - rect.height),
                                   static_cast<double>(rect.width), static_cast<double>(rect.height)};
        };
        ZorbelKit::Screen screen{.frame = flipped(monitor.frame),
                                 .visibleFrame = flipped(monitor.usable),
                                 .id = monitor.id,
                                 .name = monitor.name};
        screen.frame.y += result.empty() ? hair : lift;
        result.push_back(std::move(screen));
    }
    return result;
}

} // namespace Linux
