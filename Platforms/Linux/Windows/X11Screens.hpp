#pragma once

#include "Platforms/Linux/Windows/EwmhDesktop.hpp"
#include "ZorbelKit/Host/Screens.hpp"

namespace Linux {

/// The monitors in pixels of the X screen, less what panels keep clear on each: where windows are placed. The
/// toolkit scales its screens, and knows one work area for all of them.
class X11Screens : public ZorbelKit::Screens {
public:
    explicit X11Screens(EwmhDesktop& desktop)
        : desktop_(desktop) {}

    std::vector<ZorbelKit::Screen> all() const override { return desktop_.screens(); }

    /// The one with most of the active window.
    std::optional<ZorbelKit::Screen> main() const override;

    ZorbelKit::Token onChange(std::function<void()> changed) override {
        return desktop_.onScreensChange(std::move(changed));
    }

private:
    EwmhDesktop& desktop_;
};

} // namespace Linux
