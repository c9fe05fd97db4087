#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace Linux {

/// Which file it is, of what kind, and on which mount.
struct FileStatus {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::optional<std::uint64_t> mount{}; // none: the kernel does not tell
    unsigned int mode = 0;
    unsigned int owner = 0;

    /// Of `name` in an open folder, itself where it is a link; of the folder where `name` is empty. Nothing
    /// is mounted by looking at it.
    static std::optional<FileStatus> of(int folder, const std::string& name = {});

    bool isFolder() const;
    bool isSticky() const;
    bool isSameFile(const FileStatus& other) const { return device == other.device && inode == other.inode; }

    /// A bind mount is a mount of its own, though the device is the same. To be asked of folders: an overlay
    /// gives files the numbers of the disks below it.
    bool isOnMountOf(const FileStatus& other) const;
};

} // namespace Linux
