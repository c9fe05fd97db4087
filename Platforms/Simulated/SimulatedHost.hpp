#pragma once

#include "Platforms/Simulated/SimulatedDefaults.hpp"
#include "Platforms/Simulated/SimulatedHostStatistics.hpp"
#include "Platforms/Simulated/SimulatedMainLoop.hpp"
#include "Platforms/Simulated/SimulatedScreens.hpp"
#include "Platforms/Simulated/SimulatedStatusBar.hpp"

namespace Simulated {

/// The whole platform in memory, on virtual time.
struct SimulatedHost {
    SimulatedMainLoop loop;
    SimulatedClock clock{loop};
    SimulatedDefaults defaults;
    SimulatedStatusBar statusBar;
    SimulatedScreens screens;
    SimulatedHostStatistics statistics;

    /// Everything a spice could have left behind.
    int liveThings() const {
        return loop.liveTimers() + statusBar.liveItems() + ZorbelKit::Observable::liveObserversForTesting();
    }
};

} // namespace Simulated
