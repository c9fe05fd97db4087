#include "ZorbelKit/ByteCount.hpp"

namespace ZorbelKit {

namespace {

struct Unit {
    std::uint64_t bytes;
    int fractionDigits;
    const char* name;
};

/// `bytes` in `unit`, rounded half to even, in steps of the unit's last fraction digit. Whole numbers
/// throughout, so that no size is spoiled by binary fractions.
std::string figure(std::uint64_t bytes, const Unit& unit, char decimalMark, bool& isWholeZero) {
    std::uint64_t scale = 1;
    for (int digit = 0; digit < unit.fractionDigits; ++digit) {
        scale *= 10;
    }
    // Whole units and the rest apart: the rest times the scale cannot overflow.
    const std::uint64_t scaledRest = bytes % unit.bytes * scale;
    std::uint64_t steps = bytes / unit.bytes * scale + scaledRest / unit.bytes;
    const std::uint64_t remainder = scaledRest % unit.bytes;
    const std::uint64_t half = unit.bytes / 2; // both units are even
    if (remainder > half || (remainder == half && steps % 2 == 1)) {
        ++steps;
    }
    isWholeZero = steps == 0;
    std::string text = std::to_string(steps / scale);
    std::string fraction = std::to_string(scale + steps % scale).substr(1);
    while (!fraction.empty() && fraction.back() == '0') {
        fraction.pop_back();
    }
    return fraction.empty() ? text : text + decimalMark + fraction;
}

std::string text(std::uint64_t magnitude, bool isNegative, CountStyle style, char decimalMark) {
    if (magnitude == 0) {
        return "Zero MB";
    }
    const std::uint64_t kilo = style == CountStyle::file ? 1000 : 1024;
    const Unit megabyte{kilo * kilo, 1, " MB"};
    const Unit gigabyte{kilo * kilo * kilo, 2, " GB"};
    const Unit& unit = magnitude >= gigabyte.bytes ? gigabyte : megabyte;
    bool isWholeZero = false;
    const std::string amount = figure(magnitude, unit, decimalMark, isWholeZero);
    return (isNegative && !isWholeZero ? "-" : "") + amount + unit.name;
}

} // namespace

std::string byteCountText(std::int64_t bytes, CountStyle style, char decimalMark) {
    const bool isNegative = bytes < 0;
    const auto pattern = static_cast<std::uint64_t>(bytes);
    return text(isNegative ? ~pattern + 1 : pattern, isNegative, style, decimalMark);
}

std::string byteCountText(std::uint64_t bytes, CountStyle style, char decimalMark) {
    return text(bytes, false, style, decimalMark);
}

} // namespace ZorbelKit
