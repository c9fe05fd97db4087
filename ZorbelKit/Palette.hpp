#pragma once

#include "ZorbelKit/Color.hpp"

#include <array>
#include <string_view>

namespace ZorbelKit {

/// The suite's colours and corner radii (in points). Views take every colour from here.
inline namespace Palette {

inline constexpr Color stall = Color::hex(0x140F09);      // the dashboard's ground
inline constexpr Color kettle = Color::hex(0x1E170F);     // the panel's ground, cards
inline constexpr Color kettleHi = Color::hex(0x2A2016);   // raised cards, the selected row
inline constexpr Color rim = Color::hex(0x453322);        // rules, borders, empty tracks
inline constexpr Color brass = Color::hex(0xC4661A);      // primary action, gauges
inline constexpr Color brassDim = Color::hex(0xA05000);   // primary action, pressed
inline constexpr Color chai = Color::hex(0x6E3200);       // deep accents
inline constexpr Color malai = Color::hex(0xD2B4A0);      // primary text
inline constexpr Color malaiDim = Color::hex(0xA0785A);   // secondary text
inline constexpr Color malaiFaint = Color::hex(0x7E6A57); // tertiary text
inline constexpr Color slate = Color::hex(0x939DB0);      // cool figures
inline constexpr Color mist = Color::hex(0xB4C8D2);       // cool highlights

// States of the kit's own controls.
inline constexpr Color brassHi = Color::hex(0xD2742A);    // primary action, under the pointer
inline constexpr Color kettlePeak = Color::hex(0x382A1C); // secondary action, under the pointer
inline constexpr Color cream = Color::hex(0xF3E6DA);      // the knob of a switch that is on

inline constexpr double radiusControl = 8;
inline constexpr double radiusPanel = 12;
inline constexpr double radiusWindow = 16;

struct SpiceColour {
    std::string_view id;
    Color colour;
};

inline constexpr std::array<SpiceColour, 10> spiceColours{{
    {"sivrel", Color::hex(0xC9A06A)},
    {"mordan", Color::hex(0x7A9A46)},
    {"pintho", Color::hex(0xA15F3A)},
    {"rusket", Color::hex(0x939DB0)},
    {"wendrel", Color::hex(0xC98A2E)},
    {"duvesk", Color::hex(0xA9B863)},
    {"fotrel", Color::hex(0xD2542A)},
    {"hushel", Color::hex(0x5A7832)},
    {"tonvik", Color::hex(0x82B400)},
    {"ledgra", Color::hex(0xC08658)},
}};

/// The accent of the spice with this id; `brass` for an id without one.
constexpr Color spiceColour(std::string_view id) {
    for (const auto& entry : spiceColours) {
        if (entry.id == id) {
            return entry.colour;
        }
    }
    return brass;
}

} // namespace Palette
} // namespace ZorbelKit
