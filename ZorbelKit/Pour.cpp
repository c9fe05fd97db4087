#include "ZorbelKit/Pour.hpp"

namespace ZorbelKit::Pour {

namespace {

/// One coordinate of the cubic from 0 to 1 at parameter t.
double cubic(double first, double second, double t) {
    const double rest = 1 - t;
    return 3 * rest * rest * t * first + 3 * rest * t * t * second + t * t * t;
}

} // namespace

double Curve::progress(Seconds elapsed) const {
    if (elapsed >= duration) {
        return 1;
    }
    if (elapsed <= Seconds{0}) {
        return 0;
    }
    const double x = elapsed / duration;
    double low = 0;
    double high = 1;
    for (int step = 0; step < 40; ++step) { // x grows with t for control points within 0 … 1
        const double middle = (low + high) / 2;
        (cubic(first.x, second.x, middle) < x ? low : high) = middle;
    }
    return cubic(first.y, second.y, (low + high) / 2);
}

} // namespace ZorbelKit::Pour
