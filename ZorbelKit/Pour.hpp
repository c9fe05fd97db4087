#pragma once

#include "ZorbelKit/Geometry.hpp"
#include "ZorbelKit/Time.hpp"

namespace ZorbelKit::Pour {

inline constexpr Seconds sip{0.12};  // hover and selection changes
inline constexpr Seconds pour{0.24}; // revealing secondary text
inline constexpr Seconds steep{0.4}; // delay before a hover reveals extra text
inline constexpr Seconds boil{0.8};  // the longest transition

/// A timing curve over a duration: a cubic from (0, 0) to (1, 1) with these two control points.
struct Curve {
    Point first;
    Point second;
    Seconds duration;

    /// Progress 0 … 1 at `elapsed` since the start; clamped at both ends.
    double progress(Seconds elapsed) const;

    bool operator==(const Curve&) const = default;
};

/// The suite's standard ease-out.
constexpr Curve settle(Seconds duration) {
    return {{0.22, 0.85}, {0.3, 1.0}, duration};
}

/// Continuous motion.
constexpr Curve stream(Seconds duration) {
    return {{1.0 / 3, 1.0 / 3}, {2.0 / 3, 2.0 / 3}, duration};
}

} // namespace ZorbelKit::Pour
