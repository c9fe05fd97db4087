#pragma once

#include "Pintho/SeatGeometry.hpp"

#include <cstdint>
#include <optional>
#include <string>

namespace Pintho {

/// A window of another program, as whoever gave it out knows it. It may be gone at any moment: everything
/// asked of it then fails.
struct WindowElement {
    std::uint64_t id = 0;

    bool operator==(const WindowElement&) const = default;
};

/// Looks at other programs' windows and moves them. Nothing here waits for another program: what is set takes
/// effect when its program gets to it, and the last word counts. Main thread only.
class Accessibility {
public:
    virtual ~Accessibility() = default;

    /// Whether windows of other programs can be placed here at all.
    virtual bool isTrusted() const = 0;

    /// A sentence for the user: why not, and what would help. Empty while they can be placed, and where the
    /// system itself explains it when asked.
    virtual std::string trustHint() const = 0;

    /// Has the system ask the user for it, where it does that.
    virtual void requestTrust() = 0;

    /// The window of this process that has the keyboard; none where it has no such window.
    virtual std::optional<WindowElement> focusedWindow(std::int64_t processIdentifier) const = 0;

    // None where the attribute is missing or cannot be read.
    virtual std::optional<std::string> title(WindowElement window) const = 0; // UTF-8
    virtual std::optional<WindowPoint> position(WindowElement window) const = 0;
    virtual std::optional<ZorbelKit::Size> size(WindowElement window) const = 0;

    virtual void setPosition(WindowElement window, WindowPoint corner) = 0;
    virtual void setSize(WindowElement window, ZorbelKit::Size size) = 0;
};

} // namespace Pintho
