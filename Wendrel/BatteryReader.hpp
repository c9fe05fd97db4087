#pragma once

#include "Wendrel/Charge.hpp"

#include <optional>

namespace Wendrel {

class BatteryRegistry;
class PowerSources;

/// Puts a reading together from what the battery and the system tell; where both tell the same, the system's
/// word holds. Main thread only.
class BatteryReader {
public:
    BatteryReader(BatteryRegistry& registry, PowerSources& sources)
        : registry_(registry)
        , sources_(sources) {}

    /// None where the machine shows no battery.
    std::optional<Charge> read() const;

private:
    bool readSmartBattery(Charge& charge) const;
    bool readPowerSources(Charge& charge) const;

    BatteryRegistry& registry_;
    PowerSources& sources_;
};

} // namespace Wendrel
