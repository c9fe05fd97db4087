#pragma once

#include "Pintho/Pintho.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace Pintho {

/// A name or a title as one line: runs of white space, line ends and control characters become one space
/// each, and what is longer than anyone reads is cut off.
std::string lineText(std::string_view text);

std::string sizeText(const WindowInfo& window);     // "640 × 480"
std::string positionText(const WindowInfo& window); // "at 100, 200"
std::string sizeText(const ScreenInfo& screen);     // "1920 × 1080", or "1920 × 1080 at 2×"

/// The keys that place a window there. A spice that is off has none, and says nothing about them; one that
/// is on may find them taken.
struct SeatKeys {
    bool isOn = false;
    std::optional<std::string> shortcut; // "Ctrl+Alt+Left"

    bool areTaken() const { return isOn && !shortcut; }
    bool operator==(const SeatKeys&) const = default;
};

/// A seat and its keys on one line: "Left half — Ctrl+Alt+Left".
std::string tipText(Seat seat, const SeatKeys& keys);

/// The same on two lines.
std::string helpText(Seat seat, const SeatKeys& keys);

/// What a screen reader adds to a seat's title: "Ctrl+Alt+Left, last placed here".
std::string descriptionText(const SeatKeys& keys, bool isLast);

/// What a screen reader says of a placement: "Editor, Left half, 14:02".
std::string spokenText(const Placement& placement, std::string_view timeOfDay);

/// The symbol that stands for a screen, by its name among the program's drawings.
std::string_view symbolName(const ScreenInfo& screen);

/// What a screen reader says of a screen: "Built-in display, main, 1512 × 982 at 2×".
std::string spokenText(const ScreenInfo& screen);

} // namespace Pintho
