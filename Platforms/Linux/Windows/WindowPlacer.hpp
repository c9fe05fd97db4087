#pragma once

#include "Platforms/Linux/Windows/DesktopConnection.hpp"
#include "Platforms/Linux/Windows/WindowShape.hpp"
#include "ZorbelKit/Host/MainLoop.hpp"
#include "ZorbelKit/Time.hpp"

#include <map>
#include <optional>

namespace Linux {

/// Moves windows of others to where they are wanted, as window manager and program get to it:
///
/// 1. maximised and full-screen state goes, for which it waits a quarter of a second at most;
/// 2. the window manager is asked to move and resize;
/// 3. once the window has come to rest it is looked at, and asked for again if it is off, once. A program may
///    change its shadow after the move: that counts as being off.
///
/// Of several wishes for a window the last one counts. Nothing here waits for another program.
class WindowPlacer {
public:
    static constexpr ZorbelKit::Seconds longestClearing{0.25};
    static constexpr ZorbelKit::Seconds rest{0.06};     // without news, after a move
    static constexpr ZorbelKit::Seconds longRest{0.25}; // of a window that is still on its way
    static constexpr ZorbelKit::Seconds longestCare{1.0};

    WindowPlacer(ZorbelKit::MainLoop& loop, DesktopConnection& connection);

    /// `visible`: what the user is to see of the window, in pixels of the X screen. A window manager that
    /// does not maximise windows leaves the state to the program that has set it, where it would be waited
    /// for in vain.
    void place(xcb_window_t window, const PixelRect& visible, bool isMaximising);

    /// What the user will see of a window that has been asked to move and has not moved yet; none where it is
    /// no longer on its way.
    std::optional<PixelRect> expected(xcb_window_t window) const;

    // News of a window that is watched for its placement.
    void propertyChanged(xcb_window_t window, xcb_atom_t property);
    void configured(xcb_window_t window);
    void gone(xcb_window_t window) { jobs_.erase(window); }

    /// None where the window is gone.
    std::optional<WindowShape> shape(xcb_window_t window) const;

private:
    enum class Step { clearing, moving, resting };

    struct State {
        bool isMaximised = false; // in either direction
        bool isFullscreen = false;
        bool operator==(const State&) const = default;
    };

    struct Job {
        PixelRect wanted;
        bool isMaximising = true; // the window manager knows of such a state
        Step step = Step::clearing;
        State state{};              // while it is cleared
        bool wasFullscreen = false; // at first
        PixelRect asked{};          // the last placement
        PixelRect expected{};       // what will be seen then
        bool wasConfigured = false; // since then
        ZorbelKit::Token timer{};   // of the next look
    };

    State state(xcb_window_t window, bool isMaximising) const;
    void clear(xcb_window_t window, const State& state) const;
    void beginClearing(xcb_window_t window, Job& job);
    void goOnClearing(xcb_window_t window, Job& job);
    void clearWhatCameBack(xcb_window_t window, Job& job);
    void move(xcb_window_t window);
    void ask(xcb_window_t window, const PixelRect& placement, const WindowShape& shape) const;
    void lookSoon(xcb_window_t window, ZorbelKit::Seconds delay, bool isLast);
    void look(xcb_window_t window, bool isLast);
    void finish(xcb_window_t window);
    Job* find(xcb_window_t window);

    ZorbelKit::MainLoop& loop_;
    DesktopConnection& connection_;
    std::map<xcb_window_t, Job> jobs_;
};

} // namespace Linux
