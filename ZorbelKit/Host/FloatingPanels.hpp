#pragma once

#include "ZorbelKit/AnyView.hpp"
#include "ZorbelKit/Geometry.hpp"

#include <memory>
#include <string>

namespace ZorbelKit {

struct FloatingPanelStyle {
    std::string title;          // for those who cannot see it
    Size size{};                // of its content, which has no frame around it
    bool canBecomeKey = false;  // takes the keyboard when it is clicked, never when it is shown
    bool canBecomeMain = false; // counts as the window that its user works in
};

/// A small window above all others, full-screen ones and menu bars included, on every desktop. It never
/// activates this program. Gone from the screen when it is destroyed.
class FloatingPanel {
public:
    virtual ~FloatingPanel() = default;

    /// Of its lower left corner, in screen coordinates (y upwards).
    virtual void setOrigin(Point origin) = 0;

    /// Shows it in front of the others of its kind.
    virtual void orderFrontRegardless() = 0;
    virtual void orderOut() = 0;
};

/// Makes floating panels. Main thread only.
class FloatingPanels {
public:
    virtual ~FloatingPanels() = default;

    virtual std::unique_ptr<FloatingPanel> make(const FloatingPanelStyle& style, const AnyView& content) = 0;
};

} // namespace ZorbelKit
