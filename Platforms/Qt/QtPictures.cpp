#include "Platforms/Qt/QtPictures.hpp"

#include <QBuffer>
#include <QFile>
#include <QImageReader>
#include <QSaveFile>
#include <QStandardPaths>

#include <algorithm>
#include <system_error>

namespace QtPlatform {

using ZorbelKit::Picture;
using ZorbelKit::Pixels;

namespace {

constexpr int quickly = 70; // of 100, where 100 means no compression

Pixels previewOf(const QImage& image) {
    const bool isSmall = image.width() <= Picture::previewWidth && image.height() <= Picture::previewHeight;
    const QImage small = (isSmall ? image
                                  : image.scaled(Picture::previewWidth, Picture::previewHeight,
                                                 Qt::KeepAspectRatio, Qt::SmoothTransformation))
                             .convertToFormat(QImage::Format_ARGB32);
    Pixels result{small.width(), small.height(), {}};
    for (int row = 0; row < small.height(); ++row) {
        const auto* line = reinterpret_cast<const QRgb*>(small.constScanLine(row));
        result.argb.insert(result.argb.end(), line, line + small.width());
    }
    return result;
}

ZorbelKit::SharedText pngOf(const QImage& image) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    return image.save(&buffer, "PNG", quickly) ? bytes.toStdString() : std::string();
}

} // namespace

std::optional<Picture> QtPictures::read(const std::filesystem::path& path) const {
    QFile file(QString::fromStdString(path.string()));
    if (!file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    const QByteArray bytes = file.readAll();
    const QImage image = QImage::fromData(bytes, "PNG");
    if (image.isNull()) {
        return std::nullopt;
    }
    return Picture({.width = image.width(),
                    .height = image.height(),
                    .png = bytes.toStdString(),
                    .preview = previewOf(image)});
}

Picture QtPictures::compacted(const Picture& picture) const {
    return picture.isCompact() ? picture : QtPictures::picture(image(picture));
}

Picture QtPictures::blank(int width, int height) const {
    QImage image(width, height, QImage::Format_Grayscale8);
    image.fill(0);
    return picture(image);
}

bool QtPictures::write(const Picture& picture, const std::filesystem::path& path) const {
    QSaveFile file(QString::fromStdString(path.string()));
    const auto png = picture.png();
    return file.open(QIODevice::WriteOnly) &&
           file.write(png.view().data(), static_cast<qint64>(png.size())) ==
               static_cast<qint64>(png.size()) &&
           file.commit();
}

std::filesystem::path QtPictures::temporaryFile(const std::string& name) const {
    return std::filesystem::temp_directory_path() / name;
}

void QtPictures::remove(const std::filesystem::path& file) const {
    std::error_code ignored;
    std::filesystem::remove(file, ignored);
}

Picture QtPictures::picture(const QImage& image) {
    if (image.isNull()) {
        return {};
    }
    return Picture({.width = image.width(),
                    .height = image.height(),
                    .png = pngOf(image),
                    .preview = previewOf(image),
                    .isCompact = true});
}

QImage QtPictures::image(const Picture& picture) {
    const auto png = picture.png();
    return QImage::fromData(reinterpret_cast<const uchar*>(png.view().data()), static_cast<int>(png.size()),
                            "PNG");
}

} // namespace QtPlatform
