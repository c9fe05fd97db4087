#include "Tests/Desktop/DesktopTest.hpp"
#include "Tests/Desktop/RealPanel.hpp"
#include "Tests/Desktop/TrayDouble.hpp"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMetaType>
#include <QDBusObjectPath>

#include <X11/keysym.h>
#include <algorithm>
#include <csignal>

using namespace Desktop;
using Clock = std::chrono::steady_clock;

namespace {

constexpr QColor brass(0xC4, 0x66, 0x1A);
constexpr auto watcherService = "org.kde.StatusNotifierWatcher";

/// A menu that was not there before.
std::optional<Window> newPopup(const std::vector<Window>& before, const Screen& screen) {
    for (const Window& window : screen.windows()) {
        const bool isNew = std::ranges::find(before, window.id, &Window::id) == before.end();
        if (isNew && !window.isManaged) {
            return window;
        }
    }
    return std::nullopt;
}

bool hasItem(const TrayDouble& tray) {
    return !tray.items().isEmpty();
}

} // namespace

class Tray : public DesktopTest {};

TEST_F(Tray, ItemIsRegisteredAndNoBarShows) {
    TrayDouble tray;
    start();
    ASSERT_TRUE(until([&] { return hasItem(tray); }));
    EXPECT_TRUE(holds([] { return !findBar(screen()); }, Seconds{1}));
    EXPECT_EQ(tray.items().size(), 1);
    EXPECT_TRUE(tray.items().front().endsWith("/StatusNotifierItem")) << tray.items().front().toStdString();
}

TEST_F(Tray, ItemTellsEverythingAHostAsksFor) {
    TrayDouble tray;
    start();
    ASSERT_TRUE(until([&] { return hasItem(tray); }));
    const QVariantMap properties = tray.properties();
    struct Row {
        const char* name;
        const char* signature;
        QVariant value; // invalid: looked at below
    };
    const Row rows[] = {
        {"Category", "s", "ApplicationStatus"},
        {"Id", "s", "zorbel.status"},
        {"Title", "s", "Zorbel"},
        {"Status", "s", "Active"},
        {"WindowId", "i", 0},
        {"IconName", "s", ""},
        {"IconThemePath", "s", ""},
        {"IconPixmap", "a(iiay)", {}},
        {"OverlayIconPixmap", "a(iiay)", {}},
        {"AttentionIconPixmap", "a(iiay)", {}},
        {"ToolTip", "(sa(iiay)ss)", {}},
        {"ItemIsMenu", "b", false},
        {"Menu", "o", {}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        ASSERT_TRUE(properties.contains(row.name));
        const QVariant value = properties.value(row.name);
        // Plain types arrive as themselves, built ones as an argument that knows its signature.
        if (value.metaType() == QMetaType::fromType<QDBusArgument>()) {
            EXPECT_EQ(value.value<QDBusArgument>().currentSignature().toStdString(), row.signature);
        } else {
            EXPECT_STREQ(QDBusMetaType::typeToSignature(value.metaType()), row.signature);
        }
        if (row.value.isValid()) {
            EXPECT_EQ(value, row.value) << value.toString().toStdString();
        }
    }
}

TEST_F(Tray, MenuStandsInWhereADesktopKeepsRightClicksToItself) {
    struct Row {
        const char* desktop;
        const char* menu;
    };
    const Row rows[] = {{"", "/StatusNotifierItem/Menu"},
                        {"XFCE", "/StatusNotifierItem/Menu"},
                        {"KDE", "/NO_DBUSMENU"},
                        {"special:LXQt", "/NO_DBUSMENU"}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.desktop);
        TrayDouble tray;
        environment["XDG_CURRENT_DESKTOP"] = row.desktop;
        Program& zorbel = start();
        ASSERT_TRUE(until([&] { return hasItem(tray); }));
        EXPECT_EQ(tray.property("Menu").value<QDBusObjectPath>().path().toStdString(), row.menu);
        EXPECT_EQ(end(zorbel), 0) << zorbel.output();
    }
}

TEST_F(Tray, MenusOneEntryOpensTheDashboard) {
    TrayDouble tray;
    start();
    ASSERT_TRUE(until([&] { return hasItem(tray); }));
    const auto entries = tray.menu();
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].label.toStdString(), "Open Zorbel");
    ASSERT_TRUE(tray.choose(entries[0].id));
    EXPECT_TRUE(waitForDashboard());
    EXPECT_FALSE(findPanel(screen()));
}

TEST_F(Tray, PicturesAreWholeAndDrawn) {
    TrayDouble tray;
    start();
    ASSERT_TRUE(until([&] { return hasItem(tray); }));
    const auto pictures = tray.pictures();
    std::vector<int> heights;
    for (const TrayPicture& picture : pictures) {
        SCOPED_TRACE(picture.height);
        heights.push_back(picture.height);
        EXPECT_GT(picture.width, 0);
        ASSERT_EQ(picture.bytes.size(), 4 * picture.width * picture.height);
        int solid = 0;
        for (qsizetype at = 0; at < picture.bytes.size(); at += 4) {
            if (static_cast<unsigned char>(picture.bytes[at]) > 200) {
                ++solid;
                EXPECT_NEAR(static_cast<unsigned char>(picture.bytes[at + 1]), brass.red(), 3);
                EXPECT_NEAR(static_cast<unsigned char>(picture.bytes[at + 3]), brass.blue(), 3);
            }
        }
        EXPECT_GT(solid, picture.height);
        EXPECT_LT(solid, picture.width * picture.height) << "a glass, not a slab";
    }
    EXPECT_EQ(heights, (std::vector<int>{16, 22, 24, 32, 48}));
}

TEST_F(Tray, ActivateOpensThePanelWhereTheHostSays) {
    TrayDouble tray;
    start();
    ASSERT_TRUE(until([&] { return hasItem(tray); }));
    const QPoint places[] = {{700, 20}, {300, 780}, {1275, 790}};
    for (const QPoint& place : places) {
        SCOPED_TRACE(testing::Message() << place.x() << ", " << place.y());
        ASSERT_TRUE(tray.activate(place));
        ASSERT_TRUE(waitForPanel());
        const QRect panel = findPanel(screen())->frame;
        EXPECT_TRUE(QRect(QPoint(0, 0), screen().size()).contains(panel));
        EXPECT_TRUE(panel.adjusted(-20, -20, 20, 20).contains(place))
            << panel.x() << ", " << panel.y() << ", " << panel.width() << " x " << panel.height();
        ASSERT_TRUE(tray.activate(place)); // once more closes it
        ASSERT_TRUE(waitForPanel(false));
    }
}

TEST_F(Tray, ContextMenuOpensTheDashboard) {
    TrayDouble tray;
    start();
    ASSERT_TRUE(until([&] { return hasItem(tray); }));
    ASSERT_TRUE(tray.contextMenu({700, 20}));
    EXPECT_TRUE(waitForDashboard());
    EXPECT_FALSE(findPanel(screen()));
}

TEST_F(Tray, WatcherWithoutAHostCountsAsNone) {
    TrayDouble tray({.hasHost = false});
    start();
    EXPECT_TRUE(until([] { return findBar(screen()).has_value(); }));
    EXPECT_FALSE(hasItem(tray));

    tray.setHasHost(true); // one that came later
    EXPECT_TRUE(until([&] { return hasItem(tray) && !findBar(screen()); }));
}

TEST_F(Tray, BarStandsInForATrayThatGoesUntilOneComesBack) {
    auto tray = std::make_unique<TrayDouble>();
    start();
    ASSERT_TRUE(until([&] { return hasItem(*tray); }));
    const auto gone = Clock::now();
    tray.reset();
    ASSERT_TRUE(until([] { return findBar(screen()).has_value(); }));
    EXPECT_GE(Seconds(Clock::now() - gone), Seconds{2.8});
    screen().click(glass());
    EXPECT_TRUE(waitForPanel());
    screen().press(XK_Escape);
    EXPECT_TRUE(waitForPanel(false));

    // By now the bar has the watcher's name; it gives it to a tray that waits for it.
    tray = std::make_unique<TrayDouble>(TrayDouble::Manners{.waitsInLine = true});
    EXPECT_TRUE(until([&] { return hasItem(*tray) && !findBar(screen()); }));
    ASSERT_TRUE(tray->activate({640, 20}));
    EXPECT_TRUE(waitForPanel());
}

TEST_F(Tray, RestartedTrayGetsTheItemAgainAndNoBarShows) {
    auto tray = std::make_unique<TrayDouble>();
    start();
    for (int round = 0; round < 3; ++round) {
        SCOPED_TRACE(round);
        ASSERT_TRUE(until([&] { return hasItem(*tray); }));
        tray.reset();
        EXPECT_TRUE(holds([] { return !findBar(screen()); }, Seconds{0.7}));
        tray = std::make_unique<TrayDouble>();
    }
    ASSERT_TRUE(until([&] { return hasItem(*tray); }));
    EXPECT_TRUE(holds([] { return !findBar(screen()); }, Seconds{4})) << "an old waiting time has run out";
    EXPECT_FALSE(tray->pictures().empty());
}

TEST_F(Tray, SteamIsToldFourTimesASecondAtMostAndRestNotAtAll) {
    TrayDouble tray;
    start();
    ASSERT_TRUE(until([&] { return hasItem(tray); }));
    ASSERT_TRUE(tray.activate({640, 20}));
    ASSERT_TRUE(waitForPanel());
    const auto before = tray.newIcons().size();
    EXPECT_TRUE(until([&] { return tray.newIcons().size() >= before + 8; }));
    const auto& told = tray.newIcons();
    // Any five in a row span a second. What is measured is their arrival, which a busy machine may bunch a
    // little.
    for (std::size_t index = before + 4; index < told.size(); ++index) {
        EXPECT_GE(Seconds(told[index] - told[index - 4]), Seconds{0.8}) << index;
    }

    screen().press(XK_Escape);
    ASSERT_TRUE(waitForPanel(false));
    // A machine that is busy with other things may make the glass steam for a moment; that ends.
    const auto isQuiet = [&] {
        const auto count = tray.newIcons().size();
        return holds([&] { return tray.newIcons().size() == count; }, Seconds{1.5});
    };
    EXPECT_TRUE(until(isQuiet));
}

TEST_F(Tray, HostThatNeverAnswersARegistrationDoesNotFreezeTheGlass) {
    TrayDouble tray({.answersRegistration = false});
    start();
    ASSERT_TRUE(until([&] { return hasItem(tray); }));
    ASSERT_TRUE(tray.activate({640, 20})); // alive while the registration is open
    ASSERT_TRUE(waitForPanel());
    screen().press(XK_Escape);
    ASSERT_TRUE(waitForPanel(false));
    screen().click(glass()); // once the bar has come
    EXPECT_TRUE(waitForPanel());
}

TEST_F(Tray, WatcherThatNeverAnswersAtAllCountsAsNone) {
    const TrayDouble tray({.answersQuestions = false});
    start();
    screen().click(glass());
    EXPECT_TRUE(waitForPanel());
}

TEST_F(Tray, ItemWorksInARealPanel) {
    QDBusConnectionInterface& bus = *QDBusConnection::sessionBus().interface();
    {
        RealPanel panel;
        ASSERT_TRUE(until([&] { return bus.isServiceRegistered(watcherService).value(); }))
            << panel.program().output();
        Program& zorbel = start();
        QRect icon;
        ASSERT_TRUE(until([&] { return !(icon = boundsOf(screen().picture(), brass, 40)).isEmpty(); }))
            << panel.program().output();
        EXPECT_FALSE(findBar(screen()));
        EXPECT_LE(icon.width(), 32);
        EXPECT_LE(icon.height(), 32);

        screen().click(icon.center());
        EXPECT_TRUE(waitForPanel());
        screen().press(XK_Escape);
        EXPECT_TRUE(waitForPanel(false));

        // This panel never hands a right click on: it shows the item's menu.
        const auto shownBefore = screen().windows();
        screen().click(icon.center(), XCB_BUTTON_INDEX_3);
        std::optional<Window> menu;
        ASSERT_TRUE(until([&] { return (menu = newPopup(shownBefore, screen())).has_value(); }));
        // Its toolkit takes a click in the first half second for a part of the one that opened the menu.
        ASSERT_TRUE(holds([&] { return screen().frame(menu->id).has_value(); }, Seconds{0.8}));
        screen().click(menu->frame.center());
        EXPECT_TRUE(waitForDashboard());
        EXPECT_FALSE(findPanel(screen()));
        EXPECT_EQ(end(zorbel), 0) << zorbel.output();
        EXPECT_TRUE(panel.end());
    }
    EXPECT_TRUE(until([&] { return !bus.isServiceRegistered(watcherService).value(); }));
}
