#include "ZorbelKit/Controls/HoverButton.hpp"

#include <QKeyEvent>

namespace ZorbelKit {

HoverButton::HoverButton(QWidget* parent)
    : FocusButton(parent)
    , hover_(*this) {
}

void HoverButton::enterEvent(QEnterEvent* event) {
    hover_.to(1, Pour::settle(Pour::sip));
    FocusButton::enterEvent(event);
}

void HoverButton::leaveEvent(QEvent* event) {
    hover_.to(0, Pour::settle(Pour::sip));
    FocusButton::leaveEvent(event);
}

void HoverButton::hideEvent(QHideEvent* event) {
    hover_.jump(0); // what is hidden under the pointer is sent no leave
    FocusButton::hideEvent(event);
}

void Tile::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (!event->isAutoRepeat()) {
            click();
        }
        return;
    case Qt::Key_Space:
    case Qt::Key_Select:
        HoverButton::keyPressEvent(event);
        return;
    default:
        event->ignore(); // not the button's own way through its neighbours
    }
}

} // namespace ZorbelKit
