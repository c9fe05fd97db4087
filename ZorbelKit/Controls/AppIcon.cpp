#include "ZorbelKit/Controls/AppIcon.hpp"

#include "ZorbelKit/Controls/Symbol.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Palette.hpp"

#include <QFileInfo>
#include <QPainter>
#include <QPixmap>

namespace ZorbelKit {

namespace {

constexpr double fallbackShare = 0.8; // of the side: pictures fill it, symbols would look too large

/// The nearest corner of a device pixel, where a picture of the right size stays sharp.
QPointF onDevicePixel(const QPainter& painter, const QPointF& point) {
    const QTransform toDevice = painter.deviceTransform();
    return toDevice.inverted().map(QPointF(toDevice.map(point).toPoint()));
}

} // namespace

void paintIcon(QPainter& painter, const QIcon& icon, const QRectF& rect) {
    const QPixmap picture = icon.pixmap(rect.size().toSize(), painter.device()->devicePixelRatioF());
    const QSizeF size = picture.deviceIndependentSize();
    const QPointF corner = rect.center() - QPointF(size.width() / 2, size.height() / 2);
    painter.drawPixmap(onDevicePixel(painter, corner), picture);
}

AppIcon::AppIcon(int side, const QString& fallback, QWidget* parent)
    : QWidget(parent)
    , side_(side)
    , fallback_(fallback) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void AppIcon::load(const std::optional<std::string>& place) {
    const QString name = qString(place.value_or(""));
    if (name.startsWith('/')) {
        icon_ = QFileInfo(name).isFile() ? QIcon(name) : QIcon();
    } else {
        icon_ = name.isEmpty() ? QIcon() : QIcon::fromTheme(name);
    }
    if (icon_.pixmap(side_).isNull()) {
        icon_ = QIcon(); // a file that holds no picture
    }
    update();
}

void AppIcon::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QPointF centre = QRectF(rect()).center();
    if (!hasPicture()) {
        paintSymbol(painter, fallback_, centre, side_ * fallbackShare, malaiDim);
        return;
    }
    paintIcon(painter, icon_, rect());
}

} // namespace ZorbelKit
