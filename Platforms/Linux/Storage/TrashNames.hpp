#pragma once

#include <ctime>
#include <string>
#include <string_view>

namespace Linux {

inline constexpr std::string_view trashInfoSuffix = ".trashinfo";

/// A path as the Trash's files and file URLs write it: every byte but letters, digits, "-_.~" and "/" as %XX.
std::string percentEncoded(std::string_view path);

/// What an item is called in the Trash: its own name, and where that is taken, from 2 on, with a number
/// before the extension. Shortened so that the name of the file about it fits into 255 bytes.
std::string trashName(std::string_view name, int number);

/// The file that says where an item lay, and when it was moved.
std::string trashInfo(std::string_view place, std::time_t moment);

} // namespace Linux
