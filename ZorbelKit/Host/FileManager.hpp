#pragma once

#include <filesystem>
#include <functional>
#include <vector>

namespace ZorbelKit {

/// What the desktop does with files for its user. Paths are bytes, absolute, and never followed where they
/// are links. Main thread only; nothing here waits for a disk or another program.
class FileManager {
public:
    virtual ~FileManager() = default;

    /// Moves these to the Trash, each as it is, and then says from a thread of its own which of them lie
    /// there now, by the paths they had. One that cannot be moved stays where it is.
    virtual void recycle(std::vector<std::filesystem::path> paths,
                         std::function<void(std::vector<std::filesystem::path> moved)> done) = 0;

    /// Shows these in a window of the file manager, chosen.
    virtual void activateFileViewerSelecting(std::vector<std::filesystem::path> paths) = 0;
};

} // namespace ZorbelKit
