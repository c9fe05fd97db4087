#pragma once

#include "Fotrel/Fotrel.hpp"
#include "Platforms/Simulated/SimulatedHost.hpp"

/// What the spice asks of the system, in memory.
inline Fotrel::FotrelSpice::Services fotrelServices(Simulated::SimulatedHost& host) {
    return {.loop = host.loop,
            .clock = host.clock,
            .processes = host.processes,
            .pasteboard = host.pasteboard,
            .savePanel = host.savePanel,
            .panels = host.panels,
            .language = host.language,
            .recogniser = host.textRecogniser,
            .pictures = host.pictures,
            .tool = Simulated::simulatedCaptureTool()};
}
