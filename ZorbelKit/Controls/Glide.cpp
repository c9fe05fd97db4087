#include "ZorbelKit/Controls/Glide.hpp"

#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QWidget>

#include <utility>

namespace ZorbelKit {

namespace {

bool motionReduced = false;

} // namespace

Glide::Glide(QWidget& widget, double start, std::function<void()> stepped)
    : widget_(widget)
    , stepped_(std::move(stepped))
    , value_(start)
    , target_(start) {
    QObject::connect(&animation_, &QVariantAnimation::valueChanged, &widget,
                     [this](const QVariant& value) { take(value.toDouble()); });
}

void Glide::take(double value) {
    if (value_ == value) {
        return;
    }
    value_ = value;
    if (stepped_) {
        stepped_();
    } else {
        widget_.update();
    }
}

void Glide::to(double target, const Pour::Curve& curve) {
    if (target == target_) {
        return;
    }
    if (!widget_.isVisible() || motionReduced) {
        jump(target);
        return;
    }
    target_ = target;
    animation_.stop();
    animation_.setDuration(milliseconds(curve.duration));
    animation_.setEasingCurve(easing(curve));
    animation_.setStartValue(value_);
    animation_.setEndValue(target);
    animation_.start();
}

void Glide::jump(double target) {
    animation_.stop();
    target_ = target;
    take(target);
}

bool isMotionReduced() {
    return motionReduced;
}

void setMotionReduced(bool reduced) {
    motionReduced = reduced;
}

} // namespace ZorbelKit
