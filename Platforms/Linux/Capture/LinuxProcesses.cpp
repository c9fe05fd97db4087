#include "Platforms/Linux/Capture/LinuxProcesses.hpp"

namespace Linux {

class LinuxProcesses::Children {};

LinuxProcesses::LinuxProcesses()
    : children_(std::make_unique<Children>()) {
}

LinuxProcesses::~LinuxProcesses() = default;

std::optional<std::string> LinuxProcesses::start(const std::filesystem::path& /*executable*/,
                                                 const std::vector<std::string>& /*arguments*/,
                                                 std::function<void(int status)> /*ended*/) {
    return "Not yet.";
}

} // namespace Linux
