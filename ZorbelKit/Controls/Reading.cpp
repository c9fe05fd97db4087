#include "ZorbelKit/Controls/Reading.hpp"

#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QFontMetricsF>
#include <QPainter>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <utility>

namespace ZorbelKit {

namespace {

constexpr double unitGap = 3;
constexpr double unitShare = 0.6; // the unit's size against the figure's

double digitWidth(const QFontMetricsF& metrics) {
    double widest = 0;
    for (char digit = '0'; digit <= '9'; ++digit) {
        widest = std::max(widest, metrics.horizontalAdvance(QLatin1Char(digit)));
    }
    return widest;
}

double advance(const QFontMetricsF& metrics, QChar letter, double cell) {
    return letter.isDigit() ? cell : metrics.horizontalAdvance(letter);
}

} // namespace

Reading::Reading(const QString& value, std::optional<QString> unit, double points, QFont::Weight weight,
                 QWidget* parent)
    : QWidget(parent)
    , value_(value)
    , unit_(std::move(unit))
    , font_(interfaceFont(points, weight))
    , unitFont_(interfaceFont(points * unitShare, QFont::Medium))
    , colour_(malai) {
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setAccessible(*this, QAccessible::StaticText, unit_ ? value_ + " " + *unit_ : value_);
}

void Reading::setValue(const QString& value) {
    if (value_ == value) {
        return;
    }
    const double before = valueWidth();
    value_ = value;
    setAccessibleText(*this, unit_ ? value_ + " " + *unit_ : value_);
    if (valueWidth() != before) {
        updateGeometry();
    }
    update();
}

void Reading::setColour(const Color& colour) {
    if (!(colour_ == colour)) {
        colour_ = colour;
        update();
    }
}

double Reading::valueWidth() const {
    const QFontMetricsF metrics(font_);
    const double cell = digitWidth(metrics);
    double width = 0;
    for (const QChar letter : value_) {
        width += advance(metrics, letter, cell);
    }
    return width;
}

QSize Reading::sizeHint() const {
    double width = valueWidth();
    if (unit_) {
        width += unitGap + QFontMetricsF(unitFont_).horizontalAdvance(*unit_);
    }
    return {static_cast<int>(std::ceil(width)), static_cast<int>(std::ceil(QFontMetricsF(font_).height()))};
}

void Reading::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::TextAntialiasing);
    const QFontMetricsF metrics(font_);
    const double cell = digitWidth(metrics);
    const double baseline = metrics.ascent();
    painter.setFont(font_);
    painter.setPen(qColor(colour_));
    double x = 0;
    for (const QChar letter : value_) {
        const double width = advance(metrics, letter, cell);
        painter.drawText(QPointF(x + (width - metrics.horizontalAdvance(letter)) / 2, baseline), letter);
        x += width;
    }
    if (unit_) {
        painter.setFont(unitFont_);
        painter.setPen(qColor(malaiDim));
        painter.drawText(QPointF(x + unitGap, baseline), *unit_);
    }
}

Reading* addLabelled(QWidget* parent, const QString& label, double points, int gap) {
    auto* column = new QVBoxLayout(parent);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(gap);
    column->addWidget(makeText(label, interfaceFont(11), malaiDim, parent));
    auto* reading = new Reading("", std::nullopt, points, QFont::Medium, parent);
    column->addWidget(reading);
    return reading;
}

void writeLabelled(Reading& reading, const QString& label, const QString& value) {
    reading.setValue(value);
    setAccessibleText(reading, label.isEmpty() ? value : label + " " + value);
}

} // namespace ZorbelKit
