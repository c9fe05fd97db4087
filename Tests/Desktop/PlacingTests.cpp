#include "Pintho/Pintho.hpp"
#include "Platforms/Linux/Windows/EwmhDesktop.hpp"
#include "Platforms/Linux/Windows/X11Accessibility.hpp"
#include "Platforms/Linux/Windows/X11Screens.hpp"
#include "Platforms/Linux/Windows/X11Shortcuts.hpp"
#include "Platforms/Linux/X11Workspace.hpp"
#include "Platforms/Linux/XReply.hpp"
#include "Platforms/Qt/QtMainLoop.hpp"
#include "Tests/Desktop/Desktop.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <iomanip>
#include <iostream>
#include <sstream>

using namespace Desktop;
using Pintho::Seat;

// Windows as toolkits make them, under the session's window manager and on its monitors, whichever they are.

namespace {

constexpr Seconds breath{0.1};
constexpr Seconds moment{0.4}; // longer than anything is put right later

constexpr int hasMost = 1 << 5; // in the first number of WM_NORMAL_HINTS

constexpr const char* maximised = "_NET_WM_STATE_MAXIMIZED_VERT";
constexpr const char* fullscreen = "_NET_WM_STATE_FULLSCREEN";
constexpr const char* toolkitFrame = "_GTK_FRAME_EXTENTS"; // what a program draws around its window

std::string text(const QRect& rect) {
    return std::to_string(rect.width()) + "x" + std::to_string(rect.height()) + "+" +
           std::to_string(rect.x()) + "+" + std::to_string(rect.y());
}

/// From the first pixel to before the last one.
QRect between(int left, int top, int right, int bottom) {
    return {left, top, right - left, bottom - top};
}

/// Where a window in this seat of a monitor is to be seen. The centre is 70 % of its width and 80 % of its
/// height, and where that ends within a pixel, the pixel belongs to it.
QRect seatOf(Seat seat, const QRect& monitor) {
    const int left = monitor.x();
    const int top = monitor.y();
    const int width = monitor.width();
    const int height = monitor.height();
    const int middle = left + width / 2; // the monitors here have even sides
    const int waist = top + height / 2;
    const int right = left + width;
    const int bottom = top + height;
    switch (seat) {
    case Seat::left:
        return between(left, top, middle, bottom);
    case Seat::right:
        return between(middle, top, right, bottom);
    case Seat::top:
        return between(left, top, right, waist);
    case Seat::bottom:
        return between(left, waist, right, bottom);
    case Seat::topLeft:
        return between(left, top, middle, waist);
    case Seat::topRight:
        return between(middle, top, right, waist);
    case Seat::bottomLeft:
        return between(left, waist, middle, bottom);
    case Seat::bottomRight:
        return between(middle, waist, right, bottom);
    case Seat::centre:
        return between(left + width * 15 / 100, top + height * 10 / 100, left + (width * 85 + 99) / 100,
                       top + (height * 90 + 99) / 100);
    case Seat::full:
        break;
    }
    return monitor;
}

/// As the server lists them: "0: +*M1 1280/338x1024/270+0+0  screen".
std::vector<QRect> listedMonitors() {
    Program list({"xrandr", "--listmonitors"});
    list.waitForEnd();
    std::vector<QRect> result;
    std::istringstream lines(list.output());
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string number;
        std::string name;
        int width = 0;
        int height = 0;
        int millimetres = 0;
        int x = 0;
        int y = 0;
        char mark = 0;
        if (words >> number >> name >> width >> mark >> millimetres >> mark >> height >> mark >>
            millimetres >> x >> y) {
            result.emplace_back(x, y, width, height);
        }
    }
    return result;
}

/// What there is of room along one axis, and what a window with steps takes of it.
int steppedLength(int room, int base, int step) {
    return base + (room - base) / step * step;
}

/// Widths along the four edges of a window.
struct Sides {
    int left = 0;
    int right = 0;
    int top = 0;
    int bottom = 0;
    bool operator==(const Sides&) const = default;
};

class Placing : public testing::Test {
protected:
    struct Row {
        int exact = 0;
        int tried = 0;
    };

    /// How the size of a window follows from its seat.
    enum class Size { any, stepped, limited };

    struct Kind {
        std::string name;
        std::vector<std::string> command;
        Size size = Size::any;
        Program::Environment environment = {};
        const char* state = nullptr; // that it is in before it is placed
        bool hasShadow = false;      // of its own
    };

    static void TearDownTestSuite() {
        const Screen screen;
        std::cout << "\nSeats that windows fill exactly: " << managerName(screen) << ",";
        for (const QRect& monitor : listedMonitors()) {
            std::cout << " " << text(monitor);
        }
        std::cout << "\n";
        for (const auto& [kind, row] : table) {
            std::cout << "  " << std::left << std::setw(44) << kind << std::right << std::setw(3) << row.exact
                      << " / " << row.tried << "\n";
        }
        std::cout << std::endl;
    }

    static std::string managerName(const Screen& screen) {
        const auto manager = screen.rootProperty("_NET_SUPPORTING_WM_CHECK");
        return manager.empty() ? "no window manager" : screen.text(manager[0], "_NET_WM_NAME");
    }

    /// All ten seats of every monitor, in turn.
    void fillSeats(const Kind& kind) {
        const auto monitors = listedMonitors();
        ASSERT_FALSE(monitors.empty());
        if (kind.hasShadow) {
            letShadowsBeKnown();
        }
        Program program(kind.command, with(unread(), kind.environment));
        const xcb_window_t window = front(program);
        ASSERT_NE(window, xcb_window_t{XCB_NONE}) << program.output();
        if (kind.hasShadow && !kind.state) {
            EXPECT_TRUE(until([&] { return sides(window, toolkitFrame) != Sides{}; }))
                << "this program draws no shadow here, so this test tests nothing";
        }
        for (const QRect& monitor : monitors) {
            SCOPED_TRACE("on " + text(monitor));
            carryTo(window, kind, monitor);
            for (const Seat seat : Pintho::allSeats) {
                SCOPED_TRACE(Pintho::rawValue(seat));
                if (isEntered(kind)) {
                    enter(window, kind, monitor);
                }
                fill(window, kind, seat, monitor);
            }
        }
        const Seat again = Pintho::allSeats.back();
        const QRect last = expected(window, kind.size, seatOf(again, monitors.back()), monitors.back());
        const auto isThere = [&] { return seen(window) == last && isAtRest(window, kind); };
        EXPECT_TRUE(until([&] { return Desktop::holds(isThere, breath); }, reach));
        EXPECT_TRUE(until([&] { return isInFront(window); }));
        EXPECT_TRUE(pintho.place(again)) << "once more";
        // Metacity makes a window without a frame that fills a monitor a full-screen one, whose state goes
        // first.
        EXPECT_TRUE(until([&] { return Desktop::holds(isThere, moment); }, reach))
            << text(last) << " has become " << text(seen(window));
    }

    void fill(xcb_window_t window, const Kind& kind, Seat name, const QRect& monitor) {
        const QRect seat = seatOf(name, monitor);
        const QRect wanted = expected(window, kind.size, seat, monitor);
        const bool isMovedIn = wanted.topLeft() != seat.topLeft();
        Row& row = rowOf(isMovedIn ? kind.name + ", moved in by the manager" : kind.name);
        ++row.tried;
        EXPECT_TRUE(until([&] { return isInFront(window); }));
        EXPECT_TRUE(pintho.place(name));
        const bool isExact = until(
            [&] {
                return seen(window) == expected(window, kind.size, seat, monitor) && isAtRest(window, kind);
            },
            reach);
        EXPECT_TRUE(isExact) << text(seen(window)) << " instead of "
                             << text(expected(window, kind.size, seat, monitor));
        row.exact += isExact ? 1 : 0;
    }

    /// Out of the state that it was in, and with its shadow again.
    bool isAtRest(xcb_window_t window, const Kind& kind) const {
        return !(isEntered(kind) && hasState(window, kind.state)) &&
               !(isShadowed(kind) && sides(window, toolkitFrame) == Sides{});
    }

    /// A window manager that does not know a state, as tiling ones do not know a maximised window, does
    /// nothing about it; but the program thinks that its window is like that.
    bool isEntered(const Kind& kind) const { return kind.state && isKnown(kind.state); }

    bool isShadowed(const Kind& kind) const {
        const bool isOnlyToldSo = kind.state && !isEntered(kind);
        return kind.hasShadow && !isOnlyToldSo; // maximised, it would draw none
    }

    /// What is to be seen of a window in a seat: it fills it, unless it takes other sizes only.
    QRect expected(xcb_window_t window, Size size, const QRect& seat, const QRect& monitor) const {
        const auto hints = screen.property(window, "WM_NORMAL_HINTS");
        const auto frame = frameSides(window);
        const auto hint = [&](std::size_t index) {
            return index < hints.size() ? static_cast<int>(hints[index]) : 0;
        };
        const int across = frame.left + frame.right; // of a window without a shadow
        const int down = frame.top + frame.bottom;
        switch (size) {
        case Size::any:
            break;
        case Size::stepped: // base size 15 and 16, steps 9 and 10
            return {seat.x(), seat.y(), across + steppedLength(seat.width() - across, hint(15), hint(9)),
                    down + steppedLength(seat.height() - down, hint(16), hint(10))};
        case Size::limited: { // smallest 5 and 6, largest 7 and 8
            const QSize least(hint(5), hint(6));
            const QSize room(seat.width() - across, seat.height() - down);
            const QSize most = (hint(0) & hasMost) != 0 ? QSize(hint(7), hint(8)) : room.expandedTo(least);
            const QSize taken = room.expandedTo(least).boundedTo(most);
            const QRect wanted(seat.x(), seat.y(), across + taken.width(), down + taken.height());
            return movesWindowsIn() ? movedInto(wanted, monitor) : wanted;
        }
        }
        return seat;
    }

    /// Metacity lets nobody but the user's own hand move a window across a monitor's edge: one that is larger
    /// than its seat in a corner ends at that corner instead.
    bool movesWindowsIn() const { return managerName(screen) == "Metacity"; }

    static QRect movedInto(QRect rect, const QRect& monitor) {
        rect.moveRight(std::min(rect.right(), monitor.right()));
        rect.moveBottom(std::min(rect.bottom(), monitor.bottom()));
        return rect;
    }

    static Row& rowOf(const std::string& kind) {
        const auto found = std::ranges::find(table, kind, [](const auto& entry) { return entry.first; });
        return found != table.end() ? found->second : table.emplace_back(kind, Row{}).second;
    }

    static Program::Environment with(Program::Environment environment, const Program::Environment& more) {
        for (const auto& [name, value] : more) {
            environment[name] = value;
        }
        return environment;
    }

    /// The window of a program that has just been started, once it has the keyboard.
    xcb_window_t front(const Program& program) const {
        xcb_window_t window = XCB_NONE;
        static_cast<void>(until([&] {
            const auto active = desktop.activeWindow();
            window = active && active->pid == program.pid() && screen.frame(active->id)
                         ? active->id
                         : xcb_window_t{XCB_NONE};
            return window != XCB_NONE;
        }));
        return window;
    }

    /// As another program would, a pager say; its state goes with it. A window that lies there already is
    /// left alone.
    void carryTo(xcb_window_t window, const Kind& kind, const QRect& monitor) const {
        if (monitor.contains(seen(window).center()) && monitor.contains(seen(window).topLeft())) {
            return;
        }
        if (hasState(window, fullscreen)) { // some keep it where it is for as long
            Program leave({"wmctrl", "-i", "-r", std::to_string(window), "-b", "remove,fullscreen"});
            EXPECT_TRUE(until([&] { return !hasState(window, fullscreen); }));
        }
        // The next placement is the last word, but where the window gets a state first, what is put right
        // later must be put right before somebody else takes hold of the window.
        if (kind.state) {
            EXPECT_TRUE(until([&] { return staysPut(window); }));
        }
        screen.moveAndResize(window, {monitor.topLeft() + QPoint(60, 70), QSize(400, 300)});
        EXPECT_TRUE(until([&] { return monitor.contains(seen(window).topLeft()); })) << text(seen(window));
    }

    bool staysPut(xcb_window_t window) const {
        const QRect now = seen(window);
        return Desktop::holds([&] { return seen(window) == now; }, moment);
    }

    bool isInFront(xcb_window_t window) const {
        const auto active = desktop.activeWindow();
        return active && active->id == window;
    }

    /// A program takes its shadow away once it hears of its new state, and is moved by as much after that:
    /// for a moment its corner is on the next monitor, where a placement would take it. No user is that
    /// quick.
    void enter(xcb_window_t window, const Kind& kind, const QRect& monitor) const {
        kind.state == fullscreen ? screen.makeFullscreen(window) : screen.maximise(window);
        EXPECT_TRUE(until([&] {
            return hasState(window, kind.state) && sides(window, toolkitFrame) == Sides{} &&
                   seen(window) == monitor;
        })) << text(seen(window));
    }

    bool hasState(xcb_window_t window, const char* state) const {
        const auto states = screen.property(window, "_NET_WM_STATE");
        return std::ranges::find(states, screen.atom(state)) != states.end();
    }

    /// Whether the window manager says that it knows this.
    bool isKnown(const char* hint) const {
        const auto supported = screen.rootProperty("_NET_SUPPORTED", 1024);
        return std::ranges::find(supported, screen.atom(hint)) != supported.end();
    }

    /// A program draws no shadow for a window manager that may not know what it is. Managers that do not say
    /// so place the window by its edges all the same, and that is where shadows go wrong.
    void letShadowsBeKnown() const {
        if (isKnown(toolkitFrame)) {
            return;
        }
        const std::unique_ptr<xcb_connection_t, Linux::Disconnect> connection(xcb_connect(nullptr, nullptr));
        const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data->root;
        const xcb_atom_t shadow = screen.atom(toolkitFrame);
        xcb_change_property(connection.get(), XCB_PROP_MODE_APPEND, root, screen.atom("_NET_SUPPORTED"),
                            XCB_ATOM_ATOM, 32, 1, &shadow);
        xcb_flush(connection.get());
        ASSERT_TRUE(until([&] { return isKnown(toolkitFrame); }));
    }

    Sides sides(xcb_window_t window, const char* property) const {
        const auto numbers = screen.property(window, property);
        if (numbers.size() != 4) {
            return {};
        }
        const auto number = [&](std::size_t index) { return static_cast<int>(numbers[index]); };
        return {number(0), number(1), number(2), number(3)};
    }

    /// What the window manager draws around a window. One that does not say it is looked at.
    Sides frameSides(xcb_window_t window) const {
        if (!screen.property(window, "_NET_FRAME_EXTENTS").empty()) {
            return sides(window, "_NET_FRAME_EXTENTS");
        }
        const QRect inner = screen.frame(window).value_or(QRect());
        const QRect outer = screen.outerFrame(window).value_or(QRect());
        return {inner.left() - outer.left(), outer.right() - inner.right(), inner.top() - outer.top(),
                outer.bottom() - inner.bottom()};
    }

    /// What a user sees of a window: with the frame, without the shadow.
    QRect seen(xcb_window_t window) const {
        const QRect client = screen.frame(window).value_or(QRect());
        const Sides frame = frameSides(window);
        const Sides shadow = sides(window, toolkitFrame);
        return client.adjusted(shadow.left - frame.left, shadow.top - frame.top, frame.right - shadow.right,
                               frame.bottom - shadow.bottom);
    }

    static inline std::vector<std::pair<std::string, Row>> table;
    static constexpr Seconds reach{5.0};

    Screen screen;
    QtPlatform::QtMainLoop loop;
    QtPlatform::QtClock clock;
    Linux::EwmhDesktop desktop{loop};
    Linux::X11Accessibility accessibility{loop, desktop};
    Linux::X11Screens screens{desktop};
    Linux::X11Shortcuts shortcuts;
    Linux::X11Workspace workspace{loop, desktop};
    Pintho::PinthoSpice pintho{loop, clock, workspace, screens, accessibility, shortcuts};
};

} // namespace

TEST_F(Placing, ATerminalTakesTheLargestOfItsSizesThatFits) {
    fillSeats({.name = "xterm",
               .command = {"xterm", "-fn", "fixed", "-xrm", "XTerm*allowSendEvents: true"},
               .size = Size::stepped});
}

TEST_F(Placing, ATerminalWithLargeLettersTakesTheLargestOfItsSizesThatFits) {
    fillSeats({.name = "xterm, large letters and margins",
               .command = {"xterm", "-fa", "Inter", "-fs", "17", "-b", "9", "-geometry", "30x8"},
               .size = Size::stepped});
}

TEST_F(Placing, AWindowFillsItsSeats) {
    fillSeats({.name = "Qt", .command = {QT_WINDOW_PROGRAM, "plain"}});
}

TEST_F(Placing, P13_AWindowOfAProgramThatScalesItselfFillsItsSeats) {
    // The toolkit says that its windows have steps, of a pixel and a quarter say, in whole pixels. Without a
    // frame around them the seats here are full steps.
    for (const std::string factor : {"1.25", "1.5", "2"}) {
        SCOPED_TRACE(factor);
        const std::string name = "Qt, scaled " + factor;
        fillSeats({.name = name,
                   .command = {QT_WINDOW_PROGRAM, "plain"},
                   .size = Size::stepped,
                   .environment = {{"QT_SCALE_FACTOR", factor}}});
        fillSeats({.name = name + ", without a frame",
                   .command = {QT_WINDOW_PROGRAM, "bare"},
                   .environment = {{"QT_SCALE_FACTOR", factor}}});
    }
}

TEST_F(Placing, AWindowWithALeastSizeHasItsCornerOnTheSeat) {
    fillSeats(
        {.name = "Qt with a least size", .command = {QT_WINDOW_PROGRAM, "least"}, .size = Size::limited});
}

TEST_F(Placing, ADialogOfFixedSizeHasItsCornerOnTheSeat) {
    fillSeats(
        {.name = "Qt dialog of fixed size", .command = {QT_WINDOW_PROGRAM, "fixed"}, .size = Size::limited});
}

TEST_F(Placing, AMaximisedWindowFillsItsSeats) {
    fillSeats({.name = "Qt, maximised", .command = {QT_WINDOW_PROGRAM, "maximised"}, .state = maximised});
}

TEST_F(Placing, AFullScreenWindowFillsItsSeats) {
    fillSeats({.name = "Qt, full screen", .command = {QT_WINDOW_PROGRAM, "fullscreen"}, .state = fullscreen});
}

#ifdef GTK_WINDOW_PROGRAM

TEST_F(Placing, TheShadowThatAProgramDrawsLiesOutsideOfTheSeat) {
    fillSeats({.name = "GTK with a shadow", .command = {GTK_WINDOW_PROGRAM}, .hasShadow = true});
}

TEST_F(Placing, AMaximisedWindowThatHasAShadowOtherwiseFillsItsSeats) {
    fillSeats({.name = "GTK with a shadow, maximised",
               .command = {GTK_WINDOW_PROGRAM, "maximised"},
               .state = maximised,
               .hasShadow = true});
}

#endif
