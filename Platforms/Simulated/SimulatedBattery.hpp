#pragma once

#include "Wendrel/BatteryRegistry.hpp"
#include "Wendrel/PowerSources.hpp"

namespace Simulated {

/// A battery that tests write into.
class SimulatedBatteryRegistry : public Wendrel::BatteryRegistry {
public:
    std::optional<Wendrel::PropertyList> properties() override {
        ++reads;
        return battery;
    }

    std::optional<Wendrel::PropertyList> battery;
    int reads = 0;
};

class SimulatedPowerSources : public Wendrel::PowerSources {
public:
    std::optional<std::vector<Wendrel::PropertyList>> sources() override { return all; }

    std::optional<std::vector<Wendrel::PropertyList>> all;
};

} // namespace Simulated
