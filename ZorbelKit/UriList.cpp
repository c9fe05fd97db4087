#include "ZorbelKit/UriList.hpp"

#include <algorithm>
#include <cstddef>

namespace ZorbelKit::uris {

namespace {

bool isLetter(char byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
}

bool isDigit(char byte) {
    return byte >= '0' && byte <= '9';
}

std::optional<unsigned> hexadecimal(char byte) {
    if (isDigit(byte)) {
        return static_cast<unsigned>(byte - '0');
    }
    const char small = static_cast<char>(byte | 0x20);
    return small >= 'a' && small <= 'f' ? std::optional(static_cast<unsigned>(small - 'a') + 10U)
                                        : std::nullopt;
}

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

} // namespace

std::vector<std::string_view> lines(std::string_view list) {
    list = list.substr(0, list.find_last_not_of('\0') + 1); // some programs count the end of their string
    std::vector<std::string_view> result;
    while (!list.empty()) {
        std::string_view line = list.substr(0, list.find('\n'));
        list.remove_prefix(std::min(line.size() + 1, list.size()));
        if (line.ends_with('\r')) {
            line.remove_suffix(1);
        }
        result.push_back(line);
    }
    return result;
}

std::optional<std::string_view> scheme(std::string_view line) {
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
    constexpr std::string_view wanted = "file";
    return std::ranges::equal(scheme, wanted, [](char some, char small) { return (some | 0x20) == small; });
}

std::optional<File> file(std::string_view line) {
    const auto named = scheme(line);
    if (!named || !isFileScheme(*named)) {
        return std::nullopt;
    }
    std::string_view rest = line.substr(named->size() + 1);
    File result;
    if (rest.starts_with("//")) {
        rest.remove_prefix(2);
        const std::string_view host = rest.substr(0, rest.find('/'));
        result.host = host;
        rest.remove_prefix(host.size());
    }
    result.path = unescaped(rest);
    if (!result.path.starts_with('/') || result.path.find('\0') != std::string::npos) {
        return std::nullopt;
    }
    while (result.path.size() > 1 && result.path.ends_with('/')) {
        result.path.pop_back();
    }
    return result;
}

} // namespace ZorbelKit::uris
