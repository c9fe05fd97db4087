#pragma once

#include "ZorbelKit/Geometry.hpp"
#include "ZorbelKit/Host/Image.hpp"
#include "ZorbelKit/Token.hpp"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace ZorbelKit {

enum class ClickButton { left, right };

/// Frames are in screen coordinates (see Screens.hpp).
struct StatusClick {
    ClickButton button = ClickButton::left;
    std::optional<Rect> itemFrame; // none where the desktop's tray does not tell
};

enum class StatusItemKind {
    button,  // there to be seen and clicked
    divider, // there to push others out of sight; a tray that lays out its icons itself does not show it
};

/// One item in the system's menu bar; destroying it takes it off. Main thread only.
class StatusItem {
public:
    virtual ~StatusItem() = default;

    virtual void
    setLength(double points) = 0; // at once; StatusBar::squareLength = as wide as the bar is high
    virtual void setImage(const Image& image) = 0;
    virtual void setToolTip(std::string text) = 0;

    /// Called on the release of either button; may destroy the item.
    virtual void onClick(std::function<void(StatusClick)> handler) = 0;

    /// The visible part; none while hidden or unknown.
    virtual std::optional<Rect> frame() const = 0;
};

/// The system's menu bar. Main thread only.
class StatusBar {
public:
    static constexpr double squareLength = -2.0;

    virtual ~StatusBar() = default;

    /// A new item, to the left of the suite's earlier ones unless the user has placed it elsewhere; the place
    /// is remembered under the autosave name. Null where the platform shows no status items at all.
    virtual std::unique_ptr<StatusItem> statusItem(double length, std::string autosaveName,
                                                   StatusItemKind kind) = 0;

    /// Whether a wide item pushes those left of it out of sight.
    virtual bool pushesOthers() const = 0;

    /// Whether the items are in the user's sight now, or on their way there.
    virtual bool isReachable() const = 0;

    /// Where the desktop has a tray of its own: whether the user would rather have the suite's bar. None
    /// where there is nothing to choose.
    virtual std::optional<bool> usesOwnBar() const = 0;

    /// Remembered. Ignored where there is nothing to choose.
    virtual void setUsesOwnBar(bool on) = 0;

    /// How an icon is dragged to another place, where the keys are not called what they are on a Mac; empty
    /// elsewhere.
    virtual std::string arrangingHint() const = 0;

    /// One of the reads above has changed.
    virtual Token onChange(std::function<void()> changed) = 0;
};

} // namespace ZorbelKit
