#include "Platforms/Linux/XReply.hpp"
#include "Tests/Desktop/Clients/Patterned.hpp"

#include <poll.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// A program that owns the CLIPBOARD selection and keeps to none of its rules, or to all but one. The first
/// argument says which, the second is a number that some of them take. Some own CLIPBOARD_MANAGER instead,
/// and are no better at that. Says "ready" once it owns the selection, and then, a line each, "asked" with
/// the target of every request, "error" with the number of every error of the X server, and "done" where what
/// it does has an end.

using Linux::Disconnect;
using Linux::owned;

namespace {

using Clock = std::chrono::steady_clock;
using Desktop::patterned;
using std::chrono::milliseconds;

constexpr auto usualText = "UTF8_STRING";
constexpr auto otherText = "text/plain;charset=utf-8";
constexpr std::size_t kibibyte = 1024;
constexpr std::size_t mebibyte = kibibyte * kibibyte;
constexpr xcb_atom_t noSuchAtom = 0x1ffffff0; // valid as a number, never given out by any server

void say(const std::string& line) {
    std::puts(line.c_str());
    std::fflush(stdout);
}

struct Request {
    xcb_timestamp_t time = XCB_CURRENT_TIME;
    xcb_window_t owner = XCB_NONE;
    xcb_window_t requestor = XCB_NONE;
    xcb_atom_t target = XCB_NONE;
    xcb_atom_t property = XCB_NONE;
};

/// A text that is handed over piece by piece.
struct Pieces {
    std::function<std::optional<std::string>(std::size_t index)> next; // empty: the end; none: no more news
    milliseconds pause{0};                                             // before each
};

class Owner {
public:
    using Behaviour = std::function<void(const Request&)>;

    Owner()
        : connection_(xcb_connect(nullptr, nullptr)) {
        if (xcb_connection_has_error(get())) {
            std::exit(1);
        }
        windows_ = {newWindow(), newWindow()};
    }

    void behave(Behaviour behaviour) { behaviour_ = std::move(behaviour); }
    void keepQuiet() { isQuiet_ = true; }
    void takeInstead(const char* selection) { selection_ = selection; }

    /// With a time of the server's, as the rules say.
    void takeOver() {
        const xcb_atom_t property = atom("ZORBEL_TIME");
        xcb_change_property(get(), XCB_PROP_MODE_APPEND, windows_[0], property, XCB_ATOM_STRING, 8, 0,
                            nullptr);
        xcb_flush(get());
        while (const auto event = owned(xcb_wait_for_event(get()))) {
            if (event->response_type == XCB_PROPERTY_NOTIFY) {
                const auto* notice = reinterpret_cast<xcb_property_notify_event_t*>(event.get());
                xcb_set_selection_owner(get(), windows_[0], atom(selection_), notice->time);
                break;
            }
        }
        settle();
        say("ready");
    }

    /// Once more, with either of two windows and no time at all.
    void takeOverAgain(std::size_t window) {
        xcb_set_selection_owner(get(), windows_[window], atom(selection_), XCB_CURRENT_TIME);
        xcb_flush(get());
    }

    xcb_window_t window(std::size_t index) const { return windows_[index]; }

    xcb_atom_t atom(const std::string& name) {
        xcb_atom_t& known = atoms_[name];
        if (known == XCB_NONE) {
            const auto reply = owned(xcb_intern_atom_reply(
                get(), xcb_intern_atom(get(), 0, static_cast<std::uint16_t>(name.size()), name.data()),
                nullptr));
            known = reply ? reply->atom : static_cast<xcb_atom_t>(XCB_NONE);
        }
        return known;
    }

    bool isFor(const Request& request, const char* target) { return request.target == atom(target); }

    void write(const Request& request, xcb_atom_t type, std::uint8_t format, std::string_view bytes,
               std::uint8_t mode = XCB_PROP_MODE_REPLACE) const {
        xcb_change_property(get(), mode, request.requestor, request.property, type, format,
                            static_cast<std::uint32_t>(bytes.size() / (format / 8U)), bytes.data());
    }

    void writeNumbers(const Request& request, xcb_atom_t type, const std::vector<std::uint32_t>& numbers) {
        write(request, type, 32,
              {reinterpret_cast<const char*>(numbers.data()), numbers.size() * sizeof(std::uint32_t)});
    }

    /// Tells the requestor that its answer lies there.
    void notify(const Request& request) { notify(request, atom(selection_)); }

    void notify(const Request& request, xcb_atom_t selection) const {
        std::array<char, 32> bytes{}; // an event is longer on the wire than in its structure
        xcb_selection_notify_event_t notice{};
        notice.response_type = XCB_SELECTION_NOTIFY;
        notice.time = request.time;
        notice.requestor = request.requestor;
        notice.selection = selection;
        notice.target = request.target;
        notice.property = request.property;
        std::memcpy(bytes.data(), &notice, sizeof(notice));
        xcb_send_event(get(), 0, request.requestor, XCB_EVENT_MASK_NO_EVENT, bytes.data());
        xcb_flush(get());
    }

    void refuse(Request request) {
        request.property = XCB_NONE;
        notify(request);
    }

    void give(const Request& request, std::string_view bytes) {
        write(request, request.target, 8, bytes);
        notify(request);
    }

    void giveTargets(const Request& request, const std::vector<std::string>& names) {
        std::vector<std::uint32_t> atoms;
        for (const std::string& name : names) {
            atoms.push_back(atom(name));
        }
        writeNumbers(request, XCB_ATOM_ATOM, atoms);
        notify(request);
    }

    void givePieces(const Request& request, std::uint32_t hint, Pieces pieces) {
        const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_change_window_attributes(get(), request.requestor, XCB_CW_EVENT_MASK, &mask);
        transfers_[{request.requestor, request.property}] = {request, std::move(pieces), 0};
        writeNumbers(request, atom("INCR"), {hint});
        notify(request);
    }

    /// While it is grabbed, the server does nothing for others.
    void grab(bool isGrabbed) const {
        if (isGrabbed) {
            xcb_grab_server(get());
        } else {
            xcb_ungrab_server(get());
        }
        settle();
    }

    void after(milliseconds delay, std::function<void()> task) { at(Clock::now() + delay, std::move(task)); }
    void at(Clock::time_point due, std::function<void()> task) { tasks_.emplace(due, std::move(task)); }

    void settle() const { owned(xcb_get_input_focus_reply(get(), xcb_get_input_focus(get()), nullptr)); }

    /// For ever, or until the server is gone.
    void run() {
        while (!xcb_connection_has_error(get())) {
            while (handleEvents() || runTasks()) {
            }
            xcb_flush(get());
            pollfd connection{xcb_get_file_descriptor(get()), POLLIN, 0};
            ::poll(&connection, 1, timeout());
        }
    }

private:
    struct Transfer {
        Request request;
        Pieces pieces;
        std::size_t index = 0;
    };

    using Key = std::pair<xcb_window_t, xcb_atom_t>;

    xcb_connection_t* get() const { return connection_.get(); }

    xcb_window_t newWindow() const {
        const xcb_window_t window = xcb_generate_id(get());
        const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
        const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(get())).data;
        xcb_create_window(get(), XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, XCB_CW_EVENT_MASK, &mask);
        return window;
    }

    bool handleEvents() {
        bool isAny = false;
        while (const auto event = owned(xcb_poll_for_event(get()))) {
            isAny = true;
            if (event->response_type == 0) {
                const auto* error = reinterpret_cast<xcb_generic_error_t*>(event.get());
                if (!isQuiet_) {
                    say("error " + std::to_string(error->error_code));
                }
            } else if ((event->response_type & 0x7f) == XCB_SELECTION_REQUEST) {
                const auto* request = reinterpret_cast<xcb_selection_request_event_t*>(event.get());
                handle({request->time, request->owner, request->requestor, request->target,
                        request->property == XCB_NONE ? request->target : request->property});
            } else if ((event->response_type & 0x7f) == XCB_PROPERTY_NOTIFY) {
                const auto* notice = reinterpret_cast<xcb_property_notify_event_t*>(event.get());
                if (notice->state == XCB_PROPERTY_DELETE) {
                    sendOn({notice->window, notice->atom});
                }
            }
        }
        return isAny;
    }

    void handle(const Request& request) {
        if (!isQuiet_) {
            say("asked " + nameOf(request.target));
        }
        if (behaviour_) {
            behaviour_(request);
        }
    }

    std::string nameOf(xcb_atom_t atom) const {
        const auto reply = owned(xcb_get_atom_name_reply(get(), xcb_get_atom_name(get(), atom), nullptr));
        return reply ? std::string(xcb_get_atom_name_name(reply.get()),
                                   static_cast<std::size_t>(xcb_get_atom_name_name_length(reply.get())))
                     : std::to_string(atom);
    }

    void sendOn(Key key) {
        const auto found = transfers_.find(key);
        if (found == transfers_.end()) {
            return;
        }
        if (const milliseconds pause = found->second.pieces.pause; pause.count() > 0) {
            after(pause, [this, key] { sendNext(key); });
        } else {
            sendNext(key);
        }
    }

    void sendNext(Key key) {
        const auto found = transfers_.find(key);
        if (found == transfers_.end()) {
            return;
        }
        Transfer& transfer = found->second;
        const std::optional<std::string> piece = transfer.pieces.next(transfer.index++);
        if (piece) {
            write(transfer.request, transfer.request.target, 8, *piece);
            xcb_flush(get());
        }
        if (piece && piece->empty() && !isQuiet_) {
            say("end");
        }
        if (!piece || piece->empty()) {
            transfers_.erase(found);
        }
    }

    bool runTasks() {
        bool isAny = false;
        while (!tasks_.empty() && tasks_.begin()->first <= Clock::now()) {
            const auto task = std::move(tasks_.begin()->second);
            tasks_.erase(tasks_.begin());
            task();
            isAny = true;
        }
        return isAny;
    }

    int timeout() const { // milliseconds; negative: none
        if (tasks_.empty()) {
            return -1;
        }
        const auto left = std::chrono::ceil<milliseconds>(tasks_.begin()->first - Clock::now());
        return std::max(0, static_cast<int>(left.count()));
    }

    std::unique_ptr<xcb_connection_t, Disconnect> connection_;
    std::array<xcb_window_t, 2> windows_{};
    std::map<std::string, xcb_atom_t> atoms_;
    Behaviour behaviour_;
    const char* selection_ = "CLIPBOARD";
    bool isQuiet_ = false;
    std::map<Key, Transfer> transfers_;
    std::multimap<Clock::time_point, std::function<void()>> tasks_;
};

using Behaviour = Owner::Behaviour;

/// Offers these targets; every other request is left to `data`.
Behaviour offering(Owner& owner, std::vector<std::string> names, Behaviour data) {
    return [&owner, names = std::move(names), data = std::move(data)](const Request& request) {
        if (owner.isFor(request, "TARGETS")) {
            owner.giveTargets(request, names);
        } else {
            data(request);
        }
    };
}

Behaviour offeringText(Owner& owner, Behaviour data) {
    return offering(owner, {"TARGETS", "TIMESTAMP", usualText}, std::move(data));
}

Behaviour giving(Owner& owner, std::string text) {
    return [&owner, text = std::move(text)](const Request& request) { owner.give(request, text); };
}

/// `text` in pieces of `size` bytes, and what comes after the last.
Pieces piecesOf(std::string text, std::size_t size, std::optional<std::string> last = "") {
    return {[text = std::move(text), size, last](std::size_t index) {
        return index * size < text.size() ? std::optional(text.substr(index * size, size)) : last;
    }};
}

Pieces endless(std::size_t size, milliseconds pause) {
    return {[text = patterned("endless", size)](std::size_t) { return std::optional(text); }, pause};
}

Behaviour givingPieces(Owner& owner, std::uint32_t hint, Pieces pieces) {
    return [&owner, hint, pieces = std::move(pieces)](const Request& request) {
        owner.givePieces(request, hint, pieces);
    };
}

/// Answers TARGETS by other bytes than a list of atoms.
Behaviour oddTargets(Owner& owner, const char* type, std::uint8_t format, std::string bytes) {
    return [&owner, type, format, bytes = std::move(bytes)](const Request& request) {
        if (owner.isFor(request, "TARGETS")) {
            owner.write(request, owner.atom(type), format, bytes);
            owner.notify(request);
        } else {
            owner.give(request, patterned("list", kibibyte));
        }
    };
}

Behaviour givingTyped(Owner& owner, const char* type, std::uint8_t format, std::string bytes) {
    return offeringText(owner, [&owner, type, format, bytes = std::move(bytes)](const Request& request) {
        owner.write(request, owner.atom(type), format, bytes);
        owner.notify(request);
    });
}

[[noreturn]] void die(const Owner& owner) {
    owner.settle(); // what was said before is heard
    std::_Exit(0);
}

/// Takes the selection over again and again, so many times, with two windows that each offer another kind of
/// text, and gives itself away when it is asked for the other's.
void flap(Owner& owner, int times, bool answers) {
    owner.keepQuiet();
    owner.behave([&owner, answers](const Request& request) {
        const bool isFirst = request.owner == owner.window(0);
        if (!answers) {
            return;
        }
        if (owner.isFor(request, "TARGETS")) {
            owner.giveTargets(request, {"TARGETS", isFirst ? usualText : otherText});
        } else if (owner.isFor(request, isFirst ? usualText : otherText)) {
            owner.give(request, patterned(isFirst ? "even" : "odd", kibibyte));
        } else {
            owner.give(request, "mixture");
        }
    });
    const auto start = Clock::now();
    for (int turn = 1; turn <= times; ++turn) {
        owner.at(start + milliseconds(turn), [&owner, turn, times] {
            owner.takeOverAgain(static_cast<std::size_t>(turn % 2));
            if (turn == times) {
                say("done");
            }
        });
    }
}

/// So many copies, a few milliseconds apart, each in another of these ways.
void churn(Owner& owner, int times, std::vector<Behaviour> behaviours) {
    owner.keepQuiet();
    const auto asked = std::make_shared<int>(0);
    const auto current = std::make_shared<std::size_t>(0);
    const std::size_t count = behaviours.size();
    owner.behave([behaviours = std::move(behaviours), asked, current](const Request& request) {
        ++*asked;
        behaviours[*current](request);
    });
    const auto start = Clock::now();
    for (int turn = 1; turn <= times; ++turn) {
        owner.at(start + milliseconds(3 * turn), [&owner, current, count] {
            *current = (*current + 1) % count;
            owner.takeOverAgain(0);
        });
    }
    owner.at(start + milliseconds(3 * (times + 1)), [asked] { say("done " + std::to_string(*asked)); });
}

/// Something comes of each, and nothing good.
std::vector<Behaviour> badAnswers(Owner& owner) {
    const std::string text = patterned("churn", 8 * kibibyte);
    return {
        [&owner](const Request& request) { owner.refuse(request); },
        offeringText(owner, [&owner](const Request& request) { owner.refuse(request); }),
        offeringText(owner, givingPieces(owner, 10, piecesOf(text, 2 * kibibyte))),
        offeringText(owner, giving(owner, text)),
        offeringText(owner, [&owner](const Request& request) { owner.notify(request); }),
        givingTyped(owner, "ZORBEL_UNHEARD_OF", 8, "churn"),
        givingTyped(owner, usualText, 32, "churn..."),
        oddTargets(owner, "ATOM", 8, "1234567"),
        offering(owner, {"TARGETS", "image/png"}, giving(owner, "churn")),
    };
}

/// None comes to an end.
std::vector<Behaviour> missingAnswers(Owner& owner) {
    return {
        [](const Request&) {},
        offeringText(owner, [](const Request&) {}),
        offeringText(owner, givingPieces(owner, 10, piecesOf({}, 1, std::nullopt))),
        offeringText(owner,
                     givingPieces(owner, 10, piecesOf(patterned("churn", kibibyte), 100, std::nullopt))),
        offeringText(owner, givingPieces(owner, 10, endless(16 * kibibyte, milliseconds(1)))),
    };
}

/// Says that other things have come than were asked for, before it answers as it should.
void sayUnasked(Owner& owner, const Request& request) {
    Request other = request;
    other.property = owner.atom("ZORBEL_ELSEWHERE");
    for (const char* target : {usualText, "STRING", "TARGETS", "MULTIPLE"}) {
        other.target = owner.atom(target);
        owner.give(other, "intruder");
    }
    owner.notify(request, XCB_ATOM_PRIMARY);
    other = request;
    other.target = owner.atom("image/png");
    owner.notify(other);
    other = request;
    other.property = owner.atom("ZORBEL_NEVER_WRITTEN");
    owner.notify(other);
    other.property = noSuchAtom;
    owner.notify(other);
}

using Mode = std::function<void(Owner& owner, int number)>;

const std::map<std::string_view, Mode>& modes() {
    static const std::map<std::string_view, Mode> all{
        {"polite",
         [](Owner& owner, int size) {
             owner.behave(
                 offeringText(owner, giving(owner, patterned("polite", static_cast<std::size_t>(size)))));
         }},
        {"polite-pieces",
         [](Owner& owner, int size) {
             owner.behave(offeringText(
                 owner,
                 givingPieces(owner, static_cast<std::uint32_t>(size),
                              piecesOf(patterned("polite", static_cast<std::size_t>(size)), 64 * kibibyte))));
         }},
        {"silent", [](Owner& owner, int) { owner.behave({}); }},
        {"targets-only", [](Owner& owner, int) { owner.behave(offeringText(owner, [](const Request&) {})); }},
        {"late",
         [](Owner& owner, int delay) {
             const auto answer = offeringText(owner, giving(owner, patterned("late", kibibyte)));
             owner.behave([&owner, delay, answer](const Request& request) {
                 owner.after(milliseconds(delay), [answer, request] { answer(request); });
             });
         }},
        {"dies-before-data",
         [](Owner& owner, int) {
             owner.behave(offeringText(owner, [&owner](const Request&) { die(owner); }));
         }},
        {"dies-after-targets",
         [](Owner& owner, int) {
             owner.behave([&owner](const Request& request) {
                 owner.giveTargets(request, {"TARGETS", usualText});
                 die(owner);
             });
         }},
        {"dies-in-pieces",
         [](Owner& owner, int) {
             const std::string text = patterned("dies", 64 * kibibyte);
             owner.behave(
                 offeringText(owner, givingPieces(owner, mebibyte, {[&owner, text](std::size_t index) {
                                                      if (index == 3) {
                                                          die(owner);
                                                      }
                                                      return std::optional(text);
                                                  }})));
         }},
        {"hints-too-little",
         [](Owner& owner, int) {
             owner.behave(offeringText(
                 owner,
                 givingPieces(owner, 10, piecesOf(patterned("little", 8 * mebibyte), 256 * kibibyte))));
         }},
        {"hints-too-much",
         [](Owner& owner, int) {
             owner.behave(offeringText(
                 owner, givingPieces(owner, std::numeric_limits<std::int32_t>::max(), piecesOf("abc", 3))));
         }},
        {"text-of-numbers",
         [](Owner& owner, int) {
             owner.behave(givingTyped(owner, usualText, 32, patterned("numbers", kibibyte)));
         }},
        {"text-of-pairs",
         [](Owner& owner, int) {
             owner.behave(givingTyped(owner, usualText, 16, patterned("pairs", kibibyte)));
         }},
        {"targets-of-bytes",
         [](Owner& owner, int) { owner.behave(oddTargets(owner, "ATOM", 8, std::string(64, '\1'))); }},
        {"targets-of-odd-length",
         [](Owner& owner, int) { owner.behave(oddTargets(owner, "ATOM", 8, "1234567")); }},
        {"targets-of-pairs",
         [](Owner& owner, int) { owner.behave(oddTargets(owner, "ATOM", 16, "123456")); }},
        {"targets-as-text",
         [](Owner& owner, int) { owner.behave(oddTargets(owner, "STRING", 8, "UTF8_STRING")); }},
        {"targets-for-ever",
         [](Owner& owner, int pause) {
             owner.behave([&owner, pause](const Request& request) {
                 owner.givePieces(request, 10, endless(64 * kibibyte, milliseconds(pause)));
             });
         }},
        {"for-ever",
         [](Owner& owner, int pause) {
             owner.behave(offeringText(
                 owner, givingPieces(owner, 10,
                                     endless(pause > 0 ? mebibyte : 64 * kibibyte, milliseconds(pause)))));
         }},
        {"drips", // a byte now and then, which will never be long
         [](Owner& owner, int pause) {
             owner.behave(offeringText(owner, givingPieces(owner, 10, endless(1, milliseconds(pause)))));
         }},
        {"longer-than-one-request", // appended before it is announced, so many bytes
         [](Owner& owner, int size) {
             owner.behave(offeringText(owner, [&owner, size](const Request& request) {
                 const std::string piece = patterned("long", mebibyte);
                 owner.write(request, request.target, 8, {});
                 for (std::size_t sent = 0; sent < static_cast<std::size_t>(size); sent += piece.size()) {
                     owner.write(request, request.target, 8, piece, XCB_PROP_MODE_APPEND);
                 }
                 owner.notify(request);
             }));
         }},
        {"floods", // pieces that wait for nobody, so many bytes in all
         [](Owner& owner, int size) {
             owner.behave(offeringText(owner, [&owner, size](const Request& request) {
                 const std::string piece = patterned("flood", 256 * kibibyte);
                 owner.writeNumbers(request, owner.atom("INCR"), {10});
                 owner.notify(request);
                 for (std::size_t sent = 0; sent < static_cast<std::size_t>(size); sent += piece.size()) {
                     owner.write(request, request.target, 8, piece, XCB_PROP_MODE_REPLACE);
                     owner.settle();
                 }
                 say("done");
             }));
         }},
        {"stops-in-pieces",
         [](Owner& owner, int) {
             owner.behave(offeringText(owner, givingPieces(owner, mebibyte,
                                                           piecesOf(patterned("stops", 256 * kibibyte),
                                                                    64 * kibibyte, std::nullopt))));
         }},
        {"never-begins",
         [](Owner& owner, int) {
             owner.behave(offeringText(owner, givingPieces(owner, mebibyte, piecesOf({}, 1, std::nullopt))));
         }},
        {"slow-pieces",
         [](Owner& owner, int pause) {
             Pieces pieces = piecesOf(patterned("slow", 8 * mebibyte), 256 * kibibyte);
             pieces.pause = milliseconds(pause);
             owner.behave(offeringText(owner, givingPieces(owner, 8 * mebibyte, std::move(pieces))));
         }},
        {"late-pieces",
         [](Owner& owner, int pause) {
             Pieces pieces = piecesOf(patterned("late", 2 * kibibyte), kibibyte);
             pieces.pause = milliseconds(pause);
             owner.behave(offeringText(owner, givingPieces(owner, 2 * kibibyte, std::move(pieces))));
         }},
        {"empty-pieces",
         [](Owner& owner, int) {
             owner.behave(offeringText(owner, givingPieces(owner, 10, piecesOf({}, 1))));
         }},
        {"broken-text",
         [](Owner& owner, int) {
             owner.behave(
                 offeringText(owner, giving(owner, "a\xff\xc3(\xe2\x82\xf0\x9f\x98z\xed\xa0\x80\xc0\x80.")));
         }},
        {"nuls",
         [](Owner& owner, int) {
             owner.behave(offeringText(owner, giving(owner, std::string("one\0two\0\0\0", 10))));
         }},
        {"only-nuls", [](Owner& owner,
                         int) { owner.behave(offeringText(owner, giving(owner, std::string(4096, '\0')))); }},
        {"lone-cr",
         [](Owner& owner, int) { owner.behave(offeringText(owner, giving(owner, "a\rb\r\nc\r"))); }},
        {"no-targets",
         [](Owner& owner, int) { owner.behave(offering(owner, {}, giving(owner, "unasked"))); }},
        {"refuses", [](Owner& owner,
                       int) { owner.behave([&owner](const Request& request) { owner.refuse(request); }); }},
        {"refuses-text",
         [](Owner& owner, int) {
             owner.behave(offeringText(owner, [&owner](const Request& request) { owner.refuse(request); }));
         }},
        {"unknown-targets",
         [](Owner& owner, int count) {
             std::vector<std::string> names;
             for (int index = 0; index < count; ++index) {
                 names.push_back("application/x-zorbel-" + std::to_string(index % 5));
             }
             owner.behave(offering(owner, std::move(names), giving(owner, "unasked")));
         }},
        {"unknown-targets-then-text",
         [](Owner& owner, int count) {
             std::vector<std::string> names{"TARGETS", usualText};
             for (int index = 0; index < count; ++index) {
                 names.push_back("application/x-zorbel-" + std::to_string(index % 5));
             }
             owner.behave(offering(owner, std::move(names), giving(owner, patterned("many", kibibyte))));
         }},
        {"unreal-targets",
         [](Owner& owner, int) {
             owner.behave([&owner](const Request& request) {
                 if (owner.isFor(request, "TARGETS")) {
                     std::vector<std::uint32_t> atoms{XCB_NONE, noSuchAtom, owner.atom(usualText)};
                     for (std::uint32_t index = 0; index < 1000; ++index) {
                         atoms.push_back(index % 3 == 0 ? ~index : noSuchAtom - index);
                     }
                     owner.writeNumbers(request, XCB_ATOM_ATOM, atoms);
                     owner.notify(request);
                 } else {
                     owner.give(request, patterned("unreal", kibibyte));
                 }
             });
         }},
        {"flaps", [](Owner& owner, int times) { flap(owner, times, true); }},
        {"flaps-silently", [](Owner& owner, int times) { flap(owner, times, false); }},
        {"wrong-property",
         [](Owner& owner, int) {
             owner.behave(offeringText(owner, [&owner](Request request) {
                 request.property = owner.atom("ZORBEL_ELSEWHERE");
                 owner.give(request, patterned("elsewhere", kibibyte));
             }));
         }},
        {"wrong-target",
         [](Owner& owner, int) {
             owner.behave(offeringText(owner, [&owner](Request request) {
                 request.target = owner.atom("image/png");
                 owner.give(request, patterned("other", kibibyte));
             }));
         }},
        {"unasked",
         [](Owner& owner, int) {
             const auto answer = offeringText(owner, giving(owner, patterned("asked", kibibyte)));
             owner.behave([&owner, answer](const Request& request) {
                 sayUnasked(owner, request);
                 answer(request);
                 sayUnasked(owner, request);
             });
         }},
        {"twice",
         [](Owner& owner, int) {
             const auto answer = offeringText(owner, giving(owner, patterned("twice", kibibyte)));
             owner.behave([answer](const Request& request) {
                 answer(request);
                 answer(request);
             });
         }},
        {"no-such-property",
         [](Owner& owner, int) {
             owner.behave(offeringText(owner, [&owner](const Request& request) { owner.notify(request); }));
         }},
        {"no-such-targets-property",
         [](Owner& owner, int) {
             owner.behave([&owner](const Request& request) { owner.notify(request); });
         }},
        {"unknown-type",
         [](Owner& owner, int) {
             owner.behave(givingTyped(owner, "ZORBEL_UNHEARD_OF", 8, patterned("unheard", kibibyte)));
         }},
        {"type-of-a-picture",
         [](Owner& owner, int) { owner.behave(givingTyped(owner, "image/png", 8, "\x89PNG\r\n\x1a\n")); }},
        {"secret",
         [](Owner& owner, int) {
             owner.behave(offering(owner, {"TARGETS", usualText, "x-kde-passwordManagerHint"},
                                   giving(owner, "secret")));
         }},
        {"text-and-picture",
         [](Owner& owner, int) {
             owner.behave(offering(owner, {"TARGETS", "image/png", "image/tiff", usualText},
                                   giving(owner, patterned("table", kibibyte))));
         }},
        {"picture",
         [](Owner& owner, int) {
             owner.behave(offering(owner, {"TARGETS", "image/png"},
                                   givingPieces(owner, 300 * mebibyte, endless(mebibyte, milliseconds(0)))));
         }},
        {"silent-manager", [](Owner& owner, int) { owner.takeInstead("CLIPBOARD_MANAGER"); }},
        {"refusing-manager",
         [](Owner& owner, int) {
             owner.takeInstead("CLIPBOARD_MANAGER");
             owner.behave([&owner](const Request& request) { owner.refuse(request); });
         }},
        {"dying-manager",
         [](Owner& owner, int) {
             owner.takeInstead("CLIPBOARD_MANAGER");
             owner.behave([&owner](const Request&) { die(owner); });
         }},
        {"grabbing-server", // for so many milliseconds, then it serves others again
         [](Owner& owner, int duration) {
             owner.behave(offeringText(owner, giving(owner, patterned("grabbing", kibibyte))));
             owner.grab(true);
             owner.after(milliseconds(duration), [&owner] {
                 owner.grab(false);
                 say("done");
             });
         }},
        {"answers-badly", [](Owner& owner, int times) { churn(owner, times, badAnswers(owner)); }},
        {"answers-never", [](Owner& owner, int times) { churn(owner, times, missingAnswers(owner)); }},
    };
    return all;
}

} // namespace

int main(int argumentCount, char** arguments) {
    const auto mode = modes().find(argumentCount > 1 ? arguments[1] : "");
    if (mode == modes().end()) {
        std::fputs("hostile_owner: no such mode\n", stderr);
        return 2;
    }
    Owner owner;
    mode->second(owner, argumentCount > 2 ? std::atoi(arguments[2]) : 0);
    owner.takeOver();
    owner.run();
}
