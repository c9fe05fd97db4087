#pragma once

#include <algorithm>

namespace ZorbelKit {

struct Point {
    double x = 0;
    double y = 0;
    bool operator==(const Point&) const = default;
};

struct Size {
    double width = 0;
    double height = 0;
    bool operator==(const Size&) const = default;
};

/// A rectangle in points; origin at the bottom left, y grows upwards, unless a header says otherwise.
struct Rect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    double minX() const { return x; }
    double midX() const { return x + width / 2; }
    double maxX() const { return x + width; }
    double minY() const { return y; }
    double midY() const { return y + height / 2; }
    double maxY() const { return y + height; }
    bool contains(Point point) const {
        return point.x >= minX() && point.x < maxX() && point.y >= minY() && point.y < maxY();
    }
    bool operator==(const Rect&) const = default;
};

/// `value` moved into `low … high`; `low` wins where the two have crossed.
inline double clamped(double value, double low, double high) {
    return std::max(low, std::min(value, high));
}

} // namespace ZorbelKit
