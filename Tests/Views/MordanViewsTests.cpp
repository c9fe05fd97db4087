#include "Mordan/Mordan.hpp"
#include "Mordan/MordanTexts.hpp"
#include "Mordan/MordanViews.hpp"
#include "Platforms/Simulated/SimulatedHost.hpp"
#include "Platforms/Simulated/SimulatedSuite.hpp"
#include "Tests/Views/ViewTests.hpp"
#include "Zorbel/Blend.hpp"
#include "Zorbel/DashboardView.hpp"
#include "Zorbel/MenuPanel.hpp"
#include "Zorbel/Updates.hpp"
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
#include <QScrollBar>
#include <QTest>
#include <QTextDocument>
#include <gtest/gtest.h>

#include <chrono>
#include <map>

namespace {

using namespace Mordan;
using namespace Views;
using ZorbelKit::LineText;
using ZorbelKit::Observable;
using ZorbelKit::RowList;
using ZorbelKit::SearchField;
using ZorbelKit::Seconds;
using ZorbelKit::SymbolButton;
using ZorbelKit::Uuid;

constexpr QSize pageSize(635, 480);
constexpr int sectionWidth = 300; // the panel's 328 points less 14 on each side

template <class Part>
std::vector<Part*> parts(const QWidget& widget) {
    std::vector<Part*> found;
    for (QWidget* child : widget.findChildren<QWidget*>()) {
        if (auto* part = dynamic_cast<Part*>(child); part && part->isVisibleTo(&widget)) {
            found.push_back(part);
        }
    }
    return found;
}

template <class Part>
Part& part(const QWidget& widget) {
    const auto found = parts<Part>(widget);
    if (found.empty()) {
        throw std::runtime_error("no such part");
    }
    return *found.front();
}

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

class MordanViewsTest : public ::testing::Test {
protected:
    MordanViewsTest() {
        QPalette colours = ground.palette();
        colours.setColor(QPalette::Window, ZorbelKit::qColor(ZorbelKit::stall));
        ground.setPalette(colours);
        spice.setEnabled(true);
        spice.steep();
    }

    ~MordanViewsTest() override { QTest::mouseMove(&ground, {-500, -500}); }

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
        copy("The word for tea came over land as cha and over sea as te, which is why the languages of Europe "
             "disagree about it to this day.");
        copy("asha.verma@example.org");
        from("GIMP");
        copy("#7a9a46");
        copy("#140f09");
        from("Text Editor");
        copy("शाम की चाय");
        copy("SELECT name, price FROM leaves WHERE origin = 'Assam' ORDER BY price DESC");
        copy("+49 30 901820");
        from("Firefox");
        host.pasteboard.putLink("https://zorbel.example/changes");
        pass();
    }

    MordanPanel& openPanel(QSize size = pageSize) {
        auto* opened = new MordanPanel(spice, &ground);
        opened->setGeometry(QRect(QPoint(0, 0), size));
        show(ground, size);
        ground.activateWindow();
        settle();
        return *opened;
    }

    MordanMenuSection& openSection() {
        QPalette colours = ground.palette();
        colours.setColor(QPalette::Window, ZorbelKit::qColor(ZorbelKit::kettle));
        ground.setPalette(colours);
        auto* opened = new MordanMenuSection(spice, &ground);
        fit(*opened);
        ground.show();
        ground.activateWindow();
        settle();
        fit(*opened);
        return *opened;
    }

    /// As the panel under the glass does.
    void fit(MordanMenuSection& section) {
        section.setGeometry(14, 14, sectionWidth, section.sizeHint().height());
        ground.resize(sectionWidth + 28, section.height() + 28);
        settle();
    }

    void pointAt(QWidget& widget, QPoint at = {}) {
        QTest::mouseMove(&widget, at.isNull() ? widget.rect().center() : at);
        settle();
    }

    void type(const QString& text) {
        QTest::keyClicks(ground.focusWidget(), text);
        settle();
    }

    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(ground.focusWidget(), key, modifiers);
        settle();
    }

    QLineEdit& field() { return part<QLineEdit>(ground); }
    QString currentLine() {
        auto* row = dynamic_cast<WoundRow*>(ground.focusWidget());
        return row ? lineOf(*row) : QString();
    }

    Simulated::SimulatedHost host;
    MordanSpice spice{host.loop, host.clock, host.pasteboard, host.workspace, host.language};
    QWidget ground;
};

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
    fit(section);
    savePicture(ground, "mordan-menu-empty");
    EXPECT_EQ(visibleTexts(section), QStringList{"Nothing held yet."});
}

} // namespace
