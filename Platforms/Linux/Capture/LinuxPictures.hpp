#pragma once

#include "Platforms/Qt/QtPictures.hpp"

namespace Linux {

/// The toolkit's pictures; a file that another program writes is read while that goes on, on a thread that
/// sleeps in between. Any thread.
class LinuxPictures : public QtPlatform::QtPictures {
public:
    std::unique_ptr<ZorbelKit::ExpectedPicture> expect(const std::filesystem::path& file) const override;
};

} // namespace Linux
