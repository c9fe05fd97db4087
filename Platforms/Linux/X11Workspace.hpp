#pragma once

#include "Platforms/Linux/InstalledPrograms.hpp"
#include "Platforms/Linux/Windows/EwmhDesktop.hpp"
#include "ZorbelKit/Host/Workspace.hpp"

namespace Linux {

/// The programs of an X desktop, by the windows its window manager tells of and the desktop files that launch
/// programs. Without a manager, or without X, no program is in front.
class X11Workspace : public ZorbelKit::Workspace {
public:
    X11Workspace(ZorbelKit::MainLoop& loop, const EwmhDesktop& desktop);

    /// Known by the id of its desktop file where that is found by the class of its window, else by that class
    /// in lower case.
    std::optional<ZorbelKit::RunningApplication> frontmostApplication() const override;

    std::optional<std::string> iconOf(const std::string& bundleIdentifier) const override;
    std::optional<std::string> ownBundleIdentifier() const override;

private:
    const EwmhDesktop& desktop_;
    mutable InstalledPrograms programs_; // what is known of them, not what is in front
};

} // namespace Linux
