#pragma once

#include "Platforms/Linux/DesktopEntries.hpp"
#include "Platforms/Linux/ProcessFacts.hpp"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace Linux {

/// The two halves of WM_CLASS: the window's own name, and that of its program.
struct WindowClass {
    std::string instance{};
    std::string className{};
    bool operator==(const WindowClass&) const = default;
};
WindowClass windowClass(std::string_view property);

/// What a window and its process say of the program that they belong to.
struct WindowClues {
    bool isOurs = false; // this very process made it
    ProcessFacts process{};
    std::string gtkApplication{}; // _GTK_APPLICATION_ID
    WindowClass windowClass{};
    bool operator==(const WindowClues&) const = default;
};

/// Which program that is, the same for all its windows and starts.
struct ApplicationIdentity {
    std::string id;   // UTF-8, never empty
    std::string name; // for people; UTF-8, never empty
    bool operator==(const ApplicationIdentity&) const = default;
};

/// By the id of its desktop file where one is found, else by its class in lower case; none for a window that
/// tells nothing. What a sandbox says comes before what the window says, and that before what the process
/// runs. A Flatpak is kept apart from another copy of the same program that is installed as well. `programs`:
/// null while they are not known.
std::optional<ApplicationIdentity> applicationIdentity(const WindowClues& clues,
                                                       const DesktopEntries* programs);

/// The desktop file's id in an application's id.
std::string_view launcherOf(std::string_view id);

/// Whether a window's program runs on this machine, by WM_CLIENT_MACHINE and the machine's own name. A window
/// that does not say is taken for one of this machine.
bool isOnMachine(std::string_view clientMachine, std::string_view hostName);
bool isOnThisMachine(std::string_view clientMachine);

/// The window that a dialog, or a dialog of a dialog, belongs to; the window itself where it has no parent.
/// Parents may go round in a circle: then all that are in it belong to the same.
std::uint32_t mainWindow(std::uint32_t window, const std::map<std::uint32_t, std::uint32_t>& parents);

} // namespace Linux
