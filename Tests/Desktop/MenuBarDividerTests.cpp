#include "Tests/Desktop/MenuBarTest.hpp"
#include "Tests/Desktop/Monitors.hpp"

#include <X11/keysym.h>
#include <csignal>

using namespace Desktop;

namespace {

constexpr QColor malai(0xD2, 0xB4, 0xA0); // the bar's own pictures

/// A smaller screen, and as it was with the end of this object.
class SmallScreen {
public:
    SmallScreen()
        : isSet_(Monitors::run({"xrandr", "--newmode", "small", "0", "1024", "1024", "1024", "1024", "768",
                                "768", "768", "768"}) &&
                 Monitors::run({"xrandr", "--addmode", "screen", "small"}) &&
                 Monitors::run({"xrandr", "--output", "screen", "--mode", "small"})) {}
    SmallScreen(const SmallScreen&) = delete;
    SmallScreen& operator=(const SmallScreen&) = delete;
    ~SmallScreen() {
        Monitors::run({"xrandr", "--output", "screen", "--mode", "1280x800"});
        Monitors::run({"xrandr", "--delmode", "screen", "small"});
        Monitors::run({"xrandr", "--rmmode", "small"});
    }

    bool isSet() const { return isSet_; }

private:
    bool isSet_;
};

QVariantMap colours(const char* id, QColor colour) {
    return trayProperties(id, colour);
}

} // namespace

class MenuBarDivider : public MenuBarTest {
protected:
    static bool isDrawnOn(const QRect& cell) {
        return !boundsOf(screen().picture(cell), malai, 40).isEmpty();
    }
};

TEST_F(MenuBarDivider, HidesWhatIsLeftOfItAndShowsItAgain) {
    startBar();
    TrayProgram program;
    program.add(colours("first", azure));
    ASSERT_TRUE(waitForIcon(azure));
    program.add(colours("second", lime), "/second");
    ASSERT_TRUE(waitForIcon(lime));
    const QRect place = icon(lime);
    for (int round = 0; round < 3; ++round) {
        SCOPED_TRACE(round);
        ASSERT_TRUE(toggle({azure, lime}, false));
        EXPECT_TRUE(waitForSetting("sivrel.collapsed", true));
        EXPECT_TRUE(isDrawnOn(dividerCell()));
        EXPECT_TRUE(isDrawnOn(glassOn(findBar(screen()))));
        ASSERT_TRUE(toggle({azure, lime}, true));
        EXPECT_TRUE(waitForSetting("sivrel.collapsed", false));
        EXPECT_EQ(icon(lime), place);
    }
}

TEST_F(MenuBarDivider, TurnsOnEitherButton) {
    startBar();
    TrayProgram program;
    program.add(colours("first", azure));
    ASSERT_TRUE(waitForIcon(azure));
    screen().click(dividerCell().center(), XCB_BUTTON_INDEX_3);
    EXPECT_TRUE(waitForIcon(azure, false));
    screen().click(dividerCell().center());
    EXPECT_TRUE(waitForIcon(azure));
}

TEST_F(MenuBarDivider, IsClickableAlongItsWholeLengthWhileCollapsed) {
    startBar();
    TrayProgram program;
    program.add(colours("first", azure));
    ASSERT_TRUE(waitForIcon(azure));
    ASSERT_TRUE(toggle({azure}, false));
    screen().click({100, 14});
    EXPECT_TRUE(waitForIcon(azure));
}

TEST_F(MenuBarDivider, S08_TwoQuickClicksTurnItTwice) {
    startBar();
    TrayProgram program;
    program.add(colours("first", azure));
    ASSERT_TRUE(waitForIcon(azure));
    screen().click(dividerCell().center());
    screen().click(dividerCell().center());
    EXPECT_TRUE(holds([&] { return true; }, Seconds{0.3})); // a third turn would have come by then
    EXPECT_TRUE(waitForIcon(azure));
    EXPECT_TRUE(waitForSetting("sivrel.collapsed", false));
}

TEST_F(MenuBarDivider, HiddenIconsGetNoClicks) {
    startBar();
    TrayProgram program;
    TrayItemDouble& item = program.add(colours("first", azure));
    ASSERT_TRUE(waitForIcon(azure));
    const QPoint place = icon(azure).center();
    ASSERT_TRUE(toggle({azure}, false));
    screen().click(place); // the divider lies there now
    EXPECT_TRUE(waitForIcon(azure));
    EXPECT_EQ(item.calls(), QStringList());
}

TEST_F(MenuBarDivider, StaysCollapsedOverARestart) {
    TrayProgram program;
    Program& first = startBar();
    program.add(colours("first", azure));
    ASSERT_TRUE(waitForIcon(azure));
    ASSERT_TRUE(toggle({azure}, false));
    ASSERT_EQ(end(first), 0) << first.output();
    startBar();
    ASSERT_TRUE(until([] { return listed().size() == 1; }));
    EXPECT_TRUE(isNeverSeen(azure, Seconds{1}));
    EXPECT_TRUE(toggle({azure}, true));
}

TEST_F(MenuBarDivider, S07_HidesOnTimeUnderAnOpenMenuWhichStaysToChooseFrom) {
    set("sivrel.autoCollapse", 1.0);
    set("sivrel.collapsed", true);
    startBar();
    TrayProgram program;
    TrayMenuDouble& menu = program.addMenu();
    menu.setEntries(usualMenu());
    QVariantMap properties = colours("first", azure);
    properties["Menu"] = objectPath("/Menu");
    program.add(properties);
    reader();
    ASSERT_TRUE(until([] { return listed().size() == 1; }));
    ASSERT_TRUE(toggle({azure}, true));
    const auto window = openedMenu([] { screen().click(icon(azure).center(), XCB_BUTTON_INDEX_3); });
    ASSERT_TRUE(window);
    EXPECT_TRUE(waitForIcon(azure, false));
    ASSERT_TRUE(choose(*window, "Leave"));
    EXPECT_TRUE(until([&] { return menu.events().contains("clicked 6"); }));
    EXPECT_TRUE(waitForMenuGone(*window));
}

TEST_F(MenuBarDivider, HidesAgainByItselfAfterItsTime) {
    set("sivrel.autoCollapse", 1.0);
    set("sivrel.collapsed", true);
    startBar();
    TrayProgram program;
    program.add(colours("first", azure));
    ASSERT_TRUE(until([] { return listed().size() == 1; }));
    ASSERT_TRUE(toggle({azure}, true));
    const auto shown = std::chrono::steady_clock::now();
    EXPECT_TRUE(waitForIcon(azure, false));
    EXPECT_GE(Seconds(std::chrono::steady_clock::now() - shown), Seconds{0.5});
}

TEST_F(MenuBarDivider, S06_TurnedOffWhileCollapsedItGivesEverythingBack) {
    set("stall.selection", "sivrel");
    startBar();
    TrayProgram program;
    program.add(colours("first", azure));
    ASSERT_TRUE(waitForIcon(azure));
    ASSERT_TRUE(toggle({azure}, false));
    ASSERT_TRUE(openDashboard());
    ASSERT_TRUE(click("Dashboard", "Sivrel", ATSPI_ROLE_CHECK_BOX));
    EXPECT_TRUE(waitForIcon(azure));
    ASSERT_TRUE(click("Dashboard", "Add Sivrel", ATSPI_ROLE_PUSH_BUTTON));
    EXPECT_TRUE(waitForIcon(azure, false)) << "collapsed as before";
}

TEST_F(MenuBarDivider, S09_ANewcomerWhileCollapsedIsHiddenAndFlashesNothing) {
    startBar();
    TrayProgram program;
    program.add(colours("first", azure));
    ASSERT_TRUE(waitForIcon(azure));
    ASSERT_TRUE(toggle({azure}, false));
    TrayProgram newcomer;
    newcomer.add(colours("newcomer", lime));
    ASSERT_TRUE(until([] {
        EXPECT_TRUE(icon(azure).isEmpty());
        return listed().size() == 2;
    }));
    EXPECT_TRUE(holds([] { return icon(azure).isEmpty() && icon(lime).isEmpty(); }, Seconds{0.7}));
    EXPECT_TRUE(toggle({azure, lime}, true));
}

TEST_F(MenuBarDivider, S10_AHiddenProgramThatDiesIsNotThereWhenTheBarIsShown) {
    startBar();
    std::optional<TrayProgram> mortal(std::in_place);
    mortal->add(colours("mortal", azure));
    ASSERT_TRUE(waitForIcon(azure));
    TrayProgram other;
    other.add(colours("other", lime));
    ASSERT_TRUE(waitForIcon(lime));
    ASSERT_TRUE(toggle({azure, lime}, false));
    mortal.reset();
    ASSERT_TRUE(until([] { return listed().size() == 1; }));
    ASSERT_TRUE(toggle({lime}, true));
    EXPECT_EQ(icon(lime).x(), cell(0).x() + 3);
    EXPECT_TRUE(icon(azure).isEmpty());
}

TEST_F(MenuBarDivider, S15_NeedingAttentionWhileHiddenDoesNotBreakIn) {
    startBar();
    TrayProgram program;
    TrayItemDouble& item = program.add(colours("first", azure));
    ASSERT_TRUE(waitForIcon(azure));
    ASSERT_TRUE(toggle({azure}, false));
    item.setStatus("NeedsAttention");
    EXPECT_TRUE(isNeverSeen(azure, Seconds{0.5}));
    EXPECT_TRUE(toggle({azure}, true));
}

TEST_F(MenuBarDivider, S01_HidesOnEveryMonitor) {
    const Monitors monitors({{"LEFT", "800/212x800/212+0+0"}, {"RIGHT", "480/127x800/212+800+0"}});
    ASSERT_TRUE(monitors.isSet());
    startBar();
    TrayProgram program;
    program.add(colours("first", azure));
    ASSERT_TRUE(waitForIcon(azure));
    const auto bar = findBar(screen());
    ASSERT_TRUE(bar);
    EXPECT_EQ(bar->frame.height(), 28);
    EXPECT_TRUE(bar->frame.width() == 800 || bar->frame.width() == 480) << bar->frame.width();
    ASSERT_TRUE(toggle({azure}, false));
    EXPECT_TRUE(boundsOf(screen().picture(), azure, 4).isEmpty()) << "on no monitor";
    EXPECT_TRUE(toggle({azure}, true));
}

TEST_F(MenuBarDivider, S01_StaysCollapsedWhenAMonitorIsPluggedInAndUnplugged) {
    startBar();
    TrayProgram program;
    program.add(colours("first", azure));
    ASSERT_TRUE(waitForIcon(azure));
    ASSERT_TRUE(toggle({azure}, false));
    const auto isHidden = [] { return boundsOf(screen().picture(), azure, 4).isEmpty(); };
    const auto barWidth = [] {
        const auto bar = findBar(screen());
        return bar ? bar->frame.width() : 0;
    };
    {
        const Monitors monitors({{"LEFT", "800/212x800/212+0+0"}, {"RIGHT", "480/127x800/212+800+0"}});
        ASSERT_TRUE(monitors.isSet());
        EXPECT_TRUE(until([&] { return barWidth() == 800 || barWidth() == 480; })) << barWidth();
        EXPECT_TRUE(holds(isHidden, Seconds{0.7}));
    }
    EXPECT_TRUE(until([&] { return barWidth() == 1280; })) << barWidth();
    EXPECT_TRUE(holds(isHidden, Seconds{0.7}));
    EXPECT_TRUE(toggle({azure}, true));
}

TEST_F(MenuBarDivider, S02_StaysCollapsedWhenTheScreenChangesItsSize) {
    startBar();
    TrayProgram program;
    program.add(colours("first", azure));
    ASSERT_TRUE(waitForIcon(azure));
    ASSERT_TRUE(toggle({azure}, false));
    const auto barWidth = [] {
        const auto bar = findBar(screen());
        return bar ? bar->frame.width() : 0;
    };
    {
        const SmallScreen small;
        ASSERT_TRUE(small.isSet());
        EXPECT_TRUE(until([&] { return barWidth() == 1024; })) << barWidth();
        EXPECT_TRUE(isNeverSeen(azure, Seconds{0.7}));
        EXPECT_TRUE(isDrawnOn(dividerCell())) << "at the right end of the smaller screen";
        ASSERT_TRUE(toggle({azure}, true));
        ASSERT_TRUE(toggle({azure}, false));
    }
    EXPECT_TRUE(until([&] { return barWidth() == 1280; })) << barWidth();
    EXPECT_TRUE(isNeverSeen(azure, Seconds{0.5}));
    EXPECT_EQ(settings.read().value("sivrel.collapsed", false), true);
    EXPECT_TRUE(toggle({azure}, true));
}

TEST_F(MenuBarDivider, S04_LeftOfEveryIconHidesNothing) {
    startBar();
    TrayProgram program;
    program.add(colours("first", azure));
    ASSERT_TRUE(waitForIcon(azure));
    screen().drag(icon(azure).center(), dividerCell().center() + QPoint(14, 0), XK_Control_L);
    ASSERT_TRUE(waitForRightOfDivider(azure));
    screen().movePointer(nowhere);
    // The divider's place is now left of the icon.
    const QPoint divider(icon(azure).left() - 3 - 11, 14);
    for (int turn = 0; turn < 2; ++turn) {
        screen().click(divider);
        EXPECT_TRUE(waitForSetting("sivrel.collapsed", turn == 0));
        EXPECT_TRUE(holds([] { return !icon(azure).isEmpty(); }, Seconds{0.5}));
        EXPECT_TRUE(isDrawnOn(glassOn(findBar(screen()))));
    }
}

TEST_F(MenuBarDivider, S04_WithNoIconsAtAllBothStatesWork) {
    startBar();
    for (const bool isCollapsed : {true, false, true}) {
        screen().click(dividerCell().center());
        EXPECT_TRUE(waitForSetting("sivrel.collapsed", isCollapsed));
        EXPECT_TRUE(isDrawnOn(dividerCell()));
        EXPECT_TRUE(isDrawnOn(glassOn(findBar(screen()))));
    }
}

class MenuBarDividerEnds : public MenuBarDivider, public testing::WithParamInterface<int> {};

TEST_P(MenuBarDividerEnds, S05_WhileCollapsedGivesEveryIconToTheNextTray) {
    Program& zorbel = startBar();
    TrayProgram program;
    Program client({QT_TRAY_PROGRAM, "client", "#40d020"}, unread());
    program.add(colours("first", azure));
    program.add(colours("second", pink), "/second");
    ASSERT_TRUE(waitForIcon(azure));
    ASSERT_TRUE(waitForIcon(pink));
    ASSERT_TRUE(waitForIcon(lime));
    ASSERT_TRUE(toggle({azure, pink, lime}, false));
    const auto ended = std::chrono::steady_clock::now();
    zorbel.send(GetParam());
    ASSERT_TRUE(zorbel.waitForEnd());
    ASSERT_TRUE(until([] { return !hasWatcher(); }));
    const TrayDouble next;
    EXPECT_TRUE(until([&] { return next.items().size() == 3; }, Seconds{1}))
        << next.items().join(' ').toStdString();
    EXPECT_LT(Seconds(std::chrono::steady_clock::now() - ended), Seconds{2});
    EXPECT_TRUE(client.isRunning());
}

INSTANTIATE_TEST_SUITE_P(Signals, MenuBarDividerEnds, testing::Values(SIGKILL, SIGTERM));
