#include "Pintho/Pintho.hpp"
#include "Pintho/PinthoViews.hpp"
#include "Pintho/SeatViews.hpp"
#include "Platforms/Simulated/SimulatedHost.hpp"
#include "Platforms/Simulated/SimulatedSuite.hpp"
#include "Tests/Views/SpiceViewTest.hpp"
#include "Zorbel/Blend.hpp"
#include "Zorbel/DashboardView.hpp"
#include "Zorbel/MenuPanel.hpp"
#include "Zorbel/Updates.hpp"
#include "ZorbelKit/Controls/AppIcon.hpp"
#include "ZorbelKit/Controls/Capsule.hpp"
#include "ZorbelKit/Controls/LineText.hpp"
#include "ZorbelKit/Controls/SteepDot.hpp"
#include "ZorbelKit/Controls/Symbol.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Stall.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QAccessible>
#include <QApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QKeyEvent>
#include <QPainter>
#include <QScrollArea>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>

namespace {

using namespace Pintho;
using namespace Views;
using ZorbelKit::AppIcon;
using ZorbelKit::Capsule;
using ZorbelKit::LineText;
using ZorbelKit::Observable;
using ZorbelKit::RunningApplication;
using ZorbelKit::Screen;
using ZorbelKit::Seconds;
using ZorbelKit::SteepDot;
using ZorbelKit::Symbol;

constexpr const char* noWindow = "Bring a window to the front and Pintho will describe it here.";
constexpr const char* nothingPlaced = "Nothing yet. Windows you move will be listed here.";
constexpr const char* accessRequired = "Accessibility access required.";
constexpr const char* cannotMove = "Pintho cannot move windows yet.";

/// Where a part lies on the page.
QRect placeOf(const QWidget& part, const QWidget& page) {
    return {part.mapTo(&page, QPoint()), part.size()};
}

QWidget& textOf(const QWidget& widget, const QString& text) {
    for (QLabel* label : parts<QLabel>(widget)) {
        if (label->text() == text) {
            return *label;
        }
    }
    throw std::runtime_error("no such text: " + text.toStdString());
}

/// The symbols in sight, in the order of the widgets.
QStringList symbolsIn(const QWidget& widget) {
    QStringList names;
    for (const Symbol* symbol : parts<Symbol>(widget)) {
        names << symbol->symbol();
    }
    return names;
}

QAccessibleInterface& spoken(QWidget& widget) {
    return *QAccessible::queryAccessibleInterface(&widget);
}

/// How many pixels of a picture differ from another's.
int differences(const QImage& left, const QImage& right) {
    int count = 0;
    for (int y = 0; y < left.height(); ++y) {
        for (int x = 0; x < left.width(); ++x) {
            count += left.pixel(x, y) != right.pixel(x, y) ? 1 : 0;
        }
    }
    return count;
}

Screen screenOf(std::int64_t id, const std::string& name, const ZorbelKit::Rect& frame, double scale = 1,
                double topInset = 0) {
    Screen screen;
    screen.id = id;
    screen.name = name;
    screen.frame = frame;
    screen.visibleFrame = frame;
    screen.scale = scale;
    screen.topInset = topInset;
    return screen;
}

class PinthoViewsTest : public SpiceViewTest {
protected:
    PinthoViewsTest() {
        host.screens.set({screenOf(1, "Built-in display", {0, 0, 1512, 982}, 2, 32)});
        host.clock.set(ZorbelKit::TimePoint(
            std::chrono::milliseconds(QDateTime({2026, 3, 14}, QTime(14, 2, 10)).toMSecsSinceEpoch())));
    }

    void turnOn() {
        spice.setEnabled(true);
        spice.steep();
        settle();
    }

    void turnOff() {
        spice.setEnabled(false);
        spice.rest();
        settle();
    }

    /// A program comes to the front, with a window.
    void bringForward(std::int64_t process, const std::string& name, const std::string& bundle,
                      const std::string& title, const WindowPoint& corner = {100, 200}) {
        host.workspace.front = RunningApplication{process, bundle, name};
        host.accessibility.focused[process] = {.title = title, .position = corner, .size = {{640, 480}}};
        pass();
    }

    void bringEditor() { bringForward(7, "Text Editor", "org.example.Editor", "Letter to Asha"); }

    /// Until the spice has looked again.
    void pass() {
        host.loop.advance(PinthoSpice::refreshInterval);
        settle();
    }

    PinthoPanel& openPanel(int width = pageWidth) {
        panel = &openPage(new PinthoPanel(spice, &ground), width);
        return *panel;
    }

    PinthoMenuSection& openSection() {
        section = &SpiceViewTest::openSection(new PinthoMenuSection(spice, &ground));
        return *section;
    }

    SeatTile& tile(Seat seat) {
        for (SeatTile* candidate : parts<SeatTile>(ground)) {
            if (candidate->seat() == seat) {
                return *candidate;
            }
        }
        throw std::runtime_error("no such seat");
    }

    std::optional<Seat> focusedSeat() {
        const auto* focused = dynamic_cast<SeatTile*>(ground.focusWidget());
        return focused ? std::optional(focused->seat()) : std::nullopt;
    }

    template <class Tile>
    void expectFiveByTwo(const QWidget& widget) {
        const auto tiles = parts<Tile>(widget);
        ASSERT_EQ(tiles.size(), allSeats.size());
        for (std::size_t index = 0; index < tiles.size(); ++index) {
            EXPECT_EQ(tiles[index]->seat(), allSeats[index]);
            const QRect place = placeOf(*tiles[index], widget);
            EXPECT_TRUE(widget.rect().contains(place));
            if (index % 5 > 0) {
                EXPECT_GT(place.left(), placeOf(*tiles[index - 1], widget).right());
                EXPECT_EQ(place.top(), placeOf(*tiles[index - 1], widget).top());
            }
            if (index >= 5) {
                EXPECT_GT(place.top(), placeOf(*tiles[index - 5], widget).bottom());
                EXPECT_EQ(place.left(), placeOf(*tiles[index - 5], widget).left());
            }
        }
    }

    Simulated::SimulatedHost host;
    PinthoSpice spice{host.loop,    host.clock,         host.workspace,
                      host.screens, host.accessibility, host.shortcuts};
    PinthoPanel* panel = nullptr;
    PinthoMenuSection* section = nullptr;
};

TEST_F(PinthoViewsTest, ASeatsPictureFillsItsShareOfTheScreen) {
    constexpr int width = 106; // 100 by 60 within the screen's own edge
    constexpr int height = 66;
    for (const Seat seat : allSeats) {
        SCOPED_TRACE(std::string(rawValue(seat)));
        QImage picture(width, height, QImage::Format_ARGB32_Premultiplied);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        paintSeat(painter, QRectF(0, 0, width, height), seat,
                  {.ground = ZorbelKit::stall, .border = ZorbelKit::rim, .fill = ZorbelKit::brass});
        painter.end();
        const SeatShare part = share(seat);
        int wrong = 0;
        for (int y = 0; y < 60; ++y) {
            for (int x = 0; x < 100; ++x) {
                const QPointF at((x + 0.5) / 100, (y + 0.5) / 60);
                const bool isIn = QRectF(part.x, part.y, part.width, part.height).contains(at);
                const bool isFilled = picture.pixelColor(x + 3, y + 3) == ZorbelKit::qColor(ZorbelKit::brass);
                wrong += isIn != isFilled ? 1 : 0;
            }
        }
        EXPECT_LT(wrong, 340) << "but for its round corners and the gaps at its edges";
    }
}

TEST_F(PinthoViewsTest, ASeatButtonShowsItsSeatOverItsTitle) {
    turnOn();
    SeatButton left(spice, Seat::left, nullptr);
    SeatButton right(spice, Seat::right, nullptr);
    show(left, {120, left.sizeHint().height()});
    show(right, left.size());
    const QImage one = left.grab().toImage();
    const QImage other = right.grab().toImage();
    const int screenBottom = 56;
    const auto upper = [&](const QImage& image) { return image.copy(0, 0, image.width(), screenBottom); };
    EXPECT_EQ(left.accessibleName(), "Left half");
    EXPECT_LT(differences(upper(one), upper(other.mirrored(true, false))), 150)
        << "the two halves mirror one another, but for the smoothing of their edges";
    EXPECT_GT(differences(upper(one), upper(other)), 1'000);
    QImage withoutTitle = one.copy(QRect(4, screenBottom, one.width() - 8, one.height() - screenBottom - 4));
    const QRgb card = withoutTitle.pixel(0, withoutTitle.height() - 1);
    withoutTitle.fill(card);
    EXPECT_GT(differences(one.copy(QRect(4, screenBottom, one.width() - 8, one.height() - screenBottom - 4)),
                          withoutTitle),
              100)
        << "the title is written under it";
}

TEST_F(PinthoViewsTest, ASeatButtonHighlightsWhileThePointerHoversOverIt) {
    turnOn();
    openPanel();
    SeatTile& left = tile(Seat::left);
    EXPECT_FALSE(left.isHovered());
    const QImage before = left.grab().toImage();
    pointAt(left);
    EXPECT_TRUE(left.isHovered());
    EXPECT_FALSE(tile(Seat::right).isHovered());
    EXPECT_GT(differences(left.grab().toImage(), before), 1'000);
    pointAt(tile(Seat::right));
    EXPECT_FALSE(left.isHovered());
    EXPECT_EQ(left.grab().toImage(), before);
    ground.hide();
    EXPECT_FALSE(tile(Seat::right).isHovered()) << "what is hidden is not under the pointer";
}

TEST_F(PinthoViewsTest, AClickPlacesTheWindow) {
    turnOn();
    bringEditor();
    openPanel();
    for (const Seat seat : allSeats) {
        SCOPED_TRACE(std::string(rawValue(seat)));
        QTest::mouseClick(&tile(seat), Qt::LeftButton);
        EXPECT_EQ(spice.lastSeat(), seat);
    }
    QTest::mouseClick(&tile(Seat::left), Qt::RightButton);
    EXPECT_EQ(spice.lastSeat(), Seat::full);
}

TEST_F(PinthoViewsTest, ATipNamesTheSeatAndItsKeys) {
    host.shortcuts.takenByOthers = {"Up"};
    spice.setEnabled(false);
    openPanel();
    EXPECT_EQ(tile(Seat::left).toolTip(), "Left half") << "off: nothing is said of keys";
    EXPECT_EQ(tile(Seat::top).toolTip(), "Top half");
    turnOn();
    EXPECT_EQ(tile(Seat::left).toolTip(), "Left half — Ctrl+Alt+Left");
    EXPECT_EQ(tile(Seat::full).toolTip(), "Fill — Ctrl+Alt+Return");
    EXPECT_EQ(tile(Seat::top).toolTip(), "Top half — its keys belong to another program");
    turnOff();
    EXPECT_EQ(tile(Seat::left).toolTip(), "Left half");
    EXPECT_EQ(tile(Seat::top).toolTip(), "Top half");
}

TEST_F(PinthoViewsTest, AButtonWhoseKeysAreTakenBearsAMark) {
    turnOn();
    openPanel();
    const QImage free = tile(Seat::top).grab().toImage();
    turnOff();
    EXPECT_EQ(tile(Seat::top).grab().toImage(), free);
    host.shortcuts.takenByOthers = {"Up"};
    turnOn();
    const QImage taken = tile(Seat::top).grab().toImage();
    const int corner = 20;
    const auto upperRight = [&](const QImage& image) {
        return image.copy(image.width() - corner, 0, corner, corner);
    };
    EXPECT_GT(differences(upperRight(taken), upperRight(free)), 15);
    EXPECT_EQ(differences(taken, free), differences(upperRight(taken), upperRight(free)));
}

TEST_F(PinthoViewsTest, TheSectionHasOneButtonASeatInTheirOrder) {
    turnOn();
    expectFiveByTwo<SmallSeatButton>(openSection());
    EXPECT_LE(section->height(), 100) << "it stays small";
}

TEST_F(PinthoViewsTest, ASectionsButtonHasTheSeatsTitleAsItsHelp) {
    host.shortcuts.takenByOthers = {"K"};
    spice.setEnabled(false);
    openSection();
    for (const Seat seat : allSeats) {
        EXPECT_EQ(tile(seat).toolTip().toStdString(), title(seat));
    }
    turnOn();
    EXPECT_EQ(tile(Seat::topLeft).toolTip(), "Top left\nCtrl+Alt+U");
    EXPECT_EQ(tile(Seat::bottomRight).toolTip(), "Bottom right\nIts keys belong to another program");
}

TEST_F(PinthoViewsTest, AClickInTheSectionPlacesTheWindow) {
    turnOn();
    bringEditor();
    openSection();
    for (const Seat seat : allSeats) {
        SCOPED_TRACE(std::string(rawValue(seat)));
        QTest::mouseClick(&tile(seat), Qt::LeftButton);
        EXPECT_EQ(spice.lastSeat(), seat);
    }
}

TEST_F(PinthoViewsTest, TheSectionSaysThatAccessIsRequired) {
    host.accessibility.trusted = false;
    turnOn();
    openSection();
    pass();
    EXPECT_EQ(visibleTexts(*section), QStringList{accessRequired});
    const QImage dimmed = tile(Seat::left).grab().toImage();
    EXPECT_TRUE(tile(Seat::left).isEnabled()) << "a click asks anew";
    host.accessibility.trusted = true;
    pass();
    EXPECT_TRUE(visibleTexts(*section).isEmpty());
    EXPECT_GT(differences(tile(Seat::left).grab().toImage(), dimmed), 300);
}

TEST_F(PinthoViewsTest, WithoutAccessAClickStillAsksTheSpice) {
    host.accessibility.trusted = false;
    turnOn();
    bringEditor();
    openSection();
    QTest::mouseClick(&tile(Seat::left), Qt::LeftButton);
    EXPECT_EQ(spice.lastSeat(), std::nullopt);
    host.accessibility.trusted = true; // and no look since
    QTest::mouseClick(&tile(Seat::left), Qt::LeftButton);
    EXPECT_EQ(spice.lastSeat(), Seat::left);
}

TEST_F(PinthoViewsTest, TheNoticeShowsOnlyWhileAccessIsMissing) {
    host.accessibility.trusted = false;
    turnOn();
    openPanel();
    const auto& notice = part<PermissionNotice>(*panel);
    EXPECT_TRUE(showsText(notice, cannotMove));
    EXPECT_TRUE(
        showsText(notice, "macOS requires Accessibility access to position another application's windows."));
    EXPECT_EQ(visibleTexts(notice).size(), 2) << "without a hint no line for it";
    ASSERT_EQ(parts<SteepDot>(notice).size(), 1U);
    EXPECT_EQ(part<SteepDot>(notice).accessibleName(), "Waiting for access");
    QTest::mouseClick(button(notice, "Grant access"), Qt::LeftButton);
    EXPECT_EQ(host.accessibility.requests, 1);
    EXPECT_EQ(visibleTexts(notice).size(), 2) << "nor once it has been asked for";
    host.accessibility.trusted = true;
    pass();
    EXPECT_TRUE(parts<PermissionNotice>(*panel).empty());
    EXPECT_FALSE(showsText(*panel, cannotMove));
    host.accessibility.trusted = false;
    pass();
    EXPECT_TRUE(showsText(*panel, cannotMove));
}

TEST_F(PinthoViewsTest, TheNoticeExplainsWhenAskedWhatWouldHelpHere) {
    const QString hint = "On Wayland no program may place another's windows.";
    host.accessibility.trusted = false;
    host.accessibility.hint = hint.toStdString();
    turnOn();
    openPanel();
    const auto& notice = part<PermissionNotice>(*panel);
    EXPECT_FALSE(showsText(notice, hint));
    QTest::mouseClick(button(notice, "Grant access"), Qt::LeftButton);
    EXPECT_EQ(host.accessibility.requests, 1);
    settle();
    ASSERT_TRUE(showsText(notice, hint));
    EXPECT_GT(placeOf(textOf(notice, hint), notice).top(),
              placeOf(textOf(notice, "macOS requires Accessibility access to position another application's "
                                     "windows."),
                      notice)
                  .top());
}

TEST_F(PinthoViewsTest, DescribesTheFrontWindow) {
    turnOn();
    openPanel();
    EXPECT_TRUE(showsText(part<FrontWindow>(*panel), noWindow));
    EXPECT_EQ(visibleTexts(part<FrontWindow>(*panel)), QStringList{noWindow});
    bringEditor();
    EXPECT_EQ(visibleTexts(part<FrontWindow>(*panel)),
              (QStringList{"Text Editor", "Letter to Asha", "640 × 480", "at 100, 200"}));
    host.accessibility.focused[7] = {.title = std::nullopt, .position = {{-30, 12}}, .size = {{800, 600}}};
    pass();
    EXPECT_EQ(visibleTexts(part<FrontWindow>(*panel)),
              (QStringList{"Text Editor", "800 × 600", "at -30, 12"}));
}

/// An icon theme and a folder of files for one test.
class PinthoIconTest : public PinthoViewsTest {
protected:
    PinthoIconTest() {
        QIcon::setThemeSearchPaths({folder_.filePath("themes")});
        QIcon::setFallbackSearchPaths({});
        write("themes/Kettle/index.theme", "[Icon Theme]\nName=Kettle\nDirectories=48\n[48]\nSize=48\n");
        QIcon::setThemeName("Kettle");
        turnOn();
    }
    ~PinthoIconTest() override {
        QIcon::setThemeName(nameBefore_);
        QIcon::setThemeSearchPaths(pathsBefore_);
        QIcon::setFallbackSearchPaths(fallbacksBefore_);
    }

    void write(const QString& file, const QByteArray& bytes) const {
        const QString path = folder_.filePath(file);
        QDir().mkpath(QFileInfo(path).path());
        QFile out(path);
        ASSERT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(bytes);
    }

    std::string writePicture(const QString& file, const QColor& colour) const {
        const QString path = folder_.filePath(file);
        QDir().mkpath(QFileInfo(path).path());
        QImage image(48, 48, QImage::Format_ARGB32_Premultiplied);
        image.fill(colour);
        EXPECT_TRUE(image.save(path));
        return path.toStdString();
    }

    std::string path(const QString& file) const { return folder_.filePath(file).toStdString(); }
    AppIcon& icon() { return part<AppIcon>(*panel); }
    QColor middle() { return icon().grab().toImage().pixelColor(18, 18); }

private:
    QTemporaryDir folder_;
    QString nameBefore_ = QIcon::themeName();
    QStringList pathsBefore_ = QIcon::themeSearchPaths();
    QStringList fallbacksBefore_ = QIcon::fallbackSearchPaths();
};

TEST_F(PinthoIconTest, ShowsTheProgramsIconFromAFileOrTheTheme) {
    host.workspace.icons["org.example.Editor"] = writePicture("editor.png", Qt::green);
    writePicture("themes/Kettle/48/terminal.png", Qt::blue);
    host.workspace.icons["org.example.Terminal"] = "terminal";
    openPanel();
    bringEditor();
    EXPECT_EQ(middle(), QColor(Qt::green));
    bringForward(8, "Terminal", "org.example.Terminal", "make");
    EXPECT_EQ(middle(), QColor(Qt::blue));
}

TEST_F(PinthoIconTest, AProgramWithoutAPictureShowsAWindow) {
    write("broken.png", "no picture");
    QDir().mkpath(QString::fromStdString(path("folder.png")));
    openPanel();
    const struct {
        const char* name;
        std::optional<std::string> place;
    } rows[] = {
        {"nothing known", std::nullopt},
        {"an empty name", ""},
        {"a name the theme does not have", "no-such-icon"},
        {"a file that is not there", path("gone.png")},
        {"a file that is no picture", path("broken.png")},
        {"a folder", path("folder.png")},
    };
    int process = 20;
    std::optional<QImage> first;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string bundle = "org.example.p" + std::to_string(++process);
        host.workspace.icons.clear();
        if (row.place) {
            host.workspace.icons[bundle] = *row.place;
        }
        bringForward(process, "Program", bundle, "Window");
        EXPECT_FALSE(icon().hasPicture());
        const QImage picture = icon().grab().toImage();
        EXPECT_GT(differences(picture, QImage(picture.size(), picture.format())), 0);
        EXPECT_EQ(picture, first.value_or(picture));
        first = picture;
    }
}

TEST_F(PinthoIconTest, TheIconIsLoadedOnlyWhenTheProgramChanges) {
    host.workspace.icons["org.example.Editor"] = writePicture("editor.png", Qt::green);
    openPanel();
    bringEditor();
    EXPECT_EQ(middle(), QColor(Qt::green));
    host.workspace.icons["org.example.Editor"] = writePicture("other.png", Qt::red);
    host.accessibility.focused[7].title = "Another letter";
    pass();
    EXPECT_TRUE(showsText(*panel, "Another letter"));
    EXPECT_EQ(middle(), QColor(Qt::green)) << "the same program";
    bringForward(8, "Terminal", "org.example.Terminal", "make");
    EXPECT_FALSE(icon().hasPicture());
    bringEditor();
    EXPECT_EQ(middle(), QColor(Qt::red)) << "it came back";
}

TEST_F(PinthoViewsTest, ThePanelsPartsStandInTheirOrder) {
    host.accessibility.trusted = false;
    turnOn();
    openPanel();
    const std::vector<const QWidget*> order{&part<PermissionNotice>(*panel),    &part<FrontWindow>(*panel),
                                            &textOf(*panel, "PUT IT HERE"),     &part<SeatGrid>(*panel),
                                            &textOf(*panel, "RECENTLY PLACED"), &part<Recent>(*panel),
                                            &textOf(*panel, "DISPLAYS"),        &part<Displays>(*panel)};
    int bottom = 0;
    for (const QWidget* each : order) {
        const QRect place = placeOf(*each, *panel);
        EXPECT_GE(place.top(), bottom);
        EXPECT_GE(place.left(), 0);
        EXPECT_LE(place.right(), panel->width());
        EXPECT_GT(place.height(), 0);
        bottom = place.bottom();
    }
    EXPECT_LE(bottom, panel->height());
    expectFiveByTwo<SeatButton>(*panel);
}

TEST_F(PinthoViewsTest, TheLastSeatIsQuietlyMarked) {
    turnOn();
    bringEditor();
    openPanel();
    for (const Seat seat : allSeats) {
        EXPECT_FALSE(tile(seat).isLast());
    }
    const QImage before = tile(Seat::topRight).grab().toImage();
    spice.place(Seat::topRight);
    settle();
    EXPECT_TRUE(tile(Seat::topRight).isLast());
    EXPECT_GT(differences(tile(Seat::topRight).grab().toImage(), before), 300);
    spice.place(Seat::left);
    settle();
    EXPECT_TRUE(tile(Seat::left).isLast());
    EXPECT_FALSE(tile(Seat::topRight).isLast());
    EXPECT_EQ(tile(Seat::topRight).grab().toImage(), before);
}

TEST_F(PinthoViewsTest, ListsThePlacementsTheNewestFirst) {
    turnOn();
    openPanel();
    auto& recent = part<Recent>(*panel);
    EXPECT_EQ(visibleTexts(recent), QStringList{nothingPlaced});
    bringEditor();
    spice.place(Seat::topLeft);
    host.loop.advance(Seconds{180});
    bringForward(8, "Terminal", "org.example.Terminal", "make");
    spice.place(Seat::full);
    settle();
    const QString later = ZorbelKit::timeOfDay(host.clock.now());
    const QString earlier = ZorbelKit::timeOfDay(spice.placements().back().at);
    EXPECT_NE(later, earlier);
    EXPECT_EQ(visibleTexts(recent),
              (QStringList{"Terminal", "Fill", later, "Text Editor", "Top left", earlier}));
    const QRect first = placeOf(textOf(recent, "Terminal"), recent);
    EXPECT_LT(first.bottom(), placeOf(textOf(recent, "Text Editor"), recent).top());
    EXPECT_NEAR(first.center().y(), placeOf(*named(recent, later), recent).center().y(), 1)
        << "one line a placement";
    const QRect seat = placeOf(textOf(recent, "Fill"), recent);
    EXPECT_GT(seat.left(), first.right());
    EXPECT_GT(placeOf(*named(recent, later), recent).left(), seat.right());
    for (int process = 20; process < 26; ++process) {
        bringForward(process, "Program " + std::to_string(process), "p" + std::to_string(process), "Window");
        spice.place(Seat::left);
    }
    settle();
    EXPECT_EQ(visibleTexts(recent).size(), 15) << "five lines of three";
}

TEST_F(PinthoViewsTest, ListsTheDisplays) {
    turnOn();
    openPanel();
    auto& displays = part<Displays>(*panel);
    EXPECT_EQ(visibleTexts(displays), (QStringList{"Built-in display", "MAIN", "1512 × 982 at 2×"}));
    EXPECT_EQ(symbolsIn(displays), QStringList{"laptopcomputer"});
    const int height = panel->heightForWidth(pageWidth);
    host.screens.set({screenOf(2, "Desk monitor", {0, 0, 2560, 1440}),
                      screenOf(1, "Built-in display", {2560, 0, 1512, 982}, 2, 32)});
    pass();
    fitPage();
    EXPECT_EQ(visibleTexts(displays),
              (QStringList{"Desk monitor", "MAIN", "2560 × 1440", "Built-in display", "1512 × 982 at 2×"}));
    EXPECT_EQ(symbolsIn(displays), (QStringList{"display", "laptopcomputer"}));
    const QWidget& badge = part<Capsule>(displays);
    const QRect name = placeOf(textOf(displays, "Desk monitor"), displays);
    EXPECT_GT(placeOf(badge, displays).left(), name.right());
    EXPECT_LT(placeOf(badge, displays).left(), name.right() + 30) << "beside the name";
    EXPECT_GT(panel->heightForWidth(pageWidth), height);
    host.screens.set({screenOf(1, "Built-in display", {0, 0, 1512, 982}, 2, 32)});
    pass();
    EXPECT_EQ(symbolsIn(displays), QStringList{"laptopcomputer"});
    EXPECT_EQ(panel->heightForWidth(pageWidth), height);
    host.screens.set({});
    pass();
    EXPECT_FALSE(showsText(*panel, "DISPLAYS")) << "none while no monitor is connected";
}

TEST_F(PinthoViewsTest, ArrowsHomeAndEndMoveBetweenTheSeats) {
    turnOn();
    bringEditor();
    openPanel();
    tile(Seat::left).setFocus(Qt::TabFocusReason);
    struct Step {
        Qt::Key key;
        Seat seat;
    };
    for (const Step step :
         {Step{Qt::Key_Left, Seat::left}, Step{Qt::Key_Up, Seat::left}, Step{Qt::Key_Right, Seat::right},
          Step{Qt::Key_Down, Seat::bottomLeft}, Step{Qt::Key_Down, Seat::bottomLeft},
          Step{Qt::Key_Left, Seat::topRight}, Step{Qt::Key_Up, Seat::left}, Step{Qt::Key_End, Seat::full},
          Step{Qt::Key_Right, Seat::full}, Step{Qt::Key_Up, Seat::topLeft},
          Step{Qt::Key_Right, Seat::topLeft}, Step{Qt::Key_Home, Seat::left}}) {
        SCOPED_TRACE(std::string(rawValue(step.seat)));
        press(step.key);
        EXPECT_EQ(focusedSeat(), step.seat);
    }
    press(Qt::Key_Right, Qt::ControlModifier | Qt::AltModifier);
    EXPECT_EQ(focusedSeat(), Seat::left) << "with others held down an arrow is something else";
    EXPECT_EQ(spice.lastSeat(), std::nullopt);
}

TEST_F(PinthoViewsTest, EnterAndSpacePlace) {
    turnOn();
    bringEditor();
    openPanel();
    const struct {
        Qt::Key key;
        Seat seat;
    } rows[] = {{Qt::Key_Return, Seat::left}, {Qt::Key_Enter, Seat::top}, {Qt::Key_Space, Seat::centre}};
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(rawValue(row.seat)));
        tile(row.seat).setFocus(Qt::TabFocusReason);
        press(row.key);
        EXPECT_EQ(spice.lastSeat(), row.seat);
        EXPECT_EQ(focusedSeat(), row.seat) << "it keeps the keyboard";
    }
    host.accessibility.steps.clear();
    QKeyEvent heldDown(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, "\r", /*autorep=*/true);
    QApplication::sendEvent(ground.focusWidget(), &heldDown);
    EXPECT_TRUE(host.accessibility.steps.empty()) << "once for a key that is held down";
}

TEST_F(PinthoViewsTest, TabGoesFromTheNoticeThroughTheSeats) {
    host.accessibility.trusted = false;
    turnOn();
    openPanel();
    button(*panel, "Grant access")->setFocus(Qt::TabFocusReason);
    for (const Seat seat : allSeats) {
        press(Qt::Key_Tab);
        EXPECT_EQ(focusedSeat(), seat);
    }
    press(Qt::Key_Tab);
    EXPECT_EQ(ground.focusWidget(), button(*panel, "Grant access"));
    press(Qt::Key_Space);
    EXPECT_EQ(host.accessibility.requests, 1);
    host.accessibility.trusted = true;
    pass();
    EXPECT_EQ(focusedSeat(), Seat::left) << "the button that is done with hands the keyboard on";
}

TEST_F(PinthoViewsTest, TheKeyboardShowsARingAndThePointerNone) {
    turnOn();
    openPanel();
    SeatTile& left = tile(Seat::left);
    const QImage before = left.grab().toImage();
    left.clearFocus();
    left.setFocus(Qt::TabFocusReason);
    const QImage ringed = left.grab().toImage();
    EXPECT_GT(ringed.pixelColor(left.width() / 2, 1).blue(),
              before.pixelColor(left.width() / 2, 1).blue() + 80);
    EXPECT_EQ(ringed.copy(4, 4, 40, 40), before.copy(4, 4, 40, 40)) << "only round it";
    left.clearFocus();
    left.setFocus(Qt::MouseFocusReason);
    EXPECT_EQ(left.grab().toImage(), before);
}

TEST_F(PinthoViewsTest, EverythingHasASpokenNameAndRole) {
    host.accessibility.trusted = false;
    host.shortcuts.takenByOthers = {"C"};
    turnOn();
    openPanel();
    host.accessibility.trusted = true;
    bringEditor();
    spice.place(Seat::topLeft);
    settle();
    for (const Seat seat : allSeats) {
        auto& reader = spoken(tile(seat));
        EXPECT_EQ(reader.role(), QAccessible::Button);
        EXPECT_EQ(reader.text(QAccessible::Name).toStdString(), title(seat));
        EXPECT_TRUE(
            reader.actionInterface()->actionNames().contains(QAccessibleActionInterface::pressAction()));
    }
    EXPECT_EQ(spoken(tile(Seat::left)).text(QAccessible::Description), "Ctrl+Alt+Left");
    EXPECT_EQ(spoken(tile(Seat::topLeft)).text(QAccessible::Description), "Ctrl+Alt+U, last placed here");
    EXPECT_EQ(spoken(tile(Seat::centre)).text(QAccessible::Description),
              "Its keys belong to another program");
    spoken(tile(Seat::right)).actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(spice.lastSeat(), Seat::right);
    settle();

    const QString time = ZorbelKit::timeOfDay(host.clock.now());
    const struct {
        QString name;
        QAccessible::Role role;
    } rows[] = {{"PUT IT HERE", QAccessible::Heading},
                {"RECENTLY PLACED", QAccessible::Heading},
                {"DISPLAYS", QAccessible::Heading},
                {"Places for the front window", QAccessible::Grouping},
                {"Front window", QAccessible::Grouping},
                {"Recently placed", QAccessible::List},
                {"Displays", QAccessible::List},
                {"Text Editor, Right half, " + time, QAccessible::ListItem},
                {"Built-in display, main, 1512 × 982 at 2×", QAccessible::ListItem}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name.toStdString());
        QWidget* found = named(*panel, row.name);
        ASSERT_NE(found, nullptr);
        EXPECT_EQ(spoken(*found).role(), row.role);
    }
}

TEST_F(PinthoViewsTest, AChangeRepaintsOnlyWhatChanged) {
    turnOn();
    bringEditor();
    spice.place(Seat::left);
    openPanel();
    PaintCounter paints(*panel);
    pass();
    EXPECT_EQ(paints.all(), 0) << "the same again";

    const auto painted = [&](const QString& text) { return paints.paintsOf(&textOf(*panel, text)); };
    QWidget* size = named(*panel, "756 × 982");
    ASSERT_NE(size, nullptr);
    host.accessibility.focused[7].position = WindowPoint{10, 20};
    pass();
    EXPECT_EQ(paints.paintsOf(named(*panel, "at 10, 20")), 1);
    EXPECT_EQ(paints.paintsOf(size), 0);
    EXPECT_EQ(painted("Text Editor"), 0);
    EXPECT_EQ(painted("Built-in display"), 0);
    EXPECT_EQ(paints.paintsOf(&part<Recent>(*panel)), 0);
    EXPECT_EQ(paints.paintsOf(&part<AppIcon>(*panel)), 0);
    for (const Seat seat : allSeats) {
        EXPECT_EQ(paints.paintsOf(&tile(seat)), 0);
    }

    paints.reset();
    spice.place(Seat::right);
    settle();
    EXPECT_EQ(paints.paintsOf(&tile(Seat::left)), 1);
    EXPECT_EQ(paints.paintsOf(&tile(Seat::right)), 1);
    EXPECT_EQ(paints.paintsOf(&tile(Seat::top)), 0);
    EXPECT_EQ(painted("Built-in display"), 0);
    EXPECT_EQ(painted("PUT IT HERE"), 0);
    EXPECT_EQ(painted("Right half"), 1);
}

TEST_F(PinthoViewsTest, WhatIsHiddenListensToNothing) {
    turnOn();
    const int before = Observable::liveObserversForTesting();
    openPanel();
    PinthoMenuSection besides(spice, nullptr);
    show(besides, {sectionWidth, 100});
    EXPECT_EQ(Observable::liveObserversForTesting(), before + 2);
    ground.hide();
    besides.hide();
    EXPECT_EQ(Observable::liveObserversForTesting(), before);
    bringEditor();
    ground.show();
    settle();
    EXPECT_TRUE(showsText(*panel, "Text Editor")) << "it catches up when it is seen again";
}

TEST_F(PinthoViewsTest, NothingBreaksWhenTheSpiceIsTurnedOff) {
    turnOn();
    bringEditor();
    spice.place(Seat::left);
    openPanel();
    PinthoMenuSection besides(spice, nullptr);
    show(besides, {sectionWidth, 100});
    turnOff();
    EXPECT_TRUE(showsText(*panel, "Text Editor")) << "what was read last stays";
    QTest::mouseClick(&tile(Seat::right), Qt::LeftButton);
    EXPECT_EQ(spice.lastSeat(), Seat::right);
    turnOn();
    EXPECT_EQ(tile(Seat::left).toolTip(), "Left half — Ctrl+Alt+Left");
}

TEST_F(PinthoViewsTest, HostileNamesStayInTheirLine) {
    turnOn();
    openPanel(narrowWidth);
    const auto expectAllWithin = [&] {
        fitPage(narrowWidth);
        EXPECT_EQ(panel->width(), narrowWidth);
        EXPECT_LE(panel->minimumSizeHint().width(), narrowWidth);
        for (const QWidget* each : parts<QWidget>(*panel)) {
            EXPECT_LE(placeOf(*each, *panel).right(), narrowWidth)
                << each->metaObject()->className() << each->accessibleName().toStdString();
        }
    };
    const std::string endless(200'000, 'W');
    host.screens.set({screenOf(1, endless, {0, 0, 1512, 982}, 1.333, 32)});
    bringForward(7, endless, "org.example.W", "a\nb\t<b>bold</b>" + endless, {9e17, -9e17});
    host.accessibility.focused[7].size = {{9e17, 9e17}};
    pass();
    expectAllWithin();
    savePicture(ground, "pintho-panel-endless");
    EXPECT_TRUE(part<LineText>(part<FrontWindow>(*panel)).text().size() <= 1'000);
    spice.place(Seat::left);
    bringForward(8, "\x01\x02\nOdd\r\n", "org.example.Odd", "\xE2\x80\xAE txt.exe \xFF\xFE");
    spice.place(Seat::right);
    expectAllWithin();
    EXPECT_TRUE(showsText(part<Recent>(*panel), "Odd"));
    savePicture(ground, "pintho-panel-hostile");
}

class PinthoInTheSuite : public ::testing::Test {
protected:
    PinthoInTheSuite() {
        suite.screens.set({screenOf(2, "Desk monitor", {0, 0, 2560, 1440}),
                           screenOf(1, "Built-in display", {2560, 0, 1512, 982}, 2, 32)});
        suite.workspace.front = RunningApplication{7, "org.example.Editor", "Text Editor"};
        suite.accessibility.focused[7] = {
            .title = "Letter to Asha", .position = {{100, 200}}, .size = {{640, 480}}};
        stall = Zorbel::Blend::build(suite.host());
        stall->setSelection("pintho");
    }

    void openDashboard(QSize size) {
        window.reset(Zorbel::dashboardView(*stall, suite.loop).build(nullptr));
        show(*window, size);
        window->activateWindow();
        suite.loop.advance(PinthoSpice::refreshInterval);
        settle();
    }

    QScrollArea& scroll() const {
        for (auto* area : parts<QScrollArea>(*window)) {
            if (area->isAncestorOf(&part<PinthoPanel>(*window))) {
                return *area;
            }
        }
        throw std::runtime_error("no such area");
    }

    Simulated::SimulatedSuite suite;
    std::unique_ptr<ZorbelKit::Stall> stall;
    std::unique_ptr<QWidget> window;
};

TEST_F(PinthoInTheSuite, ThePageIsWholeAtTheSmallestSize) {
    openDashboard({840, 560});
    const auto& panel = part<PinthoPanel>(*window);
    EXPECT_EQ(panel.width(), narrowWidth);
    for (const SeatButton* each : parts<SeatButton>(panel)) {
        EXPECT_TRUE(panel.rect().contains(placeOf(*each, panel)));
        const int words = QFontMetrics(each->font()).horizontalAdvance(each->accessibleName());
        EXPECT_LE(words, each->width() - 8) << each->accessibleName().toStdString();
    }
    savePicture(*window, "dashboard-pintho-smallest");
    suite.accessibility.trusted = false;
    suite.loop.advance(PinthoSpice::refreshInterval);
    settle();
    savePicture(*window, "dashboard-pintho-smallest-without-access");
    const auto& grant = *button(panel, "Grant access");
    EXPECT_LE(placeOf(grant, *window).right(), 840 - 28);
}

TEST_F(PinthoInTheSuite, ASeatThatGetsTheKeyboardComesIntoSight) {
    openDashboard({840, 300});
    const auto& panel = part<PinthoPanel>(*window);
    const auto tiles = parts<SeatButton>(panel);
    tiles.front()->setFocus(Qt::TabFocusReason);
    settle();
    QTest::keyClick(tiles.front(), Qt::Key_End);
    settle();
    EXPECT_TRUE(tiles.back()->hasFocus());
    EXPECT_TRUE(scroll().viewport()->rect().contains(placeOf(*tiles.back(), *scroll().viewport())));
    EXPECT_GT(scroll().verticalScrollBar()->value(), 0);
}

TEST_F(PinthoInTheSuite, TurnedOffAndOnAgainThePageIsBack) {
    openDashboard({960, 640});
    stall->setEnabled(false, *stall->spice("pintho"));
    settle();
    EXPECT_TRUE(showsText(*window, "Pintho is not in the cup."));
    EXPECT_TRUE(parts<PinthoPanel>(*window).empty());
    stall->setEnabled(true, *stall->spice("pintho"));
    settle();
    EXPECT_TRUE(showsText(part<PinthoPanel>(*window), "Text Editor"));
}

TEST_F(PinthoInTheSuite, Pictures) {
    openDashboard({960, 640});
    savePicture(*window, "dashboard-pintho");
    Zorbel::Updates updates{[](std::string_view) { return std::optional<std::string>(); }, nullptr};
    std::unique_ptr<QWidget> panel(
        Zorbel::menuPanelView(*stall, updates, suite.application, [] {}).build(nullptr));
    show(*panel, {328, 520});
    savePicture(*panel, "panel-pintho");
    EXPECT_EQ(parts<SmallSeatButton>(*panel).size(), allSeats.size());
}

TEST_F(PinthoViewsTest, PicturesOfThePanel) {
    turnOn();
    openPanel();
    savePage("pintho-panel-empty");
    host.screens.set({screenOf(2, "Desk monitor", {0, 0, 2560, 1440}),
                      screenOf(1, "Built-in display", {2560, 0, 1512, 982}, 2, 32)});
    bringForward(8, "Terminal", "org.example.Terminal", "make");
    spice.place(Seat::bottomRight);
    host.loop.advance(Seconds{1300});
    bringForward(9, "Files", "org.example.Files", "Invoices");
    spice.place(Seat::right);
    host.loop.advance(Seconds{900});
    bringEditor();
    spice.place(Seat::left);
    pass();
    savePage("pintho-panel");
    pointAt(tile(Seat::topRight));
    tile(Seat::centre).setFocus(Qt::TabFocusReason);
    settle();
    savePicture(ground, "pintho-panel-hover-and-keyboard");
    pointAt(ground, {1, ground.height() - 2});
    turnOff();
    host.shortcuts.takenByOthers = {"Left", "C", "U"};
    turnOn();
    savePage("pintho-panel-keys-taken");
    host.accessibility.trusted = false;
    pass();
    savePage("pintho-panel-without-access");
    host.accessibility.hint =
        "On Wayland no program may place another's windows. Log in with an X11 session, "
        "and Pintho places them there.";
    QTest::mouseClick(button(*panel, "Grant access"), Qt::LeftButton);
    pointAt(ground, {1, ground.height() - 2});
    savePage("pintho-panel-without-access-hint");
    EXPECT_TRUE(showsText(*panel, cannotMove));
}

TEST_F(PinthoViewsTest, PicturesOfTheMenuSection) {
    turnOn();
    bringEditor();
    spice.place(Seat::topRight);
    openSection();
    savePicture(ground, "pintho-menu");
    pointAt(tile(Seat::bottom));
    tile(Seat::full).setFocus(Qt::TabFocusReason);
    settle();
    savePicture(ground, "pintho-menu-hover-and-keyboard");
    pointAt(ground, {1, 1});
    ground.setFocus();
    host.accessibility.trusted = false;
    pass();
    fitSection();
    savePicture(ground, "pintho-menu-without-access");
    EXPECT_TRUE(showsText(*section, accessRequired));
}

} // namespace
