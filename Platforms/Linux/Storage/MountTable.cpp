#include "Platforms/Linux/Storage/MountTable.hpp"

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <optional>

namespace Linux {

namespace {

constexpr int mountPointField = 4; // after the mount's number, its parent's, the device and the root

bool isOctal(char byte) {
    return byte >= '0' && byte <= '7';
}

/// Spaces, tabs, line ends and backslashes are written as a backslash and three octal digits.
std::string unescaped(std::string_view text) {
    std::string result;
    for (std::size_t index = 0; index < text.size(); ++index) {
        const std::string_view digits = text.substr(index + 1, 3);
        if (text[index] == '\\' && digits.size() == 3 && std::ranges::all_of(digits, isOctal)) {
            result += static_cast<char>((digits[0] - '0') * 64 + (digits[1] - '0') * 8 + (digits[2] - '0'));
            index += digits.size();
        } else {
            result += text[index];
        }
    }
    return result;
}

std::string_view field(std::string_view line, int number) {
    for (; number > 0; --number) {
        line.remove_prefix(std::min(line.find(' '), line.size() - 1) + 1);
        if (line.empty()) {
            break;
        }
    }
    return line.substr(0, line.find(' '));
}

} // namespace

std::vector<std::string> mountPoints(std::string_view mountInfo) {
    std::vector<std::string> points;
    while (!mountInfo.empty()) {
        const std::string_view line = mountInfo.substr(0, mountInfo.find('\n'));
        mountInfo.remove_prefix(std::min(line.size() + 1, mountInfo.size()));
        std::string point = line.empty() ? std::string() : unescaped(field(line, mountPointField));
        if (point.starts_with('/')) {
            points.push_back(std::move(point));
        }
    }
    return points;
}

bool isAnythingMountedBelow(std::string_view folder) {
    std::ifstream file("/proc/self/mountinfo", std::ios::binary);
    const std::string text(std::istreambuf_iterator<char>(file), {});
    const std::string below = std::string(folder) + "/";
    return std::ranges::any_of(mountPoints(text),
                               [&](const std::string& point) { return point.starts_with(below); });
}

} // namespace Linux
