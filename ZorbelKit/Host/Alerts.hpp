#pragma once

#include <string>

namespace ZorbelKit {

/// What an alert says, in UTF-8.
struct Alert {
    std::string messageText;
    std::string informativeText; // below it
    std::string button;          // the only one; Return and Escape press it too

    bool operator==(const Alert&) const = default;
};

/// News that the user must have seen. Main thread only.
class Alerts {
public:
    virtual ~Alerts() = default;

    /// Brings this program forward and shows the alert in front of every window, with the keyboard. May
    /// return before it is answered: timers, the menu bar and other programs go on meanwhile.
    virtual void runModal(const Alert& alert) = 0;
};

} // namespace ZorbelKit
