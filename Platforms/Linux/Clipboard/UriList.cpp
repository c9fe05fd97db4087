#include "Platforms/Linux/Clipboard/UriList.hpp"

#include "ZorbelKit/UriList.hpp"
#include "ZorbelKit/Utf8.hpp"

#include <optional>
#include <string>
#include <utility>

namespace Linux {

namespace {

namespace uris = ZorbelKit::uris;
namespace utf8 = ZorbelKit::utf8;

bool hasSpace(std::string_view text) {
    while (!text.empty()) {
        const auto [value, length] = utf8::first(text);
        if (utf8::isSpace(value)) {
            return true;
        }
        text.remove_prefix(length);
    }
    return false;
}

std::optional<ZorbelKit::PasteboardUrl> urlIn(std::string_view line) {
    const auto scheme = uris::scheme(line);
    if (!scheme) {
        return std::nullopt; // that of a comment neither begins with a letter
    }
    if (auto file = uris::file(line)) {
        return ZorbelKit::PasteboardUrl{utf8::repaired(std::string(line)),
                                        utf8::repaired(std::move(file->path))};
    }
    const std::string_view rest = line.substr(scheme->size() + 1);
    if (uris::isFileScheme(*scheme) || rest.empty() || line.find('\0') != std::string_view::npos ||
        hasSpace(line)) {
        return std::nullopt;
    }
    return ZorbelKit::PasteboardUrl{utf8::repaired(std::string(line)), std::nullopt};
}

} // namespace

std::vector<ZorbelKit::PasteboardUrl> urlsInList(std::string_view list) {
    std::vector<ZorbelKit::PasteboardUrl> urls;
    for (const std::string_view line : uris::lines(list)) {
        if (auto url = urlIn(line)) {
            urls.push_back(*std::move(url));
        }
    }
    return urls;
}

std::vector<ZorbelKit::PasteboardUrl> urlsInCopiedFiles(std::string_view list) {
    return urlsInList(list); // what is to be done with the files is no URL, and so left out by itself
}

} // namespace Linux
