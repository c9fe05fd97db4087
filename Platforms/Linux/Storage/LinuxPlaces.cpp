#include "Platforms/Linux/Storage/LinuxPlaces.hpp"

#include "Platforms/Linux/RegularFile.hpp"
#include "Platforms/Linux/Storage/HeldData.hpp"
#include "Platforms/Linux/Storage/Identifiers.hpp"
#include "Platforms/Linux/Storage/InstalledSources.hpp"
#include "Platforms/Linux/Storage/RunningProcesses.hpp"
#include "Platforms/Linux/Storage/UserFolders.hpp"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <system_error>
#include <utility>

namespace Linux {

namespace fs = std::filesystem;

struct LinuxPlaces::Knowledge {
    InstalledNames installed;
    EntriesInUse inUse;
};

namespace {

constexpr auto sandboxes = ".var/app"; // where each Flatpak has a folder of its own, in home

/// Where a path leads, without links as far as it exists. Empty where that cannot be told.
fs::path resolved(const fs::path& path) {
    std::error_code failure;
    const fs::path canonical = path.empty() ? fs::path() : fs::weakly_canonical(path, failure);
    if (failure) {
        return {};
    }
    return canonical.has_filename() ? canonical : canonical.parent_path();
}

bool isAtOrBelow(const fs::path& path, const fs::path& folder) {
    return std::mismatch(folder.begin(), folder.end(), path.begin(), path.end()).first == folder.end();
}

/// Whether two paths lead to one folder, as they may without a link too.
bool isSame(const fs::path& one, const fs::path& other) {
    std::error_code failure;
    return one == other || fs::equivalent(one, other, failure);
}

/// Whether a walk of a folder comes upon another one: nothing on the way is hidden or on another disk.
bool isWalkedWith(const fs::path& folder, const fs::path& outer) {
    struct stat inside {};
    struct stat outside {};
    if (!isAtOrBelow(folder, outer) || ::stat(folder.c_str(), &inside) != 0 ||
        ::stat(outer.c_str(), &outside) != 0 || inside.st_dev != outside.st_dev) {
        return false;
    }
    const fs::path way = folder.lexically_relative(outer);
    return std::ranges::none_of(way, [](const fs::path& part) { return part.native().starts_with('.'); });
}

} // namespace

LinuxPlaces::LinuxPlaces(StorageLayout layout, std::shared_ptr<const Duvesk::FileWalker> walker)
    : layout_(std::move(layout))
    , walker_(std::move(walker)) {
}

LinuxPlaces::~LinuxPlaces() = default;

std::optional<fs::path> LinuxPlaces::caches() const {
    const fs::path folder = resolved(layout_.inside(layout_.cacheFolder()));
    const auto holds = [&](const fs::path& support) { return isAtOrBelow(support, folder); };
    if (folder.empty() || isHomeOrAbove(folder) || std::ranges::any_of(supportFolders(), holds)) {
        return std::nullopt;
    }
    return folder;
}

std::vector<Duvesk::Places::Root> LinuxPlaces::largeFileRoots() const {
    struct Row {
        const char* key;
        const char* name;
    };
    constexpr std::array rows{Row{"DOWNLOAD", "Downloads"}, Row{"DESKTOP", "Desktop"},
                              Row{"DOCUMENTS", "Documents"}, Row{"VIDEOS", "Videos"}};
    if (!layout_.home.is_absolute()) {
        return {};
    }
    constexpr std::size_t longest = 1 << 20; // bytes
    const fs::path file = layout_.inside(layout_.configFolder() / "user-dirs.dirs");
    const UserFolders folders(readRegularFile(file.string(), longest).value_or(""), layout_.home);
    std::vector<Root> roots;
    for (const Row& row : rows) {
        const auto named = folders.folder(row.key, row.name);
        const fs::path folder = named ? resolved(layout_.inside(*named)) : fs::path();
        const auto isThere = [&](const Root& root) { return isSame(root.folder, folder); };
        if (!folder.empty() && !isHomeOrAbove(folder) && std::ranges::none_of(roots, isThere)) {
            roots.push_back({folder, row.name});
        }
    }
    std::erase_if(roots, [all = roots](const Root& root) {
        return std::ranges::any_of(all, [&](const Root& other) {
            return other.folder != root.folder && isWalkedWith(root.folder, other.folder);
        });
    });
    return roots;
}

std::vector<fs::path> LinuxPlaces::supportFolders() const {
    std::vector<fs::path> folders;
    for (const fs::path& named : {layout_.dataFolder(), layout_.configFolder(), layout_.inHome(sandboxes)}) {
        const fs::path folder = resolved(layout_.inside(named));
        const auto isThere = [&](const fs::path& other) { return isSame(other, folder); };
        if (!folder.empty() && !isHomeOrAbove(folder) && std::ranges::none_of(folders, isThere)) {
            folders.push_back(folder);
        }
    }
    return folders;
}

std::set<std::string, std::less<>> LinuxPlaces::installedBundleIDs() const {
    return look()->installed.all();
}

bool LinuxPlaces::mayBeLeftBehind(const fs::path& entry) const {
    const std::string name = entry.filename().string();
    if (!looksLikeIdentifier(name) || isOwnName(name) || runsOtherPrograms(name) ||
        !walker_->isFolder(entry)) {
        return false;
    }
    const fs::path folder = resolved(entry.parent_path());
    // A sandbox is one program's; elsewhere a vendor's programs share folders, and so do the desktop's.
    const bool isSandbox = isSame(folder, resolved(layout_.inside(layout_.inHome(sandboxes))));
    const auto kinship = isSandbox ? InstalledNames::Kinship::own : InstalledNames::Kinship::vendors;
    if (!isSandbox && isDesktopName(name)) {
        return false;
    }
    const auto knowledge = known();
    return !knowledge->installed.claim(name, kinship) && !knowledge->inUse.contains(folder / name) &&
           !holdsForeignData(*walker_, entry);
}

bool LinuxPlaces::isHomeOrAbove(const fs::path& folder) const {
    const fs::path home = resolved(layout_.inside(layout_.home));
    return isSame(folder, home) || isAtOrBelow(home, folder);
}

std::shared_ptr<const LinuxPlaces::Knowledge> LinuxPlaces::look() const {
    auto found = std::make_shared<const Knowledge>(
        Knowledge{installedNames(layout_), EntriesInUse(layout_, supportFolders())});
    const std::lock_guard lock(mutex_);
    knowledge_ = found;
    return found;
}

std::shared_ptr<const LinuxPlaces::Knowledge> LinuxPlaces::known() const {
    {
        const std::lock_guard lock(mutex_);
        if (knowledge_) {
            return knowledge_;
        }
    }
    return look();
}

} // namespace Linux
