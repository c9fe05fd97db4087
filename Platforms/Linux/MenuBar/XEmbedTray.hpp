#pragma once

#include "ZorbelKit/Host/MainLoop.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace Linux {

/// The tray of older programs, whose icons are windows of their own (freedesktop System Tray, XEmbed): takes
/// them into a window of ours and gives them back. Speaks to the X server over a connection of its own; waits
/// for the server and for nobody else. Should this process die, the server puts the icons back by itself
/// (save-set). Main thread only; rectangles in device pixels of the bar's window, y downwards.
class XEmbedTray {
public:
    using IconId = std::uint32_t; // the program's window

    struct Pixels {
        int x = 0;
        int y = 0;
        int width = 0;
        int height = 0;
        bool operator==(const Pixels&) const = default;
    };

    struct Icon {
        IconId id = 0;
        std::string instance;   // first half of WM_CLASS; "icon" where there is none
        std::string title;      // UTF-8; empty where there is none
        int pid = 0;            // of its process, as the window says; 0 where it does not
        bool wantsRoom = false; // it asks to be shown (XEMBED_MAPPED); one without _XEMBED_INFO does
        bool operator==(const Icon&) const = default;
    };

    /// What the tray tells. A drag starts with the left button and Ctrl or Super on an icon and is not seen
    /// by its program; places are those of the pointer in the root window.
    struct Events {
        std::function<void(const Icon&)> docked;
        std::function<void(const Icon&)> changed;
        std::function<void(IconId)> removed; // gone, or taken away by its program
        std::function<void(IconId, int x, int y)> dragBegan;
        std::function<void(IconId, int x, int y)> dragMoved;
        std::function<void(IconId, bool isDropped)> dragEnded; // false: broken off
    };

    /// Where icons are shown.
    struct Ground {
        std::uint32_t window = 0; // the bar's; containers become its children
        std::uint32_t colour = 0; // 0xRRGGBB, behind the icons
        int iconSide = 24;        // device pixels
    };

    /// `display`: the X display, null for the environment's.
    XEmbedTray(ZorbelKit::MainLoop& loop, Events events, const char* display = nullptr);
    XEmbedTray(const XEmbedTray&) = delete;
    XEmbedTray& operator=(const XEmbedTray&) = delete;
    ~XEmbedTray(); // stops

    /// Becomes the screen's tray, or where another one is, waits for that one's end. Does nothing where the X
    /// server cannot be reached.
    void start(const Ground& ground);

    /// Gives every icon back to its program unharmed, and the tray up; all of it is done on the server when
    /// this returns, and nothing is told of it. To be called while the ground's window still exists.
    void stop();

    bool isTray() const; // whether the tray is ours now

    /// Shows an icon in the middle of `cell`, or hides it without its program noticing.
    void place(IconId icon, const Pixels& cell);
    void hide(IconId icon);

    /// After a change of scale.
    void setIconSide(int pixels);

private:
    class Tray;
    std::unique_ptr<Tray> tray_;
};

} // namespace Linux
