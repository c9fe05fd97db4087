#include "Platforms/Linux/Storage/TrashItem.hpp"

#include <fcntl.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <functional>
#include <string_view>
#include <utility>

namespace Linux {

namespace {

constexpr int folderFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;
constexpr std::size_t longestStride = PATH_MAX / 2; // bytes; leaves room for links in it that lead further

struct Folder {
    FileHandle handle;
    std::string place; // "" for the root
};

/// Takes the first component of a path off it; empty at the path's end.
std::string_view nextComponent(std::string_view& path) {
    path.remove_prefix(std::min(path.find_first_not_of('/'), path.size()));
    const std::string_view component = path.substr(0, path.find('/'));
    path.remove_prefix(component.size());
    return component;
}

bool leadsUpwards(std::string_view path) {
    for (auto component = nextComponent(path); !component.empty(); component = nextComponent(path)) {
        if (component == "..") {
            return true;
        }
    }
    return false;
}

/// Where an open folder lies; none where that is not to be had, or it is reached there no longer.
std::optional<std::string> placeOf(const FileHandle& folder) {
    std::string place(PATH_MAX, '\0');
    const std::string link = "/proc/self/fd/" + std::to_string(folder.get());
    const ssize_t length = ::readlink(link.c_str(), place.data(), place.size());
    if (length <= 0 || length == PATH_MAX) {
        return std::nullopt;
    }
    place.resize(static_cast<std::size_t>(length));
    const auto here = FileStatus::of(folder.get());
    const auto there = FileStatus::of(AT_FDCWD, place);
    if (!place.starts_with('/') || !here || !there || !here->isSameFile(*there)) {
        return std::nullopt;
    }
    return place == "/" ? std::string() : place;
}

/// Opens a folder by its absolute path, of any length. The kernel takes no more than so much at once: what
/// lies deeper is reached step by step, and there no link is followed.
std::optional<Folder> openFolder(std::string_view path) {
    std::string_view first = path;
    if (path.size() > longestStride) {
        first = path.substr(0, path.rfind('/', longestStride));
    }
    Folder folder{FileHandle(::open(first.empty() ? "/" : std::string(first).c_str(), folderFlags)), {}};
    auto place = folder.handle ? placeOf(folder.handle) : std::nullopt;
    if (!place) {
        return std::nullopt;
    }
    folder.place = *std::move(place);
    path.remove_prefix(first.size());
    for (auto component = nextComponent(path); !component.empty(); component = nextComponent(path)) {
        if (component == ".") {
            continue;
        }
        const std::string name(component);
        folder.handle = FileHandle(::openat(folder.handle.get(), name.c_str(), folderFlags | O_NOFOLLOW));
        if (!folder.handle) {
            return std::nullopt;
        }
        folder.place += "/" + name;
    }
    return folder;
}

/// Shows the item's folder and all above it, on from one to the next, while `isWanted` says so of the next.
/// The last one wanted; empty where one could not be opened.
std::optional<FileHandle>
climb(const TrashItem& item,
      const std::function<bool(const FileStatus& from, const FileStatus& to)>& isWanted) {
    FileHandle folder(::openat(item.folder.get(), ".", folderFlags));
    FileStatus status = item.folderStatus;
    while (folder) {
        FileHandle above(::openat(folder.get(), "..", folderFlags));
        const auto aboveStatus = above ? FileStatus::of(above.get()) : std::nullopt;
        if (!aboveStatus) {
            break;
        }
        const bool isRoot = aboveStatus->isSameFile(status) && aboveStatus->isOnMountOf(status);
        if (isRoot || !isWanted(status, *aboveStatus)) {
            return folder;
        }
        folder = std::move(above);
        status = *aboveStatus;
    }
    return std::nullopt;
}

} // namespace

std::optional<TrashItem> TrashItem::find(const std::filesystem::path& path) {
    std::string_view text = path.native();
    text = text.substr(0, text.find_last_not_of('/') + 1);
    if (!text.starts_with('/') || text.find('\0') != std::string_view::npos || leadsUpwards(text)) {
        return std::nullopt;
    }
    const std::size_t slash = text.rfind('/');
    const std::string name(text.substr(slash + 1));
    auto folder = name == "." ? std::nullopt : openFolder(text.substr(0, slash));
    if (!folder) {
        return std::nullopt;
    }
    const auto folderStatus = FileStatus::of(folder->handle.get());
    const auto status = FileStatus::of(folder->handle.get(), name);
    if (!folderStatus || !status) {
        return std::nullopt;
    }
    return TrashItem{.folder = std::move(folder->handle),
                     .folderStatus = *folderStatus,
                     .name = name,
                     .status = *status,
                     .place = folder->place + "/" + name};
}

bool TrashItem::isMountPoint() const {
    const bool isComparable = status.isFolder() || status.mount;
    return isComparable && !status.isOnMountOf(folderStatus);
}

std::optional<TopFolder> topFolderOf(const TrashItem& item) {
    int height = 1; // of the top folder above the item
    auto folder = climb(item, [&height](const FileStatus& from, const FileStatus& to) {
        const bool isSame = from.isOnMountOf(to);
        height += isSame ? 1 : 0;
        return isSame;
    });
    if (!folder) {
        return std::nullopt;
    }
    std::size_t slash = item.place.size();
    for (; height > 0; --height) {
        slash = item.place.rfind('/', slash - 1);
    }
    return TopFolder{*std::move(folder), item.place.substr(slash + 1)};
}

bool isAbove(const FileStatus& folder, const TrashItem& item) {
    bool isFound = item.folderStatus.isSameFile(folder);
    climb(item, [&](const FileStatus&, const FileStatus& to) {
        isFound = isFound || to.isSameFile(folder);
        return !isFound;
    });
    return isFound;
}

} // namespace Linux
