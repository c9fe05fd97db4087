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

#include <cmath>
#include <limits>

using namespace Desktop;
using Linux::as;
using Linux::owned;
using Pintho::Seat;
using Pintho::WindowRect;

namespace {

constexpr std::uint32_t huge = std::numeric_limits<std::uint32_t>::max();
constexpr WindowRect opened{300, 200, 400, 300};
constexpr Seconds longest{1.5}; // longer than anything is put right later

/// Hears what is asked of the window manager.
class Eavesdropper {
public:
    explicit Eavesdropper(const char* display)
        : connection_(xcb_connect(display, nullptr)) {
        const std::uint32_t events = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
        xcb_change_window_attributes(connection_.get(),
                                     xcb_setup_roots_iterator(xcb_get_setup(connection_.get())).data->root,
                                     XCB_CW_EVENT_MASK, &events);
        xcb_flush(connection_.get());
    }

    struct Wish {
        xcb_window_t window = XCB_NONE;
        QRect place;
        bool operator==(const Wish&) const = default;
    };

    /// All wishes so far for a window's place.
    const std::vector<Wish>& wishes(xcb_atom_t moveResizeWindow) {
        while (const auto event = owned(xcb_poll_for_event(connection_.get()))) {
            const auto& message = as<xcb_client_message_event_t>(*event);
            if ((event->response_type & 0x7F) == XCB_CLIENT_MESSAGE && message.type == moveResizeWindow) {
                const auto number = [&](int index) { return static_cast<int>(message.data.data32[index]); };
                wishes_.push_back({message.window, {number(1), number(2), number(3), number(4)}});
            }
        }
        return wishes_;
    }

private:
    std::unique_ptr<xcb_connection_t, Linux::Disconnect> connection_;
    std::vector<Wish> wishes_;
};

} // namespace

/// A desktop of 800 × 600 whose window manager the test plays, and plays badly.
class WindowsOfABadManager : public testing::Test {
protected:
    WindowsOfABadManager() {
        const xcb_window_t check = manager.open({.isOverrideRedirect = true});
        for (const xcb_window_t window : {manager.root(), check}) {
            manager.setNumbers(window, manager.atom("_NET_SUPPORTING_WM_CHECK"), XCB_ATOM_WINDOW, {check});
        }
        manager.setNumbers(manager.root(), manager.atom("_NET_SUPPORTED"), XCB_ATOM_ATOM,
                           {manager.atom("_NET_ACTIVE_WINDOW"), moveResizeWindow});
        EXPECT_TRUE(accessibility.isTrusted());
    }

    void setActive(const std::vector<std::uint32_t>& windows) {
        manager.setNumbers(manager.root(), activeWindow, XCB_ATOM_WINDOW, windows);
    }

    /// An ordinary window of a program, active.
    xcb_window_t open() {
        const xcb_window_t window = program.open();
        setActive({window});
        return window;
    }

    std::size_t wishCount() { return eavesdropper.wishes(moveResizeWindow).size(); }

    /// What the window manager is asked for next.
    std::optional<Eavesdropper::Wish> nextWish(std::size_t before) {
        return until([&] { return wishCount() > before; }) ? std::optional(eavesdropper.wishes(0)[before])
                                                           : std::nullopt;
    }

    void expectPlaced(xcb_window_t window) {
        const std::size_t before = wishCount();
        EXPECT_TRUE(pintho.place(Seat::left));
        const auto wish = nextWish(before);
        ASSERT_TRUE(wish);
        EXPECT_EQ(wish->window, window);
        EXPECT_EQ(wish->place, QRect(0, 0, 400, 600));
    }

    BareServer server;
    GuestClient manager{server.display()};
    GuestClient program{server.display()};
    Eavesdropper eavesdropper{server.display()};
    QtPlatform::QtMainLoop loop;
    QtPlatform::QtClock clock;
    Linux::EwmhDesktop desktop{loop, server.display()};
    Linux::X11Accessibility accessibility{loop, desktop};
    Linux::X11Screens screens{desktop};
    Linux::X11Shortcuts shortcuts{server.display()};
    Linux::X11Workspace workspace{loop, desktop};
    GuestWorkspace guests{workspace};
    Pintho::PinthoSpice pintho{loop, clock, guests, screens, accessibility, shortcuts};

    const xcb_atom_t moveResizeWindow = manager.atom("_NET_MOVERESIZE_WINDOW");
    const xcb_atom_t activeWindow = manager.atom("_NET_ACTIVE_WINDOW");
};

TEST_F(WindowsOfABadManager, WhatIsNoWindowOfAProgramIsNotPlaced) {
    const xcb_window_t menu = program.open({.isOverrideRedirect = true});
    const xcb_window_t gone = program.open();
    program.close(gone);
    for (const std::vector<std::uint32_t>& active :
         {std::vector<std::uint32_t>{menu}, {gone}, {}, {0}, {huge}, {manager.root()}}) {
        SCOPED_TRACE(active.empty() ? 0 : active.front());
        setActive(active);
        EXPECT_EQ(desktop.activeWindow(), std::nullopt);
        EXPECT_FALSE(pintho.place(Seat::left));
    }
    manager.setText(manager.root(), activeWindow, XCB_ATOM_STRING, "window");
    EXPECT_EQ(desktop.activeWindow(), std::nullopt);
    EXPECT_FALSE(pintho.place(Seat::left));
    EXPECT_TRUE(holds([this] { return wishCount() == 0; }, Seconds{0.2}));
    EXPECT_EQ(pintho.lastSeat(), std::nullopt);
    EXPECT_TRUE(pintho.placements().empty());
    expectPlaced(open());
}

TEST_F(WindowsOfABadManager, NonsenseThatAWindowSaysOfItselfIsLeftOut) {
    const xcb_window_t window = open();
    const std::vector<std::uint32_t> nonsense[] = {
        {}, {1}, {5, 5, 5}, {5, 5, 5, 5, 5}, {huge, huge, huge, huge}};
    for (const char* name : {"_NET_FRAME_EXTENTS", "_GTK_FRAME_EXTENTS", "WM_NORMAL_HINTS", "_NET_WM_STATE",
                             "_NET_WM_WINDOW_TYPE", "_NET_WM_PID", "WM_CLASS", "_NET_WM_NAME", "WM_NAME"}) {
        SCOPED_TRACE(name);
        const xcb_atom_t property = program.atom(name);
        for (const auto& numbers : nonsense) {
            SCOPED_TRACE(numbers.size());
            program.setNumbers(window, property, XCB_ATOM_CARDINAL, numbers);
            ASSERT_TRUE(desktop.activeWindow());
            EXPECT_EQ(desktop.activeWindow()->visible, opened);
            expectPlaced(window);
        }
        program.setNumbers(window, property, XCB_ATOM_CARDINAL, std::vector<std::uint32_t>(100'000, huge));
        expectPlaced(window);
        for (const std::string& text :
             {std::string("x"), std::string(72, 'x'), std::string(100'000, '\xFF')}) {
            program.setText(window, property, XCB_ATOM_STRING, text);
            expectPlaced(window);
        }
        program.setNumbers(window, property, XCB_ATOM_CARDINAL, {});
    }
}

TEST_F(WindowsOfABadManager, NonsenseOfPanelsTakesNoRoom) {
    const xcb_window_t panel = program.open();
    std::vector<std::uint32_t> clients(2'000, panel);
    clients.insert(clients.end(), {0, huge, manager.root(), 17});
    manager.setNumbers(manager.root(), manager.atom("_NET_CLIENT_LIST"), XCB_ATOM_WINDOW, clients);
    const ZorbelKit::Rect whole{0, 0, 800, 600};
    for (const char* name : {"_NET_WM_STRUT_PARTIAL", "_NET_WM_STRUT", "_NET_WM_DESKTOP"}) {
        for (const std::size_t length : {1U, 3U, 4U, 5U, 12U, 13U, 50'000U}) {
            program.setNumbers(panel, program.atom(name), XCB_ATOM_CARDINAL,
                               std::vector<std::uint32_t>(length, huge));
            ASSERT_EQ(screens.all().size(), 1U);
            EXPECT_EQ(screens.all()[0].visibleFrame, whole) << name << " " << length;
        }
        program.setText(panel, program.atom(name), XCB_ATOM_STRING, std::string(48, '\x01'));
        EXPECT_EQ(screens.all()[0].visibleFrame, whole) << name;
    }
    manager.setText(manager.root(), manager.atom("_NET_CLIENT_LIST"), XCB_ATOM_STRING, "none");
    EXPECT_EQ(screens.all()[0].visibleFrame, whole);
}

TEST_F(WindowsOfABadManager, AnAnnouncementThatMakesNoSenseIsNotTrusted) {
    const xcb_window_t root = manager.root();
    const xcb_atom_t check = manager.atom("_NET_SUPPORTING_WM_CHECK");
    open();
    for (const std::vector<std::uint32_t>& window :
         {std::vector<std::uint32_t>{}, {0}, {huge}, {program.open()}, {root}}) {
        manager.setNumbers(root, check, XCB_ATOM_WINDOW, window);
        EXPECT_FALSE(accessibility.isTrusted()) << (window.empty() ? 0 : window.front());
        EXPECT_FALSE(pintho.place(Seat::left));
    }
    manager.setText(root, check, XCB_ATOM_STRING, "me");
    EXPECT_FALSE(accessibility.isTrusted());
    EXPECT_TRUE(holds([this] { return wishCount() == 0; }, Seconds{0.2}));
}

TEST_F(WindowsOfABadManager, OneThatNeverMovesAWindowIsAskedTwice) {
    const xcb_window_t window = open();
    expectPlaced(window);
    EXPECT_TRUE(until([this] { return wishCount() == 2; }));
    EXPECT_TRUE(holds([this] { return wishCount() == 2; }, longest));
}

TEST_F(WindowsOfABadManager, OneThatPutsItElsewhereEveryTimeIsAskedTwice) {
    const xcb_window_t window = open();
    pintho.place(Seat::left);
    std::size_t heard = 0;
    EXPECT_FALSE(until(
        [&] {
            if (wishCount() > heard) {
                ++heard;
                program.move(window, {500, 20 + static_cast<int>(heard) * 10, 123, 45});
            }
            return heard > 2;
        },
        longest));
    EXPECT_EQ(heard, 2U);
}

TEST_F(WindowsOfABadManager, AWindowBeyondEveryMonitorGoesToTheMainOne) {
    const xcb_window_t window = open();
    program.move(window, {-5'000, -4'000, 400, 300});
    EXPECT_TRUE(until([&] {
        return desktop.activeWindow()->visible == WindowRect{-5'000, -4'000, 400, 300};
    }));
    pintho.steep();
    EXPECT_EQ(pintho.frontmost()->x, -5'000);
    EXPECT_EQ(pintho.frontmost()->y, -4'000);
    expectPlaced(window);
}

TEST_F(WindowsOfABadManager, PlacesBeyondAllReasonAreBroughtWithinIt) {
    const xcb_window_t window = open();
    const double infinity = std::numeric_limits<double>::infinity();
    desktop.place(window, {-infinity, infinity, 0, 1e300});
    const auto wish = nextWish(0);
    ASSERT_TRUE(wish);
    EXPECT_EQ(wish->place, QRect(-32'768, 32'767, 1, 32'767));
    desktop.place(window, {std::nan(""), std::nan(""), std::nan(""), std::nan("")});
    ASSERT_TRUE(nextWish(1));
}

TEST_F(WindowsOfABadManager, AMonitorWithoutRoomIsNone) {
    Program add({"xrandr", "--setmonitor", "Flat", "0/0x0/0+100+100", "none"},
                {{"DISPLAY", server.display()}});
    ASSERT_EQ(add.waitForEnd(), 0) << add.output();
    EXPECT_TRUE(holds([this] { return screens.all().size() == 1; }, Seconds{0.2}));
    EXPECT_EQ(screens.all().front().frame.width, 800);
    expectPlaced(open());
}
