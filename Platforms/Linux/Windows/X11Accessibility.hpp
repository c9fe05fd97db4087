#pragma once

#include "Pintho/Accessibility.hpp"
#include "Platforms/Linux/Windows/EwmhDesktop.hpp"
#include "ZorbelKit/Host/MainLoop.hpp"
#include "ZorbelKit/Lifetime.hpp"

#include <map>
#include <optional>
#include <string>

namespace Linux {

/// Places windows through the window manager. Trusted where one runs that can; on Wayland never, for no
/// program may place another's windows there. Position and size that are set in one turn of the main loop,
/// with no question in between, go out together. A window that is still on its way answers as if it had
/// arrived.
class X11Accessibility : public Pintho::Accessibility {
public:
    X11Accessibility(ZorbelKit::MainLoop& loop, EwmhDesktop& desktop);

    bool isTrusted() const override;
    std::string trustHint() const override;

    /// Nobody can be asked: the user reads the hint.
    void requestTrust() override {}

    std::optional<Pintho::WindowElement> focusedWindow(std::int64_t processIdentifier) const override;
    std::optional<std::string> title(Pintho::WindowElement window) const override; // of the active window
    std::optional<Pintho::WindowPoint> position(Pintho::WindowElement window) const override;
    std::optional<ZorbelKit::Size> size(Pintho::WindowElement window) const override;
    void setPosition(Pintho::WindowElement window, Pintho::WindowPoint corner) override;
    void setSize(Pintho::WindowElement window, ZorbelKit::Size size) override;

private:
    struct Wish {
        std::optional<Pintho::WindowPoint> corner;
        std::optional<ZorbelKit::Size> size;
    };

    std::optional<Pintho::WindowRect> seen(Pintho::WindowElement window) const;
    std::optional<Pintho::WindowRect> visible(Pintho::WindowElement window) const;
    Wish& wish(Pintho::WindowElement window);
    void sendWishes() const;

    ZorbelKit::MainLoop& loop_;
    EwmhDesktop& desktop_;
    const bool isWayland_;
    mutable std::map<std::uint64_t, Wish> wishes_; // of this turn
    ZorbelKit::Lifetime lifetime_;
};

} // namespace Linux
