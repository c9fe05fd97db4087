#include "ZorbelKit/Controls/Counter.hpp"

#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QPainter>
#include <QVBoxLayout>

namespace ZorbelKit {

Counter::Counter(bool raised, QWidget* content, QWidget* parent)
    : QWidget(parent)
    , raised_(raised) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(content);
}

void Counter::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(qColor(rim), 1));
    painter.setBrush(qColor(raised_ ? kettleHi : kettle));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radiusPanel, radiusPanel);
}

} // namespace ZorbelKit
