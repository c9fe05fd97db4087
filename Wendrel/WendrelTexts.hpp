#pragma once

#include "Wendrel/Charge.hpp"

#include <cstddef>
#include <string>
#include <string_view>

namespace Wendrel {

/// A fraction as it can be written: what a broken battery reports ends at 999 percent either way.
double shownFraction(double fraction);

/// A fraction in percent, truncated toward zero: "87%".
std::string shareText(double fraction);

std::string_view stateText(const Charge& charge);   // "Charging", "Plugged in", "On battery"
std::string remainingText(const Charge& charge);    // "2 h 5 m", "59 m", "Calculating"
std::string powerText(const Charge& charge);        // watts without their sign, "12.34"
std::string temperatureText(const Charge& charge);  // degrees Celsius, "31.5"
std::string capacityText(const Charge& charge);     // "4382 of 5103 mAh"
std::string_view verdictText(const Charge& charge); // "Nothing to do", "Worth a look"
std::string samplesText(std::size_t count);         // "240 samples"

/// The condition as one line; what is longer than anyone reads is cut off.
std::string conditionText(const Charge& charge);

/// What a page tells besides, where it knows it.
enum class Extra { none, temperature, adapter };

Extra extra(const Charge& charge);

} // namespace Wendrel
