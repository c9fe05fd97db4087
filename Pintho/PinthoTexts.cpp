#include "Pintho/PinthoTexts.hpp"

#include "ZorbelKit/Utf8.hpp"

#include <cmath>

namespace Pintho {

using namespace ZorbelKit;

namespace {

constexpr std::size_t longestLine = 1'000; // bytes

std::string timesText(std::int64_t width, std::int64_t height) {
    return std::to_string(width) + " × " + std::to_string(height);
}

} // namespace

std::string lineText(std::string_view text) {
    return utf8::oneLine(utf8::prefixOfBytes(text, longestLine));
}

std::string sizeText(const WindowInfo& window) {
    return timesText(window.width, window.height);
}

std::string positionText(const WindowInfo& window) {
    return "at " + std::to_string(window.x) + ", " + std::to_string(window.y);
}

std::string sizeText(const ScreenInfo& screen) {
    std::string text = timesText(screen.width, screen.height);
    if (screen.scale == 1) {
        return text;
    }
    std::string scale = std::to_string(std::round(screen.scale * 100) / 100); // 1.250000
    scale.erase(scale.find_last_not_of('0') + 1);
    if (scale.ends_with('.')) {
        scale.pop_back();
    }
    return text + " at " + scale + "×";
}

std::string tipText(Seat seat, const SeatKeys& keys) {
    const std::string name(title(seat));
    if (keys.shortcut) {
        return name + " — " + *keys.shortcut;
    }
    return keys.areTaken() ? name + " — its keys belong to another program" : name;
}

std::string helpText(Seat seat, const SeatKeys& keys) {
    const std::string name(title(seat));
    if (keys.shortcut) {
        return name + "\n" + *keys.shortcut;
    }
    return keys.areTaken() ? name + "\nIts keys belong to another program" : name;
}

std::string descriptionText(const SeatKeys& keys, bool isLast) {
    std::string text = keys.shortcut.value_or(keys.areTaken() ? "Its keys belong to another program" : "");
    if (!isLast) {
        return text;
    }
    return text.empty() ? "Last placed here" : text + ", last placed here";
}

std::string spokenText(const Placement& placement, std::string_view timeOfDay) {
    return lineText(placement.app) + ", " + std::string(title(placement.seat)) + ", " +
           std::string(timeOfDay);
}

std::string_view symbolName(const ScreenInfo& screen) {
    return screen.hasNotch ? "laptopcomputer" : "display";
}

std::string spokenText(const ScreenInfo& screen) {
    return lineText(screen.name) + (screen.isMain ? ", main, " : ", ") + sizeText(screen);
}

} // namespace Pintho
