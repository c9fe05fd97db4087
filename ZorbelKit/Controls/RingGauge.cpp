#include "ZorbelKit/Controls/RingGauge.hpp"

#include "ZorbelKit/Controls/Reading.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Geometry.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Percent.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QPainter>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ZorbelKit {

namespace {

constexpr double ringShare = 0.75;   // of a full turn
constexpr double leastVisible = 0.5; // points; a smaller move of the arc's end is not worth its frames
constexpr int labelGap = 6;
constexpr int labelHeight = 16;

double ringWidth(int diameter) {
    return diameter / 14.0;
}

} // namespace

RingGauge::RingGauge(const QString& label, int diameter, const Color& colour, QWidget* parent)
    : QWidget(parent)
    , label_(label)
    , spokenLabel_(label)
    , diameter_(diameter)
    , colour_(colour)
    , figure_(new Reading("0%", std::nullopt, std::round(diameter / 5.0), QFont::Medium, this))
    , arc_(*this) {
    if (!label.isEmpty()) {
        auto* caption = makeText(label, interfaceFont(11), malaiDim, this);
        caption->setAlignment(Qt::AlignHCenter);
        caption->setGeometry(0, diameter + labelGap, diameter, labelHeight);
    }
    setFixedSize(sizeHint());
}

QSize RingGauge::sizeHint() const {
    return {diameter_, label_.isEmpty() ? diameter_ : diameter_ + labelGap + labelHeight};
}

void RingGauge::setValue(double fraction) {
    writeLabelled(*figure_, spokenLabel_, qString(percentText(fraction)));
    const QSize size = figure_->sizeHint();
    const QPoint corner((diameter_ - size.width()) / 2, (diameter_ - size.height()) / 2);
    figure_->setGeometry(QRect(corner, size));
    const double share = clamped(fraction, 0, 1);
    if (std::abs(share - arc_.target()) * arcLength() >= leastVisible) {
        arc_.to(share, Pour::settle(Pour::pour));
    }
}

void RingGauge::setColour(const Color& colour) {
    if (colour_ != colour) {
        colour_ = colour;
        update();
    }
}

void RingGauge::setSpokenLabel(const QString& label) {
    spokenLabel_ = label;
}

double RingGauge::arcLength() const {
    return ringShare * std::numbers::pi * (diameter_ - ringWidth(diameter_));
}

void RingGauge::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double width = ringWidth(diameter_);
    const QRectF ring(width / 2, width / 2, diameter_ - width, diameter_ - width);
    // Qt counts sixteenths of a degree, anticlockwise from three o'clock. The ring starts at 135 degrees
    // clockwise, lower left, and runs clockwise over the top.
    const auto arc = [&](const Color& colour, double share) {
        painter.setPen(QPen(qColor(colour), width, Qt::SolidLine, Qt::RoundCap));
        painter.drawArc(ring, -135 * 16, -static_cast<int>(share * 360 * 16));
    };
    arc(rim, ringShare);
    if (arc_.value() > 0) {
        arc(colour_, ringShare * arc_.value());
    }
}

} // namespace ZorbelKit
