#pragma once

#include "Fotrel/CaptureTool.hpp"
#include "ZorbelKit/Forward.hpp"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace Duvesk {
class Scanner;
}

namespace Fotrel {
class TextRecogniser;
}

namespace Hushel {
class Applications;
}

namespace Ledgra {
class ParkedFiles;
}

namespace Pintho {
class Accessibility;
}

namespace Rusket {
class HostStatistics;
}

namespace Tonvik {
class AudioHardware;
}

namespace Wendrel {
class BatteryRegistry;
class PowerSources;
} // namespace Wendrel

namespace Zorbel {

class Application;
class ShellWindows;
class UpdaterController;

/// A value of the process environment; none where the variable is not set.
using Environment = std::function<std::optional<std::string>(std::string_view name)>;

/// A string of the application's information file; none where the key is absent or not a string.
using Information = std::function<std::optional<std::string>(std::string_view key)>;

/// Everything the suite asks of the system it runs on. All of it outlives the application.
struct Host {
    ZorbelKit::MainLoop& loop;
    ZorbelKit::Clock& clock;
    ZorbelKit::Defaults& defaults;
    ZorbelKit::StatusBar& statusBar;
    ZorbelKit::Screens& screens;       // as the suite's own windows see them
    ZorbelKit::Screens& windowScreens; // as other programs' windows are placed on them
    Rusket::HostStatistics& statistics;
    ZorbelKit::Pasteboard& pasteboard;
    const ZorbelKit::Workspace& workspace;
    const ZorbelKit::Language& language;
    Pintho::Accessibility& accessibility;
    ZorbelKit::Shortcuts& shortcuts;
    Wendrel::BatteryRegistry& batteryRegistry;
    Wendrel::PowerSources& powerSources;
    Tonvik::AudioHardware& audioHardware;
    ZorbelKit::FileManager& fileManager;
    ZorbelKit::Processes& processes;
    ZorbelKit::SavePanel& savePanel;
    ZorbelKit::Panels& panels;
    ZorbelKit::FloatingPanels& floatingPanels;
    ZorbelKit::Alerts& alerts;
    Hushel::Applications& applications;
    Ledgra::ParkedFiles& parkedFiles;
    Fotrel::TextRecogniser& textRecogniser;
    std::shared_ptr<const ZorbelKit::Pictures> pictures;
    Fotrel::CaptureTool captureTool;
    std::shared_ptr<const Duvesk::Scanner> scanner;
    Application& application;
    ShellWindows& windows;
    UpdaterController* updater; // null where the platform has none
    Environment environment;
    Information information;
};

} // namespace Zorbel
