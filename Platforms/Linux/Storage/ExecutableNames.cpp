#include "Platforms/Linux/RegularFile.hpp"
#include "Platforms/Linux/Storage/FolderEntries.hpp"
#include "Platforms/Linux/Storage/Identifiers.hpp"
#include "Platforms/Linux/Storage/InstalledSources.hpp"
#include "Platforms/Linux/Storage/UserFolders.hpp"

#include <algorithm>
#include <cstddef>
#include <optional>

namespace Linux {

namespace fs = std::filesystem;

namespace {

/// Whether it only stands for whatever the system's owner prefers as "editor" or "x-terminal-emulator": such
/// a name is no program's.
bool isAlternative(const fs::directory_entry& entry) {
    return isLink(entry) && linkTarget(entry.path()).starts_with("/etc/alternatives/");
}

void addPath(const StorageLayout& layout, SeenFolders& seen, InstalledNames& names) {
    std::vector<fs::path> folders = layout.listed("PATH");
    for (const char* always : {"/usr/local/bin", "/usr/bin", "/bin", "/usr/local/sbin", "/usr/sbin", "/sbin",
                               "/usr/games", "/usr/local/games", "/snap/bin", "/var/lib/snapd/snap/bin",
                               "/var/lib/flatpak/exports/bin", "/home/linuxbrew/.linuxbrew/bin",
                               "/run/current-system/sw/bin", "/nix/var/nix/profiles/default/bin"}) {
        folders.emplace_back(always);
    }
    for (const char* own : {".local/bin", "bin", ".cargo/bin", "go/bin", ".dotnet/tools", ".nix-profile/bin",
                            ".guix-profile/bin", ".local/share/flatpak/exports/bin", ".npm-global/bin"}) {
        folders.push_back(layout.inHome(own));
    }
    for (const fs::path& folder : folders) {
        const fs::path real = layout.inside(folder);
        // What stands in the user's own folders was put there as a program; elsewhere, by no matter whom.
        const bool isOwn = !layout.home.empty() && folder.native().starts_with(layout.home.native() + '/');
        if (!seen.isNew(real)) {
            continue;
        }
        forEachEntry(real, [&](const fs::directory_entry& entry) {
            if (!isAlternative(entry)) {
                const std::string name = entry.path().filename().string();
                isOwn ? names.addProgram(name) : names.addExecutable(name);
            }
        });
    }
}

/// "Editor_4f0c….AppImage", as it is filed away by a tool that adds the sum of its bytes.
std::string_view withoutSum(std::string_view name) {
    constexpr std::size_t digits = 32;
    const auto cut = name.rfind('_');
    const bool isSum = cut != std::string_view::npos && name.size() == cut + 1 + digits &&
                       name.find_first_not_of("0123456789abcdef", cut + 1) == std::string_view::npos;
    return isSum ? name.substr(0, cut) : name;
}

void addAppImage(std::string_view fileName, InstalledNames& names) {
    constexpr std::string_view suffix = ".appimage";
    const std::string_view whole = withoutSum(fileName.substr(0, fileName.size() - suffix.size()));
    names.addProgram(whole);
    for (auto cut = whole.find_first_of("-_ "); cut != std::string_view::npos;
         cut = whole.find_first_of("-_ ", cut + 1)) {
        if (cut + 1 < whole.size() && whole[cut + 1] >= '0' && whole[cut + 1] <= '9') {
            names.addProgram(whole.substr(0, cut));
            break;
        }
    }
    names.addProgram(comparableStem(whole));
}

void addAppImages(const fs::path& folder, InstalledNames& names) {
    forEachEntry(folder, [&](const fs::directory_entry& entry) {
        if (endsWith(entry.path().filename(), ".appimage")) {
            addAppImage(entry.path().filename().native(), names);
        }
    });
}

/// A folder into which whole programs are put, each a folder or a file, or a vendor's folder of them.
void addProgramFolder(const fs::path& folder, SeenFolders& seen, InstalledNames& names, int depth = 2) {
    if (depth == 0 || !seen.isNew(folder)) {
        return;
    }
    addAppImages(folder, names);
    forEachEntry(folder, [&](const fs::directory_entry& entry) {
        names.addProgram(entry.path().filename().native());
        if (isFolder(entry)) {
            addProgramFolder(entry.path(), seen, names, depth - 1);
        }
    });
}

} // namespace

void addExecutables(const StorageLayout& layout, InstalledNames& names) {
    SeenFolders seen;
    addPath(layout, seen, names);
    for (const fs::path& folder :
         {fs::path("/opt"), layout.inHome("Applications"), layout.inHome("AppImages"), layout.inHome("apps"),
          layout.inHome("opt"), layout.inHome(".local/opt"), layout.inHome("Games"), layout.inHome("games"),
          layout.inHome(".local/share/applications/AppImages"), fs::path("/usr/local/games"),
          fs::path("/usr/local/lib")}) {
        addProgramFolder(layout.inside(folder), seen, names);
    }
    for (const char* packages : {"/home/linuxbrew/.linuxbrew/Cellar", "/home/linuxbrew/.linuxbrew/opt"}) {
        addProgramFolder(layout.inside(packages), seen, names, 1);
    }
    for (const char* own : {"", "Downloads", "Desktop", "Documents", "bin", ".local/bin", ".appimages",
                            ".local/share/applications"}) {
        addAppImages(layout.inside(layout.inHome(own)), names);
    }
    constexpr std::size_t longest = 1 << 20; // bytes
    const fs::path userFolders = layout.inside(layout.configFolder() / "user-dirs.dirs");
    const UserFolders folders(readRegularFile(userFolders.string(), longest).value_or(""), layout.home);
    for (const char* key : {"DOWNLOAD", "DESKTOP", "DOCUMENTS"}) {
        if (const auto folder = folders.folder(key, "Downloads")) {
            addAppImages(layout.inside(*folder), names);
        }
    }
}

} // namespace Linux
