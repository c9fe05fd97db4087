#pragma once

#include "ZorbelKit/Geometry.hpp"

namespace QtPlatform {

/// Where a popover lies and where its beak points. Qt's global coordinates: y downwards.
struct PopoverPlacement {
    double x = 0;
    double y = 0;        // top left of the whole popover, beak included
    double beakX = 0;    // tip of the beak, from the popover's left edge
    bool isBelow = true; // below the anchor, the beak on top; else above it, the beak at the bottom
    bool operator==(const PopoverPlacement&) const = default;
};

/// Centred under the anchor where the screen allows; moved sideways to stay whole on it; above the anchor
/// where there is no room below but there is above. A popover larger than the screen keeps its top left
/// corner on it. `rect`s have y downwards; `margin` is kept to the screen's sides, `beakInset` between the
/// beak and the popover's corners.
PopoverPlacement placePopover(const ZorbelKit::Rect& anchor, ZorbelKit::Size size,
                              const ZorbelKit::Rect& screen, double margin, double beakInset);

} // namespace QtPlatform
