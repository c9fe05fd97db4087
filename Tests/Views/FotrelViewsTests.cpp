#include "Fotrel/CaptureViews.hpp"
#include "Fotrel/Fotrel.hpp"
#include "Fotrel/FotrelViews.hpp"
#include "Platforms/Qt/QtPictures.hpp"
#include "Platforms/Simulated/SimulatedHost.hpp"
#include "Platforms/Simulated/SimulatedSuite.hpp"
#include "Tests/Fotrel/FotrelServices.hpp"
#include "Tests/Views/SpiceViewTest.hpp"
#include "Zorbel/Blend.hpp"
#include "Zorbel/DashboardView.hpp"
#include "ZorbelKit/Controls/Glide.hpp"
#include "ZorbelKit/Controls/Reading.hpp"
#include "ZorbelKit/Controls/SteepDot.hpp"
#include "ZorbelKit/Controls/Symbol.hpp"
#include "ZorbelKit/Controls/SymbolButton.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Stall.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QAccessible>
#include <QApplication>
#include <QElapsedTimer>
#include <QPainter>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>
#include <QTextDocumentFragment>
#include <QTextEdit>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace Fotrel;
using namespace Views;
using ZorbelKit::Observable;
using ZorbelKit::Picture;
using ZorbelKit::Reading;
using ZorbelKit::Seconds;
using ZorbelKit::SteepDot;
using ZorbelKit::Symbol;
using ZorbelKit::SymbolButton;

constexpr const char* emptyTitle = "Anything you capture will appear here.";
constexpr const char* emptyText = "Fotrel reads the words out of every shot, so you can copy the text as "
                                  "well as the picture.";

/// A screen with a bar, a side bar and a page of lines.
Picture pictureOfScreen(int width, int height, QColor ground, QColor ink) {
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(ground);
    QPainter painter(&image);
    painter.fillRect(0, 0, width, height / 24, ink);
    painter.fillRect(0, height / 24, width / 5, height, ground.lighter(160).darker(115));
    for (int line = 0; line < 14; ++line) {
        painter.fillRect(width / 4, height / 8 + line * height / 18, width / 2 - (line * 37) % (width / 5),
                         height / 60 + 1, ink);
    }
    return QtPlatform::QtPictures::picture(image);
}

Picture plainPicture(int width, int height, Qt::GlobalColor colour) {
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(colour);
    return QtPlatform::QtPictures::picture(image);
}

/// A text of so many lines, "line 1" the first.
std::string linesOf(int count) {
    std::string text;
    for (int line = 1; line <= count; ++line) {
        text += (line > 1 ? "\nline " : "line ") + std::to_string(line);
    }
    return text;
}

/// From top to bottom.
std::vector<CaptureRow*> rowsIn(const QWidget& widget) {
    std::vector<CaptureRow*> rows = parts<CaptureRow>(widget);
    std::ranges::sort(rows, {}, [](const CaptureRow* row) { return row->y(); });
    return rows;
}

std::vector<int> widthsIn(const QWidget& widget) {
    std::vector<int> widths;
    for (const CaptureRow* row : rowsIn(widget)) {
        widths.push_back(row->capture().image.width());
    }
    return widths;
}

QString statusOf(const CaptureRow& row) {
    return visibleTexts(row).value(0);
}

QAccessibleInterface& spoken(QWidget& widget) {
    return *QAccessible::queryAccessibleInterface(&widget);
}

class FotrelViewsTest : public SpiceViewTest {
protected:
    FotrelViewsTest() {
        spice.setEnabled(true);
        spice.steep();
    }

    FotrelPanel& openPanel(int width = pageWidth) { return openPage(new FotrelPanel(spice, &ground), width); }
    FotrelMenuSection& openSection() {
        return SpiceViewTest::openSection(new FotrelMenuSection(spice, &ground));
    }

    void load(const Picture& picture) {
        spice.load(picture);
        settle();
    }
    void load(int width) { load(plainPicture(width, 10, Qt::gray)); }
    void loadMany(int count) {
        for (int width = 1; width <= count; ++width) {
            load(width);
        }
    }

    /// What was captured last is read to its end.
    void finishReading(const Fotrel::TextRecogniser::Lines& lines) { finishReadingOf(captured() - 1, lines); }
    void finishReadingOf(std::size_t capture, const Fotrel::TextRecogniser::Lines& lines) {
        host.textRecogniser.readings.at(capture + 1).done(lines); // past the one that warms it up
        host.loop.settle();
        settle();
    }
    std::size_t captured() const { return host.textRecogniser.readings.size() - 1; }

    void loadRead(const Picture& picture, const Fotrel::TextRecogniser::Lines& lines) {
        load(picture);
        finishReading(lines);
    }
    void loadWithText(const std::string& text, int width = 10) {
        loadRead(plainPicture(width, 10, Qt::gray), std::vector{text});
    }

    void refuse(const std::string& why) {
        host.processes.refusal = why;
        spice.captureRegion();
        host.processes.refusal.reset();
        settle();
    }

    /// Presses a button of a row by its name.
    static void press(const QWidget& row, const QString& name) {
        QTest::mouseClick(button(row, name), Qt::LeftButton);
        settle();
    }
    using SpiceViewTest::press;

    std::vector<std::string> runs() const {
        std::vector<std::string> kinds;
        for (const auto& run : host.processes.started) {
            kinds.push_back(run.arguments.front());
        }
        return kinds;
    }

    /// The spoken names of what Tab leads to, from the first control on.
    QStringList tabbed(int count) {
        QStringList names;
        for (int step = 0; step < count; ++step) {
            press(Qt::Key_Tab);
            names << focused();
        }
        return names;
    }

    Simulated::SimulatedHost host;
    FotrelSpice spice{fotrelServices(host)};
};

TEST_F(FotrelViewsTest, TheSpiceHandsOutItsViews) {
    const std::unique_ptr<QWidget> page(spice.dashboard().build(nullptr));
    const std::unique_ptr<QWidget> section(spice.menuSection().build(nullptr));
    EXPECT_TRUE(dynamic_cast<FotrelPanel*>(page.get()));
    EXPECT_TRUE(dynamic_cast<FotrelMenuSection*>(section.get()));
}

TEST_F(FotrelViewsTest, ThePageHasThreeWaysToCapture) {
    FotrelPanel& panel = openPanel();
    const auto buttons = parts<CaptureButton>(panel);
    ASSERT_EQ(buttons.size(), 3U);
    const struct {
        const char* title;
        const char* symbol;
        const char* run;
    } rows[] = {{"Region", "viewfinder", "--region"},
                {"Window", "macwindow", "--window"},
                {"Whole screen", "display", "--screen"}};
    for (std::size_t index = 0; index < 3; ++index) {
        SCOPED_TRACE(rows[index].title);
        EXPECT_EQ(buttons[index]->face().title, rows[index].title);
        EXPECT_EQ(buttons[index]->face().symbol, rows[index].symbol);
        EXPECT_EQ(buttons[index]->face().accent, ZorbelKit::spiceColour("fotrel"));
        EXPECT_EQ(buttons[index]->accessibleName(), rows[index].title);
        QTest::mouseClick(buttons[index], Qt::LeftButton);
        EXPECT_EQ(runs().back(), rows[index].run);
    }
    EXPECT_EQ(runs().size(), 3U);
    EXPECT_LT(buttons[0]->x(), buttons[1]->x());
    EXPECT_LT(buttons[1]->x(), buttons[2]->x());
    EXPECT_EQ(buttons[0]->y(), buttons[2]->y());
}

TEST_F(FotrelViewsTest, ACaptureButtonLightsUpUnderThePointer) {
    FotrelPanel& panel = openPanel();
    auto& region = part<CaptureButton>(panel);
    const QImage plain = region.grab().toImage();
    EXPECT_FALSE(region.isHovered());
    pointAt(region);
    EXPECT_TRUE(region.isHovered());
    EXPECT_NE(region.grab().toImage(), plain);
    pointAt(panel, {1, panel.height() - 1});
    EXPECT_FALSE(region.isHovered());
    EXPECT_EQ(region.grab().toImage(), plain);
}

TEST_F(FotrelViewsTest, EverySymbolIsThere) {
    QImage nothing(48, 48, QImage::Format_ARGB32_Premultiplied);
    nothing.fill(Qt::transparent);
    for (const char* name : {"viewfinder", "macwindow", "display", "photo", "text.alignleft", "checkmark"}) {
        QImage image = nothing;
        QPainter painter(&image);
        ZorbelKit::paintSymbol(painter, name, {24, 24}, 48, ZorbelKit::malai);
        painter.end();
        EXPECT_NE(image, nothing) << name;
    }
}

TEST_F(FotrelViewsTest, WithoutCapturesThePageSaysWhatWillBeHere) {
    FotrelPanel& panel = openPanel();
    EXPECT_EQ(visibleTexts(panel), (QStringList{emptyTitle, emptyText}));
    loadMany(1);
    EXPECT_FALSE(showsText(panel, emptyTitle));
    EXPECT_FALSE(showsText(panel, emptyText));
    spice.forget(spice.captures().front());
    settle();
    EXPECT_EQ(visibleTexts(panel), (QStringList{emptyTitle, emptyText}));
}

TEST_F(FotrelViewsTest, TheErrorStandsAboveTheCaptures) {
    FotrelPanel& panel = openPanel();
    EXPECT_TRUE(parts<TextBox>(panel).empty());
    refuse("“maim” could not be found.");
    auto& box = part<TextBox>(panel);
    EXPECT_EQ(box.edit().toPlainText(), "Could not start screencapture. “maim” could not be found.");
    EXPECT_EQ(box.edit().accessibleName(), box.edit().toPlainText());
    loadMany(1);
    EXPECT_LT(box.mapTo(&panel, QPoint()).y(), rowsIn(panel).front()->mapTo(&panel, QPoint()).y());
    EXPECT_GT(box.mapTo(&panel, QPoint()).y(), part<CaptureButton>(panel).mapTo(&panel, QPoint()).y());
    refuse("Another reason.");
    EXPECT_EQ(box.edit().toPlainText(), "Could not start screencapture. Another reason.");
    spice.rest();
    settle();
    EXPECT_TRUE(parts<TextBox>(panel).empty());
}

TEST_F(FotrelViewsTest, ALongErrorWrapsAndCanBeSelected) {
    openPanel(narrowWidth);
    refuse(std::string(40, 'x') + " <b>is</b> no " + std::string(300, 'y'));
    fitPage(narrowWidth);
    auto& box = part<TextBox>(ground);
    EXPECT_GT(box.height(), 60);
    EXPECT_EQ(box.edit().verticalScrollBar()->maximum(), 0);
    EXPECT_EQ(box.edit().horizontalScrollBar()->maximum(), 0);
    box.edit().setFocus();
    QTest::keyClick(&box.edit(), Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(box.edit().textCursor().selectedText(), box.edit().toPlainText());
    EXPECT_TRUE(box.edit().toPlainText().contains("<b>is</b>")) << "marks are text";
    QTest::keyClick(&box.edit(), Qt::Key_Delete);
    QTest::keyClicks(&box.edit(), "x");
    EXPECT_EQ(box.edit().toPlainText().toStdString(), spice.lastError().value()) << "only read";
    refuse(std::string(20'000, 'z'));
    fitPage(narrowWidth);
    EXPECT_LE(box.height(), TextBox::mostHeight);
}

TEST_F(FotrelViewsTest, OneRowACaptureNewestFirst) {
    loadMany(3);
    FotrelPanel& panel = openPanel();
    EXPECT_EQ(widthsIn(panel), (std::vector<int>{3, 2, 1}));
    load(4);
    EXPECT_EQ(widthsIn(panel), (std::vector<int>{4, 3, 2, 1}));
    spice.forget(spice.captures()[1]);
    settle();
    EXPECT_EQ(widthsIn(panel), (std::vector<int>{4, 2, 1}));
    loadMany(30);
    fitPage();
    EXPECT_EQ(rowsIn(panel).size(), 20U);
    EXPECT_EQ(widthsIn(panel).front(), 30);
}

TEST_F(FotrelViewsTest, ReadersHearOfTheNewestFirst) {
    loadMany(2);
    FotrelPanel& panel = openPanel();
    loadMany(2);
    QAccessibleInterface& list = spoken(*named(panel, "Captures"));
    EXPECT_EQ(list.role(), QAccessible::List);
    ASSERT_EQ(list.childCount(), 4);
    const auto rows = rowsIn(panel);
    for (int index = 0; index < 4; ++index) {
        EXPECT_EQ(list.child(index)->object(), rows[static_cast<std::size_t>(index)]) << index;
    }
}

TEST_F(FotrelViewsTest, TheStatusLineSaysHowFarReadingIs) {
    load(1);
    FotrelPanel& panel = openPanel();
    CaptureRow& row = *rowsIn(panel).front();
    EXPECT_EQ(statusOf(row), "Reading the text");
    for (const QString& text : visibleTexts(row)) {
        EXPECT_FALSE(text.contains("lines"));
    }
    EXPECT_EQ(parts<SteepDot>(row).size(), 1U);
    finishReading(std::vector<std::string>{"tea", "milk"});
    EXPECT_EQ(statusOf(row), "2 lines of text found");
    EXPECT_TRUE(parts<SteepDot>(row).empty());
    loadWithText("tea");
    fitPage();
    EXPECT_EQ(statusOf(*rowsIn(panel).front()), "1 lines of text found");
    loadRead(plainPicture(3, 3, Qt::red), std::nullopt);
    fitPage();
    EXPECT_EQ(statusOf(*rowsIn(panel).front()), "No text in this one");
    loadWithText("");
    fitPage();
    EXPECT_EQ(statusOf(*rowsIn(panel).front()), "No text in this one");
}

TEST_F(FotrelViewsTest, ARowSaysWhenItWasTakenAndHowLargeItIs) {
    load(plainPicture(1920, 1080, Qt::white));
    FotrelPanel& panel = openPanel();
    CaptureRow& row = *rowsIn(panel).front();
    const QString detail = visibleTexts(row).value(1);
    EXPECT_TRUE(detail.endsWith(" · 1920 × 1080")) << detail.toStdString();
    EXPECT_EQ(spoken(row).role(), QAccessible::ListItem);
    EXPECT_TRUE(row.accessibleName().endsWith("1920 by 1080 pixels: Reading the text"));
    finishReading(std::vector<std::string>{"tea"});
    EXPECT_TRUE(row.accessibleName().endsWith("1 lines of text found"));
}

TEST_F(FotrelViewsTest, ARowsButtonsDoWhatTheySay) {
    load(1);
    load(2);
    FotrelPanel& panel = openPanel();
    finishReadingOf(0, std::vector<std::string>{"tea", "milk"});
    CaptureRow& row = *rowsIn(panel).back();
    QStringList names;
    for (const auto* small : parts<SmallButton>(row)) {
        names << small->text();
    }
    EXPECT_EQ(names, (QStringList{"Copy image", "Copy text", "Show text", "Save…"}));
    press(row, "Copy image");
    EXPECT_EQ(host.pasteboard.content().picture, spice.captures().back().image);
    press(row, "Copy text");
    EXPECT_EQ(host.pasteboard.content().text->view(), "tea\nmilk");
    press(row, "Save…");
    EXPECT_EQ(host.savePanel.suggestions.size(), 1U);
    press(row, "Forget");
    EXPECT_EQ(widthsIn(panel), std::vector<int>{2});
    EXPECT_EQ(spice.captures().size(), 1U);
}

TEST_F(FotrelViewsTest, WithoutTextItCanNeitherBeCopiedNorShown) {
    load(1);
    FotrelPanel& panel = openPanel();
    CaptureRow& row = *rowsIn(panel).front();
    const auto canBePressed = [&](const char* name) { return button(row, name)->isEnabled(); };
    const auto changes = host.pasteboard.changeCount();
    for (const bool isReading : {true, false}) {
        SCOPED_TRACE(isReading);
        EXPECT_FALSE(canBePressed("Copy text"));
        EXPECT_FALSE(canBePressed("Show text"));
        EXPECT_TRUE(canBePressed("Copy image"));
        EXPECT_TRUE(canBePressed("Save…"));
        press(row, "Copy text");
        press(row, "Show text");
        EXPECT_EQ(host.pasteboard.changeCount(), changes);
        EXPECT_FALSE(row.isShowingText());
        finishReading(std::nullopt);
    }
    loadWithText("tea");
    for (const char* name : {"Copy text", "Show text"}) {
        QAbstractButton* with = button(*rowsIn(panel).front(), name);
        EXPECT_TRUE(with->isEnabled());
        EXPECT_NE(with->grab().toImage(), button(row, name)->grab().toImage()) << name;
    }
}

TEST_F(FotrelViewsTest, ACheckMarkSaysForAMomentThatItWasCopied) {
    loadWithText("tea");
    FotrelPanel& panel = openPanel();
    CaptureRow& row = *rowsIn(panel).front();
    auto& copyImage = part<SmallButton>(row, 0);
    auto& copyText = part<SmallButton>(row, 1);
    const QImage plain = copyText.grab().toImage();
    EXPECT_FALSE(copyText.isSigning());
    press(row, "Copy text");
    pointAt(panel, {1, panel.height() - 1});
    EXPECT_TRUE(copyText.isSigning());
    EXPECT_FALSE(copyImage.isSigning());
    EXPECT_NE(copyText.grab().toImage(), plain);
    EXPECT_EQ(copyText.accessibleDescription(), "Copied");
    EXPECT_EQ(copyText.accessibleName(), "Copy text");
    press(row, "Copy image");
    EXPECT_TRUE(copyImage.isSigning());
    pointAt(panel, {1, panel.height() - 1});
    EXPECT_TRUE(QTest::qWaitFor([&] { return !copyText.isSigning() && !copyImage.isSigning(); }, 5000));
    settle();
    EXPECT_EQ(copyText.grab().toImage(), plain);
    EXPECT_EQ(copyText.accessibleDescription(), "");
    PaintCounter paints(panel);
    settle();
    EXPECT_EQ(paints.all(), 0);
}

TEST_F(FotrelViewsTest, ShowsAndHidesTheText) {
    loadWithText("tea <b>with</b>\nmilk");
    FotrelPanel& panel = openPanel();
    CaptureRow& row = *rowsIn(panel).front();
    const int height = row.height();
    const int width = button(row, "Show text")->width();
    press(row, "Show text");
    fitPage();
    EXPECT_TRUE(row.isShowingText());
    EXPECT_FALSE(button(row, "Show text"));
    EXPECT_EQ(button(row, "Hide text")->width(), width) << "nothing beside it moves";
    EXPECT_EQ(part<TextBox>(row).edit().toPlainText(), "tea <b>with</b>\nmilk");
    EXPECT_GT(row.height(), height + 30);
    press(row, "Hide text");
    fitPage();
    EXPECT_FALSE(row.isShowingText());
    EXPECT_TRUE(parts<TextBox>(row).empty());
    EXPECT_EQ(row.height(), height);
    press(row, "Show text");
    EXPECT_EQ(parts<TextBox>(row).size(), 1U);
}

TEST_F(FotrelViewsTest, ATextIsAsHighAsItIsUntilItScrolls) {
    const struct {
        const char* name;
        std::string text;
        bool scrolls;
    } rows[] = {
        {"one line", "tea", false},
        {"three lines", linesOf(3), false},
        {"ten lines", linesOf(10), false},
        {"other letters", "日本語の文字\nالعربية\n👩‍👩‍👧 ☕️\ne\u0301", false},
        {"a line that wraps", std::string(200, 'w'), false},
        {"a thousand lines", linesOf(1000), true},
        {"one endless line", std::string(20'000, 'w'), true},
        {"empty lines", std::string(500, '\n'), true},
    };
    FotrelPanel& panel = openPanel();
    for (const auto& row : rows) {
        for (const int width : {pageWidth, narrowWidth}) {
            SCOPED_TRACE(std::string(row.name) + " in " + std::to_string(width));
            loadWithText(row.text);
            press(*rowsIn(panel).front(), "Show text");
            fitPage(width);
            auto& box = part<TextBox>(*rowsIn(panel).front());
            EXPECT_EQ(box.edit().verticalScrollBar()->maximum() > 0, row.scrolls);
            EXPECT_EQ(box.height() == TextBox::mostHeight, row.scrolls) << box.height();
            EXPECT_EQ(box.edit().horizontalScrollBar()->maximum(), 0);
            EXPECT_LE(rowsIn(panel).front()->height(), 400);
        }
    }
}

TEST_F(FotrelViewsTest, AShownTextCanBeSelectedByMouseAndKeyboard) {
    loadWithText("tea\nmilk");
    FotrelPanel& panel = openPanel();
    CaptureRow& row = *rowsIn(panel).front();
    press(row, "Show text");
    fitPage();
    QTextEdit& edit = part<TextBox>(row).edit();
    QTest::mouseDClick(edit.viewport(), Qt::LeftButton, {}, {8, 6});
    EXPECT_EQ(edit.textCursor().selectedText(), "tea");
    button(row, "Forget")->setFocus(Qt::TabFocusReason);
    press(Qt::Key_Tab);
    ASSERT_TRUE(edit.hasFocus());
    press(Qt::Key_End, Qt::ControlModifier);
    press(Qt::Key_Home, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(edit.textCursor().selection().toPlainText(), "tea\nmilk");
    QTest::keyClicks(&edit, "coffee");
    EXPECT_EQ(edit.toPlainText(), "tea\nmilk");
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_EQ(focused(), "Forget") << "Tab leads through it";
}

TEST_F(FotrelViewsTest, TheKeyboardComesToTheStartOfALongText) {
    loadWithText(linesOf(1000));
    FotrelPanel& panel = openPanel();
    press(*rowsIn(panel).front(), "Show text");
    fitPage();
    QTextEdit& edit = part<TextBox>(panel).edit();
    button(panel, "Forget")->setFocus(Qt::TabFocusReason);
    press(Qt::Key_Tab);
    ASSERT_TRUE(edit.hasFocus());
    EXPECT_EQ(edit.verticalScrollBar()->value(), 0);
    press(Qt::Key_PageDown);
    EXPECT_GT(edit.verticalScrollBar()->value(), 0);
    press(Qt::Key_End, Qt::ControlModifier);
    EXPECT_GT(edit.verticalScrollBar()->value(), edit.verticalScrollBar()->maximum() - 20);
    EXPECT_TRUE(edit.viewport()->rect().contains(edit.cursorRect()));
}

TEST_F(FotrelViewsTest, AShownTextStaysOpenWhileOthersComeAndGo) {
    loadWithText("tea\nmilk", 7);
    FotrelPanel& panel = openPanel();
    press(*rowsIn(panel).front(), "Show text");
    CaptureRow* const row = rowsIn(panel).front();
    part<TextBox>(*row).edit().selectAll();
    loadMany(2);
    finishReadingOf(1, std::vector<std::string>{"other"});
    spice.forget(spice.captures().front());
    settle();
    ASSERT_EQ(widthsIn(panel), (std::vector<int>{1, 7}));
    EXPECT_EQ(rowsIn(panel).back(), row);
    EXPECT_TRUE(row->isShowingText());
    EXPECT_FALSE(rowsIn(panel).front()->isShowingText());
    EXPECT_EQ(part<TextBox>(*row).edit().textCursor().selection().toPlainText(), "tea\nmilk");
    spice.forget(spice.captures().back());
    settle();
    EXPECT_TRUE(parts<TextBox>(panel).empty());
    loadWithText("new");
    EXPECT_FALSE(rowsIn(panel).front()->isShowingText());
}

TEST_F(FotrelViewsTest, AReadingThatEndsTouchesItsOwnRowOnly) {
    loadMany(5);
    FotrelPanel& panel = openPanel();
    const auto rows = rowsIn(panel);
    button(*rows[3], "Save…")->setFocus(Qt::TabFocusReason);
    settle();
    PaintCounter paints(panel);
    finishReadingOf(2, std::vector<std::string>{"tea"}); // the row in the middle
    EXPECT_EQ(rowsIn(panel), rows);
    EXPECT_EQ(focused(), "Save…");
    EXPECT_TRUE(button(*rows[3], "Save…")->hasFocus());
    for (std::size_t index = 0; index < rows.size(); ++index) {
        int painted = 0;
        for (const auto* label : rows[index]->findChildren<QLabel*>()) {
            painted += paints.paintsOf(label);
        }
        EXPECT_EQ(painted > 0, index == 2) << index;
    }
    paints.reset();
    finishReadingOf(2, std::vector<std::string>{"again"}); // nobody asked
    host.loop.settle();
    settle();
    for (const std::size_t index : {0U, 1U, 3U, 4U}) {
        EXPECT_EQ(paints.paintsOf(parts<Thumbnail>(*rows[index]).front()), 0);
    }
}

TEST_F(FotrelViewsTest, APictureIsDrawnOnceACapture) {
    load(pictureOfScreen(1920, 1080, Qt::white, Qt::darkGray));
    FotrelPanel& panel = openPanel();
    auto& thumbnail = part<Thumbnail>(panel);
    EXPECT_EQ(thumbnail.drawings(), 1);
    thumbnail.grab();
    finishReading(std::vector<std::string>{"tea"});
    loadMany(3);
    ground.hide();
    ground.show();
    settle();
    EXPECT_EQ(thumbnail.drawings(), 1);
}

TEST_F(FotrelViewsTest, ARowLetsGoOfThePictureThatTookMoreRoom) {
    load(Simulated::SimulatedPictures::picture(9, 9, /*isCompact=*/false));
    const Picture taken = spice.captures().front().image;
    FotrelPanel& panel = openPanel();
    auto& thumbnail = part<Thumbnail>(panel);
    EXPECT_EQ(thumbnail.picture(), taken);
    host.loop.settle();
    settle();
    ASSERT_FALSE(spice.captures().front().image == taken);
    EXPECT_EQ(thumbnail.picture(), spice.captures().front().image);
    EXPECT_EQ(rowsIn(panel).front()->capture().image, spice.captures().front().image);
    EXPECT_EQ(thumbnail.drawings(), 1);
}

TEST_F(FotrelViewsTest, APictureIsShownWholeAndNoLargerThanItIs) {
    const struct {
        const char* name;
        QSize picture;
        QSize shown;
    } rows[] = {
        {"a screen", {1920, 1080}, {144, 81}},
        {"the box's own shape", {288, 180}, {144, 90}},
        {"tall", {600, 2000}, {27, 90}},
        {"wide", {3840, 400}, {144, 15}},
        {"smaller than the box", {60, 40}, {60, 40}},
        {"one pixel", {1, 1}, {1, 1}},
        {"a hair", {2000, 1}, {144, 1}},
    };
    const QRgb well = ZorbelKit::qColor(ZorbelKit::stall).rgb();
    FotrelPanel& panel = openPanel();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        load(plainPicture(row.picture.width(), row.picture.height(), Qt::blue));
        const QImage image = part<Thumbnail>(*rowsIn(panel).front()).grab().toImage();
        ASSERT_EQ(image.size(), QSize(144, 90));
        const auto extent = [&](bool across) {
            int count = 0;
            for (int at = 0; at < (across ? 144 : 90); ++at) {
                const QRgb pixel = across ? image.pixel(at, 44) : image.pixel(71, at);
                count += pixel != well && qBlue(pixel) > 60 ? 1 : 0;
            }
            return count;
        };
        EXPECT_NEAR(extent(true), row.shown.width(), 1);
        EXPECT_NEAR(extent(false), row.shown.height(), 1);
    }
}

TEST_F(FotrelViewsTest, AnEdgeKeepsAPictureApartFromTheGround) {
    for (const auto colour : {Qt::white, Qt::black}) {
        load(plainPicture(1600, 1000, colour));
        FotrelPanel& panel = openPanel();
        const QImage image = part<Thumbnail>(*rowsIn(panel).front()).grab().toImage();
        const QColor inside = image.pixelColor(72, 45);
        EXPECT_EQ(inside, QColor(colour));
        const QColor edge = image.pixelColor(72, 0);
        EXPECT_NE(edge, inside);
        EXPECT_GT(std::abs(edge.lightness() - ZorbelKit::qColor(ZorbelKit::kettle).lightness()), 20);
    }
}

TEST_F(FotrelViewsTest, APictureIsSharpAtEveryScale) {
    // Lines as fine as the screen's pixels stay as they are where there is room for all of them.
    QImage lines(100, 60, QImage::Format_RGB32);
    for (int y = 0; y < 60; ++y) {
        for (int x = 0; x < 100; ++x) {
            lines.setPixelColor(x, y, x % 2 == 0 ? Qt::white : Qt::black);
        }
    }
    const Picture picture = QtPlatform::QtPictures::picture(lines);
    for (const double scale : {1.0, 1.25, 1.5, 2.0}) {
        SCOPED_TRACE(scale);
        const QImage drawn = Thumbnail::draw(picture, scale).toImage();
        EXPECT_EQ(drawn.devicePixelRatio(), scale);
        ASSERT_EQ(drawn.width(), static_cast<int>(144 * scale));
        const int left = (drawn.width() - 100) / 2;
        int wrong = 0;
        for (int x = 10; x < 90; ++x) {
            const int expected = x % 2 == 0 ? 255 : 0;
            wrong += qRed(drawn.pixel(left + x, drawn.height() / 2)) == expected ? 0 : 1;
        }
        EXPECT_EQ(wrong, 0);
    }
}

TEST_F(FotrelViewsTest, AReadingMovesOnlyWhileItCanBeSeen) {
    load(1);
    FotrelPanel& panel = openPanel();
    auto& dot = part<SteepDot>(*rowsIn(panel).front());
    EXPECT_EQ(dot.accessibleName(), "Reading");
    ZorbelKit::setMotionReduced(false);
    ground.hide();
    ground.show();
    settle();
    PaintCounter paints(panel);
    EXPECT_TRUE(QTest::qWaitFor([&] { return paints.paintsOf(&dot) >= 2; }, 5000));
    ZorbelKit::setMotionReduced(true);
    finishReading(std::nullopt);
    paints.reset();
    settle();
    EXPECT_EQ(paints.all(), 0);
}

TEST_F(FotrelViewsTest, TabLeadsThroughThePageInReadingOrder) {
    FotrelPanel& panel = openPanel();
    refuse("No.");
    loadWithText("tea", 1);
    loadWithText("milk", 2); // made later, and stands above
    press(*rowsIn(panel).front(), "Show text");
    fitPage();
    button(panel, "Region")->setFocus(Qt::TabFocusReason);
    EXPECT_EQ(tabbed(14), (QStringList{"Window", "Whole screen", "Could not start screencapture. No.",
                                       "Copy image", "Copy text", "Hide text", "Save…", "Forget", "Text",
                                       "Copy image", "Copy text", "Show text", "Save…", "Forget"}));
    EXPECT_TRUE(rowsIn(panel).back()->isAncestorOf(ground.focusWidget()));
    press(Qt::Key_Tab);
    EXPECT_EQ(focused(), "Region");
}

TEST_F(FotrelViewsTest, EveryControlShowsThatItHasTheKeyboard) {
    FotrelPanel& panel = openPanel();
    refuse("No.");
    loadWithText("tea");
    press(*rowsIn(panel).front(), "Show text");
    fitPage();
    pointAt(panel, {1, panel.height() - 1});
    button(panel, "Forget")->setFocus(Qt::OtherFocusReason);
    const QImage before = panel.grab().toImage();
    for (int step = 0; step < 10; ++step) {
        press(Qt::Key_Tab);
        EXPECT_NE(panel.grab().toImage(), before) << focused().toStdString();
    }
}

TEST_F(FotrelViewsTest, TheArrowKeysLeadBetweenTheCaptureButtons) {
    FotrelPanel& panel = openPanel();
    button(panel, "Region")->setFocus(Qt::TabFocusReason);
    press(Qt::Key_Right);
    EXPECT_EQ(focused(), "Window");
    press(Qt::Key_Right);
    press(Qt::Key_Right);
    EXPECT_EQ(focused(), "Whole screen") << "there is none further right";
    press(Qt::Key_Left);
    EXPECT_EQ(focused(), "Window");
    press(Qt::Key_Home);
    EXPECT_EQ(focused(), "Region");
    press(Qt::Key_Left);
    EXPECT_EQ(focused(), "Region");
    press(Qt::Key_End);
    EXPECT_EQ(focused(), "Whole screen");
    press(Qt::Key_Return);
    press(Qt::Key_Left);
    press(Qt::Key_Space);
    EXPECT_EQ(runs(), (std::vector<std::string>{"--screen", "--window"}));
}

TEST_F(FotrelViewsTest, ARowThatGoesLeavesTheKeyboardToItsNeighbour) {
    loadMany(3);
    FotrelPanel& panel = openPanel();
    const auto forgetOf = [&](std::size_t index) { return button(*rowsIn(panel).at(index), "Forget"); };
    forgetOf(1)->setFocus(Qt::TabFocusReason);
    press(Qt::Key_Space);
    ASSERT_EQ(widthsIn(panel), (std::vector<int>{3, 1}));
    EXPECT_TRUE(forgetOf(1)->hasFocus()) << "the one that took its place";
    press(Qt::Key_Space);
    ASSERT_EQ(widthsIn(panel), std::vector<int>{3});
    EXPECT_TRUE(forgetOf(0)->hasFocus()) << "the last one";
    press(Qt::Key_Space);
    EXPECT_TRUE(rowsIn(panel).empty());
    EXPECT_EQ(focused(), "Region");
}

TEST_F(FotrelViewsTest, TheKeyboardStaysWhereItIsWhenACaptureComes) {
    loadMany(2);
    FotrelPanel& panel = openPanel();
    QAbstractButton* save = button(*rowsIn(panel).back(), "Save…");
    save->setFocus(Qt::TabFocusReason);
    loadWithText("tea", 3);
    EXPECT_TRUE(save->hasFocus());
    loadMany(20);
    ASSERT_EQ(rowsIn(panel).size(), 20U);
    EXPECT_TRUE(rowsIn(panel).back()->isAncestorOf(ground.focusWidget())) << "its row was pushed out";
}

TEST_F(FotrelViewsTest, AHiddenPageListensToNothingAndCatchesUp) {
    loadMany(2);
    const int before = Observable::liveObserversForTesting();
    FotrelPanel& panel = openPanel();
    EXPECT_EQ(Observable::liveObserversForTesting(), before + 1);
    ground.hide();
    EXPECT_EQ(Observable::liveObserversForTesting(), before);
    spice.forget(spice.captures().front());
    load(9);
    ground.show();
    settle();
    EXPECT_EQ(widthsIn(panel), (std::vector<int>{9, 1}));
}

TEST_F(FotrelViewsTest, TwentyLargeCapturesOpenWithoutAStutter) {
    const Picture large = pictureOfScreen(3840, 2160, Qt::white, Qt::darkBlue);
    for (int count = 0; count < 20; ++count) {
        spice.load(large);
        host.textRecogniser.readings.back().done(std::vector{linesOf(200)});
    }
    host.loop.settle();
    QElapsedTimer timer;
    timer.start();
    FotrelPanel& panel = openPanel();
    EXPECT_LT(timer.elapsed(), 2000); // a tenth of it here, but the machine may be busy
    EXPECT_EQ(rowsIn(panel).size(), 20U);
}

TEST_F(FotrelViewsTest, APageFitsTheNarrowestWindow) {
    loadWithText(linesOf(3));
    FotrelPanel& panel = openPanel(narrowWidth);
    EXPECT_LE(panel.minimumSizeHint().width(), narrowWidth);
    for (const auto* row : rowsIn(panel)) {
        for (const auto* control : row->controls()) {
            EXPECT_LE(control->mapTo(&panel, QPoint(control->width(), 0)).x(), narrowWidth);
        }
    }
}

TEST_F(FotrelViewsTest, TheMenuSectionCapturesAndCounts) {
    FotrelMenuSection& section = openSection();
    QStringList titles;
    for (auto* capture : parts<CaptureButton>(section)) {
        titles << capture->face().title;
        QTest::mouseClick(capture, Qt::LeftButton);
    }
    EXPECT_EQ(titles, (QStringList{"Region", "Window", "Screen"}));
    EXPECT_EQ(runs(), (std::vector<std::string>{"--region", "--window", "--screen"}));
    const auto count = [&] { return part<Reading>(section).value(); };
    EXPECT_EQ(count(), "0");
    loadMany(3);
    EXPECT_EQ(count(), "3");
    loadMany(30);
    EXPECT_EQ(count(), "20");
    EXPECT_EQ(part<Reading>(section).accessibleName(), "Captures 20");
    spice.rest();
    settle();
    EXPECT_EQ(count(), "0");
}

TEST_F(FotrelViewsTest, TheMenuSectionWorksByTheKeyboard) {
    openSection();
    press(Qt::Key_Tab);
    EXPECT_EQ(focused(), "Window");
    press(Qt::Key_Return);
    press(Qt::Key_Right);
    press(Qt::Key_Space);
    EXPECT_EQ(runs(), (std::vector<std::string>{"--window", "--screen"}));
}

TEST_F(FotrelViewsTest, TheMenuSectionFitsAndKeepsItsHeight) {
    FotrelMenuSection& section = openSection();
    EXPECT_LE(section.minimumSizeHint().width(), sectionWidth);
    const int height = section.sizeHint().height();
    loadMany(20);
    EXPECT_EQ(section.sizeHint().height(), height);
    EXPECT_LE(section.minimumSizeHint().width(), sectionWidth);
}

TEST_F(FotrelViewsTest, AHiddenMenuSectionListensToNothing) {
    const int before = Observable::liveObserversForTesting();
    openSection();
    EXPECT_EQ(Observable::liveObserversForTesting(), before + 1);
    ground.hide();
    EXPECT_EQ(Observable::liveObserversForTesting(), before);
}

TEST_F(FotrelViewsTest, AReadingThatEndsInTheMenuPaintsNothingElse) {
    loadMany(2);
    FotrelMenuSection& section = openSection();
    PaintCounter paints(section);
    finishReading(std::nullopt);
    EXPECT_EQ(paints.all(), 0);
}

class FotrelInTheDashboard : public ::testing::Test {
protected:
    FotrelInTheDashboard()
        : stall(Zorbel::Blend::build(suite.host())) {
        stall->setSelection("fotrel");
        stall->setEnabled(true, spice());
        dashboard.reset(Zorbel::dashboardView(*stall, suite.loop).build(nullptr));
    }

    FotrelSpice& spice() { return dynamic_cast<FotrelSpice&>(*stall->spice("fotrel")); }
    QScrollArea& pane() {
        for (auto* scroll : parts<QScrollArea>(*dashboard)) {
            if (scroll->isAncestorOf(&part<FotrelPanel>(*dashboard))) {
                return *scroll;
            }
        }
        throw std::runtime_error("the page is in no pane");
    }

    Simulated::SimulatedSuite suite;
    std::unique_ptr<ZorbelKit::Stall> stall;
    std::unique_ptr<QWidget> dashboard;
};

TEST_F(FotrelInTheDashboard, AReadingThatEndsLeavesThePlaceOnThePage) {
    for (int count = 0; count < 20; ++count) {
        spice().load(pictureOfScreen(1280, 800, Qt::white, Qt::darkGray));
    }
    show(*dashboard, {960, 640});
    pane().verticalScrollBar()->setValue(900);
    settle();
    suite.textRecogniser.readings.at(5).done(std::vector<std::string>{"tea"});
    suite.loop.settle();
    settle();
    EXPECT_EQ(pane().verticalScrollBar()->value(), 900);
    EXPECT_GT(pane().verticalScrollBar()->maximum(), 1000) << "all of them are there";
}

TEST_F(FotrelInTheDashboard, WhatIsInSightStaysThereWhenCapturesComeAndGoAboveIt) {
    for (int count = 0; count < 20; ++count) {
        spice().load(pictureOfScreen(1280, 800, Qt::white, Qt::darkGray));
        suite.textRecogniser.readings.back().done(std::vector{linesOf(30)});
    }
    suite.loop.settle();
    show(*dashboard, {960, 640});
    pane().verticalScrollBar()->setValue(900);
    settle();
    const auto place = [&](const QWidget& widget) { return widget.mapTo(&pane(), QPoint()).y(); };
    CaptureRow& row = *rowsIn(*dashboard).at(8);
    const int before = place(row);
    ASSERT_TRUE(before > 0 && before < 640);
    spice().load(plainPicture(9, 9, Qt::red));
    EXPECT_EQ(place(row), before) << "at once, without a jump to and fro";
    settle();
    EXPECT_EQ(place(row), before);
    spice().load(plainPicture(9, 9, Qt::red));
    spice().forget(spice().captures().front());
    spice().forget(spice().captures().front());
    settle();
    EXPECT_EQ(place(row), before);
    QTest::mouseClick(button(row, "Show text"), Qt::LeftButton);
    settle();
    EXPECT_EQ(place(row), before) << "it opens downwards";
    for (const int nearTheTop : {0, 40}) {
        pane().verticalScrollBar()->setValue(nearTheTop);
        spice().load(plainPicture(9, 9, Qt::red));
        settle();
        EXPECT_EQ(pane().verticalScrollBar()->value(), nearTheTop) << "there, what comes is to be seen";
    }
}

TEST_F(FotrelInTheDashboard, TheKeyboardBringsWhatItLeadsToIntoSight) {
    for (int count = 0; count < 20; ++count) {
        spice().load(pictureOfScreen(1280, 800, Qt::white, Qt::darkGray));
    }
    show(*dashboard, {960, 640});
    dashboard->activateWindow();
    auto* last = rowsIn(*dashboard).back();
    button(*rowsIn(*dashboard).front(), "Copy image")->setFocus(Qt::TabFocusReason);
    for (int step = 0; step < 80 && !last->isAncestorOf(dashboard->focusWidget()); ++step) {
        QTest::keyClick(dashboard->focusWidget(), Qt::Key_Tab);
    }
    settle();
    ASSERT_TRUE(last->isAncestorOf(dashboard->focusWidget()));
    const QWidget& focused = *dashboard->focusWidget();
    const QRect seen(focused.mapTo(pane().viewport(), QPoint()), focused.size());
    EXPECT_TRUE(pane().viewport()->rect().contains(seen));
}

TEST_F(FotrelInTheDashboard, Picture) {
    for (int count = 0; count < 6; ++count) {
        spice().load(pictureOfScreen(1920, 1080, count % 2 ? Qt::white : Qt::black, Qt::gray));
        suite.textRecogniser.readings.back().done(std::vector{linesOf(7 * count + 3)});
        suite.loop.advance(Seconds{100});
    }
    show(*dashboard, {960, 640});
    savePicture(*dashboard, "dashboard-fotrel");
    dashboard->resize(840, 560);
    settle();
    savePicture(*dashboard, "dashboard-fotrel-smallest");
    spice().rest();
    settle();
    savePicture(*dashboard, "dashboard-fotrel-empty");
    EXPECT_TRUE(showsText(*dashboard, emptyTitle));
}

TEST_F(FotrelViewsTest, Pictures) {
    FotrelPanel& panel = openPanel();
    savePage("fotrel-panel-empty");
    savePage("fotrel-panel-empty-narrow", narrowWidth);
    loadRead(plainPicture(24, 24, Qt::darkGreen), std::nullopt);
    loadRead(plainPicture(3840, 300, Qt::white), std::vector<std::string>{"tea"});
    loadRead(plainPicture(500, 2000, Qt::black), std::nullopt);
    loadRead(plainPicture(1600, 1000, Qt::white), std::nullopt);
    loadRead(plainPicture(1600, 1000, Qt::black), std::nullopt);
    host.loop.advance(Seconds{4000});
    loadRead(
        pictureOfScreen(1920, 1080, QColor(Qt::darkCyan).darker(300), Qt::lightGray),
        std::vector<std::string>{"Meet at the tea stall at four, bring the blue kettle and the good cups.",
                                 "日本語の文字 and العربية in one text",
                                 "A line that is far too long for one line of the page goes on in the "
                                 "next one, as a text does that is read and not only looked at."});
    host.loop.advance(Seconds{500});
    load(pictureOfScreen(2560, 1440, Qt::white, Qt::darkGray));
    savePage("fotrel-panel");
    press(*rowsIn(panel)[1], "Show text");
    pointAt(panel, {1, 1});
    savePage("fotrel-panel-text");
    savePage("fotrel-panel-text-narrow", narrowWidth);
    refuse("“maim” could not be found. Install it with the package manager of your system, then try again.");
    loadWithText(linesOf(1000));
    press(*rowsIn(panel).front(), "Show text");
    press(*rowsIn(panel).front(), "Copy text");
    pointAt(part<CaptureButton>(panel, 1));
    savePage("fotrel-panel-error");
    pointAt(*button(*rowsIn(panel)[1], "Save…"));
    button(panel, "Whole screen")->setFocus(Qt::TabFocusReason);
    savePage("fotrel-panel-focus");
    part<TextBox>(*rowsIn(panel).front()).edit().setFocus(Qt::TabFocusReason);
    savePage("fotrel-panel-focus-text");
    EXPECT_EQ(rowsIn(panel).size(), 8U);
}

TEST_F(FotrelViewsTest, PicturesOfTheMenuSection) {
    FotrelMenuSection& section = openSection();
    savePicture(ground, "fotrel-menu-empty");
    loadMany(12);
    savePicture(ground, "fotrel-menu");
    pointAt(part<CaptureButton>(section, 1));
    button(section, "Screen")->setFocus(Qt::TabFocusReason);
    settle();
    savePicture(ground, "fotrel-menu-hover");
    EXPECT_EQ(part<Reading>(section).value(), "12");
}

} // namespace
