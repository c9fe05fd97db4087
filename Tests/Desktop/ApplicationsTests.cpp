#include "Platforms/Linux/SingleInstance.hpp"
#include "Platforms/Linux/Windows/X11Applications.hpp"
#include "Platforms/Qt/QtMainLoop.hpp"
#include "Platforms/Simulated/SimulatedMainLoop.hpp"
#include "Tests/Desktop/BareServer.hpp"
#include "Tests/Desktop/Desktop.hpp"
#include "Tests/Desktop/GuestClient.hpp"

#include <gtest/gtest.h>
#include <signal.h>

#include <X11/keysym.h>
#include <algorithm>
#include <deque>
#include <functional>
#include <set>
#include <string>
#include <vector>

using namespace Desktop;
using Hushel::Application;

namespace {

constexpr auto terminal = "debian-xterm";

bool isIn(const std::vector<std::uint32_t>& numbers, std::uint32_t number) {
    return std::ranges::find(numbers, number) != numbers.end();
}

/// Programs and windows under the session's window manager, whichever it is.
class ApplicationsTest : public testing::Test {
protected:
    ~ApplicationsTest() override {
        for (const xcb_window_t window : guests_) {
            client.close(window);
        }
        programs_.clear();
        EXPECT_TRUE(until([&] { return windows().empty(); })) << "a test has left a window";
    }

    Program& start(const std::vector<std::string>& command) {
        return programs_.emplace_back(command, unread());
    }

    /// A window that a program of another machine shows here, by a class of its own.
    xcb_window_t openGuest(const std::string& className, const char* type = "_NET_WM_WINDOW_TYPE_NORMAL",
                           xcb_window_t parent = XCB_NONE) {
        const xcb_window_t window = client.open({.type = type, .isShown = false});
        client.setText(window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING,
                       className.empty() ? "" : className + '\0' + className + '\0');
        client.setText(window, XCB_ATOM_WM_CLIENT_MACHINE, XCB_ATOM_STRING, "elsewhere");
        if (parent != XCB_NONE) {
            client.setNumbers(window, XCB_ATOM_WM_TRANSIENT_FOR, XCB_ATOM_WINDOW, {parent});
        }
        client.setShown(window, true);
        guests_.push_back(window);
        EXPECT_TRUE(until([&] { return isIn(windows(), window); }));
        return window;
    }

    void close(xcb_window_t window) {
        std::erase(guests_, window);
        client.close(window);
    }

    std::vector<xcb_window_t> windows() const { return screen.rootProperty("_NET_CLIENT_LIST"); }

    /// The windows of a process, in the order in which they came.
    std::vector<xcb_window_t> windowsOf(const Program& program) const {
        std::vector<xcb_window_t> found;
        for (const xcb_window_t window : windows()) {
            if (client.processOf(window) == program.pid()) {
                found.push_back(window);
            }
        }
        return found;
    }

    /// The first window of a program that has just been started, once it has the keyboard.
    xcb_window_t front(const Program& program) const {
        xcb_window_t window = XCB_NONE;
        EXPECT_TRUE(until([&] {
            const auto found = windowsOf(program);
            window = found.empty() ? xcb_window_t{XCB_NONE} : found.front();
            return window != XCB_NONE && isInFront(window) && screen.frame(window);
        }));
        return window;
    }

    std::string managerName() const {
        return screen.text(screen.rootProperty("_NET_SUPPORTING_WM_CHECK").front(), "_NET_WM_NAME");
    }

    bool isInFront(xcb_window_t window) const {
        const auto active = screen.rootProperty("_NET_ACTIVE_WINDOW"); // of one window, or of more
        return !active.empty() && active.front() == window;
    }

    /// Put away for its user, whatever its desktop.
    bool isIconic(xcb_window_t window) const {
        return isIn(screen.property(window, "_NET_WM_STATE"), screen.atom("_NET_WM_STATE_HIDDEN"));
    }

    std::optional<Application> find(const std::string& id) {
        for (const Application& application : applications.running()) {
            if (application.bundleIdentifier == id) {
                return application;
            }
        }
        return std::nullopt;
    }

    bool isListed(const std::string& id) {
        return until([&] { return find(id).has_value(); });
    }

    bool isHidden(const std::string& id) {
        return until([&] {
            const auto found = find(id);
            return found && found->isHidden;
        });
    }

    bool isSeenInFront(const std::string& id) {
        return until([&] {
            const auto found = find(id);
            return found && !found->isHidden && found->isActive;
        });
    }

    /// As a sweep does it.
    void sweep(const std::set<std::string>& ids) {
        std::vector<Application> shown;
        for (const Application& application : applications.running()) {
            if (application.bundleIdentifier && ids.contains(*application.bundleIdentifier) &&
                !application.isHidden) {
                shown.push_back(application);
            }
        }
        applications.hide(shown);
    }

    Screen screen;
    GuestClient client;
    QtPlatform::QtMainLoop loop;
    Linux::X11Applications applications{loop};

private:
    std::deque<Program> programs_;
    std::vector<xcb_window_t> guests_;
};

/// Under window managers that hide what they are asked to.
class Applications : public ApplicationsTest {};

/// Under one that never does.
class ApplicationsRefused : public ApplicationsTest {};

} // namespace

TEST_F(Applications, H1_AllWindowsOfAProgramAreHiddenOnAllDesktops) {
    EXPECT_FALSE(find(terminal)) << "no window, no program";
    ASSERT_EQ(Program({"wmctrl", "-n", "2"}).waitForEnd(), 0);
    ASSERT_TRUE(until([&] { return screen.rootProperty("_NET_NUMBER_OF_DESKTOPS") == std::vector{2U}; }));
    const xcb_window_t minimised = front(start({"xterm"}));
    applications.hide({*find(terminal)});
    ASSERT_TRUE(until([&] { return isIconic(minimised); }));
    EXPECT_TRUE(isHidden(terminal)) << "with one window";

    const xcb_window_t away = front(start({"xterm"}));
    ASSERT_EQ(Program({"wmctrl", "-i", "-r", std::to_string(away), "-t", "1"}).waitForEnd(), 0);
    ASSERT_TRUE(until([&] { return screen.property(away, "_NET_WM_DESKTOP") == std::vector{1U}; }));
    const xcb_window_t here = front(start({"xterm"}));
    const xcb_window_t other = front(start({QT_WINDOW_PROGRAM, "plain"}));
    const auto found = find(terminal);
    ASSERT_TRUE(found);
    EXPECT_TRUE(found->isRegular);
    EXPECT_FALSE(found->isHidden);
    EXPECT_FALSE(found->isActive) << "another one is";
    EXPECT_EQ(found->localizedName, "XTerm");
    sweep({terminal});
    EXPECT_TRUE(isHidden(terminal));
    EXPECT_TRUE(isIconic(minimised));
    EXPECT_TRUE(isIconic(here));
    ASSERT_EQ(Program({"wmctrl", "-s", "1"}).waitForEnd(), 0);
    ASSERT_TRUE(until([&] { return screen.rootProperty("_NET_CURRENT_DESKTOP") == std::vector{1U}; }));
    if (!isIconic(away)) { // some managers put a window away once it could be seen only
        EXPECT_TRUE(until([&] { return !find(terminal)->isHidden; }));
        sweep({terminal});
    }
    EXPECT_TRUE(until([&] { return isIconic(away); }));
    EXPECT_TRUE(isHidden(terminal));
    EXPECT_FALSE(screen.frame(away));
    ASSERT_EQ(Program({"wmctrl", "-s", "0"}).waitForEnd(), 0);
    EXPECT_TRUE(until([&] { return screen.frame(other).has_value(); })) << "the other one is left alone";
    EXPECT_TRUE(find(terminal)->canHide);
    EXPECT_FALSE(isIconic(other));
    EXPECT_EQ(windows().size(), 4U) << "nothing is closed";
}

TEST_F(Applications, H1_TheUserGetsEachBackByTheDesktopsOwnMeans) {
    const xcb_window_t window = front(start({"xterm"}));
    sweep({terminal});
    ASSERT_TRUE(isHidden(terminal));
    EXPECT_FALSE(screen.frame(window));
    screen.activate(window);
    EXPECT_TRUE(until([&] { return screen.frame(window) && isInFront(window); }));
    EXPECT_FALSE(isIconic(window));
}

TEST_F(Applications, H2_WhateverBringsItForwardItIsSeenInFrontAndHiddenAgain) {
    const xcb_window_t window = front(start({"xterm"}));
    EXPECT_TRUE(isSeenInFront(terminal));
    const struct {
        const char* name;
        std::function<void()> bringForward;
    } ways[] = {
        {"a task bar", [&] { screen.activate(window); }},
        {"another program",
         [&] {
             EXPECT_EQ(Program({"wmctrl", "-i", "-a", std::to_string(window)}).waitForEnd(), 0);
         }},
        {"itself, by showing its window anew",
         [&] {
             EXPECT_EQ(Program({"xdotool", "windowmap", std::to_string(window)}).waitForEnd(), 0);
             EXPECT_TRUE(until([&] { return screen.frame(window).has_value(); }));
             screen.activate(window); // some managers show it behind the others
         }},
        {"Alt and Tab",
         [&] {
             screen.setKeyDown(XK_Alt_L, true);
             screen.press(XK_Tab);
             screen.setKeyDown(XK_Alt_L, false);
         }},
    };
    for (const auto& way : ways) {
        SCOPED_TRACE(way.name);
        if (way.name == std::string("Alt and Tab") && managerName() != "Metacity") {
            continue; // leads to windows that are in sight only
        }
        sweep({terminal});
        ASSERT_TRUE(isHidden(terminal));
        EXPECT_TRUE(until([&] { return !find(terminal)->isActive; }));
        way.bringForward();
        EXPECT_TRUE(isSeenInFront(terminal));
    }
    EXPECT_TRUE(find(terminal)->canHide);
}

TEST_F(Applications, H3_OneThatShowsItselfAgainAndAgainIsNotFoughtWith) {
    const xcb_window_t window = openGuest("Restless");
    int sweeps = 0;
    ZorbelKit::Token restless = loop.every(ZorbelKit::Seconds(0.1), [&] {
        if (isIconic(window)) {
            screen.activate(window);
        }
    });
    ZorbelKit::Token sweeping = loop.every(ZorbelKit::Seconds(1), [&] {
        sweep({"restless"});
        ++sweeps;
    });
    EXPECT_TRUE(until([&] { return !find("restless")->canHide; }));
    EXPECT_GE(sweeps, 3);
    sweeping.reset();
    EXPECT_TRUE(until([&] { return screen.frame(window).has_value(); }));
    restless.reset();
    // From now on it is tried rarely, and what is asked of the server is the same for every look.
    int tries = 0;
    for (int count = 0; count < 100; ++count) {
        const unsigned int before = applications.requestsForTesting();
        const auto found = applications.running();
        const unsigned int between = applications.requestsForTesting();
        applications.hide(found);
        tries += applications.requestsForTesting() - between > 1 ? 1 : 0;
        EXPECT_LE(between - before, 12U);
    }
    EXPECT_LE(tries, 10);
    EXPECT_GE(tries, 1);
    EXPECT_TRUE(isHidden("restless")) << "it has given up";
    EXPECT_TRUE(until([&] { return find("restless")->canHide; })) << "and can be hidden after all";
}

TEST_F(Applications, H4_ADialogGoesWithItsParentAndANewWindowGoesAfterIt) {
    const xcb_window_t parent = openGuest("Guest");
    ASSERT_TRUE(isListed("guest"));
    sweep({"guest"});
    ASSERT_TRUE(isHidden("guest"));

    const xcb_window_t second = openGuest("Guest");
    const xcb_window_t dialog = openGuest("Another", "_NET_WM_WINDOW_TYPE_DIALOG", second);
    EXPECT_TRUE(until([&] {
        const auto found = find("guest");
        return found && !found->isHidden;
    }));
    EXPECT_FALSE(find("another")) << "a dialog is known as the program it is for";
    sweep({"guest"});
    EXPECT_TRUE(isHidden("guest"));
    for (const xcb_window_t window : {parent, second, dialog}) {
        EXPECT_TRUE(until([&] { return !screen.frame(window); }));
    }
    screen.activate(second);
    EXPECT_TRUE(isSeenInFront("guest")) << "nothing was closed";
}

TEST_F(Applications, H4_ADialogThatIsInFrontStandsForItsProgram) {
    const xcb_window_t parent = openGuest("Guest");
    const xcb_window_t dialog = openGuest("Guest", "_NET_WM_WINDOW_TYPE_DIALOG", parent);
    screen.activate(dialog);
    ASSERT_TRUE(until([&] { return isInFront(dialog); }));
    EXPECT_TRUE(isSeenInFront("guest"));
}

TEST_F(Applications, H4_AMenuThatIsOpenIsInNobodysWay) {
    constexpr auto editor = "org.xfce.mousepad";
    Program& program = start({"mousepad", "--disable-server"});
    const xcb_window_t window = front(program);
    ASSERT_TRUE(isListed(editor));
    const auto hasMenu = [&] {
        return std::ranges::any_of(screen.windows(), [](const Window& each) { return !each.isManaged; });
    };
    ASSERT_TRUE(until([&] { // at first it may not listen
        screen.press(XK_F10);
        return until(hasMenu, Seconds(1));
    }));
    EXPECT_EQ(windowsOf(program).size(), 1U);
    sweep({editor});
    EXPECT_TRUE(isHidden(editor));
    EXPECT_TRUE(program.isRunning());
    screen.press(XK_Escape);
    screen.activate(window);
    EXPECT_TRUE(until([&] { return screen.frame(window).has_value(); }));
}

TEST_F(Applications, H5_AFullScreenProgramIsHiddenAndComesBackFullScreen) {
    const xcb_window_t window = front(start({QT_WINDOW_PROGRAM, "fullscreen"}));
    const QRect all(QPoint(0, 0), screen.size());
    ASSERT_TRUE(until([&] { return screen.frame(window) == all; }));
    const std::string id = "qt_window_program";
    ASSERT_TRUE(isListed(id));
    sweep({id});
    EXPECT_TRUE(isHidden(id));
    EXPECT_FALSE(screen.frame(window)) << "the screen can be used";
    screen.activate(window);
    EXPECT_TRUE(until([&] { return screen.frame(window) == all; }));
}

TEST_F(Applications, H6_EachProgramIsListedOnceByTheNameItsUserKnows) {
    front(start({"xterm"}));
    front(start({"xterm", "-class", "Letters"}));
    front(start({"mousepad", "--disable-server"}));
    front(start({"featherpad", "--standalone"}));
    front(start({QT_WINDOW_PROGRAM, "plain"}));
    std::vector<std::pair<std::string, std::string>> found;
    for (const Application& application : applications.running()) {
        EXPECT_TRUE(application.isRegular);
        EXPECT_TRUE(application.canHide);
        EXPECT_GT(application.processIdentifier, 0);
        found.emplace_back(application.bundleIdentifier.value_or(""), application.localizedName.value_or(""));
    }
    EXPECT_EQ(found,
              (std::vector<std::pair<std::string, std::string>>{{terminal, "XTerm"},
                                                                {"org.xfce.mousepad", "Mousepad"},
                                                                {"featherpad", "FeatherPad"},
                                                                {"qt_window_program", "qt_window_program"}}));
}

TEST_F(Applications, H6_OnlyTheListedOneOfTwoWithOneClassIsHidden) {
    const xcb_window_t guest = openGuest("Letters"); // its program cannot be told but by its class
    const xcb_window_t letters = front(start({"xterm", "-class", "Letters"}));
    ASSERT_TRUE(isListed("letters"));
    ASSERT_TRUE(isListed(terminal));
    sweep({"letters"});
    EXPECT_TRUE(isHidden("letters"));
    EXPECT_TRUE(isIconic(guest));
    EXPECT_FALSE(isIconic(letters));
}

TEST_F(Applications, H6_AWindowThatTellsNothingIsNobodys) {
    const xcb_window_t window = openGuest("");
    const auto isNobodys = [](const Application& each) {
        return !each.bundleIdentifier && !each.localizedName && each.processIdentifier == 0;
    };
    const auto found = applications.running();
    ASSERT_EQ(found.size(), 1U);
    EXPECT_TRUE(isNobodys(found.front()));
    applications.hide(found);
    client.setText(window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, std::string("late\0Late", 9));
    EXPECT_TRUE(isListed("late")) << "some say it once their window is shown";
    EXPECT_FALSE(isIconic(window));
}

TEST_F(Applications, H8_PartsOfTheDesktopAreNeitherOfferedNorHidden) {
    const std::vector<std::pair<std::string, const char*>> parts{
        {"panel", "_NET_WM_WINDOW_TYPE_DOCK"},        {"ground", "_NET_WM_WINDOW_TYPE_DESKTOP"},
        {"news", "_NET_WM_WINDOW_TYPE_NOTIFICATION"}, {"greeting", "_NET_WM_WINDOW_TYPE_SPLASH"},
        {"hint", "_NET_WM_WINDOW_TYPE_TOOLTIP"},
    };
    std::vector<xcb_window_t> opened;
    std::set<std::string> ids;
    for (const auto& [name, type] : parts) {
        opened.push_back(openGuest(name, type));
        ids.insert(name);
    }
    const xcb_window_t applet = openGuest("applet");
    client.askForState(applet, "_NET_WM_STATE_SKIP_TASKBAR");
    opened.push_back(applet);
    ids.insert("applet");
    ASSERT_TRUE(until([&] {
        const auto found = find("applet");
        return found && !found->isRegular;
    }));
    for (const std::string& id : ids) {
        SCOPED_TRACE(id);
        const auto found = find(id);
        ASSERT_TRUE(found);
        EXPECT_FALSE(found->isRegular);
        EXPECT_FALSE(found->isActive);
    }
    applications.hide(applications.running());
    EXPECT_TRUE(holds(
        [&] {
            return std::ranges::all_of(
                opened, [&](xcb_window_t window) { return screen.frame(window) && !isIconic(window); });
        },
        Seconds(0.5)));
}

TEST_F(Applications, H8_AProgramIsHiddenWithoutTheDesktopThatItDraws) {
    const xcb_window_t ground = openGuest("files", "_NET_WM_WINDOW_TYPE_DESKTOP");
    const xcb_window_t folder = openGuest("files");
    const auto found = find("files");
    ASSERT_TRUE(found);
    EXPECT_TRUE(found->isRegular);
    sweep({"files"});
    EXPECT_TRUE(isHidden("files"));
    EXPECT_TRUE(isIconic(folder));
    EXPECT_TRUE(screen.frame(ground));
}

TEST_F(Applications, H8_OurOwnWindowsAreOursAndStay) {
    const xcb_window_t window = client.open();
    ASSERT_TRUE(isListed(Linux::applicationId));
    applications.hide(applications.running());
    EXPECT_TRUE(holds([&] { return !isIconic(window); }, Seconds(0.5)));
    client.close(window);
}

TEST_F(Applications, H12_AWindowThatGoesBeforeItIsHiddenIsNoTrouble) {
    Program& program = start({"xterm"});
    front(program);
    const xcb_window_t guest = openGuest("Guest");
    const auto listed = applications.running();
    ASSERT_EQ(listed.size(), 2U);
    close(guest);
    program.send(SIGKILL);
    ASSERT_TRUE(program.waitForEnd());
    applications.hide(listed);
    EXPECT_TRUE(until([&] { return applications.running().empty(); }));
    applications.hide(listed);
    EXPECT_TRUE(applications.running().empty());
}

TEST_F(Applications, AnotherWindowWithTheSameNumberIsAnotherWindow) {
    const xcb_window_t window = openGuest("First");
    ASSERT_TRUE(isListed("first"));
    client.setText(window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, std::string("second\0Second", 13));
    EXPECT_TRUE(isListed("second"));
    EXPECT_FALSE(find("first"));
}

TEST_F(Applications, ALookAsksOnceForWindowsThatAreKnown) {
    openGuest("First");
    openGuest("Second");
    applications.running();
    const unsigned int before = applications.requestsForTesting();
    EXPECT_EQ(applications.running().size(), 2U);
    const unsigned int asked = applications.requestsForTesting() - before - 1;
    EXPECT_GE(asked, 5U + 1U + 2U * 2U) << "of the desktop, of the processes, and of each window";
    EXPECT_LE(asked, 5U + 1U + 2U * 3U) << "now and then of its class, too";
}

TEST_F(Applications, NothingIsKeptWhileNothingIsAsked) {
    Simulated::SimulatedMainLoop still;
    Linux::X11Applications quiet(still);
    EXPECT_FALSE(quiet.isConnectedForTesting());
    openGuest("Guest");
    EXPECT_EQ(quiet.running().size(), 1U);
    EXPECT_TRUE(quiet.isConnectedForTesting());
    still.advance(ZorbelKit::Seconds(29));
    EXPECT_TRUE(quiet.isConnectedForTesting());
    quiet.running();
    still.advance(ZorbelKit::Seconds(29));
    EXPECT_TRUE(quiet.isConnectedForTesting());
    still.advance(ZorbelKit::Seconds(1));
    EXPECT_FALSE(quiet.isConnectedForTesting());
    EXPECT_EQ(quiet.running().size(), 1U);
}

TEST_F(ApplicationsRefused, H7_AManagerThatNeverHidesIsFoundOut) {
    const xcb_window_t window = front(start({"xterm"}));
    EXPECT_EQ(applications.hidingHint(), "");
    EXPECT_TRUE(isSeenInFront(terminal));
    EXPECT_TRUE(find(terminal)->canHide);
    EXPECT_TRUE(until([&] {
        sweep({terminal});
        return !find(terminal)->canHide;
    }));
    EXPECT_FALSE(find(terminal)->isHidden);
    EXPECT_TRUE(screen.frame(window));
}

TEST(ApplicationsOfABareServer, H7_WithoutAManagerNothingIsHiddenAndThatIsSaid) {
    const std::string hint =
        "Applications can be hidden once a window manager that follows the EWMH standard is running.";
    BareServer server;
    QtPlatform::QtMainLoop loop;
    Linux::X11Applications applications(loop, server.display());
    EXPECT_EQ(applications.hidingHint(), hint);
    Program program({"xterm"}, {{"DISPLAY", server.display()}});
    const Screen screen(server.display());
    // A window that comes while a manager starts may be managed by nobody.
    EXPECT_TRUE(until([&] { return !screen.windows().empty(); }));
    EXPECT_TRUE(applications.running().empty());

    Program manager({"openbox", "--sm-disable"}, {{"DISPLAY", server.display()}});
    EXPECT_TRUE(until([&] { return applications.hidingHint().empty(); }));
    ASSERT_TRUE(until([&] { return applications.running().size() == 1; }));
    applications.hide(applications.running());
    EXPECT_TRUE(until([&] { return applications.running().front().isHidden; }));

    manager.send(SIGKILL);
    EXPECT_TRUE(until([&] { return applications.hidingHint() == hint; }));
    EXPECT_TRUE(applications.running().empty());
    Program next({"metacity", "--sm-disable", "--no-composite"}, {{"DISPLAY", server.display()}});
    EXPECT_TRUE(until([&] { return applications.hidingHint().empty(); }));
    EXPECT_TRUE(until([&] { return applications.running().size() == 1; }));
}

TEST(ApplicationsOfABareServer, AServerThatEndsTakesEverythingWithIt) {
    BareServer server;
    QtPlatform::QtMainLoop loop;
    Linux::X11Applications applications(loop, server.display());
    Program manager({"openbox", "--sm-disable"}, {{"DISPLAY", server.display()}});
    EXPECT_TRUE(until([&] { return applications.hidingHint().empty(); }));
    Program program({"xterm"}, {{"DISPLAY", server.display()}});
    EXPECT_TRUE(until([&] { return applications.running().size() == 1; }));
    const auto listed = applications.running();
    server.end(SIGKILL);
    applications.hide(listed);
    EXPECT_TRUE(until([&] { return applications.running().empty(); }));
    EXPECT_EQ(applications.hidingHint(), "Applications cannot be hidden without an X server.");
}

TEST(ApplicationsOfABareServer, H7_WaylandIsNamed) {
    QtPlatform::QtMainLoop loop;
    BareServer server;
    Linux::X11Applications both(loop, server.display());
    Linux::X11Applications neither(loop, ":9999");
    ::setenv("WAYLAND_DISPLAY", "wayland-0", 1);
    EXPECT_EQ(both.hidingHint(), "On Wayland, only applications that use X11 can be hidden.");
    EXPECT_EQ(neither.hidingHint(), "Applications cannot be hidden on Wayland.");
    ::unsetenv("WAYLAND_DISPLAY");
    EXPECT_TRUE(neither.running().empty());
    neither.hide({{.bundleIdentifier = "guest"}});
}
