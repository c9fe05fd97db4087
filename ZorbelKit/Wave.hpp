#pragma once

#include <array>
#include <string_view>

namespace ZorbelKit {

/// Release group of a spice. The stored numbers give the order.
enum class Wave : int { inTheCup = 0, nextBatch = 1, later = 2 };

inline constexpr std::array<Wave, 3> allWaves{Wave::inTheCup, Wave::nextBatch, Wave::later};

constexpr std::string_view title(Wave wave) {
    switch (wave) {
    case Wave::inTheCup:
        return "In the cup";
    case Wave::nextBatch:
        return "Next batch";
    case Wave::later:
        return "Later";
    }
    return {};
}

} // namespace ZorbelKit
