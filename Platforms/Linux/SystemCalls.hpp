#pragma once

#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <string_view>

namespace Linux {

/// The result of a system call, which is made again as long as a signal interrupts it.
template <class Call>
auto retried(Call call) {
    auto result = call();
    while (result < 0 && errno == EINTR) {
        result = call();
    }
    return result;
}

/// False where not all of it could be written; `errno` says why.
inline bool writeWhole(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = retried([&] { return ::write(descriptor, bytes.data(), bytes.size()); });
        if (written < 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

} // namespace Linux
