#pragma once

#include "Platforms/Linux/Windows/ApplicationIdentity.hpp"
#include "Platforms/Linux/Windows/DesktopConnection.hpp"
#include "Platforms/Linux/Windows/Monitors.hpp"
#include "Platforms/Linux/Windows/WindowShape.hpp"

#include <xcb/randr.h>
#include <xcb/res.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Linux {

/// What a desktop is like: the window manager, the window with the keyboard, the monitors. Each part is read
/// in two rounds, as the second one's questions follow from the first one's answers; any number of parts that
/// go through them together take two round trips in all:
///
///     manager.askFirst(); monitors.askFirst(); manager.askSecond(); monitors.askSecond();
///     manager.take(); monitors.take();

/// The frame around a window as the window manager tells it (_NET_FRAME_EXTENTS), or else as it is found
/// there, which takes a round trip for every window around this one.
void readFrame(const DesktopConnection& connection, const DesktopConnection::Place& place,
               const std::vector<std::uint32_t>& told, WindowShape& shape);

/// Whether a window manager runs that places windows when asked.
class ManagerReader {
public:
    explicit ManagerReader(DesktopConnection& connection)
        : connection_(connection) {}

    void askFirst();
    void askSecond();
    void take();

    bool isManaged() const { return isManaged_; }
    bool isMaximising() const { return isMaximising_; } // tiling ones do not
    bool hasWorkAreas() const {
        return hasWorkAreas_;
    } // one for every monitor; known before the others are asked

private:
    DesktopConnection& connection_;
    xcb_get_property_cookie_t supported_{};
    xcb_get_property_cookie_t check_{};
    xcb_window_t checkWindow_ = XCB_NONE;
    bool isSufficient_ = false; // what it says it supports
    bool isManaged_ = false;
    bool isMaximising_ = false;
    bool hasWorkAreas_ = false;
};

/// The window with the keyboard, unless it is a part of the desktop itself.
class ActiveWindowReader {
public:
    struct Active {
        xcb_window_t id = XCB_NONE;
        std::int64_t pid = 0;
        bool isRemote = false; // its program runs on another machine, whatever number it has there
        std::string gtkApplication;
        WindowClass windowClass;
        std::string title;
        PixelRect visible;
    };

    explicit ActiveWindowReader(DesktopConnection& connection)
        : connection_(connection) {}

    void askFirst();
    void askSecond();
    void take();

    const std::optional<Active>& active() const { return active_; }

private:
    bool isPartOfDesktop(const std::vector<std::uint32_t>& types) const;
    std::int64_t processOf() const;
    std::string titleOf() const;

    struct Questions {
        xcb_get_property_cookie_t type, pid, machine, gtkApplication, windowClass, name, legacyName, frame,
            shadow;
        DesktopConnection::PlaceQuestion place;
        xcb_get_window_attributes_cookie_t attributes;
        std::optional<xcb_res_query_client_ids_cookie_t> process;
    };

    DesktopConnection& connection_;
    xcb_get_property_cookie_t activeWindow_{};
    xcb_window_t window_ = XCB_NONE;
    Questions questions_{};
    std::optional<Active> active_;
};

/// The monitors, less what panels keep clear.
class MonitorsReader {
public:
    explicit MonitorsReader(DesktopConnection& connection)
        : connection_(connection) {}

    void askFirst();
    void askSecond(bool hasWorkAreas);

    /// True where a panel is watched from now on, which may have changed since it was asked.
    [[nodiscard]] bool take();

    /// The primary one first; one of the whole X screen where the server knows of none.
    const std::vector<Monitor>& monitors() const { return monitors_; }

    std::uint32_t desktop() const { return desktop_; } // the current one

private:
    struct Panel { // a window that may be one
        xcb_window_t window = XCB_NONE;
        xcb_get_property_cookie_t partial, whole, desktop, type;
        xcb_get_window_attributes_cookie_t attributes;
    };

    void readMonitors();
    void askNames();
    std::vector<Strut> takeStruts(bool& isNew);

    DesktopConnection& connection_;
    std::optional<xcb_randr_get_monitors_cookie_t> list_;
    xcb_get_geometry_cookie_t screenSize_{};
    xcb_get_property_cookie_t clients_{};
    xcb_get_property_cookie_t current_{};
    PixelRect screen_;
    std::uint32_t desktop_ = 0;
    std::vector<Panel> panels_;
    std::map<xcb_atom_t, xcb_get_atom_name_cookie_t> nameQuestions_;
    std::optional<xcb_get_property_cookie_t> workAreas_;
    std::map<xcb_atom_t, std::string> names_;
    std::vector<Monitor> monitors_;
};

} // namespace Linux
