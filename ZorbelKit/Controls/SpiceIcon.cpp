#include "ZorbelKit/Controls/SpiceIcon.hpp"

#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/ChaiGlassRenderer.hpp"
#include "ZorbelKit/Surfaces/PainterCanvas.hpp"
#include "ZorbelKit/Surfaces/ResourceImage.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QPainter>
#include <QPixmapCache>

#include <cmath>
#include <utility>

namespace ZorbelKit {

namespace {

constexpr double dimmedOpacity = 0.5;

/// The image's shape in `colour`; drawn once for each size and resolution.
QPixmap tintedImage(const std::string& id, double size, double scale, const Color& colour) {
    const QString key = QStringLiteral("spice/%1/%2/%3").arg(QString::fromStdString(id)).arg(size).arg(scale);
    QPixmap pixmap;
    if (QPixmapCache::find(key, &pixmap)) {
        return pixmap;
    }
    const int side = static_cast<int>(std::lround(size * scale));
    QImage image = resourceImage(QStringLiteral("Spices/%1").arg(QString::fromStdString(id)), side);
    if (image.isNull()) {
        image = rendered(ChaiGlassRenderer::statusImage(0, 0, size), scale, qColor(colour));
    } else {
        QPainter painter(&image);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(image.rect(), qColor(colour));
    }
    image.setDevicePixelRatio(scale);
    pixmap = QPixmap::fromImage(std::move(image));
    QPixmapCache::insert(key, pixmap);
    return pixmap;
}

} // namespace

SpiceIcon::SpiceIcon(std::string id, double size, bool dimmed, QWidget* parent)
    : QWidget(parent)
    , id_(std::move(id))
    , size_(size)
    , opacity_(*this, dimmed ? dimmedOpacity : 1) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAccessible(*this, QAccessible::Graphic, QString::fromStdString(id_) + " icon");
}

void SpiceIcon::setDimmed(bool dimmed) {
    opacity_.to(dimmed ? dimmedOpacity : 1, Pour::settle(Pour::sip));
}

QSize SpiceIcon::sizeHint() const {
    const int side = static_cast<int>(std::ceil(size_));
    return {side, side};
}

void SpiceIcon::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setOpacity(opacity_.value());
    painter.drawPixmap(QPointF(0, 0), tintedImage(id_, size_, devicePixelRatioF(), spiceColour(id_)));
}

} // namespace ZorbelKit
