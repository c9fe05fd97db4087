#pragma once

#include "ZorbelKit/AnyView.hpp"
#include "ZorbelKit/Geometry.hpp"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace Zorbel {

/// The process as the desktop sees it. Main thread only.
class Application {
public:
    virtual ~Application() = default;

    /// No icon in the dock, no menu of its own.
    virtual void becomeAccessory() = 0;

    /// Brings the program in front of the others.
    virtual void activate() = 0;

    /// Ends the program by the ordinary way, termination steps included.
    virtual void terminate() = 0;
};

/// A transient panel that hangs from an item of the menu bar. It closes on a click elsewhere and on Escape.
class PopoverWindow {
public:
    virtual ~PopoverWindow() = default;

    /// Below the anchor (screen coordinates, y upwards), whole on its screen; without an anchor, by the
    /// pointer.
    virtual void show(std::optional<ZorbelKit::Rect> anchor) = 0;
    virtual void close() = 0;
    virtual bool isShown() const = 0;

    /// Called after every close, however it came about.
    virtual void onClose(std::function<void()> closed) = 0;
};

struct WindowStyle {
    std::string title;
    ZorbelKit::Size contentSize;
    std::optional<ZorbelKit::Size> minimumSize; // none: not resizable
};

/// An ordinary window, centred at first. Closing it hides it: the same window comes back, size and place
/// kept.
class ShellWindow {
public:
    virtual ~ShellWindow() = default;

    virtual void showInFront() = 0;
    virtual void close() = 0;
    virtual bool isShown() const = 0;
};

/// Makes the shell's windows. The content is built when the window is first shown.
class ShellWindows {
public:
    virtual ~ShellWindows() = default;

    virtual std::unique_ptr<PopoverWindow> popover(ZorbelKit::Size contentSize,
                                                   ZorbelKit::AnyView content) = 0;
    virtual std::unique_ptr<ShellWindow> window(WindowStyle style, ZorbelKit::AnyView content) = 0;
};

} // namespace Zorbel
