#pragma once

#include "ZorbelKit/Color.hpp"
#include "ZorbelKit/Controls/Glide.hpp"

#include <QVariantAnimation>
#include <QWidget>

namespace ZorbelKit {

/// A dot that says whether something is steeping: while it is, a ring round it swells to 1.6 times its size
/// and fades to 0.4, and back. `size` is the dot's diameter in points. Pulses only while it can be seen.
class SteepDot : public QWidget {
public:
    static constexpr double farScale = 1.6;
    static constexpr double farOpacity = 0.4;

    SteepDot(const Color& colour, bool on, double size, QWidget* parent = nullptr);

    void setOn(bool on);
    bool isOn() const { return on_; }
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void updatePulse();

    Color colour_;
    bool on_;
    double diameter_;
    Glide ring_; // 0 without a ring, 1 with it
    QVariantAnimation pulse_;
};

} // namespace ZorbelKit
