#include "Duvesk/Scanner.hpp"
#include "Platforms/Linux/Capture/CaptureTools.hpp"
#include "Platforms/Linux/Capture/LinuxPictures.hpp"
#include "Platforms/Linux/Capture/LinuxProcesses.hpp"
#include "Platforms/Linux/Clipboard/X11Pasteboard.hpp"
#include "Platforms/Linux/CoreDumps.hpp"
#include "Platforms/Linux/Heap.hpp"
#include "Platforms/Linux/IcuLanguage.hpp"
#include "Platforms/Linux/JsonDefaults.hpp"
#include "Platforms/Linux/MenuBar/LinuxStatusBar.hpp"
#include "Platforms/Linux/Power/LinuxBattery.hpp"
#include "Platforms/Linux/ProcHostStatistics.hpp"
#include "Platforms/Linux/Shelf/LinuxParkedFiles.hpp"
#include "Platforms/Linux/Shelf/X11FloatingPanels.hpp"
#include "Platforms/Linux/SingleInstance.hpp"
#include "Platforms/Linux/Sound/PulseAudioHardware.hpp"
#include "Platforms/Linux/Storage/DirectoryWalker.hpp"
#include "Platforms/Linux/Storage/LinuxFileManager.hpp"
#include "Platforms/Linux/Storage/LinuxPlaces.hpp"
#include "Platforms/Linux/TerminationSignals.hpp"
#include "Platforms/Linux/Text/TesseractRecogniser.hpp"
#include "Platforms/Linux/Windows/X11Accessibility.hpp"
#include "Platforms/Linux/Windows/X11Applications.hpp"
#include "Platforms/Linux/Windows/X11Screens.hpp"
#include "Platforms/Linux/Windows/X11Shortcuts.hpp"
#include "Platforms/Linux/X11Workspace.hpp"
#include "Platforms/Linux/XConnection.hpp"
#include "Platforms/Qt/QtAlerts.hpp"
#include "Platforms/Qt/QtFloatingPanels.hpp"
#include "Platforms/Qt/QtMainLoop.hpp"
#include "Platforms/Qt/QtPanels.hpp"
#include "Platforms/Qt/QtSavePanel.hpp"
#include "Platforms/Qt/QtScreens.hpp"
#include "Platforms/Qt/QtShellWindows.hpp"
#include "Zorbel/AppDelegate.hpp"
#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QApplication>
#include <QEvent>
#include <QLocale>
#include <xcb/xcb.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace Zorbel {

namespace {

/// Where settings live: the XDG configuration folder, else the home folder's own. Empty where there is
/// neither.
std::filesystem::path settingsFile() {
    const auto below = [](const char* variable, const char* file) -> std::filesystem::path {
        const char* folder = std::getenv(variable);
        return folder && *folder == '/' ? std::filesystem::path(folder) / file : std::filesystem::path();
    };
    const auto configured = below("XDG_CONFIG_HOME", "zorbel/settings.json");
    return configured.empty() ? below("HOME", ".config/zorbel/settings.json") : configured;
}

std::optional<std::string> environmentValue(std::string_view name) {
    const char* value = std::getenv(std::string(name).c_str());
    return value ? std::optional<std::string>(value) : std::nullopt;
}

/// The toolkit aborts when it finds no display; a user is better served by one line.
bool canOpenDisplay() {
    if (environmentValue("QT_QPA_PLATFORM") || environmentValue("WAYLAND_DISPLAY")) {
        return true;
    }
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    const bool isOpen = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return isOpen;
}

/// Ends when the session asks it to. The toolkit's own way closes every window first and gives up when one
/// stays, and ours only hide.
class AccessoryApplication : public QApplication {
public:
    using QApplication::QApplication;

protected:
    bool event(QEvent* event) override {
        if (event->type() == QEvent::Quit) {
            exit(0);
            return true;
        }
        return QApplication::event(event);
    }
};

/// The application type: puts the platform's parts together and lets the delegate run the program.
class ZorbelApp {
public:
    int run(int& argumentCount, char** arguments) {
        QApplication::setApplicationName("zorbel");
        QApplication::setApplicationDisplayName("Zorbel");
        QApplication::setDesktopFileName(Linux::applicationId);
        AccessoryApplication application(argumentCount, arguments);
        AppDelegate* running = nullptr;
        const auto comeForward = [&running] {
            if (running) {
                running->comeForward();
            }
        };

        Linux::SingleInstance instance(comeForward);
        if (instance.claim() == Linux::SingleInstance::Outcome::alreadyRunning) {
            std::fprintf(stderr, "zorbel: already running; it comes forward\n");
            return 0;
        }
        ZorbelKit::applyTheme(application, Linux::isComposited);
        ZorbelKit::installAccessibility();

        QtPlatform::QtMainLoop loop;
        QtPlatform::QtClock clock;
        QtPlatform::QtScreens screens;
        QtPlatform::QtApplication desktop;
        QtPlatform::QtShellWindows windows(ZorbelKit::desktopBlends);
        Linux::JsonDefaults defaults(settingsFile(), loop);
        Linux::ProcHostStatistics statistics;
        Linux::X11Pasteboard pasteboard;
        Linux::EwmhDesktop ewmh(loop);
        const Linux::X11Workspace workspace(loop, ewmh);
        Linux::X11Screens windowScreens(ewmh);
        Linux::X11Accessibility accessibility(loop, ewmh);
        Linux::X11Shortcuts shortcuts;
        Linux::LinuxBattery battery(loop);
        Linux::PulseAudioHardware audioHardware;
        const auto layout = Linux::StorageLayout::standard();
        Linux::LinuxFileManager fileManager(loop, Linux::Trash(layout.dataFolder(), layout.home));
        const auto walker = std::make_shared<Linux::DirectoryWalker>();
        const std::string locale = QLocale().name().toStdString();
        const Linux::IcuLanguage language(locale);
        QtPlatform::QtSavePanel savePanel;
        QtPlatform::QtPanels panels(loop);
        QtPlatform::QtFloatingPanels floatingPanels(Linux::prepareFloatingPanel);
        QtPlatform::QtAlerts alerts;
        Linux::X11Applications applications(loop);
        Linux::LinuxParkedFiles parkedFiles(loop);
        Linux::LinuxProcesses processes;
        Linux::TesseractRecogniser textRecogniser({.locale = locale});
        Linux::LinuxStatusBar statusBar(loop, defaults);
        const Linux::TerminationSignals endings([&desktop] { desktop.terminate(); }, comeForward);

        AppDelegate delegate({.loop = loop,
                              .clock = clock,
                              .defaults = defaults,
                              .statusBar = statusBar,
                              .screens = screens,
                              .windowScreens = windowScreens,
                              .statistics = statistics,
                              .pasteboard = pasteboard,
                              .workspace = workspace,
                              .language = language,
                              .accessibility = accessibility,
                              .shortcuts = shortcuts,
                              .batteryRegistry = battery,
                              .powerSources = battery,
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
                              .pictures = std::make_shared<const Linux::LinuxPictures>(),
                              .captureTool = Linux::captureTool(),
                              .scanner = std::make_shared<const Duvesk::Scanner>(
                                  std::make_shared<const Linux::LinuxPlaces>(layout, walker), walker),
                              .application = desktop,
                              .windows = windows,
                              .updater = nullptr,
                              .environment = environmentValue,
                              .information = [](std::string_view) { return std::nullopt; }});
        delegate.applicationDidFinishLaunching();
        running = &delegate;
        const int status = QApplication::exec();
        running = nullptr;
        walker->stop(); // nobody waits for a scan that ends after the program
        delegate.applicationWillTerminate();
        defaults.flush();
        return status;
    }
};

} // namespace
} // namespace Zorbel

int main(int argumentCount, char** arguments) {
    Linux::keepHeapSmall();
    Linux::refuseCoreDumps();
    std::signal(SIGXFSZ, SIG_IGN); // a file that may not grow is an error to report, not a reason to die
    if (!Zorbel::canOpenDisplay()) {
        const char* display = std::getenv("DISPLAY");
        std::fprintf(stderr, "zorbel: no display can be opened (DISPLAY is %s)\n",
                     display ? display : "not set");
        return 1;
    }
    Linux::refuseStrayBus();
    Linux::TerminationSignals::holdComeForward();
    return Zorbel::ZorbelApp().run(argumentCount, arguments);
}
