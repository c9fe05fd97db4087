#include "Duvesk/Duvesk.hpp"
#include "Duvesk/DuveskTexts.hpp"
#include "Duvesk/DuveskViews.hpp"
#include "Duvesk/FindingViews.hpp"
#include "Duvesk/TabViews.hpp"
#include "Platforms/Simulated/SimulatedHost.hpp"
#include "Platforms/Simulated/SimulatedSuite.hpp"
#include "Tests/Views/SpiceViewTest.hpp"
#include "Zorbel/Blend.hpp"
#include "Zorbel/DashboardView.hpp"
#include "ZorbelKit/Controls/Glide.hpp"
#include "ZorbelKit/Controls/LineText.hpp"
#include "ZorbelKit/Controls/Reading.hpp"
#include "ZorbelKit/Controls/RowList.hpp"
#include "ZorbelKit/Controls/Symbol.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Stall.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QAccessible>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <QTextDocument>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

using namespace Duvesk;
using namespace Views;
using ZorbelKit::LineText;
using ZorbelKit::Observable;
using ZorbelKit::Reading;
using ZorbelKit::RowList;
using ZorbelKit::Symbol;

constexpr QSize pageSize(635, 480);
constexpr QSize smallestPage(515, 424);
constexpr std::int64_t megabyte = 1'000'000;

constexpr const char* nothingYet = "Nothing scanned yet.";
constexpr const char* looksThrough =
    "Duvesk looks through your caches, your large files, and support folders "
    "belonging to apps you no longer have.";
constexpr const char* footer = "Nothing is deleted. Everything goes to the Trash, so you can put it back.";

QAccessibleInterface& spoken(QWidget& widget) {
    return *QAccessible::queryAccessibleInterface(&widget);
}

/// What a tool tip written as rich text looks like.
QString seen(const QString& toolTip) {
    QTextDocument document;
    document.setHtml(toolTip);
    return document.toPlainText().remove(QChar(0x200B));
}

/// The visible rows from top to bottom.
std::vector<FindingRow*> rowsIn(const QWidget& widget) {
    std::vector<FindingRow*> rows = parts<FindingRow>(widget);
    std::ranges::sort(rows, {}, [](const FindingRow* row) { return row->y(); });
    return rows;
}

QStringList titlesIn(const QWidget& widget) {
    QStringList titles;
    for (const FindingRow* row : rowsIn(widget)) {
        titles << part<LineText>(*row).text();
    }
    return titles;
}

FindingRow& rowOf(const QWidget& widget, const QString& title) {
    for (FindingRow* row : rowsIn(widget)) {
        if (part<LineText>(*row).text() == title) {
            return *row;
        }
    }
    throw std::runtime_error("no such row");
}

QString tickOf(const FindingRow& row) {
    return part<Symbol>(row).symbol();
}

bool isShown(const QWidget& widget, const QString& name) {
    const QAbstractButton* found = button(widget, name);
    return found && found->isVisibleTo(&widget);
}

/// A disk on which a scan finds what is put there, and the scan.
class Disk {
public:
    explicit Disk(Simulated::SimulatedHost& host)
        : host_(host) {}

    void addCache(const std::string& name, std::int64_t bytes) {
        host_.files->add("/home/Library/Caches/" + name + "/data", bytes, daysAgo(1));
    }

    void addLargeFile(const std::string& path, std::int64_t bytes, int days = 3) {
        host_.files->add("/home/" + path, bytes, daysAgo(days));
    }

    void addLeftover(const std::string& name, std::int64_t bytes) {
        host_.files->add("/home/Library/Application Support/" + name + "/data", bytes, daysAgo(120));
    }

    /// What a machine in use for some years holds.
    void fill() {
        addLargeFile("Movies/Chai stall, summer cut (final).mov", 4'812 * megabyte, 214);
        addLargeFile("Downloads/debian-12.9.0-amd64-DVD-1.iso", 3'994 * megabyte, 402);
        addLargeFile("Documents/Photo library backup 2023-11-04.tar.gz", 2'204 * megabyte, 655);
        addCache("com.example.browser", 1'386 * megabyte);
        addCache("org.example.mapviewer", 912 * megabyte);
        addLeftover("com.example.videocutter", 748 * megabyte);
        addLargeFile("Desktop/Screen recording.mp4", 512 * megabyte);
        addCache("music-player", 264 * megabyte);
        addLeftover("org.example.notes", 96 * megabyte);
        addCache("font-previews", 41 * megabyte);
        addLeftover("net.example.painter", 22 * megabyte);
        addCache("package-index", 21 * megabyte);
    }

private:
    ZorbelKit::TimePoint daysAgo(int days) const { return host_.clock.now() - std::chrono::hours(24 * days); }

    Simulated::SimulatedHost& host_;
};

class DuveskViewsTest : public SpiceViewTest {
protected:
    DuveskViewsTest() {
        spice.setEnabled(true);
        spice.steep();
    }

    ~DuveskViewsTest() override { ZorbelKit::setMotionReduced(true); }

    DuveskPanel& openPanel(QSize size = pageSize) { return openPage(new DuveskPanel(spice, &ground), size); }
    DuveskMenuSection& openSection() {
        return SpiceViewTest::openSection(new DuveskMenuSection(spice, &ground));
    }

    void finishScan() {
        host.loop.settle();
        settle();
    }

    void scan() {
        spice.scan();
        finishScan();
    }

    void scanDisk() {
        disk.fill();
        scan();
    }

    /// So many findings, "file 0001" the largest.
    void scanMany(int count) {
        for (int number = 1; number <= count; ++number) {
            disk.addLargeFile("Downloads/file " + std::to_string(10'000 + number).substr(1),
                              (20'000 - number) * megabyte);
        }
        scan();
    }

    void finishMove() {
        host.fileManager.finish();
        host.loop.settle();
        settle();
    }

    void click(const QWidget& widget, const QString& name) {
        QTest::mouseClick(button(widget, name), Qt::LeftButton);
        settle();
    }

    void clickTick(FindingRow& row) {
        QTest::mouseClick(&row, Qt::LeftButton, {}, row.tickBox().center());
        settle();
    }

    Simulated::SimulatedHost host;
    Disk disk{host};
    DuveskSpice spice{host.loop, host.clock, host.fileManager,
                      std::make_shared<const Scanner>(host.files, host.files)};
};

TEST(DuveskTexts, ATitleIsTheNameOnOneLine) {
    struct Row {
        const char* name;
        std::filesystem::path path;
        std::string title;
    };
    for (const Row& row : {
             Row{"plain", "/home/Movies/Summer.mov", "Summer.mov"},
             Row{"a folder", "/home/Library/Caches/com.example.maps", "com.example.maps"},
             Row{"several lines", "/home/Downloads/one\ntwo\tthree", "one two three"},
             Row{"no text", "/home/Downloads/caf\xE9.iso", "caf\xEF\xBF\xBD.iso"},
             Row{"marks", "/home/Downloads/<b>x&amp;", "<b>x&amp;"},
             Row{"white space alone", "/home/Downloads/ ", "/home/Downloads/"},
         }) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(titleText({.url = row.path}), row.title);
    }
}

TEST(DuveskTexts, SentencesGiveSizesInMegabytesAndGigabytes) {
    EXPECT_EQ(movedText(0), "");
    EXPECT_EQ(movedText(-1), "");
    EXPECT_EQ(movedText(1), "Moved 0 MB to the Trash");
    EXPECT_EQ(movedText(1'200 * megabyte), "Moved 1.2 GB to the Trash");
    EXPECT_EQ(selectedText(0), "Zero MB selected");
    EXPECT_EQ(selectedText(48'500'000), "48.5 MB selected");
    EXPECT_EQ(detailText({.bytes = 1'200 * megabyte, .note = "In Movies"}), "In Movies, 1.2 GB");
}

TEST(DuveskTexts, FindingsAreAlwaysPlural) {
    EXPECT_EQ(findingsText(0), "0 findings");
    EXPECT_EQ(findingsText(1), "1 findings");
    EXPECT_EQ(findingsText(5'000), "5000 findings");
}

TEST(DuveskTexts, ATipCanBeBrokenAnywhere) {
    const std::string name(200, 'x');
    const std::string tip = tipText({.url = "/home/" + name});
    std::size_t longest = 0;
    std::size_t run = 0;
    for (const char letter : tip) {
        run = letter == 'x' ? run + 1 : 0;
        longest = std::max(longest, run);
    }
    EXPECT_LE(longest, 48U);
    EXPECT_EQ(QString::fromStdString(tip).remove(QChar(0x200B)), QString::fromStdString("/home/" + name));
}

TEST_F(DuveskViewsTest, BeforeAScanThePageSaysWhatAScanLooksAt) {
    const DuveskPanel& panel = openPanel();
    EXPECT_EQ(visibleTexts(panel), (QStringList{nothingYet, looksThrough, footer}));
    const QAbstractButton* scan = button(panel, "Scan this Mac");
    ASSERT_TRUE(scan);
    EXPECT_TRUE(scan->isEnabled());
    EXPECT_TRUE(parts<Tab>(panel).empty());
    EXPECT_TRUE(rowsIn(panel).empty());
    for (const char* name : {"Select all", "Select none", "Move to Trash"}) {
        EXPECT_FALSE(isShown(panel, name)) << name;
    }
    EXPECT_TRUE(parts<BusyBar>(panel).empty());
}

TEST_F(DuveskViewsTest, DuringAScanTheButtonReadsScanningAndCannotBePressed) {
    const DuveskPanel& panel = openPanel();
    const int width = button(panel, "Scan this Mac")->width();
    click(panel, "Scan this Mac");
    EXPECT_TRUE(spice.isScanning());
    EXPECT_FALSE(button(panel, "Scan this Mac"));
    QAbstractButton* scanning = button(panel, "Scanning");
    ASSERT_TRUE(scanning);
    EXPECT_FALSE(scanning->isEnabled());
    EXPECT_EQ(scanning->width(), width) << "nothing beside it moves";
    QTest::mouseClick(scanning, Qt::LeftButton);
    finishScan();
    EXPECT_FALSE(spice.isScanning()) << "a second scan was not started";
    EXPECT_TRUE(button(panel, "Scan this Mac")->isEnabled());
}

TEST_F(DuveskViewsTest, DuringAScanThereIsABarAndNoText) {
    const DuveskPanel& panel = openPanel();
    click(panel, "Scan this Mac");
    EXPECT_EQ(visibleTexts(panel), QStringList{footer});
    EXPECT_EQ(parts<BusyBar>(panel).size(), 1U);
    finishScan();
    EXPECT_TRUE(parts<BusyBar>(panel).empty());
    EXPECT_TRUE(showsText(panel, nothingYet)) << "nothing was found";
}

TEST_F(DuveskViewsTest, TheBarMovesOnlyWhileItIsSeenAndMotionIsWanted) {
    const DuveskPanel& panel = openPanel();
    const auto bars = [&] { return parts<BusyBar>(panel); };
    ZorbelKit::setMotionReduced(false);
    EXPECT_TRUE(bars().empty());
    click(panel, "Scan this Mac");
    ASSERT_EQ(bars().size(), 1U);
    EXPECT_TRUE(bars().front()->isMoving());
    ground.hide();
    EXPECT_FALSE(bars().front()->isMoving());
    ground.show();
    settle();
    EXPECT_TRUE(bars().front()->isMoving());
    BusyBar* shown = bars().front();
    finishScan();
    EXPECT_FALSE(shown->isMoving());
    ZorbelKit::setMotionReduced(true);
    click(panel, "Scan this Mac");
    EXPECT_FALSE(bars().front()->isMoving());
}

TEST_F(DuveskViewsTest, TheFindingsAreListedLargestFirst) {
    const DuveskPanel& panel = openPanel({635, 900});
    scanDisk();
    EXPECT_EQ(
        titlesIn(panel),
        (QStringList{"Chai stall, summer cut (final).mov", "debian-12.9.0-amd64-DVD-1.iso",
                     "Photo library backup 2023-11-04.tar.gz", "com.example.browser", "org.example.mapviewer",
                     "com.example.videocutter", "Screen recording.mp4", "music-player", "org.example.notes",
                     "font-previews", "net.example.painter", "package-index"}));
    const FindingRow& film = rowOf(panel, "Chai stall, summer cut (final).mov");
    EXPECT_EQ(visibleTexts(film), (QStringList{"Chai stall, summer cut (final).mov",
                                               "In Movies · untouched for 7 months", "4.81 GB"}));
    EXPECT_EQ(visibleTexts(rowOf(panel, "org.example.notes")).at(1),
              "No installed app claims org.example.notes, untouched for months");
    EXPECT_TRUE(showsText(panel, footer));
    EXPECT_FALSE(showsText(panel, nothingYet));
}

TEST_F(DuveskViewsTest, TheTabsShowTheTotalOfEachKind) {
    const DuveskPanel& panel = openPanel();
    scanDisk();
    QStringList names;
    for (const Tab* tab : parts<Tab>(panel)) {
        names << tab->accessibleName();
    }
    EXPECT_EQ(names, (QStringList{"Everything, 15.01 GB", "Cache, 2.62 GB", "Large file, 11.52 GB",
                                  "Left behind, 866 MB"}));
    EXPECT_EQ(visibleTexts(part<Tab>(panel, 1)), (QStringList{"Cache", "2.62 GB"}));
}

TEST_F(DuveskViewsTest, ATabChoosesWhatIsListed) {
    const DuveskPanel& panel = openPanel({635, 900});
    scanDisk();
    EXPECT_TRUE(part<Tab>(panel, 0).isActive());
    QTest::mouseClick(&part<Tab>(panel, 3), Qt::LeftButton);
    settle();
    EXPECT_EQ(spice.showing(), Kind::leftover);
    EXPECT_EQ(titlesIn(panel),
              (QStringList{"com.example.videocutter", "org.example.notes", "net.example.painter"}));
    EXPECT_FALSE(part<Tab>(panel, 0).isActive());
    EXPECT_TRUE(part<Tab>(panel, 3).isActive());
    EXPECT_EQ(part<Tab>(panel, 0).accessibleName(), "Everything, 15.01 GB") << "of all, whatever is shown";
    QTest::mouseClick(&part<Tab>(panel, 0), Qt::LeftButton);
    settle();
    EXPECT_EQ(spice.showing(), std::nullopt);
    EXPECT_EQ(titlesIn(panel).size(), 12);
}

TEST_F(DuveskViewsTest, ATabWithNothingInItListsNothing) {
    disk.addCache("only", 30 * megabyte);
    const DuveskPanel& panel = openPanel();
    scan();
    EXPECT_EQ(part<Tab>(panel, 2).accessibleName(), "Large file, Zero MB");
    part<Tab>(panel, 2).click();
    settle();
    EXPECT_TRUE(rowsIn(panel).empty());
    EXPECT_TRUE(isShown(panel, "Select all"));
    EXPECT_TRUE(showsText(panel, "30 MB selected")) << "of all kinds";
    EXPECT_FALSE(showsText(panel, nothingYet)) << "there are findings";
    QTest::keyClick(&part<Tab>(panel, 2), Qt::Key_Down);
    settle();
    EXPECT_TRUE(rowsIn(panel).empty());
    part<Tab>(panel, 1).click();
    settle();
    EXPECT_EQ(titlesIn(panel), QStringList{"only"});
}

TEST_F(DuveskViewsTest, TheArrowKeysChooseTheTabBeside) {
    const DuveskPanel& panel = openPanel();
    scanDisk();
    part<Tab>(panel).setFocus(Qt::TabFocusReason);
    struct Step {
        Qt::Key key;
        std::optional<Kind> showing;
        const char* name;
    };
    for (const Step& step : {Step{Qt::Key_Left, std::nullopt, "Everything, 15.01 GB"},
                             Step{Qt::Key_Right, Kind::cache, "Cache, 2.62 GB"},
                             Step{Qt::Key_Right, Kind::large, "Large file, 11.52 GB"},
                             Step{Qt::Key_End, Kind::leftover, "Left behind, 866 MB"},
                             Step{Qt::Key_Right, Kind::leftover, "Left behind, 866 MB"},
                             Step{Qt::Key_Left, Kind::large, "Large file, 11.52 GB"},
                             Step{Qt::Key_Home, std::nullopt, "Everything, 15.01 GB"}}) {
        SCOPED_TRACE(step.name);
        press(step.key);
        EXPECT_EQ(spice.showing(), step.showing);
        EXPECT_EQ(focused(), step.name);
    }
}

TEST_F(DuveskViewsTest, OnlyTheActiveTabIsReachedWithTab) {
    const DuveskPanel& panel = openPanel();
    scanDisk();
    spice.setShowing(Kind::cache);
    settle();
    for (const Tab* tab : parts<Tab>(panel)) {
        EXPECT_EQ(bool(tab->focusPolicy() & Qt::TabFocus), tab->isActive());
    }
    part<Tab>(panel, 3).setFocus(Qt::MouseFocusReason);
    press(Qt::Key_Space);
    EXPECT_EQ(spice.showing(), Kind::leftover);
    part<Tab>(panel, 0).setFocus(Qt::MouseFocusReason);
    press(Qt::Key_Return);
    EXPECT_EQ(spice.showing(), std::nullopt);
}

TEST_F(DuveskViewsTest, AClickOnTheTickBoxTogglesAndOneOnTheRowDoesNot) {
    const DuveskPanel& panel = openPanel();
    scanDisk();
    FindingRow& row = *rowsIn(panel).at(1);
    EXPECT_EQ(tickOf(row), "checkmark.square.fill");
    clickTick(row);
    EXPECT_EQ(tickOf(row), "square");
    EXPECT_FALSE(spice.findings().at(1).selected);
    EXPECT_TRUE(showsText(panel, "11.02 GB selected"));
    QTest::mouseClick(&row, Qt::LeftButton, {}, {300, 10});
    settle();
    EXPECT_EQ(tickOf(row), "square");
    EXPECT_TRUE(row.hasFocus()) << "but it has the keyboard now";
    clickTick(row);
    EXPECT_EQ(tickOf(row), "checkmark.square.fill");
    EXPECT_TRUE(showsText(panel, "15.01 GB selected"));
}

TEST_F(DuveskViewsTest, SelectAllAndNoneMeanWhatIsShown) {
    const DuveskPanel& panel = openPanel();
    scanDisk();
    EXPECT_TRUE(showsText(panel, "15.01 GB selected"));
    spice.setShowing(Kind::cache);
    click(panel, "Select none");
    EXPECT_TRUE(showsText(panel, "12.39 GB selected"));
    for (const FindingRow* row : rowsIn(panel)) {
        EXPECT_EQ(tickOf(*row), "square");
    }
    spice.setShowing(std::nullopt);
    click(panel, "Select none");
    EXPECT_TRUE(showsText(panel, "Zero MB selected"));
    EXPECT_FALSE(button(panel, "Move to Trash")->isEnabled());
    click(panel, "Select all");
    EXPECT_TRUE(showsText(panel, "15.01 GB selected"));
    EXPECT_TRUE(button(panel, "Move to Trash")->isEnabled());
}

TEST_F(DuveskViewsTest, MoveToTrashIsDisabledWhileNothingIsTicked) {
    const DuveskPanel& panel = openPanel();
    disk.addCache("one", 30 * megabyte);
    disk.addCache("two", 40 * megabyte);
    scan();
    EXPECT_TRUE(button(panel, "Move to Trash")->isEnabled());
    clickTick(*rowsIn(panel).at(0));
    EXPECT_TRUE(button(panel, "Move to Trash")->isEnabled());
    clickTick(*rowsIn(panel).at(1));
    EXPECT_FALSE(button(panel, "Move to Trash")->isEnabled());
    click(panel, "Move to Trash");
    EXPECT_EQ(host.fileManager.moves(), 0);
}

TEST_F(DuveskViewsTest, WhatWasMovedLeavesTheListAndALineSaysHowMuchWasAskedFor) {
    const DuveskPanel& panel = openPanel({635, 900});
    scanDisk();
    click(panel, "Select none");
    clickTick(*rowsIn(panel).at(0));
    clickTick(*rowsIn(panel).at(3));
    host.fileManager.immovable = {"/home/Library/Caches/com.example.browser"};
    EXPECT_FALSE(showsText(panel, "Moved 6.2 GB to the Trash"));
    click(panel, "Move to Trash");
    EXPECT_EQ(titlesIn(panel).size(), 12) << "until they are gone";
    finishMove();
    EXPECT_EQ(titlesIn(panel).size(), 11);
    EXPECT_EQ(titlesIn(panel).front(), "debian-12.9.0-amd64-DVD-1.iso");
    EXPECT_TRUE(showsText(panel, "Moved 6.2 GB to the Trash")) << "also what could not be moved";
    EXPECT_TRUE(showsText(panel, "1.39 GB selected")) << "it is still there, and ticked";
    EXPECT_EQ(part<Tab>(panel, 2).accessibleName(), "Large file, 6.71 GB");
}

TEST_F(DuveskViewsTest, AfterEverythingWasMovedThePageIsAsBeforeAScan) {
    const DuveskPanel& panel = openPanel();
    disk.addCache("one", 30 * megabyte);
    scan();
    click(panel, "Move to Trash");
    finishMove();
    EXPECT_EQ(visibleTexts(panel),
              (QStringList{"Moved 30 MB to the Trash", nothingYet, looksThrough, footer}));
    EXPECT_TRUE(parts<Tab>(panel).empty());
}

TEST_F(DuveskViewsTest, OnlyARowWithAttentionHasTheButtonThatShowsIt) {
    const DuveskPanel& panel = openPanel();
    scanDisk();
    const auto shownIn = [&] {
        QStringList titles;
        for (const FindingRow* row : rowsIn(panel)) {
            if (isShown(*row, "Show in Finder")) {
                titles << part<LineText>(*row).text();
            }
        }
        return titles;
    };
    EXPECT_EQ(shownIn(), QStringList());
    pointAt(*rowsIn(panel).at(1), {200, 10});
    EXPECT_EQ(shownIn(), QStringList{"debian-12.9.0-amd64-DVD-1.iso"});
    pointAt(*rowsIn(panel).at(2), {200, 10});
    EXPECT_EQ(shownIn(), QStringList{"Photo library backup 2023-11-04.tar.gz"});
    click(*rowsIn(panel).at(2), "Show in Finder");
    ASSERT_EQ(host.fileManager.revealed.size(), 1U);
    EXPECT_EQ(host.fileManager.revealed.front(),
              std::vector<std::filesystem::path>{"/home/Documents/Photo library backup 2023-11-04.tar.gz"});
    EXPECT_TRUE(spice.findings().at(2).selected) << "its tick is as it was";
    pointAt(ground, {2, 2});
    EXPECT_EQ(shownIn(), QStringList{"Photo library backup 2023-11-04.tar.gz"}) << "it has the keyboard now";
    press(Qt::Key_Up);
    EXPECT_EQ(shownIn(), QStringList{"debian-12.9.0-amd64-DVD-1.iso"});
    button(panel, "Select all")->setFocus();
    settle();
    EXPECT_EQ(shownIn(), QStringList());
}

TEST_F(DuveskViewsTest, SpaceTogglesAndReturnShowsInFinder) {
    const DuveskPanel& panel = openPanel();
    scanDisk();
    part<FindingList>(panel).takeKeyboard();
    press(Qt::Key_Down);
    EXPECT_EQ(focused(), "debian-12.9.0-amd64-DVD-1.iso");
    press(Qt::Key_Space);
    EXPECT_FALSE(spice.findings().at(1).selected);
    EXPECT_EQ(focused(), "debian-12.9.0-amd64-DVD-1.iso");
    press(Qt::Key_Return);
    press(Qt::Key_Down);
    press(Qt::Key_Enter);
    ASSERT_EQ(host.fileManager.revealed.size(), 2U);
    EXPECT_EQ(host.fileManager.revealed.at(0).front(), "/home/Downloads/debian-12.9.0-amd64-DVD-1.iso");
    EXPECT_EQ(host.fileManager.revealed.at(1).front(),
              "/home/Documents/Photo library backup 2023-11-04.tar.gz");
    EXPECT_FALSE(spice.findings().at(1).selected);
    EXPECT_TRUE(spice.findings().at(2).selected);
}

TEST_F(DuveskViewsTest, UpAndDownLeadFromTheTabsToTheListAndBack) {
    const DuveskPanel& panel = openPanel();
    scanDisk();
    part<Tab>(panel).setFocus(Qt::TabFocusReason);
    press(Qt::Key_Down);
    EXPECT_EQ(focused(), "Chai stall, summer cut (final).mov");
    press(Qt::Key_Up);
    EXPECT_EQ(focused(), "Everything, 15.01 GB");
}

TEST_F(DuveskViewsTest, TheKeyboardWaitsForTheEndOfAScan) {
    auto* other = new QPushButton(&ground);
    const DuveskPanel& panel = openPanel();
    other->show();
    button(panel, "Scan this Mac")->setFocus(Qt::TabFocusReason);
    press(Qt::Key_Space);
    EXPECT_TRUE(spice.isScanning());
    EXPECT_FALSE(other->hasFocus());
    EXPECT_EQ(focused(), "Scanning");
    finishScan();
    EXPECT_EQ(focused(), "Scan this Mac");
    EXPECT_TRUE(dynamic_cast<ZorbelKit::FocusButton&>(*ground.focusWidget()).showsFocus());
    disk.fill();
    press(Qt::Key_Space);
    finishScan();
    EXPECT_EQ(focused(), "Scan this Mac");
    part<FindingList>(panel).takeKeyboard();
    spice.scan();
    settle();
    EXPECT_EQ(focused(), "Scanning") << "the row is gone";
    finishScan();
    EXPECT_EQ(focused(), "Scan this Mac");
}

TEST_F(DuveskViewsTest, TheKeyboardIsNeverOnWhatIsGone) {
    auto* other = new QPushButton(&ground);
    const DuveskPanel& panel = openPanel();
    other->show();
    disk.addCache("one", 30 * megabyte);
    disk.addCache("two", 40 * megabyte);
    scan();
    clickTick(*rowsIn(panel).at(0));
    button(panel, "Move to Trash")->setFocus(Qt::TabFocusReason);
    press(Qt::Key_Space);
    finishMove();
    EXPECT_EQ(titlesIn(panel), QStringList{"two"});
    EXPECT_EQ(focused(), "Select all") << "there is nothing ticked to move";
    press(Qt::Key_Space);
    button(panel, "Move to Trash")->setFocus(Qt::TabFocusReason);
    press(Qt::Key_Space);
    finishMove();
    EXPECT_EQ(focused(), "Scan this Mac");
}

TEST_F(DuveskViewsTest, TheKeyboardGoesToTheTabsWhenItsTabIsEmptied) {
    const DuveskPanel& panel = openPanel();
    scanDisk();
    click(panel, "Select none");
    spice.setShowing(Kind::leftover);
    spice.setAll(true);
    settle();
    part<FindingList>(panel).takeKeyboard();
    spice.clear();
    finishMove();
    EXPECT_TRUE(rowsIn(panel).empty());
    EXPECT_EQ(focused(), "Left behind, Zero MB");
}

TEST_F(DuveskViewsTest, RowsKeepTheirPlaceAndTheKeyboardWhenOthersLeave) {
    const DuveskPanel& panel = openPanel();
    scanMany(200);
    spice.setAll(false);
    auto* bar = part<RowList>(panel).verticalScrollBar();
    bar->setValue(100 * FindingRow::rowHeight + 20);
    settle();
    FindingRow& row = rowOf(panel, "file 0103");
    QTest::mouseClick(&row, Qt::LeftButton, {}, {200, 10});
    settle();
    const int y = row.mapTo(&panel, QPoint()).y();
    clickTick(rowOf(panel, "file 0102"));
    EXPECT_EQ(bar->value(), 100 * FindingRow::rowHeight + 20);
    rowOf(panel, "file 0103").setFocus(Qt::TabFocusReason);
    settle();
    spice.toggle(spice.findings().at(3));
    spice.clear();
    finishMove();
    EXPECT_EQ(spice.findings().size(), 198U);
    EXPECT_EQ(focused(), "file 0103");
    EXPECT_NEAR(rowOf(panel, "file 0103").mapTo(&panel, QPoint()).y(), y, FindingRow::rowHeight);
    EXPECT_EQ(bar->value() % FindingRow::rowHeight, 20);
}

TEST_F(DuveskViewsTest, ANewTabBeginsAtItsTop) {
    const DuveskPanel& panel = openPanel();
    scanMany(200);
    auto* bar = part<RowList>(panel).verticalScrollBar();
    bar->setValue(4000);
    part<Tab>(panel, 2).click();
    settle();
    EXPECT_EQ(bar->value(), 0);
    EXPECT_EQ(titlesIn(panel).front(), "file 0001");
}

TEST_F(DuveskViewsTest, ATickRepaintsItsRowAndTheSum) {
    DuveskPanel& panel = openPanel();
    scanDisk();
    PaintCounter paints(panel);
    FindingRow& row = *rowsIn(panel).at(1);
    spice.toggle(spice.findings().at(1));
    settle();
    EXPECT_GE(paints.paintsOf(&row), 1);
    for (const FindingRow* other : rowsIn(panel)) {
        if (other != &row) {
            EXPECT_EQ(paints.paintsOf(other), 0);
        }
    }
    for (const Tab* tab : parts<Tab>(panel)) {
        EXPECT_EQ(paints.paintsOf(tab), 0);
    }
    EXPECT_EQ(paints.paintsOf(button(panel, "Scan this Mac")), 0);
    EXPECT_EQ(paints.paintsOf(button(panel, "Move to Trash")), 0);
}

TEST_F(DuveskViewsTest, WhatChangesNothingRepaintsNothing) {
    DuveskPanel& panel = openPanel();
    scanDisk();
    PaintCounter paints(panel);
    spice.setAll(true);
    spice.setShowing(std::nullopt);
    spice.setEnabled(false);
    settle();
    EXPECT_EQ(paints.all(), 0);
}

TEST_F(DuveskViewsTest, FiveThousandFindingsAreAFewWidgets) {
    const DuveskPanel& panel = openPanel();
    scanMany(5'000);
    ASSERT_EQ(spice.findings().size(), 5'000U);
    auto& list = part<RowList>(panel);
    const int mostInSight = pageSize.height() / FindingRow::rowHeight + 2;
    const auto widgets = [&] {
        return std::ranges::count_if(panel.findChildren<QWidget*>(), [](const QWidget* child) {
            return dynamic_cast<const FindingRow*>(child) != nullptr;
        });
    };
    EXPECT_LE(widgets(), mostInSight);
    auto* bar = list.verticalScrollBar();
    for (const int value : {1'000, 90'000, bar->maximum(), 0}) {
        bar->setValue(value);
        settle();
    }
    EXPECT_LE(widgets(), mostInSight) << "widgets are used again";
    bar->setValue(bar->maximum());
    settle();
    EXPECT_EQ(titlesIn(panel).back(), "file 5000");
    savePage("duvesk-panel-endless");
}

TEST_F(DuveskViewsTest, OfFiveThousandFindingsOnlyWhatChangesIsDrawn) {
    DuveskPanel& panel = openPanel();
    scanMany(5'000);
    auto* bar = part<RowList>(panel).verticalScrollBar();
    PaintCounter paints(panel);
    bar->setValue(FindingRow::rowHeight);
    settle();
    const auto paintsOfRows = [&] {
        int sum = 0;
        for (const FindingRow* row : rowsIn(panel)) {
            sum += paints.paintsOf(row);
        }
        return sum;
    };
    EXPECT_LE(paintsOfRows(), static_cast<int>(rowsIn(panel).size()) + 1);
    bar->setValue(0);
    settle();
    const int before = paintsOfRows();
    spice.toggle(spice.findings().front());
    settle();
    EXPECT_GT(paintsOfRows(), before);
    EXPECT_LE(paintsOfRows(), before + 2) << "the row that is ticked";
}

TEST_F(DuveskViewsTest, NamesOfAllKindsStayOnTheirLine) {
    disk.addLargeFile("Downloads/" + std::string(120, 'w') + "the end.iso", 9'000 * megabyte);
    disk.addLargeFile("Downloads/<b>bold &amp; <img src='x'>", 8'000 * megabyte);
    disk.addLargeFile("Downloads/two\nlines\tand more", 7'000 * megabyte);
    disk.addLargeFile("Downloads/סרט הקיץ של דוכן התה.mov", 6'000 * megabyte);
    disk.addLargeFile("Downloads/🍵🫖 summer 🎬.mov", 5'000 * megabyte);
    disk.addLargeFile("Downloads/caf\xE9 \xFF\xFE.iso", 4'000 * megabyte);
    disk.addLargeFile("Downloads/absurd", std::numeric_limits<std::int64_t>::max());
    const DuveskPanel& panel = openPanel({515, 560});
    scan();
    EXPECT_EQ(titlesIn(panel).at(0), "absurd");
    const auto& longest = part<LineText>(*rowsIn(panel).at(1));
    EXPECT_TRUE(longest.shown().text.startsWith("www"));
    EXPECT_TRUE(longest.shown().text.endsWith("the end.iso")) << longest.shown().text.toStdString();
    EXPECT_TRUE(longest.shown().text.contains(QChar(0x2026)));
    EXPECT_EQ(titlesIn(panel).at(2), "<b>bold &amp; <img src='x'>");
    EXPECT_EQ(titlesIn(panel).at(3), "two lines and more");
    EXPECT_EQ(titlesIn(panel).at(6), QString("caf\uFFFD \uFFFD\uFFFD.iso"));
    for (const FindingRow* row : rowsIn(panel)) {
        EXPECT_EQ(row->height(), FindingRow::rowHeight);
        const auto& size = part<Reading>(*row);
        EXPECT_EQ(size.geometry().right(), part<Reading>(*rowsIn(panel).front()).geometry().right());
        EXPECT_LT(part<LineText>(*row).geometry().right(), size.x());
        EXPECT_GE(size.x(), 0);
    }
    savePage("duvesk-panel-hostile");
    click(*rowsIn(panel).at(6), "Show in Finder");
    EXPECT_EQ(host.fileManager.revealed.front().front(), "/home/Downloads/caf\xE9 \xFF\xFE.iso")
        << "the name goes out byte for byte";
}

TEST_F(DuveskViewsTest, AToolTipShowsThePathAsItIs) {
    disk.addLargeFile("Downloads/<b>bold &amp; <img src='passwd'>", 8'000 * megabyte);
    disk.addCache("maps", 30 * megabyte);
    const DuveskPanel& panel = openPanel();
    scan();
    EXPECT_EQ(seen(rowsIn(panel).at(0)->toolTip()), "/home/Downloads/<b>bold &amp; <img src='passwd'>");
    EXPECT_EQ(seen(rowsIn(panel).at(1)->toolTip()), "/home/Library/Caches/maps");
}

TEST_F(DuveskViewsTest, EverythingHasASpokenNameAndRole) {
    DuveskPanel& panel = openPanel();
    scanDisk();
    FindingRow& row = *rowsIn(panel).front();
    EXPECT_EQ(spoken(row).role(), QAccessible::ListItem);
    EXPECT_EQ(spoken(row).text(QAccessible::Name), "Chai stall, summer cut (final).mov");
    EXPECT_EQ(spoken(row).text(QAccessible::Description), "In Movies · untouched for 7 months, 4.81 GB");
    EXPECT_TRUE(spoken(row).state().checkable);
    EXPECT_TRUE(spoken(row).state().checked);
    spoken(row).actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
    EXPECT_FALSE(spice.findings().front().selected);
    EXPECT_FALSE(spoken(row).state().checked);
    EXPECT_EQ(spoken(*row.parentWidget()).role(), QAccessible::List);
    EXPECT_EQ(spoken(*row.parentWidget()).text(QAccessible::Name), "Findings");
    EXPECT_EQ(spoken(part<TabRow>(panel)).role(), QAccessible::PageTabList);
    for (Tab* tab : parts<Tab>(panel)) {
        EXPECT_EQ(spoken(*tab).role(), QAccessible::PageTab);
        EXPECT_EQ(spoken(*tab).state().selected, tab->isActive());
    }
    for (auto* each : panel.findChildren<QAbstractButton*>()) {
        EXPECT_FALSE(spoken(*each).text(QAccessible::Name).isEmpty());
    }
    spice.scan();
    settle();
    EXPECT_EQ(spoken(part<BusyBar>(panel)).role(), QAccessible::ProgressBar);
    EXPECT_EQ(spoken(part<BusyBar>(panel)).text(QAccessible::Name), "Scanning");
}

TEST_F(DuveskViewsTest, EverySymbolIsDrawn) {
    for (const char* name : {"checkmark.square.fill", "square", "checkmark"}) {
        Symbol symbol(name, 18, ZorbelKit::malai);
        Symbol none("no such symbol", 18, ZorbelKit::malai);
        EXPECT_NE(symbol.grab().toImage(), none.grab().toImage()) << name;
    }
}

TEST_F(DuveskViewsTest, TheSmallestPageHasRoomForAllOfIt) {
    const DuveskPanel& panel = openPanel(smallestPage);
    scanDisk();
    EXPECT_LE(panel.minimumSizeHint().width(), smallestPage.width());
    EXPECT_LE(panel.minimumSizeHint().height(), smallestPage.height());
    for (const char* name : {"Scan this Mac", "Select all", "Select none", "Move to Trash"}) {
        const QWidget* each = button(panel, name);
        EXPECT_EQ(each->width(), each->sizeHint().width()) << name;
        EXPECT_TRUE(panel.rect().contains({each->mapTo(&panel, QPoint()), each->size()})) << name;
    }
    for (const Reading* reading : parts<Reading>(panel)) {
        EXPECT_GE(reading->width(), reading->sizeHint().width()) << reading->value().toStdString();
    }
    for (const QLabel* label : parts<QLabel>(part<TabRow>(panel))) {
        EXPECT_GE(label->width(), label->sizeHint().width()) << label->text().toStdString();
    }
    savePage("duvesk-panel-smallest");
}

TEST_F(DuveskViewsTest, AHiddenPanelListensToNothing) {
    const int before = Observable::liveObserversForTesting();
    const DuveskPanel& panel = openPanel();
    EXPECT_EQ(Observable::liveObserversForTesting(), before + 1);
    ground.hide();
    EXPECT_EQ(Observable::liveObserversForTesting(), before);
    scanDisk();
    ground.show();
    settle();
    EXPECT_EQ(titlesIn(panel).front(), "Chai stall, summer cut (final).mov") << "it catches up";
}

TEST_F(DuveskViewsTest, TurnedOffThePageForgetsWhatWasFound) {
    const DuveskPanel& panel = openPanel();
    scanDisk();
    spice.rest();
    settle();
    EXPECT_EQ(visibleTexts(panel), (QStringList{nothingYet, looksThrough, footer}));
}

TEST_F(DuveskViewsTest, TheMenuSectionOffersAScanUntilSomethingIsFound) {
    DuveskMenuSection& section = openSection();
    EXPECT_EQ(section.minimumHeight(), section.maximumHeight()) << "nothing below it ever moves";
    EXPECT_EQ(visibleTexts(section), QStringList());
    EXPECT_TRUE(isShown(section, "Scan this Mac"));
    click(section, "Scan this Mac");
    EXPECT_TRUE(spice.isScanning());
    ASSERT_TRUE(isShown(section, "Scanning"));
    EXPECT_FALSE(button(section, "Scanning")->isEnabled());
    EXPECT_EQ(parts<BusyBar>(section).size(), 1U);
    finishScan();
    EXPECT_TRUE(button(section, "Scan this Mac")->isEnabled()) << "nothing was found";
    disk.fill();
    click(section, "Scan this Mac");
    finishScan();
    EXPECT_EQ(visibleTexts(section), (QStringList{"12 findings", "15.01 GB"}));
    EXPECT_FALSE(isShown(section, "Scan this Mac"));
    EXPECT_TRUE(parts<BusyBar>(section).empty());
}

TEST_F(DuveskViewsTest, TheMenuSectionSaysFindingsOfOneToo) {
    disk.addCache("only", 30 * megabyte);
    const DuveskMenuSection& section = openSection();
    scan();
    EXPECT_EQ(visibleTexts(section), (QStringList{"1 findings", "30 MB"}));
    spice.setShowing(Kind::large);
    settle();
    EXPECT_EQ(visibleTexts(section), (QStringList{"1 findings", "30 MB"})) << "of all kinds";
}

TEST_F(DuveskViewsTest, TheMenuSectionIsScannedByTheKeyboard) {
    auto* other = new QPushButton(&ground);
    DuveskMenuSection& section = openSection();
    other->show();
    button(section, "Scan this Mac")->setFocus(Qt::TabFocusReason);
    press(Qt::Key_Space);
    EXPECT_TRUE(spice.isScanning());
    EXPECT_FALSE(other->hasFocus());
    finishScan();
    EXPECT_EQ(focused(), "Scan this Mac");
    disk.fill();
    press(Qt::Key_Space);
    finishScan();
    EXPECT_FALSE(other->hasFocus());
    EXPECT_TRUE(showsText(section, "12 findings"));
}

TEST_F(DuveskViewsTest, Pictures) {
    const DuveskPanel& panel = openPanel();
    savePage("duvesk-panel-before");
    pointAt(*button(panel, "Scan this Mac"));
    click(panel, "Scan this Mac");
    pointAt(ground, {2, 2});
    savePage("duvesk-panel-scanning");
    disk.fill();
    finishScan();
    scan();
    savePage("duvesk-panel");
    pointAt(*rowsIn(panel).at(1), {200, 10});
    clickTick(*rowsIn(panel).at(2));
    press(Qt::Key_Down);
    pointAt(*rowsIn(panel).at(1), {200, 10});
    savePage("duvesk-panel-hover-and-keyboard");
    pointAt(part<Tab>(panel, 2));
    part<Tab>(panel, 0).setFocus(Qt::TabFocusReason);
    press(Qt::Key_Right);
    savePage("duvesk-panel-tab");
    part<Tab>(panel, 0).click();
    pointAt(ground, {2, 2});
    click(panel, "Select none");
    savePage("duvesk-panel-none");
    clickTick(*rowsIn(panel).at(1));
    clickTick(*rowsIn(panel).at(3));
    click(panel, "Move to Trash");
    finishMove();
    pointAt(ground, {2, 2});
    savePage("duvesk-panel-moved");
    EXPECT_TRUE(showsText(panel, "Moved 5.38 GB to the Trash"));
    click(panel, "Select all");
    click(panel, "Move to Trash");
    finishMove();
    savePage("duvesk-panel-all-moved");
}

TEST_F(DuveskViewsTest, PictureOfATabWithNothingInIt) {
    disk.addCache("only", 30 * megabyte);
    const DuveskPanel& panel = openPanel();
    scan();
    part<Tab>(panel, 2).click();
    settle();
    savePage("duvesk-panel-empty-tab");
}

TEST_F(DuveskViewsTest, PicturesOfTheMenuSection) {
    DuveskMenuSection& section = openSection();
    savePicture(ground, "duvesk-menu-before");
    click(section, "Scan this Mac");
    savePicture(ground, "duvesk-menu-scanning");
    finishScan();
    scanDisk();
    savePicture(ground, "duvesk-menu");
    EXPECT_TRUE(showsText(section, "12 findings"));
}

class DuveskInTheDashboard : public ::testing::Test {
protected:
    DuveskInTheDashboard()
        : stall(Zorbel::Blend::build(suite.host())) {
        stall->setEnabled(true, *stall->spice("duvesk"));
        stall->setSelection("duvesk");
        dashboard.reset(Zorbel::dashboardView(*stall, suite.loop).build(nullptr));
    }

    Simulated::SimulatedSuite suite;
    std::unique_ptr<ZorbelKit::Stall> stall;
    std::unique_ptr<QWidget> dashboard;
};

TEST_F(DuveskInTheDashboard, Picture) {
    Disk(suite).fill();
    show(*dashboard, {960, 640});
    QTest::mouseClick(button(*dashboard, "Scan this Mac"), Qt::LeftButton);
    suite.loop.settle();
    settle();
    savePicture(*dashboard, "dashboard-duvesk");
    dashboard->resize(840, 560);
    settle();
    savePicture(*dashboard, "dashboard-duvesk-smallest");
    const auto& page = part<DuveskPanel>(*dashboard);
    EXPECT_LE(page.width(), 840 - 268 - 56);
    EXPECT_LE(page.mapTo(dashboard.get(), QPoint(0, page.height())).y(), 560 - 24) << "it need not scroll";
}

} // namespace
