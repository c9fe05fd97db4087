#include "Hushel/HushelTexts.hpp"

#include "Hushel/Session.hpp"
#include "ZorbelKit/Utf8.hpp"

#include <algorithm>
#include <cmath>

namespace Hushel {

using namespace ZorbelKit;

namespace {

constexpr std::size_t longestName = 512; // bytes; no row is that wide
constexpr std::size_t mostOutOfReach = 3;
constexpr double mostSeconds = 1e15; // still exact to the second
constexpr Seconds second{1.0};

std::string lineText(std::string_view text) {
    return utf8::oneLine(utf8::prefixOfBytes(text, longestName));
}

} // namespace

std::string clockText(Seconds remaining) {
    const double shown = std::clamp(remaining.count(), 0.0, mostSeconds);
    const auto whole = static_cast<std::int64_t>(shown);
    const std::int64_t rest = whole % 60;
    return std::to_string(whole / 60) + (rest < 10 ? ":0" : ":") + std::to_string(rest);
}

Seconds atLastSecond(Seconds remaining) {
    return Seconds(std::ceil(remaining.count()));
}

Seconds untilNextSecond(Seconds remaining) {
    return remaining - atLastSecond(remaining) + second;
}

std::string startText(std::int64_t minutes) {
    return "Start " + std::to_string(minutes) + "m session";
}

std::string endText(std::string_view timeOfDay) {
    return "Ends at " + std::string(timeOfDay);
}

std::string interruptionText(std::int64_t interruptions) {
    if (interruptions < 1) {
        return {};
    }
    return std::to_string(interruptions) + (interruptions == 1 ? " time" : " times") +
           " you reached for something";
}

std::string nameText(const Blocked& application) {
    const std::string name = lineText(application.name);
    return name.empty() ? lineText(application.bundleID) : name;
}

std::string outOfReachText(const std::vector<std::string>& names) {
    std::string text;
    for (std::size_t index = 0; index < std::min(names.size(), mostOutOfReach); ++index) {
        text += (index == 0 ? "" : "\n") + lineText(names[index]) + " cannot be hidden here.";
    }
    return text;
}

} // namespace Hushel
