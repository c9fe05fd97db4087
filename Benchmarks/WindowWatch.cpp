#include "Benchmarks/WindowWatch.hpp"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>

namespace Bench {

using Linux::owned;

WindowWatch::WindowWatch(xcb_window_t window)
    : window_(window)
    , stop_(eventfd(0, EFD_CLOEXEC)) {
    listen();
    thread_ = std::thread([this] { run(); });
}

WindowWatch::~WindowWatch() {
    eventfd_write(stop_, 1);
    thread_.join();
    close(stop_);
}

void WindowWatch::expect(const PixelPlace& wanted) {
    const std::lock_guard lock(mutex_);
    wanted_ = wanted;
    reached_ = 0;
}

std::optional<Nanoseconds> WindowWatch::reached() const {
    const Nanoseconds moment = reached_;
    return moment == 0 ? std::nullopt : std::optional(moment);
}

/// To the window, and to what the window manager has put around it: one of them may move without the other.
void WindowWatch::listen() {
    const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    for (xcb_window_t window = window_; window != rootOf(client_);) {
        xcb_change_window_attributes(client_.get(), window, XCB_CW_EVENT_MASK, &events);
        const auto tree =
            owned(xcb_query_tree_reply(client_.get(), xcb_query_tree(client_.get(), window), nullptr));
        if (!tree) {
            fail("the window that is watched is gone");
        }
        window = tree->parent;
    }
    xcb_flush(client_.get());
}

void WindowWatch::run() {
    for (;;) {
        // The answers to a look may have brought further events along, of which the socket says nothing.
        if (takeEvents()) {
            look();
            continue;
        }
        std::array<pollfd, 2> readable{
            pollfd{.fd = xcb_get_file_descriptor(client_.get()), .events = POLLIN, .revents = 0},
            pollfd{.fd = stop_, .events = POLLIN, .revents = 0}};
        poll(readable.data(), readable.size(), -1);
        if (readable[1].revents != 0) {
            return;
        }
        if (xcb_connection_has_error(client_.get())) {
            fail("the X server has gone");
        }
    }
}

/// Whether one of them was of a new place.
bool WindowWatch::takeEvents() {
    bool isMoved = false;
    while (const auto event = owned(xcb_poll_for_event(client_.get()))) {
        isMoved = isMoved || (event->response_type & 0x7F) == XCB_CONFIGURE_NOTIFY;
    }
    return isMoved;
}

void WindowWatch::look() {
    const PixelPlace seen = placeOf(client_, window_);
    const Nanoseconds moment = now();
    const std::lock_guard lock(mutex_);
    if (reached_ == 0 && seen == wanted_) {
        reached_ = moment;
    }
}

} // namespace Bench
