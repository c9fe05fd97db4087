#pragma once

#include "Platforms/Linux/Windows/ApplicationIdentity.hpp"
#include "Platforms/Linux/Windows/DesktopConnection.hpp"

#include <xcb/res.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <vector>

namespace Linux {

/// A window that the window manager looks after.
struct ClientWindow {
    enum class Kind {
        ordinary, // its user switches to it
        dialog,   // belongs to another one, or is not listed on its own
        other     // a part of the desktop, or here for a moment
    };

    xcb_window_t id = XCB_NONE;
    std::uint64_t reading = 0; // another number once its clues have been read again
    std::int64_t pid = 0;      // of its process on this machine; 0 where unknown
    WindowClues clues{};
    Kind kind = Kind::ordinary;
    xcb_window_t main = XCB_NONE; // the window it belongs to; itself where that is none other
    bool isShown = true;          // on its own desktop, which may be another than the current one
    bool isIconic = false;        // put away by its user, or by us
};

/// The windows that the window manager tells of, over an X connection of its own. A look takes one batch of
/// requests for windows seen before and for all else, and another one where windows are new. Waits for the X
/// server and for nobody else. One thread at a time.
class ClientWindows {
public:
    /// `display`: null for the environment's.
    explicit ClientWindows(const char* display)
        : display_(display) {}

    enum class Desktop { unreachable, unmanaged, managed };

    /// Whether a window manager runs.
    Desktop lookForManager();

    /// Reads them all again; there are none without a window manager.
    void look();

    /// In the order in which they came.
    const std::vector<ClientWindow>& windows() const { return windows_; }

    /// The one with the keyboard, whoever it belongs to; XCB_NONE where it is none of them.
    xcb_window_t active() const { return active_; }

    /// The part of a window's number that all windows of a program have in common.
    xcb_window_t clientOf(xcb_window_t window) const;

    /// Asks the window manager to put these away, in this order.
    void iconify(const std::vector<xcb_window_t>& windows) const;

    /// Goes up by one a call, and by one for every request made in between; 0 before the first.
    unsigned int requestsForTesting() const;

private:
    struct Known { // of a window, from one look to the next
        ClientWindow window{};
        bool isTypeOther = false;
        bool isTypeDialog = false;
        xcb_window_t leader = XCB_NONE;
        xcb_window_t transientFor = XCB_NONE;
        std::int64_t serverPid = 0;
        bool isTaskless = false; // not for the user to switch to
    };
    struct Changing { // questions asked in every look
        xcb_get_property_cookie_t managed, states;
        std::optional<xcb_get_property_cookie_t> windowClass; // now and then, and until it has one
    };
    struct Lasting { // and those of a window that is new
        xcb_get_property_cookie_t type, transientFor, gtkApplication, leader, machine, pid;
    };
    using Processes = std::map<xcb_window_t, std::int64_t>; // by the common part of a program's windows

    bool connect();
    bool isConfirmed(xcb_get_property_cookie_t question) const;
    std::optional<xcb_res_query_client_ids_cookie_t>
    askProcesses(const std::vector<xcb_window_t>& windows) const;
    Processes takeProcesses(const std::optional<xcb_res_query_client_ids_cookie_t>& question) const;
    Changing askChanging(xcb_window_t window, bool wantsClass) const;
    Lasting askLasting(xcb_window_t window) const;

    /// False where it is another window by now, or another program's.
    bool takeChanging(const Changing& questions, const Processes& processes, Known& known) const;
    void takeLasting(const Lasting& questions, Known& known);
    void readNew(const std::vector<xcb_window_t>& windows);
    void settle(const std::vector<xcb_window_t>& order);
    xcb_window_t parentOf(const Known& known) const;
    void forget();

    const char* display_;
    std::unique_ptr<DesktopConnection> connection_;
    xcb_window_t manager_ = XCB_NONE; // the window that says that it runs
    bool isTellingHidden_ = false;    // it marks the windows that are put away
    std::map<xcb_window_t, Known> known_;
    std::vector<ClientWindow> windows_;
    xcb_window_t active_ = XCB_NONE;
    std::uint64_t readings_ = 0;
    unsigned looks_ = 0;
};

} // namespace Linux
