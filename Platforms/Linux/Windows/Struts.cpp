#include "Platforms/Linux/Windows/Struts.hpp"

#include <algorithm>
#include <limits>

namespace Linux {

namespace {

using Number = std::int64_t; // holds every sum of what a strut and a screen can say

/// From `begin` to before `end`, along one axis of the X screen.
struct Stretch {
    Number begin = 0;
    Number end = 0;

    Number length() const { return std::max<Number>(end - begin, 0); }
};

Stretch common(const Stretch& one, const Stretch& other) {
    return {std::max(one.begin, other.begin), std::min(one.end, other.end)};
}

Stretch across(const PixelRect& rect) {
    return {rect.x, Number{rect.x} + rect.width};
}

Stretch down(const PixelRect& rect) {
    return {rect.y, Number{rect.y} + rect.height};
}

enum class Edge : std::size_t { left, right, top, bottom };

/// Between an edge of the X screen and so far into it.
Stretch depth(Edge edge, Number thickness, const PixelRect& screen) {
    switch (edge) {
    case Edge::left:
        return {across(screen).begin, across(screen).begin + thickness};
    case Edge::right:
        return {across(screen).end - thickness, across(screen).end};
    case Edge::top:
        return {down(screen).begin, down(screen).begin + thickness};
    case Edge::bottom:
        break;
    }
    return {down(screen).end - thickness, down(screen).end};
}

/// How much of a monitor this side of a strut takes, from the monitor's own edge.
Number taken(Edge edge, const Strut& strut, const PixelRect& monitor, const PixelRect& screen) {
    const bool isUpright = edge == Edge::left || edge == Edge::right;
    const auto side = static_cast<std::size_t>(edge);
    const Stretch along{strut[4 + 2 * side], Number{strut[5 + 2 * side]} + 1};
    const Stretch inward = isUpright ? across(monitor) : down(monitor);
    const Stretch alongMonitor = isUpright ? down(monitor) : across(monitor);
    const Number thickness = common(depth(edge, strut[side], screen), inward).length();
    const bool isBeside = common(along, alongMonitor).length() == 0;
    const bool isTooMuch = 2 * thickness >= inward.length();
    return isBeside || isTooMuch ? 0 : thickness;
}

} // namespace

std::optional<PixelRect> overlap(const PixelRect& one, const PixelRect& other) {
    const Stretch width = common(across(one), across(other));
    const Stretch height = common(down(one), down(other));
    if (width.length() == 0 || height.length() == 0) {
        return std::nullopt;
    }
    return PixelRect{static_cast<std::int32_t>(width.begin), static_cast<std::int32_t>(height.begin),
                     static_cast<std::int32_t>(width.length()), static_cast<std::int32_t>(height.length())};
}

std::optional<Strut> strut(std::span<const std::uint32_t> numbers) {
    constexpr std::uint32_t end = std::numeric_limits<std::uint32_t>::max();
    Strut result{0, 0, 0, 0, 0, end, 0, end, 0, end, 0, end};
    if (numbers.size() != 4 && numbers.size() != result.size()) {
        return std::nullopt;
    }
    std::ranges::copy(numbers, result.begin());
    const bool isEmpty = std::all_of(result.begin(), result.begin() + 4, [](auto side) { return side == 0; });
    return isEmpty ? std::nullopt : std::optional(result);
}

PixelRect usableArea(const PixelRect& monitor, const PixelRect& screen, std::span<const Strut> struts) {
    const auto most = [&](Edge edge) {
        Number thickness = 0;
        for (const Strut& strut : struts) {
            thickness = std::max(thickness, taken(edge, strut, monitor, screen));
        }
        return static_cast<std::int32_t>(thickness);
    };
    const std::int32_t left = most(Edge::left);
    const std::int32_t top = most(Edge::top);
    return {monitor.x + left, monitor.y + top, monitor.width - left - most(Edge::right),
            monitor.height - top - most(Edge::bottom)};
}

} // namespace Linux
