#include "Tests/Desktop/DesktopTest.hpp"
#include "Tests/Desktop/Memory.hpp"

#include <X11/keysym.h>
#include <algorithm>
#include <cmath>
#include <set>

using namespace Desktop;

namespace {

const std::vector<std::string> spices{"Sivrel", "Mordan", "Pintho", "Rusket", "Wendrel",
                                      "Duvesk", "Fotrel", "Hushel", "Tonvik", "Ledgra"};

/// "1.5 GB" in bytes; binary units.
double bytes(const std::string& text) {
    std::size_t end = 0;
    const double amount = std::stod(text, &end);
    return amount * (text.substr(end) == " GB" ? 1024.0 : 1.0) * 1024 * 1024;
}

} // namespace

class Dashboard : public DesktopTest {
protected:
    static std::optional<Node> read(const std::string& name, std::optional<AtspiRole> role = std::nullopt) {
        const auto pane = reader().pane("Dashboard");
        return pane ? pane->find(name, role) : std::nullopt;
    }

    static std::string selectedRow() {
        const auto pane = reader().pane("Dashboard");
        for (const Node& row : pane ? pane->all(ATSPI_ROLE_LIST_ITEM) : std::vector<Node>()) {
            if (row.is(ATSPI_STATE_SELECTED)) {
                return row.name();
            }
        }
        return {};
    }

    /// Clicks a row of the list and waits for its page.
    void select(const std::string& name) {
        ASSERT_TRUE(click("Dashboard", name, ATSPI_ROLE_LIST_ITEM));
        ASSERT_TRUE(until([&] { return selectedRow() == name && read(name, ATSPI_ROLE_CHECK_BOX); })) << name;
    }

    /// What follows this label in something read out, such as "In use 1.5 GB".
    static std::string after(const std::string& label) {
        const auto pane = reader().pane("Dashboard");
        for (const std::string& name : pane ? pane->names() : std::vector<std::string>()) {
            if (name.starts_with(label + " ")) {
                return name.substr(label.size() + 1);
            }
        }
        return {};
    }

    static bool isSwitchOn(const std::string& name) {
        const auto control = read(name, ATSPI_ROLE_CHECK_BOX);
        return control && control->is(ATSPI_STATE_CHECKED);
    }
};

TEST_F(Dashboard, ListsTheTenSpicesInOrder) {
    start();
    const auto dashboard = openDashboard();
    ASSERT_TRUE(dashboard);
    std::vector<std::string> rows;
    int lastY = 0;
    for (const Node& row : dashboard->all(ATSPI_ROLE_LIST_ITEM)) {
        rows.push_back(row.name());
        EXPECT_GT(row.frame().y(), lastY) << row.name();
        lastY = row.frame().y();
    }
    EXPECT_EQ(rows, spices);
}

TEST_F(Dashboard, ShowsRusketsPageWithTheMachinesFigures) {
    start();
    ASSERT_TRUE(openDashboard());
    select("Rusket");
    for (const auto* label : {"Processor", "Memory", "In use", "Installed", "Pressure"}) {
        EXPECT_TRUE(read(label)) << label;
        EXPECT_TRUE(until([&] { return !after(label).empty(); })) << label;
    }
    const Memory now = memory();
    EXPECT_NEAR(bytes(after("Installed")), static_cast<double>(now.total), 0.006 * 1024 * 1024 * 1024);
    EXPECT_TRUE(until([] {
        const Memory measured = memory();
        return std::abs(bytes(after("In use")) - static_cast<double>(measured.used())) <
               0.02 * static_cast<double>(measured.total);
    })) << after("In use");
    EXPECT_TRUE(until([] { return std::abs(std::stoi(after("Memory")) - memory().usedPercent()) <= 2; }))
        << after("Memory");
    EXPECT_TRUE(until([] { return read("Processor load over the last minute").has_value(); }));
}

TEST_F(Dashboard, TraceTakesThePlaceOfThePromiseAfterTwoReadings) {
    settings.write(
        {{"app.hasLaunched", true}, {"stall.selection", "rusket"}, {"spice.rusket.enabled", false}});
    start();
    ASSERT_TRUE(openDashboard());
    const auto isShowing = [](const char* name) {
        const auto node = read(name);
        return node && node->is(ATSPI_STATE_SHOWING) && !node->frame().isEmpty();
    };
    ASSERT_TRUE(click("Dashboard", "Add Rusket", ATSPI_ROLE_PUSH_BUTTON));
    EXPECT_TRUE(until([&] { return isShowing("One minute of history will appear here."); }));
    EXPECT_TRUE(until([&] { return isShowing("Processor load over the last minute"); }));
    EXPECT_FALSE(isShowing("One minute of history will appear here."));
}

TEST_F(Dashboard, SwitchTakesASpiceOutOfTheCupAndAddBringsItBack) {
    start();
    ASSERT_TRUE(openDashboard());
    select("Rusket");
    ASSERT_TRUE(isSwitchOn("Rusket"));
    ASSERT_TRUE(click("Dashboard", "Rusket", ATSPI_ROLE_CHECK_BOX));
    EXPECT_TRUE(until([] { return read("Rusket is not in the cup.").has_value(); }));
    EXPECT_TRUE(read("While it is off it holds no timers and no observers."));
    EXPECT_FALSE(read("Processor"));
    EXPECT_FALSE(isSwitchOn("Rusket"));
    EXPECT_TRUE(waitForSetting("spice.rusket.enabled", false));
    const auto emptied = openPanel();
    ASSERT_TRUE(emptied);
    EXPECT_FALSE(emptied->find("Rusket"));
    EXPECT_TRUE(emptied->find("Pintho"));
    screen().press(XK_Escape);
    ASSERT_TRUE(waitForPanel(false));

    ASSERT_TRUE(click("Dashboard", "Add Rusket", ATSPI_ROLE_PUSH_BUTTON));
    EXPECT_TRUE(until([] { return read("Processor") && isSwitchOn("Rusket"); }));
    EXPECT_TRUE(waitForSetting("spice.rusket.enabled", true));
    const auto filled = openPanel();
    ASSERT_TRUE(filled);
    EXPECT_TRUE(filled->find("Rusket"));
}

TEST_F(Dashboard, RestartRemembersStatesAndSelection) {
    Program& first = start();
    ASSERT_TRUE(openDashboard());
    select("Hushel");
    ASSERT_TRUE(click("Dashboard", "Add Hushel", ATSPI_ROLE_PUSH_BUTTON));
    ASSERT_TRUE(waitForSetting("spice.hushel.enabled", true));
    select("Mordan");
    ASSERT_TRUE(click("Dashboard", "Mordan", ATSPI_ROLE_CHECK_BOX));
    ASSERT_TRUE(waitForSetting("spice.mordan.enabled", false));
    ASSERT_EQ(end(first), 0) << first.output();
    const nlohmann::json stored = settings.read();

    Program& second = start();
    ASSERT_TRUE(openDashboard());
    EXPECT_TRUE(until([] { return selectedRow() == "Mordan"; }));
    EXPECT_TRUE(read("Mordan is not in the cup."));
    select("Hushel");
    EXPECT_TRUE(isSwitchOn("Hushel"));
    select("Mordan");
    EXPECT_EQ(end(second), 0) << second.output();
    EXPECT_EQ(settings.read(), stored);
}

TEST_F(Dashboard, ArrowsHomeAndEndMoveTheSelection) {
    start();
    ASSERT_TRUE(openDashboard());
    select("Rusket");
    screen().movePointer(nowhere); // a row that tells its reason would grow, and push the last ones down
    struct Row {
        const char* name;
        xcb_keysym_t key;
        const char* selected;
    };
    const Row rows[] = {
        {"down", XK_Down, "Wendrel"},
        {"down again", XK_Down, "Duvesk"},
        {"up", XK_Up, "Wendrel"},
        {"home", XK_Home, "Sivrel"},
        {"up at the top", XK_Up, "Sivrel"},
        {"end", XK_End, "Ledgra"},
        {"down at the end", XK_Down, "Ledgra"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        screen().press(row.key);
        ASSERT_TRUE(until([&] { return selectedRow() == row.selected; }, Seconds{5})) << selectedRow();
    }
    EXPECT_TRUE(waitForSetting("stall.selection", "ledgra"));
    // Ledgra lies below the fold at first: the list has scrolled to it.
    EXPECT_TRUE(until([] {
        const auto row = read("Ledgra", ATSPI_ROLE_LIST_ITEM);
        return row && findDashboard(screen())->frame.contains(row->frame());
    }));
}

TEST_F(Dashboard, KeyboardAloneSufficesFromTheStart) {
    settings.write({{"app.hasLaunched", true}, {"stall.selection", "rusket"}});
    start();
    ASSERT_TRUE(openDashboard());
    screen().press(XK_Down);
    EXPECT_TRUE(until([] { return selectedRow() == "Wendrel"; }, Seconds{5})) << selectedRow();
}

TEST_F(Dashboard, TabReachesTheSwitchAndSpaceTurnsIt) {
    settings.write({{"app.hasLaunched", true}, {"stall.selection", "rusket"}});
    start();
    ASSERT_TRUE(openDashboard());
    const auto isReached = [] {
        const auto control = read("Rusket", ATSPI_ROLE_CHECK_BOX);
        return control && control->is(ATSPI_STATE_FOCUSED);
    };
    for (int presses = 0; presses < 12 && !isReached(); ++presses) {
        screen().press(XK_Tab);
        static_cast<void>(until(isReached, Seconds{0.3}));
    }
    ASSERT_TRUE(isReached());
    screen().press(XK_space);
    EXPECT_TRUE(waitForSetting("spice.rusket.enabled", false));
    EXPECT_TRUE(until([] { return read("Rusket is not in the cup.").has_value(); }));
    EXPECT_TRUE(isReached()) << "the switch keeps the keyboard";
    screen().press(XK_space);
    EXPECT_TRUE(waitForSetting("spice.rusket.enabled", true));
}

TEST_F(Dashboard, ClosedAndOpenedAgainItIsTheSameWindow) {
    start();
    ASSERT_TRUE(openDashboard());
    const Window first = *findDashboard(screen());
    EXPECT_EQ(first.frame.size(), QSize(960, 640));
    const auto frame = screen().property(first.id, "_NET_FRAME_EXTENTS"); // left, right, top, bottom
    ASSERT_EQ(frame.size(), 4U);
    const QPoint inFrame(static_cast<int>(frame[0]), static_cast<int>(frame[2]));
    const QRect wanted(QPoint(90, 110) + inFrame, QSize(900, 600));
    screen().moveAndResize(first.id, QRect(QPoint(90, 110), wanted.size()));
    ASSERT_TRUE(until([&] { return findDashboard(screen())->frame == wanted; }));

    for (int round = 0; round < 3; ++round) {
        screen().press(XK_Escape);
        ASSERT_TRUE(waitForDashboard(false));
        // A user is never so quick that the window manager has not yet let go of the window.
        ASSERT_TRUE(until([&] { return screen().isUnframed(first.id); }));
        ASSERT_TRUE(openDashboard());
        EXPECT_TRUE(until([&] { return findDashboard(screen()) && findDashboard(screen())->frame == wanted; },
                          Seconds{5}))
            << findDashboard(screen())->frame.x() << ", " << findDashboard(screen())->frame.y() << ", "
            << findDashboard(screen())->frame.width() << " x " << findDashboard(screen())->frame.height();
        EXPECT_EQ(findDashboard(screen())->id, first.id);
    }
}

TEST_F(Dashboard, IsNeverSmallerThanItsMinimum) {
    start();
    ASSERT_TRUE(openDashboard());
    const Window window = *findDashboard(screen());
    const auto hints = screen().property(window.id, "WM_NORMAL_HINTS");
    ASSERT_GE(hints.size(), 7U);
    constexpr std::uint32_t minimumSizeGiven = 1U << 4;
    EXPECT_TRUE(hints[0] & minimumSizeGiven);
    EXPECT_EQ(hints[5], 840U);
    EXPECT_EQ(hints[6], 560U);
    screen().moveAndResize(window.id, {100, 120, 400, 300});
    EXPECT_TRUE(until([] { return findDashboard(screen())->frame.size() == QSize(840, 560); }))
        << findDashboard(screen())->frame.width() << " x " << findDashboard(screen())->frame.height();
}

TEST_F(Dashboard, EveryControlHasAName) {
    start();
    ASSERT_TRUE(openDashboard());
    const std::set<AtspiRole> controls{
        ATSPI_ROLE_PUSH_BUTTON, ATSPI_ROLE_TOGGLE_BUTTON, ATSPI_ROLE_CHECK_BOX,  ATSPI_ROLE_RADIO_BUTTON,
        ATSPI_ROLE_LIST_ITEM,   ATSPI_ROLE_LIST,          ATSPI_ROLE_COMBO_BOX,  ATSPI_ROLE_SLIDER,
        ATSPI_ROLE_ENTRY,       ATSPI_ROLE_TEXT,          ATSPI_ROLE_LINK,       ATSPI_ROLE_MENU_ITEM,
        ATSPI_ROLE_IMAGE,       ATSPI_ROLE_CHART,         ATSPI_ROLE_SPIN_BUTTON};
    int seen = 0;
    const auto check = [&](const Node& node) {
        if (controls.contains(node.role()) || node.is(ATSPI_STATE_FOCUSABLE)) {
            const QRect place = node.frame();
            EXPECT_NE(node.name(), "") << node.roleName() << " at " << place.x() << ", " << place.y();
            ++seen;
        }
        return true;
    };
    for (const auto* page : {"Rusket", "Wendrel"}) { // one that is on, one that is off
        select(page);
        readPane("Dashboard")->walk(check);
    }
    const auto panel = openPanel();
    ASSERT_TRUE(panel);
    panel->walk(check);
    for (const Node& window : reader().windows()) {
        EXPECT_NE(window.name(), "") << window.roleName();
    }
    EXPECT_GE(seen, 2 * (10 + 1) + 2);
}

TEST_F(Dashboard, RestingThePointerOnARowTellsTheReasonForItsName) {
    start();
    ASSERT_TRUE(openDashboard());
    const auto row = read("Mordan", ATSPI_ROLE_LIST_ITEM);
    ASSERT_TRUE(row);
    const std::string reason = row->description().substr(std::string("Clipboard. ").size());
    const auto height = [&] {
        const auto label = read(reason, ATSPI_ROLE_LABEL);
        return label ? label->frame().height() : -1;
    };
    ASSERT_EQ(height(), 0);
    const auto entered = std::chrono::steady_clock::now();
    screen().movePointer(row->frame().center());
    EXPECT_TRUE(until([&] { return height() > 0; }));
    EXPECT_GE(Seconds(std::chrono::steady_clock::now() - entered), Seconds{0.4});
    screen().movePointer(nowhere);
    EXPECT_TRUE(until([&] { return height() == 0; }));
}
