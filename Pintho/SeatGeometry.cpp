#include "Pintho/SeatGeometry.hpp"

#include "ZorbelKit/Host/Screens.hpp"

#include <algorithm>
#include <cmath>

namespace Pintho {

using ZorbelKit::Point;
using ZorbelKit::Rect;

WindowRect windowRect(const Rect& screenRect, double primaryTop) {
    return {screenRect.x, primaryTop - screenRect.maxY(), screenRect.width, screenRect.height};
}

Rect screenRect(const WindowRect& windowRect, double primaryTop) {
    return {windowRect.x, primaryTop - windowRect.y - windowRect.height, windowRect.width, windowRect.height};
}

Point screenPoint(WindowPoint point, double primaryTop) {
    return {point.x, primaryTop - point.y};
}

WindowRect roundedOutward(const WindowRect& rect) {
    const double left = std::floor(rect.x);
    const double top = std::floor(rect.y);
    return {left, top, std::ceil(rect.x + rect.width) - left, std::ceil(rect.y + rect.height) - top};
}

WindowRect seatRect(Seat seat, const Rect& visibleFrame, double primaryTop) {
    const WindowRect visible = windowRect(visibleFrame, primaryTop);
    const SeatShare part = share(seat);
    return roundedOutward({visible.x + part.x * visible.width, visible.y + part.y * visible.height,
                           part.width * visible.width, part.height * visible.height});
}

std::optional<std::size_t> screenAt(WindowPoint corner, std::span<const ZorbelKit::Screen> screens) {
    if (screens.empty()) {
        return std::nullopt;
    }
    const Point point = screenPoint(corner, screens.front().frame.maxY());
    const auto found = std::ranges::find_if(
        screens, [&](const ZorbelKit::Screen& screen) { return screen.frame.contains(point); });
    return found == screens.end() ? std::nullopt
                                  : std::optional(static_cast<std::size_t>(found - screens.begin()));
}

} // namespace Pintho
