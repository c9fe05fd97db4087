#include "Platforms/Linux/MenuBar/BarStrut.hpp"

#include <algorithm>
#include <cmath>

namespace Linux {

using ZorbelKit::Rect;

std::array<std::uint32_t, 12> barStrut(const Rect& monitor, double barHeight,
                                       const std::vector<Rect>& others) {
    const auto pixels = [](double value) {
        return static_cast<std::uint32_t>(std::lround(std::max(value, 0.0)));
    };
    const bool isUnderAnother = std::ranges::any_of(others, [&](const Rect& other) {
        return other.y < monitor.y && other.x < monitor.maxX() && other.maxX() > monitor.x;
    });
    if (isUnderAnother) {
        return {};
    }
    // y runs downwards here: the bar's lower edge lies `barHeight` below the monitor's upper one.
    return {0, 0, pixels(monitor.y + barHeight), 0, 0, 0, 0, 0, pixels(monitor.x), pixels(monitor.maxX() - 1),
            0, 0};
}

} // namespace Linux
