#include "Platforms/Linux/Power/LinuxBattery.hpp"

#include "Platforms/Linux/Power/PowerSupplies.hpp"
#include "Platforms/Linux/Power/UPower.hpp"

#include <chrono>
#include <string>
#include <utility>

namespace Linux {

namespace {

// The questions of one sample come together: they are answered from one look at the machine.
constexpr std::chrono::milliseconds freshness{500};

} // namespace

class LinuxBattery::Battery {
public:
    struct Reading {
        std::optional<MachineBattery> battery;
        std::optional<std::int64_t> minutes;
    };

    Battery(ZorbelKit::MainLoop& loop, std::string supplies)
        : supplies_(std::move(supplies))
        , upower_(loop) {}

    const Reading& reading() {
        const auto now = std::chrono::steady_clock::now();
        if (!taken_ || now - *taken_ >= freshness) {
            taken_ = now;
            take();
        }
        return reading_;
    }

private:
    void take() {
        upower_.ask();
        reading_.battery = combined(readPowerSupplies(supplies_));
        if (!reading_.battery) {
            reading_.battery = combined(upower_.reading());
        }
        reading_.minutes = reading_.battery ? minutes(*reading_.battery) : std::nullopt;
    }

    std::optional<std::int64_t> minutes(const MachineBattery& battery) {
        const auto own = time_.minutes(battery, *taken_);
        const auto told = battery.packs == 1 ? upower_.minutes(battery.flow) : std::nullopt;
        return told ? told : own;
    }

    const std::string supplies_;
    UPower upower_;
    RemainingTime time_;
    std::optional<std::chrono::steady_clock::time_point> taken_;
    Reading reading_;
};

LinuxBattery::LinuxBattery(ZorbelKit::MainLoop& loop, const std::filesystem::path& supplies)
    : battery_(std::make_unique<Battery>(loop, supplies.string())) {
}

LinuxBattery::~LinuxBattery() = default;

std::optional<Wendrel::PropertyList> LinuxBattery::properties() {
    const auto& battery = battery_->reading().battery;
    return battery ? std::optional(registryEntry(*battery)) : std::nullopt;
}

std::optional<std::vector<Wendrel::PropertyList>> LinuxBattery::sources() {
    const auto& reading = battery_->reading();
    if (!reading.battery) {
        return std::nullopt;
    }
    return std::vector{powerSource(*reading.battery, reading.minutes)};
}

} // namespace Linux
