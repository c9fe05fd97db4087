#include "Tests/Desktop/Clients/Xdnd.hpp"

#include <cstring>
#include <string_view>
#include <vector>

/// The program that drags, step by step as its arguments say and as well or badly as they say:
///
///     drag_source WINDOW FILE step…
///
/// WINDOW is the target, FILE what a request for a list of files is answered with. Steps:
///
///     offers:files|text|forty|none   the types; forty: a list of its own, with files last
///     answers:whole|pieces|endless|stalls|refuses|never|dies|emptily|withNumbers|elsewhere
///     enter position leave drop      sends this; drop:refused although the last status said no
///     status finished asked          waits for this and says so: "status 1", "finished 0", "asked"
///     quiet                          waits a moment for more of the two; "quiet" where nothing came
///     over-and-out:N positions:N     enters and leaves N times; sends N positions and waits for N answers
///     destroy die                    the window is no more; the program is no more
///
/// Ends with "done".

namespace {

using namespace std::chrono_literals;
using Linux::as;
using Xdnd::Numbers;
using Xdnd::say;

constexpr auto patience = 15s;
constexpr std::size_t pieceLength = 60000; // bytes

class Source : public Xdnd::Client {
public:
    Source(xcb_window_t target, std::string content)
        : target_(target)
        , content_(std::move(content))
        , window_(xcb_generate_id(get())) {
        const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_create_window(get(), XCB_COPY_FROM_PARENT, window_, screen()->root, 0, 0, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, screen()->root_visual, XCB_CW_EVENT_MASK, &events);
        xcb_set_selection_owner(get(), window_, atom("XdndSelection"), XCB_CURRENT_TIME);
        settle();
    }

    /// False where there is no such step.
    bool perform(const std::string& step) {
        const auto colon = step.find(':');
        const std::string verb = step.substr(0, colon);
        const std::string object = colon == std::string::npos ? "" : step.substr(colon + 1);
        if (verb == "offers") {
            offer(object);
        } else if (verb == "answers") {
            answering_ = object;
        } else if (verb == "enter") {
            enter();
        } else if (verb == "position") {
            position(0);
        } else if (verb == "leave") {
            send(target_, "XdndLeave", {window_, 0, 0, 0, 0});
        } else if (verb == "drop") {
            send(target_, "XdndDrop", {window_, 0, XCB_CURRENT_TIME, 0, 0});
        } else if (verb == "status") {
            await("status", statuses_);
        } else if (verb == "finished") {
            await("finished", ends_);
        } else if (verb == "asked") {
            say(runUntil([this] { return requests_ > 0; }, patience) ? "asked" : "not asked");
        } else if (verb == "quiet") {
            const auto count = statuses_.size() + ends_.size();
            say(runUntil([&] { return statuses_.size() + ends_.size() > count; }, 500ms) ? "more" : "quiet");
        } else if (verb == "over-and-out") {
            overAndOut(std::stoi(object));
        } else if (verb == "positions") {
            positions(std::stoul(object));
        } else if (verb == "destroy") {
            xcb_destroy_window(get(), window_);
            settle();
        } else if (verb == "die") {
            settle();
            std::_Exit(0);
        } else {
            return false;
        }
        return true;
    }

private:
    void offer(const std::string& what) {
        types_.clear();
        if (what == "files") {
            types_ = {atom("text/uri-list")};
        } else if (what == "text") {
            types_ = {atom("UTF8_STRING"), atom("text/plain")};
        } else if (what == "forty") {
            for (int index = 1; index < 40; ++index) {
                types_.push_back(atom("text/x-zorbel-" + std::to_string(index)));
            }
            types_.push_back(atom("text/uri-list"));
            xcb_change_property(get(), XCB_PROP_MODE_REPLACE, window_, atom("XdndTypeList"), XCB_ATOM_ATOM,
                                32, static_cast<std::uint32_t>(types_.size()), types_.data());
        }
    }

    void enter() {
        constexpr std::uint32_t version = 5U << 24;
        Numbers numbers{window_, version | (types_.size() > 3 ? 1U : 0U), 0, 0, 0};
        std::copy_n(types_.begin(), std::min<std::size_t>(3, types_.size()), numbers.begin() + 2);
        send(target_, "XdndEnter", numbers);
    }

    /// In the middle of the target.
    void position(int shift) {
        const auto size =
            Linux::owned(xcb_get_geometry_reply(get(), xcb_get_geometry(get(), target_), nullptr));
        const auto corner = Linux::owned(xcb_translate_coordinates_reply(
            get(), xcb_translate_coordinates(get(), target_, screen()->root, 0, 0), nullptr));
        if (!size || !corner) {
            say("no target");
            return;
        }
        const int x = corner->dst_x + size->width / 2 + shift;
        const int y = corner->dst_y + size->height / 2;
        send(target_, "XdndPosition",
             {window_, 0, static_cast<std::uint32_t>(x) << 16 | (static_cast<std::uint32_t>(y) & 0xFFFF),
              XCB_CURRENT_TIME, atom("XdndActionCopy")});
    }

    void overAndOut(int times) {
        for (int turn = 0; turn < times; ++turn) {
            enter();
            position(turn % 20);
            send(target_, "XdndLeave", {window_, 0, 0, 0, 0});
        }
        const auto wanted = static_cast<std::size_t>(times);
        static_cast<void>(runUntil([&] { return statuses_.size() >= wanted; }, patience));
        say("statuses " + std::to_string(statuses_.size()));
        read_["status"] = statuses_.size();
    }

    void positions(std::size_t count) {
        const std::size_t before = statuses_.size();
        for (std::size_t index = 0; index < count; ++index) {
            position(static_cast<int>(index % 20));
        }
        static_cast<void>(runUntil([&] { return statuses_.size() >= before + count; }, patience));
        say("statuses " + std::to_string(statuses_.size() - before));
        read_["status"] = statuses_.size();
    }

    void await(const std::string& name, const std::vector<std::uint32_t>& answers) {
        const auto begun = Xdnd::Clock::now();
        std::size_t& read = read_[name];
        if (!runUntil([&] { return answers.size() > read; }, patience)) {
            say("no " + name);
            return;
        }
        const auto taken = std::chrono::duration_cast<std::chrono::milliseconds>(Xdnd::Clock::now() - begun);
        say(name + " " + std::to_string(answers[read++]) + " after " + std::to_string(taken.count()) + " ms");
    }

    void handle(const xcb_generic_event_t& event) override {
        switch (event.response_type & 0x7F) {
        case XCB_CLIENT_MESSAGE: {
            const auto& message = as<xcb_client_message_event_t>(event);
            if (message.type == atom("XdndStatus")) {
                statuses_.push_back(message.data.data32[1] & 1);
            } else if (message.type == atom("XdndFinished")) {
                ends_.push_back(message.data.data32[1] & 1);
            }
            break;
        }
        case XCB_SELECTION_REQUEST:
            ++requests_;
            answer(as<xcb_selection_request_event_t>(event));
            break;
        case XCB_PROPERTY_NOTIFY: {
            const auto& change = as<xcb_property_notify_event_t>(event);
            if (change.window == requestor_ && change.state == XCB_PROPERTY_DELETE) {
                sendPiece();
            }
            break;
        }
        default:
            break;
        }
    }

    void answer(const xcb_selection_request_event_t& request) {
        if (answering_ == "never") {
            return;
        }
        if (answering_ == "dies") {
            std::_Exit(0);
        }
        xcb_atom_t property = request.property;
        if (answering_ == "refuses") {
            property = XCB_NONE;
        } else if (answering_ == "elsewhere") {
            property = atom("ZORBEL_ELSEWHERE");
            write(request.requestor, property, request.target, content_);
        } else if (answering_ == "emptily") {
            // says that it is there, and writes nothing
        } else if (answering_ == "withNumbers") {
            const std::array<std::uint32_t, 3> numbers{1, 2, 3};
            xcb_change_property(get(), XCB_PROP_MODE_REPLACE, request.requestor, property, request.target, 32,
                                3, numbers.data());
        } else if (answering_ == "whole") {
            write(request.requestor, property, request.target, content_);
        } else { // in pieces
            requestor_ = request.requestor;
            property_ = property;
            const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
            xcb_change_window_attributes(get(), requestor_, XCB_CW_EVENT_MASK, &events);
            const std::uint32_t least = 1;
            xcb_change_property(get(), XCB_PROP_MODE_REPLACE, requestor_, property, atom("INCR"), 32, 1,
                                &least);
        }
        xcb_selection_notify_event_t notice{};
        notice.response_type = XCB_SELECTION_NOTIFY;
        notice.time = request.time;
        notice.requestor = request.requestor;
        notice.selection = request.selection;
        notice.target = request.target;
        notice.property = property;
        xcb_send_event(get(), 0, request.requestor, XCB_EVENT_MASK_NO_EVENT,
                       reinterpret_cast<const char*>(&notice));
        xcb_flush(get());
    }

    void sendPiece() {
        if (answering_ == "stalls" && sent_ > 0) {
            return;
        }
        if (answering_ == "endless") {
            write(requestor_, property_, atom("text/uri-list"), std::string(pieceLength * 3, 'x'));
            sent_ += pieceLength * 3;
            return;
        }
        const std::string piece = content_.substr(std::min(sent_, content_.size()), pieceLength);
        write(requestor_, property_, atom("text/uri-list"), piece); // the last one is empty
        sent_ += piece.size();
        if (answering_ == "diesInPieces") {
            settle();
            std::_Exit(0);
        }
        if (piece.empty()) {
            requestor_ = XCB_NONE;
        }
    }

    xcb_window_t target_;
    std::string content_;
    xcb_window_t window_;
    std::vector<xcb_atom_t> types_;
    std::string answering_ = "whole";
    std::vector<std::uint32_t> statuses_; // whether each accepted
    std::vector<std::uint32_t> ends_;
    std::map<std::string, std::size_t> read_; // of the answers of each kind
    int requests_ = 0;
    xcb_window_t requestor_ = XCB_NONE; // takes pieces
    xcb_atom_t property_ = XCB_NONE;
    std::size_t sent_ = 0; // bytes
};

} // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount < 4) {
        std::fputs("drag_source: WINDOW FILE step…\n", stderr);
        return 2;
    }
    Source source(static_cast<xcb_window_t>(std::strtoul(arguments[1], nullptr, 0)),
                  Xdnd::contentOf(arguments[2]));
    source.perform("offers:files");
    for (int index = 3; index < argumentCount; ++index) {
        if (!source.perform(arguments[index])) {
            std::fprintf(stderr, "drag_source: no step %s\n", arguments[index]);
            return 2;
        }
    }
    source.settle();
    say("done");
}
