#include "Benchmarks/WindowHand.hpp"

#include "Benchmarks/Measure.hpp"

#include <cstdint>
#include <string_view>
#include <vector>

namespace Bench {

using Linux::owned;

namespace {

constexpr Nanoseconds patience = 10'000'000'000;

// Of _NET_MOVERESIZE_WINDOW.
constexpr std::uint32_t northWest = 1; // x and y are the frame's corner
constexpr std::uint32_t allFour = 0xF00;
constexpr std::uint32_t fromPager = 2U << 12;

xcb_atom_t atom(const XClient& client, std::string_view name) {
    const auto reply = owned(xcb_intern_atom_reply(
        client.get(), xcb_intern_atom(client.get(), 0, static_cast<std::uint16_t>(name.size()), name.data()),
        nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

std::vector<std::uint32_t> numbers(const XClient& client, xcb_window_t window, xcb_atom_t property) {
    const auto reply = owned(xcb_get_property_reply(
        client.get(), xcb_get_property(client.get(), 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, 4),
        nullptr));
    if (!reply || reply->format != 32) {
        return {};
    }
    const auto* values = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
    return {values, values + reply->value_len};
}

} // namespace

std::string text(const PixelPlace& place) {
    return std::to_string(place.width) + 'x' + std::to_string(place.height) + '+' + std::to_string(place.x) +
           '+' + std::to_string(place.y);
}

XClient connectToDisplay() {
    XClient client(xcb_connect(nullptr, nullptr));
    if (xcb_connection_has_error(client.get())) {
        fail("there is no display");
    }
    return client;
}

xcb_window_t rootOf(const XClient& client) {
    return xcb_setup_roots_iterator(xcb_get_setup(client.get())).data->root;
}

PixelPlace placeOf(const XClient& client, xcb_window_t window) {
    const auto sizeQuestion = xcb_get_geometry(client.get(), window);
    const auto cornerQuestion = xcb_translate_coordinates(client.get(), window, rootOf(client), 0, 0);
    const auto size = owned(xcb_get_geometry_reply(client.get(), sizeQuestion, nullptr));
    const auto corner = owned(xcb_translate_coordinates_reply(client.get(), cornerQuestion, nullptr));
    if (!size || !corner) {
        fail("the window that is moved is gone");
    }
    return {corner->dst_x, corner->dst_y, size->width, size->height};
}

WindowHand::WindowHand(const std::string& windowClass)
    : activeWindow_(atom(client_, "_NET_ACTIVE_WINDOW"))
    , moveResizeWindow_(atom(client_, "_NET_MOVERESIZE_WINDOW"))
    , frameExtents_(atom(client_, "_NET_FRAME_EXTENTS"))
    , windowName_(atom(client_, "_NET_WM_NAME"))
    , utf8String_(atom(client_, "UTF8_STRING")) {
    const Nanoseconds deadline = now() + patience;
    while (window_ == XCB_NONE) {
        const auto active = numbers(client_, rootOf(client_), activeWindow_);
        if (!active.empty() && isOfClass(active.front(), windowClass)) {
            window_ = active.front();
        } else if (now() > deadline) {
            fail("no window of " + windowClass + " became active");
        } else {
            pause(0.02);
        }
    }
}

bool WindowHand::isOfClass(xcb_window_t window, const std::string& windowClass) const {
    const auto reply = owned(xcb_get_property_reply(
        client_.get(), xcb_get_property(client_.get(), 0, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 64),
        nullptr));
    const std::string_view both =
        reply ? std::string_view(static_cast<const char*>(xcb_get_property_value(reply.get())),
                                 reply->value_len)
              : std::string_view();
    return both.find('\0' + windowClass + '\0') != std::string_view::npos;
}

FrameWidths WindowHand::frame() const {
    const auto widths = numbers(client_, window_, frameExtents_);
    if (widths.size() != 4) {
        fail("the window manager does not say how wide its frames are");
    }
    return {static_cast<int>(widths[0]), static_cast<int>(widths[1]), static_cast<int>(widths[2]),
            static_cast<int>(widths[3])};
}

void WindowHand::move(const PixelPlace& asked) const {
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window_;
    event.type = moveResizeWindow_;
    event.data.data32[0] = northWest | allFour | fromPager;
    event.data.data32[1] = static_cast<std::uint32_t>(asked.x);
    event.data.data32[2] = static_cast<std::uint32_t>(asked.y);
    event.data.data32[3] = static_cast<std::uint32_t>(asked.width);
    event.data.data32[4] = static_cast<std::uint32_t>(asked.height);
    xcb_send_event(client_.get(), 0, rootOf(client_),
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&event));
    xcb_flush(client_.get());
}

void WindowHand::setTitle(const std::string& title) const {
    xcb_change_property(client_.get(), XCB_PROP_MODE_REPLACE, window_, windowName_, utf8String_, 8,
                        static_cast<std::uint32_t>(title.size()), title.data());
    xcb_flush(client_.get());
}

} // namespace Bench
