#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>

namespace Linux {

enum class LastLink { follow, refuse };

/// The first `most` bytes of a regular file; none where there is no such file. Pipes, devices and folders are
/// left alone: opening some of them blocks, or does something.
inline std::optional<std::string> readRegularFile(const std::string& path, std::size_t most,
                                                  LastLink link = LastLink::follow) {
    const bool refusesLink = link == LastLink::refuse;
    struct stat status {};
    if (::fstatat(AT_FDCWD, path.c_str(), &status, refusesLink ? AT_SYMLINK_NOFOLLOW : 0) != 0 ||
        !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    const int descriptor =
        ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | (refusesLink ? O_NOFOLLOW : 0));
    if (descriptor < 0) {
        return std::nullopt;
    }
    // Another file may stand there by now.
    bool isRead = ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
    std::string text;
    while (isRead && text.size() < most) {
        constexpr std::size_t piece = 16384;
        const std::size_t before = text.size();
        text.resize(std::min(before + piece, most));
        const ssize_t count = ::read(descriptor, text.data() + before, text.size() - before);
        text.resize(before + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        if (count == 0) {
            break;
        }
        isRead = count > 0 || errno == EINTR;
    }
    ::close(descriptor);
    return isRead ? std::optional(std::move(text)) : std::nullopt;
}

} // namespace Linux
