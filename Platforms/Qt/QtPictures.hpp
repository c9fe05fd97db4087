#pragma once

#include "ZorbelKit/Host/Pictures.hpp"

#include <QImage>

namespace QtPlatform {

/// Pictures as the toolkit reads and writes them. Needs no application.
class QtPictures : public ZorbelKit::Pictures {
public:
    // Beyond these a file is no picture of a screen.
    static constexpr int longestSide = 20'000;               // pixels
    static constexpr std::int64_t mostPixels = 100'000'000;  // all sides of a desk
    static constexpr std::int64_t longestFile = 500'000'000; // bytes

    std::optional<ZorbelKit::Picture> read(const std::filesystem::path& file) const override;
    ZorbelKit::Picture compacted(const ZorbelKit::Picture& picture) const override;
    ZorbelKit::Picture blank(int width, int height) const override;
    bool write(const ZorbelKit::Picture& picture, const std::filesystem::path& file) const override;
    std::filesystem::path temporaryFile(const std::string& name) const override;
    void remove(const std::filesystem::path& file) const override;

    /// A compact picture of what was drawn; empty where nothing was.
    static ZorbelKit::Picture picture(const QImage& image);

    /// All of its pixels; null where they cannot be had.
    static QImage image(const ZorbelKit::Picture& picture);
};

} // namespace QtPlatform
