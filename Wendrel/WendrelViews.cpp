#include "Wendrel/WendrelViews.hpp"

#include "Wendrel/Wendrel.hpp"
#include "Wendrel/WendrelTexts.hpp"
#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Controls/Counter.hpp"
#include "ZorbelKit/Controls/Layouts.hpp"
#include "ZorbelKit/Controls/LineText.hpp"
#include "ZorbelKit/Controls/MenuStat.hpp"
#include "ZorbelKit/Controls/Reading.hpp"
#include "ZorbelKit/Controls/RingGauge.hpp"
#include "ZorbelKit/Controls/Rule.hpp"
#include "ZorbelKit/Controls/SpiceIcon.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Controls/Trace.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QHBoxLayout>
#include <QPainter>
#include <QStackedLayout>
#include <QVBoxLayout>

#include <utility>

namespace Wendrel {

using namespace ZorbelKit;

namespace {

// Points.
constexpr int cardGap = 12;
constexpr int sectionGap = 24;
constexpr int headingGap = 10;
constexpr int cardPadding = 14;
constexpr int ringGap = 28; // between the ring and the rows
constexpr int columnGap = 16;
constexpr int menuColumn = 92;
constexpr int traceHeight = 92;
constexpr double figureSize = 15;
constexpr double healthFigureSize = 18;
constexpr double emptyIcon = 64;

constexpr Color accent = spiceColour("wendrel");
constexpr Color warning = brass;

enum State { placeholder, drawn }; // as places in the stack

/// The widgets round it decide about its width, not what it shows.
void letShrink(Reading& reading) {
    reading.setMinimumWidth(1);
    reading.setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
}

QWidget* makeHealthColumn(const QString& label, QWidget* figure, QWidget* note, QWidget* parent) {
    auto* holder = new QWidget(parent);
    auto* column = makeColumn(holder, 2);
    column->addWidget(makeText(label, interfaceFont(11), malaiDim, holder));
    column->addWidget(figure);
    if (note) {
        column->addWidget(note);
    }
    column->addStretch();
    return holder;
}

LineText* makeNote(const QString& text) {
    auto* note = new LineText(styleFont(TextStyle::caption), malaiDim);
    note->setLine(text);
    return note;
}

} // namespace

AnyView WendrelSpice::dashboard() {
    return AnyView::of<WendrelPanel>(*this);
}

AnyView WendrelSpice::menuSection() {
    return AnyView::of<WendrelMenuSection>(*this);
}

WendrelMenuSection::WendrelMenuSection(const WendrelSpice& spice, QWidget* parent)
    : LiveView(spice, parent)
    , spice_(spice)
    , figures_(new QWidget(this))
    , charge_(new MenuStat("Charge", figures_))
    , health_(new MenuStat("Health", figures_))
    , cycles_(new MenuStat("Cycles", figures_))
    , nothing_(makeText("No battery.", TextStyle::callout, malaiDim, this)) {
    auto* row = new QHBoxLayout(figures_);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    for (MenuStat* stat : {charge_, health_, cycles_}) {
        stat->setFixedWidth(menuColumn); // the others stand still while one counts
        row->addWidget(stat);
    }
    row->addStretch();
    auto* column = makeColumn(this, 0);
    column->addWidget(figures_);
    column->addWidget(nothing_);
    refresh();
}

void WendrelMenuSection::refresh() {
    const auto& charge = spice_.charge();
    if (charge) {
        charge_->setValue(qString(shareText(charge->percent)));
        health_->setValue(qString(shareText(charge->health())));
        cycles_->setValue(QString::number(charge->cycleCount));
    }
    figures_->setVisible(charge.has_value());
    nothing_->setVisible(!charge);
}

ChargeRing::ChargeRing(QWidget* parent)
    : QWidget(parent)
    , gauge_(new RingGauge("", diameter, accent, this)) {
    gauge_->setSpokenLabel("Charge");
    setFixedSize(gauge_->sizeHint());
}

void ChargeRing::setCharge(const Charge& charge) {
    gauge_->setColour(charge.isLow() ? warning : accent);
    gauge_->setValue(shownFraction(charge.percent));
}

Row::Row(const QString& label, std::optional<QString> unit, bool isFirst, QWidget* parent)
    : QWidget(parent)
    , label_(label)
    , unit_(std::move(unit))
    , isFirst_(isFirst) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(columnGap);
    row->addWidget(makeText(label, TextStyle::callout, malaiDim, this));
    row->addStretch(1);
    figure_ = new Reading("", unit_, figureSize, QFont::Medium, this);
    letShrink(*figure_);
    row->addWidget(figure_);
    setFixedHeight(rowHeight);
}

void Row::setValue(const QString& value) {
    writeLabelled(*figure_, label_, value);
    if (unit_) {
        setAccessibleText(*figure_, label_ + " " + value + " " + *unit_);
    }
}

void Row::paintEvent(QPaintEvent*) {
    if (!isFirst_) {
        QPainter(this).fillRect(QRect(0, 0, width(), 1), qColor(rim.withOpacity(0.6)));
    }
}

/// Says by its colour whether the battery wants a look.
class VerdictDot final : public QWidget {
public:
    explicit VerdictDot(QWidget* parent)
        : QWidget(parent) {
        setFixedSize(side, side);
    }

    void setHealthy(bool healthy) {
        if (isHealthy_ != healthy) {
            isHealthy_ = healthy;
            update();
        }
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(qColor(isHealthy_ ? mist : warning));
        painter.drawEllipse(rect());
    }

private:
    static constexpr int side = 8; // points

    bool isHealthy_ = true;
};

HealthCard::HealthCard(QWidget* parent)
    : QWidget(parent) {
    health_ = new Reading("", std::nullopt, healthFigureSize, QFont::Medium);
    capacity_ = makeNote("");
    cycles_ = new Reading("", std::nullopt, healthFigureSize, QFont::Medium);
    condition_ = new LineText(interfaceFont(healthFigureSize, QFont::Medium), malai);
    setAccessible(*condition_, QAccessible::StaticText, "");
    for (Reading* reading : {health_, cycles_}) {
        letShrink(*reading);
    }

    // Shares of the width, whatever the figures are: nothing moves when one changes. In the narrowest page
    // each has room for what is usual.
    auto* content = new QWidget;
    auto* figures = new QHBoxLayout;
    figures->setSpacing(columnGap);
    figures->addWidget(makeHealthColumn("Health", health_, capacity_, content), 100);
    figures->addWidget(
        makeHealthColumn("Cycles", cycles_, makeNote("Apple rates most Macs to 1000"), content), 149);
    figures->addWidget(makeHealthColumn("Condition", condition_, nullptr, content), 206);
    auto* rule = new Rule(Qt::Horizontal, content);
    dot_ = new VerdictDot(content);
    verdict_ = makeText("", TextStyle::callout, malai, content);
    auto* verdict = new QHBoxLayout;
    verdict->setSpacing(8);
    verdict->addWidget(dot_, 0, Qt::AlignVCenter);
    verdict->addWidget(verdict_);
    verdict->addStretch();

    auto* column = makeColumn(content, 10);
    column->setContentsMargins(cardPadding, cardPadding - 2, cardPadding, cardPadding - 2);
    column->addLayout(figures);
    column->addWidget(rule);
    column->addLayout(verdict);
    makeColumn(this, 0)->addWidget(new Counter(false, content, this));
    setAccessible(*this, QAccessible::Grouping, "Battery health");
}

void HealthCard::setCharge(const Charge& charge) {
    const QString condition = qString(conditionText(charge));
    writeLabelled(*health_, "Health", qString(shareText(charge.health())));
    capacity_->setLine(qString(capacityText(charge)));
    writeLabelled(*cycles_, "Cycles", QString::number(charge.cycleCount));
    condition_->setLine(condition);
    setAccessibleText(*condition_, "Condition " + condition);
    dot_->setHealthy(charge.isHealthy());
    verdict_->setText(qString(verdictText(charge)));
}

ChargeTrace::ChargeTrace(const WendrelSpice& spice, QWidget* parent)
    : QWidget(parent)
    , spice_(spice)
    , trace_(new Trace(WendrelSpice::historyLength, accent, "Charge over the last two hours", nullptr))
    , states_(new QStackedLayout) {
    auto* header = new QHBoxLayout;
    header->addWidget(makeHeading("Charge · last two hours", this));
    header->addStretch();
    samples_ = new Reading("", std::nullopt, 11, QFont::Normal, this);
    samples_->setColour(malaiDim);
    header->addWidget(samples_);

    auto* words = new QWidget;
    auto* lines = makeColumn(words, 4);
    lines->addStretch();
    lines->addWidget(makeText("Two hours of history will appear here.", TextStyle::callout, malaiDim, words),
                     0, Qt::AlignHCenter);
    lines->addWidget(makeText("Wendrel samples every thirty seconds.", TextStyle::caption, malaiFaint, words),
                     0, Qt::AlignHCenter);
    lines->addStretch();
    states_->setContentsMargins(0, 0, 0, 0);
    states_->addWidget(new Counter(false, words)); // in the order of the states
    states_->addWidget(trace_);
    auto* area = new QWidget(this);
    area->setFixedHeight(traceHeight);
    area->setLayout(states_);

    auto* column = makeColumn(this, headingGap);
    column->addLayout(header);
    column->addWidget(area);
    refresh();
}

void ChargeTrace::refresh() {
    std::vector<double> charges;
    charges.reserve(spice_.history().size());
    for (const Charge& reading : spice_.history()) {
        charges.push_back(reading.percent);
    }
    samples_->setValue(qString(samplesText(charges.size())));
    const State state = charges.size() < 2 ? placeholder : drawn;
    trace_->setValues(std::move(charges), spice_.gaps());
    states_->setCurrentIndex(state);
}

Empty::Empty(const QString& title, const QString& detail, QWidget* parent)
    : QWidget(parent) {
    auto* content = new QWidget;
    auto* column = makeColumn(content, 4);
    column->setContentsMargins(cardPadding, 44, cardPadding, 44);
    column->addWidget(new SpiceIcon("wendrel", emptyIcon, /*dimmed=*/true, content), 0, Qt::AlignHCenter);
    column->addSpacing(12);
    column->addWidget(makeText(title, TextStyle::callout, malai, content), 0, Qt::AlignHCenter);
    column->addWidget(makeText(detail, TextStyle::caption, malaiDim, content), 0, Qt::AlignHCenter);
    makeColumn(this, 0)->addWidget(new Counter(false, content, this));
}

WendrelPanel::WendrelPanel(const WendrelSpice& spice, QWidget* parent)
    : LiveView(spice, parent)
    , spice_(spice)
    , noBattery_(new Empty("This Mac has no battery.",
                           "Wendrel has nothing to watch on a desktop. Leave it off.", this))
    , firstReading_(new Empty("Reading the battery.", "This takes a moment on first run.", this))
    , figures_(new QWidget(this)) {
    auto* now = new QWidget;
    ring_ = new ChargeRing(now);
    state_ = new Row("State", std::nullopt, /*isFirst=*/true, now);
    remaining_ = new Row("Remaining", std::nullopt, /*isFirst=*/false, now);
    power_ = new Row("Power", "W", /*isFirst=*/false, now);
    temperature_ = new Row("Temperature", "°C", /*isFirst=*/false, now);
    adapter_ = new Row("Adapter", "W", /*isFirst=*/false, now);
    auto* rows = new QVBoxLayout;
    rows->setSpacing(0);
    for (Row* row : {state_, remaining_, power_, temperature_, adapter_}) {
        rows->addWidget(row);
    }
    rows->addStretch(); // the others stay where they are while there is no fourth
    auto* beside = new QHBoxLayout(now);
    beside->setContentsMargins(cardPadding, cardPadding, cardPadding, cardPadding);
    beside->setSpacing(ringGap);
    beside->addWidget(ring_, 0, Qt::AlignTop);
    beside->addLayout(rows, 1);

    auto* parts = makeColumn(figures_, cardGap);
    parts->addWidget(new Counter(false, now, figures_));
    health_ = new HealthCard(figures_);
    parts->addWidget(health_);
    parts->addSpacing(sectionGap - cardGap);
    trace_ = new ChargeTrace(spice, figures_);
    parts->addWidget(trace_);

    auto* column = makeColumn(this, 0);
    column->addWidget(noBattery_);
    column->addWidget(firstReading_);
    column->addWidget(figures_);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    refresh();
}

void WendrelPanel::refresh() {
    const bool hasBattery = spice_.hasBattery();
    const auto& charge = spice_.charge();
    if (charge) {
        write(*charge);
    }
    trace_->refresh();
    noBattery_->setVisible(!hasBattery);
    firstReading_->setVisible(hasBattery && !charge);
    figures_->setVisible(hasBattery && charge);
}

void WendrelPanel::write(const Charge& charge) {
    ring_->setCharge(charge);
    state_->setValue(qString(stateText(charge)));
    remaining_->setValue(qString(remainingText(charge)));
    power_->setValue(qString(powerText(charge)));
    if (charge.adapterWatts) {
        adapter_->setValue(QString::number(*charge.adapterWatts));
    }
    temperature_->setValue(qString(temperatureText(charge)));
    temperature_->setVisible(extra(charge) == Extra::temperature);
    adapter_->setVisible(extra(charge) == Extra::adapter);
    health_->setCharge(charge);
}

} // namespace Wendrel
