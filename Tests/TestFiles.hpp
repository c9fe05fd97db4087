#pragma once

#include "ZorbelKit/Time.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <system_error>

/// Files of any length that take no space, in folders that come with them.
inline void makeFile(const std::filesystem::path& path, std::int64_t size = 0) {
    std::filesystem::create_directories(path.parent_path());
    const int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0644);
    const bool isMade = descriptor >= 0 && ::ftruncate(descriptor, size) == 0;
    const int error = errno;
    if (descriptor >= 0) {
        ::close(descriptor);
    }
    if (!isMade) {
        throw std::system_error(error, std::generic_category(), path);
    }
}

/// Of a file, a folder or a link itself.
inline void setModified(const std::filesystem::path& path, ZorbelKit::TimePoint moment) {
    using namespace std::chrono;
    const auto whole = floor<seconds>(moment);
    const timespec time{static_cast<time_t>(whole.time_since_epoch().count()), (moment - whole).count()};
    const timespec times[]{time, time};
    if (::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW) != 0) {
        throw std::system_error(errno, std::generic_category(), path);
    }
}
