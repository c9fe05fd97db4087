#pragma once

#include "ZorbelKit/Pour.hpp"

#include <QVariantAnimation>

#include <functional>

class QWidget;

namespace ZorbelKit {

/// A number that glides to its target and repaints its widget once a frame on the way. At rest it ticks
/// nothing; while the widget cannot be seen it jumps.
class Glide {
public:
    /// `stepped` is called after every change of the value; by default it repaints the widget.
    explicit Glide(QWidget& widget, double start = 0, std::function<void()> stepped = {});

    double value() const { return value_; }
    double target() const { return target_; }
    void to(double target, const Pour::Curve& curve);
    void jump(double target);

private:
    void take(double value);

    QWidget& widget_;
    std::function<void()> stepped_;
    double value_;
    double target_;
    QVariantAnimation animation_;
};

/// Whether the user asked for less motion: every glide then jumps and nothing pulses.
bool isMotionReduced();
void setMotionReduced(bool reduced);

} // namespace ZorbelKit
