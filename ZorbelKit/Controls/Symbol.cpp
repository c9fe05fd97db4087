#include "ZorbelKit/Controls/Symbol.hpp"

#include "ZorbelKit/Surfaces/ResourceImage.hpp"

#include <QPaintDevice>
#include <QPainter>

#include <cmath>

namespace ZorbelKit {

void paintSymbol(QPainter& painter, const QString& name, const QPointF& centre, double size,
                 const Color& colour) {
    const double scale = painter.device()->devicePixelRatioF();
    const QPixmap picture = tintedImage(QStringLiteral("Symbols/%1").arg(name), size, scale, colour);
    if (picture.isNull()) {
        return;
    }
    // On whole device pixels, where its strokes are sharp.
    const auto snapped = [scale](double value) { return std::round(value * scale) / scale; };
    painter.drawPixmap(QPointF(snapped(centre.x() - size / 2), snapped(centre.y() - size / 2)), picture);
}

Symbol::Symbol(const QString& name, double size, const Color& colour, QWidget* parent)
    : QWidget(parent)
    , name_(name)
    , size_(size)
    , colour_(colour) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void Symbol::setSymbol(const QString& name) {
    if (name_ != name) {
        name_ = name;
        update();
    }
}

void Symbol::setColour(const Color& colour) {
    if (!(colour_ == colour)) {
        colour_ = colour;
        update();
    }
}

QSize Symbol::sizeHint() const {
    const int side = static_cast<int>(std::ceil(size_));
    return {side, side};
}

void Symbol::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintSymbol(painter, name_, QRectF(rect()).center(), size_, colour_);
}

} // namespace ZorbelKit
