#pragma once

#include "ZorbelKit/Token.hpp"

#include <functional>
#include <string>
#include <string_view>

namespace ZorbelKit {

/// Keys that work wherever the keyboard is. Main thread only.
class Shortcuts {
public:
    virtual ~Shortcuts() = default;

    /// Calls `pressed` whenever the key goes down with Control and Alt held, until the token goes; held down
    /// it calls once. Keys: "A" to "Z", "Left", "Right", "Up", "Down", "Return". An empty token: another
    /// program holds the key, or it is not on this keyboard.
    virtual Token grab(std::string_view key, std::function<void()> pressed) = 0;

    /// The keys' text for the user, "Ctrl+Alt+Left".
    virtual std::string text(std::string_view key) const = 0;
};

} // namespace ZorbelKit
