#include "Tests/Desktop/DesktopTest.hpp"
#include "Tests/Desktop/Memory.hpp"

#include <X11/keysym.h>
#include <algorithm>
#include <atomic>
#include <regex>
#include <thread>

using namespace Desktop;

namespace {

constexpr QColor malai(0xD2, 0xB4, 0xA0);
constexpr QColor kettle(0x1E, 0x17, 0x0F);
constexpr Seconds restTime{0.3};

/// Keeps every processor busy while it lives.
class BusyMachine {
public:
    BusyMachine() {
        for (unsigned index = 0; index < std::max(1U, std::thread::hardware_concurrency()); ++index) {
            threads_.emplace_back([this] {
                while (!isOver_) {
                }
            });
        }
    }
    BusyMachine(const BusyMachine&) = delete;
    BusyMachine& operator=(const BusyMachine&) = delete;
    ~BusyMachine() {
        isOver_ = true;
        for (std::thread& thread : threads_) {
            thread.join();
        }
    }

private:
    std::atomic<bool> isOver_ = false;
    std::vector<std::thread> threads_;
};

} // namespace

class Glass : public DesktopTest {
protected:
    /// The figure that the open panel tells under this label; none while it tells none.
    static std::optional<int> figure(const std::string& label) {
        const auto pane = reader().pane("Zorbel panel");
        for (const std::string& name : pane ? pane->names() : std::vector<std::string>()) {
            std::smatch parts;
            if (std::regex_match(name, parts, std::regex(label + " (\\d+)%"))) {
                return std::stoi(parts[1]);
            }
        }
        return std::nullopt;
    }

    QImage glassPicture() const { return screen().picture(glassOn(findBar(screen()))); }

    bool isGlassAtRest() const {
        const QImage before = glassPicture();
        return holds([&] { return glassPicture() == before; }, restTime);
    }
};

TEST_F(Glass, BarIsADockThatKeepsItsRoomFree) {
    start();
    ASSERT_TRUE(until([] { return findBar(screen()).has_value(); }));
    const Window bar = *findBar(screen());
    EXPECT_EQ(bar.frame, QRect(0, 0, screen().size().width(), 28));
    EXPECT_EQ(screen().property(bar.id, "_NET_WM_WINDOW_TYPE"),
              std::vector<std::uint32_t>{screen().atom("_NET_WM_WINDOW_TYPE_DOCK")});
    const auto lastColumn = static_cast<std::uint32_t>(screen().size().width() - 1);
    EXPECT_EQ(screen().property(bar.id, "_NET_WM_STRUT_PARTIAL"),
              (std::vector<std::uint32_t>{0, 0, 28, 0, 0, 0, 0, 0, 0, lastColumn, 0, 0}));

    const auto usableTop = [] { return screen().rootProperty("_NET_WORKAREA").at(1); };
    EXPECT_TRUE(until([&] { return usableTop() == 28; })) << usableTop();

    const xcb_window_t other = screen().openWindow({200, 200, 300, 200}, "other");
    ASSERT_TRUE(until([&] { return screen().frame(other).has_value(); }));
    screen().maximise(other);
    const auto frameTop = [&] {
        const auto extents = screen().property(other, "_NET_FRAME_EXTENTS");
        const auto client = screen().frame(other);
        return client && extents.size() == 4 && client->width() > 1000
                   ? client->y() - static_cast<int>(extents[2])
                   : -1;
    };
    EXPECT_TRUE(until([&] { return frameTop() == 28; })) << frameTop();
    screen().closeWindow(other);
}

TEST_F(Glass, IsDrawnOnTheBar) {
    start();
    glass();
    EXPECT_TRUE(until([&] { return !boundsOf(glassPicture(), malai).isEmpty(); }));
    const QRect drawn = boundsOf(glassPicture(), malai);
    EXPECT_GE(drawn.height(), 10);
    EXPECT_GE(drawn.width(), 8);
    EXPECT_FALSE(boundsOf(glassPicture(), kettle, 0).isEmpty());
}

TEST_F(Glass, LeftClickOpensThePanelUnderIt) {
    start();
    const QPoint middle = glass();
    screen().click(middle);
    ASSERT_TRUE(waitForPanel());
    const QRect panel = findPanel(screen())->frame;
    EXPECT_TRUE(QRect(QPoint(0, 0), screen().size()).contains(panel));
    EXPECT_GE(panel.top(), glassOn(findBar(screen())).bottom());
    EXPECT_LE(panel.top(), glassOn(findBar(screen())).bottom() + 8);
    EXPECT_LT(panel.left(), middle.x());
    EXPECT_GT(panel.right(), middle.x());
    EXPECT_FALSE(findDashboard(screen()));
}

TEST_F(Glass, PanelReadsTheSpicesThatAreOn) {
    start();
    const auto panel = openPanel();
    ASSERT_TRUE(panel);
    std::vector<std::string> headings;
    for (const Node& section : panel->all(ATSPI_ROLE_PANEL)) {
        if (section.find(section.name(), ATSPI_ROLE_LABEL)) {
            headings.push_back(section.name());
        }
    }
    EXPECT_EQ(headings, (std::vector<std::string>{"Sivrel", "Mordan", "Pintho", "Rusket"}));
    EXPECT_TRUE(panel->find("Open Zorbel", ATSPI_ROLE_PUSH_BUTTON));
    EXPECT_TRUE(panel->find("Quit", ATSPI_ROLE_PUSH_BUTTON));
}

TEST_F(Glass, PanelWithEverythingOffSaysSo) {
    settings.write({{"app.hasLaunched", true},
                    {"spice.sivrel.enabled", false},
                    {"spice.mordan.enabled", false},
                    {"spice.pintho.enabled", false},
                    {"spice.rusket.enabled", false}});
    start();
    const auto panel = openPanel();
    ASSERT_TRUE(panel);
    EXPECT_TRUE(panel->find("Nothing is steeping."));
    EXPECT_FALSE(panel->find("Rusket"));
    EXPECT_TRUE(panel->find("Quit", ATSPI_ROLE_PUSH_BUTTON));
}

TEST_F(Glass, PanelTellsTheMemoryInUse) {
    start();
    ASSERT_TRUE(openPanel());
    const auto difference = [&] { return figure("Memory").value_or(-100) - memory().usedPercent(); };
    EXPECT_TRUE(until([&] { return std::abs(difference()) <= 2; })) << difference();
}

TEST_F(Glass, PanelFollowsTheLoad) {
    start();
    ASSERT_TRUE(openPanel());
    ASSERT_TRUE(until([&] { return figure("CPU").has_value(); }));
    const BusyMachine busy;
    EXPECT_TRUE(until([&] { return figure("CPU").value_or(0) >= 50; }, Seconds{4}))
        << figure("CPU").value_or(-1);
}

TEST_F(Glass, SecondClickClosesThePanelAndDoesNotOpenItAgain) {
    start();
    const QPoint middle = glass();
    for (int round = 0; round < 3; ++round) {
        screen().click(middle);
        ASSERT_TRUE(waitForPanel()) << round;
        screen().click(middle);
        ASSERT_TRUE(waitForPanel(false)) << round;
        EXPECT_TRUE(holds([] { return !findPanel(screen()); }, Seconds{0.5})) << round;
    }
}

TEST_F(Glass, EscapeClosesThePanel) {
    start();
    screen().click(glass());
    ASSERT_TRUE(waitForPanel());
    screen().press(XK_Escape);
    EXPECT_TRUE(waitForPanel(false));
}

TEST_F(Glass, ClickElsewhereClosesThePanel) {
    start();
    const xcb_window_t other = screen().openWindow({100, 300, 300, 200}, "other");
    const QPoint places[] = {nowhere, {200, 400}, {300, 14}};
    for (const QPoint& place : places) {
        SCOPED_TRACE(testing::Message() << place.x() << ", " << place.y());
        screen().click(glass());
        ASSERT_TRUE(waitForPanel());
        screen().click(place);
        EXPECT_TRUE(waitForPanel(false));
    }
    screen().closeWindow(other);
}

TEST_F(Glass, OpenZorbelClosesThePanelAndOpensTheDashboard) {
    start();
    ASSERT_TRUE(openPanel());
    ASSERT_TRUE(click("Zorbel panel", "Open Zorbel"));
    EXPECT_TRUE(waitForPanel(false));
    EXPECT_TRUE(waitForDashboard());
}

TEST_F(Glass, QuitEndsTheProgram) {
    Program& zorbel = start();
    ASSERT_TRUE(openPanel());
    ASSERT_TRUE(click("Zorbel panel", "Quit"));
    EXPECT_EQ(zorbel.waitForEnd(), 0) << zorbel.output();
}

TEST_F(Glass, RightClickOpensTheDashboardNeverThePanel) {
    start();
    screen().click(glass(), XCB_BUTTON_INDEX_3);
    ASSERT_TRUE(until([] {
        EXPECT_FALSE(findPanel(screen()));
        return findDashboard(screen()).has_value();
    }));
    EXPECT_TRUE(holds([] { return !findPanel(screen()); }, Seconds{0.5}));
}

TEST_F(Glass, SteamsWhileThePanelIsOpenAndRestsAfterwards) {
    start();
    const QPoint middle = glass();
    screen().movePointer(nowhere);
    EXPECT_TRUE(until([&] { return isGlassAtRest(); }));
    const QImage resting = glassPicture();

    screen().click(middle);
    ASSERT_TRUE(waitForPanel());
    screen().movePointer(nowhere);
    QImage last = glassPicture();
    int frames = 0;
    EXPECT_TRUE(until([&] {
        const QImage next = glassPicture();
        frames += next == last ? 0 : 1;
        last = next;
        return frames >= 6;
    })) << frames;

    screen().press(XK_Escape);
    ASSERT_TRUE(waitForPanel(false));
    EXPECT_TRUE(until([&] { return isGlassAtRest() && glassPicture() == resting; }));
}

TEST_F(Glass, DashboardOpensByItselfWhenTheEnvironmentAsks) {
    settings.write(nlohmann::json::object());
    const auto before = std::chrono::steady_clock::now();
    start({{"ZORBEL_OPEN_DASHBOARD", "1"}});
    ASSERT_TRUE(waitForDashboard());
    EXPECT_GE(Seconds(std::chrono::steady_clock::now() - before), Seconds{0.3});
    EXPECT_TRUE(holds([] { return !findWelcome(screen()); }, Seconds{1}));
    EXPECT_FALSE(settings.read().contains("app.hasLaunched"));
}

TEST_F(Glass, FirstLaunchWelcomesTheUserBeforeAnythingElse) {
    settings.write(nlohmann::json::object());
    start();
    ASSERT_TRUE(until([] { return findWelcome(screen()).has_value(); }));
    EXPECT_EQ(findWelcome(screen())->frame.size(), QSize(720, 560));
    EXPECT_TRUE(holds([] { return !findDashboard(screen()); }, Seconds{1}));
    EXPECT_FALSE(settings.read().contains("app.hasLaunched"));

    ASSERT_TRUE(click("Welcome to Zorbel", "Start Zorbel", ATSPI_ROLE_PUSH_BUTTON));
    EXPECT_TRUE(waitForDashboard());
    EXPECT_TRUE(until([] { return !findWelcome(screen()); }));
    EXPECT_TRUE(waitForSetting("app.hasLaunched", true));
}
