#include "Platforms/Linux/XConnection.hpp"

#include "Platforms/Linux/XReply.hpp"

#include <QGuiApplication>
#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>
#include <memory>

namespace Linux {

namespace {} // namespace

xcb_connection_t* xConnection() {
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

unsigned int xAtom(xcb_connection_t* connection, const char* name) {
    const auto cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(std::strlen(name)), name);
    const auto reply = owned(xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply ? reply->atom : 0;
}

bool isComposited() {
    xcb_connection_t* connection = xConnection();
    if (!connection) {
        return true; // Wayland always is
    }
    const auto cookie = xcb_get_selection_owner(connection, xAtom(connection, "_NET_WM_CM_S0"));
    const auto reply = owned(xcb_get_selection_owner_reply(connection, cookie, nullptr));
    return reply && reply->owner != XCB_WINDOW_NONE;
}

} // namespace Linux
