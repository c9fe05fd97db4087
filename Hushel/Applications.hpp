#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Hushel {

/// A running program, as its user knows it.
struct Application {
    std::int64_t processIdentifier = 0; // of one of its processes; 0 where unknown
    std::optional<std::string>
        bundleIdentifier{};                     // the same for all its windows and starts; none where unknown
    std::optional<std::string> localizedName{}; // UTF-8; none where it has no name
    bool isRegular = false; // its user switches to its windows; panels and desktops are not
    bool isHidden = false;  // none of its windows is shown
    bool isActive = false;  // one of its windows has the keyboard
    bool canHide = true;    // false once it has been asked in vain, until it hides after all

    bool operator==(const Application&) const = default;
};

/// The programs on the desktop, and the way to put them out of sight. Main thread only; asks nobody who could
/// keep it waiting, and costs nothing while it is not asked.
class Applications {
public:
    virtual ~Applications() = default;

    /// The programs that have windows, each once, in the order in which they came; this one among them.
    virtual std::vector<Application> running() = 0;

    /// Has all windows of these put out of sight. None is closed, and its user gets each back by the
    /// desktop's own means. Takes effect a moment later; what is hidden or gone by now is left alone, and
    /// what has been asked in vain is asked less often.
    virtual void hide(const std::vector<Application>& applications) = 0;

    /// A sentence for the user: why no program can be hidden here at all. Empty while they can.
    virtual std::string hidingHint() = 0;
};

} // namespace Hushel
