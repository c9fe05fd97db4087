#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace Linux {

/// What keeps an application in a world of its own, and the name it has there.
struct Sandbox {
    enum class Kind { none, flatpak, snap };
    Kind kind = Kind::none;
    std::string id{}; // of a Flatpak "org.kettle.Kettle"; of a Snap "kettle_app"; else empty
    bool operator==(const Sandbox&) const = default;
};

/// What a process tells of the program that it runs.
struct ProcessFacts {
    Sandbox sandbox{};
    std::string executable{}; // its file name; empty where it is another user's
    bool operator==(const ProcessFacts&) const = default;
};

/// Reads them from `procFolder` ("/proc"; another one in tests): no more than two small files and three
/// links. From any thread.
ProcessFacts processFacts(std::int64_t pid, const std::string& procFolder = "/proc");

/// By the control groups of a process (/proc/<pid>/cgroup), which the service manager names.
Sandbox sandboxOfGroups(std::string_view groups);

/// The file name of what a process runs; empty where that may not be known. `folder`: "/proc/<pid>".
std::string executableName(const std::string& folder);

/// The identifier of a sandboxed application; empty for a process that is in no such sandbox. What lies in
/// the sandbox is the process's own making.
std::string flatpakIdentifier(const std::string& folder);

} // namespace Linux
