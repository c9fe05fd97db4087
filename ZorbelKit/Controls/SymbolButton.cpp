#include "ZorbelKit/Controls/SymbolButton.hpp"

#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Controls/Symbol.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QPainter>

namespace ZorbelKit {

namespace {

constexpr double radius = 6;

} // namespace

SymbolButton::SymbolButton(const QString& name, const QString& symbol, double symbolSize, QWidget* parent)
    : HoverButton(parent)
    , symbol_(symbol)
    , symbolSize_(symbolSize)
    , colour_(malaiDim) {
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAccessible(*this, QAccessible::Button, name);
    writeToolTip();
}

void SymbolButton::setName(const QString& name) {
    if (accessibleName() != name) {
        setAccessibleText(*this, name);
        writeToolTip();
    }
}

void SymbolButton::setSymbol(const QString& symbol) {
    if (symbol_ != symbol) {
        symbol_ = symbol;
        update();
    }
}

void SymbolButton::setColour(const Color& colour) {
    if (!(colour_ == colour)) {
        colour_ = colour;
        update();
    }
}

void SymbolButton::setKeys(const QString& keys) {
    keys_ = keys;
    writeToolTip();
}

void SymbolButton::writeToolTip() {
    setToolTip(keys_.isEmpty() ? accessibleName() : QStringLiteral("%1 (%2)").arg(accessibleName(), keys_));
}

void SymbolButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setOpacity(isEnabled() ? 1 : 0.4);
    painter.setPen(Qt::NoPen);
    painter.setBrush(isDown() ? qColor(stall) : qColor(kettlePeak.withOpacity(hover())));
    painter.drawRoundedRect(rect(), radius, radius);
    const QPointF centre = QRectF(rect()).center();
    paintSymbol(painter, symbol_, centre, symbolSize_, colour_);
    if (hover() > 0 && colour_ == malaiDim) {
        painter.setOpacity(painter.opacity() * hover());
        paintSymbol(painter, symbol_, centre, symbolSize_, malai);
        painter.setOpacity(1);
    }
    if (showsFocus()) {
        paintFocusRing(painter, rect(), radius);
    }
}

} // namespace ZorbelKit
