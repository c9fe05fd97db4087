#include "Tests/Desktop/Clients/Xdnd.hpp"

#include <optional>
#include <string_view>
#include <utility>

/// A window that things can be dropped on, and that answers as its argument says:
///
///     drag_target MANNERS X Y
///
/// MANNERS: well, withoutStatus, refuses, withoutEnd, endsTwice, endsLate, neverAsks, diesOnEnter,
/// diesOnPosition, diesOnDrop, diesWhileAsking. X and Y: of the window's upper left corner. Says what comes
/// ("enter", "position" once, "leave", "drop") and "data" with the number of bytes; writes these to the file
/// that a fourth argument names.

namespace {

using namespace std::chrono_literals;
using Linux::as;
using Xdnd::say;

class Target : public Xdnd::Client {
public:
    Target(std::string manners, int x, int y, std::string file)
        : manners_(std::move(manners))
        , file_(std::move(file))
        , window_(xcb_generate_id(get())) {
        const std::uint32_t values[]{screen()->white_pixel, 1, XCB_EVENT_MASK_PROPERTY_CHANGE};
        xcb_create_window(get(), XCB_COPY_FROM_PARENT, window_, screen()->root, static_cast<std::int16_t>(x),
                          static_cast<std::int16_t>(y), 300, 200, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                          screen()->root_visual,
                          XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
        const std::uint32_t version = 5;
        xcb_change_property(get(), XCB_PROP_MODE_REPLACE, window_, atom("XdndAware"), XCB_ATOM_ATOM, 32, 1,
                            &version);
        xcb_change_property(get(), XCB_PROP_MODE_REPLACE, window_, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8, 13,
                            "target\0Target");
        xcb_map_window(get(), window_);
        settle();
        say("ready");
    }

    void run() {
        while (!xcb_connection_has_error(get())) {
            static_cast<void>(runUntil([this] { return due_ && Xdnd::Clock::now() >= *due_; }, 100ms));
            if (due_ && Xdnd::Clock::now() >= *due_) {
                due_.reset();
                finish();
            }
        }
    }

private:
    void dieOn(std::string_view what) const {
        if (manners_ == "diesOn" + std::string(what)) {
            std::_Exit(0);
        }
    }

    void finish() {
        send(source_, "XdndFinished", {window_, 1, atom("XdndActionCopy"), 0, 0});
        say("end");
    }

    void handle(const xcb_generic_event_t& event) override {
        switch (event.response_type & 0x7F) {
        case XCB_CLIENT_MESSAGE:
            take(as<xcb_client_message_event_t>(event));
            break;
        case XCB_SELECTION_NOTIFY:
            fetch(as<xcb_selection_notify_event_t>(event));
            break;
        default:
            break;
        }
    }

    void take(const xcb_client_message_event_t& message) {
        if (message.type == atom("XdndEnter")) {
            source_ = message.data.data32[0];
            hasPosition_ = false;
            say("enter");
            dieOn("Enter");
        } else if (message.type == atom("XdndPosition")) {
            if (!std::exchange(hasPosition_, true)) {
                say("position");
            }
            dieOn("Position");
            if (manners_ != "withoutStatus") {
                const std::uint32_t accepts = manners_ == "refuses" ? 0 : 1;
                send(source_, "XdndStatus", {window_, accepts | 2, 0, 0, atom("XdndActionCopy")});
            }
        } else if (message.type == atom("XdndLeave")) {
            say("leave");
        } else if (message.type == atom("XdndDrop")) {
            say("drop");
            dieOn("Drop");
            if (manners_ != "neverAsks") {
                xcb_convert_selection(get(), window_, atom("XdndSelection"), atom("text/uri-list"),
                                      atom("ZORBEL_DROPPED"), message.data.data32[2]);
                xcb_flush(get());
            }
            if (manners_ == "diesWhileAsking") {
                settle();
                std::_Exit(0);
            }
        }
    }

    void fetch(const xcb_selection_notify_event_t& notice) {
        const auto reply = Linux::owned(xcb_get_property_reply(
            get(), xcb_get_property(get(), 1, window_, notice.property, XCB_ATOM_ANY, 0, 1 << 24), nullptr));
        if (notice.property == XCB_NONE || !reply) {
            say("no data");
        } else {
            const auto length = static_cast<std::size_t>(xcb_get_property_value_length(reply.get()));
            if (!file_.empty()) {
                std::ofstream(file_, std::ios::binary)
                    .write(static_cast<const char*>(xcb_get_property_value(reply.get())),
                           static_cast<std::streamsize>(length));
            }
            say("data " + std::to_string(length));
        }
        if (manners_ == "withoutEnd") {
            return;
        }
        if (manners_ == "endsLate") {
            due_ = Xdnd::Clock::now() + 7s;
            return;
        }
        finish();
        if (manners_ == "endsTwice") {
            finish();
        }
    }

    std::string manners_;
    std::string file_;
    xcb_window_t window_;
    xcb_window_t source_ = XCB_NONE;
    bool hasPosition_ = false;
    std::optional<Xdnd::Clock::time_point> due_;
};

} // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount < 4) {
        std::fputs("drag_target: MANNERS X Y [FILE]\n", stderr);
        return 2;
    }
    Target target(arguments[1], std::atoi(arguments[2]), std::atoi(arguments[3]),
                  argumentCount > 4 ? arguments[4] : "");
    target.run();
}
