#pragma once

#include "ZorbelKit/Host/Shortcuts.hpp"

#include <memory>

namespace Linux {

/// Keys grabbed on the root window of an X screen, with Control and Alt held; whether Caps Lock, Num Lock or
/// Scroll Lock is on makes no difference. Follows the keyboard to another layout. Over an X connection of its
/// own, which exists only while a key is held. Main thread only.
class X11Shortcuts : public ZorbelKit::Shortcuts {
public:
    /// `display`: the X display, null for the environment's. Where it cannot be reached no key can be held.
    explicit X11Shortcuts(const char* display = nullptr);
    X11Shortcuts(const X11Shortcuts&) = delete;
    X11Shortcuts& operator=(const X11Shortcuts&) = delete;
    ~X11Shortcuts() override;

    ZorbelKit::Token grab(std::string_view key, std::function<void()> pressed) override;
    std::string text(std::string_view key) const override;

private:
    class Keyboard;
    std::shared_ptr<Keyboard> keyboard_;
};

} // namespace Linux
