#include "Tests/Desktop/GuestClient.hpp"

#include <xcb/res.h>

#include <cstring>

namespace Desktop {

using Linux::owned;

GuestClient::GuestClient(const char* display)
    : connection_(xcb_connect(display, nullptr))
    , screen_(xcb_setup_roots_iterator(xcb_get_setup(connection_.get())).data) {
}

xcb_window_t GuestClient::open(const Manners& manners) const {
    const xcb_window_t window = xcb_generate_id(get());
    const QRect& frame = manners.frame;
    const std::uint32_t values[]{screen_->white_pixel, manners.isOverrideRedirect ? 1U : 0U};
    xcb_create_window(get(), XCB_COPY_FROM_PARENT, window, screen_->root,
                      static_cast<std::int16_t>(frame.x()), static_cast<std::int16_t>(frame.y()),
                      static_cast<std::uint16_t>(frame.width()), static_cast<std::uint16_t>(frame.height()),
                      0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen_->root_visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
    constexpr std::uint32_t userPosition = 1;
    auto hints = manners.hints;
    hints[0] |= userPosition;
    setNumbers(window, XCB_ATOM_WM_NORMAL_HINTS, XCB_ATOM_WM_SIZE_HINTS, {hints.begin(), hints.end()});
    setNumbers(window, atom("_NET_WM_WINDOW_TYPE"), XCB_ATOM_ATOM, {atom(manners.type)});
    if (!manners.shadow.empty()) {
        setNumbers(window, atom("_GTK_FRAME_EXTENTS"), XCB_ATOM_CARDINAL, manners.shadow);
    }
    if (manners.isUndecorated || !manners.shadow.empty()) {
        constexpr std::uint32_t saysDecorations = 2;
        setNumbers(window, atom("_MOTIF_WM_HINTS"), atom("_MOTIF_WM_HINTS"), {saysDecorations, 0, 0, 0, 0});
    }
    setText(window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, std::string("guest\0Guest", 12));
    setText(window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, "A guest");
    if (manners.isShown) {
        xcb_map_window(get(), window);
    }
    settle();
    return window;
}

void GuestClient::close(xcb_window_t window) const {
    xcb_destroy_window(get(), window);
    settle();
}

void GuestClient::setShown(xcb_window_t window, bool isShown) const {
    isShown ? xcb_map_window(get(), window) : xcb_unmap_window(get(), window);
    settle();
}

void GuestClient::move(xcb_window_t window, const QRect& frame) const {
    const std::uint32_t values[]{static_cast<std::uint32_t>(frame.x()), static_cast<std::uint32_t>(frame.y()),
                                 static_cast<std::uint32_t>(frame.width()),
                                 static_cast<std::uint32_t>(frame.height())};
    xcb_configure_window(get(), window,
                         XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                             XCB_CONFIG_WINDOW_HEIGHT,
                         values);
    settle();
}

void GuestClient::setNumbers(xcb_window_t window, xcb_atom_t property, xcb_atom_t type,
                             const std::vector<std::uint32_t>& values) const {
    xcb_change_property(get(), XCB_PROP_MODE_REPLACE, window, property, type, 32,
                        static_cast<std::uint32_t>(values.size()), values.data());
    settle();
}

void GuestClient::setCardinals(xcb_window_t window, const char* property,
                               const std::vector<std::uint32_t>& values) const {
    setNumbers(window, atom(property), XCB_ATOM_CARDINAL, values);
}

void GuestClient::setText(xcb_window_t window, xcb_atom_t property, xcb_atom_t type,
                          const std::string& text) const {
    xcb_change_property(get(), XCB_PROP_MODE_REPLACE, window, property, type, 8,
                        static_cast<std::uint32_t>(text.size()), text.data());
    settle();
}

void GuestClient::askForState(xcb_window_t window, const char* state) const {
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = atom("_NET_WM_STATE");
    event.data.data32[0] = 1; // add
    event.data.data32[1] = atom(state);
    event.data.data32[3] = 2; // for the user
    xcb_send_event(get(), 0, root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&event));
    settle();
}

pid_t GuestClient::processOf(xcb_window_t window) const {
    owned(xcb_res_query_version_reply(get(), xcb_res_query_version(get(), 1, 2), nullptr));
    const xcb_res_client_id_spec_t wanted{window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    const auto reply =
        owned(xcb_res_query_client_ids_reply(get(), xcb_res_query_client_ids(get(), 1, &wanted), nullptr));
    const auto ids = xcb_res_query_client_ids_ids_iterator(reply.get());
    return ids.rem > 0 ? static_cast<pid_t>(*xcb_res_client_id_value_value(ids.data)) : 0;
}

xcb_atom_t GuestClient::atom(const char* name) const {
    const auto question = xcb_intern_atom(get(), 0, static_cast<std::uint16_t>(std::strlen(name)), name);
    return owned(xcb_intern_atom_reply(get(), question, nullptr))->atom;
}

void GuestClient::settle() const {
    owned(xcb_get_input_focus_reply(get(), xcb_get_input_focus(get()), nullptr));
}

} // namespace Desktop
