#pragma once

#include "Wendrel/PropertyList.hpp"

#include <optional>
#include <vector>

namespace Wendrel {

/// What the machine runs on, as the system describes it: one list a source. Keys, all of them optional:
///
///     "Type"                                    "InternalBattery" for the machine's own
///     "Current Capacity", "Max Capacity"        of the same unit
///     "Is Charging"                             a Boolean
///     "Power Source State"                      "AC Power" on mains
///     "Time to Empty", "Time to Full Charge"    minutes; less than 1: unknown
///     "BatteryHealthCondition"                  a text
///
/// Main thread only; short.
class PowerSources {
public:
    virtual ~PowerSources() = default;

    /// None where the system does not tell.
    virtual std::optional<std::vector<PropertyList>> sources() = 0;
};

} // namespace Wendrel
