#pragma once

#include "Platforms/Qt/ReducedPng.hpp"
#include "ZorbelKit/Picture.hpp"

#include <QImage>
#include <QSize>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace QtPlatform {

/// All pixels; null where these bytes are no whole PNG.
QImage decoded(std::string_view png);

/// Of a picture of this size.
QSize previewSize(const QSize& size);

/// `image`: all of the picture, maybe not as large as it is.
ZorbelKit::Pixels previewOf(const QImage& image, const QSize& size);

/// Takes in a PNG piece by piece and makes its preview meanwhile. Any thread, one at a time.
class PictureIntake {
public:
    static constexpr std::size_t piece = 65'536; // bytes that are well added at a time

    /// `expected`: how many bytes there will be, as far as that is known.
    explicit PictureIntake(std::int64_t expected = 0);

    void add(std::string_view bytes); // the next ones

    /// Whether it can be no picture of a screen, whatever follows.
    bool isRefused() const { return isRefused_; }
    std::int64_t taken() const { return static_cast<std::int64_t>(png_.size()); } // bytes

    /// None where it is no whole one. Called once, at the end.
    std::optional<ZorbelKit::Picture> picture();

private:
    void begin();

    std::int64_t expected_;
    std::string png_;
    QSize size_; // of the picture, once its head is there
    std::optional<PngReducer> reducer_;
    bool isRefused_ = false;
};

} // namespace QtPlatform
