#pragma once

#include "Platforms/Simulated/SimulatedAccessibility.hpp"
#include "Platforms/Simulated/SimulatedAlerts.hpp"
#include "Platforms/Simulated/SimulatedApplications.hpp"
#include "Platforms/Simulated/SimulatedAudioHardware.hpp"
#include "Platforms/Simulated/SimulatedBattery.hpp"
#include "Platforms/Simulated/SimulatedCapture.hpp"
#include "Platforms/Simulated/SimulatedDefaults.hpp"
#include "Platforms/Simulated/SimulatedFileManager.hpp"
#include "Platforms/Simulated/SimulatedFiles.hpp"
#include "Platforms/Simulated/SimulatedHostStatistics.hpp"
#include "Platforms/Simulated/SimulatedLanguage.hpp"
#include "Platforms/Simulated/SimulatedMainLoop.hpp"
#include "Platforms/Simulated/SimulatedPasteboard.hpp"
#include "Platforms/Simulated/SimulatedScreens.hpp"
#include "Platforms/Simulated/SimulatedShelf.hpp"
#include "Platforms/Simulated/SimulatedShortcuts.hpp"
#include "Platforms/Simulated/SimulatedStatusBar.hpp"
#include "Platforms/Simulated/SimulatedWorkspace.hpp"

#include <memory>

namespace Simulated {

/// The whole platform in memory, on virtual time.
struct SimulatedHost {
    SimulatedMainLoop loop;
    SimulatedClock clock{loop};
    SimulatedDefaults defaults;
    SimulatedStatusBar statusBar;
    SimulatedScreens screens;
    SimulatedHostStatistics statistics;
    SimulatedPasteboard pasteboard;
    SimulatedWorkspace workspace;
    SimulatedLanguage language;
    SimulatedAccessibility accessibility;
    SimulatedShortcuts shortcuts;
    SimulatedBatteryRegistry batteryRegistry;
    SimulatedPowerSources powerSources;
    SimulatedAudioHardware audioHardware;
    SimulatedFileManager fileManager;
    SimulatedProcesses processes;
    SimulatedSavePanel savePanel;
    SimulatedPanels panels;
    SimulatedFloatingPanels floatingPanels;
    SimulatedAlerts alerts;
    SimulatedApplications applications;
    SimulatedParkedFiles parkedFiles;
    SimulatedTextRecogniser textRecogniser;
    std::shared_ptr<SimulatedPictures> pictures = std::make_shared<SimulatedPictures>();
    std::shared_ptr<SimulatedFiles> files = std::make_shared<SimulatedFiles>();

    /// Everything a spice could have left behind.
    int liveThings() const {
        return loop.liveTimers() + statusBar.liveItems() + pasteboard.watchers() + shortcuts.liveGrabs() +
               textRecogniser.keepers() + ZorbelKit::Observable::liveObserversForTesting();
    }
};

} // namespace Simulated
