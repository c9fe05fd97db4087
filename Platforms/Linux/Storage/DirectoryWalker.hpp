#pragma once

#include "Duvesk/FileWalker.hpp"

#include <atomic>

namespace Linux {

/// Walks by descriptors, so that neither long paths nor renames above are in its way. A folder belongs to
/// another file system when something is mounted on it, a bind mount too. Sizes are lengths, counted once for
/// each name. With several processors, large folders are summed up by two threads. Any thread.
class DirectoryWalker : public Duvesk::FileWalker {
public:
    std::optional<std::vector<std::filesystem::path>> entries(const std::filesystem::path& folder,
                                                              Hidden hidden) const override;
    bool isFolder(const std::filesystem::path& path) const override;
    std::optional<ZorbelKit::TimePoint> modified(const std::filesystem::path& path) const override;
    bool walk(const std::filesystem::path& folder, Packages packages,
              const std::function<bool(const Duvesk::WalkItem&)>& visit) const override;
    std::vector<std::optional<std::int64_t>> sizesBelow(const std::vector<std::filesystem::path>& folders,
                                                        std::int64_t most) const override;

    /// For the end of the program: walks under way, and any that begin later, end with what they have.
    void stop() { isStopped_ = true; }

private:
    std::atomic<bool> isStopped_ = false;
};

} // namespace Linux
