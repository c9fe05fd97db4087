#pragma once

#include "Platforms/Linux/XReply.hpp"

#include <QRect>
#include <sys/types.h>
#include <xcb/xcb.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Desktop {

/// What a program says of its window.
struct Manners {
    // The eighteen numbers of WM_NORMAL_HINTS; where it lies at first is added.
    std::array<std::uint32_t, 18> hints{};
    std::vector<std::uint32_t> shadow{}; // left, right, top, bottom
    bool isUndecorated = false;
    bool isOverrideRedirect = false; // out of the window manager's hands
    const char* type = "_NET_WM_WINDOW_TYPE_NORMAL";
    QRect frame{300, 200, 400, 300};
    bool isShown = true; // at once
};

/// A program of its own to the X server, with windows.
class GuestClient {
public:
    /// `display`: null for the environment's.
    explicit GuestClient(const char* display = nullptr);

    /// Known to the server, and shown, if it is to be at once.
    xcb_window_t open(const Manners& manners = {}) const;
    void close(xcb_window_t window) const;
    void setShown(xcb_window_t window, bool isShown) const;
    void move(xcb_window_t window, const QRect& frame) const;

    void setNumbers(xcb_window_t window, xcb_atom_t property, xcb_atom_t type,
                    const std::vector<std::uint32_t>& values) const;
    void setCardinals(xcb_window_t window, const char* property,
                      const std::vector<std::uint32_t>& values) const;
    void setText(xcb_window_t window, xcb_atom_t property, xcb_atom_t type, const std::string& text) const;

    /// Asks the window manager to add a state, as a task bar would.
    void askForState(xcb_window_t window, const char* state) const;

    /// The process that made a window, as the server knows it.
    pid_t processOf(xcb_window_t window) const;

    xcb_window_t root() const { return screen_->root; }
    xcb_atom_t atom(const char* name) const;

    /// Until the server has done all that was asked.
    void settle() const;

private:
    xcb_connection_t* get() const { return connection_.get(); }

    std::unique_ptr<xcb_connection_t, Linux::Disconnect> connection_;
    xcb_screen_t* screen_ = nullptr;
};

} // namespace Desktop
