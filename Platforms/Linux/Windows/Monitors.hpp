#pragma once

#include "Platforms/Linux/Windows/Struts.hpp"
#include "ZorbelKit/Host/Screens.hpp"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace Linux {

/// A monitor of an X screen.
struct Monitor {
    std::int64_t id = 0; // of its name, so that it keeps it
    std::string name{};  // of its output: "eDP-1"
    PixelRect frame;
    PixelRect usable{}; // less panels
    bool operator==(const Monitor&) const = default;
};

/// The part of a monitor that a window manager names as the room for windows, out of its rectangles for all
/// monitors; these come in an order of their own. None where it names none.
std::optional<PixelRect> workAreaOn(const PixelRect& monitor, std::span<const std::uint32_t> numbers);

/// The monitors in screen coordinates, from the lower left corner of the first one, which is the primary.
///
/// A point on the upper edge of a screen is outside of it, by the rule of that coordinate space; but the
/// corner of a window at the very top of a monitor is such a point, and the window is on that monitor and on
/// no other. So the frames are a hair off: the primary's lower edge is drawn in by so little that no sum
/// shows it, and the others lie a thousandth of a pixel higher than they are. Visible frames are exact.
std::vector<ZorbelKit::Screen> screens(std::span<const Monitor> monitors);

} // namespace Linux
