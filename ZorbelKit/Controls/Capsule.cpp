#include "ZorbelKit/Controls/Capsule.hpp"

#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QPainter>

namespace ZorbelKit {

Capsule::Capsule(const QString& text, const Color& colour, QWidget* parent)
    : QLabel(text.toUpper(), parent)
    , colour_(colour) {
    setTextFormat(Qt::PlainText);
    setFont(interfaceFont(9, QFont::DemiBold, 0.8));
    setContentsMargins(7, 3, 7, 3);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    QPalette colours = palette();
    colours.setColor(QPalette::WindowText, qColor(colour_));
    setPalette(colours);
}

void Capsule::paintEvent(QPaintEvent* event) {
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(qColor(colour_.withOpacity(0.16)));
        painter.drawRoundedRect(rect(), height() / 2.0, height() / 2.0);
    }
    QLabel::paintEvent(event);
}

} // namespace ZorbelKit
