#include "Platforms/Simulated/SimulatedSuite.hpp"
#include "Zorbel/AppDelegate.hpp"
#include "ZorbelKit/Spice.hpp"
#include "ZorbelKit/Stall.hpp"
#include "ZorbelKit/Surfaces/RecordingCanvas.hpp"

#include <gtest/gtest.h>

namespace {

using namespace ZorbelKit;
using Simulated::SimulatedShellWindows;

constexpr auto glassName = "zorbel.status";
constexpr auto dashboardTitle = "Zorbel";
constexpr auto onboardingTitle = "Welcome to Zorbel";

/// The program on a simulated machine that has launched before.
class AppDelegateTest : public ::testing::Test {
protected:
    AppDelegateTest() { suite.defaults.setBoolean("app.hasLaunched", true); }

    void launch() {
        delegate.emplace(suite.host());
        delegate->applicationDidFinishLaunching();
    }

    void click(ClickButton button) { suite.statusBar.click(glassName, button); }
    SimulatedShellWindows::Popover& panel() { return *suite.windows.popovers.at(0); }
    int windowsShown() const {
        int count = 0;
        for (const auto& window : suite.windows.windows) {
            count += window->isShown ? 1 : 0;
        }
        return count;
    }

    /// Makes the machine this busy over the next watch interval.
    void workAt(double load) {
        const auto busy = static_cast<std::uint64_t>(load * 10'000);
        suite.statistics.work(busy, 10'000 - busy);
    }

    Simulated::SimulatedSuite suite;
    std::optional<Zorbel::AppDelegate> delegate;
};

std::vector<RecordingCanvas::Mark> drawn(const Image& image) {
    RecordingCanvas canvas;
    image.draw(canvas, {0, 0, image.size().width, image.size().height});
    return canvas.marks();
}

TEST_F(AppDelegateTest, LaunchIsAnAccessoryWithTheGlassOnTheBar) {
    launch();
    EXPECT_TRUE(suite.application.isAccessory);
    const auto* glass = suite.statusBar.item(glassName);
    ASSERT_NE(glass, nullptr);
    EXPECT_EQ(glass->length, StatusBar::squareLength);
    EXPECT_EQ(glass->toolTip, "Zorbel");
    EXPECT_EQ(glass->image.size(), (Size{18, 18}));
    EXPECT_TRUE(glass->image.isTemplate());
    EXPECT_EQ(drawn(glass->image).size(), 3u) << "clip, chai and outline: no wisps at rest";
    EXPECT_EQ(delegate->stall()->spices().size(), 10u);
}

TEST_F(AppDelegateTest, ALaterLaunchOpensNoWindow) {
    launch();
    suite.loop.advance(Seconds{60});
    EXPECT_EQ(windowsShown(), 0);
    EXPECT_TRUE(suite.windows.popovers.empty());
}

TEST_F(AppDelegateTest, TheFirstLaunchOpensOnboardingAfterFourTenths) {
    suite.defaults.remove("app.hasLaunched");
    launch();
    suite.loop.advance(Seconds{0.399});
    EXPECT_EQ(windowsShown(), 0);
    suite.loop.advance(Seconds{0.001});
    EXPECT_TRUE(suite.windows.shows(onboardingTitle));
    EXPECT_EQ(suite.windows.titled(onboardingTitle)->style.contentSize, (Size{720, 560}));
    EXPECT_FALSE(suite.windows.titled(onboardingTitle)->style.minimumSize) << "not resizable";
    suite.loop.advance(Seconds{60});
    EXPECT_FALSE(suite.windows.shows(dashboardTitle)) << "the dashboard waits until onboarding is finished";
}

TEST_F(AppDelegateTest, AStoredLaunchThatIsNoBooleanCountsAsNone) {
    suite.defaults.setString("app.hasLaunched", "true");
    launch();
    suite.loop.advance(Seconds{0.4});
    EXPECT_TRUE(suite.windows.shows(onboardingTitle));
}

TEST_F(AppDelegateTest, TheEnvironmentOpensTheDashboardAfterThreeTenthsEvenOnAFirstLaunch) {
    suite.defaults.remove("app.hasLaunched");
    suite.environment["ZORBEL_OPEN_DASHBOARD"] = "";
    launch();
    suite.loop.advance(Seconds{0.299});
    EXPECT_EQ(windowsShown(), 0);
    suite.loop.advance(Seconds{0.001});
    EXPECT_TRUE(suite.windows.shows(dashboardTitle));
    suite.loop.advance(Seconds{60});
    EXPECT_EQ(suite.windows.titled(onboardingTitle), nullptr);
}

TEST_F(AppDelegateTest, ADelayedWindowDoesNotOpenOnceTheDelegateIsGone) {
    suite.environment["ZORBEL_OPEN_DASHBOARD"] = "1";
    launch();
    delegate.reset();
    suite.loop.advance(Seconds{1});
    EXPECT_TRUE(suite.windows.windows.empty());
}

TEST_F(AppDelegateTest, ARightClickOpensTheDashboardAndNeverThePanel) {
    launch();
    click(ClickButton::right);
    EXPECT_TRUE(suite.windows.shows(dashboardTitle));
    EXPECT_TRUE(suite.windows.popovers.empty());
    EXPECT_EQ(suite.application.activations, 1);
    const auto& style = suite.windows.titled(dashboardTitle)->style;
    EXPECT_EQ(style.contentSize, (Size{960, 640}));
    EXPECT_EQ(style.minimumSize, (Size{840, 560}));
}

TEST_F(AppDelegateTest, ARightClickAgainFrontsTheSameDashboard) {
    launch();
    click(ClickButton::right);
    click(ClickButton::right);
    EXPECT_EQ(suite.windows.windows.size(), 1u);
    EXPECT_EQ(suite.windows.titled(dashboardTitle)->fronts, 2);
    suite.windows.windows.at(0)->isShown = false; // closed by the user
    click(ClickButton::right);
    EXPECT_EQ(suite.windows.windows.size(), 1u) << "closing only hides it";
    EXPECT_TRUE(suite.windows.shows(dashboardTitle));
}

TEST_F(AppDelegateTest, ALeftClickTogglesThePanelUnderTheGlass) {
    launch();
    click(ClickButton::left);
    EXPECT_TRUE(panel().isShown);
    EXPECT_EQ(panel().contentSize, (Size{328, 420}));
    EXPECT_EQ(panel().anchor, suite.statusBar.item(glassName)->frame);
    click(ClickButton::left);
    EXPECT_FALSE(panel().isShown);
    click(ClickButton::left);
    EXPECT_TRUE(panel().isShown);
    EXPECT_EQ(suite.windows.popovers.size(), 1u) << "made once, then kept";
    EXPECT_EQ(windowsShown(), 0);
}

TEST_F(AppDelegateTest, TheGlassSteamsAtThreeQuartersWhileThePanelIsOpen) {
    launch();
    click(ClickButton::left);
    EXPECT_DOUBLE_EQ(delegate->steam().level(), 0.75);
    suite.loop.advance(Seconds{120});
    EXPECT_DOUBLE_EQ(delegate->steam().level(), 0.75);
    panel().close(); // a click elsewhere
    EXPECT_DOUBLE_EQ(delegate->steam().level(), 0);
    EXPECT_FALSE(delegate->steam().isRunning());
}

TEST_F(AppDelegateTest, EverySteamFrameRedrawsTheGlassAndRestRedrawsItOnce) {
    launch();
    click(ClickButton::left);
    auto* glass = suite.statusBar.item(glassName);
    const int before = glass->imagesShown;
    suite.loop.advance(Seconds{1});
    EXPECT_EQ(glass->imagesShown, before + 12);
    EXPECT_EQ(drawn(glass->image).size(), 6u) << "three wisps more than at rest";
    click(ClickButton::left);
    EXPECT_EQ(glass->imagesShown, before + 13);
    EXPECT_EQ(drawn(glass->image).size(), 3u);
    suite.loop.advance(Seconds{10});
    EXPECT_EQ(glass->imagesShown, before + 13) << "a resting glass draws nothing";
}

TEST_F(AppDelegateTest, ALoadTickAboveTheLimitPuffsForTwoAndAHalfSeconds) {
    struct Row {
        const char* name;
        double load;
        double level;
    };
    const Row rows[] = {
        {"idle", 0.0, 0},
        {"just below", 0.3499, 0},
        {"exactly at the limit", 0.35, 0},
        {"just above", 0.3501, 0.3501},
        {"full", 1.0, 1.0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        delegate.reset();
        launch();
        workAt(row.load);
        suite.loop.advance(Seconds{14.999});
        EXPECT_DOUBLE_EQ(delegate->steam().level(), 0);
        suite.loop.advance(Seconds{0.001});
        EXPECT_NEAR(delegate->steam().level(), row.level, 1e-9);
        suite.loop.advance(Seconds{2.499});
        EXPECT_NEAR(delegate->steam().level(), row.level, 1e-9);
        suite.loop.advance(Seconds{0.001});
        EXPECT_DOUBLE_EQ(delegate->steam().level(), 0);
    }
}

TEST_F(AppDelegateTest, ALoadTickWhileThePanelIsOpenChangesNothing) {
    launch();
    click(ClickButton::left);
    workAt(0.9);
    suite.loop.advance(Seconds{15});
    EXPECT_DOUBLE_EQ(delegate->steam().level(), 0.75);
    suite.loop.advance(Seconds{10});
    EXPECT_DOUBLE_EQ(delegate->steam().level(), 0.75) << "held, not a puff that ends";
}

TEST_F(AppDelegateTest, QuittingStopsEverySpiceAndKeepsTheStoredStates) {
    launch();
    const auto stored = suite.defaults.values();
    click(ClickButton::left);
    delegate->applicationWillTerminate();
    EXPECT_EQ(suite.defaults.values(), stored);
    EXPECT_EQ(delegate->stall()->steepingCount(), 0);
    EXPECT_DOUBLE_EQ(delegate->steam().level(), 0);
    panel().close();
    delegate.reset();
    EXPECT_EQ(suite.liveThings(), 0);
}

TEST_F(AppDelegateTest, ASecondStartBringsTheDashboardOrTheFirstLaunchForward) {
    suite.defaults.remove("app.hasLaunched");
    launch();
    suite.loop.advance(Seconds{0.4});
    delegate->comeForward();
    EXPECT_EQ(suite.windows.titled(onboardingTitle)->fronts, 2);
    EXPECT_FALSE(suite.windows.shows(dashboardTitle));
    suite.windows.titled(onboardingTitle)->isShown = false; // closed by the user
    delegate->comeForward();
    EXPECT_TRUE(suite.windows.shows(dashboardTitle));
    EXPECT_FALSE(suite.defaults.boolean("app.hasLaunched")) << "and the first launch comes back next time";
}

TEST_F(AppDelegateTest, WithoutAMenuBarTheDashboardStandsInAfterFiveSeconds) {
    suite.statusBar.setShowsItems(false);
    launch();
    suite.loop.advance(Seconds{4.999});
    EXPECT_EQ(windowsShown(), 0);
    suite.loop.advance(Seconds{0.001});
    EXPECT_TRUE(suite.windows.shows(dashboardTitle));
    delegate->togglePanel();
    EXPECT_TRUE(suite.windows.popovers.empty()) << "no item to hang a panel from";
}

TEST_F(AppDelegateTest, AnUnreachableMenuBarOpensTheDashboardOnce) {
    suite.statusBar.setReachable(false);
    launch();
    suite.loop.advance(Seconds{5});
    EXPECT_TRUE(suite.windows.shows(dashboardTitle));
    suite.windows.windows.at(0)->isShown = false;
    suite.loop.advance(Seconds{600});
    EXPECT_FALSE(suite.windows.shows(dashboardTitle)) << "closed by the user, it stays closed";
}

TEST_F(AppDelegateTest, AMenuBarThatGoesAwayLaterBringsTheDashboardAtOnce) {
    launch();
    suite.loop.advance(Seconds{3600});
    EXPECT_EQ(windowsShown(), 0);
    suite.statusBar.setReachable(false);
    EXPECT_TRUE(suite.windows.shows(dashboardTitle));
}

TEST_F(AppDelegateTest, DestroyingTheDelegateTakesTheGlassOffTheBar) {
    launch();
    delegate.reset();
    EXPECT_EQ(suite.statusBar.liveItems(), 0);
}

} // namespace
