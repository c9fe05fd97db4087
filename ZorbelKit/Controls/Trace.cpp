#include "ZorbelKit/Controls/Trace.hpp"

#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Geometry.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <utility>

namespace ZorbelKit {

namespace {

constexpr double lineWidth = 1.5; // points

} // namespace

Trace::Trace(std::size_t length, const Color& colour, const QString& spoken, QWidget* parent)
    : QWidget(parent)
    , length_(length)
    , colour_(colour) {
    setAccessible(*this, QAccessible::Chart, spoken);
}

void Trace::setValues(std::vector<double> values, std::vector<std::size_t> gaps) {
    if (values_ != values || gaps_ != gaps) {
        values_ = std::move(values);
        gaps_ = std::move(gaps);
        update();
    }
}

void Trace::paintEvent(QPaintEvent*) {
    if (values_.size() < 2) {
        return;
    }
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath card;
    card.addRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radiusPanel, radiusPanel);
    painter.setPen(QPen(qColor(rim), 1));
    painter.setBrush(qColor(kettle));
    painter.drawPath(card);
    painter.setClipPath(card);

    const double step = width() / static_cast<double>(length_ - 1);
    const double margin = 2; // a line along the very top or bottom keeps its full width
    const auto pointAt = [&](std::size_t index) {
        const double share = clamped(values_[index], 0, 1);
        return QPointF(static_cast<double>(index) * step,
                       height() - margin - share * (height() - 2 * margin));
    };
    for (std::size_t begin = 0; begin < values_.size();) {
        const auto gap = std::ranges::find_if(gaps_, [&](std::size_t index) { return index > begin; });
        const std::size_t end = gap == gaps_.end() ? values_.size() : std::min(*gap, values_.size());
        if (end == begin + 1) { // alone between two gaps: a dot, for a line of no length is not drawn
            painter.setPen(Qt::NoPen);
            painter.setBrush(qColor(colour_));
            painter.drawEllipse(pointAt(begin), lineWidth, lineWidth);
            begin = end;
            continue;
        }
        QPainterPath line(pointAt(begin));
        for (std::size_t index = begin + 1; index < end; ++index) {
            line.lineTo(pointAt(index));
        }
        QPainterPath area = line;
        area.lineTo(pointAt(end - 1).x(), height());
        area.lineTo(pointAt(begin).x(), height());
        area.closeSubpath();
        painter.fillPath(area, qColor(colour_.withOpacity(0.28)));
        painter.strokePath(line,
                           QPen(qColor(colour_), lineWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        begin = end;
    }
}

} // namespace ZorbelKit
