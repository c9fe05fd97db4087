#include "Platforms/Linux/Storage/FolderReading.hpp"

#include "Platforms/Linux/SystemCalls.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <limits>

namespace Linux {

namespace {

// Of other machines, of programs, and of the kernel. Folders of a host that a virtual machine sees (9p,
// virtiofs) and the layers of a container are as good as a disk.
constexpr std::array<std::uint32_t, 22> foreignFileSystems{
    NFS_SUPER_MAGIC,  SMB_SUPER_MAGIC, CIFS_SUPER_MAGIC,   SMB2_SUPER_MAGIC,    CODA_SUPER_MAGIC,
    AFS_SUPER_MAGIC,  AFS_FS_MAGIC,    CEPH_SUPER_MAGIC,   FUSE_SUPER_MAGIC,    AUTOFS_SUPER_MAGIC,
    PROC_SUPER_MAGIC, SYSFS_MAGIC,     CGROUP_SUPER_MAGIC, CGROUP2_SUPER_MAGIC, DEVPTS_SUPER_MAGIC,
    DEBUGFS_MAGIC,    TRACEFS_MAGIC,   SECURITYFS_MAGIC,   BPF_FS_MAGIC,        EFIVARFS_MAGIC,
    PSTOREFS_MAGIC,   BINFMTFS_MAGIC};

ItemKind kindOfMode(unsigned int mode) {
    switch (mode & S_IFMT) {
    case S_IFDIR:
        return ItemKind::folder;
    case S_IFREG:
        return ItemKind::file;
    case S_IFLNK:
        return ItemKind::link;
    default:
        return ItemKind::other;
    }
}

ItemKind kindOfEntry(unsigned char type) {
    switch (type) {
    case DT_DIR:
        return ItemKind::folder;
    case DT_REG:
        return ItemKind::file;
    case DT_LNK:
        return ItemKind::link;
    case DT_UNKNOWN:
        return ItemKind::unknown;
    default:
        return ItemKind::other;
    }
}

/// The nearest moment there is: disks hold dates of several thousand years.
ZorbelKit::TimePoint moment(const statx_timestamp& time) {
    using std::chrono::nanoseconds;
    constexpr std::int64_t second = 1'000'000'000;
    constexpr std::int64_t last = std::numeric_limits<std::int64_t>::max() / second - 1;
    if (time.tv_sec > last || time.tv_sec < -last) {
        return time.tv_sec > 0 ? ZorbelKit::TimePoint::max() : ZorbelKit::TimePoint::min();
    }
    return ZorbelKit::TimePoint(
        nanoseconds(time.tv_sec * second + std::min<std::int64_t>(time.tv_nsec, second)));
}

std::optional<ItemStatus> statusOf(int folder, const char* name, int flags) {
    struct statx status {};
    const unsigned int wanted = STATX_TYPE | STATX_SIZE | STATX_MTIME | STATX_INO | STATX_MNT_ID;
    const int always = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | AT_STATX_DONT_SYNC;
    if (retried([&] { return ::statx(folder, name, always | flags, wanted, &status); }) != 0) {
        return std::nullopt;
    }
    constexpr std::uint64_t largest = std::numeric_limits<std::int64_t>::max();
    const std::uint64_t device = makedev(status.stx_dev_major, status.stx_dev_minor);
    const bool hasMount = (status.stx_mask & STATX_MNT_ID) != 0;
    return ItemStatus{.kind = kindOfMode(status.stx_mode),
                      .size = static_cast<std::int64_t>(std::min<std::uint64_t>(status.stx_size, largest)),
                      .modified = moment(status.stx_mtime),
                      .file = {.device = device, .number = status.stx_ino},
                      .mount = {hasMount ? std::uint64_t{status.stx_mnt_id} : device}};
}

FileHandle opened(int folder, const char* name, int flags) {
    return FileHandle(retried([&] { return ::openat(folder, name, flags | O_CLOEXEC); }));
}

/// A path as system calls take it, however long it is: a folder and what is left below that.
class Reach {
public:
    explicit Reach(const std::filesystem::path& path)
        : rest_(path.native()) {
        while (rest_.size() > 1 && rest_.ends_with('/')) {
            rest_.pop_back(); // or a link would be followed
        }
        while (rest_.size() >= PATH_MAX) {
            const std::size_t slash = rest_.rfind('/', PATH_MAX - 2);
            if (slash == std::string::npos || slash == 0) {
                rest_.clear(); // no name is so long: there is no such path
                return;
            }
            start_ = opened(folder(), rest_.substr(0, slash).c_str(), O_PATH | O_DIRECTORY);
            rest_.erase(0, std::min(rest_.find_first_not_of('/', slash), rest_.size()));
            if (!start_) {
                rest_.clear();
                return;
            }
        }
    }

    int folder() const { return start_ ? start_.get() : AT_FDCWD; }
    const char* name() const { return rest_.c_str(); } // empty where there is no such path

private:
    FileHandle start_;
    std::string rest_;
};

bool isForeign(const FileHandle& folder) {
    struct statfs status {};
    return retried([&] { return ::fstatfs(folder.get(), &status); }) != 0 ||
           std::ranges::find(foreignFileSystems, static_cast<std::uint32_t>(status.f_type)) !=
               foreignFileSystems.end();
}

void keepFirst(std::vector<std::string>& names, std::size_t most) {
    if (names.size() > most) {
        const auto end = names.begin() + static_cast<std::ptrdiff_t>(most);
        std::ranges::nth_element(names, end);
        names.erase(end, names.end());
    }
}

} // namespace

std::optional<ItemStatus> look(int folder, const char* name) {
    return statusOf(folder, name, 0);
}

std::optional<ItemStatus> look(const FileHandle& item) {
    return statusOf(item.get(), "", AT_EMPTY_PATH);
}

std::optional<ItemStatus> look(const std::filesystem::path& path) {
    const Reach reach(path);
    return look(reach.folder(), reach.name());
}

FileHandle openBelow(int folder, const char* name) {
    return opened(folder, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
}

FileHandle openPath(const std::filesystem::path& path) {
    const Reach reach(path);
    return openBelow(reach.folder(), reach.name());
}

std::optional<WalkRoot> openRoot(const std::filesystem::path& path) {
    const Reach reach(path);
    const FileHandle item = opened(reach.folder(), reach.name(), O_PATH | O_NOFOLLOW); // mounts nothing
    const auto status = item ? look(item) : std::nullopt;
    if (!status) {
        return std::nullopt;
    }
    if (status->kind != ItemKind::folder) {
        return WalkRoot{.status = *status, .folder = {}};
    }
    if (isForeign(item)) {
        return std::nullopt;
    }
    WalkRoot root{.status = *status, .folder = openBelow(item.get(), ".")};
    return root.folder ? std::optional(std::move(root)) : std::nullopt;
}

FolderReader::FolderReader()
    : buffer_(std::make_unique_for_overwrite<std::byte[]>(bufferSize)) {
}

FolderReader::~FolderReader() = default;

FolderReader::Filled FolderReader::fill(int folder) {
    const auto length = retried([&] { return ::getdents64(folder, buffer_.get(), bufferSize); });
    length_ = static_cast<std::size_t>(std::max<ssize_t>(length, 0));
    position_ = 0;
    return length > 0 ? Filled::yes : length == 0 ? Filled::atTheEnd : Filled::failed;
}

std::pair<std::string_view, ItemKind> FolderReader::next() {
    if (position_ >= length_) {
        return {};
    }
    const auto* entry = reinterpret_cast<const dirent64*>(buffer_.get() + position_);
    position_ += entry->d_reclen;
    return {static_cast<const char*>(entry->d_name), kindOfEntry(entry->d_type)};
}

std::optional<FolderReader::Names> FolderReader::namesAfter(const std::string& name, int folder,
                                                            std::size_t most, Dotted dotted) {
    Names found;
    ::lseek(folder, 0, SEEK_SET);
    const bool isRead = read(
        folder,
        [&](std::string_view next, ItemKind) {
            if (next > name && (dotted == Dotted::include || !next.starts_with('.'))) {
                found.names.emplace_back(next);
            }
        },
        [&] {
            if (found.names.size() >= 2 * most) {
                keepFirst(found.names, most);
                found.isCut = true;
            }
            return true;
        });
    if (!isRead) {
        return std::nullopt;
    }
    found.isCut = found.isCut || found.names.size() > most;
    keepFirst(found.names, most);
    std::ranges::sort(found.names);
    return found;
}

} // namespace Linux
