#pragma once

#include "Duvesk/Scanner.hpp"
#include "Platforms/Simulated/SimulatedHost.hpp"
#include "Platforms/Simulated/SimulatedShellWindows.hpp"
#include "Zorbel/Host.hpp"

#include <map>

namespace Simulated {

/// Everything the whole suite needs to run in memory: the platform, the shell's windows, an environment and
/// an information file that tests fill in.
struct SimulatedSuite : SimulatedHost {
    using Texts = std::map<std::string, std::string, std::less<>>;

    SimulatedApplication application;
    SimulatedShellWindows windows;
    Zorbel::UpdaterController* updater = nullptr;
    Texts environment;
    Texts information;

    Zorbel::Host host() {
        return {.loop = loop,
                .clock = clock,
                .defaults = defaults,
                .statusBar = statusBar,
                .screens = screens,
                .windowScreens = screens,
                .statistics = statistics,
                .pasteboard = pasteboard,
                .workspace = workspace,
                .language = language,
                .accessibility = accessibility,
                .shortcuts = shortcuts,
                .batteryRegistry = batteryRegistry,
                .powerSources = powerSources,
                .audioHardware = audioHardware,
                .fileManager = fileManager,
                .processes = processes,
                .savePanel = savePanel,
                .panels = panels,
                .floatingPanels = floatingPanels,
                .alerts = alerts,
                .applications = applications,
                .parkedFiles = parkedFiles,
                .textRecogniser = textRecogniser,
                .pictures = pictures,
                .captureTool = simulatedCaptureTool(),
                .scanner = std::make_shared<const Duvesk::Scanner>(files, files),
                .application = application,
                .windows = windows,
                .updater = updater,
                .environment = [this](std::string_view name) { return find(environment, name); },
                .information = [this](std::string_view key) { return find(information, key); }};
    }

private:
    static std::optional<std::string> find(const Texts& texts, std::string_view key) {
        const auto found = texts.find(key);
        return found == texts.end() ? std::nullopt : std::optional(found->second);
    }
};

} // namespace Simulated
