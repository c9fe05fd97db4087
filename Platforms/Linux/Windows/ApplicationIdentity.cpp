#include "Platforms/Linux/Windows/ApplicationIdentity.hpp"

#include "Platforms/Linux/AsciiCase.hpp"
#include "Platforms/Linux/SingleInstance.hpp"
#include "ZorbelKit/Utf8.hpp"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <set>
#include <utility>

namespace Linux {

namespace {

constexpr std::string_view flatpakCopy = "flatpak:"; // beside another copy of the same desktop file

/// Executables that run the programs of others, which their names say nothing of; a version may follow.
bool runsOthers(std::string_view executable) {
    constexpr std::array<std::string_view, 15> names{"bash", "dash",   "electron", "gjs",  "java",
                                                     "mono", "node",   "nw",       "perl", "pypy",
                                                     "qml",  "python", "ruby",     "sh",   "zsh"};
    return std::ranges::any_of(names,
                               [&](std::string_view name) {
                                   return executable.starts_with(name) &&
                                          std::ranges::all_of(executable.substr(name.size()), [](char each) {
                                              return (each >= '0' && each <= '9') || each == '.' ||
                                                     each == '-';
                                          });
                               }) ||
           executable.starts_with("wine");
}

std::optional<DesktopEntries::Entry> launcherOfClass(const DesktopEntries* programs,
                                                     const std::string& name) {
    return programs && !name.empty() ? programs->ofClass(name) : std::nullopt;
}

/// A page that a browser shows as a program of its own has the browser's class, and its own name as instance.
bool isWebApplication(const WindowClass& windowClass) {
    return windowClass.instance.starts_with("crx_");
}

std::optional<DesktopEntries::Entry> launcher(const WindowClues& clues, const DesktopEntries* programs) {
    if (!clues.gtkApplication.empty() && programs) {
        if (auto entry = programs->withId(clues.gtkApplication)) {
            return entry;
        }
    }
    const auto& [instance, className] = clues.windowClass;
    const bool isWeb = isWebApplication(clues.windowClass);
    if (auto entry = launcherOfClass(programs, isWeb ? instance : className); entry || isWeb) {
        return entry;
    }
    if (auto entry = launcherOfClass(programs, instance)) {
        return entry;
    }
    const std::string& executable = clues.process.executable;
    return runsOthers(executable) ? std::nullopt : launcherOfClass(programs, executable);
}

/// What a window calls itself; empty where it does not.
std::string ownName(const WindowClass& windowClass) {
    const bool isInstance = windowClass.className.empty() || isWebApplication(windowClass);
    return ZorbelKit::utf8::repaired(isInstance ? windowClass.instance : windowClass.className);
}

ApplicationIdentity sandboxed(const WindowClues& clues, const DesktopEntries* programs) {
    const Sandbox& sandbox = clues.process.sandbox;
    const auto entry = programs ? programs->withId(sandbox.id) : std::nullopt;
    const std::string own = ownName(clues.windowClass);
    const bool hasTwin = sandbox.kind == Sandbox::Kind::flatpak && entry && programs->hasTwin(entry->id);
    const std::string id = entry ? entry->id : sandbox.id;
    const std::string otherwise = own.empty() ? sandbox.id : own;
    return {hasTwin ? std::string(flatpakCopy) + id : id, entry ? entry->name : otherwise};
}

} // namespace

WindowClass windowClass(std::string_view property) {
    const std::size_t end = std::min(property.find('\0'), property.size());
    const std::string_view second = property.substr(std::min(end + 1, property.size()));
    return {std::string(property.substr(0, end)), std::string(second.substr(0, second.find('\0')))};
}

std::optional<ApplicationIdentity> applicationIdentity(const WindowClues& clues,
                                                       const DesktopEntries* programs) {
    const std::string own = ownName(clues.windowClass);
    const auto entry = launcher(clues, programs);
    if (clues.isOurs) { // no desktop file may be installed
        const std::string name = own.empty() ? std::string(applicationId) : own;
        return ApplicationIdentity{applicationId, entry ? entry->name : name};
    }
    if (clues.process.sandbox.kind != Sandbox::Kind::none) {
        return sandboxed(clues, programs);
    }
    if (entry) {
        return ApplicationIdentity{entry->id, entry->name};
    }
    return own.empty() ? std::nullopt : std::optional(ApplicationIdentity{lowered(own), own});
}

std::string_view launcherOf(std::string_view id) {
    return id.starts_with(flatpakCopy) ? id.substr(flatpakCopy.size()) : id;
}

bool isOnMachine(std::string_view clientMachine, std::string_view hostName) {
    const auto firstLabel = [](std::string_view name) { return lowered(name.substr(0, name.find('.'))); };
    const std::string machine = firstLabel(clientMachine.substr(0, clientMachine.find('\0')));
    return machine.empty() || machine == "localhost" || machine == firstLabel(hostName);
}

bool isOnThisMachine(std::string_view clientMachine) {
    std::array<char, HOST_NAME_MAX + 1> name{};
    ::gethostname(name.data(), name.size() - 1);
    return isOnMachine(clientMachine, name.data());
}

std::uint32_t mainWindow(std::uint32_t window, const std::map<std::uint32_t, std::uint32_t>& parents) {
    std::set<std::uint32_t> passed;
    while (passed.insert(window).second) {
        const auto parent = parents.find(window);
        if (parent == parents.end()) {
            return window;
        }
        window = parent->second;
    }
    std::uint32_t least = window;
    for (auto next = parents.find(window)->second; next != window; next = parents.find(next)->second) {
        least = std::min(least, next);
    }
    return least;
}

} // namespace Linux
