#pragma once

#include <optional>
#include <string>

namespace ZorbelKit {

/// A program with windows, as its user knows it.
struct RunningApplication {
    std::optional<std::string> localizedName; // UTF-8; none where it has no name

    bool operator==(const RunningApplication&) const = default;
};

/// The programs on the user's desktop. Main thread only; asks nobody who could keep it waiting.
class Workspace {
public:
    virtual ~Workspace() = default;

    /// The program whose window has the keyboard; none where there is no such window.
    virtual std::optional<RunningApplication> frontmostApplication() const = 0;
};

} // namespace ZorbelKit
