#include "Platforms/Linux/DesktopNames.hpp"

#include <algorithm>

namespace Linux {

bool namesDesktop(std::string_view currentDesktop, std::initializer_list<std::string_view> names) {
    while (!currentDesktop.empty()) {
        const auto name = currentDesktop.substr(0, currentDesktop.find(':'));
        if (std::ranges::find(names, name) != names.end()) {
            return true;
        }
        currentDesktop.remove_prefix(std::min(name.size() + 1, currentDesktop.size()));
    }
    return false;
}

} // namespace Linux
