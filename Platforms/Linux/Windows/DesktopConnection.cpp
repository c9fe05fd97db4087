#include "Platforms/Linux/Windows/DesktopConnection.hpp"

#include <xcb/randr.h>
#include <xcb/res.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace Linux {

namespace {

constexpr std::array<std::string_view, static_cast<std::size_t>(DesktopName::count)> desktopNames{
    "_NET_ACTIVE_WINDOW",
    "WM_CHANGE_STATE",
    "WM_CLIENT_LEADER",
    "_NET_CLIENT_LIST",
    "_NET_CURRENT_DESKTOP",
    "_NET_FRAME_EXTENTS",
    "_NET_WM_STATE_FULLSCREEN",
    "_GTK_APPLICATION_ID",
    "_GTK_FRAME_EXTENTS",
    "_GTK_WORKAREAS",
    "WM_STATE",
    "_NET_WM_STATE_MAXIMIZED_HORZ",
    "_NET_WM_STATE_MAXIMIZED_VERT",
    "_NET_MOVERESIZE_WINDOW",
    "_NET_WM_STATE_HIDDEN",
    "_NET_WM_STATE_SKIP_TASKBAR",
    "_NET_WM_STRUT",
    "_NET_WM_STRUT_PARTIAL",
    "_NET_SUPPORTED",
    "_NET_SUPPORTING_WM_CHECK",
    "UTF8_STRING",
    "_NET_WM_DESKTOP",
    "_NET_WM_NAME",
    "_NET_WM_PID",
    "_NET_WM_STATE",
    "_NET_WM_WINDOW_TYPE",
    "_NET_WM_WINDOW_TYPE_COMBO",
    "_NET_WM_WINDOW_TYPE_DESKTOP",
    "_NET_WM_WINDOW_TYPE_DIALOG",
    "_NET_WM_WINDOW_TYPE_DOCK",
    "_NET_WM_WINDOW_TYPE_DND",
    "_NET_WM_WINDOW_TYPE_DROPDOWN_MENU",
    "_NET_WM_WINDOW_TYPE_MENU",
    "_NET_WM_WINDOW_TYPE_NORMAL",
    "_NET_WM_WINDOW_TYPE_NOTIFICATION",
    "_NET_WM_WINDOW_TYPE_POPUP_MENU",
    "_NET_WM_WINDOW_TYPE_SPLASH",
    "_NET_WM_WINDOW_TYPE_TOOLBAR",
    "_NET_WM_WINDOW_TYPE_TOOLTIP",
    "_NET_WM_WINDOW_TYPE_UTILITY",
    "_NET_WORKAREA",
};

constexpr std::uint32_t newsMask = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;

bool isAtLeast(std::uint32_t major, std::uint32_t minor, std::uint32_t wantedMinor) {
    return major > 1 || (major == 1 && minor >= wantedMinor);
}

} // namespace

std::unique_ptr<DesktopConnection> DesktopConnection::open(const char* display, News news) {
    int screenNumber = 0;
    Connection connection(xcb_connect(display, &screenNumber));
    if (xcb_connection_has_error(connection.get())) {
        return nullptr;
    }
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection.get()));
    for (int index = 0; index < screenNumber && screens.rem > 1; ++index) {
        xcb_screen_next(&screens);
    }
    const xcb_window_t root = screens.data->root;
    std::unique_ptr<DesktopConnection> result(new DesktopConnection(std::move(connection), root));
    xcb_prefetch_extension_data(result->get(), &xcb_randr_id);
    xcb_prefetch_extension_data(result->get(), &xcb_res_id);
    if (news == News::sent) {
        result->select(root, newsMask);
    }
    result->readNames();
    result->readExtensions(news);
    return result->isLost() ? nullptr : std::move(result);
}

void DesktopConnection::readNames() {
    const auto askFor = [&](std::string_view name) {
        return xcb_intern_atom(get(), 0, static_cast<std::uint16_t>(name.size()), name.data());
    };
    std::vector<xcb_intern_atom_cookie_t> questions;
    questions.reserve(atoms_.size() + workAreas_.size());
    for (const std::string_view name : desktopNames) {
        questions.push_back(askFor(name));
    }
    for (std::size_t desktop = 0; desktop < knownDesktops; ++desktop) {
        questions.push_back(askFor("_GTK_WORKAREAS_D" + std::to_string(desktop)));
    }
    for (std::size_t index = 0; index < questions.size(); ++index) {
        const auto reply = owned(xcb_intern_atom_reply(get(), questions[index], nullptr));
        xcb_atom_t& atom = index < atoms_.size() ? atoms_[index] : workAreas_[index - atoms_.size()];
        atom = reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    }
}

void DesktopConnection::readExtensions(News news) {
    const auto* monitors = xcb_get_extension_data(get(), &xcb_randr_id);
    const auto* resources = xcb_get_extension_data(get(), &xcb_res_id);
    if (monitors && monitors->present) {
        const auto version =
            owned(xcb_randr_query_version_reply(get(), xcb_randr_query_version(get(), 1, 5), nullptr));
        if (version && isAtLeast(version->major_version, version->minor_version, 5)) {
            monitorEvents_ = monitors->first_event;
            if (news == News::sent) {
                xcb_randr_select_input(get(), root_,
                                       XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE |
                                           XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                                           XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
            }
        }
    }
    if (resources && resources->present) {
        const auto version =
            owned(xcb_res_query_version_reply(get(), xcb_res_query_version(get(), 1, 2), nullptr));
        hasProcesses_ = version && isAtLeast(version->server_major, version->server_minor, 2);
    }
}

xcb_atom_t DesktopConnection::workAreasOf(std::uint32_t desktop) const {
    return desktop < workAreas_.size() ? workAreas_[desktop] : xcb_atom_t{XCB_ATOM_NONE};
}

bool DesktopConnection::isMonitorEvent(std::uint8_t type) const {
    return monitorEvents_ && (type == *monitorEvents_ + XCB_RANDR_SCREEN_CHANGE_NOTIFY ||
                              type == *monitorEvents_ + XCB_RANDR_NOTIFY);
}

xcb_get_property_cookie_t DesktopConnection::ask(xcb_window_t window, xcb_atom_t property,
                                                 std::uint32_t words) const {
    return xcb_get_property(get(), 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, words);
}

std::vector<std::uint32_t> DesktopConnection::numbers(xcb_get_property_cookie_t question) const {
    const auto reply = owned(xcb_get_property_reply(get(), question, nullptr));
    if (!reply || reply->format != 32) {
        return {};
    }
    const auto* values = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
    return {values, values + reply->value_len};
}

DesktopConnection::Text DesktopConnection::text(xcb_get_property_cookie_t question) const {
    const auto reply = owned(xcb_get_property_reply(get(), question, nullptr));
    if (!reply || reply->format != 8) {
        return {};
    }
    return {reply->type, {static_cast<const char*>(xcb_get_property_value(reply.get())), reply->value_len}};
}

DesktopConnection::PlaceQuestion DesktopConnection::askPlace(xcb_window_t window) const {
    return {xcb_get_geometry(get(), window), xcb_translate_coordinates(get(), window, root_, 0, 0),
            xcb_query_tree(get(), window)};
}

std::optional<DesktopConnection::Place> DesktopConnection::place(const PlaceQuestion& question) const {
    const auto size = owned(xcb_get_geometry_reply(get(), question.size, nullptr));
    const auto corner = owned(xcb_translate_coordinates_reply(get(), question.corner, nullptr));
    const auto tree = owned(xcb_query_tree_reply(get(), question.tree, nullptr));
    if (!size || !corner || !tree) {
        return std::nullopt;
    }
    return Place{corner->dst_x, corner->dst_y, size->width, size->height, size->border_width, tree->parent};
}

void DesktopConnection::send(xcb_window_t window, DesktopName message,
                             const std::array<std::uint32_t, 5>& data) const {
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = atom(message);
    std::ranges::copy(data, event.data.data32);
    xcb_send_event(get(), 0, root_, XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&event));
}

void DesktopConnection::watch(xcb_window_t window, Interest interest) {
    std::uint8_t& interests = watched_[window];
    if (interests == 0) {
        select(window, newsMask);
    }
    interests = static_cast<std::uint8_t>(interests | static_cast<std::uint8_t>(interest));
}

void DesktopConnection::unwatch(xcb_window_t window, Interest interest) {
    const auto found = watched_.find(window);
    if (found == watched_.end()) {
        return;
    }
    found->second = static_cast<std::uint8_t>(found->second & ~static_cast<std::uint8_t>(interest));
    if (found->second == 0) {
        select(window, XCB_EVENT_MASK_NO_EVENT);
        watched_.erase(found);
    }
}

void DesktopConnection::unwatchAll(Interest interest) {
    for (auto entry = watched_.begin(); entry != watched_.end();) {
        const xcb_window_t window = (entry++)->first; // this one may go
        unwatch(window, interest);
    }
}

bool DesktopConnection::isWatched(xcb_window_t window, Interest interest) const {
    const auto found = watched_.find(window);
    return found != watched_.end() && (found->second & static_cast<std::uint8_t>(interest)) != 0;
}

void DesktopConnection::select(xcb_window_t window, std::uint32_t events) const {
    xcb_change_window_attributes(get(), window, XCB_CW_EVENT_MASK, &events);
}

} // namespace Linux
