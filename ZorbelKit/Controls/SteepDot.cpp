#include "ZorbelKit/Controls/SteepDot.hpp"

#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QPainter>

#include <cmath>

namespace ZorbelKit {

namespace {

constexpr double ringWidth = 1;
constexpr Seconds pulsePeriod{1.6}; // out and back

} // namespace

SteepDot::SteepDot(const Color& colour, bool on, double size, QWidget* parent)
    : QWidget(parent)
    , colour_(colour)
    , on_(on)
    , diameter_(size)
    , ring_(*this, on ? 1 : 0) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAccessible(*this, QAccessible::Indicator, on ? "Steeping" : "Resting");
    pulse_.setDuration(milliseconds(pulsePeriod));
    pulse_.setLoopCount(-1);
    pulse_.setStartValue(0.0);
    pulse_.setKeyValueAt(0.5, 1.0);
    pulse_.setEndValue(0.0);
    connect(&pulse_, &QVariantAnimation::valueChanged, this, [this] { update(); });
}

QSize SteepDot::sizeHint() const {
    const int side = static_cast<int>(std::ceil(diameter_ * farScale + 2 * ringWidth));
    return {side, side};
}

void SteepDot::setOn(bool on) {
    if (on_ == on) {
        return;
    }
    on_ = on;
    setAccessibleText(*this, on ? "Steeping" : "Resting");
    ring_.to(on ? 1 : 0, Pour::settle(Pour::pour));
    updatePulse();
}

void SteepDot::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    updatePulse();
}

void SteepDot::hideEvent(QHideEvent* event) {
    pulse_.stop();
    QWidget::hideEvent(event);
}

void SteepDot::updatePulse() {
    if (on_ && isVisible() && !isMotionReduced()) {
        pulse_.start();
    } else {
        pulse_.stop();
    }
}

void SteepDot::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPointF centre = QRectF(rect()).center();
    const double radius = diameter_ / 2;
    painter.setPen(Qt::NoPen);
    painter.setBrush(qColor(colour_.withOpacity(0.45 + 0.55 * ring_.value())));
    painter.drawEllipse(centre, radius, radius);
    if (ring_.value() > 0) {
        const double progress =
            pulse_.state() == QVariantAnimation::Running ? pulse_.currentValue().toDouble() : 1;
        const double scale = 1 + (farScale - 1) * progress;
        const double opacity = 1 + (farOpacity - 1) * progress;
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(qColor(colour_.withOpacity(opacity * ring_.value())), ringWidth));
        painter.drawEllipse(centre, radius * scale, radius * scale);
    }
}

} // namespace ZorbelKit
