#include "Platforms/Linux/Storage/DirectoryWalker.hpp"

#include "Platforms/Linux/Storage/FolderReading.hpp"
#include "Platforms/Linux/Storage/OrderedWalk.hpp"
#include "Platforms/Linux/Storage/SizeSum.hpp"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

namespace Linux {

using Duvesk::WalkItem;

namespace {

// In order of their bytes; a folder that holds more shows these.
constexpr std::size_t mostEntries = 200'000;

constexpr std::array<std::string_view, 16> packageEndings{
    ".app",       ".bundle",    ".framework",    ".plugin",      ".kext",       ".photoslibrary",
    ".pkg",       ".rtfd",      ".xcodeproj",    ".xcworkspace", ".playground", ".imovielibrary",
    ".fcpbundle", ".aplibrary", ".musiclibrary", ".tvlibrary"};

bool isPackage(std::string_view name) {
    return std::ranges::any_of(packageEndings, [&](std::string_view end) { return name.ends_with(end); });
}

WalkItem walkItem(const std::string& root, const OrderedItem& found) {
    WalkItem item{.path = root + found.folder + '/' + found.name};
    if (found.status) {
        item.isRegularFile = found.status->kind == ItemKind::file;
        if (found.status->kind != ItemKind::folder) {
            item.fileSize = found.status->size;
        }
        item.modified = found.status->modified;
    }
    return item;
}

} // namespace

std::optional<std::vector<std::filesystem::path>>
DirectoryWalker::entries(const std::filesystem::path& folder, Hidden hidden) const {
    const FileHandle open = openPath(folder);
    const auto dotted =
        hidden == Hidden::include ? FolderReader::Dotted::include : FolderReader::Dotted::skip;
    const auto found = open ? FolderReader().namesAfter("", open.get(), mostEntries, dotted) : std::nullopt;
    return found ? std::optional(std::vector<std::filesystem::path>(found->names.begin(), found->names.end()))
                 : std::nullopt;
}

bool DirectoryWalker::isFolder(const std::filesystem::path& path) const {
    const auto status = look(path);
    return status && status->kind == ItemKind::folder;
}

std::optional<ZorbelKit::TimePoint> DirectoryWalker::modified(const std::filesystem::path& path) const {
    const auto status = look(path);
    return status ? std::optional(status->modified) : std::nullopt;
}

bool DirectoryWalker::walk(const std::filesystem::path& folder, Packages packages,
                           const std::function<bool(const WalkItem&)>& visit) const {
    std::string root = folder.native();
    while (root.ends_with('/')) {
        root.pop_back();
    }
    const auto show = [&](const OrderedItem& item) {
        if (!visit(walkItem(root, item))) {
            return Step::stop;
        }
        return packages == Packages::skip && isPackage(item.name) ? Step::pass : Step::enter;
    };
    return walkInOrder(folder, show, isStopped_);
}

std::vector<std::optional<std::int64_t>>
DirectoryWalker::sizesBelow(const std::vector<std::filesystem::path>& folders, std::int64_t most) const {
    return sumSizes(folders, most, isStopped_);
}

} // namespace Linux
