#include "Sivrel/SivrelTexts.hpp"

#include "ZorbelKit/Checked.hpp"

#include <algorithm>

namespace Sivrel {

namespace {

constexpr std::int64_t oftenFrom = 8;        // reveals in a day
constexpr double longestShown = 999'999'999; // seconds; what a tile has room for
constexpr const char* never = "Never";

std::int64_t wholeSeconds(double seconds) {
    return checked::toInt64(std::min(seconds, longestShown));
}

} // namespace

std::string statusLine(bool isCollapsed) {
    return isCollapsed ? "Hidden items are off the bar." : "Hidden items are showing.";
}

std::string menuAction(bool isCollapsed) {
    return isCollapsed ? "Show hidden items" : "Hide items";
}

std::string panelAction(bool isCollapsed) {
    return isCollapsed ? "Show" : "Hide";
}

std::string revealsCaption(std::int64_t revealsToday) {
    return revealsToday >= oftenFrom ? "Often — maybe move one out" : "How often you went looking";
}

std::string hidesAfterText(double seconds) {
    return seconds > 0 ? std::to_string(wholeSeconds(seconds)) + "s" : never;
}

std::string delayText(double seconds) {
    if (!(seconds > 0)) {
        return never;
    }
    const std::int64_t whole = wholeSeconds(seconds);
    return std::to_string(whole) + (whole == 1 ? " second" : " seconds");
}

std::string barNote(bool pushesOthers, std::optional<bool> usesOwnBar) {
    if (!pushesOthers) {
        return "This desktop's own tray decides about its icons, so Sivrel cannot hide any there.";
    }
    if (usesOwnBar == true) {
        return "Icons show in both places now. The desktop panel's settings can take its tray away.";
    }
    return {};
}

} // namespace Sivrel
