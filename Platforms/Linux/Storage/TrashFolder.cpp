#include "Platforms/Linux/Storage/TrashFolder.hpp"

#include "Platforms/Linux/Storage/TrashNames.hpp"
#include "Platforms/Linux/SystemCalls.hpp"

#include <fcntl.h>
#include <linux/magic.h>
#include <stdio.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <utility>

namespace Linux {

namespace {

constexpr mode_t folderMode = 0700;
constexpr mode_t fileMode = 0600;
constexpr int folderFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;
constexpr int mostAttempts = 100; // others may take names at the same time
constexpr int mostNames = 1 << 24;

/// Makes it where it is missing. A link is not followed.
FileHandle openOrMake(const FileHandle& parent, const std::string& name) {
    ::mkdirat(parent.get(), name.c_str(), folderMode);
    return FileHandle(::openat(parent.get(), name.c_str(), folderFlags | O_NOFOLLOW));
}

void makeFolders(const std::filesystem::path& path) {
    std::filesystem::path made;
    for (const auto& component : path) {
        made /= component;
        ::mkdir(made.c_str(), folderMode);
    }
}

/// On a stick every file has the owner that the stick was mounted for.
bool knowsOwners(const FileHandle& folder) {
    struct statfs system {};
    return ::fstatfs(folder.get(), &system) != 0 ||
           (system.f_type != MSDOS_SUPER_MAGIC && system.f_type != EXFAT_SUPER_MAGIC);
}

bool isOfUser(const FileHandle& folder) {
    const auto status = FileStatus::of(folder.get());
    return status && (status->owner == ::geteuid() || !knowsOwners(folder));
}

/// To the disk; file systems that know of no such thing are taken as they are.
bool sync(const FileHandle& file) {
    return retried([&] { return ::fsync(file.get()); }) == 0 || errno == EINVAL || errno == EOPNOTSUPP ||
           errno == ENOSYS;
}

/// Renames without replacing anything; the number of the error, or 0.
int rename(int folder, const std::string& name, int newFolder, const std::string& newName) {
    if (::renameat2(folder, name.c_str(), newFolder, newName.c_str(), RENAME_NOREPLACE) == 0) {
        return 0;
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return errno;
    }
    // Not every file system can be asked so. The file about the item has reserved the name by now.
    struct stat status {};
    if (::fstatat(newFolder, newName.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) {
        return EEXIST;
    }
    if (errno != ENOENT) {
        return errno;
    }
    return ::renameat(folder, name.c_str(), newFolder, newName.c_str()) == 0 ? 0 : errno;
}

} // namespace

TrashFolder::TrashFolder(FileHandle info, FileHandle files, const FileStatus& status)
    : info_(std::move(info))
    , files_(std::move(files))
    , status_(status) {
}

std::optional<TrashFolder> TrashFolder::in(const FileHandle& folder) {
    if (!folder) {
        return std::nullopt;
    }
    FileHandle info = openOrMake(folder, "info");
    FileHandle files = openOrMake(folder, "files");
    const auto status = files ? FileStatus::of(files.get()) : std::nullopt;
    return info && status ? std::optional(TrashFolder(std::move(info), std::move(files), *status))
                          : std::nullopt;
}

std::optional<TrashFolder> TrashFolder::inData(const std::filesystem::path& dataFolder) {
    const std::filesystem::path folder = dataFolder / "Trash";
    makeFolders(folder);
    return in(FileHandle(::open(folder.c_str(), folderFlags))); // a link is the user's own choice
}

std::optional<TrashFolder> TrashFolder::inSharedTrash(const FileHandle& top) {
    const FileHandle shared(::openat(top.get(), ".Trash", folderFlags | O_NOFOLLOW));
    const auto status = shared ? FileStatus::of(shared.get()) : std::nullopt;
    // Without the sticky bit any user could take away what is another's.
    if (!status || !status->isSticky()) {
        return std::nullopt;
    }
    const FileHandle folder = openOrMake(shared, std::to_string(::geteuid()));
    return folder && isOfUser(folder) ? in(folder) : std::nullopt;
}

std::optional<TrashFolder> TrashFolder::ofUser(const FileHandle& top) {
    const FileHandle folder = openOrMake(top, ".Trash-" + std::to_string(::geteuid()));
    return folder && isOfUser(folder) ? in(folder) : std::nullopt;
}

TrashFolder::Outcome TrashFolder::take(const TrashItem& item, std::string_view place) const {
    int error = EEXIST;
    for (int attempt = 0; attempt < mostAttempts && error == EEXIST; ++attempt) {
        error = tryToTake(item, place, freeName(item.name));
    }
    if (error == EXDEV) {
        return Outcome::elsewhere;
    }
    return error == 0 ? Outcome::moved : Outcome::refused;
}

/// The number of the error, or 0. The file about the item comes first, and is on the disk before the item
/// moves: whatever happens in between, the item can be found.
int TrashFolder::tryToTake(const TrashItem& item, std::string_view place, const std::string& name) const {
    const std::string infoName = name + std::string(trashInfoSuffix);
    const FileHandle info(
        ::openat(info_.get(), infoName.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, fileMode));
    if (!info) {
        return errno;
    }
    const bool isWritten = writeWhole(info.get(), trashInfo(place, std::time(nullptr))) && sync(info);
    const int error = isWritten ? rename(item.folder.get(), item.name, files_.get(), name) : EIO;
    if (error != 0) {
        ::unlinkat(info_.get(), infoName.c_str(), 0);
    }
    return error;
}

bool TrashFolder::isTaken(const std::string& name) const {
    struct stat status {};
    const std::string infoName = name + std::string(trashInfoSuffix);
    return ::fstatat(files_.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 ||
           ::fstatat(info_.get(), infoName.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

/// Halves its way to a free number: ten thousand items may have one name.
std::string TrashFolder::freeName(std::string_view name) const {
    int taken = 0;
    int free = 1;
    while (free < mostNames && isTaken(trashName(name, free))) {
        taken = free;
        free *= 2;
    }
    while (free - taken > 1) {
        const int middle = taken + (free - taken) / 2;
        (isTaken(trashName(name, middle)) ? taken : free) = middle;
    }
    return trashName(name, free);
}

} // namespace Linux
