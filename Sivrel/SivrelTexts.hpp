#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace Sivrel {

std::string statusLine(bool isCollapsed);

/// What the button of the menu panel does, and the one of the dashboard.
std::string menuAction(bool isCollapsed);
std::string panelAction(bool isCollapsed);

/// Suggests to move an icon out when they were looked for often.
std::string revealsCaption(std::int64_t revealsToday);

/// A delay in seconds, cut to whole ones, "8s"; "Never" where it is not greater than 0. Years on end read as
/// the longest delay that is shown.
std::string hidesAfterText(double seconds);

/// The same in words, "8 seconds".
std::string delayText(double seconds);

/// What the user should know about the bar the icons are in; empty where there is nothing to say.
/// `usesOwnBar`: see StatusBar.
std::string barNote(bool pushesOthers, std::optional<bool> usesOwnBar);

} // namespace Sivrel
