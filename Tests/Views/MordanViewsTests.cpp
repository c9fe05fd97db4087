#include "Mordan/Mordan.hpp"
#include "Mordan/MordanTexts.hpp"
#include "Mordan/MordanViews.hpp"
#include "Platforms/Simulated/SimulatedHost.hpp"
#include "Platforms/Simulated/SimulatedSuite.hpp"
#include "Tests/Views/SpiceViewTest.hpp"
#include "Zorbel/Blend.hpp"
#include "Zorbel/DashboardView.hpp"
#include "ZorbelKit/Controls/LineText.hpp"
#include "ZorbelKit/Controls/SearchField.hpp"
#include "ZorbelKit/Controls/SymbolButton.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Stall.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QAccessible>
#include <QApplication>
#include <QDateTime>
#include <QLineEdit>
#include <QMouseEvent>
#include <QScrollBar>
#include <QTest>
#include <QTextDocument>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

namespace {

using namespace Mordan;
using namespace Views;
using ZorbelKit::LineText;
using ZorbelKit::Observable;
using ZorbelKit::RowList;
using ZorbelKit::SearchField;
using ZorbelKit::Seconds;
using ZorbelKit::SymbolButton;

constexpr QSize pageSize(635, 480);

/// The text of a row, as it would be read; none of it need fit.
QString lineOf(const WoundRow& row) {
    return part<LineText>(row).text();
}

/// The visible rows from top to bottom.
template <class Row = WoundRow>
std::vector<Row*> rowsIn(const QWidget& widget) {
    std::vector<Row*> rows = parts<Row>(widget);
    std::ranges::sort(rows, {}, [](const Row* row) { return row->y(); });
    return rows;
}

QStringList linesIn(const QWidget& widget) {
    QStringList lines;
    for (const WoundRow* row : rowsIn<WoundRow>(widget)) {
        lines << lineOf(*row);
    }
    return lines;
}

WoundRow& rowOf(const QWidget& widget, const QString& line) {
    for (WoundRow* row : rowsIn<WoundRow>(widget)) {
        if (lineOf(*row) == line) {
            return *row;
        }
    }
    throw std::runtime_error("no such row");
}

/// What a tool tip written as rich text looks like.
QString seen(const QString& toolTip) {
    QTextDocument document;
    document.setHtml(toolTip);
    return document.toPlainText();
}

QAccessibleInterface& spoken(QWidget& widget) {
    return *QAccessible::queryAccessibleInterface(&widget);
}

class MordanViewsTest : public SpiceViewTest {
protected:
    MordanViewsTest() {
        spice.setEnabled(true);
        spice.steep();
    }

    void pass() {
        host.loop.advance(Seconds{0.5});
        settle();
    }

    void copy(const std::string& text) {
        host.pasteboard.putText(text);
        pass();
    }

    void copyImage() {
        host.pasteboard.putPicture(ZorbelKit::PictureType::png);
        pass();
    }

    /// So many entries, "entry 1" the oldest.
    void copyMany(int count) {
        for (int number = 1; number <= count; ++number) {
            host.pasteboard.putText("entry " + std::to_string(number));
            host.loop.advance(Seconds{0.5});
        }
        settle();
    }

    /// What a working day leaves behind, newest last.
    void copyADay() {
        const auto from = [&](const char* program) {
            host.workspace.front = ZorbelKit::RunningApplication{.localizedName = program};
        };
        from("Text Editor");
        copy("Meet at the tea stall at four, bring the blue kettle and the good cups");
        from("GIMP");
        copy("#C4661A");
        from("Firefox");
        host.pasteboard.putLink("https://en.wikipedia.org/wiki/Masala_chai#Preparation");
        pass();
        from("Code");
        copy("const auto cups = std::ranges::count_if(stall, &Cup::isFull);");
        from("Files");
        host.pasteboard.putFiles({"/home/asha/Documents/Invoices/invoice-2026-03.pdf"});
        pass();
        copyImage();
        from("xterm");
        copy("git log --oneline --graph main..HEAD");
        from("Firefox");
        copy(
            "The word for tea came over land as cha and over sea as te, which is why the languages of Europe "
            "disagree about it to this day.");
        copy("asha.verma@example.org");
        from("GIMP");
        copy("#7a9a46");
        copy("#140f09");
        from("Text Editor");
        copy("Чай в четыре, у самовара");
        copy("תה בארבע");
        copy("SELECT name, price FROM leaves WHERE origin = 'Assam' ORDER BY price DESC");
        copy("+49 30 901820");
        from("Firefox");
        host.pasteboard.putLink("https://zorbel.example/changes");
        pass();
    }

    MordanPanel& openPanel(QSize size = pageSize) { return openPage(new MordanPanel(spice, &ground), size); }
    MordanMenuSection& openSection() {
        return SpiceViewTest::openSection(new MordanMenuSection(spice, &ground));
    }

    void type(const QString& text) {
        QTest::keyClicks(ground.focusWidget(), text);
        settle();
    }

    QLineEdit& field() { return part<QLineEdit>(ground); }
    QString currentLine() {
        auto* row = dynamic_cast<WoundRow*>(ground.focusWidget());
        return row ? lineOf(*row) : QString();
    }

    Simulated::SimulatedHost host;
    MordanSpice spice{host.loop, host.clock, host.pasteboard, host.workspace, host.language};
};

TEST_F(MordanViewsTest, EveryKindHasItsSymbol) {
    KindMark mark(&ground);
    struct Row {
        Wound::Kind kind;
        const char* symbol;
        const char* name;
    };
    for (const Row row :
         {Row{Wound::Kind::text, "text.alignleft", "Text"},
          Row{Wound::Kind::code, "chevron.left.forwardslash.chevron.right", "Code"},
          Row{Wound::Kind::url, "link", "Link"}, Row{Wound::Kind::colour, "paintpalette", "Colour"},
          Row{Wound::Kind::image, "photo", "Image"}, Row{Wound::Kind::file, "doc", "File"}}) {
        SCOPED_TRACE(row.name);
        mark.setKind(row.kind);
        EXPECT_EQ(mark.symbol(), row.symbol);
        EXPECT_EQ(mark.accessibleName(), row.name);
    }
}

TEST_F(MordanViewsTest, TheMarkOfARowFollowsWhatWasCopied) {
    copy("tea");
    copy("return cups;");
    host.pasteboard.putLink("https://zorbel.example");
    pass();
    copy("#C4661A");
    copyImage();
    host.pasteboard.putFiles({"/home/asha/notes.txt"});
    pass();
    QStringList symbols;
    for (const WoundRow* row : rowsIn(openPanel())) {
        symbols << part<KindMark>(*row).symbol();
    }
    EXPECT_EQ(symbols, (QStringList{"doc", "photo", "paintpalette", "link",
                                    "chevron.left.forwardslash.chevron.right", "text.alignleft"}));
}

TEST_F(MordanViewsTest, ARowHoldsMarkPreviewPinAndForgetFromLeftToRight) {
    copy("tea");
    WoundRow& row = *rowsIn(openPanel()).front();
    pointAt(row);
    const auto buttons = parts<SymbolButton>(row);
    ASSERT_EQ(buttons.size(), 2U);
    EXPECT_EQ(buttons[0]->symbol(), "pin.fill");
    EXPECT_EQ(buttons[0]->accessibleName(), "Pin");
    EXPECT_EQ(buttons[1]->symbol(), "xmark");
    EXPECT_EQ(buttons[1]->accessibleName(), "Forget");
    EXPECT_LT(part<KindMark>(row).geometry().right(), part<LineText>(row).x());
    EXPECT_LT(part<LineText>(row).geometry().right(), buttons[0]->x());
    EXPECT_LT(buttons[0]->geometry().right(), buttons[1]->x());
    EXPECT_LT(buttons[1]->geometry().right(), row.width());
    EXPECT_EQ(lineOf(row), "tea");
}

TEST_F(MordanViewsTest, ThePinButtonPinsAndUnpins) {
    copy("tea");
    copy("milk");
    MordanPanel& panel = openPanel();
    QTest::mouseClick(button(rowOf(panel, "tea"), "Pin"), Qt::LeftButton);
    settle();
    EXPECT_TRUE(spice.items().front().pinned);
    EXPECT_EQ(linesIn(panel), (QStringList{"tea", "milk"})) << "pinned entries are on top";
    auto* unpin = button(rowOf(panel, "tea"), "Unpin");
    ASSERT_NE(unpin, nullptr);
    QTest::mouseClick(unpin, Qt::LeftButton);
    settle();
    EXPECT_FALSE(spice.items().front().pinned);
    EXPECT_EQ(linesIn(panel), (QStringList{"milk", "tea"}));
}

TEST_F(MordanViewsTest, TheForgetButtonForgets) {
    copy("tea");
    copy("milk");
    MordanPanel& panel = openPanel();
    QTest::mouseClick(button(rowOf(panel, "milk"), "Forget"), Qt::LeftButton);
    settle();
    ASSERT_EQ(spice.items().size(), 1U);
    EXPECT_EQ(spice.items().front().preview, "tea");
    EXPECT_EQ(linesIn(panel), QStringList{"tea"});
}

TEST_F(MordanViewsTest, PinAndForgetShowUnderThePointerAndMoveNothing) {
    copy("tea");
    copy("milk");
    MordanPanel& panel = openPanel();
    WoundRow& row = *rowsIn(panel).at(1);
    const QRect place = part<LineText>(row).geometry();
    EXPECT_TRUE(parts<SymbolButton>(row).empty());
    pointAt(row);
    EXPECT_EQ(parts<SymbolButton>(row).size(), 2U);
    EXPECT_EQ(part<LineText>(row).geometry(), place);
    EXPECT_TRUE(parts<SymbolButton>(*rowsIn(panel).at(0)).empty());
    pointAt(*rowsIn(panel).at(0));
    EXPECT_TRUE(parts<SymbolButton>(row).empty());
    EXPECT_EQ(parts<SymbolButton>(*rowsIn(panel).at(0)).size(), 2U);
}

TEST_F(MordanViewsTest, PinAndForgetShowOnTheRowThatHasTheKeyboard) {
    copy("tea");
    copy("milk");
    MordanPanel& panel = openPanel();
    field().setFocus();
    press(Qt::Key_Down);
    EXPECT_EQ(parts<SymbolButton>(rowOf(panel, "milk")).size(), 2U);
    EXPECT_TRUE(parts<SymbolButton>(rowOf(panel, "tea")).empty());
    press(Qt::Key_Up);
    EXPECT_TRUE(parts<SymbolButton>(rowOf(panel, "milk")).empty());
}

TEST_F(MordanViewsTest, APinnedRowsPinStaysInTheSpicesAccent) {
    copy("tea");
    copy("milk");
    spice.togglePin(spice.items().front());
    MordanPanel& panel = openPanel();
    const auto buttons = parts<SymbolButton>(rowOf(panel, "tea"));
    ASSERT_EQ(buttons.size(), 1U);
    const QImage picture = buttons.front()->grab().toImage();
    bool hasAccent = false;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            hasAccent = hasAccent || picture.pixelColor(x, y) == ZorbelKit::qColor(spice.accent());
        }
    }
    EXPECT_TRUE(hasAccent);
}

TEST_F(MordanViewsTest, SearchesAsYouType) {
    copy("Green tea");
    copy("milk");
    copy("black TEA");
    MordanPanel& panel = openPanel();
    auto& search = part<SearchField>(panel);
    EXPECT_EQ(field().placeholderText(), "Search what you have copied");
    EXPECT_EQ(field().accessibleName(), "Search what you have copied");
    EXPECT_TRUE(showsText(panel, "3"));
    search.setFocus();
    type("t");
    EXPECT_EQ(spice.search(), "t");
    type("ea");
    EXPECT_EQ(spice.search(), "tea");
    EXPECT_EQ(linesIn(panel), (QStringList{"black TEA", "Green tea"}));
    EXPECT_TRUE(showsText(panel, "2 of 3"));
    EXPECT_LT(search.geometry().right(), parts<QLabel>(panel).front()->x())
        << "the count is beside the field";
    spice.setSearch("milk");
    settle();
    EXPECT_EQ(field().text(), "milk") << "and follows the model";
    QTest::mouseClick(button(search, "Clear"), Qt::LeftButton);
    settle();
    EXPECT_EQ(spice.search(), "");
    EXPECT_EQ(linesIn(panel).size(), 3);
}

TEST_F(MordanViewsTest, SaysWhenNothingIsHeld) {
    MordanPanel& panel = openPanel();
    EXPECT_TRUE(showsText(panel, "Nothing held yet."));
    EXPECT_TRUE(showsText(panel, "Anything you copy will be held here."));
    EXPECT_FALSE(showsText(panel, "Nothing here matches that."));
    spice.setSearch("tea");
    settle();
    EXPECT_TRUE(showsText(panel, "Nothing held yet.")) << "whatever is searched for";
    spice.setSearch("");
    copy("milk");
    EXPECT_FALSE(showsText(panel, "Nothing held yet."));
    EXPECT_EQ(linesIn(panel), QStringList{"milk"});
}

TEST_F(MordanViewsTest, SaysWhenTheSearchLeavesNothing) {
    copy("milk");
    MordanPanel& panel = openPanel();
    EXPECT_FALSE(showsText(panel, "Nothing here matches that."));
    field().setFocus();
    type("tea");
    EXPECT_TRUE(showsText(panel, "Nothing here matches that."));
    EXPECT_FALSE(showsText(panel, "Nothing held yet."));
    EXPECT_TRUE(linesIn(panel).isEmpty());
    EXPECT_TRUE(showsText(panel, "0 of 1"));
    press(Qt::Key_Escape);
    EXPECT_EQ(linesIn(panel), QStringList{"milk"});
}

TEST_F(MordanViewsTest, EscapeClearsTheSearchAndThenIsTheWindows) {
    struct Keys : QObject {
        bool eventFilter(QObject*, QEvent* event) override {
            escapes +=
                event->type() == QEvent::KeyPress && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape
                    ? 1
                    : 0;
            return false;
        }
        int escapes = 0;
    };
    copy("tea");
    openPanel();
    Keys window;
    ground.installEventFilter(&window);
    field().setFocus();
    type("x");
    press(Qt::Key_Escape);
    EXPECT_EQ(spice.search(), "");
    EXPECT_EQ(window.escapes, 0);
    press(Qt::Key_Escape);
    EXPECT_EQ(window.escapes, 1);
}

TEST_F(MordanViewsTest, TheWatchingHintStandsUnderTheSearchField) {
    copy("tea");
    MordanPanel& panel = openPanel();
    const auto without = visibleTexts(panel);
    host.pasteboard.hint = "Only what is copied in windows of the X server can be kept.";
    copy("milk");
    EXPECT_TRUE(showsText(panel, "Only what is copied in windows of the X server can be kept."));
    for (const QLabel* label : parts<QLabel>(panel)) {
        if (label->text().startsWith("Only")) {
            EXPECT_GT(label->mapTo(&panel, QPoint()).y(), part<SearchField>(panel).geometry().bottom());
            EXPECT_LT(label->mapTo(&panel, QPoint()).y(), part<RowList>(panel).mapTo(&panel, QPoint()).y());
        }
    }
    EXPECT_FALSE(without.contains(""));
}

TEST_F(MordanViewsTest, ColourEntriesShowTheirColourBeforeThePreview) {
    copy("tea");
    copy("  #C4661A\n");
    MordanPanel& panel = openPanel();
    WoundRow& row = rowOf(panel, "#C4661A");
    const auto swatches = parts<Swatch>(row);
    ASSERT_EQ(swatches.size(), 1U);
    const QImage picture = swatches.front()->grab().toImage();
    EXPECT_EQ(picture.pixelColor(6, 6), ZorbelKit::qColor(ZorbelKit::brass));
    EXPECT_NE(picture.pixelColor(6, 0), ZorbelKit::qColor(ZorbelKit::brass)) << "the rim";
    EXPECT_GT(swatches.front()->x(), part<KindMark>(row).geometry().right());
    EXPECT_LT(swatches.front()->geometry().right(), part<LineText>(row).x());
    EXPECT_EQ(part<KindMark>(row).symbol(), "paintpalette");
    EXPECT_TRUE(parts<Swatch>(rowOf(panel, "tea")).empty());
}

TEST_F(MordanViewsTest, APreviewIsOneLineThatIsElidedAtTheRight) {
    copy("one\n\ttwo\r\nthree");
    copy(std::string(380, 'x') + " end");
    MordanPanel& panel = openPanel();
    EXPECT_EQ(linesIn(panel).at(1), "one two three");
    const auto& line = part<LineText>(*rowsIn(panel).at(0));
    EXPECT_TRUE(line.shown().text.endsWith(QChar(0x2026)));
    EXPECT_TRUE(line.shown().text.startsWith("xxx"));
    EXPECT_LE(QFontMetricsF(line.font()).horizontalAdvance(line.shown().text), line.width());
    EXPECT_EQ(rowsIn(panel).at(0)->height(), WoundRow::rowHeight);
}

TEST_F(MordanViewsTest, TheMatchIsMarkedWhileSearching) {
    copy("Black Tea, please");
    MordanPanel& panel = openPanel();
    const auto& line = part<LineText>(*rowsIn(panel).at(0));
    EXPECT_FALSE(line.shown().marked);
    const QImage plain = rowsIn(panel).at(0)->grab().toImage();
    field().setFocus();
    type("tea");
    ASSERT_TRUE(line.shown().marked);
    EXPECT_EQ(line.shown().text.mid(line.shown().marked->begin, line.shown().marked->length), "Tea");
    EXPECT_NE(rowsIn(panel).at(0)->grab().toImage(), plain);
    press(Qt::Key_Escape);
    EXPECT_FALSE(line.shown().marked);
    EXPECT_EQ(rowsIn(panel).at(0)->grab().toImage(), plain);
}

TEST_F(MordanViewsTest, AMatchOutOfSightBringsItsPlaceIntoSight) {
    std::string text;
    for (int word = 0; word < 30; ++word) {
        text += "kettle ";
    }
    copy(text + "and then tea with milk");
    MordanPanel& panel = openPanel();
    const auto& line = part<LineText>(*rowsIn(panel).at(0));
    EXPECT_TRUE(line.shown().text.startsWith("kettle"));
    field().setFocus();
    type("tea");
    const auto& cut = line.shown();
    EXPECT_TRUE(cut.text.startsWith(QChar(0x2026)));
    ASSERT_TRUE(cut.marked);
    EXPECT_EQ(cut.text.mid(cut.marked->begin, cut.marked->length), "tea");
    EXPECT_LE(cut.marked->begin, 14) << "shortly before";
    EXPECT_LE(QFontMetricsF(line.font()).horizontalAdvance(cut.text), line.width());
    EXPECT_EQ(line.text(), QString::fromStdString(text + "and then tea with milk"));
}

TEST_F(MordanViewsTest, TheKeysMoveBetweenTheSearchFieldAndTheRows) {
    copyMany(40);
    openPanel();
    field().setFocus();
    press(Qt::Key_Down);
    EXPECT_EQ(currentLine(), "entry 40");
    struct Step {
        Qt::Key key;
        const char* line;
    };
    for (const Step step :
         {Step{Qt::Key_Down, "entry 39"}, Step{Qt::Key_Down, "entry 38"}, Step{Qt::Key_Up, "entry 39"},
          Step{Qt::Key_End, "entry 1"}, Step{Qt::Key_Down, "entry 1"}, Step{Qt::Key_Up, "entry 2"},
          Step{Qt::Key_Home, "entry 40"}, Step{Qt::Key_PageDown, "entry 29"},
          Step{Qt::Key_PageUp, "entry 40"}}) {
        SCOPED_TRACE(step.line);
        press(step.key);
        EXPECT_EQ(currentLine(), step.line);
        const auto* row = ground.focusWidget();
        EXPECT_TRUE(part<RowList>(ground).viewport()->rect().contains(
            QRect(row->mapTo(part<RowList>(ground).viewport(), QPoint()), row->size())));
    }
    press(Qt::Key_Up);
    EXPECT_EQ(ground.focusWidget(), &field());
}

TEST_F(MordanViewsTest, ControlPPinsTheRowThatHasTheKeyboard) {
    copyMany(3);
    openPanel();
    field().setFocus();
    press(Qt::Key_Down);
    press(Qt::Key_Down);
    press(Qt::Key_P, Qt::ControlModifier);
    EXPECT_EQ(linesIn(ground), (QStringList{"entry 2", "entry 3", "entry 1"}));
    EXPECT_TRUE(spice.items().at(1).pinned);
    EXPECT_EQ(currentLine(), "entry 2") << "the keyboard goes along";
    press(Qt::Key_P, Qt::ControlModifier);
    EXPECT_FALSE(spice.items().at(1).pinned);
    EXPECT_EQ(currentLine(), "entry 2");
}

TEST_F(MordanViewsTest, DeleteForgetsTheRowAndTheNextTakesItsPlace) {
    copyMany(4);
    openPanel();
    field().setFocus();
    press(Qt::Key_Down);
    press(Qt::Key_Down);
    press(Qt::Key_Backspace);
    EXPECT_EQ(spice.items().size(), 4U) << "Backspace forgets nothing";
    press(Qt::Key_Delete);
    EXPECT_EQ(linesIn(ground), (QStringList{"entry 4", "entry 2", "entry 1"}));
    EXPECT_EQ(currentLine(), "entry 2");
    press(Qt::Key_End);
    press(Qt::Key_Delete);
    EXPECT_EQ(currentLine(), "entry 2") << "the last one's place is taken by the one before";
    press(Qt::Key_Delete);
    press(Qt::Key_Delete);
    EXPECT_TRUE(spice.items().empty());
    EXPECT_EQ(ground.focusWidget(), &field());
}

TEST_F(MordanViewsTest, TypingOnARowGoesOnInTheSearchField) {
    copy("green tea");
    copy("milk");
    openPanel();
    field().setFocus();
    type("e");
    press(Qt::Key_Down);
    EXPECT_EQ(currentLine(), "green tea");
    type("e");
    EXPECT_EQ(ground.focusWidget(), &field());
    type("n t");
    EXPECT_EQ(spice.search(), "een t");
    press(Qt::Key_Down);
    press(Qt::Key_Space);
    EXPECT_EQ(spice.search(), "een t ") << "no row is pressed by it";
}

TEST_F(MordanViewsTest, NothingInThePanelPutsAnEntryBack) {
    copy("tea");
    copy("milk");
    MordanPanel& panel = openPanel();
    const auto before = host.pasteboard.changeCount();
    QTest::mouseClick(&rowOf(panel, "tea"), Qt::LeftButton);
    QMouseEvent doubleClick(QEvent::MouseButtonDblClick, QPointF(40, 10),
                            rowOf(panel, "tea").mapToGlobal(QPointF(40, 10)), Qt::LeftButton, Qt::LeftButton,
                            Qt::NoModifier);
    QApplication::sendEvent(&rowOf(panel, "tea"), &doubleClick);
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space}) {
        press(key);
    }
    EXPECT_EQ(host.pasteboard.changeCount(), before);
    EXPECT_EQ(host.pasteboard.content().text->view(), "milk");
}

TEST_F(MordanViewsTest, AToolTipShowsThePreviewAsTypedAndWhereItComesFrom) {
    const QTime time(14, 2);
    host.clock.set(
        ZorbelKit::TimePoint(std::chrono::milliseconds(QDateTime({2026, 3, 14}, time).toMSecsSinceEpoch())));
    host.workspace.front = ZorbelKit::RunningApplication{.localizedName = "xterm"};
    copy("a <b>bold</b> & <img src='file:///etc/passwd'>\n  second line");
    host.workspace.front.reset();
    copy("tea");
    MordanPanel& panel = openPanel();
    EXPECT_EQ(seen(rowsIn(panel).at(1)->toolTip()),
              "a <b>bold</b> & <img src='file:///etc/passwd'>\n  second line\nxterm, 14:02");
    EXPECT_EQ(seen(rowsIn(panel).at(0)->toolTip()), "tea\n14:02");
    EXPECT_EQ(rowsIn(panel).at(1)->accessibleDescription(), "xterm, 14:02");
}

TEST_F(MordanViewsTest, ALongPreviewIsWholeInItsToolTip) {
    copy(std::string(1000, 'x'));
    MordanPanel& panel = openPanel();
    const QString tip = seen(rowsIn(panel).at(0)->toolTip()).remove(QChar(0x200B));
    EXPECT_TRUE(tip.startsWith(QString(400, 'x') + '\n'));
}

TEST_F(MordanViewsTest, EverythingHasASpokenNameAndRole) {
    host.pasteboard.putLink("https://zorbel.example");
    pass();
    copy("tea");
    spice.togglePin(spice.items().front());
    MordanPanel& panel = openPanel();
    EXPECT_EQ(spoken(field()).role(), QAccessible::EditableText);
    EXPECT_EQ(spoken(field()).text(QAccessible::Name), "Search what you have copied");
    QWidget* list = rowsIn(panel).front()->parentWidget();
    EXPECT_EQ(spoken(*list).role(), QAccessible::List);
    EXPECT_FALSE(spoken(*list).text(QAccessible::Name).isEmpty());
    WoundRow& row = *rowsIn(panel).front();
    EXPECT_EQ(spoken(row).role(), QAccessible::ListItem);
    EXPECT_EQ(spoken(row).text(QAccessible::Name), "Link https://zorbel.example, pinned");
    EXPECT_EQ(spoken(*rowsIn(panel).at(1)).text(QAccessible::Name), "Text tea");
    EXPECT_EQ(spoken(part<KindMark>(row)).text(QAccessible::Name), "Link");
    for (auto* each : panel.findChildren<QAbstractButton*>()) {
        EXPECT_FALSE(spoken(*each).text(QAccessible::Name).isEmpty());
        if (dynamic_cast<SymbolButton*>(each)) {
            EXPECT_EQ(spoken(*each).role(), QAccessible::Button);
        }
    }
}

TEST_F(MordanViewsTest, HostilePreviewsStayInTheirRow) {
    copy(std::string("nul\0 bell\a escape\x1B[31m", 21));
    copy("\xE2\x80\xAE right to left \xD7\xA9\xD7\x9C\xD7\x95\xD7\x9D");
    std::string accents = "z";
    for (int accent = 0; accent < 3000; ++accent) {
        accents += "\xCC\x81";
    }
    copy(accents);
    copy(std::string(100'000, 'w'));
    copy("\xED\xA0\x80 broken \xFF");
    copy("<b>not bold</b>");
    MordanPanel& panel = openPanel();
    ASSERT_EQ(rowsIn(panel).size(), 6U);
    EXPECT_EQ(linesIn(panel).at(0), "<b>not bold</b>");
    for (WoundRow* row : rowsIn(panel)) {
        const auto& line = part<LineText>(*row);
        EXPECT_EQ(row->height(), WoundRow::rowHeight);
        EXPECT_LE(line.geometry().right(), row->width());
        for (const QChar letter : line.text()) {
            EXPECT_FALSE(letter.category() == QChar::Other_Control);
        }
        EXPECT_FALSE(row->grab().isNull());
    }
    for (const char* search : {"escape", "\xD7\xA9", "w", "z", "<b>", "broken"}) {
        SCOPED_TRACE(search);
        spice.setSearch(search);
        settle();
        ASSERT_GE(rowsIn(panel).size(), 1U);
        EXPECT_TRUE(part<LineText>(*rowsIn(panel).front()).marked());
        EXPECT_FALSE(rowsIn(panel).front()->grab().isNull());
    }
    savePicture(ground, "mordan-panel-hostile");
}

TEST_F(MordanViewsTest, FiveHundredEntriesAreAFewWidgets) {
    copyMany(500);
    MordanPanel& panel = openPanel();
    ASSERT_EQ(spice.items().size(), 500U);
    const auto countRows = [&] {
        int rows = 0;
        for (const auto* child : panel.findChildren<QWidget*>()) {
            rows += dynamic_cast<const WoundRow*>(child) ? 1 : 0;
        }
        return rows;
    };
    const int inSight = part<RowList>(panel).viewport()->height() / WoundRow::rowHeight + 2;
    EXPECT_LE(countRows(), inSight);
    auto* bar = part<RowList>(panel).verticalScrollBar();
    for (const int value : {1000, 9000, bar->maximum(), 0}) {
        bar->setValue(value);
        settle();
    }
    field().setFocus();
    type("49");
    EXPECT_TRUE(showsText(panel, "15 of 500"));
    EXPECT_LE(countRows(), inSight + 2) << "widgets are used again";
}

TEST_F(MordanViewsTest, AnArrivalLeavesTheKeyboardOnItsEntry) {
    copyMany(3);
    openPanel();
    field().setFocus();
    press(Qt::Key_Down);
    press(Qt::Key_Down);
    ASSERT_EQ(currentLine(), "entry 2");
    copy("new");
    EXPECT_EQ(linesIn(ground).front(), "new");
    EXPECT_EQ(currentLine(), "entry 2");
    press(Qt::Key_Delete);
    EXPECT_EQ(linesIn(ground), (QStringList{"new", "entry 3", "entry 1"}));
}

TEST_F(MordanViewsTest, AnArrivalLeavesThePointerOnItsEntry) {
    copyMany(40);
    MordanPanel& panel = openPanel();
    pointAt(rowOf(panel, "entry 38"));
    const int y = rowOf(panel, "entry 38").mapTo(&panel, QPoint()).y();
    copy("new");
    EXPECT_EQ(rowOf(panel, "entry 38").mapTo(&panel, QPoint()).y(), y);
    EXPECT_TRUE(rowOf(panel, "entry 38").isHovered());
    EXPECT_EQ(part<RowList>(panel).verticalScrollBar()->value(), WoundRow::rowHeight);
}

TEST_F(MordanViewsTest, AnEqualRefreshRepaintsNothing) {
    copyADay();
    MordanPanel& panel = openPanel();
    PaintCounter paints(panel);
    spice.setCapacity(77);
    settle();
    EXPECT_EQ(paints.all(), 0);
}

TEST_F(MordanViewsTest, AChangeOfOneEntryRepaintsOnlyItsRow) {
    copyMany(5);
    MordanPanel& panel = openPanel();
    WoundRow& newest = *rowsIn(panel).front();
    PaintCounter paints(panel);
    spice.togglePin(spice.items().back()); // already on top: it stays where it is
    settle();
    EXPECT_GE(paints.paintsOf(button(newest, "Unpin")), 1);
    for (const WoundRow* row : rowsIn(panel)) {
        if (row != &newest) {
            EXPECT_EQ(paints.paintsOf(row), 0);
            EXPECT_EQ(paints.paintsOf(&part<LineText>(*row)), 0);
        }
    }
    EXPECT_EQ(paints.paintsOf(&field()), 0);
}

TEST_F(MordanViewsTest, AHiddenPanelListensToNothing) {
    const int before = Observable::liveObserversForTesting();
    MordanPanel& panel = openPanel();
    EXPECT_EQ(Observable::liveObserversForTesting(), before + 1);
    ground.hide();
    EXPECT_EQ(Observable::liveObserversForTesting(), before);
    copy("tea");
    ground.show();
    settle();
    EXPECT_EQ(linesIn(panel), QStringList{"tea"}) << "it catches up when it is seen again";
}

TEST_F(MordanViewsTest, NothingBreaksWhenTheSpiceIsTurnedOff) {
    copyMany(30);
    spice.togglePin(spice.items().at(4));
    MordanPanel& panel = openPanel();
    MordanMenuSection section(spice, nullptr);
    show(section, {sectionWidth, 200});
    ground.activateWindow();
    field().setFocus();
    press(Qt::Key_Down);
    press(Qt::Key_End);
    spice.rest();
    spice.setEnabled(false);
    settle();
    EXPECT_EQ(linesIn(panel), QStringList{"entry 5"});
    EXPECT_EQ(linesIn(section), QStringList{"entry 5"});
    EXPECT_EQ(currentLine(), "entry 5");
}

TEST_F(MordanViewsTest, TheMenuSectionListsTheFirstSix) {
    copyMany(9);
    spice.togglePin(spice.items().front());
    MordanMenuSection& section = openSection();
    EXPECT_EQ(linesIn(section),
              (QStringList{"entry 1", "entry 9", "entry 8", "entry 7", "entry 6", "entry 5"}));
    copy("new");
    EXPECT_EQ(linesIn(section), (QStringList{"entry 1", "new", "entry 9", "entry 8", "entry 7", "entry 6"}));
    spice.forget(spice.items().back());
    settle();
    EXPECT_EQ(linesIn(section).size(), 6);
    EXPECT_EQ(section.sizeHint().height(), 6 * CompactRow::rowHeight);
}

TEST_F(MordanViewsTest, AnEmptyMenuSectionSaysSo) {
    MordanMenuSection& section = openSection();
    EXPECT_EQ(visibleTexts(section), QStringList{"Nothing held yet."});
    copy("tea");
    EXPECT_EQ(linesIn(section), QStringList{"tea"});
    EXPECT_FALSE(showsText(section, "Nothing held yet."));
}

TEST_F(MordanViewsTest, AClickInTheMenuSectionPutsTheEntryBack) {
    copy("tea\nwith milk");
    copy("milk");
    MordanMenuSection& section = openSection();
    QTest::mouseClick(&rowOf(section, "tea with milk"), Qt::LeftButton);
    EXPECT_EQ(host.pasteboard.content().text->view(), "tea\nwith milk") << "whole, not as listed";
    pass();
    EXPECT_EQ(spice.items().size(), 2U);
}

TEST_F(MordanViewsTest, ACheckMarkSaysForAMomentThatItWasPutBack) {
    copy("tea");
    copy("milk");
    MordanMenuSection& section = openSection();
    CompactRow& row = *rowsIn<CompactRow>(section).at(1);
    auto& mark = part<KindMark>(row);
    QTest::mouseClick(&row, Qt::LeftButton);
    EXPECT_EQ(mark.symbol(), "checkmark");
    EXPECT_EQ(part<KindMark>(*rowsIn<CompactRow>(section).at(0)).symbol(), "text.alignleft");
    copy("new");
    EXPECT_EQ(part<KindMark>(rowOf(section, "tea")).symbol(), "checkmark") << "the sign goes with its entry";
    EXPECT_TRUE(QTest::qWaitFor([&] { return mark.symbol() == "text.alignleft"; }, 5000));
    settle();
    PaintCounter paints(section);
    settle();
    EXPECT_EQ(paints.all(), 0);
}

TEST_F(MordanViewsTest, AnImageInTheMenuSectionCannotBePutBack) {
    copy("tea");
    copyImage();
    MordanMenuSection& section = openSection();
    CompactRow& image = *rowsIn<CompactRow>(section).front();
    const auto before = host.pasteboard.changeCount();
    const auto fill = [](CompactRow& row) { return row.grab().toImage().pixelColor(150, 2); };
    CompactRow& tea = *rowsIn<CompactRow>(section).at(1);
    const QColor plain = fill(image);
    pointAt(tea);
    EXPECT_NE(fill(tea), plain);
    pointAt(image);
    EXPECT_EQ(fill(image), plain) << "nothing lights up";
    EXPECT_EQ(parts<SymbolButton>(image).size(), 2U);
    QTest::mouseClick(&image, Qt::LeftButton);
    press(Qt::Key_Return);
    press(Qt::Key_Space);
    EXPECT_EQ(host.pasteboard.changeCount(), before);
    EXPECT_EQ(part<KindMark>(image).symbol(), "photo");
    EXPECT_TRUE(spoken(image).state().disabled);
    EXPECT_FALSE(
        spoken(image).actionInterface()->actionNames().contains(QAccessibleActionInterface::pressAction()));
    EXPECT_FALSE(spoken(rowOf(section, "tea")).state().disabled);
    QTest::mouseClick(button(image, "Forget"), Qt::LeftButton);
    settle();
    EXPECT_EQ(linesIn(section), QStringList{"tea"}) << "it can be forgotten all the same";
    EXPECT_FALSE(spoken(*rowsIn<CompactRow>(section).front()).state().disabled);
}

TEST_F(MordanViewsTest, TheMenuSectionWorksByTheKeyboard) {
    copyMany(3);
    MordanMenuSection& section = openSection();
    QWidget after(&ground);
    after.setFocusPolicy(Qt::StrongFocus);
    after.show();
    after.setFocus();
    press(Qt::Key_Tab);
    EXPECT_EQ(currentLine(), "entry 3");
    press(Qt::Key_Tab);
    EXPECT_EQ(currentLine(), "entry 2");
    press(Qt::Key_Down);
    EXPECT_EQ(currentLine(), "entry 1");
    press(Qt::Key_Up);
    EXPECT_EQ(currentLine(), "entry 2");
    press(Qt::Key_Return);
    EXPECT_EQ(host.pasteboard.content().text->view(), "entry 2");
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_EQ(currentLine(), "entry 3");
    press(Qt::Key_Space);
    EXPECT_EQ(host.pasteboard.content().text->view(), "entry 3");
    press(Qt::Key_End);
    press(Qt::Key_P, Qt::ControlModifier);
    EXPECT_TRUE(spice.items().front().pinned);
    EXPECT_EQ(linesIn(section).front(), "entry 1");
    EXPECT_EQ(currentLine(), "entry 1");
    press(Qt::Key_Delete);
    EXPECT_EQ(linesIn(section), (QStringList{"entry 3", "entry 2"}));
    EXPECT_EQ(currentLine(), "entry 3");
    press(Qt::Key_Tab);
    press(Qt::Key_Tab);
    EXPECT_EQ(ground.focusWidget(), &after) << "past the last row Tab goes on";
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_EQ(currentLine(), "entry 2");
}

TEST_F(MordanViewsTest, ARowThatGotTheKeyboardUnaskedNeitherShowsItNorForgets) {
    copyMany(3);
    MordanMenuSection& section = openSection();
    ASSERT_EQ(currentLine(), "entry 3") << "the first control of the window";
    EXPECT_TRUE(parts<SymbolButton>(section).empty());
    press(Qt::Key_Delete);
    press(Qt::Key_P, Qt::ControlModifier);
    EXPECT_EQ(linesIn(section), (QStringList{"entry 3", "entry 2", "entry 1"}));
    EXPECT_FALSE(spice.items().back().pinned);
    press(Qt::Key_Down);
    EXPECT_EQ(parts<SymbolButton>(section).size(), 2U);
    press(Qt::Key_Delete);
    EXPECT_EQ(linesIn(section), (QStringList{"entry 3", "entry 1"}));
}

TEST_F(MordanViewsTest, AScreenReaderPressesARowOfTheMenuSection) {
    copy("tea");
    copy("milk");
    MordanMenuSection& section = openSection();
    auto* actions = spoken(rowOf(section, "tea")).actionInterface();
    ASSERT_TRUE(actions->actionNames().contains(QAccessibleActionInterface::pressAction()));
    actions->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(host.pasteboard.content().text->view(), "tea");
}

TEST_F(MordanViewsTest, AHiddenMenuSectionListensToNothing) {
    const int before = Observable::liveObserversForTesting();
    openSection();
    EXPECT_EQ(Observable::liveObserversForTesting(), before + 1);
    ground.hide();
    EXPECT_EQ(Observable::liveObserversForTesting(), before);
}

class MordanInTheDashboard : public ::testing::Test {
protected:
    MordanInTheDashboard()
        : stall(Zorbel::Blend::build(suite.host())) {
        stall->setSelection("mordan");
        dashboard.reset(Zorbel::dashboardView(*stall, suite.loop).build(nullptr));
    }

    void copyMany(int count) {
        for (int number = 1; number <= count; ++number) {
            suite.pasteboard.putText("entry " + std::to_string(number));
            suite.loop.advance(Seconds{0.5});
        }
        settle();
    }

    Simulated::SimulatedSuite suite;
    std::unique_ptr<ZorbelKit::Stall> stall;
    std::unique_ptr<QWidget> dashboard;
};

TEST_F(MordanInTheDashboard, ThePageFillsThePaneAndOnlyItsListScrolls) {
    for (const QSize size : {QSize(960, 640), QSize(840, 560), QSize(1200, 900)}) {
        SCOPED_TRACE(size.height());
        show(*dashboard, size);
        copyMany(60);
        const auto& panel = part<MordanPanel>(*dashboard);
        EXPECT_EQ(panel.mapTo(dashboard.get(), QPoint(0, panel.height())).y(), size.height() - 24);
        EXPECT_GT(part<RowList>(panel).verticalScrollBar()->maximum(), 0);
        for (auto* scroll : parts<QScrollArea>(*dashboard)) {
            if (scroll->isAncestorOf(&panel)) {
                EXPECT_EQ(scroll->verticalScrollBar()->maximum(), 0);
            }
        }
    }
}

TEST_F(MordanInTheDashboard, AWindowTooLowForItScrollsThePage) {
    show(*dashboard, {960, 260});
    const auto& panel = part<MordanPanel>(*dashboard);
    EXPECT_EQ(panel.height(), 220);
    for (auto* scroll : parts<QScrollArea>(*dashboard)) {
        if (scroll->isAncestorOf(&panel)) {
            EXPECT_GT(scroll->verticalScrollBar()->maximum(), 0);
        }
    }
}

TEST_F(MordanInTheDashboard, TurnedOffAndOnAgainItFillsThePaneAgain) {
    show(*dashboard, {960, 640});
    copyMany(3);
    stall->setEnabled(false, *stall->spice("mordan"));
    settle();
    EXPECT_TRUE(showsText(*dashboard, "Mordan is not in the cup."));
    stall->setEnabled(true, *stall->spice("mordan"));
    settle();
    const auto& panel = part<MordanPanel>(*dashboard);
    EXPECT_EQ(panel.mapTo(dashboard.get(), QPoint(0, panel.height())).y(), 640 - 24);
    EXPECT_TRUE(showsText(panel, "Nothing held yet."));
}

TEST_F(MordanInTheDashboard, Picture) {
    show(*dashboard, {960, 640});
    copyMany(20);
    savePicture(*dashboard, "dashboard-mordan");
    dashboard->resize(840, 560);
    settle();
    savePicture(*dashboard, "dashboard-mordan-smallest");
    EXPECT_LE(part<MordanPanel>(*dashboard).width(), 840 - 268 - 56);
}

TEST_F(MordanViewsTest, Pictures) {
    copyADay();
    spice.togglePin(spice.items().at(2));
    spice.togglePin(spice.items().at(0));
    MordanPanel& panel = openPanel();
    savePicture(ground, "mordan-panel");
    pointAt(*rowsIn(panel).at(5));
    savePicture(ground, "mordan-panel-hover");
    pointAt(*button(*rowsIn(panel).at(5), "Forget"));
    press(Qt::Key_Down);
    press(Qt::Key_Down);
    press(Qt::Key_Down);
    savePicture(ground, "mordan-panel-keyboard");
    spice.setSearch("or");
    settle();
    savePicture(ground, "mordan-panel-search");
    spice.setSearch("languages");
    host.pasteboard.hint = "On Wayland only what is copied in this program's own windows can be seen.";
    spice.setCapacity(499);
    settle();
    savePicture(ground, "mordan-panel-search-far");
    host.pasteboard.hint.clear();
    spice.setSearch("coffee");
    settle();
    savePicture(ground, "mordan-panel-no-match");
    EXPECT_TRUE(showsText(panel, "Nothing here matches that."));
    spice.setSearch("");
    for (const Wound& wound : std::vector(spice.items())) {
        spice.forget(wound);
    }
    settle();
    savePicture(ground, "mordan-panel-empty");
}

TEST_F(MordanViewsTest, PicturesOfTheMenuSection) {
    copyADay();
    spice.togglePin(spice.items().at(2));
    spice.forget(spice.items().at(14));
    spice.forget(spice.items().at(13));
    spice.forget(spice.items().at(12));
    spice.forget(spice.items().at(11));
    copyImage();
    MordanMenuSection& section = openSection();
    savePicture(ground, "mordan-menu");
    pointAt(*rowsIn<CompactRow>(section).at(3));
    savePicture(ground, "mordan-menu-hover");
    pointAt(ground, {1, 1});
    rowsIn<CompactRow>(section).at(0)->setFocus(Qt::TabFocusReason);
    press(Qt::Key_Down);
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    savePicture(ground, "mordan-menu-keyboard");
    for (const Wound& wound : std::vector(spice.items())) {
        spice.forget(wound);
    }
    settle();
    fitSection();
    savePicture(ground, "mordan-menu-empty");
    EXPECT_EQ(visibleTexts(section), QStringList{"Nothing held yet."});
}

} // namespace
