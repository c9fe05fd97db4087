#include "Platforms/Linux/Shelf/LinuxParkedFiles.hpp"

namespace Linux {

std::shared_ptr<const Ledgra::FileIcon> LinuxParkedFiles::icon(const std::filesystem::path&) {
    return std::make_shared<Ledgra::FileIcon>(Ledgra::FileIcon::Look{});
}

std::int64_t LinuxParkedFiles::totalBytes(const std::vector<std::filesystem::path>&) const {
    return 0;
}

} // namespace Linux
