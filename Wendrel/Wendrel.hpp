#pragma once

#include "Wendrel/BatteryReader.hpp"
#include "ZorbelKit/Forward.hpp"
#include "ZorbelKit/Spice.hpp"
#include "ZorbelKit/Time.hpp"
#include "ZorbelKit/Token.hpp"

#include <cstddef>
#include <optional>
#include <vector>

namespace Wendrel {

/// Reads the battery every thirty seconds while it is on, and keeps two hours of readings. Nothing is stored.
/// Main thread only.
class WendrelSpice : public ZorbelKit::Spice {
public:
    static constexpr std::size_t historyLength = 240;
    static constexpr ZorbelKit::Seconds interval{30.0};
    static constexpr ZorbelKit::Seconds demoInterval{1.0};

    /// `isDemo`: time runs thirty times as fast.
    WendrelSpice(ZorbelKit::MainLoop& loop, const ZorbelKit::Clock& clock, BatteryRegistry& registry,
                 PowerSources& sources, bool isDemo);

    void steep() override;
    void rest() override;
    ZorbelKit::AnyView dashboard() override;
    ZorbelKit::AnyView menuSection() override;

    const std::optional<Charge>& charge() const { return charge_.get(); } // the latest; none before the first
    bool hasBattery() const { return hasBattery_.get(); }
    const std::vector<Charge>& history() const { return history_.get(); } // oldest first

    /// Indexes of the readings that followed the one before them by much more than the interval, as after a
    /// night's sleep; in order.
    const std::vector<std::size_t>& gaps() const { return gaps_; }

private:
    void sample();
    void record(const Charge& reading);

    ZorbelKit::MainLoop& loop_;
    const ZorbelKit::Clock& clock_;
    const ZorbelKit::Seconds interval_;
    BatteryReader reader_;
    ZorbelKit::Published<std::optional<Charge>> charge_{*this};
    ZorbelKit::Published<bool> hasBattery_{*this, true};
    ZorbelKit::Published<std::vector<Charge>> history_{*this};
    std::vector<std::size_t> gaps_;
    std::optional<ZorbelKit::TimePoint> lastSample_;
    ZorbelKit::Token timer_;
};

} // namespace Wendrel
