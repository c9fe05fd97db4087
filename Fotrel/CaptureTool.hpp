#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace Fotrel {

/// The program that takes pictures of the screen. With the arguments of a kind and the path of a file after
/// them it writes a PNG there and ends with status 0; when the user cancels there is another status, or no
/// file.
struct CaptureTool {
    std::filesystem::path executable{};
    std::vector<std::string> region{};
    std::vector<std::string> window{};
    std::vector<std::string> screen{}; // all of it
};

} // namespace Fotrel
