#include "Platforms/Linux/MenuBar/MenuBarCell.hpp"

#include "Platforms/Linux/MenuBar/MenuBarWindow.hpp"
#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QMouseEvent>
#include <QPainter>

#include <utility>

namespace Linux {

using namespace ZorbelKit;

namespace {

constexpr auto dragKeys = Qt::ControlModifier | Qt::MetaModifier;

} // namespace

MenuBarCell::MenuBarCell(MenuBarWindow& bar, std::string identity)
    : QAbstractButton(&bar)
    , bar_(bar)
    , identity_(std::move(identity)) {
    setFocusPolicy(Qt::NoFocus); // the bar never takes the keyboard
    setAccessible(*this, QAccessible::Button, "Zorbel");
    hide();
    // What a screen reader presses is the left button.
    connect(this, &QAbstractButton::clicked, this,
            [this] { act(Qt::LeftButton, mapToGlobal(rect().bottomLeft())); });
}

MenuBarCell::~MenuBarCell() = default;

void MenuBarCell::place(const QRect& frame) {
    setGeometry(frame);
    show();
}

void MenuBarCell::takeAway() {
    hide();
}

void MenuBarCell::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && (event->modifiers() & dragKeys)) {
        bar_.beginDrag(identity_, event->globalPosition().toPoint());
        return;
    }
    if (pressed_ == Qt::NoButton) {
        pressed_ = event->button();
        setDown(true);
    }
}

void MenuBarCell::mouseMoveEvent(QMouseEvent* event) {
    bar_.dragTo(event->globalPosition().toPoint());
}

void MenuBarCell::mouseReleaseEvent(QMouseEvent* event) {
    if (bar_.isDragging()) {
        if (event->button() == Qt::LeftButton) {
            bar_.endDrag(true);
        }
        return;
    }
    if (event->button() != pressed_) {
        return;
    }
    const auto button = std::exchange(pressed_, Qt::NoButton);
    setDown(false);
    if (rect().contains(event->position().toPoint())) {
        act(button, event->globalPosition().toPoint());
    }
}

void MenuBarCell::enterEvent(QEnterEvent* event) {
    update();
    QAbstractButton::enterEvent(event);
}

void MenuBarCell::leaveEvent(QEvent* event) {
    update();
    QAbstractButton::leaveEvent(event);
}

void MenuBarCell::changeEvent(QEvent* event) {
    QAbstractButton::changeEvent(event);
    if (event->type() == QEvent::ToolTipChange) {
        setAccessibleText(*this, toolTip());
    }
}

void MenuBarCell::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const bool isDragged = bar_.dragged() == identity_;
    if (underMouse() || isDown() || isDragged) {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(qColor(isDown() || isDragged ? rim : kettleHi));
        painter.drawRoundedRect(drawnPart().adjusted(1, 3, -1, -4), 5, 5);
    }
    paintContent(painter);
}

} // namespace Linux
