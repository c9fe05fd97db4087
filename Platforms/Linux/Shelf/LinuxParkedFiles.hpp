#pragma once

#include "Ledgra/ParkedFiles.hpp"
#include "ZorbelKit/Forward.hpp"
#include "ZorbelKit/Lifetime.hpp"

namespace Linux {

/// Icons by the freedesktop MIME data and thumbnails by its thumbnail folder, looked up off the main thread.
/// Main thread only.
class LinuxParkedFiles : public Ledgra::ParkedFiles {
public:
    explicit LinuxParkedFiles(ZorbelKit::MainLoop& loop)
        : loop_(loop) {}

    std::shared_ptr<const Ledgra::FileIcon> icon(const std::filesystem::path& file) override;
    std::int64_t totalBytes(const std::vector<std::filesystem::path>& files) const override;

private:
    ZorbelKit::MainLoop& loop_;
    ZorbelKit::Lifetime lifetime_;
};

} // namespace Linux
