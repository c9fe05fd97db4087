#include "Platforms/Linux/Storage/TrashNames.hpp"

#include "ZorbelKit/Utf8.hpp"

#include <array>
#include <cstddef>

namespace Linux {

namespace {

constexpr std::size_t longestName = 255 - trashInfoSuffix.size(); // bytes
constexpr std::size_t longestExtension = 32;                      // with its dot; what is longer is none

bool isPlain(char byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9') ||
           std::string_view("-_.~/").find(byte) != std::string_view::npos;
}

/// The last dot and what follows; empty for a name without, or with a dot in front alone.
std::string_view extensionOf(std::string_view name) {
    const std::size_t dot = name.rfind('.');
    const bool hasExtension =
        dot != std::string_view::npos && dot > 0 && name.size() - dot <= longestExtension;
    return hasExtension ? name.substr(dot) : std::string_view();
}

} // namespace

std::string percentEncoded(std::string_view path) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string result;
    result.reserve(path.size());
    for (const char byte : path) {
        if (isPlain(byte)) {
            result += byte;
        } else {
            const auto value = static_cast<unsigned char>(byte);
            result += '%';
            result += digits[value / 16];
            result += digits[value % 16];
        }
    }
    return result;
}

std::string trashName(std::string_view name, int number) {
    const std::string_view extension = extensionOf(name);
    std::string end = number > 1 ? "." + std::to_string(number) : std::string();
    end += extension;
    const std::string_view stem = name.substr(0, name.size() - extension.size());
    return std::string(ZorbelKit::utf8::prefixOfBytes(stem, longestName - end.size())) + end;
}

std::string trashInfo(std::string_view place, std::time_t moment) {
    std::tm local{};
    ::localtime_r(&moment, &local);
    std::array<char, 64> date{};
    const std::size_t length = std::strftime(date.data(), date.size(), "%Y-%m-%dT%H:%M:%S", &local);
    return "[Trash Info]\nPath=" + percentEncoded(place) +
           "\nDeletionDate=" + std::string(date.data(), length) + "\n";
}

} // namespace Linux
