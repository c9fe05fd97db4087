#include "ZorbelKit/Surfaces/ResourceImage.hpp"

#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QImageReader>
#include <QPainter>
#include <QPixmapCache>

#include <cmath>
#include <utility>

// The resources of a static library are linked only when asked for, and only outside every namespace.
static void registerResources() {
    Q_INIT_RESOURCE(resources);
}

namespace ZorbelKit {

QImage resourceImage(const QString& name, int side) {
    static const bool registered = (registerResources(), true);
    Q_UNUSED(registered)
    QImageReader reader(QStringLiteral(":/%1.svg").arg(name));
    reader.setScaledSize({side, side});
    const QImage image = reader.read();
    return image.isNull() ? image : image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

QPixmap tintedImage(const QString& name, double size, double scale, const Color& colour,
                    const std::function<QImage()>& otherwise) {
    const QColor tint = qColor(colour);
    const QString key =
        QStringLiteral("%1/%2/%3/%4").arg(name).arg(size).arg(scale).arg(tint.name(QColor::HexArgb));
    QPixmap pixmap;
    if (QPixmapCache::find(key, &pixmap)) {
        return pixmap;
    }
    QImage image = resourceImage(name, static_cast<int>(std::lround(size * scale)));
    if (!image.isNull()) {
        QPainter painter(&image);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(image.rect(), tint);
    } else if (otherwise) {
        image = otherwise();
    }
    if (image.isNull()) {
        return {};
    }
    image.setDevicePixelRatio(scale);
    pixmap = QPixmap::fromImage(std::move(image));
    QPixmapCache::insert(key, pixmap);
    return pixmap;
}

} // namespace ZorbelKit
