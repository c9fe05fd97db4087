#include "Platforms/Linux/Storage/LinuxPlaces.hpp"

#include <unistd.h>

#include <cstdlib>
#include <utility>

namespace Linux {

std::filesystem::path StorageLayout::dataFolder() const {
    const auto named = environment("XDG_DATA_HOME");
    return named && named->starts_with('/') ? std::filesystem::path(*named) : home / ".local/share";
}

StorageLayout StorageLayout::standard() {
    StorageLayout layout;
    layout.environment = [](std::string_view name) -> std::optional<std::string> {
        const char* value = std::getenv(std::string(name).c_str());
        return value ? std::optional<std::string>(value) : std::nullopt;
    };
    layout.home = layout.environment("HOME").value_or("/");
    layout.user = ::getuid();
    return layout;
}

LinuxPlaces::LinuxPlaces(StorageLayout layout, std::shared_ptr<const Duvesk::FileWalker> walker)
    : layout_(std::move(layout))
    , walker_(std::move(walker)) {
}

std::optional<std::filesystem::path> LinuxPlaces::caches() const {
    return std::nullopt;
}

std::vector<Duvesk::Places::Root> LinuxPlaces::largeFileRoots() const {
    return {};
}

std::vector<std::filesystem::path> LinuxPlaces::supportFolders() const {
    return {};
}

std::set<std::string, std::less<>> LinuxPlaces::installedBundleIDs() const {
    return {};
}

bool LinuxPlaces::mayBeLeftBehind(const std::filesystem::path&) const {
    return false;
}

bool looksLikeIdentifier(std::string_view) {
    return false;
}

} // namespace Linux
