#pragma once

#include "ZorbelKit/Host/Processes.hpp"

#include <memory>

namespace Linux {

/// Child processes, each waited for by a thread that sleeps until it ends. At the end those that still run
/// are asked to end, and waited for.
class LinuxProcesses : public ZorbelKit::Processes {
public:
    LinuxProcesses();
    LinuxProcesses(const LinuxProcesses&) = delete;
    LinuxProcesses& operator=(const LinuxProcesses&) = delete;
    ~LinuxProcesses() override;

    std::optional<std::string> start(const std::filesystem::path& executable,
                                     const std::vector<std::string>& arguments,
                                     std::function<void(int status)> ended) override;

private:
    class Children;
    std::unique_ptr<Children> children_;
};

} // namespace Linux
