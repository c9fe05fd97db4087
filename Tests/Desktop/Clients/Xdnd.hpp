#pragma once

#include "Platforms/Linux/XReply.hpp"

#include <poll.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <string>

/// What both halves of XDND need that are written without a toolkit, so that they can keep to none of its
/// rules.
namespace Xdnd {

using Clock = std::chrono::steady_clock;
using Numbers = std::array<std::uint32_t, 5>;

inline void say(const std::string& line) {
    std::puts(line.c_str());
    std::fflush(stdout);
}

inline std::string contentOf(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

class Client {
public:
    Client()
        : connection_(xcb_connect(nullptr, nullptr)) {
        if (xcb_connection_has_error(get())) {
            std::exit(1);
        }
    }
    virtual ~Client() = default;

    xcb_connection_t* get() const { return connection_.get(); }
    const xcb_screen_t* screen() const { return xcb_setup_roots_iterator(xcb_get_setup(get())).data; }

    xcb_atom_t atom(const std::string& name) {
        const auto known = atoms_.find(name);
        if (known != atoms_.end()) {
            return known->second;
        }
        const auto reply = Linux::owned(xcb_intern_atom_reply(
            get(), xcb_intern_atom(get(), 0, static_cast<std::uint16_t>(name.size()), name.data()), nullptr));
        const xcb_atom_t found = reply ? reply->atom : static_cast<xcb_atom_t>(XCB_NONE);
        atoms_.emplace(name, found);
        return found;
    }

    void send(xcb_window_t to, const std::string& type, const Numbers& numbers) {
        xcb_client_message_event_t event{};
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 32;
        event.window = to;
        event.type = atom(type);
        std::ranges::copy(numbers, event.data.data32);
        xcb_send_event(get(), 0, to, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char*>(&event));
        xcb_flush(get());
    }

    void write(xcb_window_t window, xcb_atom_t property, xcb_atom_t type, const std::string& bytes) const {
        xcb_change_property(get(), XCB_PROP_MODE_REPLACE, window, property, type, 8,
                            static_cast<std::uint32_t>(bytes.size()), bytes.data());
        xcb_flush(get());
    }

    void settle() const {
        Linux::owned(xcb_get_input_focus_reply(get(), xcb_get_input_focus(get()), nullptr));
    }

    /// Handles what comes until the condition holds or the time is over; whether it holds.
    bool runUntil(const std::function<bool()>& condition, std::chrono::milliseconds longest) {
        const auto end = Clock::now() + longest;
        while (!condition() && !xcb_connection_has_error(get())) {
            if (const auto event = Linux::owned(xcb_poll_for_event(get()))) {
                handle(*event);
                continue;
            }
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
            if (left.count() <= 0) {
                return condition();
            }
            xcb_flush(get());
            pollfd connection{xcb_get_file_descriptor(get()), POLLIN, 0};
            ::poll(&connection, 1, static_cast<int>(left.count()));
        }
        return condition();
    }

protected:
    virtual void handle(const xcb_generic_event_t& event) = 0;

private:
    std::unique_ptr<xcb_connection_t, Linux::Disconnect> connection_;
    std::map<std::string, xcb_atom_t> atoms_;
};

} // namespace Xdnd
