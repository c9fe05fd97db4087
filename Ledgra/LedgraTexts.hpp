#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

namespace Ledgra {

/// What the spice and its views say, in UTF-8.

/// The last part of a path, "/" for the root. Bytes that are no text are replaced.
std::string nameOf(const std::filesystem::path& file);

/// A name in one line, as it is shown.
std::string titleText(const std::string& name);

/// All of a path in one line, with places at which a tool tip may break it.
std::string tipText(const std::filesystem::path& file);

/// "1 file", "3 files".
std::string filesText(std::size_t count);

/// "Shelf is empty." or "3 on the shelf".
std::string menuText(std::size_t count);

/// What the empty strip says; `isTargeted` while files are held above it.
std::string emptyText(bool isTargeted);

} // namespace Ledgra
