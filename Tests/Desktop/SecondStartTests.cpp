#include "Tests/Desktop/DesktopTest.hpp"

#include <csignal>
#include <ostream>

using namespace Desktop;

namespace {

struct Session {
    const char* name;
    bool hasBus;
};

void PrintTo(const Session& session, std::ostream* stream) {
    *stream << session.name;
}

} // namespace

/// With a session bus, and without one.
class SecondStart : public DesktopTest, public testing::WithParamInterface<Session> {
protected:
    SecondStart() {
        if (!GetParam().hasBus) {
            environment["DBUS_SESSION_BUS_ADDRESS"] = std::nullopt;
            environment["XDG_RUNTIME_DIR"] = runtime.path().string();
        }
    }

    int running() {
        int count = 0;
        for (Program& program : programs) {
            count += program.isRunning() ? 1 : 0;
        }
        return count;
    }

    /// Until the program has come so far that it can be called.
    bool waitForStart() const {
        return until([] { return findBar(screen()).has_value(); });
    }

    static xcb_window_t activeWindow() {
        const auto values = screen().rootProperty("_NET_ACTIVE_WINDOW");
        return values.empty() ? XCB_NONE : values.front();
    }

    TemporaryFolder runtime;
};

TEST_P(SecondStart, BringsTheRunningOneForwardAndEnds) {
    Program& first = start();
    ASSERT_TRUE(waitForStart());
    Program& second = start();
    EXPECT_EQ(second.waitForEnd(), 0) << second.output();
    EXPECT_TRUE(waitForDashboard());
    EXPECT_TRUE(first.isRunning());

    // Once more, with the dashboard open behind another window.
    const xcb_window_t other = screen().openWindow({200, 150, 900, 600}, "other");
    ASSERT_TRUE(until([&] { return screen().frame(other).has_value(); }));
    screen().activate(other); // a window manager may keep the focus from a window that only just came
    ASSERT_TRUE(until([&] { return activeWindow() == other; }));
    Program& third = start();
    EXPECT_EQ(third.waitForEnd(), 0) << third.output();
    EXPECT_TRUE(
        until([] { return findDashboard(screen()) && activeWindow() == findDashboard(screen())->id; }));
    EXPECT_TRUE(first.isRunning());
    screen().closeWindow(other);
}

TEST_P(SecondStart, TwoAtOnceLeaveOne) {
    for (int round = 0; round < 4; ++round) {
        SCOPED_TRACE(round);
        Program& one = start();
        Program& two = start();
        EXPECT_TRUE(until([&] { return running() <= 1 && findBar(screen()); }));
        EXPECT_TRUE(holds([&] { return running() == 1; }, Seconds{0.5}));
        Program& left = one.isRunning() ? one : two;
        Program& gone = one.isRunning() ? two : one;
        EXPECT_EQ(gone.waitForEnd(), 0) << gone.output();
        EXPECT_EQ(end(left), 0) << left.output();
    }
}

TEST_P(SecondStart, AKilledOneLeavesThePlaceFree) {
    Program& first = start();
    ASSERT_TRUE(waitForStart());
    first.send(SIGKILL);
    ASSERT_EQ(first.waitForEnd(), 128 + SIGKILL);
    ASSERT_TRUE(until([] { return !findBar(screen()); }));
    Program& second = start();
    ASSERT_TRUE(waitForStart());
    EXPECT_TRUE(second.isRunning()) << second.output();
}

INSTANTIATE_TEST_SUITE_P(Sessions, SecondStart,
                         testing::Values(Session{"WithBus", true}, Session{"WithoutBus", false}),
                         [](const auto& row) { return row.param.name; });
