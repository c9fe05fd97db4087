#pragma once

#include "Platforms/Linux/Storage/Trash.hpp"
#include "ZorbelKit/Forward.hpp"
#include "ZorbelKit/Host/FileManager.hpp"

#include <chrono>
#include <memory>

class QObject;

namespace Linux {

/// The desktop's Trash, and the file manager that answers on the session bus as org.freedesktop.FileManager1;
/// without one the folder is opened by whatever opens folders. Main thread only.
class LinuxFileManager : public ZorbelKit::FileManager {
public:
    /// `patience`: how long after its end it goes on moving; what is left then stays where it is.
    LinuxFileManager(ZorbelKit::MainLoop& loop, Trash trash,
                     std::chrono::milliseconds patience = std::chrono::seconds(1));
    ~LinuxFileManager() override;

    void recycle(std::vector<std::filesystem::path> paths,
                 std::function<void(std::vector<std::filesystem::path> moved)> done) override;
    void activateFileViewerSelecting(std::vector<std::filesystem::path> paths) override;

private:
    class Ending;

    ZorbelKit::MainLoop& loop_;
    // A move may outlive the file manager.
    std::shared_ptr<const Trash> trash_;
    std::shared_ptr<Ending> ending_;
    std::unique_ptr<QObject> questions_; // the parent of all that are unanswered
};

} // namespace Linux
