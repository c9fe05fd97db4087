#pragma once

#include <filesystem>
#include <string_view>
#include <system_error>

namespace Linux {

/// Puts `contents` in the place of `file`, so that a reader, a crash or a power cut meets the old file or the
/// new one, whole. Missing folders are made for the user alone (0700), and so is the file (0600). A symbolic
/// link stays and what it leads to is replaced. On failure the old file is as it was and nothing is left
/// beside it. From any thread; blocks until the disk has it.
[[nodiscard]] std::error_code writeAtomically(const std::filesystem::path& file, std::string_view contents);

/// The place that `file` leads to through symbolic links, whether or not something is there; `file` itself
/// when it is no link. On a chain of links without an end, says so in `error`.
std::filesystem::path behindLinks(std::filesystem::path file, std::error_code& error);

} // namespace Linux
