#pragma once

#include "ZorbelKit/Geometry.hpp"
#include "ZorbelKit/Token.hpp"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace ZorbelKit {

/// One monitor, in screen coordinates: points, origin at the bottom left of the main screen, y grows upwards.
struct Screen {
    Rect frame;
    Rect visibleFrame;   // the frame less panels and bars
    double scale = 1;    // device pixels for a point
    double topInset = 0; // height of a camera housing at the top; 0 where there is none
    std::int64_t id = 0; // stays the same while it is connected
    std::string name{};  // UTF-8, for people
    bool operator==(const Screen&) const = default;
};

/// The monitors at hand. Main thread only.
class Screens {
public:
    virtual ~Screens() = default;

    /// The primary screen first, from whose lower left corner all is measured; empty only while no monitor is
    /// connected.
    virtual std::vector<Screen> all() const = 0;

    /// The screen that the user works on: the one with the window that has the keyboard where the platform
    /// knows it, else the primary one.
    virtual std::optional<Screen> main() const {
        const auto screens = all();
        return screens.empty() ? std::nullopt : std::optional(screens.front());
    }
    virtual Token onChange(std::function<void()> changed) = 0;
};

} // namespace ZorbelKit
