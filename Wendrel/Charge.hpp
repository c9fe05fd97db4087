#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace Wendrel {

/// One reading of the battery.
struct Charge {
    double percent = 0; // a fraction, 0 to 1
    bool isCharging = false;
    bool isPluggedIn = false;
    std::optional<std::int64_t> minutesRemaining{}; // to full when charging, else to empty; none: not known
    std::int64_t cycleCount = 0;
    std::int64_t designCapacity = 0; // mAh
    std::int64_t maxCapacity = 0;    // mAh, now
    std::string condition = "Normal";
    double voltage = 0;                         // volts
    double amperage = 0;                        // amperes; negative while discharging
    double temperature = 0;                     // degrees Celsius
    std::optional<std::int64_t> adapterWatts{}; // rated

    double watts() const { return voltage * amperage; } // negative while discharging
    double health() const;                              // of the design, at most 1; 0 where that is unknown
    bool isHealthy() const;
    bool isLow() const; // drawn on, and less than a fifth left

    bool operator==(const Charge&) const = default;
};

} // namespace Wendrel
