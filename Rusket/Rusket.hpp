#pragma once

#include "Rusket/VitalsReader.hpp"
#include "ZorbelKit/Forward.hpp"
#include "ZorbelKit/Spice.hpp"
#include "ZorbelKit/Token.hpp"

#include <cstddef>
#include <vector>

namespace Rusket {

/// Reads processor load, memory and memory pressure once a second while it is on, and keeps the last minute.
/// Nothing is stored. Main thread only.
class RusketSpice : public ZorbelKit::Spice {
public:
    static constexpr std::size_t historyLength = 60; // readings: one minute at one a second

    RusketSpice(ZorbelKit::MainLoop& loop, HostStatistics& statistics);

    void steep() override;
    void rest() override;
    ZorbelKit::AnyView dashboard() override;
    ZorbelKit::AnyView menuSection() override;

    const Vitals& vitals() const { return vitals_.get(); }
    const std::vector<Vitals>& history() const { return history_.get(); } // oldest first

private:
    void sample();

    ZorbelKit::MainLoop& loop_;
    ZorbelKit::Published<Vitals> vitals_{*this};
    ZorbelKit::Published<std::vector<Vitals>> history_{*this};
    // Kept through a rest, ticks and all: the first load after it is the average over the pause.
    VitalsReader reader_;
    ZorbelKit::Token timer_;
};

} // namespace Rusket
