#pragma once

#include "ZorbelKit/Geometry.hpp"

#include <array>
#include <string_view>

namespace Pintho {

/// A fixed position for a window on a screen.
enum class Seat { left, right, top, bottom, topLeft, topRight, bottomLeft, bottomRight, centre, full };

/// All of them, in the order of their buttons.
inline constexpr std::array<Seat, 10> allSeats{
    Seat::left,     Seat::right,      Seat::top,         Seat::bottom, Seat::topLeft,
    Seat::topRight, Seat::bottomLeft, Seat::bottomRight, Seat::centre, Seat::full};

/// A part of a screen's visible frame, as fractions of it; y is counted from the top.
struct SeatShare {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    bool operator==(const SeatShare&) const = default;
};

std::string_view rawValue(Seat seat); // "topLeft"
std::string_view title(Seat seat);    // "Top left"
std::string_view key(Seat seat);      // that places a window there, with Control and Alt: "Left", "U"
SeatShare share(Seat seat);

} // namespace Pintho
