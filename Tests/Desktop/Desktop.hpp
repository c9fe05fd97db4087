#pragma once

#include "Tests/TemporaryFolder.hpp"

#include <QColor>
#include <QImage>
#include <QRect>
#include <QSocketNotifier>
#include <QString>
#include <nlohmann/json.hpp>
#include <sys/resource.h>
#include <sys/types.h>
#include <xcb/xcb.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// What a desktop test needs to start programs and to see and touch a real X server as a user does.
namespace Desktop {

using Seconds = std::chrono::duration<double>;

/// Generous: a machine busy with other things gets there too, and nobody waits longer than it takes.
inline constexpr Seconds patience{20.0};

/// Asks again and again, a few milliseconds apart, until the condition holds or the time is over; the loop of
/// Qt runs in between. The one way to wait.
[[nodiscard]] bool until(const std::function<bool()>& condition, Seconds deadline = patience);

/// Whether the condition holds without a break for so long.
[[nodiscard]] bool holds(const std::function<bool()>& condition, Seconds duration);

/// A configuration folder of the test's own, and Zorbel's settings in it.
class Settings {
public:
    std::filesystem::path folder() const { return folder_.path(); } // what XDG_CONFIG_HOME is set to
    std::filesystem::path file() const { return folder() / "zorbel" / "settings.json"; }

    /// The shelf lies where other tests look and click: it is off where these values do not say otherwise.
    void write(nlohmann::json values) const;
    void writeText(const std::string& text) const;

    /// An empty object where there is no file, or not a whole one.
    nlohmann::json read() const;

private:
    TemporaryFolder folder_;
};

/// A child process. What it writes on standard output and standard error is kept; it does not outlive this
/// object.
class Program {
public:
    /// Changes to the environment; none unsets a variable.
    using Environment = std::map<std::string, std::optional<std::string>>;

    explicit Program(const std::vector<std::string>& command, const Environment& changes = {},
                     std::optional<rlim_t> largestFile = std::nullopt);
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;
    ~Program(); // kills

    pid_t pid() const { return pid_; }
    bool isRunning();
    void send(int signal) const;

    /// The exit status, 128 + the signal's number where one ended it, none where it still runs.
    std::optional<int> waitForEnd(Seconds deadline = patience);

    const std::string& output();

private:
    void drain();

    pid_t pid_ = -1;
    int pipe_ = -1;
    std::optional<int> status_;
    std::string output_;
    std::unique_ptr<QSocketNotifier> notifier_; // a program that writes much must not wait for a reader
};

/// For programs beside Zorbel: nobody reads them, and libatspi stands still for ever when news of another
/// program reaches it in the middle of a question.
Program::Environment unread();

/// A top-level window as the X server knows it, in coordinates of the root window, y downwards.
struct Window {
    xcb_window_t id = XCB_NONE;
    QString title;
    QString instance; // first and second half of WM_CLASS
    QString className;
    QRect frame;           // of the client, without a window manager's border
    bool isManaged = true; // false: the window manager keeps its hands off (menus, popovers)
};

/// A sight of the screen and a hand on mouse and keyboard, over a connection of its own.
class Screen {
public:
    /// The display of the environment, or the one named. Throws where there is none.
    explicit Screen(const char* display = nullptr);
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;
    ~Screen();

    QSize size() const;

    void movePointer(QPoint place) const;
    void click(QPoint place, int button = XCB_BUTTON_INDEX_1) const;
    void press(xcb_keysym_t key) const;

    void setButtonDown(bool isDown, int button = XCB_BUTTON_INDEX_1) const;
    void setKeyDown(xcb_keysym_t key, bool isDown) const;

    /// The key of the keyboard that gives it; none where no key does.
    std::optional<std::uint8_t> keycode(xcb_keysym_t key) const;

    /// With the left button from one place to another in small steps, this key held; XCB_NO_SYMBOL: none.
    void drag(QPoint from, QPoint to, xcb_keysym_t held) const;

    QImage picture() const;
    QImage picture(const QRect& part) const;

    /// All named top-level windows that can be seen, from bottom to top.
    std::vector<Window> windows() const;

    /// Cardinals, atoms or windows of a property; empty where it is not set.
    std::vector<std::uint32_t> property(xcb_window_t window, const char* name,
                                        std::size_t longest = 64) const;
    std::vector<std::uint32_t> rootProperty(const char* name, std::size_t longest = 64) const;
    std::string text(xcb_window_t window, const char* name) const;
    xcb_atom_t atom(const char* name) const;

    /// XCB_NONE where nobody has the selection.
    xcb_window_t selectionOwner(const char* name) const;

    /// Asks the window manager, as a task bar would. The place is that of the frame's corner, the size the
    /// client's.
    void moveAndResize(xcb_window_t window, const QRect& wanted) const;
    void maximise(xcb_window_t window) const;
    void makeFullscreen(xcb_window_t window) const;
    void activate(xcb_window_t window) const;

    /// An ordinary empty window of ours, shown; gone with the connection.
    xcb_window_t openWindow(const QRect& frame, const char* title) const;
    void closeWindow(xcb_window_t window) const;

    /// Where a window lies now; none where it is gone or hidden.
    std::optional<QRect> frame(xcb_window_t window) const;

    /// The same of the window manager's frame around it, and of the window itself where it has none.
    std::optional<QRect> outerFrame(xcb_window_t window) const;

    /// Whether no window manager holds this window in a frame, as before it was shown and after it was
    /// hidden.
    bool isUnframed(xcb_window_t window) const;

private:
    struct Disconnect {
        void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    };

    void fake(std::uint8_t type, std::uint8_t detail, QPoint place = {}) const;
    void settle() const; // until the server has done all that was asked
    void collect(xcb_window_t window, int depth, std::vector<Window>& found) const;
    void ask(xcb_window_t window, const char* message, const std::array<std::uint32_t, 5>& data) const;

    std::unique_ptr<xcb_connection_t, Disconnect> connection_;
    xcb_screen_t* screen_ = nullptr;
};

/// Zorbel's own windows among all on the screen.
std::optional<Window> findBar(const Screen& screen);
std::optional<Window> findPanel(const Screen& screen);
std::optional<Window> findDashboard(const Screen& screen);
std::optional<Window> findWelcome(const Screen& screen);

/// The glass on Zorbel's own bar: the rightmost square item. Empty where there is no bar.
QRect glassOn(const std::optional<Window>& bar);

/// The smallest rectangle that holds every pixel near this colour; empty where there is none.
QRect boundsOf(const QImage& picture, QColor colour, int tolerance = 12);

} // namespace Desktop
