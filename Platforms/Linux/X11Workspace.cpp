#include "Platforms/Linux/X11Workspace.hpp"

#include "Platforms/Linux/SingleInstance.hpp"

#include <QLocale>
#include <unistd.h>

#include <string>

namespace Linux {

X11Workspace::X11Workspace(ZorbelKit::MainLoop& loop, const EwmhDesktop& desktop)
    : desktop_(desktop)
    , programs_(loop, DesktopEntries::standardFolders(), QLocale().name().toStdString()) {
}

std::optional<ZorbelKit::RunningApplication> X11Workspace::frontmostApplication() const {
    const auto window = desktop_.activeWindow();
    if (!window) {
        return std::nullopt;
    }
    ZorbelKit::RunningApplication application{.processIdentifier = window->pid};
    if (const auto identity = programs_.ofWindow(cluesOf(*window))) {
        application.bundleIdentifier = identity->id;
        application.localizedName = identity->name;
    }
    return application;
}

/// A process is looked at once for a window that stays in front, whatever title it gets.
const WindowClues& X11Workspace::cluesOf(const EwmhDesktop::ActiveWindow& window) const {
    const Asked asked{window.id, window.pid};
    if (asked_ != asked) {
        clues_.process = window.isRemote ? ProcessFacts{} : processFacts(window.pid);
        clues_.isOurs = !window.isRemote && window.pid == ::getpid();
        asked_ = asked;
    }
    clues_.gtkApplication = window.gtkApplication;
    clues_.windowClass = window.windowClass;
    return clues_;
}

std::optional<std::string> X11Workspace::iconOf(const std::string& bundleIdentifier) const {
    const auto entry = programs_.withId(bundleIdentifier);
    return entry && !entry->icon.empty() ? std::optional(entry->icon) : std::nullopt;
}

std::optional<std::string> X11Workspace::ownBundleIdentifier() const {
    return applicationId;
}

} // namespace Linux
