#include "Platforms/Linux/Windows/X11Screens.hpp"

#include "Pintho/SeatGeometry.hpp"

#include <algorithm>

namespace Linux {

namespace {

double commonArea(const ZorbelKit::Rect& one, const ZorbelKit::Rect& other) {
    const double width = std::min(one.maxX(), other.maxX()) - std::max(one.minX(), other.minX());
    const double height = std::min(one.maxY(), other.maxY()) - std::max(one.minY(), other.minY());
    return std::max(width, 0.0) * std::max(height, 0.0);
}

} // namespace

std::optional<ZorbelKit::Screen> X11Screens::main() const {
    const auto screens = all();
    const auto window = desktop_.activeWindow();
    if (screens.empty() || !window) {
        return Screens::main();
    }
    const ZorbelKit::Rect seen = Pintho::screenRect(window->visible, screens.front().frame.maxY());
    // The first of equals: a window beyond every monitor belongs to the primary one.
    return *std::ranges::max_element(
        screens, {}, [&](const ZorbelKit::Screen& screen) { return commonArea(screen.frame, seen); });
}

} // namespace Linux
