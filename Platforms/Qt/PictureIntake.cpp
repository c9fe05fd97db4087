#include "Platforms/Qt/PictureIntake.hpp"

#include "Platforms/Qt/QtPictures.hpp"

#include <QBuffer>
#include <QImageReader>

#include <algorithm>
#include <utility>

namespace QtPlatform {

using ZorbelKit::Picture;
using ZorbelKit::Pixels;

namespace {

using namespace std::string_view_literals;

// A PNG begins with its signature and the chunk that tells its size, and ends with a chunk that is always the
// same.
constexpr std::string_view beginning = "\x89PNG\r\n\x1A\n\0\0\0\x0DIHDR"sv;
constexpr std::string_view ending = "\0\0\0\0IEND\xAE\x42\x60\x82"sv;
constexpr std::size_t headSize = beginning.size() + 8; // with width and height
constexpr std::int64_t mostBytesOfPixel = 8;

std::int64_t number(std::string_view bytes) {
    std::int64_t value = 0;
    for (const char byte : bytes.substr(0, 4)) {
        value = value << 8 | static_cast<unsigned char>(byte);
    }
    return value;
}

/// As its head says; none where this is not how a PNG begins, or where it is too large to be of a screen.
QSize sizeOf(std::string_view png) {
    if (png.size() < headSize || !png.starts_with(beginning)) {
        return {};
    }
    const std::int64_t width = number(png.substr(beginning.size()));
    const std::int64_t height = number(png.substr(beginning.size() + 4));
    const bool isAcceptable = width > 0 && height > 0 && width <= QtPictures::longestSide &&
                              height <= QtPictures::longestSide && width * height <= QtPictures::mostPixels;
    return isAcceptable ? QSize(static_cast<int>(width), static_cast<int>(height)) : QSize();
}

/// The library's limit holds for the whole process and is lower than a desk of large screens needs.
void raiseLimitOfReader() {
    constexpr int needed = QtPictures::mostPixels * mostBytesOfPixel / (1 << 20) + 1; // MiB
    static const bool isRaised = [] {
        if (QImageReader::allocationLimit() < needed) {
            QImageReader::setAllocationLimit(needed);
        }
        return true;
    }();
    static_cast<void>(isRaised);
}

} // namespace

/// All pixels; null where these bytes are no whole PNG.
QImage decoded(std::string_view png) {
    raiseLimitOfReader();
    QByteArray bytes = QByteArray::fromRawData(png.data(), static_cast<qsizetype>(png.size()));
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, "png");
    reader.setAutoDetectImageFormat(false); // nothing else is tried where it is none
    QImage image = reader.read();
    // The library makes up for an end that is missing.
    const bool isWhole = png.substr(0, static_cast<std::size_t>(buffer.pos())).ends_with(ending);
    return isWhole ? image : QImage();
}

/// Of a picture of this size.
QSize previewSize(const QSize& size) {
    const QSize most(Picture::previewWidth, Picture::previewHeight);
    const bool isSmall = size.width() <= most.width() && size.height() <= most.height();
    return isSmall ? size : size.scaled(most, Qt::KeepAspectRatio).expandedTo(QSize(1, 1));
}

/// `image`: all of the picture, maybe not as large as it is.
Pixels previewOf(const QImage& image, const QSize& size) {
    const QImage small =
        (image.size() == size ? image : image.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation))
            .convertToFormat(QImage::Format_ARGB32);
    Pixels result{small.width(), small.height(), {}};
    result.argb.reserve(static_cast<std::size_t>(small.width()) * static_cast<std::size_t>(small.height()));
    for (int row = 0; row < small.height(); ++row) {
        const auto* line = reinterpret_cast<const QRgb*>(small.constScanLine(row));
        result.argb.insert(result.argb.end(), line, line + small.width());
    }
    return result;
}

PictureIntake::PictureIntake(std::int64_t expected)
    : expected_(expected)
    , isRefused_(expected > QtPictures::longestFile) {
}

void PictureIntake::add(std::string_view bytes) {
    if (isRefused_) {
        return;
    }
    png_.append(bytes);
    if (reducer_) {
        reducer_->add(bytes);
    } else if (size_.isEmpty() && png_.size() >= headSize) {
        begin();
    }
    isRefused_ = isRefused_ || taken() > QtPictures::longestFile;
}

/// What is too large is known before room is made for any of it.
void PictureIntake::begin() {
    size_ = sizeOf(png_);
    if (!size_.isValid()) {
        isRefused_ = true;
        return;
    }
    png_.reserve(static_cast<std::size_t>(std::max<std::int64_t>(expected_, 0)));
    const QSize small = previewSize(size_);
    const int step = std::max(size_.width() / small.width(), size_.height() / small.height()) / 2;
    if (step > 1) {
        reducer_.emplace(step);
        reducer_->add(png_);
    }
}

std::optional<Picture> PictureIntake::picture() {
    if (isRefused_ || size_.isEmpty()) {
        return std::nullopt;
    }
    const QImage reduced = reducer_ ? reducer_->result() : QImage();
    const QImage image = reduced.isNull() ? decoded(png_) : reduced;
    if (image.isNull()) {
        return std::nullopt;
    }
    return Picture({.width = size_.width(),
                    .height = size_.height(),
                    .png = std::move(png_),
                    .preview = previewOf(image, previewSize(size_))});
}

} // namespace QtPlatform
