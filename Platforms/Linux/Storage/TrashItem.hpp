#pragma once

#include "Platforms/Linux/FileHandle.hpp"
#include "Platforms/Linux/Storage/FileStatus.hpp"

#include <filesystem>
#include <optional>
#include <string>

namespace Linux {

/// Something to be moved: the folder it lies in, held open, and its name there. So it stays the same thing
/// when folders above it are renamed or replaced meanwhile.
struct TrashItem {
    FileHandle folder;
    FileStatus folderStatus;
    std::string name;
    FileStatus status; // its own where it is a link
    std::string place; // where it truly lies: absolute, links followed but for itself

    /// None where nothing is there, or the path is not absolute, leads upwards or names no item.
    static std::optional<TrashItem> find(const std::filesystem::path& path);

    bool isMountPoint() const;
};

/// The folder at which the item's file system is mounted.
struct TopFolder {
    FileHandle folder;
    std::string place; // of the item below it
};

std::optional<TopFolder> topFolderOf(const TrashItem& item);

/// Whether this folder is above the item, at any height.
bool isAbove(const FileStatus& folder, const TrashItem& item);

} // namespace Linux
