#include "ZorbelKit/Controls/RowList.hpp"

#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QCursor>
#include <QKeyEvent>
#include <QPainter>
#include <QScopedValueRollback>
#include <QScrollBar>

#include <algorithm>
#include <utility>

namespace ZorbelKit {

namespace {

/// Whether the keyboard comes and goes with the window, or is lent to a popup.
bool isOfWindow(Qt::FocusReason reason) {
    return reason == Qt::ActiveWindowFocusReason || reason == Qt::PopupFocusReason;
}

} // namespace

ListRow::ListRow(QWidget* parent)
    : FocusButton(parent)
    , shade_(*this) {
    setFocusPolicy(Qt::ClickFocus);
}

void ListRow::setHovered(bool hovered) {
    if (isHovered_ != hovered) {
        isHovered_ = hovered;
        noticeAttention();
    }
}

void ListRow::takeKeyboard(Qt::FocusReason reason) {
    setFocus(reason);
    if (!std::exchange(wasGivenKeyboard_, true)) {
        noticeAttention();
    }
}

void ListRow::mousePressEvent(QMouseEvent* event) {
    FocusButton::mousePressEvent(event);
    takeKeyboard(Qt::MouseFocusReason);
}

void ListRow::noticeAttention() {
    shade_.to(hasAttention() ? 1 : 0, Pour::settle(Pour::sip));
    attentionChanged();
}

std::optional<Color> ListRow::shade() const {
    return kettleHi;
}

void ListRow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (const auto colour = shade(); colour && shade_.value() > 0) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(qColor(colour->withOpacity(shade_.value())));
        painter.drawRoundedRect(rect(), radiusControl, radiusControl);
    }
    if (showsFocus()) {
        paintFocusRing(painter, rect(), radiusControl);
    }
}

void ListRow::focusInEvent(QFocusEvent* event) {
    FocusButton::focusInEvent(event);
    wasGivenKeyboard_ = wasGivenKeyboard_ || !isOfWindow(event->reason());
    noticeAttention();
}

void ListRow::focusOutEvent(QFocusEvent* event) {
    FocusButton::focusOutEvent(event);
    wasGivenKeyboard_ = wasGivenKeyboard_ && isOfWindow(event->reason());
    noticeAttention();
}

void ListRow::hideEvent(QHideEvent* event) {
    wasGivenKeyboard_ = false;
    FocusButton::hideEvent(event);
}

RowList::RowList(const QString& name, int rowHeight, Rows rows, QWidget* parent)
    : ScrollView(parent)
    , rowHeight_(rowHeight)
    , rows_(std::move(rows))
    , content_(new QWidget) {
    setWidgetResizable(false); // the height is known without a layout
    content_->setAutoFillBackground(false);
    setWidget(content_);
    setAccessible(*content_, QAccessible::List, name);
    viewport()->installEventFilter(this);
    connect(verticalScrollBar(), &QScrollBar::valueChanged, this, [this] { arrange(false); });
    count_ = rows_.count();
    measure();
}

void RowList::onKey(std::function<bool(QKeyEvent&, int)> pressed) {
    key_ = std::move(pressed);
}

void RowList::onLeave(std::function<void()> left) {
    left_ = std::move(left);
}

QSize RowList::sizeHint() const {
    return {240, rowHeight_};
}

int RowList::offset() const {
    return verticalScrollBar()->value();
}

int RowList::firstInSight() const {
    return offset() / rowHeight_;
}

int RowList::lastInSight() const {
    return std::min((offset() + viewport()->height() - 1) / rowHeight_, count_ - 1);
}

bool RowList::isInSight(int index) const {
    return index >= firstInSight() && index <= lastInSight();
}

ListRow* RowList::row(int index) const {
    const auto found = shown_.find(index);
    return found == shown_.end() ? nullptr : found->second;
}

std::optional<int> RowList::indexOf(const QObject* row) const {
    const auto found = std::ranges::find_if(shown_, [row](const auto& entry) { return entry.second == row; });
    return found == shown_.end() ? std::nullopt : std::optional(found->first);
}

/// The row that the pointer is on.
std::optional<int> RowList::pointed() const {
    if (!viewport()->underMouse()) {
        return std::nullopt;
    }
    const QPoint pointer = viewport()->mapFromGlobal(QCursor::pos());
    if (!viewport()->rect().contains(pointer)) {
        return std::nullopt;
    }
    const int index = (pointer.y() + offset()) / rowHeight_;
    return index < count_ ? std::optional(index) : std::nullopt;
}

/// Also in a window that is not the active one: it will have the keyboard again.
bool RowList::holdsKeyboard() const {
    const ListRow* currentRow = current_ ? row(*current_) : nullptr;
    return currentRow && window()->focusWidget() == currentRow;
}

void RowList::change(const Places& placeNow) {
    const int countBefore = count_;
    const bool heldKeyboard = holdsKeyboard();
    const bool mustStayInSight = heldKeyboard && !isCurrentByPointer_ && isInSight(*current_);
    const std::optional<int> held = pointed();
    count_ = rows_.count();
    const int next = offsetAfter(placeNow, countBefore, held);
    moveRows(placeNow, countBefore);
    {
        const QScopedValueRollback arranging(isArranging_, true); // only once all is in its new place
        measure();
        verticalScrollBar()->setValue(next);
        if (mustStayInSight && current_) {
            reveal(*current_);
        }
    }
    arrange(true);
    if (heldKeyboard && !current_ && left_) {
        left_();
    }
}

/// What keeps its place on the screen is a row in sight whose neighbour is still its neighbour: the one under
/// the pointer, or else the first. A row that was itself moved to elsewhere takes nothing along.
int RowList::offsetAfter(const Places& placeNow, int countBefore, std::optional<int> held) const {
    if (offset() == 0 && !held) {
        return 0;
    }
    const int first = firstInSight();
    const int last = std::min((offset() + viewport()->height() - 1) / rowHeight_, countBefore - 1);
    const auto place = [&](int index) {
        return index >= 0 && index < countBefore ? placeNow(index) : std::nullopt;
    };
    const auto shift = [&](int index) -> std::optional<int> {
        const auto now = place(index);
        if (!now) {
            return std::nullopt;
        }
        const auto above = place(index - 1);
        const auto below = place(index + 1);
        const bool isAlone = !above && !below;
        const bool isNeighbour = (above && *above + 1 == *now) || (below && *now + 1 == *below);
        return isAlone || isNeighbour ? std::optional(*now - index) : std::nullopt;
    };
    const int start = std::clamp(held.value_or(first), first, std::max(first, last));
    int gone = 0; // rows just above the one looked at that are gone: it slides into their place
    for (int index = start; index <= last; ++index) {
        if (const auto by = shift(index)) {
            return offset() + (*by + gone) * rowHeight_;
        }
        gone += place(index) ? 0 : 1;
    }
    for (int index = start - 1; index >= first; --index) {
        if (const auto by = shift(index)) {
            return offset() + *by * rowHeight_;
        }
    }
    return offset();
}

/// Widgets go along with what they show, and so do the hover and the keyboard.
void RowList::moveRows(const Places& placeNow, int countBefore) {
    ListRow* const currentRow = current_ ? row(*current_) : nullptr;
    std::optional<int> currentNow;
    if (current_) {
        currentNow = placeNow(*current_);
        if (!currentNow && holdsKeyboard() && count_ > 0) {
            for (int index = *current_ + 1; index < countBefore && !currentNow; ++index) {
                currentNow = placeNow(index);
            }
            currentNow = currentNow.value_or(count_ - 1);
        }
    }
    current_ = currentNow;

    std::map<int, ListRow*> before = std::exchange(shown_, {});
    if (currentRow && current_) {
        shown_.emplace(*current_, currentRow); // keeps the keyboard, whatever it shows now
    }
    for (const auto& [index, row] : before) {
        if (row == currentRow && current_) {
            continue;
        }
        const auto now = placeNow(index);
        if (!now || *now >= count_ || !shown_.emplace(*now, row).second) {
            putAway(*row);
        }
    }
}

void RowList::measure() {
    const QSize size(viewport()->width(), count_ * rowHeight_);
    if (content_->size() != size) {
        content_->resize(size);
    }
}

void RowList::arrange(bool bindsAll) {
    if (isArranging_) {
        return;
    }
    const QScopedValueRollback arranging(isArranging_, true);
    const int first = firstInSight();
    const int last = lastInSight();
    // A row that is about to hand the keyboard on stays until it has: hidden, it would give it to any widget.
    const QWidget* focused = window()->focusWidget();
    for (auto entry = shown_.begin(); entry != shown_.end();) {
        const auto [index, row] = *entry;
        if (index < count_ && (isInSight(index) || index == current_ || row == focused)) {
            ++entry;
        } else {
            putAway(*row);
            entry = shown_.erase(entry);
        }
    }
    const auto place = [&](int index) {
        const auto [entry, isNew] = shown_.try_emplace(index, nullptr);
        if (isNew) {
            entry->second = &takeRow();
        }
        ListRow& row = *entry->second;
        if (isNew || bindsAll) {
            rows_.bind(row, index);
        }
        const QRect frame(0, index * rowHeight_, content_->width(), rowHeight_);
        if (row.geometry() != frame) {
            row.setGeometry(frame);
        }
        row.setFocusPolicy(index == current_.value_or(first) ? Qt::StrongFocus : Qt::ClickFocus);
        row.show();
    };
    for (int index = first; index <= last; ++index) {
        place(index);
    }
    if (current_ && !isInSight(*current_)) {
        place(*current_);
    }
    followPointer();
}

ListRow& RowList::takeRow() {
    if (spare_.empty()) {
        ListRow* made = rows_.make(content_);
        made->installEventFilter(this);
        return *made;
    }
    ListRow& row = *spare_.back();
    spare_.pop_back();
    return row;
}

void RowList::putAway(ListRow& row) {
    row.hide();
    row.setHovered(false);
    spare_.push_back(&row);
}

void RowList::followPointer() {
    const auto under = pointed();
    for (const auto& [index, row] : shown_) {
        if (index != under) {
            row->setHovered(false);
        }
    }
    if (under && row(*under)) {
        row(*under)->setHovered(true);
    }
}

void RowList::reveal(int index) {
    const int top = index * rowHeight_;
    const int bottom = top + rowHeight_ - viewport()->height();
    verticalScrollBar()->setValue(std::min(top, std::max(offset(), bottom)));
}

void RowList::setCurrent(int index) {
    if (count_ > 0) {
        takeFocus(std::clamp(index, 0, count_ - 1), Qt::TabFocusReason);
    }
}

void RowList::takeFocus(int index, Qt::FocusReason reason) {
    current_ = index;
    reveal(index);
    arrange(false);
    const QScopedValueRollback moving(isMoving_, true);
    row(index)->takeKeyboard(reason);
}

bool RowList::pressKey(QKeyEvent& key, int index) {
    const int page = std::max(1, viewport()->height() / rowHeight_);
    switch (key.key()) {
    case Qt::Key_Up:
        if (index == 0 && left_) {
            left_();
        } else {
            setCurrent(index - 1);
        }
        return true;
    case Qt::Key_Down:
        setCurrent(index + 1);
        return true;
    case Qt::Key_PageUp:
        setCurrent(index - page);
        return true;
    case Qt::Key_PageDown:
        setCurrent(index + page);
        return true;
    case Qt::Key_Home:
        setCurrent(0);
        return true;
    case Qt::Key_End:
        setCurrent(count_ - 1);
        return true;
    case Qt::Key_Left: // as a button the row would hand the keyboard to one beside it
    case Qt::Key_Right:
        return true;
    case Qt::Key_Tab:
    case Qt::Key_Backtab: {
        const int next = index + (key.key() == Qt::Key_Tab ? 1 : -1);
        if (tabMoves_ && next >= 0 && next < count_) {
            setCurrent(next);
            return true;
        }
        return false;
    }
    default:
        return key_ && key_(key, index);
    }
}

bool RowList::eventFilter(QObject* watched, QEvent* event) {
    if (watched == viewport()) {
        if (event->type() == QEvent::Enter || event->type() == QEvent::Leave) {
            followPointer();
        }
        return ScrollView::eventFilter(watched, event);
    }
    const std::optional<int> index = indexOf(watched);
    if (!index) {
        return ScrollView::eventFilter(watched, event);
    }
    switch (event->type()) {
    case QEvent::KeyPress:
        return pressKey(static_cast<QKeyEvent&>(*event), *index);
    case QEvent::Enter:
    case QEvent::Leave:
        followPointer();
        break;
    case QEvent::FocusIn: {
        const auto reason = static_cast<QFocusEvent&>(*event).reason();
        const int end = reason == Qt::BacktabFocusReason ? count_ - 1 : 0;
        const bool isByTab = reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason;
        if (tabMoves_ && isByTab && !isMoving_ && *index != end) {
            takeFocus(end, reason);
            return true;
        }
        isCurrentByPointer_ = reason == Qt::MouseFocusReason;
        current_ = index;
        reveal(*index);
        arrange(false);
        break;
    }
    default:
        break;
    }
    return ScrollView::eventFilter(watched, event);
}

void RowList::resizeEvent(QResizeEvent* event) {
    ScrollView::resizeEvent(event);
    measure();
    arrange(false);
}

void RowList::showEvent(QShowEvent* event) {
    ScrollView::showEvent(event);
    arrange(false);
}

} // namespace ZorbelKit
