#include "Platforms/Linux/Clipboard/UriList.hpp"

#include "ZorbelKit/Utf8.hpp"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>

namespace Linux {

namespace {

namespace utf8 = ZorbelKit::utf8;

bool isLetter(char byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
}

bool isDigit(char byte) {
    return byte >= '0' && byte <= '9';
}

/// What stands before the colon (RFC 3986); none where that is no scheme.
std::optional<std::string_view> schemeOf(std::string_view line) {
    const std::string_view scheme = line.substr(0, line.find(':'));
    if (scheme.size() == line.size() || scheme.empty() || !isLetter(scheme.front())) {
        return std::nullopt;
    }
    const bool isScheme = std::ranges::all_of(scheme, [](char byte) {
        return isLetter(byte) || isDigit(byte) || byte == '+' || byte == '.' || byte == '-';
    });
    return isScheme ? std::optional(scheme) : std::nullopt;
}

bool isFileScheme(std::string_view scheme) {
    constexpr std::string_view file = "file";
    return std::ranges::equal(scheme, file, [](char some, char wanted) { return (some | 0x20) == wanted; });
}

std::optional<unsigned> hexadecimal(char byte) {
    if (isDigit(byte)) {
        return static_cast<unsigned>(byte - '0');
    }
    const char small = static_cast<char>(byte | 0x20);
    return small >= 'a' && small <= 'f' ? std::optional(static_cast<unsigned>(small - 'a') + 10U)
                                        : std::nullopt;
}

/// A percent sign that begins no escape stands for itself.
std::string unescaped(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (text[index] == '%' && index + 2 < text.size()) {
            const auto high = hexadecimal(text[index + 1]);
            const auto low = hexadecimal(text[index + 2]);
            if (high && low) {
                result += static_cast<char>(*high << 4U | *low);
                index += 2;
                continue;
            }
        }
        result += text[index];
    }
    return result;
}

/// The path in what follows "file:", with a host before it or without; none where there is no absolute path.
std::optional<std::string> pathIn(std::string_view rest) {
    if (rest.starts_with("//")) {
        rest.remove_prefix(2);
        rest.remove_prefix(std::min(rest.find('/'), rest.size()));
    }
    std::string path = unescaped(rest);
    if (!path.starts_with('/') || path.find('\0') != std::string::npos) {
        return std::nullopt;
    }
    while (path.size() > 1 && path.ends_with('/')) {
        path.pop_back();
    }
    return utf8::repaired(std::move(path));
}

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
    const auto scheme = schemeOf(line);
    if (!scheme) {
        return std::nullopt; // that of a comment neither begins with a letter
    }
    const std::string_view rest = line.substr(scheme->size() + 1);
    if (isFileScheme(*scheme)) {
        auto path = pathIn(rest);
        return path ? std::optional(
                          ZorbelKit::PasteboardUrl{utf8::repaired(std::string(line)), std::move(path)})
                    : std::nullopt;
    }
    if (rest.empty() || line.find('\0') != std::string_view::npos || hasSpace(line)) {
        return std::nullopt;
    }
    return ZorbelKit::PasteboardUrl{utf8::repaired(std::string(line)), std::nullopt};
}

} // namespace

std::vector<ZorbelKit::PasteboardUrl> urlsInList(std::string_view list) {
    list = list.substr(0, list.find_last_not_of('\0') + 1); // some programs count the end of their string
    std::vector<ZorbelKit::PasteboardUrl> urls;
    while (!list.empty()) {
        std::string_view line = list.substr(0, list.find('\n'));
        list.remove_prefix(std::min(line.size() + 1, list.size()));
        if (line.ends_with('\r')) {
            line.remove_suffix(1);
        }
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
