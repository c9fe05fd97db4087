#pragma once

#include <initializer_list>
#include <string_view>

namespace Linux {

/// Whether a desktop gives itself one of these names (XDG_CURRENT_DESKTOP, a colon-separated list).
bool namesDesktop(std::string_view currentDesktop, std::initializer_list<std::string_view> names);

} // namespace Linux
