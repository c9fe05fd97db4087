#include "Rusket/RusketViews.hpp"

#include "Rusket/Rusket.hpp"
#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Controls/Reading.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Geometry.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QHBoxLayout>
#include <QPainter>
#include <QPainterPath>
#include <QStackedLayout>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace Rusket {

using namespace ZorbelKit;

namespace {

constexpr double ringWidth = 6;
constexpr double ringShare = 0.75; // of a full turn
constexpr double arcLength = ringShare * std::numbers::pi * (Regulator::diameter - ringWidth); // points
constexpr double leastVisible = 0.5; // points; a smaller move of the arc's end is not worth its frames
constexpr int historyHeight = 92;

/// A column of a label and a reading, without margins.
Reading* addLabelled(QWidget* parent, const QString& label, double points, int gap) {
    auto* column = new QVBoxLayout(parent);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(gap);
    column->addWidget(makeText(label, interfaceFont(11), malaiDim, parent));
    auto* reading = new Reading("", std::nullopt, points, QFont::Medium, parent);
    column->addWidget(reading);
    return reading;
}

void write(Reading& reading, const QString& label, const QString& value) {
    reading.setValue(value);
    setAccessibleText(reading, label + " " + value);
}

} // namespace

AnyView RusketSpice::dashboard() {
    return AnyView::of<RusketPanel>(*this);
}

AnyView RusketSpice::menuSection() {
    return AnyView::of<RusketMenuSection>(*this);
}

MenuStat::MenuStat(const QString& label, QWidget* parent)
    : QWidget(parent)
    , label_(label)
    , value_(addLabelled(this, label, 20, 1)) {
}

void MenuStat::setValue(const QString& value) {
    write(*value_, label_, value);
}

RusketMenuSection::RusketMenuSection(const RusketSpice& spice, QWidget* parent)
    : LiveView(spice, parent)
    , spice_(spice)
    , processor_(new MenuStat("CPU", this))
    , memory_(new MenuStat("Memory", this)) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    // A fixed column each: the second figure stands still while the first counts.
    processor_->setFixedWidth(92);
    row->addWidget(processor_);
    row->addWidget(memory_);
    row->addStretch();
    refresh();
}

void RusketMenuSection::refresh() {
    const Vitals& vitals = spice_.vitals();
    processor_->setValue(qString(percentText(vitals.cpu)));
    memory_->setValue(qString(percentText(vitals.memoryFraction())));
}

Regulator::Regulator(const QString& label, QWidget* parent)
    : QWidget(parent)
    , label_(label)
    , figure_(new Reading("0%", std::nullopt, 17, QFont::Medium, this))
    , arc_(*this) {
    auto* caption = makeText(label, interfaceFont(11), malaiDim, this);
    caption->setAlignment(Qt::AlignHCenter);
    const QSize size = sizeHint();
    caption->setGeometry(0, diameter + 6, diameter, size.height() - diameter - 6);
    setFixedSize(size);
}

QSize Regulator::sizeHint() const {
    return {diameter, diameter + 22};
}

void Regulator::setValue(double fraction) {
    write(*figure_, label_, qString(percentText(fraction)));
    const QSize size = figure_->sizeHint();
    const QPoint corner((diameter - size.width()) / 2, (diameter - size.height()) / 2);
    figure_->setGeometry(QRect(corner, size));
    const double share = clamped(fraction, 0, 1);
    if (std::abs(share - arc_.target()) * arcLength >= leastVisible) {
        arc_.to(share, Pour::settle(Pour::pour));
    }
}

void Regulator::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double inset = ringWidth / 2;
    const QRectF ring(inset, inset, diameter - ringWidth, diameter - ringWidth);
    // Qt counts sixteenths of a degree, anticlockwise from three o'clock. The ring starts at 135 degrees
    // clockwise, lower left, and runs clockwise over the top.
    const auto arc = [&](const Color& colour, double share) {
        painter.setPen(QPen(qColor(colour), ringWidth, Qt::SolidLine, Qt::RoundCap));
        painter.drawArc(ring, -135 * 16, -static_cast<int>(share * 360 * 16));
    };
    arc(rim, ringShare);
    if (arc_.value() > 0) {
        arc(brass, ringShare * arc_.value());
    }
}

Readout::Readout(const QString& label, QWidget* parent)
    : QWidget(parent)
    , label_(label)
    , value_(addLabelled(this, label, 14, 0)) {
    setFixedWidth(columnWidth);
}

void Readout::setValue(const QString& value) {
    write(*value_, label_, value);
}

RateTrace::RateTrace(QWidget* parent)
    : QWidget(parent) {
    setAccessible(*this, QAccessible::Chart, "Processor load over the last minute");
}

void RateTrace::setLoads(std::vector<double> loads) {
    if (loads_ != loads) {
        loads_ = std::move(loads);
        update();
    }
}

void RateTrace::paintEvent(QPaintEvent*) {
    if (loads_.size() < 2) {
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

    const double step = width() / static_cast<double>(RusketSpice::historyLength - 1);
    const double margin = 2; // a line along the very top or bottom keeps its full width
    const auto pointAt = [&](std::size_t index) {
        const double share = clamped(loads_[index], 0, 1);
        return QPointF(static_cast<double>(index) * step,
                       height() - margin - share * (height() - 2 * margin));
    };
    QPainterPath line(pointAt(0));
    for (std::size_t index = 1; index < loads_.size(); ++index) {
        line.lineTo(pointAt(index));
    }
    QPainterPath area = line;
    area.lineTo(pointAt(loads_.size() - 1).x(), height());
    area.lineTo(0, height());
    area.closeSubpath();
    painter.fillPath(area, qColor(brass.withOpacity(0.28)));
    painter.strokePath(line, QPen(qColor(brass), 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
}

RusketPanel::RusketPanel(const RusketSpice& spice, QWidget* parent)
    : LiveView(spice, parent)
    , spice_(spice)
    , processor_(new Regulator("Processor", this))
    , memory_(new Regulator("Memory", this))
    , inUse_(new Readout("In use", this))
    , installed_(new Readout("Installed", this))
    , pressure_(new Readout("Pressure", this))
    , placeholder_(makeText("One minute of history will appear here.", TextStyle::callout, malaiFaint))
    , trace_(new RateTrace(nullptr))
    , history_(new QStackedLayout) {
    auto* readouts = new QVBoxLayout;
    readouts->setSpacing(3);
    readouts->addWidget(inUse_);
    readouts->addWidget(installed_);
    readouts->addWidget(pressure_);

    auto* figures = new QHBoxLayout;
    figures->setSpacing(24);
    figures->addWidget(processor_, 0, Qt::AlignTop);
    figures->addWidget(memory_, 0, Qt::AlignTop);
    figures->addSpacing(4);
    figures->addLayout(readouts, 0);
    figures->setAlignment(readouts, Qt::AlignTop);
    figures->addStretch();

    placeholder_->setAlignment(Qt::AlignCenter);
    history_->setContentsMargins(0, 0, 0, 0);
    history_->addWidget(placeholder_);
    history_->addWidget(trace_);
    auto* area = new QWidget(this);
    area->setFixedHeight(historyHeight);
    area->setLayout(history_);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(24);
    column->addLayout(figures);
    column->addWidget(area);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    refresh();
}

void RusketPanel::refresh() {
    const Vitals& vitals = spice_.vitals();
    processor_->setValue(vitals.cpu);
    memory_->setValue(vitals.memoryFraction());
    inUse_->setValue(qString(asMemorySize(vitals.memoryUsed)));
    installed_->setValue(qString(asMemorySize(vitals.memoryTotal)));
    pressure_->setValue(qString(percentText(vitals.memoryPressure)));

    std::vector<double> loads;
    loads.reserve(spice_.history().size());
    for (const Vitals& reading : spice_.history()) {
        loads.push_back(reading.cpu);
    }
    const bool hasTrace = loads.size() >= 2;
    trace_->setLoads(std::move(loads));
    history_->setCurrentIndex(hasTrace ? 1 : 0);
}

} // namespace Rusket
