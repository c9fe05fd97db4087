#include "Rusket/RusketViews.hpp"

#include "Rusket/Rusket.hpp"
#include "ZorbelKit/Controls/MenuStat.hpp"
#include "ZorbelKit/Controls/Reading.hpp"
#include "ZorbelKit/Controls/RingGauge.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Controls/Trace.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Percent.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QHBoxLayout>
#include <QStackedLayout>
#include <QVBoxLayout>

#include <utility>

namespace Rusket {

using namespace ZorbelKit;

namespace {

constexpr int gaugeDiameter = 84;
constexpr int historyHeight = 92;

} // namespace

AnyView RusketSpice::dashboard() {
    return AnyView::of<RusketPanel>(*this);
}

AnyView RusketSpice::menuSection() {
    return AnyView::of<RusketMenuSection>(*this);
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

Readout::Readout(const QString& label, QWidget* parent)
    : QWidget(parent)
    , label_(label)
    , value_(addLabelled(this, label, 14, 0)) {
    setFixedWidth(columnWidth);
}

void Readout::setValue(const QString& value) {
    writeLabelled(*value_, label_, value);
}

RusketPanel::RusketPanel(const RusketSpice& spice, QWidget* parent)
    : LiveView(spice, parent)
    , spice_(spice)
    , processor_(new RingGauge("Processor", gaugeDiameter, brass, this))
    , memory_(new RingGauge("Memory", gaugeDiameter, brass, this))
    , inUse_(new Readout("In use", this))
    , installed_(new Readout("Installed", this))
    , pressure_(new Readout("Pressure", this))
    , placeholder_(makeText("One minute of history will appear here.", TextStyle::callout, malaiFaint))
    , trace_(new Trace(RusketSpice::historyLength, brass, "Processor load over the last minute", nullptr))
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
    trace_->setValues(std::move(loads));
    history_->setCurrentIndex(hasTrace ? 1 : 0);
}

} // namespace Rusket
