#include "Wendrel/WendrelTexts.hpp"

#include "ZorbelKit/Geometry.hpp"
#include "ZorbelKit/Percent.hpp"
#include "ZorbelKit/Utf8.hpp"

#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace Wendrel {

using namespace ZorbelKit;

namespace {

constexpr double mostShown = 9.99;
constexpr std::size_t longestLine = 1'000; // bytes

/// With so many digits after a point, whatever the user's language writes there.
std::string decimalText(double value, int digits) {
    std::array<char, std::numeric_limits<double>::max_exponent10 + 16> text{};
    const auto end =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, digits).ptr;
    return {text.data(), end};
}

} // namespace

double shownFraction(double fraction) {
    return clamped(fraction, -mostShown, mostShown);
}

std::string shareText(double fraction) {
    return percentText(shownFraction(fraction));
}

std::string_view stateText(const Charge& charge) {
    if (charge.isCharging) {
        return "Charging";
    }
    return charge.isPluggedIn ? "Plugged in" : "On battery";
}

std::string remainingText(const Charge& charge) {
    if (!charge.minutesRemaining) {
        return "Calculating";
    }
    const std::int64_t minutes = *charge.minutesRemaining;
    if (minutes < 60) {
        return std::to_string(minutes) + " m";
    }
    return std::to_string(minutes / 60) + " h " + std::to_string(minutes % 60) + " m";
}

std::string powerText(const Charge& charge) {
    return decimalText(std::abs(charge.watts()), 2);
}

std::string temperatureText(const Charge& charge) {
    return decimalText(charge.temperature, 1);
}

std::string capacityText(const Charge& charge) {
    return std::to_string(charge.maxCapacity) + " of " + std::to_string(charge.designCapacity) + " mAh";
}

std::string_view verdictText(const Charge& charge) {
    return charge.isHealthy() ? "Nothing to do" : "Worth a look";
}

std::string samplesText(std::size_t count) {
    return std::to_string(count) + " samples";
}

std::string conditionText(const Charge& charge) {
    return utf8::oneLine(utf8::prefixOfBytes(charge.condition, longestLine));
}

Extra extra(const Charge& charge) {
    if (charge.temperature > 0) {
        return Extra::temperature;
    }
    return charge.adapterWatts ? Extra::adapter : Extra::none;
}

} // namespace Wendrel
