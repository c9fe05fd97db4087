#include "Pintho/Seat.hpp"

#include <cstddef>

namespace Pintho {

namespace {

struct Row {
    Seat seat;
    std::string_view rawValue;
    std::string_view title;
    std::string_view key;
    SeatShare share;
};

constexpr std::array<Row, 10> rows{{
    {Seat::left, "left", "Left half", "Left", {0, 0, 0.5, 1}},
    {Seat::right, "right", "Right half", "Right", {0.5, 0, 0.5, 1}},
    {Seat::top, "top", "Top half", "Up", {0, 0, 1, 0.5}},
    {Seat::bottom, "bottom", "Bottom half", "Down", {0, 0.5, 1, 0.5}},
    {Seat::topLeft, "topLeft", "Top left", "U", {0, 0, 0.5, 0.5}},
    {Seat::topRight, "topRight", "Top right", "I", {0.5, 0, 0.5, 0.5}},
    {Seat::bottomLeft, "bottomLeft", "Bottom left", "J", {0, 0.5, 0.5, 0.5}},
    {Seat::bottomRight, "bottomRight", "Bottom right", "K", {0.5, 0.5, 0.5, 0.5}},
    {Seat::centre, "centre", "Centre", "C", {0.15, 0.1, 0.7, 0.8}},
    {Seat::full, "full", "Fill", "Return", {0, 0, 1, 1}},
}};

constexpr bool isInOrder() {
    for (std::size_t index = 0; index < rows.size(); ++index) {
        if (rows[index].seat != allSeats[index] || static_cast<std::size_t>(allSeats[index]) != index) {
            return false;
        }
    }
    return true;
}
static_assert(isInOrder());

const Row& row(Seat seat) {
    return rows.at(static_cast<std::size_t>(seat));
}

} // namespace

std::string_view rawValue(Seat seat) {
    return row(seat).rawValue;
}

std::string_view title(Seat seat) {
    return row(seat).title;
}

std::string_view key(Seat seat) {
    return row(seat).key;
}

SeatShare share(Seat seat) {
    return row(seat).share;
}

} // namespace Pintho
