#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace Linux {

/// One key of a desktop file, or of another file written in the same way.
struct DesktopKey {
    std::string_view group; // "Desktop Entry"; empty before the first
    std::string_view name;  // "Exec", "Name[de]"
    std::string_view value; // as it is written
};

/// Shows the keys in their order. What is no key is passed over.
void forEachDesktopKey(std::string_view text, const std::function<void(const DesktopKey&)>& visit);

/// What a value says: its escapes are undone.
std::string desktopString(std::string_view value);

/// The words of a command line, such as "Exec" holds, without their quotes and escapes.
std::vector<std::string> commandWords(std::string_view command);

} // namespace Linux
