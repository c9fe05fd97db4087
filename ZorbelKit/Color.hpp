#pragma once

#include <cstdint>

namespace ZorbelKit {

/// A colour in sRGB; components and opacity are fractions from 0 to 1.
struct Color {
    double red = 0;
    double green = 0;
    double blue = 0;
    double opacity = 1;

    /// From 24 bits: red in bits 16 to 23, green in 8 to 15, blue in 0 to 7; opaque.
    static constexpr Color hex(std::uint32_t bits) {
        return {static_cast<double>((bits >> 16) & 0xFF) / 255, static_cast<double>((bits >> 8) & 0xFF) / 255,
                static_cast<double>(bits & 0xFF) / 255, 1};
    }

    constexpr Color withOpacity(double fraction) const { return {red, green, blue, fraction}; }

    /// This one with so much of another laid over it: nothing at 0, all at 1.
    constexpr Color mixedWith(const Color& other, double share) const {
        const auto mix = [share](double from, double to) { return from + (to - from) * share; };
        return {mix(red, other.red), mix(green, other.green), mix(blue, other.blue),
                mix(opacity, other.opacity)};
    }

    bool operator==(const Color&) const = default;
};

} // namespace ZorbelKit
