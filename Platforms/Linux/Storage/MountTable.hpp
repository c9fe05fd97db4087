#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Linux {

/// Where something is mounted, from a text like that of /proc/self/mountinfo.
std::vector<std::string> mountPoints(std::string_view mountInfo);

/// Whether anything is mounted somewhere below a folder, as far as this process sees.
bool isAnythingMountedBelow(std::string_view folder);

} // namespace Linux
