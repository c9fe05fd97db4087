#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

namespace Linux {

/// How many bytes the files and links below each of these folders have, hidden ones not, of the first `most`
/// items in order. None where a folder cannot be walked; 0 for what is no folder. Where there are two
/// processors a second thread helps. Once `isStopped`, sizes are whatever has been added up by then.
std::vector<std::optional<std::int64_t>> sumSizes(const std::vector<std::filesystem::path>& folders,
                                                  std::int64_t most, const std::atomic<bool>& isStopped);

} // namespace Linux
