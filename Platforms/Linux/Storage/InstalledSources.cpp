#include "Platforms/Linux/Storage/InstalledSources.hpp"

#include "Platforms/Linux/DesktopFile.hpp"
#include "Platforms/Linux/RegularFile.hpp"
#include "Platforms/Linux/Storage/FolderEntries.hpp"
#include "Platforms/Linux/Storage/Identifiers.hpp"

#include <algorithm>
#include <array>
#include <cstddef>

namespace Linux {

namespace fs = std::filesystem;

namespace {

// Commands that start others, as they can be compared: they tell of no program.
constexpr std::array<std::string_view, 38> wrappers{
    "apprun",     "bash",     "boot", "cmd",     "dash",        "dbuslaunch",   "dbusrunsession", "env",
    "exec",       "firejail", "fish", "flatpak", "gamemoderun", "gapplication", "gtklaunch",      "java",
    "launch",     "mono",     "nice", "node",    "nohup",       "perl",         "pkexec",         "python",
    "python3",    "ruby",     "run",  "setsid",  "sh",          "snap",         "start",          "sudo",
    "systemdrun", "true",     "wine", "wine64",  "xdgopen",     "zsh"};

// Folders that programs share.
constexpr std::array<std::string_view, 24> commonFolders{
    "",      "..",      ".",    "bin", "c:",   "current", "drive_c", "etc",  "games", "home", "lib", "lib64",
    "local", "libexec", "libs", "opt", "root", "sbin",    "share",   "snap", "tmp",   "usr",  "var", "z:"};

bool isWrapper(std::string_view name) {
    return std::ranges::find(wrappers, comparableStem(name)) != wrappers.end();
}

std::vector<std::string_view> pathParts(std::string_view path) {
    std::vector<std::string_view> parts;
    while (!path.empty()) {
        const std::string_view part = path.substr(0, path.find_first_of("/\\"));
        if (!part.empty()) {
            parts.push_back(part);
        }
        path.remove_prefix(std::min(part.size() + 1, path.size()));
    }
    return parts;
}

/// The words of a command that is itself one word of another, as a shell is given it; none where it is a
/// path.
std::vector<std::string> innerWords(const std::string& word) {
    const bool isPath = word.starts_with('/') || (word.size() > 1 && word[1] == ':');
    if (isPath || word.find_first_of(" \t\n;&|") == std::string::npos) {
        return {};
    }
    std::string script = word;
    std::ranges::replace_if(
        script, [](char character) { return character == ';' || character == '&' || character == '|'; }, ' ');
    return commandWords(script);
}

void addWords(std::span<const std::string> words, InstalledNames& names, int depth) {
    constexpr std::size_t mostWords = 200;
    for (const std::string& word : words.first(std::min(words.size(), mostWords))) {
        if (word.starts_with('%') || word.starts_with("@@")) {
            continue; // where files are put
        }
        if (const auto inner = innerWords(word); inner.size() > 1 && depth > 0) {
            addWords(inner, names, depth - 1);
            continue;
        }
        const auto equals = word.find('=');
        if (equals != std::string::npos || !word.starts_with('-')) {
            addProgramPath(std::string_view(word).substr(equals + 1), names); // past the end of none is all
        }
    }
}

} // namespace

bool startsOthers(std::string_view path) {
    const auto parts = pathParts(path);
    return !parts.empty() && isWrapper(parts.back());
}

void addProgramPath(std::string_view path, InstalledNames& names) {
    const auto parts = pathParts(path);
    if (parts.empty()) {
        return;
    }
    if (!isWrapper(parts.back())) {
        names.addProgram(parts.back());
    }
    for (const std::string_view part : parts) {
        if (looksLikeIdentifier(part)) {
            names.addIdentifier(part);
        }
    }
    // "/opt/vendor/editor/bin/run": the folder that is nobody else's tells what is run.
    for (std::size_t index = parts.size() - 1; index-- > 0;) {
        if (std::ranges::find(commonFolders, lowered(parts[index])) == commonFolders.end()) {
            names.addProgram(parts[index]);
            break;
        }
    }
    if (parts.front() == "opt" && parts.size() > 2) {
        names.addProgram(parts[1]);
    }
}

void addCommand(std::span<const std::string> words, InstalledNames& names) {
    constexpr int deepest = 4; // commands within commands
    addWords(words, names, deepest);
}

std::vector<fs::path> flatpakFolders(const StorageLayout& layout) {
    std::vector<fs::path> folders{"/var/lib/flatpak", layout.dataFolder() / "flatpak",
                                  layout.inHome(".local/share/flatpak")};
    for (const char* variable : {"FLATPAK_USER_DIR", "FLATPAK_SYSTEM_DIR"}) {
        folders.emplace_back(layout.environment(variable).value_or(""));
    }
    forEachEntry(layout.inside("/etc/flatpak/installations.d"), [&](const fs::directory_entry& entry) {
        constexpr std::size_t longest = 65'536; // bytes
        forEachDesktopKey(readRegularFile(entry.path().string(), longest).value_or(""),
                          [&](const DesktopKey& key) {
                              if (key.name == "Path") {
                                  folders.emplace_back(key.value);
                              }
                          });
    });
    std::erase_if(folders, [](const fs::path& folder) { return !folder.is_absolute(); });
    std::ranges::transform(folders, folders.begin(),
                           [&](const fs::path& folder) { return layout.inside(folder); });
    return folders;
}

std::vector<fs::path> dataFolders(const StorageLayout& layout) {
    std::vector<fs::path> folders = layout.listed("XDG_DATA_DIRS");
    for (const char* always :
         {"/usr/local/share", "/usr/share", "/var/lib/snapd/desktop", "/run/current-system/sw/share",
          "/nix/var/nix/profiles/default/share", "/home/linuxbrew/.linuxbrew/share"}) {
        folders.emplace_back(always);
    }
    for (const char* own :
         {".local/share", ".nix-profile/share", ".guix-profile/share", ".local/state/nix/profile/share"}) {
        folders.push_back(layout.inHome(own));
    }
    folders.push_back(layout.dataFolder());
    std::erase_if(folders, [](const fs::path& folder) { return !folder.is_absolute(); });
    std::ranges::transform(folders, folders.begin(),
                           [&](const fs::path& folder) { return layout.inside(folder); });
    for (const fs::path& flatpak : flatpakFolders(layout)) {
        folders.push_back(flatpak / "exports/share");
    }
    return folders;
}

InstalledNames installedNames(const StorageLayout& layout) {
    InstalledNames names;
    for (const std::string_view shared : sharedNames()) {
        names.addShared(shared);
    }
    addDesktopFiles(layout, names);
    addPackages(layout, names);
    addExecutables(layout, names);
    addForeignPrograms(layout, names);
    addRunningPrograms(layout, names);
    return names;
}

} // namespace Linux
