#include "Platforms/Linux/MenuBar/TrayMode.hpp"
#include "Platforms/Simulated/SimulatedMainLoop.hpp"

#include <gtest/gtest.h>

namespace {

using Linux::TrayMode;
using Linux::TrayPlace;
using ZorbelKit::Seconds;

TEST(TrayMode, StartsWhereTheDesktopSays) {
    struct Row {
        const char* name;
        bool canShowBar;
        bool hostRuns;
        bool desktopBringsTray;
        TrayPlace atOnce;
        TrayPlace afterAMinute;
    };
    const Row rows[] = {
        {"bare window manager", true, false, false, TrayPlace::bar, TrayPlace::bar},
        {"desktop with its tray up", true, true, true, TrayPlace::guest, TrayPlace::guest},
        {"a tray on a bare window manager", true, true, false, TrayPlace::guest, TrayPlace::guest},
        {"desktop whose tray never comes", true, false, true, TrayPlace::undecided, TrayPlace::bar},
        {"no place for a bar, no tray", false, false, false, TrayPlace::undecided, TrayPlace::nowhere},
        {"no place for a bar, but a tray", false, true, false, TrayPlace::guest, TrayPlace::guest},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Simulated::SimulatedMainLoop loop;
        TrayMode mode(loop, row.canShowBar, false);
        mode.start(row.hostRuns, row.desktopBringsTray);
        EXPECT_EQ(mode.place(), row.atOnce);
        loop.advance(Seconds{60});
        EXPECT_EQ(mode.place(), row.afterAMinute);
        EXPECT_EQ(loop.liveTimers(), 0);
    }
}

TEST(TrayMode, WaitsTenSecondsForATrayTheDesktopBrings) {
    Simulated::SimulatedMainLoop loop;
    TrayMode mode(loop, true, false);
    mode.start(false, true);
    loop.advance(Seconds{9.999});
    EXPECT_EQ(mode.place(), TrayPlace::undecided);
    loop.advance(Seconds{0.001});
    EXPECT_EQ(mode.place(), TrayPlace::bar);
}

TEST(TrayMode, ATrayThatComesDuringTheWaitGetsTheGlass) {
    Simulated::SimulatedMainLoop loop;
    TrayMode mode(loop, true, false);
    mode.start(false, true);
    loop.advance(Seconds{4});
    mode.hostChanged(true);
    EXPECT_EQ(mode.place(), TrayPlace::guest);
    loop.advance(Seconds{60});
    EXPECT_EQ(mode.place(), TrayPlace::guest);
}

TEST(TrayMode, FollowsATrayThatAppearsDisappearsAndComesBack) {
    Simulated::SimulatedMainLoop loop;
    TrayMode mode(loop, true, false);
    mode.start(false, false);
    mode.hostChanged(true);
    EXPECT_EQ(mode.place(), TrayPlace::guest);
    mode.hostChanged(false);
    loop.advance(Seconds{2.999});
    EXPECT_EQ(mode.place(), TrayPlace::guest) << "panels restart";
    loop.advance(Seconds{0.001});
    EXPECT_EQ(mode.place(), TrayPlace::bar);
    mode.hostChanged(true);
    EXPECT_EQ(mode.place(), TrayPlace::guest);
}

TEST(TrayMode, ATrayThatRestartsInTimeNeverShowsTheBar) {
    Simulated::SimulatedMainLoop loop;
    TrayMode mode(loop, true, false);
    mode.start(true, true);
    int changes = 0;
    const auto token = mode.observe([&] { ++changes; });
    mode.hostChanged(false);
    loop.advance(Seconds{2});
    mode.hostChanged(true);
    loop.advance(Seconds{60});
    EXPECT_EQ(mode.place(), TrayPlace::guest);
    EXPECT_EQ(changes, 0);
}

TEST(TrayMode, WithoutAPlaceForABarALostTrayLeavesNowhereAndAnEarlyNoChangesNothing) {
    Simulated::SimulatedMainLoop loop;
    TrayMode mode(loop, false, false);
    mode.start(false, false);
    mode.hostChanged(false);
    loop.advance(Seconds{5});
    EXPECT_EQ(mode.place(), TrayPlace::nowhere);
    mode.hostChanged(true);
    EXPECT_EQ(mode.place(), TrayPlace::guest);
    mode.hostChanged(false);
    loop.advance(Seconds{5});
    EXPECT_EQ(mode.place(), TrayPlace::nowhere);
}

TEST(TrayMode, WhoPrefersTheBarGetsItWhateverRuns) {
    Simulated::SimulatedMainLoop loop;
    TrayMode mode(loop, true, true);
    mode.start(true, true);
    EXPECT_EQ(mode.place(), TrayPlace::bar);
    EXPECT_TRUE(mode.hasChoice());
    EXPECT_FALSE(mode.mayOwnWatcher()) << "the desktop's tray has the name";
    mode.hostChanged(false);
    EXPECT_EQ(mode.place(), TrayPlace::bar);
    EXPECT_TRUE(mode.mayOwnWatcher()) << "the bar is shown: nobody is to be without an icon";
}

TEST(TrayMode, ThePreferredBarShowsAtOnceButLeavesTheDesktopsTrayItsTenSeconds) {
    Simulated::SimulatedMainLoop loop;
    TrayMode mode(loop, true, true);
    mode.start(false, true);
    EXPECT_EQ(mode.place(), TrayPlace::bar);
    EXPECT_FALSE(mode.mayOwnWatcher());
    loop.advance(Seconds{9.999});
    EXPECT_FALSE(mode.mayOwnWatcher());
    loop.advance(Seconds{0.001});
    EXPECT_TRUE(mode.mayOwnWatcher());
    EXPECT_EQ(loop.liveTimers(), 0);
}

TEST(TrayMode, AChangeOfMindMovesTheIconsAtOnce) {
    Simulated::SimulatedMainLoop loop;
    TrayMode mode(loop, true, false);
    mode.start(true, true);
    mode.setPrefersBar(true);
    EXPECT_EQ(mode.place(), TrayPlace::bar);
    mode.setPrefersBar(false);
    EXPECT_EQ(mode.place(), TrayPlace::guest);
}

TEST(TrayMode, GivingTheBarUpFreesTheNameForTheDesktopsTray) {
    Simulated::SimulatedMainLoop loop;
    TrayMode mode(loop, true, true);
    mode.start(true, true);
    mode.hostChanged(false); // the panel restarts, and the bar takes the name meanwhile
    ASSERT_TRUE(mode.mayOwnWatcher());
    mode.setPrefersBar(false);
    EXPECT_FALSE(mode.mayOwnWatcher());
    EXPECT_EQ(mode.place(), TrayPlace::bar) << "until the tray is there";
    mode.hostChanged(true);
    EXPECT_EQ(mode.place(), TrayPlace::guest);
}

TEST(TrayMode, ADesktopWhoseTrayDoesNotComeBackKeepsTheBar) {
    Simulated::SimulatedMainLoop loop;
    TrayMode mode(loop, true, true);
    mode.start(false, true);
    mode.setPrefersBar(false);
    loop.advance(Seconds{10});
    EXPECT_EQ(mode.place(), TrayPlace::bar);
    EXPECT_TRUE(mode.mayOwnWatcher());
}

TEST(TrayMode, AChoiceIsThereWhereTheDesktopHasATrayAndABarCanBeShown) {
    struct Row {
        const char* name;
        bool canShowBar;
        bool hostRuns;
        bool desktopBringsTray;
        bool hasChoice;
    };
    const Row rows[] = {
        {"a tray runs", true, true, false, true},
        {"a tray is to come", true, false, true, true},
        {"no tray at all", true, false, false, false},
        {"no place for a bar", false, true, true, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Simulated::SimulatedMainLoop loop;
        TrayMode mode(loop, row.canShowBar, false);
        mode.start(row.hostRuns, row.desktopBringsTray);
        EXPECT_EQ(mode.hasChoice(), row.hasChoice);
    }
}

TEST(TrayMode, KnowsTheDesktopsWithATrayByEachOfTheirNames) {
    struct Row {
        const char* desktop;
        bool brings;
    };
    const Row rows[] = {{"KDE", true},          {"XFCE", true},   {"ubuntu:XFCE", true}, {"X-Cinnamon", true},
                        {"Budgie:GNOME", true}, {"GNOME", false}, {"", false},           {":", false},
                        {"::KDE", true},        {"KDEX", false},  {"i3", false},         {"xfce", false}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.desktop);
        EXPECT_EQ(Linux::bringsOwnTray(row.desktop), row.brings);
    }
}

} // namespace
