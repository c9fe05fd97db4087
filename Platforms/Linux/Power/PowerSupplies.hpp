#pragma once

#include "Wendrel/PropertyList.hpp"

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace Linux {

/// One pack of the machine's own. What it does not tell is none; quantities are never negative, but for those
/// of which it is said.
struct BatteryPack {
    enum class Status { unknown, charging, discharging, notCharging, full };

    Status status = Status::unknown;
    std::optional<double> energyNow = {}, energyFull = {}, energyDesign = {}; // µWh
    std::optional<double> chargeNow = {}, chargeFull = {}, chargeDesign = {}; // µAh
    std::optional<double> voltage = {};                                       // µV
    std::optional<double> nominalVoltage = {};                                // µV; more than 0
    std::optional<double> current = {}, power = {}; // µA, µW; drivers do not agree what their sign means
    std::optional<double> percent = {};             // 0–100
    std::optional<double> temperature = {};         // tenths of a degree Celsius; may be negative
    std::optional<double> cycles = {};
    std::string health = {}; // the kernel's word in UTF-8; empty where it has none
};

/// Everything that feeds the machine from outside, together.
struct MainsSupply {
    bool isKnown = false; // there is one that tells whether it is in use
    bool isOnline = false;
    double watts = 0; // the strongest adapter's; 0 where none tells

    /// Counts one more adapter that is plugged in, or not.
    void add(bool isInUse, double ratedWatts);
};

struct PowerReading {
    std::vector<BatteryPack> packs;
    MainsSupply mains;
};

/// Reads a folder like /sys/class/power_supply: one folder a supply, in it one file a value, and "uevent"
/// with all of them. What cannot be read, or is no number of its kind, counts as not there. Batteries of
/// mice, keyboards and other devices are left out, and so are bays without a battery.
PowerReading readPowerSupplies(const std::string& folder);

/// The packs of a machine as one battery.
struct MachineBattery {
    enum class Flow { none, charging, discharging };

    int packs = 0; // that it is made of
    Flow flow = Flow::none;
    bool isPluggedIn = false;
    bool hasFailed = false;                                   // for good
    std::string condition;                                    // what is wrong with it; empty where nothing is
    std::optional<std::int64_t> designCapacity, fullCapacity; // mAh
    std::optional<std::int64_t> voltage;                      // mV
    std::optional<std::int64_t> amperage;                     // mA, negative while discharging; 32 bits
    std::optional<std::int64_t> temperature;                  // hundredths of a degree Celsius, 1 or more
    std::optional<std::int64_t> cycleCount;                   // 1 or more
    std::optional<std::int64_t> adapterWatts;                 // 1 or more
    std::optional<std::int64_t> current, maximum;             // of the same unit; both or none

    // What its remaining time follows from; none where it neither takes nor gives.
    std::optional<double> toGo;  // until it is full while charging, empty while discharging: µWh or µAh
    std::optional<double> rate;  // of the same unit, an hour
    std::optional<double> power; // µW

    bool operator==(const MachineBattery&) const = default;
};

/// None where there is no pack. Packs that hold and give nothing are left out while there is another.
std::optional<MachineBattery> combined(const PowerReading& reading);

/// As BatteryRegistry and PowerSources tell of it. `minutes`: until it is full or empty.
Wendrel::PropertyList registryEntry(const MachineBattery& battery);
Wendrel::PropertyList powerSource(const MachineBattery& battery, std::optional<std::int64_t> minutes);

/// A time worth showing, in minutes; none below one minute and above two days.
std::optional<std::int64_t> shownMinutes(double minutes);

/// Works out how long a battery lasts, from what it holds and its mean power of the last few samples.
class RemainingTime {
public:
    using Moment = std::chrono::steady_clock::time_point;

    /// Takes a sample and returns the minutes until the battery is full or empty; none while they cannot be
    /// told: the first minute after it began to charge or discharge, a battery that is hardly used.
    std::optional<std::int64_t> minutes(const MachineBattery& battery, Moment now);

private:
    struct Sample {
        double rate = 0;
        std::optional<double> power;
    };

    void follow(MachineBattery::Flow flow, Moment now);

    std::deque<Sample> samples_; // of one flow, the oldest first
    std::optional<MachineBattery::Flow> flow_;
    Moment settledFrom_{};
    Moment last_{};
};

} // namespace Linux
