#pragma once

#include "Platforms/Linux/Storage/Trash.hpp"
#include "ZorbelKit/Forward.hpp"
#include "ZorbelKit/Host/FileManager.hpp"

#include <memory>

class QObject;

namespace Linux {

/// The desktop's Trash, and the file manager that answers on the session bus as org.freedesktop.FileManager1;
/// without one the folder is opened by whatever opens folders. Main thread only.
class LinuxFileManager : public ZorbelKit::FileManager {
public:
    LinuxFileManager(ZorbelKit::MainLoop& loop, Trash trash);
    ~LinuxFileManager() override;

    void recycle(std::vector<std::filesystem::path> paths,
                 std::function<void(std::vector<std::filesystem::path> moved)> done) override;
    void activateFileViewerSelecting(std::vector<std::filesystem::path> paths) override;

private:
    ZorbelKit::MainLoop& loop_;
    std::shared_ptr<const Trash> trash_; // a move may outlive the file manager
    std::unique_ptr<QObject> questions_; // the parent of all that are unanswered
};

} // namespace Linux
