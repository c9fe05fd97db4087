#pragma once

#include "Pintho/Seat.hpp"
#include "ZorbelKit/Geometry.hpp"

#include <cstddef>
#include <optional>
#include <span>

namespace ZorbelKit {
struct Screen;
}

namespace Pintho {

/// Where windows are: points from the top left corner of the primary screen, y downwards. Screens are the
/// other way up (ZorbelKit::Rect); the two never mix without a conversion below.
struct WindowPoint {
    double x = 0;
    double y = 0;

    bool operator==(const WindowPoint&) const = default;
};

struct WindowRect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    bool operator==(const WindowRect&) const = default;
};

/// From screen coordinates to those of windows. `primaryTop` is the upper edge of the primary screen, in
/// screen coordinates. Keeps x and the size.
WindowRect windowRect(const ZorbelKit::Rect& screenRect, double primaryTop);

/// The way back; each is the other's inverse.
ZorbelKit::Rect screenRect(const WindowRect& windowRect, double primaryTop);
ZorbelKit::Point screenPoint(WindowPoint point, double primaryTop);

/// The smallest rectangle with whole edges that holds `rect`.
WindowRect roundedOutward(const WindowRect& rect);

/// Where a window goes that takes this seat on a screen with this visible frame.
WindowRect seatRect(Seat seat, const ZorbelKit::Rect& visibleFrame, double primaryTop);

/// The first of the screens (the primary one first) whose frame holds the point; none where no frame does. A
/// point on a right or upper edge is outside.
std::optional<std::size_t> screenAt(WindowPoint corner, std::span<const ZorbelKit::Screen> screens);

} // namespace Pintho
