#include "Duvesk/BundlePlaces.hpp"

#include <system_error>
#include <utility>

namespace Duvesk {

namespace {

bool isProgram(const std::filesystem::path& name) {
    return name.native().ends_with(".app");
}

} // namespace

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
    std::set<std::string, std::less<>> found;
    for (const auto& root : applications_) {
        for (const auto& name : namesIn(root)) {
            if (isProgram(name)) {
                addIdentifier(root / name, found);
                continue;
            }
            for (const auto& inner : namesIn(root / name)) {
                if (isProgram(inner)) {
                    addIdentifier(root / name / inner, found);
                }
            }
        }
    }
    return found;
}

bool BundlePlaces::mayBeLeftBehind(const std::filesystem::path&) const {
    return true;
}

std::vector<std::filesystem::path> BundlePlaces::namesIn(const std::filesystem::path& folder) const {
    std::error_code failure;
    const auto resolved = std::filesystem::canonical(folder, failure);
    return walker_->entries(failure ? folder : resolved, FileWalker::Hidden::include)
        .value_or(std::vector<std::filesystem::path>());
}

void BundlePlaces::addIdentifier(const std::filesystem::path& program,
                                 std::set<std::string, std::less<>>& found) const {
    const auto file = program / "Contents/Info.plist";
    std::error_code failure;
    if (!std::filesystem::is_regular_file(file, failure)) {
        return; // to open a pipe could block
    }
    const auto length = std::filesystem::file_size(file, failure);
    if (failure || std::cmp_greater(length, longestInformation)) {
        return;
    }
    if (auto identifier = reader_(file)) {
        found.insert(*std::move(identifier));
    }
}

} // namespace Duvesk
