#pragma once

#include "Duvesk/FileWalker.hpp"

#include <filesystem>

namespace Linux {

/// Whether something lies below a folder that does not go with the program it belongs to: the user's own work
/// under version control, games of a Steam library, Windows programs in a Wine prefix. Also where that cannot
/// be told, as there is too much to look through.
bool holdsForeignData(const Duvesk::FileWalker& walker, const std::filesystem::path& folder);

} // namespace Linux
