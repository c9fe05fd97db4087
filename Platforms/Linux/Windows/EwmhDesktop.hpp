#pragma once

#include "Pintho/Accessibility.hpp"
#include "Platforms/Linux/Windows/ApplicationIdentity.hpp"
#include "ZorbelKit/Host/MainLoop.hpp"
#include "ZorbelKit/Host/Screens.hpp"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Linux {

/// The windows and monitors of an X desktop as its window manager describes them (EWMH), over an X connection
/// of its own. What was read is kept until the server tells of a change: asking again costs nothing then, and
/// otherwise one batch of requests, of two round trips. Waits for the X server and for nobody else. One point
/// is a pixel of the X screen. Main thread only.
class EwmhDesktop {
public:
    /// The window that has the keyboard, as far as it can be placed: an ordinary one of another program or of
    /// ours.
    struct ActiveWindow {
        std::uint32_t id = 0;
        std::int64_t pid = 0;       // of its process where that is known, else 0
        bool isRemote = false;      // that runs on another machine, whatever number it has there
        std::string gtkApplication; // _GTK_APPLICATION_ID
        WindowClass windowClass;
        std::string title;          // UTF-8; empty where it has none
        Pintho::WindowRect visible; // without shadows, with the frame
        bool operator==(const ActiveWindow&) const = default;
    };

    /// `display`: the X display, null for the environment's.
    explicit EwmhDesktop(ZorbelKit::MainLoop& loop, const char* display = nullptr);
    EwmhDesktop(const EwmhDesktop&) = delete;
    EwmhDesktop& operator=(const EwmhDesktop&) = delete;
    ~EwmhDesktop();

    /// Whether a window manager runs that places windows when asked.
    bool isManaged() const;

    std::optional<ActiveWindow> activeWindow() const;

    /// What is seen of any window now; none where it is gone. Asks the server.
    std::optional<Pintho::WindowRect> visible(std::uint32_t window) const;

    /// Puts the visible frame of a window there; what it cannot take (a fixed size, an increment) is its
    /// right. Maximised, tiled and full-screen state goes first. What happens later is seen to later, and of
    /// several wishes for a window the last one counts.
    void place(std::uint32_t window, const Pintho::WindowRect& visible);

    /// What will be seen of a window that has been placed and has not moved yet; none of any other.
    std::optional<Pintho::WindowRect> expected(std::uint32_t window) const;

    /// In screen coordinates (y upwards from the lower edge of the primary monitor); the primary one first.
    std::vector<ZorbelKit::Screen> screens() const;
    ZorbelKit::Token onScreensChange(std::function<void()> changed);

    /// Goes up by one a call, and by one for every request made in between.
    unsigned int requestsForTesting() const;

private:
    class Desktop;
    std::unique_ptr<Desktop> desktop_;
};

} // namespace Linux
