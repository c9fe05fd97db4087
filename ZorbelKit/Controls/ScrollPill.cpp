#include "ZorbelKit/Controls/ScrollPill.hpp"

#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>

#include <algorithm>
#include <cmath>

namespace ZorbelKit {

namespace {

constexpr double shortestPill = 24;

} // namespace

ScrollPill::ScrollPill(QScrollBar& bar, QWidget* parent)
    : QWidget(parent)
    , bar_(bar) {
    setAttribute(Qt::WA_Hover);
    connect(&bar, &QScrollBar::valueChanged, this, [this] { update(); });
    connect(&bar, &QScrollBar::rangeChanged, this, [this] {
        setVisible(bar_.maximum() > bar_.minimum());
        update();
    });
    hide();
}

void ScrollPill::place() {
    const QWidget& around = *parentWidget();
    setGeometry(around.width() - thickness, 0, thickness, around.height());
    raise();
}

void ScrollPill::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(qColor(malaiFaint.withOpacity(underMouse() || isDragged_ ? 0.9 : 0.45)));
    const QRectF pill(2, top() + 2, width() - 4, length() - 4);
    painter.drawRoundedRect(pill, pill.width() / 2, pill.width() / 2);
}

void ScrollPill::mousePressEvent(QMouseEvent* event) {
    isDragged_ = true;
    const double y = event->position().y();
    const bool isOnPill = y >= top() && y < top() + length();
    grip_ = isOnPill ? y - top() : length() / 2;
    drag(y);
}

void ScrollPill::mouseMoveEvent(QMouseEvent* event) {
    drag(event->position().y());
}

void ScrollPill::mouseReleaseEvent(QMouseEvent*) {
    isDragged_ = false;
    update();
}

double ScrollPill::length() const {
    const double span = bar_.maximum() - bar_.minimum() + bar_.pageStep();
    return std::max(shortestPill, height() * bar_.pageStep() / std::max(span, 1.0));
}

double ScrollPill::top() const {
    const int range = std::max(bar_.maximum() - bar_.minimum(), 1);
    return (height() - length()) * (bar_.value() - bar_.minimum()) / range;
}

void ScrollPill::drag(double y) {
    const double travel = std::max(height() - length(), 1.0);
    const double share = (y - grip_) / travel;
    bar_.setValue(bar_.minimum() + static_cast<int>(std::lround(share * (bar_.maximum() - bar_.minimum()))));
    update();
}

} // namespace ZorbelKit
