#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

namespace Linux {

/// Pixels of the X screen, y downwards.
struct PixelRect {
    std::int32_t x = 0;
    std::int32_t y = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
    bool operator==(const PixelRect&) const = default;
};

/// What two rectangles have in common; none where that is nothing.
std::optional<PixelRect> overlap(const PixelRect& one, const PixelRect& other);

/// What a panel keeps clear of windows (_NET_WM_STRUT_PARTIAL): thickness from the left, right, top and
/// bottom edge of the whole X screen, then where along each edge it begins and ends, both inclusive.
using Strut = std::array<std::uint32_t, 12>;

/// A strut as a property holds it: twelve numbers, or four for whole edges (_NET_WM_STRUT). None where there
/// are other numbers of them, or nothing is kept clear.
std::optional<Strut> strut(std::span<const std::uint32_t> numbers);

/// A monitor less what the struts take of it. One on an inner edge takes from its own monitor only; one that
/// would take half a monitor or more is ignored there.
PixelRect usableArea(const PixelRect& monitor, const PixelRect& screen, std::span<const Strut> struts);

} // namespace Linux
