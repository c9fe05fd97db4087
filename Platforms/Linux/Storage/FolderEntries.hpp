#pragma once

#include "Platforms/Linux/AsciiCase.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace Linux {

inline constexpr std::size_t mostFolderEntries = 50'000; // that are looked at in one folder

/// Shows what lies in a folder, in no order; nothing where it cannot be listed.
template <class Visit>
void forEachEntry(const std::filesystem::path& folder, Visit visit) {
    std::error_code failure;
    std::size_t count = 0;
    for (std::filesystem::directory_iterator entry(folder, failure), end;
         !failure && entry != end && count < mostFolderEntries; entry.increment(failure), ++count) {
        visit(*entry);
    }
}

inline bool isFolder(const std::filesystem::directory_entry& entry) {
    std::error_code failure;
    return entry.is_directory(failure);
}

inline bool isLink(const std::filesystem::directory_entry& entry) {
    std::error_code failure;
    return entry.is_symlink(failure);
}

/// Where a link leads, as it says; empty where it is none.
inline std::string linkTarget(const std::filesystem::path& link) {
    std::array<char, 4096> space{}; // no link is longer
    const ssize_t length = ::readlink(link.c_str(), space.data(), space.size());
    return {space.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0))};
}

inline bool endsWith(const std::filesystem::path& path, std::string_view suffix) {
    return lowered(path.native()).ends_with(suffix);
}

/// Knows the folders that have been seen, by whatever path, and ends a search that comes upon too many.
class SeenFolders {
public:
    static constexpr std::size_t most = 5'000;

    /// Whether it is there and has not been asked for yet.
    bool isNew(const std::filesystem::path& folder) {
        struct stat status {};
        return seen_.size() < most && ::stat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
               seen_.emplace(status.st_dev, status.st_ino).second;
    }

private:
    std::set<std::pair<dev_t, ino_t>> seen_;
};

} // namespace Linux
