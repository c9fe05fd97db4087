#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace ZorbelKit {

/// A program with windows, as its user knows it.
struct RunningApplication {
    std::int64_t processIdentifier = 0;
    std::optional<std::string>
        bundleIdentifier{};                     // the same for all its windows and starts; none where unknown
    std::optional<std::string> localizedName{}; // UTF-8; none where it has no name

    bool operator==(const RunningApplication&) const = default;
};

/// The programs on the user's desktop. Main thread only; asks nobody who could keep it waiting.
class Workspace {
public:
    virtual ~Workspace() = default;

    /// The program whose window has the keyboard; none where there is no such window.
    virtual std::optional<RunningApplication> frontmostApplication() const = 0;

    /// Where a program's picture is: the path of a file, or a name in the icon theme; none where it has none.
    virtual std::optional<std::string> iconOf(const std::string& bundleIdentifier) const = 0;

    /// Of this program.
    virtual std::optional<std::string> ownBundleIdentifier() const = 0;
};

} // namespace ZorbelKit
