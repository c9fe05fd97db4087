#include "Platforms/Linux/Storage/DirectoryWalker.hpp"

namespace Linux {

std::optional<std::vector<std::filesystem::path>> DirectoryWalker::entries(const std::filesystem::path&,
                                                                           Hidden) const {
    return std::nullopt;
}

bool DirectoryWalker::isFolder(const std::filesystem::path&) const {
    return false;
}

std::optional<ZorbelKit::TimePoint> DirectoryWalker::modified(const std::filesystem::path&) const {
    return std::nullopt;
}

bool DirectoryWalker::walk(const std::filesystem::path&, Packages,
                           const std::function<bool(const Duvesk::WalkItem&)>&) const {
    return false;
}

std::vector<std::optional<std::int64_t>>
DirectoryWalker::sizesBelow(const std::vector<std::filesystem::path>& folders, std::int64_t) const {
    return std::vector<std::optional<std::int64_t>>(folders.size());
}

} // namespace Linux
