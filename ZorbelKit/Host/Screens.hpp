#pragma once

#include "ZorbelKit/Geometry.hpp"
#include "ZorbelKit/Token.hpp"

#include <functional>
#include <vector>

namespace ZorbelKit {

/// One monitor, in screen coordinates: points, origin at the bottom left of the main screen, y grows upwards.
struct Screen {
    Rect frame;
    Rect visibleFrame;   // the frame less panels and bars
    double scale = 1;    // device pixels for a point
    double topInset = 0; // height of a camera housing at the top; 0 where there is none
    bool operator==(const Screen&) const = default;
};

/// The monitors at hand. Main thread only.
class Screens {
public:
    virtual ~Screens() = default;

    /// The main screen first; empty only while no monitor is connected.
    virtual std::vector<Screen> all() const = 0;
    virtual Token onChange(std::function<void()> changed) = 0;
};

} // namespace ZorbelKit
