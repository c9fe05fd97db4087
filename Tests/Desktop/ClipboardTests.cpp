#include "Platforms/Linux/Clipboard/X11Pasteboard.hpp"
#include "Tests/Desktop/Desktop.hpp"
#include "Tests/Desktop/Memory.hpp"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using namespace Desktop;
using namespace std::chrono_literals;
using Linux::X11Pasteboard;
using ZorbelKit::PasteboardUrl;
using ZorbelKit::PictureType;

namespace {

using Clock = std::chrono::steady_clock;

constexpr Seconds moment{0.15}; // long enough for what must not happen to happen
constexpr std::size_t mebibyte = std::size_t{1} << 20;
constexpr std::size_t pieceSize = 64 << 10;
constexpr std::uint8_t sentBySomeone = 0x80;

template <class Reply>
std::unique_ptr<Reply, decltype(&std::free)> owned(Reply* reply) {
    return {reply, &std::free};
}

using Event = std::unique_ptr<xcb_generic_event_t, decltype(&std::free)>;

template <class Kind>
const Kind& as(const xcb_generic_event_t& event) {
    return reinterpret_cast<const Kind&>(event);
}

/// A program of its own to the X server, with one window that is never shown.
class Client {
public:
    Client()
        : connection_(xcb_connect(nullptr, nullptr))
        , window_(xcb_generate_id(get())) {
        const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(get())).data;
        const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_create_window(get(), XCB_COPY_FROM_PARENT, window_, screen->root, 0, 0, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &mask);
        settle();
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;
    ~Client() = default;

    xcb_connection_t* get() const { return connection_.get(); }
    xcb_window_t window() const { return window_; }
    void flush() const { xcb_flush(get()); }
    void settle() const { owned(xcb_get_input_focus_reply(get(), xcb_get_input_focus(get()), nullptr)); }

    xcb_atom_t atom(std::string_view name) const {
        return owned(xcb_intern_atom_reply(
                         get(),
                         xcb_intern_atom(get(), 0, static_cast<std::uint16_t>(name.size()), name.data()),
                         nullptr))
            ->atom;
    }

    std::string name(xcb_atom_t atom) const {
        const auto reply = owned(xcb_get_atom_name_reply(get(), xcb_get_atom_name(get(), atom), nullptr));
        return reply ? std::string(xcb_get_atom_name_name(reply.get()), reply->name_len) : std::string();
    }

    xcb_window_t ownerOf(const char* selection) const {
        return owned(xcb_get_selection_owner_reply(get(), xcb_get_selection_owner(get(), atom(selection)),
                                                   nullptr))
            ->owner;
    }

    /// The next event, or none after so long.
    Event next(Seconds deadline) const {
        const auto end = Clock::now() + deadline;
        for (;;) {
            flush();
            if (Event event = owned(xcb_poll_for_event(get()))) {
                return event;
            }
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
            if (left.count() <= 0 || xcb_connection_has_error(get()) != 0) {
                return owned<xcb_generic_event_t>(nullptr);
            }
            pollfd source{xcb_get_file_descriptor(get()), POLLIN, 0};
            ::poll(&source, 1, static_cast<int>(left.count()));
        }
    }

    void setCardinals(xcb_window_t window, xcb_atom_t property, xcb_atom_t type,
                      const std::vector<std::uint32_t>& values) const {
        xcb_change_property(get(), XCB_PROP_MODE_REPLACE, window, property, type, 32,
                            static_cast<std::uint32_t>(values.size()), values.data());
    }

    void disconnect() { connection_.reset(); }

private:
    struct Disconnect {
        void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    };
    std::unique_ptr<xcb_connection_t, Disconnect> connection_;
    xcb_window_t window_ = XCB_NONE;
};

/// How a program answers for one target.
struct Answer {
    std::string bytes;
    std::string type = {};       // the target itself where it is empty
    std::uint8_t format = 8;     // bits
    std::size_t piece = 0;       // bytes at a time; 0: all at once
    std::size_t most = SIZE_MAX; // pieces, before it stands still
};

using Offer = std::map<std::string, Answer>;

Offer text(std::string bytes) {
    return {{"UTF8_STRING", {std::move(bytes)}}};
}

/// Another program that copies. It serves on a thread of its own, like every program.
class Owner : public Client {
public:
    enum class Manner { prompt, silent, wrongProperty };

    explicit Owner(Offer offer, Manner manner = Manner::prompt, const char* selection = "CLIPBOARD")
        : selection_(atom(selection))
        , moment_(atom("TEST_MOMENT"))
        , offer_(std::move(offer))
        , manner_(manner)
        , thread_([this] { run(); }) {
        take();
    }
    ~Owner() { end(); }

    /// Becomes the owner, or says again that it is.
    void take() {
        const int before = takes_;
        xcb_change_property(get(), XCB_PROP_MODE_APPEND, window(), moment_, XCB_ATOM_INTEGER, 32, 0, nullptr);
        flush();
        EXPECT_TRUE(until([&] { return takes_ > before; }));
    }

    void copy(Offer offer) {
        {
            const std::lock_guard lock(mutex_);
            offer_ = std::move(offer);
        }
        take();
    }

    void clear() {
        xcb_set_selection_owner(get(), XCB_WINDOW_NONE, selection_, XCB_CURRENT_TIME);
        settle();
    }

    void destroyWindow() {
        xcb_destroy_window(get(), window());
        settle();
    }

    /// Answers what it has kept waiting.
    void answerAll() {
        const std::lock_guard lock(mutex_);
        for (const auto& request : std::exchange(waiting_, {})) {
            answer(request);
        }
        flush();
    }
    void setManner(Manner manner) {
        const std::lock_guard lock(mutex_);
        manner_ = manner;
    }

    /// The program ends, whatever is under way.
    void end() {
        isEnding_ = true;
        if (thread_.joinable()) {
            thread_.join();
            disconnect();
        }
    }

    std::vector<std::string> requested() const {
        const std::lock_guard lock(mutex_);
        return requested_;
    }
    int finished() const { return finished_; } // transfers in pieces
    int errors() const { return errors_; }     // of the X server

private:
    struct Transfer {
        Answer answer;
        xcb_atom_t type = XCB_ATOM_NONE;
        std::size_t sent = 0;
        std::size_t pieces = 0;
    };

    void run() {
        while (!isEnding_) {
            if (const Event event = next(Seconds{0.01})) {
                const std::lock_guard lock(mutex_);
                handle(*event);
            }
        }
    }

    void handle(const xcb_generic_event_t& event) {
        switch (event.response_type & ~sentBySomeone) {
        case 0:
            ++errors_;
            break;
        case XCB_PROPERTY_NOTIFY: {
            const auto& change = as<xcb_property_notify_event_t>(event);
            if (change.atom == moment_) {
                xcb_set_selection_owner(get(), window(), selection_, change.time);
                settle();
                ++takes_;
            } else if (change.state == XCB_PROPERTY_DELETE) {
                sendPiece(change.window, change.atom);
            }
            break;
        }
        case XCB_SELECTION_REQUEST: {
            const auto& request = as<xcb_selection_request_event_t>(event);
            requested_.push_back(name(request.target));
            if (manner_ == Manner::silent) {
                waiting_.push_back(request);
            } else {
                answer(request);
            }
            break;
        }
        default:
            break;
        }
        flush();
    }

    void answer(const xcb_selection_request_event_t& request) {
        const std::string target = name(request.target);
        xcb_selection_notify_event_t notify{};
        notify.response_type = XCB_SELECTION_NOTIFY;
        notify.time = request.time;
        notify.requestor = request.requestor;
        notify.selection = request.selection;
        notify.target = request.target;
        notify.property = request.property;
        if (manner_ == Manner::wrongProperty) {
            notify.property = atom("SOMETHING_ELSE");
        }
        if (const auto found = offer_.find(target); found != offer_.end()) {
            give(request.requestor, notify.property, request.target, found->second);
        } else if (target == "TARGETS") {
            std::vector<std::uint32_t> targets{atom("TARGETS")};
            for (const auto& [offered, answer] : offer_) {
                targets.push_back(atom(offered));
            }
            setCardinals(request.requestor, notify.property, XCB_ATOM_ATOM, targets);
        } else {
            notify.property = XCB_ATOM_NONE;
        }
        xcb_send_event(get(), 0, request.requestor, XCB_EVENT_MASK_NO_EVENT,
                       reinterpret_cast<const char*>(&notify));
    }

    void give(xcb_window_t requestor, xcb_atom_t property, xcb_atom_t target, const Answer& answer) {
        const xcb_atom_t type = answer.type.empty() ? target : atom(answer.type);
        if (answer.piece > 0) {
            const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
            xcb_change_window_attributes(get(), requestor, XCB_CW_EVENT_MASK, &mask);
            setCardinals(requestor, property, atom("INCR"), {1});
            transfers_[{requestor, property}] = {answer, type};
        } else {
            xcb_change_property(get(), XCB_PROP_MODE_REPLACE, requestor, property, type, answer.format,
                                static_cast<std::uint32_t>(answer.bytes.size() * 8 / answer.format),
                                answer.bytes.data());
        }
    }

    void sendPiece(xcb_window_t requestor, xcb_atom_t property) {
        const auto found = transfers_.find({requestor, property});
        if (found == transfers_.end() || found->second.pieces >= found->second.answer.most) {
            return;
        }
        Transfer& transfer = found->second;
        const std::size_t size =
            std::min(transfer.answer.piece, transfer.answer.bytes.size() - transfer.sent);
        xcb_change_property(get(), XCB_PROP_MODE_REPLACE, requestor, property, transfer.type, 8,
                            static_cast<std::uint32_t>(size), transfer.answer.bytes.data() + transfer.sent);
        transfer.sent += size;
        ++transfer.pieces;
        if (size == 0) {
            transfers_.erase(found);
            ++finished_;
        }
    }

    const xcb_atom_t selection_;
    const xcb_atom_t moment_;
    mutable std::mutex mutex_; // guards what follows, up to the atomic ones
    Offer offer_;
    Manner manner_;
    std::vector<std::string> requested_;
    std::vector<xcb_selection_request_event_t> waiting_;
    std::map<std::pair<xcb_window_t, xcb_atom_t>, Transfer> transfers_;
    std::atomic<int> takes_ = 0;
    std::atomic<int> finished_ = 0;
    std::atomic<int> errors_ = 0;
    std::atomic<bool> isEnding_ = false;
    std::thread thread_; // last: it uses all the others
};

/// What came for a request; a refusal where `isRefused`.
struct Pasted {
    bool isRefused = true;
    bool isInPieces = false;
    std::string type;
    std::string bytes;

    std::vector<std::uint32_t> cardinals() const {
        std::vector<std::uint32_t> result(bytes.size() / 4);
        std::memcpy(result.data(), bytes.data(), result.size() * 4);
        return result;
    }
};

/// Another program that pastes.
class Reader : public Client {
public:
    void ask(const std::string& target, xcb_atom_t property, xcb_timestamp_t time = XCB_CURRENT_TIME) const {
        xcb_convert_selection(get(), window(), atom("CLIPBOARD"), atom(target), property, time);
        flush();
    }

    /// Waits for the answer to the last request; none where there is none in time.
    std::optional<xcb_atom_t> answer(Seconds deadline = patience) const {
        const auto end = Clock::now() + deadline;
        while (Clock::now() < end) {
            const Event event = next(end - Clock::now());
            if (event && (event->response_type & ~sentBySomeone) == XCB_SELECTION_NOTIFY) {
                return as<xcb_selection_notify_event_t>(*event).property;
            }
        }
        return std::nullopt;
    }

    /// The property's content, all pieces of it.
    Pasted take(xcb_atom_t property) const {
        Pasted pasted = read(property);
        if (pasted.type == "INCR") {
            pasted = {.isRefused = false, .isInPieces = true, .type = {}, .bytes = {}};
            for (;;) {
                if (!awaitPiece(property)) {
                    ADD_FAILURE() << "no further piece";
                    return pasted;
                }
                const Pasted piece = read(property);
                pasted.type = piece.type;
                if (piece.bytes.empty()) {
                    break;
                }
                pasted.bytes += piece.bytes;
            }
        }
        return pasted;
    }

    Pasted paste(const std::string& target, xcb_timestamp_t time = XCB_CURRENT_TIME) const {
        const xcb_atom_t property = atom("PASTED");
        ask(target, property, time);
        const auto answered = answer();
        EXPECT_TRUE(answered) << target << " was not answered";
        return answered.value_or(XCB_ATOM_NONE) == XCB_ATOM_NONE ? Pasted() : take(*answered);
    }

    /// Reads and deletes.
    Pasted read(xcb_atom_t property) const {
        const auto reply = owned(xcb_get_property_reply(
            get(),
            xcb_get_property(get(), 1, window(), property, XCB_GET_PROPERTY_TYPE_ANY, 0, UINT32_MAX / 4),
            nullptr));
        return {.isRefused = false,
                .isInPieces = false,
                .type = name(reply->type),
                .bytes = std::string(static_cast<const char*>(xcb_get_property_value(reply.get())),
                                     static_cast<std::size_t>(xcb_get_property_value_length(reply.get())))};
    }

    bool awaitPiece(xcb_atom_t property) const {
        while (const Event event = next(patience)) {
            if (event->response_type == XCB_PROPERTY_NOTIFY) {
                const auto& change = as<xcb_property_notify_event_t>(*event);
                if (change.atom == property && change.state == XCB_PROPERTY_NEW_VALUE) {
                    return true;
                }
            }
        }
        return false;
    }
};

/// A pasteboard that is watched, and what has changed on it since.
class Watched : public X11Pasteboard {
public:
    explicit Watched(const Limits& limits = {.stalledOwner = Seconds{0.3}, .stalledReader = Seconds{0.3}})
        : X11Pasteboard(nullptr, limits) {}

    bool arrives(std::int64_t count) const {
        return until([this, count] { return changeCount() >= count; }) && changeCount() == count;
    }
    bool stays(std::int64_t count) const {
        return holds([this, count] { return changeCount() == count; }, moment);
    }
    std::string text() const {
        const auto found = string();
        return found ? std::string(found->view()) : "(none)";
    }
    bool isEmpty() const {
        return urls().empty() && !string() && !hasPicture(PictureType::tiff) && !hasPicture(PictureType::png);
    }

private:
    ZorbelKit::Token watching_ = watch();
};

std::vector<std::string> list(std::initializer_list<std::string> words) {
    return words;
}

std::string longText(std::size_t size) {
    std::string result;
    result.reserve(size + 32);
    for (std::size_t line = 0; result.size() < size; ++line) {
        result += "line " + std::to_string(line) + " of many\n";
    }
    return result;
}

/// xclip with the content of a file, in the foreground.
class Xclip {
public:
    explicit Xclip(const std::string& content, std::vector<std::string> options = {}) {
        std::ofstream(folder_.path() / "content", std::ios::binary) << content;
        std::vector<std::string> command{"xclip", "-quiet", "-in", "-selection", "clipboard"};
        command.insert(command.end(), options.begin(), options.end());
        command.push_back((folder_.path() / "content").string());
        program_ = std::make_unique<Program>(command);
    }

    Program& program() { return *program_; }

private:
    Folder folder_;
    std::unique_ptr<Program> program_;
};

} // namespace

TEST(Clipboard, ReadsWhatXclipCopies) {
    const Watched pasteboard;
    const Xclip copier("Hello, wörld");
    ASSERT_TRUE(pasteboard.arrives(1));
    EXPECT_EQ(pasteboard.text(), "Hello, wörld");
    EXPECT_TRUE(pasteboard.urls().empty());
    EXPECT_FALSE(pasteboard.hasPicture(PictureType::png));
}

TEST(Clipboard, WhatLiesThereBeforeIsNoChange) {
    const Owner owner(text("before"));
    const Watched pasteboard;
    EXPECT_TRUE(pasteboard.stays(0));
    EXPECT_TRUE(owner.requested().empty());
}

TEST(Clipboard, LongTextComesInPieces) {
    const Watched pasteboard;
    const std::string content = longText(10 * mebibyte);
    const Xclip copier(content);
    ASSERT_TRUE(pasteboard.arrives(1));
    EXPECT_TRUE(pasteboard.text() == content);
}

TEST(Clipboard, PutsTextBackForXclip) {
    Watched pasteboard;
    pasteboard.setString("Put back, wörld");
    Program reader({"xclip", "-out", "-selection", "clipboard"});
    EXPECT_EQ(reader.waitForEnd(), 0);
    EXPECT_EQ(reader.output(), "Put back, wörld");
}
