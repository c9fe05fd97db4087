#include "Tests/Desktop/MenuBarTest.hpp"
#include "Tests/Desktop/RealPanel.hpp"

using namespace Desktop;

namespace {

constexpr auto ownBar = "Use Zorbel's own bar";

/// The icon of Zorbel in a tray.
bool hasGlass(const TrayDouble& tray) {
    return !tray.items().filter("StatusNotifierItem").isEmpty();
}

} // namespace

class MenuBarChoice : public MenuBarTest {
protected:
    MenuBarChoice() {
        set("stall.selection", "sivrel");
        set("spice.sivrel.enabled", true);
    }

    /// The switch on Sivrel's page, once it is to be seen, or never.
    static std::optional<Node> ownBarSwitch() {
        const auto pane = reader().pane("Dashboard");
        const auto found = pane ? pane->find(ownBar, ATSPI_ROLE_CHECK_BOX) : std::nullopt;
        return found && found->is(ATSPI_STATE_SHOWING) ? found : std::nullopt;
    }

    static bool pressOwnBar() {
        std::optional<Node> found;
        return until([&] { return (found = ownBarSwitch()).has_value(); }) && found->press();
    }

    /// Sivrel's page, opened through the icon in the tray.
    void openDashboardFrom(TrayDouble& tray) {
        reader();
        ASSERT_TRUE(tray.contextMenu({700, 20}));
        ASSERT_TRUE(waitForDashboard());
        screen().movePointer(nowhere);
    }
};

TEST_F(MenuBarChoice, AGuestInTheDesktopsTrayByDefault) {
    const TrayDouble tray;
    TrayProgram program;
    program.add(trayProperties("item", azure));
    start();
    ASSERT_TRUE(until([&] { return tray.items().size() == 2; }));
    EXPECT_TRUE(holds([] { return !findBar(screen()); }, Seconds{1}));
    EXPECT_EQ(tray.otherHosts(), QStringList()) << "only who shows icons is a host";
}

TEST_F(MenuBarChoice, TheOwnBarBesideATrayWhereTheUserWantsIt) {
    set("menubar.ownBar", true);
    const TrayDouble tray;
    TrayProgram program;
    program.add(trayProperties("first", azure));
    program.add(trayProperties("second", lime), "/second");
    ASSERT_TRUE(until([&] { return tray.items().size() == 2; }));
    start();
    EXPECT_TRUE(waitForIcon(azure));
    EXPECT_TRUE(waitForIcon(lime));
    EXPECT_TRUE(holds([&] { return tray.items().size() == 2; }, Seconds{0.7})) << "Zorbel is no guest too";
    EXPECT_TRUE(toggle({azure, lime}, false));
    EXPECT_TRUE(toggle({azure, lime}, true));
    screen().click(glass());
    EXPECT_TRUE(waitForPanel());
}

TEST_F(MenuBarChoice, TheSwitchOnSivrelsPageChangesItBothWays) {
    TrayDouble tray;
    start();
    ASSERT_TRUE(until([&] { return tray.items().size() == 1; }));
    openDashboardFrom(tray);
    TrayProgram program;
    program.add(trayProperties("item", azure));
    ASSERT_TRUE(until([&] { return tray.items().size() == 2; }));

    ASSERT_TRUE(pressOwnBar());
    EXPECT_TRUE(waitForIcon(azure));
    EXPECT_TRUE(waitForSetting("menubar.ownBar", true));
    EXPECT_TRUE(until([&] { return tray.otherHosts().size() == 1; }));
    EXPECT_TRUE(findDashboard(screen()));
    EXPECT_TRUE(toggle({azure}, false));
    EXPECT_TRUE(toggle({azure}, true));

    ASSERT_TRUE(pressOwnBar());
    EXPECT_TRUE(until([] { return !findBar(screen()); }));
    EXPECT_TRUE(waitForSetting("menubar.ownBar", false));
    EXPECT_TRUE(until([&] { return hasGlass(tray) && tray.items().size() >= 2; }));
    EXPECT_TRUE(until([&] { return !tray.pictures().empty(); }))
        << "the newest item is Zorbel's, and answers";
    EXPECT_TRUE(findDashboard(screen()));
}

TEST_F(MenuBarChoice, SwitchingBackAndForthManyTimesEndsWhereItShould) {
    TrayDouble tray;
    TrayProgram program;
    program.add(trayProperties("item", azure));
    start();
    ASSERT_TRUE(until([&] { return tray.items().size() == 2; }));
    openDashboardFrom(tray);
    for (int round = 0; round < 5; ++round) {
        SCOPED_TRACE(round);
        ASSERT_TRUE(pressOwnBar());
        ASSERT_TRUE(waitForIcon(azure));
        EXPECT_EQ(icon(azure).width(), iconSide);
        ASSERT_TRUE(pressOwnBar());
        ASSERT_TRUE(until([] { return !findBar(screen()); }));
    }
    EXPECT_TRUE(until([&] { return !tray.pictures().empty(); }));
}

TEST_F(MenuBarChoice, NothingToChooseWithoutATrayOfTheDesktops) {
    startBar();
    ASSERT_TRUE(openDashboard());
    EXPECT_TRUE(until([] {
        const auto pane = reader().pane("Dashboard");
        return pane && pane->find("Sivrel", ATSPI_ROLE_CHECK_BOX);
    }));
    EXPECT_FALSE(ownBarSwitch());
}

TEST_F(MenuBarChoice, TheOwnBarStaysWhenTheTrayGoesAndWhenItComesBack) {
    set("menubar.ownBar", true);
    auto tray = std::make_unique<TrayDouble>();
    TrayProgram program;
    program.add(trayProperties("item", azure));
    start();
    ASSERT_TRUE(waitForIcon(azure));
    tray.reset();
    EXPECT_TRUE(until([] { return hasWatcher(); }));
    EXPECT_TRUE(holds([] { return !icon(azure).isEmpty(); }, Seconds{0.7}));
    EXPECT_THROW(TrayDouble{}, std::runtime_error) << "the name is ours now";
}

TEST_F(MenuBarChoice, BesideARealPanelBothShowTheIcons) {
    set("menubar.ownBar", true);
    RealPanel panel(RealPanel::Edge::bottom);
    ASSERT_TRUE(until([] { return hasWatcher(); })) << panel.program().output();
    Program client({QT_TRAY_PROGRAM, "client", "#40d020"}, unread());
    const auto isInPanel = [] {
        const QRect bottom(0, screen().size().height() - 40, screen().size().width(), 40);
        return !boundsOf(screen().picture(bottom), lime, 4).isEmpty();
    };
    ASSERT_TRUE(until(isInPanel)) << panel.program().output();
    start();
    ASSERT_TRUE(waitForIcon(lime));
    screen().click(icon(lime).center());
    EXPECT_TRUE(says(client, "activated"));
    EXPECT_TRUE(toggle({lime}, false));
    EXPECT_TRUE(isInPanel()) << "the panel keeps its own";
    EXPECT_TRUE(toggle({lime}, true));
    const QString before = watcherOwner();
    EXPECT_TRUE(panel.end());
    EXPECT_TRUE(until([&] { return hasWatcher() && watcherOwner() != before; }));
    EXPECT_TRUE(holds([] { return !icon(lime).isEmpty(); }, Seconds{1}));
}
