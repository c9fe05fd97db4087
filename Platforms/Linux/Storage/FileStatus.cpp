#include "Platforms/Linux/Storage/FileStatus.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace Linux {

std::optional<FileStatus> FileStatus::of(int folder, const std::string& name) {
    constexpr int flags = AT_EMPTY_PATH | AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT;
    struct statx status {};
    if (::statx(folder, name.c_str(), flags, STATX_TYPE | STATX_MODE | STATX_UID | STATX_INO | STATX_MNT_ID,
                &status) != 0) {
        return std::nullopt;
    }
    FileStatus result{.device = makedev(status.stx_dev_major, status.stx_dev_minor),
                      .inode = status.stx_ino,
                      .mode = status.stx_mode,
                      .owner = status.stx_uid};
    if (status.stx_mask & STATX_MNT_ID) {
        result.mount = status.stx_mnt_id;
    }
    return result;
}

bool FileStatus::isFolder() const {
    return S_ISDIR(mode);
}

bool FileStatus::isSticky() const {
    return (mode & S_ISVTX) != 0;
}

bool FileStatus::isOnMountOf(const FileStatus& other) const {
    return mount && other.mount ? mount == other.mount : device == other.device;
}

} // namespace Linux
