#include "Platforms/Linux/DesktopFile.hpp"
#include "Platforms/Linux/RegularFile.hpp"
#include "Platforms/Linux/Storage/FolderEntries.hpp"
#include "Platforms/Linux/Storage/InstalledSources.hpp"

#include <cstddef>
#include <optional>

namespace Linux {

namespace fs = std::filesystem;

namespace {

void addFolderNames(const fs::path& folder, InstalledNames& names) {
    forEachEntry(folder, [&](const fs::directory_entry& entry) {
        names.addProgram(entry.path().filename().native());
    });
}

/// What is installed in a Wine prefix: each program's folder, or its vendor's with those of its programs.
void addWinePrefix(const fs::path& prefix, InstalledNames& names) {
    for (const char* programs : {"drive_c/Program Files", "drive_c/Program Files (x86)"}) {
        forEachEntry(prefix / programs, [&](const fs::directory_entry& entry) {
            names.addProgram(entry.path().filename().native());
            addFolderNames(entry.path(), names);
        });
    }
}

/// Also those of the libraries on other disks, which it lists: `"path"  "/mnt/games"`.
void addSteam(const StorageLayout& layout, const fs::path& steam, InstalledNames& names) {
    constexpr std::size_t longest = 1 << 20; // bytes
    addFolderNames(steam / "steamapps/common", names);
    const fs::path list = steam / "steamapps/libraryfolders.vdf";
    const auto words = commandWords(readRegularFile(list.string(), longest).value_or(""));
    for (std::size_t index = 1; index < words.size(); ++index) {
        if (words[index - 1] == "path") {
            addFolderNames(layout.inside(words[index]) / "steamapps/common", names);
        }
    }
}

} // namespace

void addForeignPrograms(const StorageLayout& layout, InstalledNames& names) {
    const fs::path data = layout.inside(layout.dataFolder());
    const auto inHome = [&](const char* relative) { return layout.inside(layout.inHome(relative)); };
    addWinePrefix(inHome(".wine"), names);
    if (const auto prefix = layout.environment("WINEPREFIX")) {
        addWinePrefix(layout.inside(*prefix), names);
    }
    for (const fs::path& prefixes :
         {data / "wineprefixes", data / "bottles/bottles", inHome(".PlayOnLinux/wineprefix"), inHome("Games"),
          inHome("Games/Heroic/Prefixes"), inHome(".var/app/com.usebottles.bottles/data/bottles/bottles")}) {
        forEachEntry(prefixes, [&](const fs::directory_entry& entry) { addWinePrefix(entry.path(), names); });
    }
    for (const fs::path& steam :
         {inHome(".steam/steam"), data / "Steam", inHome("snap/steam/common/.local/share/Steam"),
          inHome(".var/app/com.valvesoftware.Steam/.local/share/Steam")}) {
        addSteam(layout, steam, names);
    }
    forEachEntry(data / "lutris/games", [&](const fs::directory_entry& entry) {
        names.addProgram(entry.path().stem().native()); // "some-game-1690000000.yml"
    });
    for (const fs::path& games :
         {inHome(".config/itch/apps"), inHome("Games/Heroic"), data / "lutris/runners"}) {
        addFolderNames(games, names);
    }
}

} // namespace Linux
