#pragma once

#include "Platforms/Linux/FileHandle.hpp"
#include "ZorbelKit/Time.hpp"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

namespace Linux {

/// What something in a folder is, itself and not where it leads. A pipe, a socket or a device is `other`.
enum class ItemKind { unknown, folder, file, link, other };

/// What tells a file from every other for as long as it is there.
struct FileNumber {
    std::uint64_t device = 0;
    std::uint64_t number = 0;

    bool operator==(const FileNumber&) const = default;
};

/// One of the file systems that a tree is put together from, also where it shows a folder of another one
/// once more. Kernels before 5.8 tell only the device.
struct Mount {
    std::uint64_t number = 0;

    bool operator==(const Mount&) const = default;
};

struct ItemStatus {
    ItemKind kind = ItemKind::unknown;
    std::int64_t size = 0; // bytes
    ZorbelKit::TimePoint modified{};
    FileNumber file;
    Mount mount;
};

/// None where it is gone or may not be looked at. Mounts nothing.
std::optional<ItemStatus> look(int folder, const char* name);
std::optional<ItemStatus> look(const FileHandle& item);
std::optional<ItemStatus> look(const std::filesystem::path& path);

/// Opens a folder for reading; nothing where there is none, or a link.
FileHandle openBelow(int folder, const char* name);
FileHandle openPath(const std::filesystem::path& path);

/// Where a walk begins.
struct WalkRoot {
    ItemStatus status;
    FileHandle folder; // none where it is no folder
};

/// None where nothing can be read, and where reading could take for ever or has no end: on file systems of
/// other machines, of programs and of the kernel itself.
std::optional<WalkRoot> openRoot(const std::filesystem::path& path);

/// Lists folders one after the other.
class FolderReader {
public:
    FolderReader();
    FolderReader(const FolderReader&) = delete;
    FolderReader& operator=(const FolderReader&) = delete;
    ~FolderReader();

    /// Calls `take(name, kind)` for everything in a folder but "." and "..", in the order of the disk; names
    /// end with a zero byte. `taken` is asked after some thousand of them, and says false where that is
    /// enough. False where the folder cannot be read.
    template <class Take, class Taken>
    bool read(int folder, Take take, Taken taken);

    struct Names {
        std::vector<std::string> names; // in the order of their bytes
        bool isCut = false;             // more come after them
    };
    enum class Dotted { skip, include }; // names that begin with a dot

    /// The first names that come after another one, at most so many. None where the folder cannot be read.
    std::optional<Names> namesAfter(const std::string& name, int folder, std::size_t most, Dotted dotted);

private:
    enum class Filled { yes, atTheEnd, failed };
    Filled fill(int folder);
    /// The next in the buffer and what it is; the name is empty at its end.
    std::pair<std::string_view, ItemKind> next();

    static constexpr std::size_t bufferSize = 65536; // bytes
    std::unique_ptr<std::byte[]> buffer_;
    std::size_t length_ = 0;
    std::size_t position_ = 0;
};

template <class Take, class Taken>
bool FolderReader::read(int folder, Take take, Taken taken) {
    Filled filled = fill(folder);
    if (filled == Filled::failed) {
        return false;
    }
    for (; filled == Filled::yes; filled = fill(folder)) { // what fails later ends the list
        for (auto [name, kind] = next(); !name.empty(); std::tie(name, kind) = next()) {
            if (name != "." && name != "..") {
                take(name, kind);
            }
        }
        if (!taken()) {
            break;
        }
    }
    return true;
}

} // namespace Linux
