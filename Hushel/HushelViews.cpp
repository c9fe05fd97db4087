#include "Hushel/HushelViews.hpp"

#include "Hushel/Hushel.hpp"
#include "Hushel/HushelTexts.hpp"
#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Controls/AppIcon.hpp"
#include "ZorbelKit/Controls/Buttons.hpp"
#include "ZorbelKit/Controls/Counter.hpp"
#include "ZorbelKit/Controls/Layouts.hpp"
#include "ZorbelKit/Controls/LineText.hpp"
#include "ZorbelKit/Controls/Reading.hpp"
#include "ZorbelKit/Controls/Symbol.hpp"
#include "ZorbelKit/Controls/SymbolButton.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QHBoxLayout>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QScrollArea>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>
#include <numbers>
#include <string>
#include <tuple>
#include <utility>

namespace Hushel {

using namespace ZorbelKit;

namespace {

// Points.
constexpr int sectionGap = 24;
constexpr int headingGap = 10;
constexpr int hintGap = 10; // between the session and what there is to say about it
constexpr int cardPadding = 16;
constexpr int presetGap = 8;
constexpr int ringGap = 22;
constexpr double ringWidth = 8;
constexpr double leastVisible = 0.5; // a smaller move of the ring's end is not worth painting it
constexpr double clockSize = 30;
constexpr double menuClockSize = 18;
constexpr int listPadding = 6; // round rows, whose shade lies round their content
constexpr int rowPaddingX = 8;
constexpr int rowGap = 10;
constexpr int iconSide = 22;
constexpr double signSize = 12; // of what a row's right end does

constexpr const char* nothingListed =
    "Nothing on the list yet. Add the apps you want kept away while you work.";
constexpr const char* note =
    "Hushel hides apps rather than quitting them, so nothing you were working on is lost. Website blocking "
    "needs a system extension Zorbel does not ship yet.";
constexpr const char* nothingToAdd = "Everything running is already on the list.";

QLabel* makeParagraph(const QString& text, TextStyle style, const Color& colour, QWidget* parent) {
    QLabel* label = makeText(text, style, colour, parent);
    label->setWordWrap(true);
    return label;
}

void writeLine(QLabel& label, const QString& text) {
    label.setText(text);
    label.setVisible(!text.isEmpty());
}

/// Shows one of two in the place of the other. A keyboard in what goes is handed to a button of what comes.
void swap(QWidget& shown, FocusButton& button, QWidget& hidden) {
    QWidget* focused = shown.window()->focusWidget();
    shown.show();
    if (focused && (focused == &hidden || hidden.isAncestorOf(focused))) {
        const auto* before = dynamic_cast<const FocusButton*>(focused);
        button.setFocus(before && before->showsFocus() ? Qt::TabFocusReason : Qt::OtherFocusReason);
    }
    hidden.hide();
}

/// An entry, told from equal ones by how many of those come before it.
using Key = std::tuple<std::string, std::string, int>;

std::vector<Key> keysOf(const std::vector<Blocked>& list) {
    std::map<std::pair<std::string, std::string>, int> seen;
    std::vector<Key> keys;
    keys.reserve(list.size());
    for (const Blocked& entry : list) {
        keys.emplace_back(entry.bundleID, entry.name, seen[{entry.bundleID, entry.name}]++);
    }
    return keys;
}

} // namespace

AnyView HushelSpice::dashboard() {
    return AnyView::of<HushelPanel>(*this);
}

AnyView HushelSpice::menuSection() {
    return AnyView::of<HushelMenuSection>(*this);
}

SessionView::SessionView(HushelSpice& spice, QWidget* parent)
    : LiveView(spice, parent)
    , spice_(spice) {
}

void SessionView::refresh() {
    write();
    passSecond();
}

void SessionView::passSecond() {
    writeClock();
    second_ = isVisible() ? spice_.atNextSecond([this] { passSecond(); }) : Token();
}

void SessionView::hideEvent(QHideEvent* event) {
    second_.reset();
    LiveView::hideEvent(event);
}

HushelMenuSection::HushelMenuSection(HushelSpice& spice, QWidget* parent)
    : SessionView(spice, parent)
    , start_(new QuietButton("", this))
    , running_(new QWidget(this))
    , clock_(new Reading("", std::nullopt, menuClockSize, QFont::Medium, running_))
    , stop_(new QuietButton("Stop", running_)) {
    clock_->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    auto* row = new QHBoxLayout(running_);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(6);
    row->addWidget(clock_);
    row->addWidget(makeText("left", TextStyle::callout, malaiDim, running_));
    row->addStretch();
    row->addWidget(stop_);
    auto* column = makeColumn(this, 0);
    column->addWidget(start_, 0, Qt::AlignLeft);
    column->addWidget(running_);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    connect(start_, &QAbstractButton::clicked, this, [&spice] { spice.start(); });
    connect(stop_, &QAbstractButton::clicked, this, [&spice] { spice.endSession(false); });
    refresh();
}

void HushelMenuSection::write() {
    start_->setLabel(qString(startText(spice().plannedMinutes())));
    start_->setEnabled(!spice().blocked().empty());
    if (spice().session()) {
        swap(*running_, *stop_, *start_);
    } else {
        swap(*start_, *start_, *running_);
    }
}

void HushelMenuSection::writeClock() {
    clock_->setValue(qString(clockText(atLastSecond(spice().remaining()))));
}

Preset::Preset(std::int64_t minutes, QWidget* parent)
    : Tile(parent) {
    // The role first: with the text the toolkit introduces the button to readers, once and for all.
    const QString number = QString::number(minutes);
    setAccessible(*this, QAccessible::RadioButton, number, number + " minutes");
    setText(number);
    setFont(interfaceFont(15, QFont::Medium));
    setCheckable(true);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setToolTip(accessibleDescription());
}

void Preset::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Color accent = spiceColour("hushel");
    const Color rest = isChecked() ? kettle.mixedWith(accent, 0.34) : kettleHi;
    const Color hovered = isChecked() ? kettle.mixedWith(accent, 0.46) : kettlePeak;
    painter.setPen(QPen(qColor(isChecked() ? accent : rim), isChecked() ? 1.5 : 1));
    painter.setBrush(qColor(isDown() ? stall : rest.mixedWith(hovered, hover())));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.75, 0.75, -0.75, -0.75), radiusControl, radiusControl);
    painter.setPen(qColor(isChecked() ? cream : malai));
    painter.setFont(font());
    painter.drawText(rect(), Qt::AlignCenter, text());
    if (showsFocus()) {
        paintFocusRing(painter, rect(), radiusControl);
    }
}

PresetRow::PresetRow(HushelSpice& spice, QWidget* parent)
    : QWidget(parent)
    , spice_(spice) {
    setAccessible(*this, QAccessible::Grouping, "How long?");
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(presetGap);
    for (const std::int64_t minutes : presetMinutes) {
        presets_.push_back(new Preset(minutes, this));
        row->addWidget(presets_.back(), 1);
        connect(presets_.back(), &QAbstractButton::clicked, this,
                [this, minutes] { spice_.setPlannedMinutes(minutes); });
    }
}

void PresetRow::refresh() {
    const auto chosen = std::ranges::find(presetMinutes, spice_.plannedMinutes());
    // One of them is on the way of the Tab key, also where another length is planned.
    const auto reached =
        static_cast<std::size_t>(chosen == presetMinutes.end() ? 0 : chosen - presetMinutes.begin());
    for (std::size_t index = 0; index < presets_.size(); ++index) {
        presets_[index]->setChecked(presetMinutes[index] == spice_.plannedMinutes());
        presets_[index]->setFocusPolicy(index == reached ? Qt::StrongFocus : Qt::ClickFocus);
    }
}

void PresetRow::keyPressEvent(QKeyEvent* event) {
    const auto found =
        std::ranges::find_if(presets_, [](const Preset* preset) { return preset->hasFocus(); });
    const int step = event->key() == Qt::Key_Right ? 1 : event->key() == Qt::Key_Left ? -1 : 0;
    if (found == presets_.end() || step == 0 || (event->modifiers() & ~Qt::KeypadModifier)) {
        QWidget::keyPressEvent(event);
        return;
    }
    const auto place =
        std::clamp<std::ptrdiff_t>(found - presets_.begin() + step, 0, std::ssize(presets_) - 1);
    const auto index = static_cast<std::size_t>(place);
    spice_.setPlannedMinutes(presetMinutes[index]);
    presets_[index]->setFocus(Qt::TabFocusReason);
}

Setup::Setup(HushelSpice& spice, QWidget* parent)
    : QWidget(parent) {
    auto* content = new QWidget;
    presets_ = new PresetRow(spice, content);
    start_ = new BrassButton("Start", content);
    auto* column = makeColumn(content, 12);
    column->setContentsMargins(cardPadding, cardPadding - 2, cardPadding, cardPadding);
    column->addWidget(makeText("How long?", interfaceFont(13, QFont::Medium), malai, content));
    column->addWidget(presets_);
    column->addSpacing(2);
    column->addWidget(start_, 0, Qt::AlignLeft);
    makeColumn(this, 0)->addWidget(new Counter(false, content, this));
    connect(start_, &QAbstractButton::clicked, this, [&spice] { spice.start(); });
    refresh();
}

void Setup::refresh() {
    presets_->refresh();
}

SessionRing::SessionRing(const Color& colour, QWidget* parent)
    : QWidget(parent)
    , colour_(colour)
    , clock_(new Reading("", std::nullopt, clockSize, QFont::Medium, this)) {
    setFixedSize(diameter, diameter);
}

void SessionRing::write(double progress, const QString& clock) {
    clock_->setValue(clock);
    const QSize size = clock_->sizeHint();
    clock_->setGeometry(QRect(QPoint((diameter - size.width()) / 2, (diameter - size.height()) / 2), size));
    const double next = std::clamp(progress, 0.0, 1.0);
    if (std::abs(next - shown_) * std::numbers::pi * diameter >= leastVisible || (next == 0 && shown_ > 0)) {
        shown_ = next;
        update();
    }
}

void SessionRing::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF ring = QRectF(rect()).adjusted(ringWidth / 2, ringWidth / 2, -ringWidth / 2, -ringWidth / 2);
    painter.setPen(QPen(qColor(rim), ringWidth));
    painter.drawEllipse(ring);
    if (shown_ > 0) {
        // Qt counts sixteenths of a degree, anticlockwise from three o'clock; the ring runs clockwise from
        // twelve.
        painter.setPen(QPen(qColor(colour_), ringWidth, Qt::SolidLine, Qt::RoundCap));
        painter.drawArc(ring, 90 * 16, -static_cast<int>(std::lround(shown_ * 360 * 16)));
    }
}

Running::Running(HushelSpice& spice, QWidget* parent)
    : QWidget(parent)
    , spice_(spice) {
    auto* content = new QWidget;
    ring_ = new SessionRing(spice.accent(), content);
    QLabel* title = makeText("Session running", interfaceFont(15, QFont::Medium), malai, content);
    end_ = makeText("", TextStyle::callout, malaiDim, content);
    interruptions_ = makeParagraph("", TextStyle::callout, malaiDim, content);
    stop_ = new QuietButton("Stop", content);
    auto* lines = new QVBoxLayout;
    lines->setSpacing(4);
    lines->addStretch();
    lines->addWidget(title);
    lines->addWidget(end_);
    lines->addWidget(interruptions_);
    lines->addSpacing(10);
    lines->addWidget(stop_, 0, Qt::AlignLeft);
    lines->addStretch();
    auto* row = new QHBoxLayout(content);
    row->setContentsMargins(cardPadding, cardPadding, cardPadding, cardPadding);
    row->setSpacing(ringGap);
    row->addWidget(ring_);
    row->addLayout(lines, 1);
    makeColumn(this, 0)->addWidget(new Counter(false, content, this));
    setAccessible(*this, QAccessible::Grouping, "Session");
    connect(stop_, &QAbstractButton::clicked, this, [&spice] { spice.endSession(false); });
    refresh();
}

void Running::refresh() {
    const auto& session = spice_.session();
    if (session) {
        end_->setText(qString(endText(spice_.endTime())));
        writeLine(*interruptions_, qString(interruptionText(session->interruptions)));
    }
}

void Running::writeClock() {
    if (spice_.session()) {
        ring_->write(spice_.progress(), qString(clockText(atLastSecond(spice_.remaining()))));
    }
}

ApplicationRow::ApplicationRow(HushelSpice& spice, QWidget* parent)
    : ListRow(parent)
    , spice_(spice)
    , icon_(new AppIcon(iconSide, "app.dashed", this))
    , name_(new LineText(styleFont(TextStyle::callout), malai, this)) {
    setAccessible(*this, QAccessible::ListItem, "");
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(rowPaddingX, 0, rowPaddingX, 0);
    row->setSpacing(rowGap);
    row->addWidget(icon_);
    row->addWidget(name_, 1);
    icon_->setAttribute(Qt::WA_TransparentForMouseEvents);
    name_->setAttribute(Qt::WA_TransparentForMouseEvents);
}

void ApplicationRow::addAtRight(QWidget* part) {
    layout()->addWidget(part);
}

void ApplicationRow::bind(const Blocked& application) {
    if (application_ == application) {
        return;
    }
    if (!application_ || application_->bundleID != application.bundleID) {
        icon_->load(spice_.iconOf(application.bundleID));
    }
    application_ = application;
    const std::string name = nameText(application);
    name_->setLine(qString(name));
    setAccessibleText(*this, qString(name));
    setToolTip(toolTipText(name));
    applicationChanged(qString(name));
}

bool ApplicationRow::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip && name_->shown().text == name_->text()) {
        event->ignore(); // there is nothing more to tell
        return true;
    }
    return ListRow::event(event);
}

KeptRow::KeptRow(HushelSpice& spice, QWidget* parent)
    : ApplicationRow(spice, parent)
    , remove_(new SymbolButton("", "xmark", signSize, this)) {
    remove_->setKeys("Del");
    remove_->setFocusPolicy(Qt::NoFocus); // the keyboard stays on the row, whose key does the same
    addAtRight(remove_);
    connect(remove_, &QAbstractButton::clicked, this, [this] { remove(); });
}

void KeptRow::applicationChanged(const QString& name) {
    remove_->setName("Remove " + name);
}

void KeptRow::remove() {
    const Blocked kept = *application(); // the row shows another before the spice is done
    spice().unblock(kept);
}

CandidateRow::CandidateRow(HushelSpice& spice, QWidget* parent)
    : ApplicationRow(spice, parent) {
    auto* sign = new Symbol("plus", signSize, malaiDim, this);
    sign->setFixedWidth(SymbolButton::side); // in line with the buttons of the list above
    sign->setAttribute(Qt::WA_TransparentForMouseEvents);
    addAtRight(sign);
    connect(this, &QAbstractButton::clicked, this, [this] { add(); });
}

void CandidateRow::add() {
    const Blocked chosen = *application();
    spice().block(chosen);
}

std::optional<Color> CandidateRow::shade() const {
    return isDown() ? stall : kettlePeak;
}

ApplicationList::ApplicationList(const QString& name, const QString& nothing, bool raised,
                                 std::function<ApplicationRow*(QWidget* parent)> make, QWidget* parent)
    : QWidget(parent)
    , rows_(new RowList(name, ApplicationRow::rowHeight,
                        {.count = [this] { return static_cast<int>(applications_.size()); },
                         .make = [make = std::move(make)](QWidget* list) -> ListRow* { return make(list); },
                         .bind =
                             [this](ListRow& row, int index) {
                                 static_cast<ApplicationRow&>(row).bind(
                                     applications_[static_cast<std::size_t>(index)]);
                             }}))
    , nothing_(makeParagraph(nothing, TextStyle::callout, malaiDim, nullptr)) {
    auto* content = new QWidget;
    auto* lines = makeColumn(content, 0);
    lines->setContentsMargins(listPadding, listPadding, listPadding, listPadding);
    lines->addWidget(rows_);
    lines->addWidget(nothing_);
    nothing_->setContentsMargins(rowPaddingX, 0, rowPaddingX, 0);
    nothing_->setMinimumHeight(ApplicationRow::rowHeight);
    rows_->hide();
    makeColumn(this, 0)->addWidget(new Counter(raised, content, this));
}

void ApplicationList::setApplications(std::vector<Blocked> applications) {
    if (applications_ == applications) {
        return;
    }
    std::map<Key, int> places;
    for (int place = 0; Key & key : keysOf(applications)) {
        places.emplace(std::move(key), place++);
    }
    const std::vector<Key> before = keysOf(std::exchange(applications_, std::move(applications)));
    const int count = static_cast<int>(applications_.size());
    // In this order, so that the keyboard is never without a row while there is one.
    nothing_->setVisible(count == 0);
    if (count > 0) {
        rows_->setFixedHeight(std::min(count, mostInSight) * ApplicationRow::rowHeight);
        rows_->show();
    }
    rows_->change([&](int index) -> std::optional<int> {
        const auto found = places.find(before[static_cast<std::size_t>(index)]);
        return found == places.end() ? std::nullopt : std::optional(found->second);
    });
    rows_->setVisible(count > 0);
}

Picker::Picker(HushelSpice& spice, QWidget* parent)
    : QWidget(parent)
    , spice_(spice)
    , candidates_(new ApplicationList(
          "Running apps", nothingToAdd, /*raised=*/true,
          [&spice](QWidget* list) -> ApplicationRow* { return new CandidateRow(spice, list); }, this)) {
    makeColumn(this, 0)->addWidget(candidates_);
    RowList& rows = candidates_->rows();
    rows.onKey([&rows](QKeyEvent& key, int index) {
        const bool chooses = key.key() == Qt::Key_Return || key.key() == Qt::Key_Enter;
        if (chooses && !key.isAutoRepeat()) {
            rows.row(index)->click();
        }
        return chooses;
    });
}

void Picker::read() {
    candidates_->setApplications(spice_.runningApps());
}

void Picker::takeKeyboard() {
    if (!candidates_->isEmpty()) {
        candidates_->rows().setCurrent(0);
    }
}

void Picker::onLeave(std::function<void()> left) {
    candidates_->rows().onLeave(std::move(left));
}

KeptOut::KeptOut(HushelSpice& spice, QWidget* parent)
    : QWidget(parent)
    , spice_(spice)
    , list_(new ApplicationList(
          "Kept out of the way", nothingListed, /*raised=*/false,
          [&spice](QWidget* list) -> ApplicationRow* { return new KeptRow(spice, list); }, this))
    , add_(new QuietButton("Add an app", this))
    , picker_(new Picker(spice, this)) {
    add_->setCheckable(true);
    add_->installEventFilter(this);
    picker_->hide();
    auto* column = makeColumn(this, headingGap);
    column->addWidget(makeHeading("Kept out of the way", this));
    column->addWidget(list_);
    column->addWidget(add_, 0, Qt::AlignLeft);
    column->addWidget(picker_);

    connect(add_, &QAbstractButton::clicked, this, [this](bool open) { setOpen(open); });
    picker_->onLeave([this] { add_->setFocus(Qt::TabFocusReason); });
    RowList& rows = list_->rows();
    rows.onKey([&rows](QKeyEvent& key, int index) {
        const bool removes = key.key() == Qt::Key_Delete || key.key() == Qt::Key_Backspace;
        if (removes && !key.isAutoRepeat()) { // held down, it must not empty the list
            static_cast<KeptRow&>(*rows.row(index)).remove();
        }
        return removes;
    });
    rows.onLeave([this] {
        if (list_->isEmpty()) {
            add_->setFocus(Qt::TabFocusReason);
        }
    });
    refresh();
}

void KeptOut::refresh() {
    list_->setApplications(spice_.blocked());
    if (add_->isChecked() && listed_ != spice_.blocked()) {
        listed_ = spice_.blocked();
        picker_->read();
    }
}

void KeptOut::setOpen(bool open) {
    add_->setChecked(open);
    if (!open) {
        if (picker_->isAncestorOf(window()->focusWidget())) {
            add_->setFocus(Qt::TabFocusReason);
        }
        picker_->hide();
        return;
    }
    listed_ = spice_.blocked();
    picker_->read();
    picker_->show();
    // Once the page has made room for it.
    QMetaObject::invokeMethod(
        this, [this] { reveal(); }, Qt::QueuedConnection);
}

void KeptOut::reveal() {
    for (QWidget* widget = parentWidget(); widget; widget = widget->parentWidget()) {
        if (auto* scroll = dynamic_cast<QScrollArea*>(widget)) {
            scroll->ensureWidgetVisible(picker_, 0, sectionGap);
            scroll->ensureWidgetVisible(add_, 0, headingGap);
            return;
        }
    }
}

bool KeptOut::eventFilter(QObject* watched, QEvent* event) {
    if (watched == add_ && event->type() == QEvent::KeyPress) {
        const auto& key = static_cast<const QKeyEvent&>(*event);
        const bool opens = key.key() == Qt::Key_Return || key.key() == Qt::Key_Enter;
        if ((opens || key.key() == Qt::Key_Down) && !(key.modifiers() & ~Qt::KeypadModifier)) {
            if (!key.isAutoRepeat()) {
                setOpen(true);
                picker_->takeKeyboard();
            }
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void KeptOut::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape && add_->isChecked()) {
        setOpen(false);
        return;
    }
    QWidget::keyPressEvent(event);
}

void KeptOut::hideEvent(QHideEvent* event) {
    setOpen(false); // what runs is another matter when the page comes back
    QWidget::hideEvent(event);
}

HushelPanel::HushelPanel(HushelSpice& spice, QWidget* parent)
    : SessionView(spice, parent)
    , setup_(new Setup(spice, this))
    , running_(new Running(spice, this))
    , hint_(makeParagraph("", TextStyle::callout, malaiDim, this))
    , keptOut_(new KeptOut(spice, this)) {
    auto* session = new QVBoxLayout;
    session->setSpacing(hintGap);
    for (QWidget* part :
         {static_cast<QWidget*>(setup_), static_cast<QWidget*>(running_), static_cast<QWidget*>(hint_)}) {
        session->addWidget(part);
    }
    auto* column = makeColumn(this, sectionGap);
    column->addLayout(session);
    column->addWidget(keptOut_);
    column->addWidget(makeParagraph(note, TextStyle::caption, malaiDim, this));
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    refresh();
}

void HushelPanel::write() {
    setup_->refresh();
    running_->refresh();
    if (spice().session()) {
        swap(*running_, running_->stop(), *setup_);
    } else {
        swap(*setup_, setup_->start(), *running_);
    }
    writeLine(*hint_, hint());
    keptOut_->refresh();
}

void HushelPanel::writeClock() {
    running_->writeClock();
}

QString HushelPanel::hint() const {
    const std::string hint = spice().hidingHint();
    return qString(hint.empty() ? outOfReachText(spice().outOfReach()) : hint);
}

} // namespace Hushel
