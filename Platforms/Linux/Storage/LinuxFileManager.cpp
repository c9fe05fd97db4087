#include "Platforms/Linux/Storage/LinuxFileManager.hpp"

#include "ZorbelKit/Host/MainLoop.hpp"

#include <utility>

namespace Linux {

LinuxFileManager::LinuxFileManager(ZorbelKit::MainLoop& loop, Trash trash)
    : loop_(loop)
    , trash_(std::make_shared<const Trash>(std::move(trash))) {
}

void LinuxFileManager::recycle(std::vector<std::filesystem::path> paths,
                               std::function<void(std::vector<std::filesystem::path> moved)> done) {
    loop_.background(ZorbelKit::Priority::userInitiated,
                     [trash = trash_, paths = std::move(paths), done = std::move(done)]() mutable {
                         std::erase_if(paths, [&](const auto& path) { return !trash->move(path); });
                         done(std::move(paths));
                     });
}

void LinuxFileManager::activateFileViewerSelecting(std::vector<std::filesystem::path>) {
}

} // namespace Linux
