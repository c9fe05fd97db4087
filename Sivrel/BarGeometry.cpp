#include "Sivrel/BarGeometry.hpp"

#include "ZorbelKit/Geometry.hpp"

#include <algorithm>
#include <cmath>

namespace Sivrel {

namespace {

constexpr double margin = 27;     // from the strip's edges to the nearest centre
constexpr double pitch = 34;      // from icon to icon
constexpr double dividerGap = 36; // from the chevrons to the icons on either side
constexpr double halfDivider = 11;
constexpr double fadeLength = 38; // over which an icon vanishes at the edge of its room

} // namespace

BarGeometry barGeometry(double width, double progress) {
    BarGeometry bar;
    for (auto right = static_cast<int>(BarGeometry::visibleCount) - 1; right >= 0; --right) {
        bar.visible.push_back({width - margin - right * pitch, 1});
    }
    bar.divider = bar.visible.front().x - dividerGap;

    const double nearest = bar.divider - dividerGap;
    const double room = nearest - margin - fadeLength;
    const int count = std::clamp(static_cast<int>(std::floor(room / pitch)) + 1, 0,
                                 static_cast<int>(BarGeometry::mostHidden));
    const double farthest = nearest - (count - 1) * pitch;
    const double edge = farthest - fadeLength;
    const double pushed = progress * (nearest - edge);
    for (int index = 0; index < count; ++index) {
        const double x = farthest + index * pitch - pushed;
        bar.hidden.push_back({x, ZorbelKit::clamped((x - edge) / fadeLength, 0, 1)});
    }
    bar.dividerLeft = bar.divider - halfDivider - pushed;
    bar.dividerRight = bar.divider + halfDivider;
    bar.menusRight = edge;
    return bar;
}

} // namespace Sivrel
