#include "Duvesk/DuveskViews.hpp"

#include "Duvesk/DuveskTexts.hpp"
#include "Duvesk/FindingViews.hpp"
#include "Duvesk/TabViews.hpp"
#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Controls/Buttons.hpp"
#include "ZorbelKit/Controls/Counter.hpp"
#include "ZorbelKit/Controls/EmptyCard.hpp"
#include "ZorbelKit/Controls/Layouts.hpp"
#include "ZorbelKit/Controls/LineText.hpp"
#include "ZorbelKit/Controls/Reading.hpp"
#include "ZorbelKit/Controls/Rule.hpp"
#include "ZorbelKit/Controls/SpiceIcon.hpp"
#include "ZorbelKit/Controls/Symbol.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QHBoxLayout>
#include <QPainter>
#include <QStackedLayout>
#include <QVBoxLayout>

#include <algorithm>

namespace Duvesk {

using namespace ZorbelKit;

namespace {

// Points.
constexpr int partGap = 12;
constexpr int cardPadding = 6;
constexpr int barPaddingX = 18; // in line with what the rows show
constexpr int barPaddingY = 10;
constexpr int buttonGap = 8;
constexpr double movedSymbol = 14;
constexpr double emptyIcon = 64;
constexpr int emptyIconGap = 14;
constexpr int busyWidth = 132;
constexpr int menuBusyWidth = 84;

constexpr Seconds busyPeriod{2.0}; // there and back
constexpr double busyShare = 0.34; // how much of the line is lit

enum State { nothing, found }; // as places in the stack

/// The longer of the two labels decides about the width, so that nothing beside the button moves.
template <class Button>
Button* makeScanButton(DuveskSpice& spice, QWidget* parent) {
    auto* button = new Button(qString(scanText(false)), parent);
    button->setFixedWidth(button->sizeHint().width());
    QObject::connect(button, &QAbstractButton::clicked, button, [&spice] { spice.scan(); });
    return button;
}

} // namespace

AnyView DuveskSpice::dashboard() {
    return AnyView::of<DuveskPanel>(*this);
}

AnyView DuveskSpice::menuSection() {
    return AnyView::of<DuveskMenuSection>(*this);
}

BusyBar::BusyBar(int width, const Color& colour, QWidget* parent)
    : QWidget(parent)
    , colour_(colour) {
    setFixedSize(width, thickness);
    setAccessible(*this, QAccessible::ProgressBar, qString(scanText(true)));
    motion_.setDuration(milliseconds(busyPeriod));
    motion_.setLoopCount(-1);
    motion_.setStartValue(0.0);
    motion_.setKeyValueAt(0.5, 1.0);
    motion_.setEndValue(0.0);
    connect(&motion_, &QVariantAnimation::valueChanged, this, [this] { update(); });
}

void BusyBar::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!isMotionReduced()) {
        motion_.start();
    }
}

void BusyBar::hideEvent(QHideEvent* event) {
    motion_.stop();
    QWidget::hideEvent(event);
}

void BusyBar::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    constexpr double radius = thickness / 2.0;
    painter.setBrush(qColor(rim));
    painter.drawRoundedRect(rect(), radius, radius);
    const QEasingCurve turns(QEasingCurve::InOutSine); // slow where it turns round
    const double place = isMoving() ? turns.valueForProgress(motion_.currentValue().toDouble()) : 0.5;
    const double lit = width() * busyShare;
    painter.setBrush(qColor(colour_));
    painter.drawRoundedRect(QRectF((width() - lit) * place, 0, lit, thickness), radius, radius);
}

ScanControl::ScanControl(DuveskSpice& spice, PaintedButton& button, QWidget& view)
    : spice_(spice)
    , button_(button)
    , view_(view) {
}

void ScanControl::refresh(const std::vector<const QWidget*>& going) {
    const auto goes = [&](const QWidget* widget) {
        return std::ranges::any_of(
            going, [&](const QWidget* part) { return part == widget || part->isAncestorOf(widget); });
    };
    const bool isScanning = spice_.isScanning();
    button_.setLabel(qString(scanText(isScanning)));
    if (QWidget* held = view_.window()->focusWidget();
        held && (goes(held) || (held == &button_ && isScanning))) {
        const auto* control = dynamic_cast<const FocusButton*>(held);
        showsFocus_ = control && control->showsFocus();
        view_.setFocus(Qt::OtherFocusReason);
    }
    button_.setEnabled(!isScanning);
    if (view_.window()->focusWidget() == &view_ && !isScanning && !goes(&button_)) {
        button_.setFocus(showsFocus_ ? Qt::TabFocusReason : Qt::OtherFocusReason);
    }
}

SelectionBar::SelectionBar(DuveskSpice& spice, QWidget* parent)
    : QWidget(parent)
    , spice_(spice)
    , selectAll_(new QuietButton("Select all", this))
    , selected_(new Reading("", std::nullopt, 12, QFont::Normal, this))
    , moveToTrash_(new BrassButton("Move to Trash", this)) {
    auto* selectNone = new QuietButton("Select none", this);
    selected_->setColour(malaiDim);
    selected_->setMinimumWidth(1); // the page decides about the width
    selected_->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(barPaddingX, barPaddingY, barPaddingX, barPaddingY);
    row->setSpacing(buttonGap);
    row->addWidget(selectAll_);
    row->addWidget(selectNone);
    row->addStretch();
    row->addWidget(selected_);
    row->addSpacing(partGap - buttonGap);
    row->addWidget(moveToTrash_);
    connect(selectAll_, &QAbstractButton::clicked, this, [&spice] { spice.setAll(true); });
    connect(selectNone, &QAbstractButton::clicked, this, [&spice] { spice.setAll(false); });
    connect(moveToTrash_, &QAbstractButton::clicked, this, [&spice] { spice.clear(); });
}

void SelectionBar::refresh() {
    const bool isAnySelected = std::ranges::any_of(spice_.findings(), &Finding::selected);
    selected_->setValue(qString(selectedText(spice_.selectedBytes())));
    if (!isAnySelected && window()->focusWidget() == moveToTrash_) {
        // Disabled, it would give the keyboard to any widget.
        selectAll_->setFocus(moveToTrash_->showsFocus() ? Qt::TabFocusReason : Qt::OtherFocusReason);
    }
    moveToTrash_->setEnabled(isAnySelected);
}

Unscanned::Unscanned(DuveskSpice& spice, QWidget* parent)
    : QWidget(parent)
    , spice_(spice)
    , states_(new QStackedLayout) {
    auto* words = new QWidget;
    auto* lines = makeColumn(words, 6);
    lines->addWidget(makeText("Nothing scanned yet.", TextStyle::callout, malai, words), 0, Qt::AlignHCenter);
    lines->addWidget(
        makeCentredParagraph("Duvesk looks through your caches, your large files, and support folders "
                             "belonging to apps you no longer have.",
                             words),
        0, Qt::AlignHCenter);
    lines->addStretch();
    auto* busy = new QWidget;
    auto* line = makeColumn(busy, 0);
    line->addSpacing(6); // about where the first words stood
    line->addWidget(new BusyBar(busyWidth, spice.accent(), busy), 0, Qt::AlignHCenter);
    line->addStretch();
    states_->addWidget(words);
    states_->addWidget(busy);

    auto* column = makeColumn(this, 0);
    column->addStretch();
    column->addWidget(new SpiceIcon(spice.id(), emptyIcon, /*dimmed=*/true, this), 0, Qt::AlignHCenter);
    column->addSpacing(emptyIconGap);
    column->addLayout(states_);
    column->addStretch();
    refresh();
}

void Unscanned::refresh() {
    states_->setCurrentIndex(spice_.isScanning() ? 1 : 0);
}

DuveskPanel::DuveskPanel(DuveskSpice& spice, QWidget* parent)
    : LiveView(spice, parent)
    , spice_(spice)
    , scan_(makeScanButton<BrassButton>(spice, this))
    , scanControl_(spice, *scan_, *this)
    , moved_(new QWidget(this))
    , movedLine_(new LineText(styleFont(TextStyle::callout), malai, moved_))
    , tabs_(new TabRow(spice, this))
    , results_(new QWidget)
    , selection_(new SelectionBar(spice, results_))
    , list_(new FindingList(spice, results_))
    , unscanned_(new Unscanned(spice))
    , states_(new QStackedLayout) {
    auto* moved = new QHBoxLayout(moved_);
    moved->setContentsMargins(0, 0, 0, 0);
    moved->setSpacing(buttonGap);
    moved->addWidget(new Symbol("checkmark", movedSymbol, spice.accent(), moved_));
    moved->addWidget(movedLine_, 1);
    auto* top = new QHBoxLayout;
    top->setSpacing(partGap + 2);
    top->addWidget(scan_);
    top->addWidget(moved_, 1);
    top->addStretch();

    auto* lines = makeColumn(results_, 0);
    lines->addWidget(selection_);
    lines->addWidget(new Rule(Qt::Horizontal, results_));
    auto* inset = new QVBoxLayout;
    inset->setContentsMargins(cardPadding, cardPadding, cardPadding, cardPadding);
    inset->addWidget(list_);
    lines->addLayout(inset, 1);
    states_->addWidget(unscanned_); // in the order of the states
    states_->addWidget(results_);
    auto* content = new QWidget;
    content->setLayout(states_);
    auto* card = new Counter(false, content, this);
    card->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Expanding);
    QLabel* note = makeText("Nothing is deleted. Everything goes to the Trash, so you can put it back.",
                            TextStyle::caption, malaiDim, this);
    note->setWordWrap(true);

    auto* column = makeColumn(this, partGap);
    column->addLayout(top);
    column->addWidget(tabs_);
    column->addWidget(card, 1);
    column->addWidget(note);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Expanding);
    setAccessible(*this, QAccessible::Grouping, qString(spice.role()));

    tabs_->onChoice([this] { list_->scrollToTop(); });
    tabs_->onDown([this] { list_->takeKeyboard(); });
    list_->onLeave([this] { tabs_->takeKeyboard(); });
    refresh();
}

void DuveskPanel::refresh() {
    const bool hasFindings = !spice_.findings().empty();
    scanControl_.refresh(hasFindings ? std::vector<const QWidget*>{}
                                     : std::vector<const QWidget*>{tabs_, results_});
    setAccessibleText(*this, qString(spice_.isScanning() ? scanText(true) : spice_.role()));
    const QString moved = qString(movedText(spice_.lastReclaimed()));
    movedLine_->setLine(moved);
    moved_->setVisible(!moved.isEmpty());
    tabs_->refresh();
    tabs_->setVisible(hasFindings);
    selection_->refresh();
    list_->setFindings(spice_.visible());
    unscanned_->refresh();
    states_->setCurrentIndex(hasFindings ? found : nothing);
}

DuveskMenuSection::DuveskMenuSection(DuveskSpice& spice, QWidget* parent)
    : LiveView(spice, parent)
    , spice_(spice)
    , scan_(makeScanButton<QuietButton>(spice, this))
    , scanControl_(spice, *scan_, *this)
    , busy_(new BusyBar(menuBusyWidth, spice.accent(), this))
    , count_(makeText("", TextStyle::callout, malai, this))
    , total_(new Reading("", std::nullopt, 12, QFont::Medium, this)) {
    total_->setColour(malaiDim);
    total_->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(scan_);
    row->addWidget(count_);
    row->addStretch();
    row->addWidget(busy_);
    row->addWidget(total_);
    setFixedHeight(scan_->sizeHint().height()); // what is below stays where it is
    setAccessible(*this, QAccessible::Grouping, qString(spice.role()));
    refresh();
}

void DuveskMenuSection::refresh() {
    const bool hasFindings = !spice_.findings().empty();
    scanControl_.refresh(hasFindings ? std::vector<const QWidget*>{scan_} : std::vector<const QWidget*>{});
    count_->setText(qString(findingsText(spice_.findings().size())));
    total_->setValue(qString(asSize(tabTotal(spice_, std::nullopt))));
    scan_->setVisible(!hasFindings);
    busy_->setVisible(spice_.isScanning() && !hasFindings);
    count_->setVisible(hasFindings);
    total_->setVisible(hasFindings);
}

} // namespace Duvesk
