#include "Tests/Desktop/DesktopTest.hpp"
#include "Tests/Desktop/GuestSound.hpp"

#include <QDir>

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <string>

using namespace Desktop;

namespace {

constexpr auto panel = "Zorbel panel";
constexpr auto dashboard = "Dashboard";

/// As the session's server calls it: PipeWire's takes no blanks in a name.
std::string called(std::string name) {
    if (isPipeWire()) {
        std::ranges::replace(name, ' ', '_');
    }
    return name;
}

bool isMuted(const std::string& sink) {
    return pactl({"get-sink-mute", sink}) == "Mute: yes";
}

/// Whether pactl tells of the speakers' channels that they are at these percentages.
bool areSpeakersAt(const std::string& left, const std::string& right) {
    const std::string told = pactl({"get-sink-volume", "speakers"});
    const auto first = told.find(" " + left + "% ");
    return first != std::string::npos && told.find(" " + right + "% ", first + 1) != std::string::npos;
}

/// What pactl tells of a sink's first channel.
int percentOf(const std::string& sink, const Program::Environment& environment) {
    const std::string told = pactl({"get-sink-volume", sink}, environment);
    const auto end = told.find('%');
    const auto start = end == std::string::npos ? end : told.rfind(' ', end);
    return start == std::string::npos ? -1 : std::stoi(told.substr(start));
}

/// Zorbel among the programs that talk with the server, other than by asking what pactl asks.
bool isZorbelConnected() {
    return pactl({"list", "clients"}).find("application.name = \"Zorbel\"") != std::string::npos;
}

} // namespace

/// The whole program with the spice that switches sound alone, before the session's server.
class Tonvik : public DesktopTest {
protected:
    Tonvik() { choose("tonvik"); }

    void SetUp() override {
        resetSound();
        ASSERT_TRUE(until([] { return pactl({"get-default-sink"}) == "speakers"; }));
    }

    /// What a screen reader tells of a device's row, in the list of outputs or of inputs.
    static std::string row(const char* paneName, const std::string& device) {
        const auto pane = reader().pane(paneName);
        if (pane) {
            for (const Node& item : pane->all(ATSPI_ROLE_LIST_ITEM)) {
                if (item.name().starts_with(device + ", ") && item.is(ATSPI_STATE_SHOWING)) {
                    return item.name();
                }
            }
        }
        return {};
    }

    static bool isListed(const char* paneName, const std::string& device) {
        return until([&] { return !row(paneName, device).empty(); });
    }

    static bool isUnlisted(const char* paneName, const std::string& device) {
        return until([&] { return row(paneName, device).empty(); });
    }

    static bool isInUse(const char* paneName, const std::string& device, bool wanted = true) {
        return until([&] {
            const std::string told = row(paneName, device);
            return !told.empty() && told.ends_with(", in use") == wanted;
        });
    }

    bool choose(const char* paneName, const std::string& device) const {
        return isListed(paneName, device) && click(paneName, row(paneName, device), ATSPI_ROLE_LIST_ITEM);
    }
    using DesktopTest::choose;

    static QRect slider(const char* paneName) {
        QRect frame;
        EXPECT_TRUE(until([&] {
            const auto node = shown(paneName, "Volume", ATSPI_ROLE_SLIDER);
            frame = node ? node->frame() : QRect();
            return !frame.isEmpty();
        }));
        return frame;
    }

    /// How many things with this name are in sight.
    static int count(const char* paneName, const std::string& name) {
        int found = 0;
        if (const auto pane = reader().pane(paneName)) {
            pane->walk([&](const Node& node) {
                found += node.name() == name && node.is(ATSPI_STATE_SHOWING) ? 1 : 0;
                return true;
            });
        }
        return found;
    }

    /// Both lists empty and no level: what is shown where there is no server.
    static bool hasNothing(const char* paneName) {
        return until(
            [&] { return count(paneName, "Nothing available.") == 2 && count(paneName, "Volume –") == 1; });
    }

    static bool hasDevices(const char* paneName) {
        return until([&] { return reader().pane(paneName) && count(paneName, "Nothing available.") == 0; });
    }
};

TEST_F(Tonvik, SwitchesFromThePanel) {
    start();
    ASSERT_TRUE(openPanel());
    EXPECT_TRUE(isInUse(panel, called("Test Speakers")));
    EXPECT_TRUE(isInUse(panel, called("Test Headset"), false));
    EXPECT_TRUE(isInUse(panel, called("Test Microphone")));
    EXPECT_EQ(row(panel, called("Test Headset")), called("Test Headset") + ", Bluetooth");
    EXPECT_TRUE(says(panel, "Volume 100%"));
    pactl({"set-sink-volume", "headset", "30%"});

    ASSERT_TRUE(choose(panel, called("Test Headset")));
    EXPECT_TRUE(until([] { return pactl({"get-default-sink"}) == "headset"; }));
    EXPECT_TRUE(isInUse(panel, called("Test Headset")));
    EXPECT_TRUE(isInUse(panel, called("Test Speakers"), false));
    EXPECT_TRUE(says(panel, "Volume 30%")) << "the level is the new output's";
    screen().picture().save(QDir(ZORBEL_PICTURES).filePath("desktop-tonvik.png"));

    ASSERT_TRUE(choose(panel, called("Test Headset")));
    EXPECT_TRUE(holds([] { return pactl({"get-default-sink"}) == "headset"; }, Seconds{1}));
    EXPECT_TRUE(holds([] { return row(panel, called("Test Headset")).ends_with(", in use"); }, Seconds{1}))
        << row(panel, called("Test Headset"));
    EXPECT_TRUE(findPanel(screen())) << "and the panel is still open";
}

TEST_F(Tonvik, FollowsTheHandOnTheSlider) {
    pactl({"set-sink-volume", "speakers", "40%", "80%"});
    start();
    ASSERT_TRUE(openDashboard());
    ASSERT_TRUE(says(dashboard, "Volume 80%"));
    const QRect line = slider(dashboard);
    const QPoint knob(line.left() + line.width() * 4 / 5, line.center().y());
    screen().drag(knob, {line.left() - 60, knob.y()}, XCB_NO_SYMBOL);
    EXPECT_TRUE(says(dashboard, "Volume 0%"));
    EXPECT_TRUE(until([] { return areSpeakersAt("0", "0"); }));
    screen().drag({line.left() + 4, knob.y()}, {line.right() + 60, knob.y()}, XCB_NO_SYMBOL);
    EXPECT_TRUE(says(dashboard, "Volume 100%"));
    EXPECT_TRUE(until([] { return areSpeakersAt("50", "100"); })) << pactl({"get-sink-volume", "speakers"});
    EXPECT_TRUE(holds([] { return shown(dashboard, "Volume 100%").has_value(); }, Seconds{2.5}))
        << "the next look finds the same";
}

TEST_F(Tonvik, MutesAndUnmutes) {
    start();
    ASSERT_TRUE(openDashboard());
    ASSERT_TRUE(click(dashboard, "Mute", ATSPI_ROLE_PUSH_BUTTON));
    EXPECT_TRUE(until([] { return isMuted("speakers"); }));
    ASSERT_TRUE(click(dashboard, "Unmute", ATSPI_ROLE_PUSH_BUTTON));
    EXPECT_TRUE(until([] { return !isMuted("speakers"); }));
    pactl({"set-sink-mute", "speakers", "1"});
    EXPECT_TRUE(until([] { return shown(dashboard, "Unmute", ATSPI_ROLE_PUSH_BUTTON).has_value(); }))
        << "muted elsewhere";
}

TEST_F(Tonvik, ShowsWhatOthersChange) {
    start();
    ASSERT_TRUE(openDashboard());
    ASSERT_TRUE(says(dashboard, "Volume 100%"));
    pactl({"set-sink-volume", "speakers", "37%"});
    EXPECT_TRUE(says(dashboard, "Volume 37%"));
    pactl({"set-default-sink", "headset"});
    EXPECT_TRUE(isInUse(dashboard, called("Test Headset")));
    {
        const SoundModule plug(nullSink("plug", "Plug"));
        ASSERT_TRUE(plug.isLoaded());
        EXPECT_TRUE(isListed(dashboard, "Plug"));
    }
    EXPECT_TRUE(isUnlisted(dashboard, "Plug"));
}

TEST_F(Tonvik, ALevelAboveTheMostIsShownAndLeft) {
    pactl({"set-sink-volume", "speakers", "150%"});
    start();
    ASSERT_TRUE(openPanel());
    EXPECT_TRUE(says(panel, "Volume 100%"));
    EXPECT_TRUE(holds([] { return areSpeakersAt("150", "150"); }, Seconds{1}))
        << "looking at it changes nothing";
}

TEST_F(Tonvik, TheServerMayEndAndStartWhileThePanelIsOpen) {
    SoundServer server;
    ASSERT_TRUE(until([&] { return server.answers(); }));
    environment["PULSE_SERVER"] = server.address();
    start();
    ASSERT_TRUE(openPanel());
    ASSERT_TRUE(hasDevices(panel));
    for (int round = 0; round < 2; ++round) {
        server.kill();
        EXPECT_TRUE(hasNothing(panel)) << round;
        screen().press(0xFF1B); // Escape
        EXPECT_TRUE(waitForPanel(false)) << "the glass goes on";
        ASSERT_TRUE(openPanel());
        server.start();
        EXPECT_TRUE(hasDevices(panel)) << round;
    }
}

TEST_F(Tonvik, TheServerMayEndWhileTheSliderMoves) {
    SoundServer server;
    ASSERT_TRUE(until([&] { return server.answers(); }));
    environment["PULSE_SERVER"] = server.address();
    Program& zorbel = start();
    ASSERT_TRUE(openDashboard());
    ASSERT_TRUE(hasDevices(dashboard));
    const QRect line = slider(dashboard);
    const auto move = [&](int percent) {
        screen().movePointer({line.left() + line.width() * percent / 100, line.center().y()});
    };
    move(90);
    screen().setButtonDown(true);
    for (int percent = 90; percent > 40; --percent) {
        move(percent);
        if (percent == 65) {
            server.kill();
        }
    }
    EXPECT_TRUE(hasNothing(dashboard));
    for (int percent = 40; percent < 60; ++percent) {
        move(percent);
    }
    server.start();
    EXPECT_TRUE(hasDevices(dashboard));
    for (int percent = 60; percent > 20; --percent) {
        move(percent);
    }
    screen().setButtonDown(false);
    EXPECT_TRUE(zorbel.isRunning());
    const std::string sink = isPipeWire() ? "speakers" : "own";
    const auto isShown = [&] {
        // Nearest percentages here, and those that are full there.
        const int told = percentOf(sink, server.environment());
        return shown(dashboard, "Volume " + std::to_string(told) + "%") ||
               shown(dashboard, "Volume " + std::to_string(told - 1) + "%");
    };
    EXPECT_TRUE(until(isShown)) << "what it shows in the end is what the server has: "
                                << percentOf(sink, server.environment());
}

TEST_F(Tonvik, AHungServerKeepsNobodyWaiting) {
    SoundServer server;
    ASSERT_TRUE(until([&] { return server.answers(); }));
    environment["PULSE_SERVER"] = server.address();
    start();
    ASSERT_TRUE(openDashboard());
    ASSERT_TRUE(hasDevices(dashboard));
    server.send(SIGSTOP);
    ASSERT_TRUE(openPanel()) << "the glass goes on";
    EXPECT_TRUE(hasNothing(panel)) << "as if there were none";
    server.send(SIGCONT);
    EXPECT_TRUE(hasDevices(panel));
}

TEST_F(Tonvik, SwitchedOffItLeavesTheServer) {
    start();
    ASSERT_TRUE(openDashboard());
    ASSERT_TRUE(until([] { return isZorbelConnected(); }));
    ASSERT_TRUE(click(dashboard, "Tonvik", ATSPI_ROLE_CHECK_BOX));
    ASSERT_TRUE(waitForSetting("spice.tonvik.enabled", false));
    EXPECT_TRUE(until([] { return !isZorbelConnected(); }));
    ASSERT_TRUE(click(dashboard, "Tonvik", ATSPI_ROLE_CHECK_BOX));
    EXPECT_TRUE(until([] { return isZorbelConnected(); }));
}
