#include "Ledgra/FileUrls.hpp"

#include "ZorbelKit/UriList.hpp"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace Ledgra {

namespace uris = ZorbelKit::uris;

namespace {

constexpr std::size_t longestPath = 4095; // bytes; the system opens no longer one

char small(char byte) {
    return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte | 0x20) : byte;
}

bool isSameHost(std::string_view one, std::string_view other) {
    return std::ranges::equal(one, other, {}, small, small);
}

bool isPlain(char byte) {
    const char letter = small(byte);
    return (letter >= 'a' && letter <= 'z') || (byte >= '0' && byte <= '9') ||
           std::string_view("-_.~/").find(byte) != std::string_view::npos;
}

} // namespace

std::vector<std::filesystem::path> filesInList(std::string_view uriList, std::string_view hostName) {
    std::vector<std::filesystem::path> files;
    for (const std::string_view line : uris::lines(uriList)) {
        auto file = uris::file(line);
        if (!file || file->path.size() > longestPath) {
            continue;
        }
        const std::string& host = file->host;
        if (host.empty() || isSameHost(host, "localhost") || isSameHost(host, hostName)) {
            files.emplace_back(std::move(file->path));
        }
    }
    return files;
}

std::string uriList(const std::vector<std::filesystem::path>& files) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string list;
    for (const std::filesystem::path& file : files) {
        list += "file://";
        for (const char byte : file.native()) {
            if (isPlain(byte)) {
                list += byte;
            } else {
                const auto value = static_cast<unsigned char>(byte);
                list += {'%', digits[value >> 4U], digits[value & 0xFU]};
            }
        }
        list += "\r\n";
    }
    return list;
}

} // namespace Ledgra
