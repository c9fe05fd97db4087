#include "Platforms/Qt/PopoverPlacement.hpp"

namespace QtPlatform {

using ZorbelKit::clamped;
using ZorbelKit::Rect;
using ZorbelKit::Size;

PopoverPlacement placePopover(const Rect& anchor, Size size, const Rect& screen, double margin,
                              double beakInset) {
    const double left = screen.x + margin;
    const double right = screen.x + screen.width - margin - size.width;
    const double bottom = screen.y + screen.height - size.height;
    const double below = anchor.y + anchor.height;
    const double above = anchor.y - size.height;
    PopoverPlacement place;
    place.isBelow = below <= bottom || above < screen.y;
    // `clamped` lets the lower bound win: too large a popover shows its top left corner.
    place.x = clamped(anchor.midX() - size.width / 2, left, right);
    place.y = clamped(place.isBelow ? below : above, screen.y, bottom);
    place.beakX = clamped(anchor.midX() - place.x, beakInset, size.width - beakInset);
    return place;
}

} // namespace QtPlatform
