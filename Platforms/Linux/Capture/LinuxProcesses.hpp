#pragma once

#include "ZorbelKit/Host/Processes.hpp"

#include <memory>

namespace Linux {

/// Child processes, each waited for by a thread that sleeps until it ends. They read nothing, what they print
/// goes nowhere, and their complaints go where ours do. Each leads a process group of its own.
///
/// At the end those that still run are asked to end, with all that they have started; a second later they are
/// killed. `ended` is called for them too, before the destructor returns: it may have a file to remove.
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
