#include "Wendrel/BatteryReader.hpp"

#include "Wendrel/BatteryRegistry.hpp"
#include "Wendrel/PowerSources.hpp"

#include <algorithm>

namespace Wendrel {

namespace {

/// Stored unsigned in 32 bits: what lies in their upper half is negative.
std::int64_t signedAmperage(std::int64_t raw) {
    constexpr std::int64_t upperHalf = 2'147'483'648;
    constexpr std::int64_t span = 4'294'967'296;
    return raw >= upperHalf ? raw - span : raw;
}

std::optional<std::int64_t> atLeastOne(std::optional<std::int64_t> number) {
    return number && *number >= 1 ? number : std::nullopt;
}

} // namespace

std::optional<Charge> BatteryReader::read() const {
    Charge charge;
    if (!readSmartBattery(charge) && !readPowerSources(charge)) {
        return std::nullopt;
    }
    readPowerSources(charge); // its word holds, also over what the battery has just told
    return charge;
}

bool BatteryReader::readSmartBattery(Charge& charge) const {
    const auto properties = registry_.properties();
    if (!properties) {
        return false;
    }
    const PropertyList* data = properties->list("BatteryData");
    const auto number = [&](std::string_view name) {
        const auto value = properties->integer(name);
        return value || !data ? value : data->integer(name);
    };
    charge.cycleCount = number("CycleCount").value_or(0);
    charge.designCapacity = number("DesignCapacity").value_or(0);
    if (const auto nominal = number("NominalChargeCapacity")) {
        charge.maxCapacity = *nominal;
    } else if (const auto full = number("FullChargeCapacity")) {
        charge.maxCapacity = *full;
    } else {
        // Last, for on some machines it is a percentage.
        charge.maxCapacity = charge.designCapacity >= 1 ? properties->integer("MaxCapacity").value_or(0) : 0;
    }

    if (const auto millivolts = properties->integer("Voltage")) {
        charge.voltage = static_cast<double>(*millivolts) / 1000;
    }
    if (const auto raw = properties->integer("Amperage")) {
        charge.amperage = static_cast<double>(signedAmperage(*raw)) / 1000;
    }
    if (const auto hundredths = atLeastOne(properties->integer("Temperature"))) {
        charge.temperature = static_cast<double>(*hundredths) / 100;
    }
    if (const PropertyList* adapter = properties->list("AdapterDetails")) {
        charge.adapterWatts = atLeastOne(adapter->integer("Watts"));
    }
    if (properties->integer("PermanentFailureStatus").value_or(0) != 0) {
        charge.condition = "Service Recommended";
    }
    return true;
}

bool BatteryReader::readPowerSources(Charge& charge) const {
    const auto sources = sources_.sources();
    if (!sources) {
        return false;
    }
    const auto battery = std::ranges::find_if(
        *sources, [](const PropertyList& source) { return source.text("Type") == "InternalBattery"; });
    if (battery == sources->end()) {
        return false;
    }
    const auto current = battery->integer("Current Capacity");
    const auto most = atLeastOne(battery->integer("Max Capacity"));
    if (current && most) {
        charge.percent = static_cast<double>(*current) / static_cast<double>(*most);
    }
    charge.isCharging = battery->boolean("Is Charging").value_or(false);
    charge.isPluggedIn = battery->text("Power Source State") == "AC Power";
    charge.minutesRemaining =
        atLeastOne(battery->integer(charge.isCharging ? "Time to Full Charge" : "Time to Empty"));
    if (auto condition = battery->text("BatteryHealthCondition"); condition && !condition->empty()) {
        charge.condition = *std::move(condition);
    }
    return true;
}

} // namespace Wendrel
