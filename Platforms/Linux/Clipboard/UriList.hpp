#pragma once

#include "ZorbelKit/Host/Pasteboard.hpp"

#include <string_view>
#include <vector>

namespace Linux {

/// The URLs of a text/uri-list (RFC 2483), in order; lines that are none are left out. The path of a file is
/// decoded, without a slash at its end, and repaired to valid UTF-8.
std::vector<ZorbelKit::PasteboardUrl> urlsInList(std::string_view list);

/// The same for what file managers call x-special/gnome-copied-files: a line "copy" or "cut", then the URLs.
std::vector<ZorbelKit::PasteboardUrl> urlsInCopiedFiles(std::string_view list);

} // namespace Linux
