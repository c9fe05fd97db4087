#include "ZorbelKit/Controls/Buttons.hpp"

#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QPainter>

#include <cmath>
#include <utility>

namespace ZorbelKit {

namespace {

QFont buttonFont() {
    QFont font = styleFont(TextStyle::callout);
    font.setWeight(QFont::Medium);
    return font;
}

ButtonLook brassLook() {
    // Dark on brass reads at 4.7 : 1; the light text colour would at 2.1 : 1.
    return {.fill = brass,
            .hoverFill = brassHi,
            .pressedFill = brassDim,
            .border = brass.withOpacity(0),
            .text = stall,
            .hoverText = stall,
            .disabledText = malai.withOpacity(0.7),
            .font = buttonFont()};
}

ButtonLook quietLook() {
    return {.fill = kettleHi,
            .hoverFill = kettlePeak,
            .pressedFill = stall,
            .border = rim,
            .text = malai,
            .hoverText = malai,
            .disabledText = malaiDim,
            .font = buttonFont()};
}

ButtonLook plainLook(const Color& colour) {
    const Color clear = kettleHi.withOpacity(0);
    return {.fill = clear,
            .hoverFill = clear,
            .pressedFill = clear,
            .border = clear,
            .text = colour,
            .hoverText = malai,
            .disabledText = malaiFaint,
            .font = buttonFont(),
            .paddingX = 6};
}

} // namespace

PaintedButton::PaintedButton(const QString& text, ButtonLook look, QWidget* parent)
    : HoverButton(parent)
    , look_(std::move(look))
    , press_(*this) {
    setText(text);
    setFont(look_.font);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAccessible(*this, QAccessible::Button, text);
    connect(this, &QAbstractButton::pressed, this, [this] { press_.to(1, Pour::settle(Pour::sip)); });
    connect(this, &QAbstractButton::released, this, [this] { press_.to(0, Pour::settle(Pour::sip)); });
}

void PaintedButton::setLabel(const QString& text) {
    setText(text);
    setAccessibleText(*this, text);
}

QSize PaintedButton::sizeHint() const {
    const QFontMetricsF metrics(font());
    return {static_cast<int>(std::ceil(metrics.horizontalAdvance(text()) + 2 * look_.paddingX)),
            static_cast<int>(std::ceil(metrics.height() + 2 * look_.paddingY))};
}

void PaintedButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setOpacity(isEnabled() ? 1 : 0.4);
    const Color hovered = look_.fill.mixedWith(look_.hoverFill, hover());
    painter.setBrush(qColor(hovered.mixedWith(look_.pressedFill, press_.value())));
    painter.setPen(qColor(look_.border));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), look_.radius, look_.radius);
    painter.setOpacity(1);
    painter.setPen(qColor(isEnabled() ? look_.text.mixedWith(look_.hoverText, hover()) : look_.disabledText));
    painter.setFont(font());
    painter.drawText(rect(), Qt::AlignCenter | Qt::TextHideMnemonic, text());
    if (showsFocus()) {
        paintFocusRing(painter, rect(), look_.radius);
    }
}

BrassButton::BrassButton(const QString& text, QWidget* parent)
    : PaintedButton(text, brassLook(), parent) {
}

QuietButton::QuietButton(const QString& text, QWidget* parent)
    : PaintedButton(text, quietLook(), parent) {
}

PlainButton::PlainButton(const QString& text, const Color& colour, QWidget* parent)
    : PaintedButton(text, plainLook(colour), parent) {
}

} // namespace ZorbelKit
