#pragma once

#include "Platforms/Linux/DesktopEntries.hpp"
#include "ZorbelKit/Host/Workspace.hpp"

namespace Linux {

/// The desktop as its window manager describes it (EWMH), over the toolkit's own X connection. Without a
/// manager, or without X, no program is in front.
class X11Workspace : public ZorbelKit::Workspace {
public:
    X11Workspace();

    std::optional<ZorbelKit::RunningApplication> frontmostApplication() const override;

private:
    mutable DesktopEntries entries_;
};

} // namespace Linux
