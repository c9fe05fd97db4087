#pragma once

#include "Wendrel/PropertyList.hpp"

#include <optional>

namespace Wendrel {

/// What the machine's battery reports of itself. Keys, all of them optional:
///
///     "DesignCapacity", "NominalChargeCapacity", "FullChargeCapacity", "MaxCapacity"   mAh
///     "CycleCount"
///     "Voltage"                                      mV
///     "Amperage"                                     mA, negative while discharging; 32 bits, stored
///     unsigned "Temperature"                                  hundredths of a degree Celsius
///     "AdapterDetails"                               a list: "Watts"
///     "PermanentFailureStatus"                       not 0: it has failed for good
///     "BatteryData"                                  a list: the first group and "CycleCount" once more
///
/// Main thread only; short.
class BatteryRegistry {
public:
    virtual ~BatteryRegistry() = default;

    /// None where the machine has no battery, or it cannot be read now.
    virtual std::optional<PropertyList> properties() = 0;
};

} // namespace Wendrel
