#include "Platforms/Linux/X11Workspace.hpp"

#include "Platforms/Linux/SingleInstance.hpp"
#include "ZorbelKit/Utf8.hpp"

#include <QLocale>
#include <unistd.h>

#include <algorithm>
#include <string>

namespace Linux {

namespace {

std::string lowered(std::string text) {
    std::ranges::transform(text, text.begin(), [](char character) {
        return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
    });
    return text;
}

} // namespace

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
    const std::string windowClass =
        ZorbelKit::utf8::repaired(window->className.empty() ? window->instance : window->className);
    const auto entry = programs_.ofWindow(window->className, window->instance);
    if (entry) {
        application.bundleIdentifier = entry->id;
        application.localizedName = entry->name;
    } else if (!windowClass.empty()) {
        application.bundleIdentifier = lowered(windowClass);
        application.localizedName = windowClass; // better than none
    }
    if (window->pid == ::getpid()) {
        application.bundleIdentifier = applicationId; // no desktop file may be installed
    }
    return application;
}

std::optional<std::string> X11Workspace::iconOf(const std::string& bundleIdentifier) const {
    const auto entry = programs_.withId(bundleIdentifier);
    return entry && !entry->icon.empty() ? std::optional(entry->icon) : std::nullopt;
}

std::optional<std::string> X11Workspace::ownBundleIdentifier() const {
    return applicationId;
}

} // namespace Linux
