#include "Platforms/Linux/MenuBar/StatusLayout.hpp"

#include <algorithm>

namespace Linux {

std::vector<StatusPlace> layoutStatusArea(const std::vector<double>& widths, double areaWidth) {
    std::vector<StatusPlace> places;
    places.reserve(widths.size());
    double right = areaWidth;
    for (const double given : widths) {
        const double width = std::max(given, 0.0);
        StatusPlace place{.x = right - width, .width = width};
        const bool fits = place.x >= 0;
        const bool isSpacer = width > areaWidth;
        if (width > 0 && (fits || (right > 0 && isSpacer))) {
            place.isVisible = true;
            place.visibleX = std::max(place.x, 0.0);
            place.visibleWidth = right - place.visibleX;
        }
        right = place.x;
        places.push_back(place);
    }
    return places;
}

} // namespace Linux
