#include "Platforms/Linux/Clipboard/UriList.hpp"

namespace Linux {

std::vector<ZorbelKit::PasteboardUrl> urlsInList(std::string_view) {
    return {};
}

std::vector<ZorbelKit::PasteboardUrl> urlsInCopiedFiles(std::string_view) {
    return {};
}

} // namespace Linux
