#include "Platforms/Linux/JsonDefaults.hpp"
#include "Platforms/Linux/LinuxStatusBar.hpp"
#include "Platforms/Linux/ProcHostStatistics.hpp"
#include "Platforms/Linux/SingleInstance.hpp"
#include "Platforms/Linux/TerminationSignals.hpp"
#include "Platforms/Qt/QtMainLoop.hpp"
#include "Platforms/Qt/QtScreens.hpp"
#include "Platforms/Qt/QtShellWindows.hpp"
#include "Zorbel/AppDelegate.hpp"
#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QApplication>
#include <xcb/xcb.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace Zorbel {

namespace {

/// Where settings live: the XDG configuration folder, else the home folder's own.
std::filesystem::path settingsFile() {
    const auto folder = [](const char* variable) -> std::filesystem::path {
        const char* value = std::getenv(variable);
        return value && *value == '/' ? value : "";
    };
    std::filesystem::path base = folder("XDG_CONFIG_HOME");
    if (base.empty()) {
        base = folder("HOME") / ".config";
    }
    return base / "zorbel" / "settings.json";
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

/// The application type: puts the platform's parts together and lets the delegate run the program.
class ZorbelApp {
public:
    int run(int& argumentCount, char** arguments) {
        QApplication::setApplicationName("zorbel");
        QApplication::setApplicationDisplayName("Zorbel");
        QApplication::setDesktopFileName(Linux::applicationId);
        QApplication application(argumentCount, arguments);
        AppDelegate* running = nullptr;
        const auto comeForward = [&running] {
            if (running) {
                running->showDashboard();
            }
        };

        Linux::SingleInstance instance(comeForward);
        if (instance.claim() == Linux::SingleInstance::Outcome::alreadyRunning) {
            std::fprintf(stderr, "zorbel: already running; its dashboard comes forward\n");
            return 0;
        }
        ZorbelKit::applyTheme(application);
        ZorbelKit::installAccessibility();

        QtPlatform::QtMainLoop loop;
        QtPlatform::QtClock clock;
        QtPlatform::QtScreens screens;
        QtPlatform::QtApplication desktop;
        QtPlatform::QtShellWindows windows;
        Linux::JsonDefaults defaults(settingsFile(), loop);
        Linux::ProcHostStatistics statistics;
        Linux::LinuxStatusBar statusBar(loop);
        const Linux::TerminationSignals endings([&desktop] { desktop.terminate(); }, comeForward);

        AppDelegate delegate({.loop = loop,
                              .clock = clock,
                              .defaults = defaults,
                              .statusBar = statusBar,
                              .screens = screens,
                              .statistics = statistics,
                              .application = desktop,
                              .windows = windows,
                              .updater = nullptr,
                              .environment = environmentValue,
                              .information = [](std::string_view) { return std::nullopt; }});
        delegate.applicationDidFinishLaunching();
        running = &delegate;
        const int status = QApplication::exec();
        running = nullptr;
        delegate.applicationWillTerminate();
        defaults.flush();
        return status;
    }
};

} // namespace
} // namespace Zorbel

int main(int argumentCount, char** arguments) {
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
