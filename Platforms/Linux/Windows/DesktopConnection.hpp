#pragma once

#include "Platforms/Linux/XReply.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Linux {

/// The names that a desktop is described with.
enum class DesktopName : std::size_t {
    activeWindow,
    changeState,
    clientLeader,
    clientList,
    currentDesktop,
    frameExtents,
    fullscreen,
    gtkApplication,
    gtkFrameExtents,
    gtkWorkAreas,
    managedState,
    maximisedHorizontally,
    maximisedVertically,
    moveResizeWindow,
    stateHidden,
    stateSkipsTaskbar,
    strut,
    strutPartial,
    supported,
    supportingCheck,
    utf8String,
    windowDesktop,
    windowName,
    windowPid,
    windowState,
    windowType,
    windowTypeCombo,
    windowTypeDesktop,
    windowTypeDialog,
    windowTypeDock,
    windowTypeDragged,
    windowTypeDropdown,
    windowTypeMenu,
    windowTypeNormal,
    windowTypeNotification,
    windowTypePopup,
    windowTypeSplash,
    windowTypeToolbar,
    windowTypeTooltip,
    windowTypeUtility,
    workArea,
    count
};

/// Why news of a window is wanted.
enum class Interest : std::uint8_t { manager = 1, active = 2, panel = 4, placement = 8 };

/// A connection of our own to the X server, to look at the windows of others. What is asked is on its way at
/// once and answered when the answer is taken, so that any number of questions takes one round trip. A window
/// may be gone at any time: then the answer is empty. One thread at a time.
class DesktopConnection {
public:
    /// Whether the server sends news of the desktop and of its monitors, which somebody has to take then.
    enum class News { sent, none };

    /// Null where the server cannot be reached.
    static std::unique_ptr<DesktopConnection> open(const char* display, News news = News::sent);

    DesktopConnection(const DesktopConnection&) = delete;
    DesktopConnection& operator=(const DesktopConnection&) = delete;
    ~DesktopConnection() = default;

    xcb_connection_t* get() const { return connection_.get(); }
    xcb_window_t root() const { return root_; }
    bool isLost() const { return xcb_connection_has_error(get()) != 0; }

    xcb_atom_t atom(DesktopName name) const { return atoms_[static_cast<std::size_t>(name)]; }

    /// The property with a desktop's own work areas; XCB_ATOM_NONE for one beyond the tenth.
    xcb_atom_t workAreasOf(std::uint32_t desktop) const;

    bool hasMonitors() const { return monitorEvents_.has_value(); } // RandR 1.5
    bool hasProcesses() const { return hasProcesses_; }             // X-Resource 1.2
    bool isMonitorEvent(std::uint8_t type) const;

    // Questions, and their answers. A property that is not there, or not of the kind asked for, is empty.
    static constexpr std::uint32_t mostNumbers = 1024;
    static constexpr std::uint32_t mostBytes = 4096;
    xcb_get_property_cookie_t ask(xcb_window_t window, xcb_atom_t property,
                                  std::uint32_t words = mostNumbers) const;
    xcb_get_property_cookie_t ask(xcb_window_t window, DesktopName property,
                                  std::uint32_t words = mostNumbers) const {
        return ask(window, atom(property), words);
    }
    std::vector<std::uint32_t> numbers(xcb_get_property_cookie_t question) const;
    struct Text {
        xcb_atom_t type = XCB_ATOM_NONE;
        std::string bytes; // the first `mostBytes`
    };
    Text text(xcb_get_property_cookie_t question) const;

    struct PlaceQuestion {
        xcb_get_geometry_cookie_t size;
        xcb_translate_coordinates_cookie_t corner;
        xcb_query_tree_cookie_t tree;
    };
    PlaceQuestion askPlace(xcb_window_t window) const;
    struct Place {
        std::int16_t x = 0; // in the root window, without the border
        std::int16_t y = 0;
        std::uint16_t width = 0;
        std::uint16_t height = 0;
        std::uint16_t border = 0;       // width of the server's border around it
        xcb_window_t parent = XCB_NONE; // the root window where it is in no other
    };
    std::optional<Place> place(const PlaceQuestion& question) const; // none: it is gone

    /// Asks the window manager, as a task bar would.
    void send(xcb_window_t window, DesktopName message, const std::array<std::uint32_t, 5>& data) const;

    /// News of a window's properties, place, size and end, until nobody is interested any more.
    void watch(xcb_window_t window, Interest interest);
    void unwatch(xcb_window_t window, Interest interest);
    void unwatchAll(Interest interest);
    void forget(xcb_window_t window) { watched_.erase(window); } // it is gone
    bool isWatched(xcb_window_t window, Interest interest) const;

    void flush() const { xcb_flush(get()); }

private:
    using Connection = std::unique_ptr<xcb_connection_t, Disconnect>;

    DesktopConnection(Connection connection, xcb_window_t root)
        : connection_(std::move(connection))
        , root_(root) {}

    void readNames();
    void readExtensions(News news);
    void select(xcb_window_t window, std::uint32_t events) const;

    static constexpr std::size_t knownDesktops = 10;

    Connection connection_;
    xcb_window_t root_ = XCB_NONE;
    std::array<xcb_atom_t, static_cast<std::size_t>(DesktopName::count)> atoms_{};
    std::array<xcb_atom_t, knownDesktops> workAreas_{};
    std::optional<std::uint8_t> monitorEvents_; // the first of RandR's types
    bool hasProcesses_ = false;
    std::map<xcb_window_t, std::uint8_t> watched_; // Interest, as bits
};

} // namespace Linux
