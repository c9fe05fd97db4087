#pragma once

#include "Wendrel/BatteryRegistry.hpp"
#include "Wendrel/PowerSources.hpp"

#include <filesystem>
#include <memory>

namespace ZorbelKit {
class MainLoop;
}

namespace Linux {

/// The machine's battery as the kernel tells of it (/sys/class/power_supply), several packs as one; what the
/// kernel does not know, UPower adds where it runs. Nobody waits for UPower. Main thread only.
class LinuxBattery : public Wendrel::BatteryRegistry, public Wendrel::PowerSources {
public:
    /// `supplies`: the folder with one folder a power supply.
    explicit LinuxBattery(ZorbelKit::MainLoop& loop,
                          const std::filesystem::path& supplies = "/sys/class/power_supply");
    LinuxBattery(const LinuxBattery&) = delete;
    LinuxBattery& operator=(const LinuxBattery&) = delete;
    ~LinuxBattery() override;

    std::optional<Wendrel::PropertyList> properties() override;
    std::optional<std::vector<Wendrel::PropertyList>> sources() override;

private:
    class Battery;
    std::unique_ptr<Battery> battery_;
};

} // namespace Linux
