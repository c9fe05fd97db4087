#include "Duvesk/FindingViews.hpp"

#include "Duvesk/Duvesk.hpp"
#include "Duvesk/DuveskTexts.hpp"
#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Controls/Buttons.hpp"
#include "ZorbelKit/Controls/LineText.hpp"
#include "ZorbelKit/Controls/Reading.hpp"
#include "ZorbelKit/Controls/SpiceIcon.hpp"
#include "ZorbelKit/Controls/Symbol.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QScrollBar>
#include <QStackedLayout>
#include <QVBoxLayout>

#include <algorithm>
#include <unordered_map>
#include <utility>

namespace Duvesk {

using namespace ZorbelKit;

namespace {

// A row's measures, in points.
constexpr int paddingX = 10; // to the tick box, whose frame stands a little further in
constexpr int paddingRight = 12;
constexpr int tickSize = 18;
constexpr int tickGap = 12; // between the tick box and the texts
constexpr int columnGap = 14;
constexpr int sizeColumn = 64;
constexpr int lineGap = 1; // between the name and the note
constexpr double noteSize = 11;
constexpr double sizeSize = 12;

constexpr double emptyIcon = 48;

enum State { listed, empty }; // as places in the stack

} // namespace

FindingRow::FindingRow(DuveskSpice& spice, QWidget* parent)
    : ListRow(parent)
    , spice_(spice)
    , tick_(new Symbol("square", tickSize, malaiDim, this))
    , title_(new LineText(styleFont(TextStyle::callout), malai, this))
    , note_(new LineText(interfaceFont(noteSize), malaiDim, this))
    , size_(new Reading("", std::nullopt, sizeSize, QFont::Medium, this))
    , reveal_(new QuietButton("Show in Finder", this)) {
    setCheckable(true);
    setAccessible(*this, QAccessible::ListItem, "");
    title_->setCutOff(Qt::ElideMiddle); // what tells two files apart is often at the end
    for (QWidget* part : {static_cast<QWidget*>(tick_), static_cast<QWidget*>(title_),
                          static_cast<QWidget*>(note_), static_cast<QWidget*>(size_)}) {
        part->setAttribute(Qt::WA_TransparentForMouseEvents);
    }
    reveal_->setFocusPolicy(Qt::NoFocus); // the keyboard stays on the row, whose Return does the same
    reveal_->hide();
    connect(this, &QAbstractButton::clicked, this, [this] { toggle(); });
    connect(reveal_, &QAbstractButton::clicked, this, [this] { reveal(); });
}

void FindingRow::bind(const Finding& finding) {
    if (finding_ == finding) {
        return;
    }
    finding_ = finding;
    title_->setLine(qString(titleText(finding)));
    note_->setLine(qString(finding.note));
    size_->setValue(qString(asSize(finding.bytes)));
    writeTick();
    setAccessibleText(*this, title_->text());
    if (const QString detail = qString(detailText(finding)); accessibleDescription() != detail) {
        setAccessibleDescription(detail);
    }
    if (const QString tip = toolTipText(tipText(finding)); toolTip() != tip) {
        setToolTip(tip);
    }
    arrange();
}

void FindingRow::writeTick() {
    const bool selected = finding_->selected;
    tick_->setSymbol(selected ? "checkmark.square.fill" : "square");
    tick_->setColour(selected ? spice_.accent() : malaiDim);
    size_->setColour(selected ? malai : malaiDim);
    if (isChecked() != selected) {
        setChecked(selected); // tells readers
    }
}

void FindingRow::attentionChanged() {
    reveal_->setVisible(hasAttention());
    arrange();
}

QRect FindingRow::tickBox() const {
    return {0, 0, paddingX + tickSize + tickGap, height()};
}

void FindingRow::arrange() {
    tick_->setGeometry(paddingX, (height() - tickSize) / 2, tickSize, tickSize);
    const QSize size = size_->sizeHint();
    int right = width() - paddingRight;
    size_->setGeometry(right - size.width(), (height() - size.height()) / 2, size.width(), size.height());
    right -= std::max(size.width(), sizeColumn) + columnGap;
    if (!reveal_->isHidden()) {
        const QSize button = reveal_->sizeHint();
        right -= button.width();
        reveal_->setGeometry(right, (height() - button.height()) / 2, button.width(), button.height());
        right -= columnGap;
    }
    const int left = tickBox().width();
    const int room = std::max(right - left, 0);
    const int titleHeight = title_->minimumSizeHint().height();
    const int noteHeight = note_->minimumSizeHint().height();
    const int top = (height() - titleHeight - lineGap - noteHeight) / 2;
    title_->setGeometry(left, top, room, titleHeight);
    note_->setGeometry(left, top + titleHeight + lineGap, room, noteHeight);
}

void FindingRow::resizeEvent(QResizeEvent* event) {
    ListRow::resizeEvent(event);
    arrange();
}

void FindingRow::mousePressEvent(QMouseEvent* event) {
    ListRow::mousePressEvent(event);
    event->accept(); // beside the tick box too: it gives the row the keyboard
}

void FindingRow::toggle() {
    const Finding finding = *finding_; // the row may show another before the spice is done
    spice_.toggle(finding);
}

void FindingRow::reveal() {
    const Finding finding = *finding_;
    spice_.reveal(finding);
}

FindingList::FindingList(DuveskSpice& spice, QWidget* parent)
    : QWidget(parent)
    , rows_(new RowList("Findings", FindingRow::rowHeight,
                        {.count = [this] { return static_cast<int>(findings_.size()); },
                         .make = [&spice](QWidget* list) -> ListRow* { return new FindingRow(spice, list); },
                         .bind =
                             [this](ListRow& row, int index) {
                                 static_cast<FindingRow&>(row).bind(
                                     findings_[static_cast<std::size_t>(index)]);
                             }}))
    , states_(new QStackedLayout(this)) {
    auto* nothing = new QWidget;
    auto* column = new QVBoxLayout(nothing);
    column->addWidget(new SpiceIcon(spice.id(), emptyIcon, /*dimmed=*/true, nothing), 0, Qt::AlignCenter);
    states_->addWidget(rows_); // in the order of the states
    states_->addWidget(nothing);
    setMinimumHeight(leastRows * FindingRow::rowHeight);
    rows_->onKey([this](QKeyEvent& key, int index) {
        const bool reveals = key.key() == Qt::Key_Return || key.key() == Qt::Key_Enter;
        if (reveals && !key.isAutoRepeat()) {
            static_cast<FindingRow&>(*rows_->row(index)).reveal();
        }
        return reveals;
    });
}

void FindingList::setFindings(std::vector<Finding> findings) {
    if (findings_ == findings) {
        return;
    }
    std::unordered_map<Uuid, int> places;
    places.reserve(findings.size());
    for (const Finding& finding : findings) {
        places.emplace(finding.id, static_cast<int>(places.size()));
    }
    const std::vector<Finding> before = std::exchange(findings_, std::move(findings));
    rows_->change([&](int index) -> std::optional<int> {
        const auto found = places.find(before[static_cast<std::size_t>(index)].id);
        return found == places.end() ? std::nullopt : std::optional(found->second);
    });
    states_->setCurrentIndex(findings_.empty() ? empty : listed);
}

void FindingList::scrollToTop() {
    rows_->verticalScrollBar()->setValue(0);
}

void FindingList::takeKeyboard() {
    rows_->setCurrent(rows_->current().value_or(0));
}

} // namespace Duvesk
