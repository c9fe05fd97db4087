#include "Ledgra/LedgraViews.hpp"

#include "Ledgra/Ledgra.hpp"
#include "Ledgra/LedgraTexts.hpp"
#include "Ledgra/TileViews.hpp"
#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Controls/Buttons.hpp"
#include "ZorbelKit/Controls/Counter.hpp"
#include "ZorbelKit/Controls/EmptyCard.hpp"
#include "ZorbelKit/Controls/Layouts.hpp"
#include "ZorbelKit/Controls/Switch.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace Ledgra {

using namespace ZorbelKit;

namespace {

// Points.
constexpr int partGap = 12;
constexpr int cardPadding = 12;
constexpr int noteGap = 8;
constexpr int tilesPadding = 10;
constexpr int emptyHeight = 232;

/// What stands in place of the files while there are none.
QWidget* makeNothing(const LedgraSpice& spice, QWidget* parent) {
    return makeEmptyCard(spice.id(), "The shelf is empty.",
                         "Drag files onto the strip under your notch. They stay there until you "
                         "drag them somewhere else.",
                         emptyHeight, parent);
}

/// A button that is about to go, or to be disabled, would give the keyboard to any widget.
void giveUpFocus(const QWidget& button, QWidget& view) {
    if (view.window()->focusWidget() == &button) {
        view.setFocus(Qt::OtherFocusReason);
    }
}

} // namespace

AnyView LedgraSpice::dashboard() {
    return AnyView::of<LedgraPanel>(*this);
}

AnyView LedgraSpice::menuSection() {
    return AnyView::of<LedgraMenuSection>(*this);
}

LedgraPanel::LedgraPanel(LedgraSpice& spice, QWidget* parent)
    : LiveView(spice, parent)
    , spice_(spice) {
    // Made in the order in which they are read.
    auto* setting = new QWidget;
    showShelf_ = new Switch("Keep the shelf on screen", setting);
    auto* row = new QHBoxLayout;
    row->addWidget(makeText("Keep the shelf on screen", TextStyle::callout, malai, setting), 1);
    row->addWidget(showShelf_, 0, Qt::AlignVCenter);
    QLabel* note = makeText("Nothing is copied or moved. The shelf holds a reference, so quitting Zorbel "
                            "leaves every file exactly where it was.",
                            interfaceFont(11), malaiDim, setting);
    note->setWordWrap(true);
    auto* lines = makeColumn(setting, noteGap);
    lines->setContentsMargins(cardPadding, cardPadding, cardPadding, cardPadding);
    lines->addLayout(row);
    lines->addWidget(note);
    auto* column = makeColumn(this, partGap);
    column->addWidget(new Counter(false, setting, this));

    auto* header = new QHBoxLayout;
    header->addWidget(makeHeading("On the shelf", this), 1, Qt::AlignVCenter);
    clear_ = new QuietButton("Clear", this);
    header->addWidget(clear_);
    column->addLayout(header);

    nothing_ = makeNothing(spice, this);
    column->addWidget(nothing_);
    auto* content = new QWidget;
    auto* inset = makeColumn(content, 0);
    inset->setContentsMargins(tilesPadding, tilesPadding, tilesPadding, tilesPadding);
    tiles_ = new StagedTiles(spice, StagedTiles::Flow::grid, content);
    inset->addWidget(tiles_);
    files_ = new Counter(false, content, this);
    column->addWidget(files_);

    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setAccessible(*this, QAccessible::Grouping, qString(spice.role()));
    connect(showShelf_, &QAbstractButton::toggled, this, [this](bool on) { spice_.setShowShelf(on); });
    connect(clear_, &QAbstractButton::clicked, this, [this] { spice_.clear(); });
    refresh();
}

void LedgraPanel::refresh() {
    showShelf_->setCheckedSilently(spice_.showShelf());
    const bool isEmpty = spice_.staged().empty();
    if (isEmpty) {
        giveUpFocus(*clear_, *this);
    }
    clear_->setEnabled(!isEmpty);
    tiles_->refresh();
    if (isEmpty) {
        giveUpFocus(*tiles_, *this);
    }
    nothing_->setVisible(isEmpty);
    files_->setVisible(!isEmpty);
}

LedgraMenuSection::LedgraMenuSection(LedgraSpice& spice, QWidget* parent)
    : LiveView(spice, parent)
    , spice_(spice)
    , count_(makeText("", TextStyle::callout, malai, this))
    , clear_(new QuietButton("Clear", this)) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(count_, 1);
    row->addWidget(clear_);
    setFixedHeight(clear_->sizeHint().height()); // what is below stays where it is
    setAccessible(*this, QAccessible::Grouping, qString(spice.role()));
    connect(clear_, &QAbstractButton::clicked, this, [this] { spice_.clear(); });
    refresh();
}

void LedgraMenuSection::refresh() {
    const bool isEmpty = spice_.staged().empty();
    count_->setText(qString(menuText(spice_.staged().size())));
    if (isEmpty) {
        giveUpFocus(*clear_, *this);
    }
    clear_->setVisible(!isEmpty);
}

} // namespace Ledgra
