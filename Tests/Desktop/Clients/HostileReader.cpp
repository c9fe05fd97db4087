#include "Platforms/Linux/XReply.hpp"

#include <poll.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

/// A program that asks the owner of the CLIPBOARD selection for things in ways that no good program does. The
/// first argument says which, the second how many milliseconds a pause takes. Says "asked" once the server
/// has all its requests, "answered" or "refused" with every answer, "piece" with every piece of a text that
/// comes in pieces, "fetched" after a pause, and "end" after the last piece.

using Linux::Disconnect;
using Linux::owned;

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto usualText = "UTF8_STRING";

void say(const std::string& line) {
    std::puts(line.c_str());
    std::fflush(stdout);
}

/// What is done with a text that comes in pieces. Late: the first, and a pause later the others. Slowly: each
/// a pause later.
enum class Fetching { nothing, firstPiece, twoPiecesThenDies, late, slowly };

class Reader {
public:
    Reader(Fetching fetching, std::chrono::milliseconds pause)
        : connection_(xcb_connect(nullptr, nullptr))
        , fetching_(fetching)
        , pause_(pause) {
        if (xcb_connection_has_error(get())) {
            std::exit(1);
        }
        window_ = newWindow();
    }

    xcb_window_t window() const { return window_; }

    xcb_window_t owner() const {
        const auto reply = owned(
            xcb_get_selection_owner_reply(get(), xcb_get_selection_owner(get(), atom("CLIPBOARD")), nullptr));
        return reply ? reply->owner : static_cast<xcb_window_t>(XCB_NONE);
    }

    xcb_window_t root() const { return screen()->root; }

    xcb_window_t newWindow() const {
        const xcb_window_t window = xcb_generate_id(get());
        const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_create_window(get(), XCB_COPY_FROM_PARENT, window, screen()->root, 0, 0, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, screen()->root_visual, XCB_CW_EVENT_MASK, &mask);
        return window;
    }

    void destroy(xcb_window_t window) const { xcb_destroy_window(get(), window); }

    /// Has the server close the connection of whoever made the window.
    void kill(xcb_window_t window) const { xcb_kill_client(get(), window); }

    xcb_atom_t atom(const std::string& name) const {
        const auto reply = owned(xcb_intern_atom_reply(
            get(), xcb_intern_atom(get(), 0, static_cast<std::uint16_t>(name.size()), name.data()), nullptr));
        return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_NONE);
    }

    /// One of a few dozen: a server never forgets an atom.
    xcb_atom_t numbered(const char* name, int number) const { return atom(name + std::to_string(number)); }

    void ask(xcb_window_t requestor, xcb_atom_t target, xcb_atom_t property) const {
        xcb_convert_selection(get(), requestor, atom("CLIPBOARD"), target, property, XCB_CURRENT_TIME);
    }

    void write(xcb_atom_t property, xcb_atom_t type, std::uint8_t format,
               const std::vector<std::uint32_t>& values) const {
        xcb_change_property(get(), XCB_PROP_MODE_REPLACE, window_, property, type, format,
                            static_cast<std::uint32_t>(values.size() * 32 / format), values.data());
    }

    void askMultiple(const std::vector<std::uint32_t>& pairs, std::uint8_t format = 32) const {
        const xcb_atom_t list = atom("ZORBEL_PAIRS");
        write(list, atom("ATOM_PAIR"), format, pairs);
        ask(window_, atom("MULTIPLE"), list);
    }

    void settle() const { owned(xcb_get_input_focus_reply(get(), xcb_get_input_focus(get()), nullptr)); }

    void run() {
        settle();
        say("asked");
        while (!xcb_connection_has_error(get())) {
            while (const auto event = owned(xcb_poll_for_event(get()))) {
                handle(*event);
            }
            if (due_ && Clock::now() >= *due_) {
                fetchNext();
                continue; // more may have come while the server was asked
            }
            xcb_flush(get());
            pollfd connection{xcb_get_file_descriptor(get()), POLLIN, 0};
            ::poll(&connection, 1, timeout());
        }
    }

private:
    xcb_connection_t* get() const { return connection_.get(); }
    const xcb_screen_t* screen() const { return xcb_setup_roots_iterator(xcb_get_setup(get())).data; }

    void handle(const xcb_generic_event_t& event) {
        switch (event.response_type & 0x7f) {
        case XCB_SELECTION_NOTIFY: {
            const auto& notice = reinterpret_cast<const xcb_selection_notify_event_t&>(event);
            if (notice.property == XCB_NONE) {
                say("refused");
                break;
            }
            say("answered");
            if (fetching_ != Fetching::nothing && notice.requestor == window_) {
                begun_.insert(notice.property);
                xcb_delete_property(get(), window_, notice.property); // begins a text in pieces
            }
            break;
        }
        case XCB_PROPERTY_NOTIFY: {
            const auto& notice = reinterpret_cast<const xcb_property_notify_event_t&>(event);
            if (notice.state != XCB_PROPERTY_NEW_VALUE || !begun_.contains(notice.atom)) {
                break;
            }
            take(notice.atom);
            break;
        }
        default:
            break;
        }
    }

    void take(xcb_atom_t property) {
        const auto reply = owned(xcb_get_property_reply(
            get(), xcb_get_property(get(), 0, window_, property, XCB_ATOM_ANY, 0, 0), nullptr));
        if (reply && reply->type != XCB_NONE && reply->bytes_after == 0) {
            say("end");
            return;
        }
        say("piece");
        ++pieces_;
        if (fetching_ == Fetching::twoPiecesThenDies && pieces_ == 2) {
            std::_Exit(0);
        }
        if (fetching_ == Fetching::slowly || (fetching_ == Fetching::late && pieces_ == 1)) {
            next_ = property;
            due_ = Clock::now() + pause_;
        } else if (fetching_ != Fetching::firstPiece) {
            xcb_delete_property(get(), window_, property);
        }
    }

    void fetchNext() {
        due_.reset();
        xcb_delete_property(get(), window_, next_);
        settle();
        say("fetched");
    }

    int timeout() const { // milliseconds; negative: none
        if (!due_) {
            return -1;
        }
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(*due_ - Clock::now());
        return std::max(0, static_cast<int>(left.count()));
    }

    std::unique_ptr<xcb_connection_t, Disconnect> connection_;
    Fetching fetching_;
    xcb_window_t window_ = XCB_NONE;
    std::set<xcb_atom_t> begun_;
    int pieces_ = 0;
    std::chrono::milliseconds pause_;
    std::optional<Clock::time_point> due_;
    xcb_atom_t next_ = XCB_NONE;
};

struct Mode {
    Fetching fetching;
    std::function<void(const Reader& reader)> ask;
};

void askOften(const Reader& reader, int times, int properties) {
    const xcb_atom_t text = reader.atom(usualText);
    std::vector<xcb_atom_t> places;
    for (int index = 0; index < properties; ++index) {
        places.push_back(reader.numbered("ZORBEL_PLACE_", index));
    }
    for (int index = 0; index < times; ++index) {
        reader.ask(reader.window(), text, places[static_cast<std::size_t>(index % properties)]);
    }
}

void askOnce(const Reader& reader) {
    askOften(reader, 1, 1);
}

const std::map<std::string_view, Mode>& modes() {
    static const std::map<std::string_view, Mode> all{
        {"never-begins", {Fetching::nothing, askOnce}},
        {"never-fetches", {Fetching::firstPiece, askOnce}},
        {"fetches-late", {Fetching::late, askOnce}},
        {"fetches-slowly", {Fetching::slowly, askOnce}},
        {"dies", {Fetching::twoPiecesThenDies, askOnce}},
        {"asks-often", {Fetching::firstPiece, [](const Reader& reader) { askOften(reader, 200, 200); }}},
        {"asks-often-in-one-place",
         {Fetching::firstPiece, [](const Reader& reader) { askOften(reader, 200, 1); }}},
        {"odd-pairs",
         {Fetching::firstPiece,
          [](const Reader& reader) {
              reader.askMultiple({reader.atom(usualText), reader.atom("ZORBEL_A"), reader.atom("STRING")});
          }}},
        {"pairs-of-bytes",
         {Fetching::firstPiece,
          [](const Reader& reader) {
              reader.askMultiple({reader.atom(usualText), reader.atom("ZORBEL_A")}, 8);
          }}},
        {"no-pairs",
         {Fetching::firstPiece,
          [](const Reader& reader) {
              reader.askMultiple({});
              reader.ask(reader.window(), reader.atom("MULTIPLE"), reader.atom("ZORBEL_NOT_WRITTEN"));
              reader.ask(reader.window(), reader.atom("MULTIPLE"), XCB_NONE);
          }}},
        {"many-pairs",
         {Fetching::firstPiece,
          [](const Reader& reader) {
              const xcb_atom_t text = reader.atom(usualText);
              std::vector<std::uint32_t> pairs;
              for (int index = 0; index < 1000; ++index) {
                  pairs.push_back(text);
                  pairs.push_back(reader.numbered("ZORBEL_PLACE_", index % 200));
              }
              reader.askMultiple(pairs);
          }}},
        {"pairs-of-none",
         {Fetching::firstPiece,
          [](const Reader& reader) {
              const xcb_atom_t text = reader.atom(usualText);
              reader.askMultiple(
                  {XCB_NONE, XCB_NONE, text, XCB_NONE, XCB_NONE, text, 0x1ffffff0, 0x1ffffff0});
          }}},
        {"pairs-of-pairs",
         {Fetching::firstPiece,
          [](const Reader& reader) {
              const xcb_atom_t list = reader.atom("ZORBEL_PAIRS");
              const xcb_atom_t multiple = reader.atom("MULTIPLE");
              reader.askMultiple({multiple, list, multiple, list, multiple, list});
          }}},
        {"no-property",
         {Fetching::firstPiece,
          [](const Reader& reader) {
              for (const char* target : {usualText, "STRING", "TARGETS", "TIMESTAMP"}) {
                  reader.ask(reader.window(), reader.atom(target), XCB_NONE);
              }
          }}},
        {"vanishing-windows",
         {Fetching::firstPiece,
          [](const Reader& reader) {
              const xcb_atom_t text = reader.atom(usualText);
              const xcb_atom_t place = reader.atom("ZORBEL_PLACE");
              for (int turn = 0; turn < 500; ++turn) {
                  const xcb_window_t window = reader.newWindow();
                  reader.ask(window, text, place);
                  if (turn % 2 == 0) {
                      reader.settle(); // the owner has been asked by now, and may have answered
                  }
                  reader.destroy(window);
              }
          }}},
        {"unknown-targets",
         {Fetching::firstPiece,
          [](const Reader& reader) {
              for (int index = 0; index < 200; ++index) {
                  reader.ask(reader.window(), reader.numbered("ZORBEL_UNHEARD_OF_", index % 20),
                             reader.atom("ZORBEL_PLACE"));
              }
          }}},
        {"destroys-the-owners-window",
         {Fetching::nothing, [](const Reader& reader) { reader.destroy(reader.owner()); }}},
        {"kills-the-owner", {Fetching::nothing, [](const Reader& reader) { reader.kill(reader.owner()); }}},
        {"windows-of-others", // the owner's own, and the root
         {Fetching::firstPiece,
          [](const Reader& reader) {
              const xcb_atom_t place = reader.atom("ZORBEL_PLACE");
              for (const char* target : {usualText, "TARGETS", "TIMESTAMP", "MULTIPLE"}) {
                  reader.ask(reader.owner(), reader.atom(target), place);
                  reader.ask(reader.root(), reader.atom(target), place);
              }
          }}},
    };
    return all;
}

} // namespace

int main(int argumentCount, char** arguments) {
    const auto mode = modes().find(argumentCount > 1 ? arguments[1] : "");
    if (mode == modes().end()) {
        std::fputs("hostile_reader: no such mode\n", stderr);
        return 2;
    }
    Reader reader(mode->second.fetching,
                  std::chrono::milliseconds(argumentCount > 2 ? std::atoi(arguments[2]) : 0));
    mode->second.ask(reader);
    reader.run();
}
