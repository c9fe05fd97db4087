#include "Benchmarks/Screen.hpp"

#include <poll.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace Bench {

namespace {

constexpr Nanoseconds patience = 10'000'000'000;

constexpr std::uint32_t brass = 0xC4661A; // the ground of the footer's button
constexpr int barHeight = 28;
constexpr int footerHeight = 64;        // at least that of the footer
constexpr int topHeight = 40;           // a panel of the desktop may be higher than the bar
constexpr xcb_timestamp_t frameGap = 4; // milliseconds; frames of one display come no faster than 16 apart
constexpr int leastBrass = 800;         // pixels; a gauge that reached into the strip would have fewer

template <class Reply>
std::unique_ptr<Reply, decltype(&std::free)> owned(Reply* reply) {
    if (!reply) {
        fail("the X server does not answer");
    }
    return {reply, &std::free};
}

/// The glass is drawn in the light text colour on the bar's dark ground.
bool isLight(std::uint32_t pixel) {
    return (pixel >> 16 & 0xFF) > 0x90 && (pixel >> 8 & 0xFF) > 0x78;
}

} // namespace

Screen::Screen()
    : connection_(xcb_connect(nullptr, nullptr)) {
    if (xcb_connection_has_error(connection_.get())) {
        fail("there is no display");
    }
    screen_ = xcb_setup_roots_iterator(xcb_get_setup(connection_.get())).data;

    const auto* damage = xcb_get_extension_data(connection_.get(), &xcb_damage_id);
    const auto* test = xcb_get_extension_data(connection_.get(), &xcb_test_id);
    if (!damage->present || !test->present) {
        fail("the X server lacks DAMAGE or XTEST");
    }
    firstDamageEvent_ = damage->first_event;
    owned(xcb_damage_query_version_reply(connection_.get(), xcb_damage_query_version(connection_.get(), 1, 1),
                                         nullptr));
    xcb_damage_create(connection_.get(), xcb_generate_id(connection_.get()), screen_->root,
                      XCB_DAMAGE_REPORT_LEVEL_RAW_RECTANGLES);
    const std::uint32_t events = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection_.get(), screen_->root, XCB_CW_EVENT_MASK, &events);
    moveTo({size().x / 2, size().y / 2});
    drawings();
}

Screen::~Screen() = default;

Point Screen::size() const {
    return {screen_->width_in_pixels, screen_->height_in_pixels};
}

int Screen::drawings() {
    // Whatever was drawn before this question is reported before its answer.
    owned(xcb_get_input_focus_reply(connection_.get(), xcb_get_input_focus(connection_.get()), nullptr));
    while (xcb_generic_event_t* event = xcb_poll_for_event(connection_.get())) {
        takeIn(*owned(event));
    }
    return std::exchange(drawings_, 0);
}

int Screen::frames() {
    drawings();
    return std::exchange(frames_, 0);
}

void Screen::wait(const std::vector<int>& descriptors, int milliseconds) {
    xcb_flush(connection_.get());
    xcb_generic_event_t* event = xcb_poll_for_event(connection_.get());
    if (!event) {
        std::vector<pollfd> readable{
            {.fd = xcb_get_file_descriptor(connection_.get()), .events = POLLIN, .revents = 0}};
        for (const int descriptor : descriptors) {
            readable.push_back({.fd = descriptor, .events = POLLIN, .revents = 0});
        }
        poll(readable.data(), readable.size(), milliseconds);
        event = xcb_poll_for_event(connection_.get());
    }
    for (; event; event = xcb_poll_for_queued_event(connection_.get())) {
        takeIn(*owned(event));
    }
    if (xcb_connection_has_error(connection_.get())) {
        fail("the X server has gone");
    }
}

int Screen::countOnTop(std::uint32_t colour) {
    return static_cast<int>(std::ranges::count(read(0, 0, size().x, topHeight).pixels, colour));
}

std::optional<Point> Screen::glass() {
    const Picture bar = read(0, 0, size().x, barHeight);
    int left = bar.width;
    int right = -1;
    for (int index = 0; index < bar.width * barHeight; ++index) {
        if (isLight(bar.pixels[static_cast<std::size_t>(index)])) {
            left = std::min(left, index % bar.width);
            right = std::max(right, index % bar.width);
        }
    }
    return right < 0 ? std::nullopt : std::optional(Point{(left + right) / 2, barHeight / 2});
}

Nanoseconds Screen::glassDrawn() {
    waitUntil("zorbel's glass", [this] { return glass().has_value(); });
    return now();
}

void Screen::moveTo(Point place) {
    fakeInput(XCB_MOTION_NOTIFY, 0, place);
}

void Screen::press() {
    fakeInput(XCB_BUTTON_PRESS, XCB_BUTTON_INDEX_1);
}

Nanoseconds Screen::release() {
    const Nanoseconds moment = now();
    fakeInput(XCB_BUTTON_RELEASE, XCB_BUTTON_INDEX_1);
    return moment;
}

Nanoseconds Screen::panelDrawn() {
    waitUntil("zorbel's panel", [this] { return panel_ != 0 && isFooterDrawn(); });
    return now();
}

void Screen::panelGone() {
    waitUntil("the end of zorbel's panel", [this] { return panel_ == 0 && !isFooterDrawn(); });
}

bool Screen::isFooterDrawn() {
    const auto& [x, y, width, height] = panelPlace_;
    const int strip = std::min(height, footerHeight);
    return std::ranges::count(read(x, y + height - strip, width, strip).pixels, brass) >= leastBrass;
}

Picture Screen::read(int x, int y, int width, int height) {
    const auto reply = owned(xcb_get_image_reply(
        connection_.get(),
        xcb_get_image(connection_.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, screen_->root,
                      static_cast<std::int16_t>(x), static_cast<std::int16_t>(y),
                      static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height), ~0U),
        nullptr));
    Picture picture{width, std::vector<std::uint32_t>(static_cast<std::size_t>(width) *
                                                      static_cast<std::size_t>(height))};
    const auto length = static_cast<std::size_t>(xcb_get_image_data_length(reply.get()));
    std::memcpy(picture.pixels.data(), xcb_get_image_data(reply.get()),
                std::min(length, picture.pixels.size() * sizeof(std::uint32_t)));
    for (std::uint32_t& pixel : picture.pixels) {
        pixel &= 0xFFFFFF;
    }
    return picture;
}

void Screen::waitUntil(const char* what, const std::function<bool()>& isDone) {
    const Nanoseconds deadline = now() + patience;
    while (!isDone()) {
        wait({}, 100);
        if (now() > deadline) {
            fail(std::string(what) + " was not seen");
        }
    }
}

void Screen::takeIn(const xcb_generic_event_t& event) {
    const auto type = static_cast<std::uint8_t>(event.response_type & 0x7F);
    if (type == firstDamageEvent_ + XCB_DAMAGE_NOTIFY) {
        const auto moment = reinterpret_cast<const xcb_damage_notify_event_t&>(event).timestamp;
        ++drawings_;
        frames_ += moment - lastDrawing_ > frameGap ? 1 : 0;
        lastDrawing_ = moment;
    } else if (type == XCB_MAP_NOTIFY) {
        // The panel is the one window of that size which the window manager has no say in.
        const auto& mapped = reinterpret_cast<const xcb_map_notify_event_t&>(event);
        const std::unique_ptr<xcb_get_geometry_reply_t, decltype(&std::free)> place(
            xcb_get_geometry_reply(connection_.get(), xcb_get_geometry(connection_.get(), mapped.window),
                                   nullptr),
            &std::free);
        if (place && mapped.override_redirect && place->width >= 300 && place->height >= 300) {
            panel_ = mapped.window;
            panelPlace_ = {place->x, place->y, place->width, place->height};
        }
    } else if (type == XCB_UNMAP_NOTIFY) {
        if (reinterpret_cast<const xcb_unmap_notify_event_t&>(event).window == panel_) {
            panel_ = 0;
        }
    }
}

void Screen::fakeInput(std::uint8_t type, std::uint8_t detail, Point place) {
    xcb_test_fake_input(connection_.get(), type, detail, XCB_CURRENT_TIME, screen_->root,
                        static_cast<std::int16_t>(place.x), static_cast<std::int16_t>(place.y), 0);
    xcb_flush(connection_.get());
}

} // namespace Bench
