#include "ZorbelKit/Controls/SpiceIcon.hpp"

#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/ChaiGlassRenderer.hpp"
#include "ZorbelKit/Surfaces/PainterCanvas.hpp"
#include "ZorbelKit/Surfaces/ResourceImage.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QPainter>

#include <cmath>
#include <utility>

namespace ZorbelKit {

namespace {

constexpr double dimmedOpacity = 0.5;

QPixmap spiceImage(const std::string& id, double size, double scale) {
    const Color colour = spiceColour(id);
    return tintedImage(QStringLiteral("Spices/%1").arg(QString::fromStdString(id)), size, scale, colour, [&] {
        return rendered(ChaiGlassRenderer::statusImage(0, 0, size), scale, qColor(colour));
    });
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
    painter.drawPixmap(QPointF(0, 0), spiceImage(id_, size_, devicePixelRatioF()));
}

} // namespace ZorbelKit
