#include "Platforms/Linux/Windows/WindowShape.hpp"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace Linux {

namespace {

constexpr std::uint32_t widestEdge = 1024; // pixels; nobody draws such a frame

// Bits of the first number of WM_NORMAL_HINTS, and where the numbers are that they speak of.
constexpr std::uint32_t hasLeast = 1U << 4;
constexpr std::uint32_t hasMost = 1U << 5;
constexpr std::uint32_t hasStep = 1U << 6;
constexpr std::uint32_t hasAspect = 1U << 7;
constexpr std::uint32_t hasBase = 1U << 8;
constexpr std::size_t leastAt = 5;
constexpr std::size_t mostAt = 7;
constexpr std::size_t stepAt = 9;
constexpr std::size_t baseAt = 15;

Lengths lengths(std::span<const std::uint32_t> numbers, std::size_t axis) {
    constexpr Lengths any;
    const auto number = [&](std::uint32_t bit, std::size_t place, std::int32_t otherwise) {
        const bool isThere = (numbers[0] & bit) != 0 && place + axis < numbers.size();
        const auto value = isThere ? static_cast<std::int32_t>(numbers[place + axis]) : otherwise;
        return value >= 0 && value <= any.most ? value : otherwise;
    };
    Lengths result;
    result.least = std::max(number(hasLeast, leastAt, any.least), any.least);
    result.most = std::max(number(hasMost, mostAt, any.most), result.least);
    result.step = std::max(number(hasStep, stepAt, any.step), any.step);
    // Where one of the two is missing, the other one stands for it.
    result.base = number(hasBase, baseAt, number(hasLeast, leastAt, any.base));
    if (!(numbers[0] & hasLeast)) {
        result.least = std::max(result.base, any.least);
    }
    result.most = std::max(result.most, result.least);
    return result;
}

} // namespace

std::int32_t Lengths::nearest(std::int32_t wanted) const {
    const std::int32_t upper = std::min(wanted, most);
    const std::int32_t stepped = upper < base ? upper : base + (upper - base) / step * step;
    return std::max(stepped, least);
}

Edges edges(std::span<const std::uint32_t> numbers) {
    const bool isSense =
        numbers.size() == 4 && std::ranges::all_of(numbers, [](auto edge) { return edge <= widestEdge; });
    if (!isSense) {
        return {};
    }
    const auto edge = [&](std::size_t index) { return static_cast<std::int32_t>(numbers[index]); };
    return {edge(0), edge(1), edge(2), edge(3)};
}

Edges edgesAround(const PixelRect& inner, const PixelRect& outer) {
    const auto edge = [](std::int32_t width) { return static_cast<std::uint32_t>(width); };
    const std::array numbers{edge(inner.x - outer.x), edge(outer.x + outer.width - inner.x - inner.width),
                             edge(inner.y - outer.y), edge(outer.y + outer.height - inner.y - inner.height)};
    return edges(numbers);
}

SizeHints sizeHints(std::span<const std::uint32_t> numbers) {
    if (numbers.empty()) {
        return {};
    }
    return {lengths(numbers, 0), lengths(numbers, 1), numbers.size() >= baseAt && (numbers[0] & hasAspect)};
}

PixelRect visibleRect(const WindowShape& shape) {
    const auto& client = shape.client;
    const auto& frame = shape.frame;
    const auto& shadow = shape.shadow;
    return {client.x - frame.left + shadow.left, client.y - frame.top + shadow.top,
            std::max(client.width + frame.left + frame.right - shadow.left - shadow.right, 1),
            std::max(client.height + frame.top + frame.bottom - shadow.top - shadow.bottom, 1)};
}

PixelRect placement(const PixelRect& visible, const WindowShape& shape) {
    const auto& frame = shape.frame;
    const auto& shadow = shape.shadow;
    const auto& hints = shape.hints;
    const std::int32_t inward = shape.isFrameTold ? 0 : frame.left - shape.border;
    const std::int32_t downward = shape.isFrameTold ? 0 : frame.top - shape.border;
    return {visible.x - shadow.left + inward, visible.y - shadow.top + downward,
            hints.width.nearest(visible.width - frame.left - frame.right + shadow.left + shadow.right),
            hints.height.nearest(visible.height - frame.top - frame.bottom + shadow.top + shadow.bottom)};
}

PixelRect placed(const PixelRect& visible, const WindowShape& shape) {
    const PixelRect place = placement(visible, shape);
    WindowShape after = shape;
    after.client.width = place.width;
    after.client.height = place.height;
    const PixelRect seen = visibleRect(after);
    return {visible.x, visible.y, seen.width, seen.height};
}

bool isSettled(const PixelRect& visible, const WindowShape& shape) {
    const PixelRect seen = visibleRect(shape);
    if (seen.x != visible.x || seen.y != visible.y) {
        return false;
    }
    const PixelRect best = placement(visible, shape);
    const bool isNear = std::abs(shape.client.width - best.width) < shape.hints.width.step &&
                        std::abs(shape.client.height - best.height) < shape.hints.height.step;
    return isNear || shape.hints.hasAspect;
}

} // namespace Linux
