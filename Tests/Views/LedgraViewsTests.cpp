#include "Ledgra/FileDragViews.hpp"
#include "Ledgra/FileIconViews.hpp"
#include "Ledgra/FileUrls.hpp"
#include "Ledgra/Ledgra.hpp"
#include "Ledgra/LedgraViews.hpp"
#include "Ledgra/ShelfViews.hpp"
#include "Ledgra/TileViews.hpp"
#include "Platforms/Simulated/SimulatedHost.hpp"
#include "Tests/Views/SpiceViewTest.hpp"
#include "ZorbelKit/Controls/Switch.hpp"
#include "ZorbelKit/Controls/Symbol.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QAccessible>
#include <QApplication>
#include <QBuffer>
#include <QDrag>
#include <QDragEnterEvent>
#include <QIcon>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>
#include <QScrollBar>
#include <QSysInfo>
#include <QTest>
#include <QWheelEvent>
#include <QWindow>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace Ledgra;
using namespace Views;
using ZorbelKit::Switch;
using ZorbelKit::Symbol;
namespace fs = std::filesystem;

using Paths = std::vector<fs::path>;

constexpr QSize stripSize(340, 128);

/// Names as people give them, and worse.
const Paths manyFiles{"/home/ada/Chai stall, summer cut (final).mov",
                      "/home/ada/Invoice 2026-11.pdf",
                      "/home/ada/Recipes",
                      "/home/ada/\xF0\x9F\x8D\xB5 masala.txt",
                      "/home/ada/a_very_long_name_without_any_space_in_it_at_all.tar.gz",
                      "/home/ada/notes.md",
                      "/home/ada/bad \xFF\xFE name.png",
                      "/home/ada/two\nlines.txt",
                      "/home/ada/IMG_20261122_034512.jpg",
                      "/home/ada/\xD7\xA9\xD7\x9C\xD7\x95\xD7\x9D.odt",
                      "/home/ada/x",
                      "/home/ada/Budget.ods"};

/// What a drag brings along.
class Load : public QMimeData {
public:
    explicit Load(QByteArray list, QString type = "text/uri-list")
        : list_(std::move(list))
        , type_(std::move(type)) {}

    QStringList formats() const override { return {type_}; }
    bool hasFormat(const QString& type) const override { return type == type_; }

protected:
    QVariant retrieveData(const QString& type, QMetaType) const override {
        return type == type_ ? QVariant(list_) : QVariant();
    }

private:
    QByteArray list_;
    QString type_;
};

std::string png(int width, int height, Qt::GlobalColor colour) {
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(colour);
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "png");
    return buffer.data().toStdString();
}

class LedgraViewsTest : public SpiceViewTest {
protected:
    LedgraViewsTest() {
        ZorbelKit::applyTheme(*qApp, [this] { return canBlend; });
    }
    ~LedgraViewsTest() override {
        ZorbelKit::applyTheme(*qApp);
        QIcon::setThemeSearchPaths(iconPaths);
        QIcon::setThemeName(iconTheme);
    }

    /// The icons of the machine, where it has some.
    static void useIconTheme() {
        QIcon::setThemeSearchPaths({"/usr/share/icons"});
        QIcon::setThemeName("Adwaita");
    }

    ShelfView& openShelf() { return openPage(new ShelfView(spice, &ground), stripSize); }
    LedgraPanel& openPanel(int width = pageWidth) { return openPage(new LedgraPanel(spice, &ground), width); }
    LedgraMenuSection& openSection() {
        return SpiceViewTest::openSection(new LedgraMenuSection(spice, &ground));
    }

    void stage(const Paths& paths) {
        spice.stage(paths);
        settle();
    }

    void stageMany() {
        stage(manyFiles);
        for (const auto& [file, icon] : host.parkedFiles.icons) {
            if (file.extension() == ".jpg") {
                icon->setLook({.names = {"image-jpeg"}, .thumbnail = png(160, 107, Qt::darkCyan)});
            } else if (file.filename() == "Recipes") {
                icon->setLook({.names = {"folder"}, .thumbnail = {}});
            } else {
                icon->setLook({.names = {"text-x-generic"}, .thumbnail = {}});
            }
        }
        settle();
    }

    static std::vector<StagedTile*> tilesIn(const QWidget& widget) {
        return parts<StagedTiles>(widget).front()->tiles();
    }
    static StagedTile& tile(const QWidget& widget, std::size_t index) { return *tilesIn(widget).at(index); }
    static RemoveButton* removeOf(const StagedTile& tile) {
        const auto found = parts<RemoveButton>(tile);
        return found.empty() ? nullptr : found.front();
    }

    std::vector<std::string> names() const {
        std::vector<std::string> names;
        for (const Staged& item : spice.staged()) {
            names.push_back(item.name);
        }
        return names;
    }

    // Drags

    /// Whether a drag is welcome, and its files are left where they are.
    static bool isTaken(const QDropEvent& event) {
        return event.isAccepted() &&
               (event.dropAction() == Qt::CopyAction || event.dropAction() == Qt::IgnoreAction);
    }

    static bool enter(QWidget& widget, const QMimeData& load, Qt::DropActions actions = Qt::CopyAction) {
        QDragEnterEvent event(QPoint(10, 10), actions, &load, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&widget, &event);
        return isTaken(event);
    }

    static bool move(QWidget& widget, const QMimeData& load, Qt::DropActions actions = Qt::CopyAction) {
        QDragMoveEvent event(QPoint(20, 20), actions, &load, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&widget, &event);
        return isTaken(event);
    }

    static void leave(QWidget& widget) {
        QDragLeaveEvent event;
        QApplication::sendEvent(&widget, &event);
    }

    static bool drop(QWidget& widget, const QMimeData& load, Qt::DropActions actions = Qt::CopyAction) {
        enter(widget, load, actions);
        QDropEvent event(QPointF(20, 20), actions, &load, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&widget, &event);
        return isTaken(event);
    }

    /// Presses on a tile and moves as far as begins a drag. `meanwhile` is called while it runs. False where
    /// none ran.
    bool dragTile(StagedTile& dragged, const std::function<void(QDrag& drag)>& meanwhile) {
        QWindow* window = ground.windowHandle();
        const QPoint from = dragged.mapTo(&ground, QPoint(20, 30));
        bool ran = false;
        const auto before = FileDrag::setRunnerForTesting([&](QDrag& drag) {
            ran = true;
            meanwhile(drag);
            drag.deleteLater(); // as the toolkit does it
            settle();
        });
        QTest::mousePress(window, Qt::LeftButton, {}, from);
        moveHeld(dragged, {30, 0});
        settle();
        QTest::mouseRelease(window, Qt::LeftButton, {}, from + QPoint(30, 0));
        settle();
        FileDrag::setRunnerForTesting(before);
        return ran;
    }

    /// The pointer moves by so much over a tile, with the button down.
    static void moveHeld(StagedTile& held, QPoint by) {
        const QPointF at = QPoint(20, 30) + by;
        QMouseEvent event(QEvent::MouseMove, at, held.mapToGlobal(at), Qt::NoButton, Qt::LeftButton,
                          Qt::NoModifier);
        QApplication::sendEvent(&held, &event);
    }

    static bool isDragging() {
        return std::ranges::any_of(QApplication::topLevelWidgets(), [](const QWidget* window) {
            return window->findChild<QDrag*>() != nullptr;
        });
    }

    const QStringList iconPaths = QIcon::themeSearchPaths();
    const QString iconTheme = QIcon::themeName();
    bool canBlend = true;
    Simulated::SimulatedHost host;
    LedgraSpice spice{{.clock = host.clock,
                       .defaults = host.defaults,
                       .screens = host.screens,
                       .fileManager = host.fileManager,
                       .panels = host.floatingPanels,
                       .files = host.parkedFiles}};
};

// The strip

TEST_F(LedgraViewsTest, TheEmptyStripSaysWhatToDo) {
    ShelfView& shelf = openShelf();
    EXPECT_EQ(shelf.sizeHint(), stripSize);
    EXPECT_EQ(visibleTexts(shelf), QStringList{"Drop files here"});
    EXPECT_EQ(part<Symbol>(shelf).symbol(), "tray");
    EXPECT_TRUE(parts<StagedTile>(shelf).empty());
}

TEST_F(LedgraViewsTest, FilesAreCountedAndShownInTheirOrder) {
    ShelfView& shelf = openShelf();
    stage({"/b"});
    EXPECT_EQ(visibleTexts(shelf), QStringList{"1 file"});
    stage({"/a", "/c"});
    EXPECT_EQ(visibleTexts(shelf), QStringList{"3 files"});
    std::vector<std::string> shown;
    for (const StagedTile* each : tilesIn(shelf)) {
        shown.push_back(each->item().name);
    }
    EXPECT_EQ(shown, (std::vector<std::string>{"b", "a", "c"}));
    EXPECT_LT(tile(shelf, 0).x(), tile(shelf, 1).x());
    EXPECT_EQ(tile(shelf, 0).y(), tile(shelf, 2).y());
}

TEST_F(LedgraViewsTest, ClearInOnePlaceEmptiesAllThree) {
    struct Places {
        ShelfView shelf;
        LedgraPanel panel;
        LedgraMenuSection section;
        explicit Places(LedgraSpice& spice)
            : shelf(spice, nullptr)
            , panel(spice, nullptr)
            , section(spice, nullptr) {}
    } places(spice);
    const std::vector<QWidget*> all{&places.shelf, &places.panel, &places.section};
    for (QWidget* place : all) {
        show(*place, place->sizeHint());
    }
    for (QWidget* place : all) {
        stage({"/a", "/b"});
        EXPECT_TRUE(showsText(places.shelf, "2 files"));
        EXPECT_TRUE(showsText(places.section, "2 on the shelf"));
        EXPECT_FALSE(showsText(places.panel, "The shelf is empty."));
        button(*place, "Clear")->click();
        settle();
        EXPECT_TRUE(showsText(places.shelf, "Drop files here"));
        EXPECT_TRUE(showsText(places.section, "Shelf is empty."));
        EXPECT_TRUE(showsText(places.panel, "The shelf is empty."));
    }
}

TEST_F(LedgraViewsTest, ATileThatStaysIsNotMadeAnew) {
    ShelfView& shelf = openShelf();
    stage({"/a", "/b", "/c"});
    const StagedTile* last = &tile(shelf, 2);
    spice.remove(spice.staged().front());
    settle();
    EXPECT_EQ(&tile(shelf, 1), last);
    EXPECT_EQ(parts<StagedTile>(shelf).size(), 2u);
}

TEST_F(LedgraViewsTest, TheNewestFileIsScrolledIntoSight) {
    ShelfView& shelf = openShelf();
    stageMany();
    const StagedTile& last = tile(shelf, 11);
    EXPECT_LE(last.mapTo(&shelf, QPoint(last.width(), 0)).x(), shelf.width());
}

TEST_F(LedgraViewsTest, TheWheelScrollsFromSideToSideUpAndDownOrSideways) {
    ShelfView& shelf = openShelf();
    stageMany();
    QScrollBar& bar = *part<TileStrip>(shelf).horizontalScrollBar();
    const auto turn = [&](QPoint pixels, QPoint angle) {
        QWheelEvent event(QPointF(100, 80), shelf.mapToGlobal(QPointF(100, 80)), pixels, angle, Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(part<TileStrip>(shelf).viewport(), &event);
        return event.isAccepted();
    };
    const int end = bar.value();
    EXPECT_EQ(end, bar.maximum());
    EXPECT_TRUE(turn({}, {0, 120}));
    EXPECT_EQ(bar.value(), end - StagedTile::tileSize.width());
    turn({}, {-120, 0});
    EXPECT_EQ(bar.value(), end);
    turn({30, 0}, {});
    EXPECT_EQ(bar.value(), end - 30);
    turn({}, {0, 120 * 100});
    EXPECT_EQ(bar.value(), 0);
    EXPECT_FALSE(bar.isVisible());
}

TEST_F(LedgraViewsTest, HiddenItListensToNothingAndShownItIsUpToDate) {
    ShelfView& shelf = openShelf();
    shelf.hide();
    EXPECT_EQ(spice.observerCount(), 0);
    stage({"/a"});
    shelf.show();
    settle();
    EXPECT_TRUE(showsText(shelf, "1 file"));
}

TEST_F(LedgraViewsTest, EqualNewsPaintNothing) {
    ShelfView& shelf = openShelf();
    stage({"/a", "/b"});
    PaintCounter paints(ground);
    spice.stage({"/a"});
    spice.setShowShelf(true);
    settle();
    EXPECT_EQ(paints.all(), 0);
    static_cast<void>(shelf);
}

// Drops

TEST_F(LedgraViewsTest, FilesHeldAboveTheStripAreAskedForUntilTheyLeave) {
    ShelfView& shelf = openShelf();
    const Load load("file:///a\r\n");
    EXPECT_TRUE(enter(shelf, load));
    EXPECT_TRUE(showsText(shelf, "Let go"));
    EXPECT_TRUE(move(shelf, load));
    EXPECT_TRUE(shelf.isTargeted());
    leave(shelf);
    EXPECT_TRUE(showsText(shelf, "Drop files here"));
    EXPECT_FALSE(shelf.isTargeted());
    EXPECT_TRUE(spice.staged().empty());
}

TEST_F(LedgraViewsTest, L7_AHundredTimesOverAndOutLeavesNoTrace) {
    ShelfView& shelf = openShelf();
    const Load load("file:///a\r\n");
    for (int round = 0; round < 100; ++round) {
        enter(shelf, load);
        move(shelf, load);
        leave(shelf);
    }
    EXPECT_FALSE(shelf.isTargeted());
    enter(shelf, load);
    shelf.hide(); // no leave is sent then
    EXPECT_FALSE(shelf.isTargeted());
}

TEST_F(LedgraViewsTest, L1_ADropParksItsFilesInOneGoOnceItIsAnswered) {
    ShelfView& shelf = openShelf();
    int changes = 0;
    const auto token = spice.observe([&] { ++changes; });
    const Load load("file:///a\r\nfile:///b\r\nfile:///a\r\n");
    enter(shelf, load);
    EXPECT_TRUE(drop(shelf, load));
    EXPECT_FALSE(shelf.isTargeted());
    EXPECT_TRUE(spice.staged().empty());
    settle();
    EXPECT_EQ(names(), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(changes, 1);
}

TEST_F(LedgraViewsTest, WhateverIsProposedFilesAreOnlyReferredTo) {
    ShelfView& shelf = openShelf();
    const Load load("file:///a\r\n");
    for (const Qt::DropAction proposed : {Qt::CopyAction, Qt::MoveAction, Qt::LinkAction}) {
        SCOPED_TRACE(proposed);
        spice.clear();
        EXPECT_TRUE(enter(shelf, load, proposed));
        EXPECT_TRUE(move(shelf, load, proposed));
        EXPECT_TRUE(drop(shelf, load, proposed));
        settle();
        EXPECT_EQ(spice.staged().size(), 1u);
    }
}

TEST_F(LedgraViewsTest, L5_WhatIsNoListOfFilesParksNothing) {
    ShelfView& shelf = openShelf();
    for (const char* type :
         {"text/plain", "image/png", "text/x-moz-url", "application/x-qabstractitemmodeldatalist"}) {
        SCOPED_TRACE(type);
        const Load load("file:///a\r\n", type);
        EXPECT_FALSE(enter(shelf, load));
        EXPECT_FALSE(move(shelf, load));
        EXPECT_FALSE(shelf.isTargeted());
        EXPECT_FALSE(drop(shelf, load));
    }
    const Load link("https://example.org/\r\n");
    EXPECT_TRUE(drop(shelf, link));
    EXPECT_TRUE(drop(shelf, Load("")));
    settle();
    EXPECT_TRUE(spice.staged().empty());
}

TEST_F(LedgraViewsTest, L2_NamesThatAreNoTextAreParkedByteForByte) {
    ShelfView& shelf = openShelf();
    drop(shelf, Load("file:///bad%FF%FEname\r\nfile:///raw\xFFname\r\n"));
    settle();
    ASSERT_EQ(spice.staged().size(), 2u);
    EXPECT_EQ(spice.staged()[0].url.native(), "/bad\xFF\xFEname");
    EXPECT_EQ(spice.staged()[1].url.native(), "/raw\xFFname");
}

TEST_F(LedgraViewsTest, FilesOfThisMachineByItsOwnNameAreParked) {
    ShelfView& shelf = openShelf();
    drop(shelf,
         Load("file://" + QSysInfo::machineHostName().toUtf8() + "/a\r\nfile://elsewhere.invalid/b\r\n"));
    settle();
    EXPECT_EQ(names(), std::vector<std::string>{"a"});
}

TEST_F(LedgraViewsTest, L7_AShelfThatClosesJustAfterADropStillParks) {
    auto shelf = std::make_unique<ShelfView>(spice, nullptr);
    show(*shelf, stripSize);
    drop(*shelf, Load("file:///a\r\n"));
    shelf.reset();
    settle();
    EXPECT_EQ(names(), std::vector<std::string>{"a"});
}

TEST_F(LedgraViewsTest, L3_AMegabyteIsDroppedAtOnce) {
    ShelfView& shelf = openShelf();
    QByteArray list;
    while (list.size() < 1'000'000) {
        list += "file:///folder/" + QByteArray::number(list.size()) + "\r\n";
    }
    drop(shelf, Load(list));
    settle();
    EXPECT_EQ(spice.staged().size(), 12u);
    EXPECT_EQ(host.parkedFiles.icons.size(), 12u);
}

// Tiles

TEST_F(LedgraViewsTest, ATileShowsItsFileInTheFileManager) {
    ShelfView& shelf = openShelf();
    stage({"/a", "/b"});
    QTest::mouseClick(&tile(shelf, 1), Qt::LeftButton);
    EXPECT_EQ(host.fileManager.revealed, (std::vector<Paths>{{"/b"}}));
    tile(shelf, 0).setFocus();
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space}) {
        press(key);
    }
    EXPECT_EQ(host.fileManager.revealed, (std::vector<Paths>{{"/b"}, {"/a"}, {"/a"}, {"/a"}}));
    EXPECT_EQ(spice.staged().size(), 2u);
}

TEST_F(LedgraViewsTest, UnderThePointerATileCanBeTakenOff) {
    ShelfView& shelf = openShelf();
    stage({"/a", "/b"});
    EXPECT_EQ(removeOf(tile(shelf, 0)), nullptr);
    pointAt(tile(shelf, 0));
    ASSERT_NE(removeOf(tile(shelf, 0)), nullptr);
    EXPECT_EQ(removeOf(tile(shelf, 1)), nullptr);
    pointAt(*removeOf(tile(shelf, 0)));
    ASSERT_NE(removeOf(tile(shelf, 0)), nullptr) << "the button belongs to the tile";
    QTest::mouseClick(removeOf(tile(shelf, 0)), Qt::LeftButton);
    settle();
    EXPECT_EQ(names(), std::vector<std::string>{"b"});
    EXPECT_TRUE(host.fileManager.revealed.empty());
}

TEST_F(LedgraViewsTest, OnTheKeyboardATileIsTakenOffAndTheNextOneHasIt) {
    ShelfView& shelf = openShelf();
    stage({"/a", "/b", "/c"});
    tile(shelf, 1).setFocus(Qt::TabFocusReason);
    EXPECT_NE(removeOf(tile(shelf, 1)), nullptr);
    press(Qt::Key_Delete);
    EXPECT_EQ(names(), (std::vector<std::string>{"a", "c"}));
    EXPECT_EQ(focused(), "c");
    press(Qt::Key_Backspace);
    EXPECT_EQ(focused(), "a");
    press(Qt::Key_Delete);
    EXPECT_TRUE(spice.staged().empty());
    EXPECT_TRUE(showsText(shelf, "Drop files here"));
    EXPECT_EQ(focused(), "Shelf") << "no control far away";
}

TEST_F(LedgraViewsTest, TheArrowsLeadFromTileToTileAndKeepThemInSight) {
    ShelfView& shelf = openShelf();
    stageMany();
    tile(shelf, 0).setFocus(Qt::TabFocusReason);
    press(Qt::Key_Left);
    EXPECT_TRUE(tile(shelf, 0).hasFocus());
    for (std::size_t index = 1; index < 12; ++index) {
        press(Qt::Key_Right);
        ASSERT_TRUE(tile(shelf, index).hasFocus());
        const int left = tile(shelf, index).mapTo(&shelf, QPoint()).x();
        EXPECT_GE(left, 0);
        EXPECT_LE(left + StagedTile::tileSize.width(), shelf.width());
    }
    press(Qt::Key_Home);
    EXPECT_TRUE(tile(shelf, 0).hasFocus());
    EXPECT_GE(tile(shelf, 0).mapTo(&shelf, QPoint()).x(), 0);
    press(Qt::Key_End);
    EXPECT_TRUE(tile(shelf, 11).hasFocus());
}

TEST_F(LedgraViewsTest, NamesTakeTwoLinesAtMostAndKeepTheirEnd) {
    const QFont font = ZorbelKit::interfaceFont(10);
    const double width = 64;
    EXPECT_EQ(nameLines("x", font, width), QStringList{"x"});
    EXPECT_EQ(nameLines("", font, width), QStringList{});
    for (const QString& name :
         {QString("Chai stall, summer cut (final).mov"), QString("a_very_long_name_without_any_space.tar.gz"),
          QString(4000, 'n') + ".txt"}) {
        const QStringList lines = nameLines(name, font, width);
        ASSERT_EQ(lines.size(), 2);
        EXPECT_TRUE(name.startsWith(lines[0]));
        EXPECT_TRUE(lines[1].contains(QChar(0x2026)));
        EXPECT_TRUE(lines[1].endsWith(name.right(3)));
        for (const QString& line : lines) {
            EXPECT_LE(QFontMetricsF(font).horizontalAdvance(line), width + 0.5);
        }
    }
}

TEST_F(LedgraViewsTest, AScreenReaderHearsWhatATileIs) {
    ShelfView& shelf = openShelf();
    stage({"/home/two\nlines.txt"});
    const auto* spoken = QAccessible::queryAccessibleInterface(&tile(shelf, 0));
    EXPECT_EQ(spoken->role(), QAccessible::Button);
    EXPECT_EQ(spoken->text(QAccessible::Name), "two lines.txt");
    tile(shelf, 0).setFocus();
    EXPECT_EQ(removeOf(tile(shelf, 0))->accessibleName(), "Remove two lines.txt");
    EXPECT_FALSE(tile(shelf, 0).toolTip().contains('\n'));
}

// Drags off the shelf

TEST_F(LedgraViewsTest, L6_AFileIsOfferedAsItsOwnBytesAndAsText) {
    const auto data = FileDrag::data("/a b/caf\xC3\xA9.txt");
    EXPECT_EQ(data->formats(), (QStringList{"text/uri-list", "text/plain;charset=utf-8"}));
    EXPECT_EQ(data->data("text/uri-list"), "file:///a%20b/caf%C3%A9.txt\r\n");
    EXPECT_EQ(data->data("text/plain;charset=utf-8"), "/a b/caf\xC3\xA9.txt");
    EXPECT_TRUE(data->data("image/png").isEmpty());
    EXPECT_FALSE(data->hasFormat("text/plain"));
}

TEST_F(LedgraViewsTest, L2_NamesGoOutByteForByteAndNoKeysGoToATerminal) {
    for (const char* name : {"/bad\xFF\xFEname", "/two\nlines", "/tab\there", "/bell\a", "/esc\x1B[2J"}) {
        SCOPED_TRACE(name);
        const auto data = FileDrag::data(name);
        EXPECT_EQ(data->formats(), QStringList{"text/uri-list"});
        EXPECT_TRUE(data->data("text/plain;charset=utf-8").isEmpty());
        const Paths files = filesInList(data->data("text/uri-list").toStdString(), "");
        ASSERT_EQ(files.size(), 1u);
        EXPECT_EQ(files.front().native(), name);
    }
}

TEST_F(LedgraViewsTest, L6_ATileIsDraggedToBeCopiedAndStays) {
    ShelfView& shelf = openShelf();
    stage({"/a", "/b"});
    QByteArray list;
    QSizeF picture;
    const bool ran = dragTile(tile(shelf, 1), [&](const QDrag& drag) {
        list = drag.mimeData()->data("text/uri-list");
        picture = drag.pixmap().deviceIndependentSize();
        EXPECT_NE(drag.source(), nullptr);
        EXPECT_FALSE(shelf.isTargeted());
    });
    ASSERT_TRUE(ran);
    EXPECT_EQ(list, "file:///b\r\n");
    EXPECT_EQ(picture, QSizeF(StagedTile::iconSize, StagedTile::iconSize));
    EXPECT_EQ(spice.staged().size(), 2u);
    EXPECT_TRUE(host.fileManager.revealed.empty()) << "letting go is no click";
    EXPECT_FALSE(tile(shelf, 1).isDown());
    settle();
    EXPECT_FALSE(isDragging());
}

TEST_F(LedgraViewsTest, L9_AFileThatIsGoneIsNotDragged) {
    ShelfView& shelf = openShelf();
    host.parkedFiles.missing.insert("/gone");
    stage({"/gone"});
    EXPECT_FALSE(dragTile(tile(shelf, 0), [](QDrag&) {}));
    EXPECT_EQ(spice.staged().size(), 1u);
    host.parkedFiles.missing.clear();
    EXPECT_TRUE(dragTile(tile(shelf, 0), [](QDrag&) {})) << "it is looked for at every press";
}

TEST_F(LedgraViewsTest, L7_ATileMayGoWhileItsFileIsOnItsWay) {
    ShelfView& shelf = openShelf();
    stage({"/a", "/b"});
    const QPointer<StagedTile> dragged = &tile(shelf, 0);
    EXPECT_TRUE(dragTile(*dragged, [&](QDrag&) {
        spice.clear();
        settle();
        EXPECT_TRUE(dragged.isNull());
    }));
    EXPECT_FALSE(isDragging());
}

TEST_F(LedgraViewsTest, L7_TheShelfMayCloseWhileAFileIsOnItsWay) {
    QPointer<ShelfView> shelf = &openShelf();
    stage({"/a"});
    auto* other = new LedgraMenuSection(spice, &ground);
    EXPECT_TRUE(dragTile(tile(*shelf, 0), [&](QDrag&) { delete shelf.data(); }));
    EXPECT_TRUE(shelf.isNull());
    openPage(other);
}

TEST_F(LedgraViewsTest, AClickThatTremblesIsNoDrag) {
    ShelfView& shelf = openShelf();
    stage({"/a"});
    QWindow* window = ground.windowHandle();
    const QPoint at = tile(shelf, 0).mapTo(&ground, QPoint(20, 30));
    QTest::mousePress(window, Qt::LeftButton, {}, at);
    moveHeld(tile(shelf, 0), {2, 1});
    settle();
    EXPECT_FALSE(isDragging());
    QTest::mouseRelease(window, Qt::LeftButton, {}, at + QPoint(2, 1));
    EXPECT_EQ(host.fileManager.revealed.size(), 1u);
}

// Icons

TEST_F(LedgraViewsTest, AnIconFollowsItsFile) {
    ShelfView& shelf = openShelf();
    stage({"/a.jpg"});
    const FileIconView& view = tile(shelf, 0).icon();
    const QImage before = view.picture().toImage();
    host.parkedFiles.icons.front().second->setLook({.names = {}, .thumbnail = png(40, 40, Qt::red)});
    settle();
    const QImage after = view.picture().toImage();
    EXPECT_NE(before, after);
    EXPECT_EQ(after.pixelColor(20, 20), QColor(Qt::red));
    EXPECT_EQ(view.drawings(), 2);
    tile(shelf, 0).update();
    settle();
    EXPECT_EQ(view.drawings(), 2);
}

TEST_F(LedgraViewsTest, IconsAreCrispAtEveryScale) {
    for (const double scale : {1.0, 1.25, 1.5, 2.0, 3.0}) {
        SCOPED_TRACE(scale);
        for (const FileIcon::Look& look :
             {FileIcon::Look{.names = {"folder"}}, FileIcon::Look{.names = {"no such icon at all"}},
              FileIcon::Look{.names = {}, .thumbnail = png(160, 80, Qt::red)}}) {
            const QPixmap icon = drawIcon(look, 40, scale);
            EXPECT_EQ(icon.width(), static_cast<int>(std::lround(40 * scale)));
            EXPECT_EQ(icon.devicePixelRatio(), scale);
            EXPECT_GT(qAlpha(icon.toImage().pixel(icon.width() / 2, icon.height() / 2)), 200);
        }
    }
}

TEST_F(LedgraViewsTest, AThumbnailThatIsNoneLeavesTheIconOfTheName) {
    const QImage plain = drawIcon({.names = {"none"}, .thumbnail = {}}, 40, 1).toImage();
    for (const std::string& bytes :
         {std::string("nonsense"), png(64, 64, Qt::red).substr(0, 30), png(600, 8, Qt::red)}) {
        EXPECT_EQ(drawIcon({.names = {"none"}, .thumbnail = bytes}, 40, 1).toImage(), plain);
    }
}

// The page and the section

TEST_F(LedgraViewsTest, ThePageSaysWhatTheShelfIs) {
    LedgraPanel& panel = openPanel();
    QStringList texts = visibleTexts(panel);
    texts.removeAll(QString());
    EXPECT_EQ(texts, (QStringList{"Keep the shelf on screen",
                                  "Nothing is copied or moved. The shelf holds a reference, so quitting "
                                  "Zorbel leaves every file exactly where it was.",
                                  "ON THE SHELF", "The shelf is empty.",
                                  "Drag files onto the strip under your notch. They stay there until you "
                                  "drag them somewhere else."}));
    EXPECT_FALSE(button(panel, "Clear")->isEnabled());
}

TEST_F(LedgraViewsTest, TheSwitchIsTheSetting) {
    LedgraPanel& panel = openPanel();
    Switch& keep = part<Switch>(panel);
    EXPECT_EQ(keep.accessibleName(), "Keep the shelf on screen");
    EXPECT_TRUE(keep.isChecked());
    keep.click();
    EXPECT_FALSE(spice.showShelf());
    EXPECT_EQ(host.floatingPanels.live(), 0);
    spice.setShowShelf(true);
    settle();
    EXPECT_TRUE(keep.isChecked());
    EXPECT_EQ(host.floatingPanels.live(), 1);
}

TEST_F(LedgraViewsTest, ThePagesGridFitsItsWidth) {
    LedgraPanel& panel = openPanel();
    stageMany();
    for (const int width : {pageWidth, narrowWidth}) {
        SCOPED_TRACE(width);
        fitPage(width);
        int lowest = 0;
        for (const StagedTile* each : tilesIn(panel)) {
            const QRect place(each->mapTo(&panel, QPoint()), each->size());
            EXPECT_TRUE(panel.rect().contains(place));
            lowest = std::max(lowest, place.bottom());
            for (const StagedTile* other : tilesIn(panel)) {
                EXPECT_TRUE(other == each || !other->geometry().intersects(each->geometry()));
            }
        }
        EXPECT_LT(panel.height() - lowest, 20);
    }
}

TEST_F(LedgraViewsTest, InTheGridTheArrowsLeadUpAndDown) {
    LedgraPanel& panel = openPanel();
    stageMany();
    fitPage();
    const auto tiles = tilesIn(panel);
    const int perRow =
        static_cast<int>(std::ranges::count(tiles, 0, [](const auto* each) { return each->y(); }));
    ASSERT_GT(perRow, 1);
    ASSERT_LT(perRow, 12);
    tiles[0]->setFocus(Qt::TabFocusReason);
    press(Qt::Key_Down);
    EXPECT_TRUE(tiles[static_cast<std::size_t>(perRow)]->hasFocus());
    press(Qt::Key_Up);
    EXPECT_TRUE(tiles[0]->hasFocus());
}

TEST_F(LedgraViewsTest, TheLastTileOfThePageLeavesTheKeyboardWithThePage) {
    LedgraPanel& panel = openPanel();
    stage({"/a"});
    tile(panel, 0).setFocus(Qt::TabFocusReason);
    press(Qt::Key_Delete);
    EXPECT_TRUE(showsText(panel, "The shelf is empty."));
    EXPECT_EQ(focused(), "Notch Shelf");
}

TEST_F(LedgraViewsTest, ClearByTheKeyboardLeavesItWithThePage) {
    LedgraPanel& panel = openPanel();
    stage({"/a"});
    button(panel, "Clear")->setFocus(Qt::TabFocusReason);
    press(Qt::Key_Space);
    EXPECT_TRUE(spice.staged().empty());
    EXPECT_EQ(focused(), "Notch Shelf");
}

TEST_F(LedgraViewsTest, TheSectionCountsAndClears) {
    LedgraMenuSection& section = openSection();
    const int height = section.height();
    EXPECT_EQ(visibleTexts(section), QStringList{"Shelf is empty."});
    EXPECT_FALSE(button(section, "Clear")->isVisible());
    stage({"/a", "/b", "/c"});
    EXPECT_EQ(visibleTexts(section), QStringList{"3 on the shelf"});
    fitSection();
    EXPECT_EQ(section.height(), height);
    button(section, "Clear")->click();
    settle();
    EXPECT_EQ(visibleTexts(section), QStringList{"Shelf is empty."});
}

// Pictures

TEST_F(LedgraViewsTest, ThePicturesOfTheStrip) {
    useIconTheme();
    ShelfView& shelf = openShelf();
    const auto save = [&](const QString& name) {
        for (const bool isBright : {true, false}) {
            QImage picture(stripSize * 2 + QSize(80, 80), QImage::Format_RGB32);
            picture.setDevicePixelRatio(2);
            QPainter painter(&picture);
            QLinearGradient desk(0, 0, 380, 168);
            desk.setColorAt(0, isBright ? Qt::white : Qt::black);
            desk.setColorAt(1, isBright ? Qt::yellow : Qt::darkBlue);
            painter.fillRect(QRect(0, 0, 400, 200), desk);
            shelf.render(&painter, QPoint(20, 20), {}, QWidget::DrawChildren);
            painter.end();
            picture.save(
                QStringLiteral(ZORBEL_PICTURES "/ledgra-%1-%2.png").arg(name, isBright ? "bright" : "dark"));
        }
    };
    save("empty");
    enter(shelf, Load("file:///a\r\n"));
    save("targeted");
    leave(shelf);
    stage({manyFiles[0]});
    save("one");
    stage({manyFiles[1], manyFiles[2], manyFiles[3], manyFiles[6]});
    save("five");
    stageMany();
    save("twelve");
    part<TileStrip>(shelf).horizontalScrollBar()->setValue(100);
    save("scrolled");
    pointAt(tile(shelf, 3));
    save("hover");
    tile(shelf, 2).setFocus(Qt::TabFocusReason);
    save("focus");
    enter(shelf, Load("file:///a\r\n"));
    save("targeted-full");
    canBlend = false;
    leave(shelf);
    settle();
    savePicture(ground, "ledgra-square");
    EXPECT_EQ(shelf.grab().toImage().pixelColor(0, 0).alpha(), 255);
}

TEST_F(LedgraViewsTest, ThePicturesOfThePage) {
    useIconTheme();
    openPanel();
    savePage("ledgra-page-empty");
    stageMany();
    savePage("ledgra-page");
    savePage("ledgra-page-narrow", narrowWidth);
    QIcon::setThemeName("no such theme");
    spice.clear();
    stageMany();
    savePage("ledgra-page-bare");
}

TEST_F(LedgraViewsTest, ThePicturesOfTheSection) {
    openSection();
    savePicture(ground, "ledgra-menu-empty");
    stageMany();
    savePicture(ground, "ledgra-menu");
}

} // namespace
