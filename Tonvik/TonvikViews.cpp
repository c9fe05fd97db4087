#include "Tonvik/TonvikViews.hpp"

#include "Tonvik/Tonvik.hpp"
#include "Tonvik/TonvikTexts.hpp"
#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Controls/Capsule.hpp"
#include "ZorbelKit/Controls/Counter.hpp"
#include "ZorbelKit/Controls/Layouts.hpp"
#include "ZorbelKit/Controls/LineText.hpp"
#include "ZorbelKit/Controls/Reading.hpp"
#include "ZorbelKit/Controls/Slider.hpp"
#include "ZorbelKit/Controls/Symbol.hpp"
#include "ZorbelKit/Controls/SymbolButton.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QHBoxLayout>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QVBoxLayout>

#include <algorithm>
#include <unordered_map>
#include <utility>

namespace Tonvik {

using namespace ZorbelKit;

namespace {

// Points.
constexpr int sectionGap = 24;
constexpr int menuSectionGap = 12;
constexpr int headingGap = 10;
constexpr int menuHeadingGap = 4;
constexpr int cardPadding = 6; // round rows, whose shade lies round their content
constexpr int rowPaddingX = 8;
constexpr int rowGap = 10;
constexpr int rowHeight = 36;
constexpr int menuRowHeight = 30;
constexpr int leadWidth = 24; // of the symbol or button that begins a line
constexpr double symbolSize = 18;
constexpr int transportWidth = 84;

/// How far headings stand in from the edge of what stands below them.
int inset(Place place) {
    return place == Place::menu ? rowPaddingX : 0;
}

int gapBelowHeading(Place place) {
    return place == Place::menu ? menuHeadingGap : headingGap;
}

/// On the page, content lies on a card.
QWidget* ground(Place place, QWidget* content, QWidget* parent) {
    if (place == Place::page) {
        return new Counter(false, content, parent);
    }
    content->setParent(parent);
    return content;
}

} // namespace

AnyView TonvikSpice::dashboard() {
    return AnyView::of<TonvikPanel>(*this);
}

AnyView TonvikSpice::menuSection() {
    return AnyView::of<TonvikMenuSection>(*this);
}

VolumeControl::VolumeControl(TonvikSpice& spice, Place place, QWidget* parent)
    : QWidget(parent)
    , spice_(spice)
    , level_(new Reading("", std::nullopt, 11, QFont::Medium, this)) {
    auto* content = new QWidget;
    mute_ = new SymbolButton("Mute", qString(muteSymbolName(false)), symbolSize, content);
    slider_ = new Slider(
        "Volume", [&spice](double level) { spice.setVolume(static_cast<float>(level)); }, content);
    level_->setColour(malaiDim);
    level_->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);

    auto* header = new QHBoxLayout;
    header->setContentsMargins(inset(place), 0, inset(place), 0);
    header->addWidget(makeHeading("Volume", this));
    header->addStretch();
    header->addWidget(level_);

    const int padding = place == Place::page ? cardPadding : 0;
    auto* row = new QHBoxLayout(content);
    row->setContentsMargins(padding + rowPaddingX, padding, padding + rowPaddingX - Slider::edge, padding);
    row->setSpacing(rowGap - Slider::edge); // the line itself begins and ends where the rows' texts do
    row->addWidget(mute_);
    row->addWidget(slider_, 1);
    content->setFixedHeight((place == Place::page ? rowHeight : menuRowHeight) + 2 * padding);

    auto* column = makeColumn(this, gapBelowHeading(place));
    column->addLayout(header);
    column->addWidget(ground(place, content, this));
    setAccessible(*this, QAccessible::Grouping, "Volume");
    connect(mute_, &QAbstractButton::clicked, this, [&spice] { spice.toggleMute(); });
    refresh();
}

void VolumeControl::refresh() {
    const std::optional<float>& volume = spice_.volume();
    writeLabelled(*level_, "Volume", qString(volumeText(volume)));
    mute_->setSymbol(qString(muteSymbolName(spice_.muted())));
    mute_->setName(spice_.muted() ? "Unmute" : "Mute");
    mute_->setColour(spice_.muted() ? brass : malaiDim);
    slider_->setValue(volume ? std::optional<double>(*volume) : std::nullopt);
}

DeviceRow::DeviceRow(TonvikSpice& spice, QWidget* parent)
    : ListRow(parent)
    , spice_(spice)
    , symbol_(new Symbol("", symbolSize, malaiDim, this))
    , name_(new LineText(styleFont(TextStyle::callout), malai, this))
    , inUse_(new Capsule("In use", spice.accent(), this))
    , transport_(new LineText(styleFont(TextStyle::callout), malaiDim, this)) {
    setAccessible(*this, QAccessible::ListItem, "");
    symbol_->setFixedWidth(leadWidth);
    name_->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed); // the tag follows it
    inUse_->setForegroundRole(QPalette::WindowText); // inside a button it would take the button's own
    inUse_->hide();
    transport_->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed); // a long name makes way for it
    transport_->setMaximumWidth(transportWidth);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(rowPaddingX, 0, rowPaddingX, 0);
    row->setSpacing(rowGap);
    row->addWidget(symbol_);
    row->addWidget(name_);
    row->addWidget(inUse_);
    row->addStretch(1);
    row->addWidget(transport_);
    for (QWidget* part : {static_cast<QWidget*>(symbol_), static_cast<QWidget*>(name_),
                          static_cast<QWidget*>(inUse_), static_cast<QWidget*>(transport_)}) {
        part->setAttribute(Qt::WA_TransparentForMouseEvents);
    }
    connect(this, &QAbstractButton::clicked, this, [this] { use(); });
}

void DeviceRow::bind(const AudioDevice& device) {
    if (device_ == device) {
        return;
    }
    const bool marks = !device_ || device_->isDefault != device.isDefault;
    device_ = device;
    symbol_->setSymbol(qString(symbolName(device)));
    symbol_->setColour(device.isDefault ? spice_.accent() : malaiDim);
    name_->setLine(qString(nameText(device)));
    inUse_->setVisible(device.isDefault);
    transport_->setLine(qString(device.transport));
    setAccessibleText(*this, qString(spokenText(device)));
    if (marks) {
        setAccessibleSelected(*this, device.isDefault);
    }
    setToolTip(toolTipText(nameText(device)));
}

void DeviceRow::use() {
    const AudioDevice device = *device_; // the row may show another before the spice is done
    spice_.use(device);
}

std::optional<Color> DeviceRow::shade() const {
    return isDown() ? kettlePeak : kettleHi;
}

bool DeviceRow::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip && name_->shown().text == name_->text()) {
        event->ignore(); // there is nothing more to tell
        return true;
    }
    return ListRow::event(event);
}

DeviceList::DeviceList(TonvikSpice& spice, const QString& heading, Place place, int mostInSight,
                       QWidget* parent)
    : QWidget(parent)
    , rowHeight_(place == Place::page ? rowHeight : menuRowHeight)
    , mostInSight_(mostInSight)
    , rows_(new RowList(heading, rowHeight_,
                        {.count = [this] { return static_cast<int>(devices_.size()); },
                         .make = [&spice](QWidget* list) -> ListRow* { return new DeviceRow(spice, list); },
                         .bind =
                             [this](ListRow& row, int index) {
                                 static_cast<DeviceRow&>(row).bind(devices_[static_cast<std::size_t>(index)]);
                             }}))
    , nothing_(makeText(nothing, TextStyle::callout, malaiDim)) {
    auto* content = new QWidget;
    auto* lines = new QVBoxLayout(content);
    const int padding = place == Place::page ? cardPadding : 0;
    lines->setContentsMargins(padding, padding, padding, padding);
    lines->setSpacing(0);
    lines->addWidget(rows_);
    lines->addWidget(nothing_);
    nothing_->setContentsMargins(rowPaddingX, 0, rowPaddingX, 0);
    nothing_->setFixedHeight(rowHeight_);
    rows_->hide();
    rows_->onKey([this](QKeyEvent& key, int index) {
        const bool chooses = key.key() == Qt::Key_Return || key.key() == Qt::Key_Enter;
        if (chooses && !key.isAutoRepeat()) {
            rows_->row(index)->click();
        }
        return chooses;
    });

    QLabel* title = makeHeading(heading, this);
    title->setContentsMargins(inset(place), 0, inset(place), 0);
    auto* column = makeColumn(this, gapBelowHeading(place));
    column->addWidget(title);
    column->addWidget(ground(place, content, this));
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

void DeviceList::setDevices(const std::vector<AudioDevice>& devices) {
    if (devices_ == devices) {
        return;
    }
    std::unordered_map<AudioObjectId, int> places;
    for (int place = 0; const AudioDevice& device : devices) {
        places.emplace(device.id, place++);
    }
    const std::vector<AudioDevice> before = std::exchange(devices_, devices);
    const int count = static_cast<int>(devices.size());
    // In this order, so that the keyboard is never without a row while there is one.
    nothing_->setVisible(count == 0);
    if (count > 0) {
        rows_->setFixedHeight(std::min(count, mostInSight_) * rowHeight_);
        rows_->show();
    }
    rows_->change([&](int index) -> std::optional<int> {
        const auto found = places.find(before[static_cast<std::size_t>(index)].id);
        return found == places.end() ? std::nullopt : std::optional(found->second);
    });
    rows_->setVisible(count > 0);
}

TonvikMenuSection::TonvikMenuSection(TonvikSpice& spice, QWidget* parent)
    : LiveView(spice, parent)
    , spice_(spice)
    , volume_(new VolumeControl(spice, Place::menu, this))
    , outputs_(new DeviceList(spice, "Output", Place::menu, mostOutputs, this))
    , inputs_(new DeviceList(spice, "Input", Place::menu, mostInputs, this)) {
    auto* column = makeColumn(this, menuSectionGap);
    column->addWidget(volume_);
    column->addWidget(outputs_);
    column->addWidget(inputs_);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    refresh();
}

int TonvikMenuSection::bleed() const {
    return rowPaddingX;
}

void TonvikMenuSection::refresh() {
    volume_->refresh();
    outputs_->setDevices(spice_.outputs());
    inputs_->setDevices(spice_.inputs());
}

TonvikPanel::TonvikPanel(TonvikSpice& spice, QWidget* parent)
    : LiveView(spice, parent)
    , spice_(spice)
    , volume_(new VolumeControl(spice, Place::page, this))
    , outputs_(new DeviceList(spice, "Output", Place::page, mostDevices, this))
    , inputs_(new DeviceList(spice, "Input", Place::page, mostDevices, this)) {
    QLabel* note = makeText("Per-app volume needs a virtual audio driver, which Zorbel does not install. "
                            "Tonvik switches devices and sets the system level.",
                            TextStyle::caption, malaiDim, this);
    note->setWordWrap(true);
    auto* column = makeColumn(this, sectionGap);
    column->addWidget(volume_);
    column->addWidget(outputs_);
    column->addWidget(inputs_);
    column->addWidget(note);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    refresh();
}

void TonvikPanel::refresh() {
    volume_->refresh();
    outputs_->setDevices(spice_.outputs());
    inputs_->setDevices(spice_.inputs());
}

} // namespace Tonvik
