#pragma once

#include "ZorbelKit/Color.hpp"
#include "ZorbelKit/Controls/FocusButton.hpp"
#include "ZorbelKit/Controls/Glide.hpp"
#include "ZorbelKit/Controls/ScrollView.hpp"

#include <functional>
#include <map>
#include <optional>
#include <vector>

class QKeyEvent;

namespace ZorbelKit {

/// A row of a RowList. It knows whether it has the user's attention: the pointer on it, or the keyboard. A
/// keyboard that only came with the window, unasked, is none.
class ListRow : public FocusButton {
public:
    explicit ListRow(QWidget* parent);

    bool isHovered() const { return isHovered_; }
    bool hasAttention() const { return isHovered_ || (wasGivenKeyboard_ && hasFocus()); }

    /// Called by the list, which also sees the rows move under a pointer that rests.
    void setHovered(bool hovered);

    /// Takes the keyboard, also when it has it unasked.
    void takeKeyboard(Qt::FocusReason reason);

protected:
    /// The pointer or the keyboard came or went.
    virtual void attentionChanged() {}

    /// What lies under the row while it has attention; none: nothing does.
    virtual std::optional<Color> shade() const;

    void paintEvent(QPaintEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    void noticeAttention();

    bool isHovered_ = false;
    bool wasGivenKeyboard_ = false; // also while its window is not the active one
    Glide shade_;
};

/// A vertical list of rows of one height, of which only those in sight, and the current one, are widgets:
/// they are used again as the list scrolls. Rows are known by their place, from 0 at the top; an owner whose
/// rows come and go says with `change` where each of them is now.
///
/// Up, Down, Page Up, Page Down, Home and End move the current row. It alone can be reached with Tab.
class RowList : public ScrollView {
public:
    struct Rows {
        std::function<int()> count;
        std::function<ListRow*(QWidget* parent)> make;
        std::function<void(ListRow& row, int index)> bind; // does nothing where the row shows just that
    };

    /// Where the row that was at an index is now; none: it is gone.
    using Places = std::function<std::optional<int>(int before)>;

    RowList(const QString& name, int rowHeight, Rows rows, QWidget* parent = nullptr);

    /// The rows have changed. The current row and the one under the pointer stay the same rows, and what is
    /// looked at stays in place; a list at its top stays there, unless the pointer is on one of its rows. The
    /// place of a current row that is gone is taken by the next one.
    void change(const Places& placeNow);

    std::optional<int> current() const { return current_; }

    /// Brings the row into sight and gives it the keyboard. An index past an end is that end's row.
    void setCurrent(int index);

    ListRow* row(int index) const; // null while it is no widget

    /// Is asked first about keys that move nothing; true: done.
    void onKey(std::function<bool(QKeyEvent& key, int index)> pressed);

    /// Up on the first row, or the last row of all went while it had the keyboard.
    void onLeave(std::function<void()> left);

    /// Whether Tab goes from row to row before it leaves the list, and comes in at the end it comes from.
    void setTabMoves(bool moves) { tabMoves_ = moves; }

    /// It asks for a single row, however many there are, and takes what it is given.
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    int offset() const;
    int firstInSight() const;
    int lastInSight() const; // before the first where nothing is
    bool isInSight(int index) const;
    std::optional<int> indexOf(const QObject* row) const;
    std::optional<int> pointed() const;

    bool holdsKeyboard() const;
    int offsetAfter(const Places& placeNow, int countBefore, std::optional<int> held) const;
    void moveRows(const Places& placeNow, int countBefore);
    void measure();
    void arrange(bool bindsAll);
    ListRow& takeRow();
    void putAway(ListRow& row);
    void reveal(int index);
    void followPointer();
    bool pressKey(QKeyEvent& key, int index);
    void takeFocus(int index, Qt::FocusReason reason);

    const int rowHeight_;
    const Rows rows_;
    QWidget* content_;
    int count_ = 0;
    std::optional<int> current_;
    std::map<int, ListRow*> shown_; // by index
    std::vector<ListRow*> spare_;   // hidden, to be used again
    bool isArranging_ = false;
    bool isMoving_ = false; // the keyboard, from one row to another
    bool isCurrentByPointer_ = false;
    bool tabMoves_ = false;
    std::function<bool(QKeyEvent&, int)> key_;
    std::function<void()> left_;
};

} // namespace ZorbelKit
