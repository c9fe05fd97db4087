#pragma once

#include "Ledgra/ParkedFiles.hpp"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace Linux {

/// What can be known of a file by its name: no disk is asked.
Ledgra::FileIcon::Look lookByName(const std::filesystem::path& file);

/// What its disk says. All of these may wait for as long as a disk takes, and follow no links. Any thread.

/// A better look than the one by its name; none where there is nothing to add to that, or nothing at all.
std::optional<Ledgra::FileIcon::Look> lookOnDisk(const std::filesystem::path& file);

/// In bytes; nothing for what is no regular file or cannot be read.
std::int64_t sizeOnDisk(const std::filesystem::path& file);

/// Also true where that cannot be found out.
bool isOnDisk(const std::filesystem::path& file);

/// How the thumbnails of the desktop call a file.
std::string thumbnailUri(const std::filesystem::path& file);

} // namespace Linux
