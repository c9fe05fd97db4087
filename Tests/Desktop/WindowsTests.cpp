#include "Pintho/Pintho.hpp"
#include "Platforms/Linux/Windows/EwmhDesktop.hpp"
#include "Platforms/Linux/Windows/X11Accessibility.hpp"
#include "Platforms/Linux/Windows/X11Screens.hpp"
#include "Platforms/Linux/Windows/X11Shortcuts.hpp"
#include "Platforms/Linux/X11Workspace.hpp"
#include "Platforms/Qt/QtMainLoop.hpp"
#include "Tests/Desktop/BareServer.hpp"
#include "Tests/Desktop/GuestClient.hpp"
#include "Tests/Desktop/GuestWorkspace.hpp"

#include <QCoreApplication>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <sstream>

using namespace Desktop;
using Pintho::Seat;
using Pintho::WindowElement;
using Pintho::WindowPoint;
using Pintho::WindowRect;

namespace {

// The session's monitors.
constexpr QRect firstMonitor(0, 0, 1280, 1024);
constexpr QRect secondMonitor(1280, 0, 1280, 720);

constexpr QRect opened(300, 200, 400, 300); // of every window's client, at first
constexpr Seconds moment{0.4};              // longer than anything is put right later

// Bits of WM_NORMAL_HINTS.
constexpr std::uint32_t least = 1U << 4;
constexpr std::uint32_t most = 1U << 5;
constexpr std::uint32_t steps = 1U << 6;
constexpr std::uint32_t aspect = 1U << 7;
constexpr std::uint32_t base = 1U << 8;
constexpr std::uint32_t gravity = 1U << 9;
constexpr std::uint32_t staticGravity = 10;

std::string text(const QRect& rect) {
    return std::to_string(rect.width()) + "x" + std::to_string(rect.height()) + "+" +
           std::to_string(rect.x()) + "+" + std::to_string(rect.y());
}

std::vector<std::uint32_t> barAlongTop(std::uint32_t thickness, std::uint32_t begin, std::uint32_t end) {
    return {0, 0, thickness, 0, 0, 0, 0, 0, begin, end, 0, 0};
}

/// Windows of other programs on the session's two monitors, and the spice that places them.
class Windows : public testing::Test {
protected:
    ~Windows() override {
        if (hasOtherMonitors) {
            setMonitors({{"M1", firstMonitor}, {"M2", secondMonitor}});
        }
    }

    /// Shown, and in front.
    xcb_window_t open(const Manners& manners = {}) {
        const xcb_window_t window = client.open(manners);
        comeForward(window);
        return window;
    }

    void comeForward(xcb_window_t window) {
        const auto isInFront = [&] {
            const auto active = desktop.activeWindow();
            return active && active->id == window && screen.frame(window);
        };
        ASSERT_TRUE(until([&] {
            screen.activate(window); // the window manager may not know it yet
            return until(isInFront, Seconds{0.5});
        }));
    }

    /// What a user sees of a window, looked at apart from the adapter.
    QRect seen(xcb_window_t window) const {
        QRect rect = screen.frame(window).value_or(QRect());
        const auto frame = screen.property(window, "_NET_FRAME_EXTENTS");
        const auto shadow = screen.property(window, "_GTK_FRAME_EXTENTS");
        const auto side = [](const std::vector<std::uint32_t>& all, std::size_t index) {
            return all.size() == 4 ? static_cast<int>(all[index]) : 0;
        };
        return rect.adjusted(side(shadow, 0) - side(frame, 0), side(shadow, 2) - side(frame, 2),
                             side(frame, 1) - side(shadow, 1), side(frame, 3) - side(shadow, 3));
    }

    bool isSeenAt(xcb_window_t window, const QRect& wanted) const {
        return until([&] { return seen(window) == wanted; }) &&
               Desktop::holds([&] { return seen(window) == wanted; }, moment);
    }

    /// The window goes there to the pixel, and stays.
    void expectSeenAt(xcb_window_t window, const QRect& wanted) const {
        EXPECT_TRUE(isSeenAt(window, wanted)) << text(seen(window)) << " instead of " << text(wanted);
    }

    /// A property is there or gone, as the window manager gets to it.
    bool waitForState(xcb_window_t window, const char* state, bool isSet) const {
        return until([&] {
            const auto states = screen.property(window, "_NET_WM_STATE");
            return (std::ranges::find(states, screen.atom(state)) != states.end()) == isSet;
        });
    }

    void setState(xcb_window_t window, const char* state) const {
        client.askForState(window, state);
        ASSERT_TRUE(waitForState(window, state, true));
    }

    void setMonitors(const std::vector<std::pair<std::string, QRect>>& monitors) {
        hasOtherMonitors = true;
        for (const std::string& name : {std::string("M1"), std::string("M2")}) {
            Program remove({"xrandr", "--delmonitor", name});
            remove.waitForEnd();
        }
        for (const auto& [name, frame] : monitors) {
            const std::string size = std::to_string(frame.width()) + "/300x" +
                                     std::to_string(frame.height()) + "/200+" + std::to_string(frame.x()) +
                                     "+" + std::to_string(frame.y());
            Program add({"xrandr", "--setmonitor", name, size, name == "M1" ? "screen" : "none"});
            ASSERT_EQ(add.waitForEnd(), 0) << add.output();
        }
    }

    ZorbelKit::Rect visibleFrame(std::size_t index) const {
        const auto all = screens.all();
        return index < all.size() ? all[index].visibleFrame : ZorbelKit::Rect{};
    }

    Screen screen;
    GuestClient client;
    QtPlatform::QtMainLoop loop;
    QtPlatform::QtClock clock;
    Linux::EwmhDesktop desktop{loop};
    Linux::X11Accessibility accessibility{loop, desktop};
    Linux::X11Screens screens{desktop};
    Linux::X11Shortcuts shortcuts;
    Linux::X11Workspace workspace{loop, desktop};
    GuestWorkspace guests{workspace};
    Pintho::PinthoSpice pintho{loop, clock, guests, screens, accessibility, shortcuts};
    bool hasOtherMonitors = false;
};

} // namespace

// Where windows go

TEST_F(Windows, EverySeatOfTheMonitorTheWindowIsOnIsFilledToThePixel) {
    const struct {
        Seat seat;
        QRect first;
        QRect second;
    } rows[] = {{Seat::left, {0, 0, 640, 1024}, {1280, 0, 640, 720}},
                {Seat::right, {640, 0, 640, 1024}, {1920, 0, 640, 720}},
                {Seat::top, {0, 0, 1280, 512}, {1280, 0, 1280, 360}},
                {Seat::bottom, {0, 512, 1280, 512}, {1280, 360, 1280, 360}},
                {Seat::topLeft, {0, 0, 640, 512}, {1280, 0, 640, 360}},
                {Seat::topRight, {640, 0, 640, 512}, {1920, 0, 640, 360}},
                {Seat::bottomLeft, {0, 512, 640, 512}, {1280, 360, 640, 360}},
                {Seat::bottomRight, {640, 512, 640, 512}, {1920, 360, 640, 360}},
                {Seat::full, firstMonitor, secondMonitor}};
    const xcb_window_t window = open();
    for (const auto& row : rows) {
        SCOPED_TRACE(Pintho::rawValue(row.seat));
        EXPECT_TRUE(pintho.place(row.seat));
        EXPECT_TRUE(until([&] { return seen(window) == row.first; })) << text(seen(window));
    }
    desktop.place(window, {1400, 50, 300, 300});
    expectSeenAt(window, {1400, 50, 300, 300});
    for (const auto& row : rows) {
        SCOPED_TRACE(Pintho::rawValue(row.seat));
        EXPECT_TRUE(pintho.place(row.seat));
        EXPECT_TRUE(until([&] { return seen(window) == row.second; })) << text(seen(window));
    }
}

TEST_F(Windows, P01_StatesGoBeforeTheWindowIsPlaced) {
    const std::vector<std::vector<const char*>> rows{
        {"_NET_WM_STATE_MAXIMIZED_VERT", "_NET_WM_STATE_MAXIMIZED_HORZ"},
        {"_NET_WM_STATE_MAXIMIZED_VERT"},
        {"_NET_WM_STATE_MAXIMIZED_HORZ"},
        {"_NET_WM_STATE_FULLSCREEN"},
        {"_NET_WM_STATE_MAXIMIZED_VERT", "_NET_WM_STATE_MAXIMIZED_HORZ", "_NET_WM_STATE_FULLSCREEN"}};
    for (const auto& states : rows) {
        SCOPED_TRACE(testing::PrintToString(states));
        const xcb_window_t window = open();
        for (const char* state : states) {
            setState(window, state);
        }
        EXPECT_TRUE(pintho.place(Seat::bottomRight));
        expectSeenAt(window, {640, 512, 640, 512});
        for (const char* state : states) {
            EXPECT_TRUE(waitForState(window, state, false)) << state;
        }
        client.close(window);
    }
}

TEST_F(Windows, P02_TheShadowOfAWindowLiesOutsideOfTheSeat) {
    const xcb_window_t window = open({.shadow = {26, 26, 23, 29}});
    EXPECT_TRUE(pintho.place(Seat::topLeft));
    expectSeenAt(window, {0, 0, 640, 512});
    EXPECT_EQ(screen.frame(window), QRect(-26, -23, 692, 564));
    EXPECT_TRUE(pintho.place(Seat::full));
    expectSeenAt(window, firstMonitor);
}

TEST_F(Windows, P03_AWindowIsOnTheMonitorOfItsVisibleCorner) {
    const xcb_window_t window = open({.shadow = {26, 26, 26, 26}});
    desktop.place(window, {1280, 0, 300, 300});
    expectSeenAt(window, {1280, 0, 300, 300});
    EXPECT_EQ(screen.frame(window)->x(), 1254) << "of the X window, on the first monitor";
    const auto element = accessibility.focusedWindow(::getpid());
    ASSERT_TRUE(element);
    EXPECT_EQ(accessibility.position(*element), (WindowPoint{1280, 0}));
    EXPECT_EQ(accessibility.size(*element), (ZorbelKit::Size{300, 300}));
    EXPECT_TRUE(pintho.place(Seat::right));
    expectSeenAt(window, {1920, 0, 640, 720});
}

TEST_F(Windows, P04_AShadowThatComesWithTheMoveIsMadeGoodOnce) {
    const xcb_window_t window = open({.shadow = {0, 0, 0, 0}});
    screen.maximise(window);
    ASSERT_TRUE(waitForState(window, "_NET_WM_STATE_MAXIMIZED_VERT", true));
    EXPECT_TRUE(pintho.place(Seat::left));
    // The program gets to its shadow when it notices that it is maximised no longer, and has moved.
    ASSERT_TRUE(until([&] { return screen.frame(window) == QRect(0, 0, 640, 1024); }));
    client.setCardinals(window, "_GTK_FRAME_EXTENTS", {26, 26, 26, 26});
    expectSeenAt(window, {0, 0, 640, 1024});
    EXPECT_EQ(screen.frame(window), QRect(-26, -26, 692, 1076));
    // Only once: whoever changes it again is not chased.
    client.setCardinals(window, "_GTK_FRAME_EXTENTS", {10, 10, 10, 10});
    EXPECT_TRUE(Desktop::holds([&] { return screen.frame(window) == QRect(-26, -26, 692, 1076); }, moment));
}

TEST_F(Windows, P05_TheFrameOfTheWindowManagerFillsTheSeat) {
    const xcb_window_t decorated = open();
    const auto frame = screen.property(decorated, "_NET_FRAME_EXTENTS");
    ASSERT_EQ(frame.size(), 4U);
    EXPECT_GT(frame[2], 0U) << "this window manager draws no frame, so this test tests nothing";
    EXPECT_TRUE(pintho.place(Seat::bottomLeft));
    expectSeenAt(decorated, {0, 512, 640, 512});
    EXPECT_EQ(screen.frame(decorated)->height(), 512 - static_cast<int>(frame[2] + frame[3]));
    const xcb_window_t bare = open({.isUndecorated = true});
    EXPECT_TRUE(pintho.place(Seat::bottomLeft));
    expectSeenAt(bare, {0, 512, 640, 512});
}

TEST_F(Windows, P06_AGravityOfItsOwnMovesNothing) {
    for (std::uint32_t corner = 1; corner <= staticGravity; ++corner) {
        SCOPED_TRACE(corner);
        Manners manners;
        manners.hints[0] = gravity;
        manners.hints[17] = corner;
        const xcb_window_t window = open(manners);
        EXPECT_TRUE(pintho.place(Seat::bottomRight));
        EXPECT_TRUE(until([&] { return seen(window) == QRect(640, 512, 640, 512); })) << text(seen(window));
        EXPECT_TRUE(pintho.place(Seat::bottomRight));
        expectSeenAt(window, {640, 512, 640, 512});
        client.close(window);
    }
}

TEST_F(Windows, P07_AWindowWithStepsTakesTheLargestThatFits) {
    Manners manners{.isUndecorated = true};
    manners.hints = {least | steps | base, 0, 0, 0, 0, 26, 30, 0, 0, 7, 13, 0, 0, 0, 0, 20, 4, 0};
    const xcb_window_t window = open(manners);
    EXPECT_TRUE(pintho.place(Seat::bottomRight));
    expectSeenAt(window, {640, 512, 20 + 88 * 7, 4 + 39 * 13});
}

TEST_F(Windows, P07_ATerminalTakesTheLargestThatFits) {
    Program terminal({"xterm", "-fn", "fixed", "-xrm", "XTerm*allowSendEvents: true"}, unread());
    ASSERT_TRUE(until([&] {
        const auto active = desktop.activeWindow();
        return active && active->pid == terminal.pid();
    })) << terminal.output();
    const xcb_window_t window = desktop.activeWindow()->id;
    const auto hints = screen.property(window, "WM_NORMAL_HINTS");
    ASSERT_EQ(hints.size(), 18U);
    EXPECT_TRUE(pintho.place(Seat::right));
    ASSERT_TRUE(until([&] { return seen(window).topLeft() == QPoint(640, 0); }));
    EXPECT_TRUE(Desktop::holds(
        [&] {
            const QRect now = seen(window);
            return now.topLeft() == QPoint(640, 0) && now.width() <= 640 && now.height() <= 1024;
        },
        moment));
    const QRect now = seen(window);
    EXPECT_GT(now.width(), 640 - static_cast<int>(hints[9]));
    EXPECT_GT(now.height(), 1024 - static_cast<int>(hints[10]));
}

TEST_F(Windows, IsToldOfAsIfItHadArrived) {
    const xcb_window_t window = open();
    EXPECT_TRUE(pintho.place(Seat::left));
    EXPECT_EQ(pintho.frontmost()->width, 640);
    EXPECT_EQ(pintho.frontmost()->height, 1024);
    EXPECT_EQ(pintho.frontmost()->x, 0);
    EXPECT_EQ(pintho.frontmost()->y, 0);
    expectSeenAt(window, {0, 0, 640, 1024});

    Manners stepping;
    stepping.hints[0] = steps | base;
    stepping.hints[9] = 7;
    stepping.hints[10] = 13;
    stepping.hints[15] = 4;
    stepping.hints[16] = 4;
    const xcb_window_t other = open(stepping);
    EXPECT_TRUE(pintho.place(Seat::right));
    const auto told = *pintho.frontmost();
    EXPECT_TRUE(until([&] { return seen(other).topLeft() == QPoint(640, 0); }));
    EXPECT_TRUE(until([&] {
        return seen(other) == QRect(static_cast<int>(told.x), static_cast<int>(told.y),
                                    static_cast<int>(told.width), static_cast<int>(told.height));
    })) << text(seen(other))
        << " and not " << told.width << "x" << told.height;
    // Where nobody moves it, the truth comes out.
    screen.moveAndResize(other, {700, 100, 300, 200});
    EXPECT_TRUE(until(
        [&] { return accessibility.position(*accessibility.focusedWindow(::getpid())).value().x == 700; }));
}

TEST_F(Windows, P08_AWindowWithLimitsKeepsThemAndItsCornerIsOnTheSeat) {
    const struct {
        const char* name;
        std::array<std::uint32_t, 18> hints;
        QSize size; // within 640 x 512
    } rows[] = {{"a minimum above the seat", {least, 0, 0, 0, 0, 700, 600}, {700, 600}},
                {"a maximum below it", {most, 0, 0, 0, 0, 0, 0, 410, 310}, {410, 310}},
                {"a fixed size", {least | most, 0, 0, 0, 0, 400, 300, 400, 300}, {400, 300}},
                {"one axis fixed", {least | most, 0, 0, 0, 0, 400, 1, 400, 9999}, {400, 512}}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const xcb_window_t window = open({.hints = row.hints, .isUndecorated = true});
        EXPECT_TRUE(pintho.place(Seat::topLeft));
        expectSeenAt(window, {QPoint(0, 0), row.size});
        client.close(window);
    }
}

TEST_F(Windows, P08_AnAspectOfItsOwnIsLeftToTheWindow) {
    Manners manners{.isUndecorated = true};
    manners.hints = {aspect, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 4, 3, 4, 3, 0, 0, 0};
    const xcb_window_t window = open(manners);
    EXPECT_TRUE(pintho.place(Seat::topRight));
    EXPECT_TRUE(until([&] { return seen(window).topLeft() == QPoint(640, 0); })) << text(seen(window));
    EXPECT_TRUE(Desktop::holds(
        [&] {
            const QRect now = seen(window);
            return now.topLeft() == QPoint(640, 0) && now.width() <= 640 && now.height() <= 512;
        },
        moment));
}

// Monitors

TEST_F(Windows, P09_MonitorsAreKnownByPlaceAndName) {
    const auto all = screens.all();
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(all[0].name, "M1");
    EXPECT_EQ(all[1].name, "M2");
    EXPECT_NE(all[0].id, all[1].id);
    EXPECT_EQ(all[0].visibleFrame, (ZorbelKit::Rect{0, 0, 1280, 1024}));
    EXPECT_EQ(all[1].visibleFrame, (ZorbelKit::Rect{1280, 304, 1280, 720}));
}

TEST_F(Windows, P09_AWindowAtTheVeryTopOfAMonitorIsOnIt) {
    const xcb_window_t window = open({.isUndecorated = true});
    desktop.place(window, {1280, 0, 200, 200});
    expectSeenAt(window, {1280, 0, 200, 200});
    EXPECT_TRUE(pintho.place(Seat::bottomRight));
    expectSeenAt(window, {1920, 360, 640, 360});

    setMonitors({{"M1", {0, 512, 1280, 512}}, {"M2", {0, 0, 1280, 512}}}); // the second above the first
    ASSERT_TRUE(until([&] { return screens.all().size() == 2 && visibleFrame(1).y == 512; }));
    desktop.place(window, {100, -512, 200, 200});
    expectSeenAt(window, {100, 0, 200, 200});
    EXPECT_TRUE(pintho.place(Seat::bottomRight));
    expectSeenAt(window, {640, 256, 640, 256});
    desktop.place(window, {100, 0, 200, 200});
    expectSeenAt(window, {100, 512, 200, 200});
    EXPECT_TRUE(pintho.place(Seat::bottomRight));
    expectSeenAt(window, {640, 768, 640, 256});

    setMonitors({{"M1", {0, 0, 1280, 512}}, {"M2", {0, 512, 1280, 512}}}); // below it
    ASSERT_TRUE(until([&] { return screens.all().size() == 2 && visibleFrame(1).y == -512; }));
    desktop.place(window, {100, 512, 200, 200});
    expectSeenAt(window, {100, 512, 200, 200});
    EXPECT_TRUE(pintho.place(Seat::bottomRight));
    expectSeenAt(window, {640, 768, 640, 256});

    setMonitors({{"M1", {1280, 100, 1280, 900}}, {"M2", {0, 0, 1280, 900}}}); // left of it, and higher
    ASSERT_TRUE(until([&] { return screens.all().size() == 2 && visibleFrame(1).x == -1280; }));
    desktop.place(window, {-1280, -100, 200, 200});
    expectSeenAt(window, {0, 0, 200, 200});
    EXPECT_TRUE(pintho.place(Seat::bottomRight));
    expectSeenAt(window, {640, 450, 640, 450});
}

TEST_F(Windows, P10_APanelOnAnInnerEdgeTakesRoomFromItsOwnMonitor) {
    const xcb_window_t panel = client.open({.type = "_NET_WM_WINDOW_TYPE_DOCK", .frame = {1280, 0, 22, 720}});
    client.setCardinals(panel, "_NET_WM_STRUT_PARTIAL", {1302, 0, 0, 0, 0, 719, 0, 0, 0, 0, 0, 0});
    ASSERT_TRUE(until([&] { return visibleFrame(1).width == 1258; }));
    EXPECT_EQ(visibleFrame(1), (ZorbelKit::Rect{1302, 304, 1258, 720}));
    EXPECT_EQ(visibleFrame(0), (ZorbelKit::Rect{0, 0, 1280, 1024}));
    client.close(panel);
    EXPECT_TRUE(until([&] { return visibleFrame(1).width == 1280; }));
}

TEST_F(Windows, P11_TheWorkAreaOfTheWholeDesktopIsNotUsed) {
    const auto before = screen.rootProperty("_NET_WORKAREA");
    client.setCardinals(client.root(), "_NET_WORKAREA", {50, 60, 2400, 900});
    EXPECT_EQ(visibleFrame(0), (ZorbelKit::Rect{0, 0, 1280, 1024}));
    EXPECT_EQ(visibleFrame(1), (ZorbelKit::Rect{1280, 304, 1280, 720}));
    client.setCardinals(client.root(), "_NET_WORKAREA", before);
}

TEST_F(Windows, P11_TheWorkAreasOfEveryMonitorAreUsedWhereTheManagerKeepsThem) {
    const auto supported = screen.rootProperty("_NET_SUPPORTED", 1024);
    auto more = supported;
    more.push_back(screen.atom("_GTK_WORKAREAS"));
    client.setCardinals(client.root(), "_GTK_WORKAREAS_D0", {1280, 30, 1280, 690, 0, 20, 1280, 1000});
    EXPECT_EQ(visibleFrame(0), (ZorbelKit::Rect{0, 0, 1280, 1024})) << "left behind by another manager";
    client.setNumbers(client.root(), screen.atom("_NET_SUPPORTED"), XCB_ATOM_ATOM, more);
    EXPECT_EQ(visibleFrame(0), (ZorbelKit::Rect{0, 4, 1280, 1000}));
    EXPECT_EQ(visibleFrame(1), (ZorbelKit::Rect{1280, 304, 1280, 690}));
    client.setCardinals(client.root(), "_GTK_WORKAREAS_D0", {1280, 40, 1280, 680});
    EXPECT_EQ(visibleFrame(1), (ZorbelKit::Rect{1280, 304, 1280, 680}));
    client.setNumbers(client.root(), screen.atom("_NET_SUPPORTED"), XCB_ATOM_ATOM, supported);
    EXPECT_EQ(visibleFrame(1), (ZorbelKit::Rect{1280, 304, 1280, 720}));
}

TEST_F(Windows, P12_WhatPanelsAndMonitorsDoIsSeenAtOnce) {
    int changes = 0;
    const auto told = screens.onChange([&] { ++changes; });
    const auto hasArea = [&](double height, int count) {
        return until([&] { return visibleFrame(0).height == height && changes >= count; });
    };
    const xcb_window_t panel = client.open({.type = "_NET_WM_WINDOW_TYPE_DOCK", .frame = {0, 0, 1280, 30}});
    client.setCardinals(panel, "_NET_WM_STRUT_PARTIAL", barAlongTop(30, 0, 1279));
    EXPECT_TRUE(hasArea(994, 1));
    const xcb_window_t window = open();
    EXPECT_TRUE(pintho.place(Seat::full));
    expectSeenAt(window, {0, 30, 1280, 994});
    client.setCardinals(panel, "_NET_WM_STRUT_PARTIAL", barAlongTop(2, 0, 1279)); // it hides itself
    EXPECT_TRUE(hasArea(1022, 2));
    EXPECT_TRUE(pintho.place(Seat::full));
    expectSeenAt(window, {0, 2, 1280, 1022});
    client.setCardinals(panel, "_NET_WM_STRUT_PARTIAL", barAlongTop(50, 0, 1279));
    EXPECT_TRUE(hasArea(974, 3));
    client.close(panel);
    EXPECT_TRUE(hasArea(1024, 4));
    const xcb_window_t next = client.open({.type = "_NET_WM_WINDOW_TYPE_DOCK", .frame = {0, 984, 1280, 40}});
    client.setCardinals(next, "_NET_WM_STRUT", {0, 0, 0, 40});
    EXPECT_TRUE(hasArea(984, 5));
    client.close(next);
    EXPECT_TRUE(hasArea(1024, 6));
    setMonitors({{"M1", {0, 0, 2560, 1024}}});
    EXPECT_TRUE(until([&] { return screens.all().size() == 1 && visibleFrame(0).width == 2560; }));
    EXPECT_TRUE(pintho.place(Seat::left));
    expectSeenAt(window, {0, 0, 1280, 1024});
}

TEST_F(Windows, P12_APanelThatIsNotSeenTakesNoRoom) {
    const xcb_window_t panel = client.open({.type = "_NET_WM_WINDOW_TYPE_DOCK", .frame = {0, 0, 1280, 30}});
    client.setCardinals(panel, "_NET_WM_STRUT_PARTIAL", barAlongTop(30, 0, 1279));
    ASSERT_TRUE(until([&] { return visibleFrame(0).height == 994; }));
    client.setShown(panel, false);
    EXPECT_TRUE(until([&] { return visibleFrame(0).height == 1024; }));
    client.setShown(panel, true);
    EXPECT_TRUE(until([&] { return visibleFrame(0).height == 994; }));
    client.close(panel);
}

TEST_F(Windows, TheMainMonitorIsTheOneWithMostOfTheActiveWindow) {
    const xcb_window_t window = open({.isUndecorated = true});
    EXPECT_EQ(screens.main()->name, "M1");
    desktop.place(window, {1200, 100, 300, 300});
    expectSeenAt(window, {1200, 100, 300, 300});
    EXPECT_EQ(screens.main()->name, "M2");
    client.close(window);
    EXPECT_TRUE(until([&] { return screens.main()->name == "M1"; }));
}

// Who is placed, and when

TEST_F(Windows, P16_ASlowWindowManagerKeepsNobodyWaitingAndTheLastWishCounts) {
    const xcb_window_t window = open();
    const auto manager = screen.rootProperty("_NET_SUPPORTING_WM_CHECK");
    ASSERT_EQ(manager.size(), 1U);
    const pid_t process = client.processOf(manager[0]);
    ASSERT_GT(process, 1);
    ::kill(process, SIGSTOP);
    const auto begin = std::chrono::steady_clock::now();
    for (const Seat seat : {Seat::left, Seat::right, Seat::full, Seat::bottomLeft}) {
        EXPECT_TRUE(pintho.place(seat));
        QCoreApplication::processEvents();
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, Seconds(0.25)) << "four of them";
    EXPECT_TRUE(Desktop::holds([&] { return screen.frame(window)->size() == opened.size(); }, moment));
    ::kill(process, SIGCONT);
    expectSeenAt(window, {0, 512, 640, 512});
}

TEST_F(Windows, AProgramThatHangsIsPlacedAllTheSame) {
    Program terminal({"xterm", "-geometry", "40x10+300+200"}, unread());
    ASSERT_TRUE(until([&] {
        const auto active = desktop.activeWindow();
        return active && active->pid == terminal.pid();
    })) << terminal.output();
    const xcb_window_t window = desktop.activeWindow()->id;
    terminal.send(SIGSTOP);
    EXPECT_TRUE(pintho.place(Seat::right));
    EXPECT_TRUE(until([&] { return seen(window).topLeft() == QPoint(640, 0); }));
    EXPECT_GT(seen(window).height(), 1024 - 30);
    EXPECT_LE(seen(window).height(), 1024);
    terminal.send(SIGCONT);
}

TEST_F(Windows, P17_PartsOfTheDesktopAreNotPlaced) {
    for (const char* type :
         {"_NET_WM_WINDOW_TYPE_DESKTOP", "_NET_WM_WINDOW_TYPE_DOCK", "_NET_WM_WINDOW_TYPE_SPLASH"}) {
        SCOPED_TRACE(type);
        const xcb_window_t window = open();
        client.setNumbers(window, screen.atom("_NET_WM_WINDOW_TYPE"), XCB_ATOM_ATOM, {screen.atom(type)});
        EXPECT_EQ(desktop.activeWindow(), std::nullopt);
        EXPECT_FALSE(pintho.place(Seat::left));
        client.close(window);
    }
}

TEST_F(Windows, P17_AWindowThatIsGoneIsNotPlaced) {
    const xcb_window_t window = open();
    const auto element = accessibility.focusedWindow(::getpid());
    ASSERT_TRUE(element);
    EXPECT_EQ(accessibility.focusedWindow(::getpid() + 1), std::nullopt) << "another program's";
    client.close(window);
    EXPECT_EQ(accessibility.title(*element), std::nullopt);
    EXPECT_EQ(accessibility.position(*element), std::nullopt);
    EXPECT_EQ(accessibility.size(*element), std::nullopt);
    EXPECT_TRUE(until([&] { return !desktop.activeWindow(); }));
    EXPECT_FALSE(pintho.place(Seat::left));
    accessibility.setPosition(*element, {1, 1}); // and nothing comes of it
    accessibility.setSize({0xFFFFFFFF}, {1, 1});
    QCoreApplication::processEvents();
}

TEST_F(Windows, P18_OnlyTheActiveWindowIsPlaced) {
    const xcb_window_t other = open();
    const QRect before = seen(other);
    const xcb_window_t window = open({.frame = {500, 400, 300, 200}});
    EXPECT_TRUE(pintho.place(Seat::left));
    expectSeenAt(window, {0, 0, 640, 1024});
    EXPECT_EQ(seen(other), before);
}

TEST_F(Windows, P19_TheProcessIsTheOneTheServerKnows) {
    const xcb_window_t window = open();
    client.setCardinals(window, "_NET_WM_PID", {2}); // as it may be called inside of a container
    EXPECT_EQ(desktop.activeWindow()->pid, ::getpid());
    const auto front = workspace.frontmostApplication();
    ASSERT_TRUE(front);
    EXPECT_EQ(front->processIdentifier, ::getpid());
    EXPECT_EQ(front->bundleIdentifier, workspace.ownBundleIdentifier())
        << "our own windows are known as ours";
}

#ifdef GTK_WINDOW_PROGRAM

TEST_F(Windows, P19_AProgramThatIsNotInstalledIsKnownByItsClass) {
    Program program({GTK_WINDOW_PROGRAM}, unread());
    ASSERT_TRUE(until([&] {
        const auto active = desktop.activeWindow();
        return active && active->pid == program.pid();
    })) << program.output();
    const auto front = workspace.frontmostApplication();
    ASSERT_TRUE(front);
    EXPECT_EQ(front->processIdentifier, program.pid());
    EXPECT_EQ(front->bundleIdentifier, "gtk_window_program");
    EXPECT_EQ(front->localizedName, "Gtk_window_program");
    EXPECT_EQ(workspace.iconOf("gtk_window_program"), std::nullopt);
}

#endif

TEST_F(Windows, P19_AProgramWithAClassOfItsUsersOwnIsKnownByWhatItRuns) {
    Program terminal({"xterm", "-class", "ZorbelGuest", "-name", "guest"}, unread());
    ASSERT_TRUE(until([&] {
        const auto front = workspace.frontmostApplication();
        return front && front->processIdentifier == terminal.pid() &&
               front->bundleIdentifier == "debian-xterm";
    })) << terminal.output();
    EXPECT_EQ(workspace.frontmostApplication()->localizedName, "XTerm");
}

TEST(WindowsOfABareServer, P20_AWindowManagerIsFollowedThroughItsLife) {
    BareServer server;
    QtPlatform::QtMainLoop loop;
    Linux::EwmhDesktop desktop(loop, server.display());
    const Linux::X11Accessibility accessibility(loop, desktop);
    EXPECT_FALSE(desktop.isManaged());
    EXPECT_FALSE(accessibility.isTrusted());
    EXPECT_EQ(accessibility.trustHint(),
              "Windows can be placed once a window manager that follows the EWMH standard is running.");
    EXPECT_EQ(desktop.activeWindow(), std::nullopt);
    ASSERT_EQ(desktop.screens().size(), 1U);
    EXPECT_EQ(desktop.screens()[0].visibleFrame, (ZorbelKit::Rect{0, 0, 800, 600}));
    {
        Program manager({"openbox", "--sm-disable"}, {{"DISPLAY", server.display()}});
        EXPECT_TRUE(until([&] { return accessibility.isTrusted(); }));
        EXPECT_EQ(accessibility.trustHint(), "");
        manager.send(SIGKILL); // its name stays on the root window
        ASSERT_TRUE(manager.waitForEnd());
        EXPECT_TRUE(until([&] { return !accessibility.isTrusted(); }));
    }
    Program next({"openbox", "--sm-disable"}, {{"DISPLAY", server.display()}});
    EXPECT_TRUE(until([&] { return accessibility.isTrusted(); }));
    const GuestClient client(server.display());
    const xcb_window_t window = client.open();
    const Screen nested(server.display());
    // What reaches it while it starts it may see to only when something more comes.
    ASSERT_TRUE(until([&] {
        client.setShown(window, true);
        return !nested.isUnframed(window);
    }));
    Program replacing({"openbox", "--sm-disable", "--replace"}, {{"DISPLAY", server.display()}});
    EXPECT_TRUE(next.waitForEnd());
    EXPECT_TRUE(until([&] { return accessibility.isTrusted(); }));
}

TEST(WindowsOfABareServer, AServerThatEndsTakesEverythingWithIt) {
    BareServer server;
    QtPlatform::QtMainLoop loop;
    Linux::EwmhDesktop desktop(loop, server.display());
    const Linux::X11Workspace workspace(loop, desktop);
    Program manager({"openbox", "--sm-disable"}, {{"DISPLAY", server.display()}});
    ASSERT_TRUE(until([&] { return desktop.isManaged(); }));
    server.end(SIGKILL);
    EXPECT_TRUE(until([&] { return !desktop.isManaged(); }));
    EXPECT_TRUE(desktop.screens().empty());
    EXPECT_EQ(desktop.activeWindow(), std::nullopt);
    EXPECT_EQ(workspace.frontmostApplication(), std::nullopt);
    desktop.place(5, {0, 0, 100, 100});
    QCoreApplication::processEvents();
}

TEST(WindowsOfABareServer, WithoutAServerThereIsNothing) {
    QtPlatform::QtMainLoop loop;
    Linux::EwmhDesktop desktop(loop, ":9999");
    Linux::X11Screens screens(desktop);
    const Linux::X11Workspace workspace(loop, desktop);
    EXPECT_FALSE(desktop.isManaged());
    EXPECT_EQ(desktop.activeWindow(), std::nullopt);
    EXPECT_EQ(desktop.visible(5), std::nullopt);
    EXPECT_TRUE(screens.all().empty());
    EXPECT_EQ(screens.main(), std::nullopt);
    EXPECT_FALSE(screens.onChange([] {}));
    EXPECT_EQ(workspace.frontmostApplication(), std::nullopt);
    desktop.place(5, {0, 0, 100, 100});
}

TEST_F(Windows, P21_OnWaylandNothingIsClaimed) {
    ASSERT_TRUE(accessibility.isTrusted());
    ::setenv("WAYLAND_DISPLAY", "wayland-0", 1);
    const Linux::X11Accessibility onWayland(loop, desktop);
    ::unsetenv("WAYLAND_DISPLAY");
    EXPECT_FALSE(onWayland.isTrusted());
    EXPECT_EQ(onWayland.trustHint(), "On Wayland a program cannot place the windows of others.");
}

TEST_F(Windows, P22_AWindowMayCloseInTheMiddleOfIt) {
    for (int step = 0; step < 4; ++step) {
        const xcb_window_t window = open();
        if (step == 1) {
            screen.maximise(window);
            ASSERT_TRUE(waitForState(window, "_NET_WM_STATE_MAXIMIZED_VERT", true));
        }
        EXPECT_TRUE(pintho.place(Seat::left));
        if (step > 0) {
            QCoreApplication::processEvents();
        }
        if (step == 3) {
            EXPECT_TRUE(until([&] { return seen(window) == QRect(0, 0, 640, 1024); }));
        }
        client.close(window);
        EXPECT_TRUE(until([&] { return !desktop.activeWindow(); }));
    }
    const xcb_window_t window = open();
    EXPECT_TRUE(pintho.place(Seat::left));
    expectSeenAt(window, {0, 0, 640, 1024});
}

TEST_F(Windows, P26_TitlesAreValidAndShort) {
    const xcb_window_t window = open();
    const xcb_atom_t utf8 = screen.atom("UTF8_STRING");
    const xcb_atom_t name = screen.atom("_NET_WM_NAME");
    const auto title = [&] { return desktop.activeWindow()->title; };
    EXPECT_EQ(title(), "A guest");
    client.setText(window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, "caf\xE9");
    EXPECT_EQ(title(), "caf\xC3\xA9") << "Latin-1";
    client.setText(window, name, utf8, "Tee \xF0\x9F\x8D\xB5");
    EXPECT_EQ(title(), "Tee \xF0\x9F\x8D\xB5");
    client.setText(window, name, utf8, "a\xFFz");
    EXPECT_EQ(title(), "a\xEF\xBF\xBDz");
    client.setText(window, name, utf8, std::string(1 << 20, 'x'));
    EXPECT_EQ(title(), std::string(1024, 'x'));
    std::string cups;
    for (int index = 0; index < 2000; ++index) {
        cups += "\xF0\x9F\x8D\xB5";
    }
    client.setText(window, name, utf8, cups);
    EXPECT_EQ(title(), cups.substr(0, 4096));
    client.setText(window, name, utf8, "");
    client.setText(window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, "");
    EXPECT_EQ(title(), "");
    EXPECT_EQ(accessibility.title(*accessibility.focusedWindow(::getpid())), std::nullopt);
}

// What it costs

TEST_F(Windows, NothingIsAskedOfTheServerWhileNothingChanges) {
    const xcb_window_t window = open();
    const auto look = [&] {
        static_cast<void>(accessibility.isTrusted());
        static_cast<void>(workspace.frontmostApplication());
        const auto element = accessibility.focusedWindow(::getpid());
        static_cast<void>(accessibility.title(*element));
        static_cast<void>(accessibility.position(*element));
        static_cast<void>(accessibility.size(*element));
        static_cast<void>(screens.all());
    };
    const auto isAtRest = [&] { // looking costs nothing any more
        return until([&] {
            return Desktop::holds(
                [&] {
                    const unsigned int before = desktop.requestsForTesting();
                    look();
                    return desktop.requestsForTesting() == before + 1;
                },
                moment);
        });
    };
    ASSERT_TRUE(isAtRest());
    const unsigned int before = desktop.requestsForTesting();
    for (int time = 0; time < 100; ++time) {
        look();
        QCoreApplication::processEvents();
    }
    EXPECT_EQ(desktop.requestsForTesting(), before + 1);

    client.setText(window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, "Another title");
    EXPECT_EQ(desktop.activeWindow()->title, "Another title");
    const unsigned int after = desktop.requestsForTesting();
    EXPECT_GT(after, before + 2) << "a change is noticed";
    EXPECT_LT(after, before + 20) << "and only that is read again";

    ASSERT_TRUE(isAtRest());
    const unsigned int unread = desktop.requestsForTesting();
    for (int time = 0; time < 100; ++time) { // and nobody looks
        client.setText(window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, std::to_string(time));
        QCoreApplication::processEvents();
    }
    EXPECT_LT(desktop.requestsForTesting(), unread + 4);
}

TEST_F(Windows, PositionAndSizeOfOneTurnGoOutTogether) {
    const xcb_window_t window = open({.isUndecorated = true});
    const auto element = accessibility.focusedWindow(::getpid());
    ASSERT_TRUE(element);
    accessibility.setPosition(*element, {10, 20});
    accessibility.setSize(*element, {300, 200});
    accessibility.setPosition(*element, {30, 40});
    expectSeenAt(window, {30, 40, 300, 200});
    accessibility.setSize(*element, {350, 250});
    expectSeenAt(window, {30, 40, 350, 250});
    accessibility.setPosition(*element, {50, 60});
    expectSeenAt(window, {50, 60, 350, 250});
}
