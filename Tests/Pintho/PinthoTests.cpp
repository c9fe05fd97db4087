#include "Pintho/Pintho.hpp"
#include "Platforms/Simulated/SimulatedHost.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

using namespace Pintho;
using Simulated::SimulatedHost;
using ZorbelKit::RunningApplication;
using ZorbelKit::Screen;
using ZorbelKit::Seconds;
using ZorbelKit::Token;

namespace {

using Steps = std::vector<std::string>;

Screen screenOf(std::int64_t id, const ZorbelKit::Rect& frame, const ZorbelKit::Rect& visible) {
    Screen screen;
    screen.id = id;
    screen.name = "Screen " + std::to_string(id);
    screen.frame = frame;
    screen.visibleFrame = visible;
    return screen;
}

const Screen laptop = screenOf(1, {0, 0, 1440, 900}, {0, 0, 1440, 875});
const Screen beside = screenOf(2, {1440, 0, 1920, 1080}, {1440, 40, 1920, 1040});

struct Desk {
    SimulatedHost host;
    const int liveBefore = host.liveThings();
    PinthoSpice pintho{host.loop,    host.clock,         host.workspace,
                       host.screens, host.accessibility, host.shortcuts};

    Desk() {
        host.screens.set({laptop});
        bringForward(7, "Editor", "org.example.Editor");
    }

    /// A program comes to the front, with a window.
    void bringForward(std::int64_t process, const std::string& name, const std::string& bundle,
                      WindowPoint corner = {100, 200}) {
        host.workspace.front = RunningApplication{process, bundle, name};
        host.accessibility.focused[process] = {
            .title = name + " window", .position = corner, .size = {{640, 480}}};
    }

    WindowRect frontRect() {
        const auto& window = host.accessibility.focused.at(host.workspace.front->processIdentifier);
        return {window.position->x, window.position->y, window.size->width, window.size->height};
    }

    std::string placed() const {
        std::string text;
        for (const Placement& placement : pintho.placements()) {
            text += placement.app + " " + std::string(rawValue(placement.seat)) + ", ";
        }
        return text;
    }
};

} // namespace

TEST(Pintho, KnowsItsNames) {
    const Desk desk;
    EXPECT_EQ(desk.pintho.id(), "pintho");
    EXPECT_EQ(desk.pintho.name(), "Pintho");
    EXPECT_EQ(desk.pintho.role(), "Windows");
    EXPECT_EQ(desk.pintho.summary(), "Sets windows down in a fixed position, by keyboard.");
    EXPECT_FALSE(desk.pintho.reason().empty());
    EXPECT_EQ(desk.pintho.wave(), ZorbelKit::Wave::inTheCup);
}

TEST(Pintho, PlacesTheFrontWindowPositionFirstAndLast) {
    Desk desk;
    EXPECT_TRUE(desk.pintho.place(Seat::left));
    EXPECT_EQ(desk.frontRect(), (WindowRect{0, 25, 720, 875}));
    EXPECT_EQ(desk.host.accessibility.steps, (Steps{"position", "size", "position"}));
    EXPECT_EQ(desk.pintho.lastSeat(), Seat::left);
    EXPECT_TRUE(desk.pintho.place(Seat::bottomRight));
    EXPECT_EQ(desk.frontRect(), (WindowRect{720, 462, 720, 438}));
}

TEST(Pintho, AFailureChangesNothing) {
    const struct {
        const char* name;
        void (*spoil)(SimulatedHost&);
    } rows[] = {
        {"not trusted", [](SimulatedHost& host) { host.accessibility.trusted = false; }},
        {"nothing in front", [](SimulatedHost& host) { host.workspace.front.reset(); }},
        {"our own window", [](SimulatedHost& host) { host.workspace.front->bundleIdentifier = "zorbel"; }},
        {"neither has an identifier",
         [](SimulatedHost& host) {
             host.workspace.front->bundleIdentifier.reset();
             host.workspace.own.reset();
         }},
        {"no window", [](SimulatedHost& host) { host.accessibility.focused.clear(); }},
        {"no screen", [](SimulatedHost& host) { host.screens.set({}); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Desk desk;
        desk.pintho.steep();
        const auto frontmost = desk.pintho.frontmost();
        row.spoil(desk.host);
        EXPECT_FALSE(desk.pintho.place(Seat::left));
        EXPECT_TRUE(desk.host.accessibility.steps.empty());
        EXPECT_EQ(desk.pintho.lastSeat(), std::nullopt);
        EXPECT_TRUE(desk.pintho.placements().empty());
        EXPECT_EQ(desk.pintho.frontmost(), frontmost);
    }
}

TEST(Pintho, WhereOnlyOneOfTheTwoHasAnIdentifierItGoesOn) {
    Desk desk;
    desk.host.workspace.front->bundleIdentifier.reset();
    EXPECT_TRUE(desk.pintho.place(Seat::left));
    desk.bringForward(7, "Editor", "org.example.Editor");
    desk.host.workspace.own.reset();
    EXPECT_TRUE(desk.pintho.place(Seat::right));
}

TEST(Pintho, PlacesAWindowOnTheScreenThatHoldsItsCorner) {
    Desk desk;
    desk.host.screens.set({laptop, beside});
    desk.bringForward(7, "Editor", "org.example.Editor", {1500, 100});
    EXPECT_TRUE(desk.pintho.place(Seat::right));
    EXPECT_EQ(desk.frontRect(), (WindowRect{2400, -180, 960, 1040}));
    desk.bringForward(7, "Editor", "org.example.Editor", {1439, 100});
    EXPECT_TRUE(desk.pintho.place(Seat::full));
    EXPECT_EQ(desk.frontRect(), (WindowRect{0, 25, 1440, 875}));
}

TEST(Pintho, AWindowOffEveryScreenGoesToTheMainOne) {
    Desk desk;
    desk.host.screens.set({laptop, beside});
    desk.bringForward(7, "Editor", "org.example.Editor", {-500, 100});
    EXPECT_TRUE(desk.pintho.place(Seat::full));
    EXPECT_EQ(desk.frontRect(), (WindowRect{0, 25, 1440, 875}));
    desk.host.accessibility.focused[7].position.reset(); // nobody knows where it is
    EXPECT_TRUE(desk.pintho.place(Seat::left));
    EXPECT_EQ(desk.frontRect(), (WindowRect{0, 25, 720, 875}));
}

TEST(Pintho, KeepsOnePlacementAProgramTheNewestFirst) {
    Desk desk;
    desk.pintho.steep();
    for (const Seat seat : {Seat::left, Seat::right, Seat::top}) {
        desk.host.loop.advance(Seconds{1});
        EXPECT_TRUE(desk.pintho.place(seat));
    }
    EXPECT_EQ(desk.placed(), "Editor top, ");
    EXPECT_EQ(desk.pintho.placements().front().at, desk.host.clock.now());
}

TEST(Pintho, KeepsTheFiveNewestPlacements) {
    Desk desk;
    desk.pintho.steep();
    for (int process = 1; process <= 6; ++process) {
        desk.bringForward(process, "Program " + std::to_string(process), "p" + std::to_string(process));
        desk.host.loop.advance(Seconds{2});
        EXPECT_TRUE(desk.pintho.place(Seat::full));
    }
    EXPECT_EQ(desk.placed(),
              "Program 6 full, Program 5 full, Program 4 full, Program 3 full, Program 2 full, ");
    desk.bringForward(4, "Program 4", "p4");
    desk.host.loop.advance(Seconds{2});
    EXPECT_TRUE(desk.pintho.place(Seat::left));
    EXPECT_EQ(desk.placed(),
              "Program 4 left, Program 6 full, Program 5 full, Program 3 full, Program 2 full, ");
}

TEST(Pintho, APlacementBelongsToTheProgramOfTheLastLook) {
    Desk desk;
    desk.pintho.steep();
    desk.bringForward(8, "Terminal", "org.example.Terminal");
    EXPECT_TRUE(desk.pintho.place(Seat::left));
    EXPECT_EQ(desk.placed(), "Editor left, ") << "what was in front when it last looked";
    EXPECT_EQ(desk.pintho.frontmost()->app, "Terminal") << "and then it looks again";
}

TEST(Pintho, BeforeTheFirstLookNothingIsRemembered) {
    Desk desk;
    EXPECT_TRUE(desk.pintho.place(Seat::left));
    EXPECT_EQ(desk.placed(), "");
    EXPECT_TRUE(desk.pintho.place(Seat::right));
    EXPECT_EQ(desk.placed(), "Editor right, ");
}

TEST(Pintho, DescribesTheFrontWindow) {
    Desk desk;
    desk.host.accessibility.focused[7] = {
        .title = "Letter", .position = {{-10.75, 20.99}}, .size = {{640.5, 480.25}}};
    desk.pintho.steep();
    const WindowInfo expected{.app = "Editor",
                              .bundleID = "org.example.Editor",
                              .title = "Letter",
                              .width = 640,
                              .height = 480,
                              .x = -10,
                              .y = 20};
    EXPECT_EQ(desk.pintho.frontmost(), expected);
}

TEST(Pintho, WhatCannotBeReadIsUnknownOrNought) {
    Desk desk;
    desk.host.workspace.front = RunningApplication{7, std::nullopt, std::nullopt};
    desk.host.accessibility.focused[7] = {};
    desk.pintho.steep();
    EXPECT_EQ(desk.pintho.frontmost(), (WindowInfo{.app = "Unknown", .bundleID = "", .title = std::nullopt}));
    desk.host.accessibility.focused[7].title = "";
    desk.host.loop.advance(Seconds{2});
    EXPECT_EQ(desk.pintho.frontmost()->title, std::nullopt);
}

TEST(Pintho, OurOwnWindowInFrontLeavesTheDescriptionAsItIs) {
    Desk desk;
    desk.pintho.steep();
    const auto before = desk.pintho.frontmost();
    desk.bringForward(9, "Zorbel", "zorbel");
    desk.host.loop.advance(Seconds{10});
    EXPECT_EQ(desk.pintho.frontmost(), before);
    desk.host.workspace.front.reset();
    desk.host.loop.advance(Seconds{10});
    EXPECT_EQ(desk.pintho.frontmost(), before);
    desk.host.workspace.front = RunningApplication{11, "org.example.Bar", "Bar"}; // without a window
    desk.host.loop.advance(Seconds{10});
    EXPECT_EQ(desk.pintho.frontmost(), before);
}

TEST(Pintho, DescribesTheScreensWithAndWithoutAccess) {
    Desk desk;
    Screen notched = beside;
    notched.scale = 2;
    notched.topInset = 32;
    desk.host.screens.set({laptop, notched});
    desk.host.accessibility.trusted = false;
    desk.pintho.steep();
    const std::vector<ScreenInfo> expected{{.id = 1,
                                            .index = 0,
                                            .name = "Screen 1",
                                            .width = 1440,
                                            .height = 900,
                                            .scale = 1,
                                            .isMain = true,
                                            .hasNotch = false},
                                           {.id = 2,
                                            .index = 1,
                                            .name = "Screen 2",
                                            .width = 1920,
                                            .height = 1080,
                                            .scale = 2,
                                            .isMain = false,
                                            .hasNotch = true}};
    EXPECT_EQ(desk.pintho.screens(), expected);
    EXPECT_FALSE(desk.pintho.frontmost());
    desk.host.screens.set({laptop});
    desk.host.loop.advance(Seconds{2});
    EXPECT_EQ(desk.pintho.screens().size(), 1U);
}

TEST(Pintho, LooksEveryTwoSecondsWhileItIsOn) {
    Desk desk;
    desk.pintho.steep();
    EXPECT_EQ(desk.host.loop.liveTimers(), 1);
    desk.pintho.steep();
    EXPECT_EQ(desk.host.loop.liveTimers(), 1);
    desk.bringForward(8, "Terminal", "org.example.Terminal");
    desk.host.loop.advance(Seconds{1.999});
    EXPECT_EQ(desk.pintho.frontmost()->app, "Editor");
    desk.host.loop.advance(Seconds{0.001});
    EXPECT_EQ(desk.pintho.frontmost()->app, "Terminal");
    desk.pintho.rest();
    EXPECT_EQ(desk.host.liveThings(), desk.liveBefore);
    desk.bringForward(7, "Editor", "org.example.Editor");
    desk.host.loop.advance(Seconds{10});
    EXPECT_EQ(desk.pintho.frontmost()->app, "Terminal") << "what was read last stays";
}

TEST(Pintho, ItsKeysPlaceTheFrontWindowWhileItIsOn) {
    const struct {
        const char* key;
        Seat seat;
    } rows[] = {{"Left", Seat::left},    {"Right", Seat::right},   {"Up", Seat::top},
                {"Down", Seat::bottom},  {"U", Seat::topLeft},     {"I", Seat::topRight},
                {"J", Seat::bottomLeft}, {"K", Seat::bottomRight}, {"C", Seat::centre},
                {"Return", Seat::full}};
    Desk desk;
    EXPECT_FALSE(desk.host.shortcuts.press("Left"));
    EXPECT_EQ(desk.pintho.shortcut(Seat::left), std::nullopt);
    desk.pintho.steep();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.key);
        EXPECT_TRUE(desk.host.shortcuts.press(row.key));
        EXPECT_EQ(desk.pintho.lastSeat(), row.seat);
        EXPECT_EQ(desk.pintho.shortcut(row.seat), std::string("Ctrl+Alt+") + row.key);
    }
    desk.pintho.steep();
    EXPECT_EQ(desk.host.shortcuts.liveGrabs(), 10);
    desk.pintho.rest();
    EXPECT_EQ(desk.host.shortcuts.liveGrabs(), 0);
    EXPECT_EQ(desk.pintho.shortcut(Seat::left), std::nullopt);
}

TEST(Pintho, AKeyThatAnotherProgramHoldsIsLeftToIt) {
    Desk desk;
    desk.host.shortcuts.takenByOthers = {"Left", "C"};
    desk.pintho.steep();
    EXPECT_EQ(desk.host.shortcuts.liveGrabs(), 8);
    EXPECT_EQ(desk.pintho.shortcut(Seat::left), std::nullopt);
    EXPECT_EQ(desk.pintho.shortcut(Seat::right), "Ctrl+Alt+Right");
}

TEST(Pintho, NoticesAccessThatIsGrantedLater) {
    SimulatedHost host;
    host.accessibility.trusted = false;
    PinthoSpice pintho(host.loop, host.clock, host.workspace, host.screens, host.accessibility,
                       host.shortcuts);
    EXPECT_FALSE(pintho.hasAccessibility());
    host.accessibility.hint = "Open the settings.";
    EXPECT_EQ(pintho.accessHint(), "Open the settings.");
    pintho.steep();
    pintho.requestAccessibility();
    EXPECT_EQ(host.accessibility.requests, 1);
    host.accessibility.trusted = true;
    EXPECT_FALSE(pintho.hasAccessibility());
    host.loop.advance(Seconds{2});
    EXPECT_TRUE(pintho.hasAccessibility());
}

TEST(Pintho, TellsItsReadersOnlyOfRealChanges) {
    Desk desk;
    desk.pintho.steep();
    int changes = 0;
    const Token listening = desk.pintho.observe([&] { ++changes; });
    desk.host.loop.advance(Seconds{60});
    EXPECT_EQ(changes, 0);
    desk.host.accessibility.focused[7].title = "Another";
    desk.host.loop.advance(Seconds{2});
    EXPECT_EQ(changes, 1);
}

TEST(PinthoDeathTest, ACoordinateThatIsNoNumberStopsTheProgram) {
    const auto look = [](double x) {
        Desk desk;
        desk.host.accessibility.focused[7].position = WindowPoint{x, 0};
        desk.pintho.steep();
    };
    for (const double odd : {std::nan(""), std::numeric_limits<double>::infinity(), 1e19, -1e19}) {
        EXPECT_DEATH(look(odd), "toInt64");
    }
}
