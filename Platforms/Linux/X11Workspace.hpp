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

    /// Known as `applicationIdentity` has it.
    std::optional<ZorbelKit::RunningApplication> frontmostApplication() const override;

    std::optional<std::string> iconOf(const std::string& bundleIdentifier) const override;
    std::optional<std::string> ownBundleIdentifier() const override;

private:
    struct Asked {
        std::uint32_t window = 0;
        std::int64_t pid = 0;
        bool operator==(const Asked&) const = default;
    };

    const WindowClues& cluesOf(const EwmhDesktop::ActiveWindow& window) const;

    const EwmhDesktop& desktop_;
    // What is known of programs, not what is in front.
    mutable InstalledPrograms programs_;
    mutable std::optional<Asked> asked_; // whose process was looked at last
    mutable WindowClues clues_;
};

} // namespace Linux
