#include "Platforms/Linux/X11Workspace.hpp"

#include "Platforms/Linux/XConnection.hpp"
#include "ZorbelKit/Utf8.hpp"

#include <QLocale>
#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>
#include <string>

namespace Linux {

namespace {

using Property = std::unique_ptr<xcb_get_property_reply_t, decltype(&std::free)>;

Property property(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t name, xcb_atom_t type,
                  std::uint32_t words) {
    const auto cookie = xcb_get_property(connection, 0, window, name, type, 0, words);
    return {xcb_get_property_reply(connection, cookie, nullptr), &std::free};
}

std::optional<xcb_window_t> activeWindow(xcb_connection_t* connection) {
    static const xcb_atom_t name = xAtom(connection, "_NET_ACTIVE_WINDOW");
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    const auto reply = property(connection, root, name, XCB_ATOM_WINDOW, 1);
    if (!reply || reply->format != 32 || reply->value_len != 1) {
        return std::nullopt;
    }
    const auto window = *static_cast<const xcb_window_t*>(xcb_get_property_value(reply.get()));
    return window == XCB_WINDOW_NONE ? std::nullopt : std::optional(window);
}

/// The two halves of WM_CLASS: the window's own name, and that of its program.
std::pair<std::string, std::string> classOf(xcb_connection_t* connection, xcb_window_t window) {
    const auto reply = property(connection, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 64);
    if (!reply || reply->format != 8) {
        return {};
    }
    const std::string both(static_cast<const char*>(xcb_get_property_value(reply.get())), reply->value_len);
    const auto end = both.find('\0');
    if (end == std::string::npos) {
        return {both, ""};
    }
    const std::string second = both.substr(end + 1);
    return {both.substr(0, end), second.substr(0, second.find('\0'))};
}

} // namespace

X11Workspace::X11Workspace()
    : entries_(DesktopEntries::standardFolders(), QLocale().name().toStdString()) {
}

std::optional<ZorbelKit::RunningApplication> X11Workspace::frontmostApplication() const {
    xcb_connection_t* connection = xConnection();
    const auto window = connection ? activeWindow(connection) : std::nullopt;
    if (!window) {
        return std::nullopt;
    }
    const auto [instance, program] = classOf(connection, *window);
    ZorbelKit::RunningApplication application;
    for (const std::string& name : {program, instance}) {
        if (!application.localizedName && !name.empty()) {
            application.localizedName = entries_.nameOfClass(name);
        }
    }
    if (!application.localizedName && !program.empty()) {
        application.localizedName = ZorbelKit::utf8::repaired(program); // better than none
    }
    return application;
}

} // namespace Linux
