#include "Tests/Views/ViewTests.hpp"
#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Controls/RowList.hpp"

#include <QKeyEvent>
#include <QScrollBar>
#include <QTest>
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

namespace {

using namespace Views;
using namespace ZorbelKit;

constexpr int rowHeight = 20;

class NameRow : public ListRow {
public:
    explicit NameRow(QWidget* parent)
        : ListRow(parent) {
        setAccessible(*this, QAccessible::ListItem, "");
    }

    void bind(const QString& name) {
        if (name_ != name) {
            name_ = name;
            setAccessibleText(*this, name);
            update();
        }
    }

    const QString& name() const { return name_; }
    int attentions = 0;

protected:
    void attentionChanged() override { ++attentions; }

private:
    QString name_;
};

/// A list of names, each of them in there once, ten of which are in sight.
class RowListTest : public ::testing::Test {
protected:
    void fill(int count) {
        for (int number = 0; number < count; ++number) {
            names.push_back(QString::number(number));
        }
    }

    void open(int inSight = 10) {
        list =
            new RowList("Names", rowHeight,
                        {.count = [this] { return static_cast<int>(names.size()); },
                         .make =
                             [this](QWidget* parent) {
                                 ++made;
                                 return new NameRow(parent);
                             },
                         .bind =
                             [this](ListRow& row, int index) {
                                 ++bound;
                                 static_cast<NameRow&>(row).bind(names.at(static_cast<std::size_t>(index)));
                             }},
                        &window);
        other = new QWidget(&window);
        other->setFocusPolicy(Qt::StrongFocus);
        other->setGeometry(0, inSight * rowHeight, 200, 20);
        list->setGeometry(0, 0, 200, inSight * rowHeight);
        show(window, {200, inSight * rowHeight + 20});
        window.activateWindow();
        other->setFocus();
        settle();
    }

    ~RowListTest() override {
        if (window.isVisible()) {
            QTest::mouseMove(&window, {5, window.height() - 2});
            settle();
        }
    }

    void become(std::vector<QString> next) {
        const std::vector<QString> before = std::exchange(names, std::move(next));
        list->change([&](int index) -> std::optional<int> {
            const auto found = std::ranges::find(names, before.at(static_cast<std::size_t>(index)));
            return found == names.end() ? std::nullopt
                                        : std::optional(static_cast<int>(found - names.begin()));
        });
        settle();
    }

    void add(const QString& name, int index = 0) {
        std::vector<QString> next = names;
        next.insert(next.begin() + index, name);
        become(next);
    }

    void remove(const QString& name) {
        std::vector<QString> next = names;
        std::erase(next, name);
        become(next);
    }

    void move(const QString& name, int index) {
        std::vector<QString> next = names;
        std::erase(next, name);
        next.insert(next.begin() + index, name);
        become(next);
    }

    std::vector<NameRow*> rows() const {
        std::vector<NameRow*> found;
        for (QWidget* child : list->widget()->findChildren<QWidget*>()) {
            if (auto* row = dynamic_cast<NameRow*>(child); row && row->isVisibleTo(list->widget())) {
                found.push_back(row);
            }
        }
        std::ranges::sort(found, {}, [](const NameRow* row) { return row->y(); });
        return found;
    }

    /// What is in sight, from top to bottom.
    QStringList seen() const {
        QStringList found;
        for (const NameRow* row : rows()) {
            if (QRect(row->mapTo(list->viewport(), QPoint()), row->size())
                    .intersects(list->viewport()->rect())) {
                found << row->name();
            }
        }
        return found;
    }

    /// How far below the list's top edge a row is.
    int placeOf(const QString& name) const {
        for (const NameRow* row : rows()) {
            if (row->name() == name) {
                return row->mapTo(list->viewport(), QPoint()).y();
            }
        }
        return -1000;
    }

    QString focused() const {
        const auto* row = dynamic_cast<const NameRow*>(window.focusWidget());
        return row ? row->name() : QString();
    }

    QString hovered() const {
        QString found;
        for (const NameRow* row : rows()) {
            found += row->isHovered() ? row->name() : QString();
        }
        return found;
    }

    void scrollTo(int value) {
        list->verticalScrollBar()->setValue(value);
        settle();
    }

    int offset() const { return list->verticalScrollBar()->value(); }

    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(window.focusWidget(), key, modifiers);
        settle();
    }

    void pointAt(int y) {
        QTest::mouseMove(list->viewport(), {50, y});
        settle();
    }

    std::vector<QString> names;
    int made = 0;
    int bound = 0;
    QWidget window;
    RowList* list = nullptr;
    QWidget* other = nullptr;
};

TEST_F(RowListTest, OnlyRowsInSightAreWidgets) {
    fill(500);
    open();
    EXPECT_EQ(rows().size(), 10U);
    EXPECT_EQ(seen().front(), "0");
    EXPECT_EQ(seen().back(), "9");
    EXPECT_EQ(list->widget()->height(), 500 * rowHeight);
}

TEST_F(RowListTest, WidgetsAreUsedAgainAsItScrolls) {
    fill(500);
    open();
    for (int value = 0; value <= 490 * rowHeight; value += 137) {
        scrollTo(value);
        const int first = value / rowHeight;
        EXPECT_EQ(seen().front(), QString::number(first));
        EXPECT_EQ(seen().back(), QString::number(std::min((value + 199) / rowHeight, 499)));
        EXPECT_EQ(placeOf(QString::number(first)), first * rowHeight - value);
    }
    EXPECT_LE(made, 12);
}

TEST_F(RowListTest, ScrollingByARowBindsOne) {
    fill(500);
    open();
    bound = 0;
    scrollTo(rowHeight);
    EXPECT_EQ(bound, 1);
}

TEST_F(RowListTest, AnEmptyListHasNoRowsAndTakesKeysWithoutHarm) {
    open();
    EXPECT_TRUE(rows().empty());
    list->setCurrent(0);
    EXPECT_EQ(list->current(), std::nullopt);
    become({});
    become({"a"});
    EXPECT_EQ(seen(), QStringList{"a"});
    become({});
    EXPECT_TRUE(rows().empty());
}

TEST_F(RowListTest, TheKeysMoveTheCurrentRow) {
    fill(100);
    open();
    list->setCurrent(0);
    settle();
    struct Step {
        Qt::Key key;
        const char* name;
    };
    for (const Step step : {Step{Qt::Key_Up, "0"}, Step{Qt::Key_Down, "1"}, Step{Qt::Key_PageDown, "11"},
                            Step{Qt::Key_PageDown, "21"}, Step{Qt::Key_PageUp, "11"}, Step{Qt::Key_End, "99"},
                            Step{Qt::Key_Down, "99"}, Step{Qt::Key_PageDown, "99"}, Step{Qt::Key_Up, "98"},
                            Step{Qt::Key_Left, "98"}, Step{Qt::Key_Right, "98"}, Step{Qt::Key_Home, "0"},
                            Step{Qt::Key_PageUp, "0"}}) {
        SCOPED_TRACE(step.name);
        press(step.key);
        EXPECT_EQ(focused(), step.name);
        EXPECT_EQ(list->current(), QString(step.name).toInt());
        EXPECT_GE(placeOf(step.name), 0);
        EXPECT_LE(placeOf(step.name), 9 * rowHeight);
    }
}

TEST_F(RowListTest, MovingScrollsNoFurtherThanItMust) {
    fill(100);
    open();
    list->setCurrent(9);
    EXPECT_EQ(offset(), 0);
    list->setCurrent(10);
    EXPECT_EQ(offset(), rowHeight);
    list->setCurrent(1);
    EXPECT_EQ(offset(), rowHeight);
    list->setCurrent(-5);
    EXPECT_EQ(offset(), 0);
    list->setCurrent(1000);
    EXPECT_EQ(list->current(), 99);
}

TEST_F(RowListTest, UpOnTheFirstRowLeavesTheList) {
    fill(3);
    open();
    int left = 0;
    list->onLeave([&] { ++left; });
    list->setCurrent(1);
    press(Qt::Key_Up);
    EXPECT_EQ(left, 0);
    press(Qt::Key_Up);
    EXPECT_EQ(left, 1);
}

TEST_F(RowListTest, OtherKeysAreTheOwners) {
    fill(3);
    open();
    QString heard;
    list->onKey([&](QKeyEvent& key, int index) {
        heard += QString("%1:%2 ").arg(key.text()).arg(index);
        return true;
    });
    list->setCurrent(1);
    press(Qt::Key_X);
    press(Qt::Key_Down);
    press(Qt::Key_Y);
    EXPECT_EQ(heard, "x:1 y:2 ");
}

TEST_F(RowListTest, OnlyOneRowIsReachedWithTab) {
    fill(30);
    open();
    press(Qt::Key_Tab);
    EXPECT_EQ(focused(), "0");
    press(Qt::Key_Tab);
    EXPECT_EQ(window.focusWidget(), other);
    list->setCurrent(4);
    press(Qt::Key_Tab);
    EXPECT_EQ(window.focusWidget(), other);
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_EQ(focused(), "4");
}

TEST_F(RowListTest, WhereTabMovesItComesInAtItsEnd) {
    fill(4);
    open();
    list->setTabMoves(true);
    press(Qt::Key_Tab);
    press(Qt::Key_Tab);
    EXPECT_EQ(focused(), "1");
    press(Qt::Key_Tab);
    press(Qt::Key_Tab);
    EXPECT_EQ(focused(), "3");
    press(Qt::Key_Tab);
    EXPECT_EQ(window.focusWidget(), other);
    press(Qt::Key_Tab);
    EXPECT_EQ(focused(), "0");
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_EQ(window.focusWidget(), other);
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_EQ(focused(), "3");
}

TEST_F(RowListTest, TheCurrentRowStaysAWidgetOutOfSight) {
    fill(200);
    open();
    list->setCurrent(2);
    scrollTo(100 * rowHeight);
    EXPECT_EQ(rows().size(), 11U);
    EXPECT_EQ(focused(), "2");
    press(Qt::Key_Down);
    EXPECT_EQ(focused(), "3");
    EXPECT_EQ(seen().front(), "3");
}

TEST_F(RowListTest, AnArrivalOnTopLeavesTheKeyboardOnItsRow) {
    fill(50);
    open();
    list->setCurrent(3);
    QWidget* row = window.focusWidget();
    add("new");
    EXPECT_EQ(focused(), "3");
    EXPECT_EQ(window.focusWidget(), row);
    EXPECT_EQ(list->current(), 4);
    EXPECT_EQ(offset(), 0) << "at the top it stays at the top";
    EXPECT_EQ(seen().front(), "new");
}

TEST_F(RowListTest, TheKeyboardIsNotPushedOutOfSight) {
    fill(50);
    open();
    list->setCurrent(9);
    add("new");
    EXPECT_EQ(focused(), "9");
    EXPECT_EQ(placeOf("9"), 9 * rowHeight);
}

TEST_F(RowListTest, WhatIsLookedAtStaysInPlace) {
    fill(100);
    open();
    scrollTo(20 * rowHeight + 7);
    add("new");
    EXPECT_EQ(placeOf("20"), -7);
    EXPECT_EQ(seen().front(), "20");
    remove("new");
    EXPECT_EQ(placeOf("20"), -7);
    add("below", 60);
    EXPECT_EQ(placeOf("20"), -7);
    remove("25");
    EXPECT_EQ(placeOf("20"), -7);
    EXPECT_EQ(placeOf("26"), 5 * rowHeight - 7);
    remove("20");
    EXPECT_EQ(placeOf("21"), -7) << "the next row takes the place of the one that is gone";
}

TEST_F(RowListTest, ARowThatMovesTakesNothingAlong) {
    fill(100);
    open();
    scrollTo(20 * rowHeight);
    move("20", 0);
    EXPECT_EQ(placeOf("21"), rowHeight);
    EXPECT_EQ(offset(), 20 * rowHeight);
    pointAt(5 * rowHeight + 3);
    ASSERT_EQ(hovered(), "25");
    move("25", 0);
    EXPECT_EQ(offset(), 20 * rowHeight);
    EXPECT_EQ(placeOf("26"), 6 * rowHeight);
}

TEST_F(RowListTest, TheRowUnderThePointerStaysThere) {
    fill(100);
    open();
    pointAt(3 * rowHeight + 5);
    EXPECT_EQ(hovered(), "3");
    add("new");
    EXPECT_EQ(hovered(), "3");
    EXPECT_EQ(placeOf("3"), 3 * rowHeight);
    remove("3");
    EXPECT_EQ(hovered(), "4") << "the one that took its place";
    EXPECT_EQ(placeOf("4"), 3 * rowHeight);
}

TEST_F(RowListTest, ARowHasAttentionWhenItIsGivenTheKeyboard) {
    fill(5);
    open();
    list->setCurrent(1);
    settle();
    EXPECT_TRUE(rows().at(1)->hasAttention());
    EXPECT_FALSE(rows().at(0)->hasAttention());
    const int before = rows().at(1)->attentions;
    press(Qt::Key_Down);
    EXPECT_FALSE(rows().at(1)->hasAttention());
    EXPECT_EQ(rows().at(1)->attentions, before + 1);
    EXPECT_TRUE(rows().at(2)->hasAttention());
    other->setFocus();
    rows().at(2)->setFocus(Qt::ActiveWindowFocusReason);
    EXPECT_EQ(focused(), "2");
    EXPECT_FALSE(rows().at(2)->hasAttention()) << "it came with the window";
    QTest::mouseClick(rows().at(2), Qt::LeftButton);
    settle();
    EXPECT_TRUE(rows().at(2)->hasAttention()) << "now it was asked for";
}

TEST_F(RowListTest, TheHoverFollowsThePointerAsItScrolls) {
    fill(100);
    open();
    pointAt(3 * rowHeight + 5);
    EXPECT_EQ(hovered(), "3");
    scrollTo(10 * rowHeight);
    EXPECT_EQ(hovered(), "13");
    QTest::mouseMove(&window, {5, window.height() - 2});
    settle();
    EXPECT_EQ(hovered(), "");
}

TEST_F(RowListTest, ThePlaceOfACurrentRowThatIsGoneIsTakenByTheNext) {
    fill(5);
    open();
    list->setCurrent(2);
    remove("2");
    EXPECT_EQ(focused(), "3");
    EXPECT_EQ(list->current(), 2);
    become({"0", "1"});
    EXPECT_EQ(focused(), "1");
    become({"7", "8"});
    EXPECT_EQ(focused(), "8") << "all others: the keyboard stays in the list";
    int left = 0;
    list->onLeave([&] { ++left; });
    become({});
    EXPECT_EQ(left, 1);
    EXPECT_EQ(list->current(), std::nullopt);
}

TEST_F(RowListTest, WithoutTheKeyboardACurrentRowThatIsGoneIsForgotten) {
    fill(5);
    open();
    list->setCurrent(2);
    other->setFocus();
    remove("2");
    EXPECT_EQ(list->current(), std::nullopt);
    EXPECT_EQ(window.focusWidget(), other);
}

TEST_F(RowListTest, AChangeOfNothingRepaintsNothing) {
    fill(50);
    open();
    scrollTo(35);
    PaintCounter paints(window);
    become(names);
    EXPECT_EQ(paints.all(), 0);
}

TEST_F(RowListTest, AChangeOfOneRowRepaintsOnlyIt) {
    fill(50);
    open();
    NameRow* third = rows().at(2);
    PaintCounter paints(window);
    names.at(2) = "other";
    list->change([](int index) { return index; });
    settle();
    EXPECT_EQ(third->name(), "other");
    EXPECT_EQ(paints.paintsOf(third), 1);
    EXPECT_EQ(paints.paintsOf(rows().at(1)), 0);
    EXPECT_EQ(paints.paintsOf(rows().at(3)), 0);
}

TEST_F(RowListTest, FewerRowsThanBeforeShowFromTheTop) {
    fill(500);
    open();
    scrollTo(400 * rowHeight);
    become({"3", "300"});
    EXPECT_EQ(seen(), (QStringList{"3", "300"}));
    EXPECT_EQ(offset(), 0);
    EXPECT_EQ(rows().size(), 2U);
}

TEST_F(RowListTest, ChangesWhileHiddenShowWhenItIsSeenAgain) {
    fill(50);
    open();
    scrollTo(100);
    window.hide();
    become({"a", "b", "c"});
    window.show();
    settle();
    EXPECT_EQ(seen(), (QStringList{"a", "b", "c"}));
}

TEST_F(RowListTest, AHigherListShowsMoreRows) {
    fill(50);
    open();
    list->resize(200, 15 * rowHeight);
    settle();
    EXPECT_EQ(seen().size(), 15);
    EXPECT_EQ(rows().front()->width(), 200);
    list->resize(150, 5 * rowHeight);
    settle();
    EXPECT_EQ(seen().size(), 5);
    EXPECT_EQ(rows().front()->width(), 150);
}

TEST_F(RowListTest, ARandomWalkKeepsRowsAndWidgetsTogether) {
    fill(60);
    open();
    unsigned state = 7;
    const auto random = [&](int below) {
        state = state * 1103515245U + 12345U;
        return static_cast<int>((state >> 16) % static_cast<unsigned>(below));
    };
    for (int step = 0; step < 400; ++step) {
        SCOPED_TRACE(step);
        const int count = static_cast<int>(names.size());
        switch (random(6)) {
        case 0:
            add(QString("n%1").arg(step), random(count + 1));
            break;
        case 1:
            remove(count > 0 ? names.at(static_cast<std::size_t>(random(count))) : QString());
            break;
        case 2:
            if (count > 0) {
                move(names.at(static_cast<std::size_t>(random(count))), random(count));
            }
            break;
        case 3:
            scrollTo(random(count * rowHeight + 1));
            break;
        case 4:
            list->setCurrent(random(count + 1));
            break;
        default:
            pointAt(random(220));
            break;
        }
        const int now = static_cast<int>(names.size());
        const int last = std::min((offset() + list->viewport()->height() - 1) / rowHeight, now - 1);
        for (int index = offset() / rowHeight; index <= last; ++index) {
            ASSERT_NE(list->row(index), nullptr);
            ASSERT_EQ(static_cast<NameRow*>(list->row(index))->name(),
                      names.at(static_cast<std::size_t>(index)));
            ASSERT_EQ(list->row(index)->y(), index * rowHeight);
        }
        ASSERT_LE(rows().size(), 12U);
        if (list->current()) {
            ASSERT_LT(*list->current(), now);
        }
    }
    EXPECT_LE(made, 24);
}

TEST_F(RowListTest, IsAListToReaders) {
    fill(3);
    open();
    auto* spoken = QAccessible::queryAccessibleInterface(list->widget());
    EXPECT_EQ(spoken->role(), QAccessible::List);
    EXPECT_EQ(spoken->text(QAccessible::Name), "Names");
}

} // namespace
