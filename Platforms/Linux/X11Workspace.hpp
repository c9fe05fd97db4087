#pragma once

#include "Platforms/Linux/DesktopEntries.hpp"
#include "Platforms/Linux/Windows/EwmhDesktop.hpp"
#include "ZorbelKit/Host/Workspace.hpp"

namespace Linux {

/// The programs of an X desktop, by the windows its window manager tells of and the desktop files that launch
/// programs. Without a manager, or without X, no program is in front.
class X11Workspace : public ZorbelKit::Workspace {
public:
    explicit X11Workspace(const EwmhDesktop& desktop);

    /// Known by the id of its desktop file where that is found by the class of its window, else by that class
    /// in lower case.
    std::optional<ZorbelKit::RunningApplication> frontmostApplication() const override;

    std::optional<std::string> iconOf(const std::string& bundleIdentifier) const override;
    std::optional<std::string> ownBundleIdentifier() const override;

private:
    std::optional<DesktopEntries::Entry> entryOf(const EwmhDesktop::ActiveWindow& window) const;

    const EwmhDesktop& desktop_;
    mutable DesktopEntries entries_;
};

} // namespace Linux
