#include "Platforms/Linux/Storage/Trash.hpp"

#include "Platforms/Linux/Storage/MountTable.hpp"
#include "Platforms/Linux/Storage/TrashFolder.hpp"
#include "Platforms/Linux/Storage/TrashItem.hpp"

#include <fcntl.h>

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <system_error>
#include <utility>

namespace Linux {

namespace fs = std::filesystem;
using Outcome = TrashFolder::Outcome;

namespace {

/// Whether a path is that of the item, or of something in it; each of its parts may be a link.
bool leadsThrough(const TrashItem& item, const fs::path& path) {
    fs::path part;
    return std::ranges::any_of(path, [&](const fs::path& component) {
        part /= component;
        const auto status = FileStatus::of(AT_FDCWD, part);
        return status && status->isSameFile(item.status);
    });
}

/// The same, where the path leads elsewhere by a link too.
bool holds(const TrashItem& item, const fs::path& path) {
    std::error_code error;
    const fs::path behindLinks = fs::weakly_canonical(path, error);
    return leadsThrough(item, path) || (!error && leadsThrough(item, behindLinks));
}

bool isFolder(const std::string& path) {
    const auto status = FileStatus::of(AT_FDCWD, path);
    return status && status->isFolder();
}

/// Whether a folder is somebody's Trash, on this disk or on one that was mounted elsewhere before.
bool isTrash(const std::string& path) {
    const std::string_view name = std::string_view(path).substr(path.rfind('/') + 1);
    if (name == "Trash") {
        return isFolder(path + "/files") && isFolder(path + "/info");
    }
    constexpr std::string_view start = ".Trash-";
    return name == ".Trash" || (name.starts_with(start) && name.size() > start.size() &&
                                name.find_first_not_of("0123456789", start.size()) == std::string_view::npos);
}

/// Whether a place is in a Trash, or is one.
bool isInTrash(const std::string& place) {
    for (std::size_t slash = 1; slash < place.size(); ++slash) {
        slash = std::min(place.find('/', slash), place.size());
        if (isTrash(place.substr(0, slash))) {
            return true;
        }
    }
    return false;
}

} // namespace

Trash::Trash(fs::path dataFolder, fs::path home)
    : dataFolder_(std::move(dataFolder))
    , home_(std::move(home)) {
}

bool Trash::move(const fs::path& path) const {
    const auto item = TrashItem::find(path);
    if (!item || isKept(*item)) {
        return false;
    }
    Outcome outcome = Outcome::elsewhere;
    const auto home = TrashFolder::inData(dataFolder_);
    if (home && home->isOnMountOf(item->folderStatus)) {
        outcome = home->take(*item, item->place);
    }
    // One mount may hold several file systems, which only a try tells.
    const auto top = outcome == Outcome::elsewhere ? topFolderOf(*item) : std::nullopt;
    for (const auto open : {&TrashFolder::inSharedTrash, &TrashFolder::ofUser}) {
        const auto trash = top && outcome == Outcome::elsewhere ? open(top->folder) : std::nullopt;
        if (trash) {
            outcome = trash->take(*item, top->place);
        }
    }
    return outcome == Outcome::moved;
}

/// Whether something would be lost with the item, or by emptying the Trash.
bool Trash::isKept(const TrashItem& item) const {
    const fs::path trash = dataFolder_ / "Trash";
    if (item.isMountPoint() || isInTrash(item.place) || holds(item, home_) || holds(item, trash / "files") ||
        holds(item, trash / "info")) {
        return true;
    }
    std::error_code error;
    const auto trashStatus = FileStatus::of(AT_FDCWD, fs::canonical(trash, error));
    return (!error && trashStatus && isAbove(*trashStatus, item)) ||
           (item.status.isFolder() && isAnythingMountedBelow(item.place));
}

} // namespace Linux
