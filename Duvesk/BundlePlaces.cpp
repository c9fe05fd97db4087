#include "Duvesk/BundlePlaces.hpp"

#include <utility>

namespace Duvesk {

BundlePlaces::BundlePlaces(std::filesystem::path home, std::vector<std::filesystem::path> applications,
                           std::shared_ptr<const FileWalker> walker, IdentifierReader reader)
    : home_(std::move(home))
    , applications_(std::move(applications))
    , walker_(std::move(walker))
    , reader_(std::move(reader)) {
}

std::optional<std::filesystem::path> BundlePlaces::caches() const {
    return home_ / "Library/Caches";
}

std::vector<Places::Root> BundlePlaces::largeFileRoots() const {
    std::vector<Root> roots;
    for (const char* name : {"Downloads", "Desktop", "Documents", "Movies"}) {
        roots.push_back({home_ / name, name});
    }
    return roots;
}

std::vector<std::filesystem::path> BundlePlaces::supportFolders() const {
    return {home_ / "Library/Application Support"};
}

std::set<std::string, std::less<>> BundlePlaces::installedBundleIDs() const {
    return {};
}

bool BundlePlaces::mayBeLeftBehind(const std::filesystem::path&) const {
    return true;
}

} // namespace Duvesk
