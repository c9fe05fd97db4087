#pragma once

#include <vector>

namespace Linux {

/// Where one item of the bar lies, in points from the left end of the area.
struct StatusPlace {
    double x = 0;
    double width = 0;
    bool isVisible = false;
    double visibleX = 0; // the part in sight; meaningful while visible
    double visibleWidth = 0;
    bool operator==(const StatusPlace&) const = default;
};

/// Lays items out from the right end of an area. Widths run from right to left; a negative one counts as 0,
/// and 0 takes no room. An item that does not fit whole is hidden, and everything left of it with it; only a
/// spacer, wider than the whole area, is shown as far as it reaches.
std::vector<StatusPlace> layoutStatusArea(const std::vector<double>& widths, double areaWidth);

} // namespace Linux
