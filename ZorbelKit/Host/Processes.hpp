#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace ZorbelKit {

/// Programs that are started for one job and end by themselves. Main thread only.
class Processes {
public:
    virtual ~Processes() = default;

    /// Starts one, with these arguments as they are: no shell reads them. A name without a folder is looked
    /// for as a shell does. `ended` hears its exit status from another thread; a program that a signal ended
    /// has 128 and the signal's number. None where it runs; else why it could not be started, as a sentence
    /// for the user, and `ended` is never called.
    virtual std::optional<std::string> start(const std::filesystem::path& executable,
                                             const std::vector<std::string>& arguments,
                                             std::function<void(int status)> ended) = 0;
};

} // namespace ZorbelKit
