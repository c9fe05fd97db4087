#pragma once

#include <cstddef>
#include <vector>

namespace Sivrel {

/// Where things stand in the drawn menu bar: points from the strip's left edge, of icons and chevrons the
/// centre.
struct BarGeometry {
    static constexpr std::size_t mostHidden = 6;
    static constexpr std::size_t visibleCount = 4;

    struct Icon {
        double x = 0;
        double opacity = 1;
        bool operator==(const Icon&) const = default;
    };

    std::vector<Icon> hidden;  // those left of the divider, from the left
    std::vector<Icon> visible; // those right of it, the glass last
    double divider = 0;        // the chevrons
    double dividerLeft = 0;    // the divider's left edge, which pushes the hidden icons before it
    double dividerRight = 0;
    double menusRight = 0; // where an application's menus at the left must end

    bool operator==(const BarGeometry&) const = default;
};

/// `progress` runs from 0, revealed, to 1, collapsed. On the way the divider grows to the left; the icons
/// fade as they come to the edge of their room, and are all gone at 1. A narrow strip has fewer of them.
BarGeometry barGeometry(double width, double progress);

} // namespace Sivrel
