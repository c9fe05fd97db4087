#include "ZorbelKit/Controls/Rule.hpp"

#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QPainter>

namespace ZorbelKit {

Rule::Rule(Qt::Orientation orientation, QWidget* parent)
    : QWidget(parent) {
    if (orientation == Qt::Horizontal) {
        setFixedHeight(1);
    } else {
        setFixedWidth(1);
    }
}

void Rule::paintEvent(QPaintEvent*) {
    QPainter(this).fillRect(rect(), qColor(rim));
}

} // namespace ZorbelKit
