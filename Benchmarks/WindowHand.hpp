#pragma once

#include "Platforms/Linux/XReply.hpp"

#include <string>

namespace Bench {

/// A rectangle in pixels of the X screen, from its top left corner.
struct PixelPlace {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    bool operator==(const PixelPlace&) const = default;
};

std::string text(const PixelPlace& place); // "640x400+0+0"

/// Widths along the edges of a window.
struct FrameWidths {
    int left = 0;
    int right = 0;
    int top = 0;
    int bottom = 0;
};

using XClient = std::unique_ptr<xcb_connection_t, Linux::Disconnect>;

/// Fails where there is no display.
XClient connectToDisplay();
xcb_window_t rootOf(const XClient& client);

/// Where a window's client is, without its frame. Fails where the window is gone.
PixelPlace placeOf(const XClient& client, xcb_window_t window);

/// A bare client of the X server with a hand on one window: the shortest way to move it.
class WindowHand {
public:
    /// On the active window, once it is of this class. Fails when that does not happen for ten seconds.
    explicit WindowHand(const std::string& windowClass);

    xcb_window_t window() const { return window_; }
    PixelPlace place() const { return placeOf(client_, window_); }
    FrameWidths frame() const;

    /// Asks the window manager to put the corner of the frame there and to give the client this size.
    void move(const PixelPlace& asked) const;
    void setTitle(const std::string& title) const;

private:
    bool isOfClass(xcb_window_t window, const std::string& windowClass) const;

    XClient client_ = connectToDisplay();
    const xcb_atom_t activeWindow_;
    const xcb_atom_t moveResizeWindow_;
    const xcb_atom_t frameExtents_;
    const xcb_atom_t windowName_;
    const xcb_atom_t utf8String_;
    xcb_window_t window_ = XCB_NONE;
};

} // namespace Bench
