#include "Platforms/Linux/Clipboard/X11Pasteboard.hpp"
#include "Platforms/Linux/XReply.hpp"
#include "Platforms/Qt/QtPictures.hpp"
#include "Tests/Desktop/BareServer.hpp"
#include "Tests/Desktop/Desktop.hpp"
#include "Tests/Desktop/Memory.hpp"

#include <QImage>
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
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using namespace Desktop;
using namespace std::chrono_literals;
using Linux::X11Pasteboard;
using ZorbelKit::PasteboardUrl;
using ZorbelKit::PictureType;

using Linux::as;
using Linux::Disconnect;
using Linux::owned;

namespace {

using Clock = std::chrono::steady_clock;

constexpr Seconds moment{0.15}; // long enough for what must not happen to happen
constexpr std::size_t mebibyte = std::size_t{1} << 20;
constexpr std::size_t pieceSize = 64 << 10;
constexpr std::uint8_t sentBySomeone = 0x80;

using Event = Linux::XEvent;

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

Offer only(std::string target, Answer answer) {
    Offer offer;
    offer.emplace(std::move(target), std::move(answer));
    return offer;
}

Offer text(std::string bytes) {
    return only("UTF8_STRING", {std::move(bytes)});
}

/// Another program that copies. It serves on a thread of its own, like every program.
class Owner : public Client {
public:
    enum class Manner { prompt, silent, silentAfterTargets, wrongProperty };

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
        takes_.wait(before);
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

    /// Lets transfers that stand still send so many pieces more.
    void goOn(std::size_t pieces) {
        const std::lock_guard lock(mutex_);
        for (auto& [place, transfer] : transfers_) {
            transfer.answer.most += pieces;
            if (std::exchange(transfer.isAwaited, false)) {
                sendPiece(place.first, place.second);
                break; // it may be gone
            }
        }
        flush();
    }

    void setBeforeAnswer(std::function<void(const std::string& target)> work) {
        const std::lock_guard lock(mutex_);
        beforeAnswer_ = std::move(work);
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
        bool isAwaited = false; // the reader has fetched the last one
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
                takes_.notify_all();
            } else if (change.state == XCB_PROPERTY_DELETE) {
                sendPiece(change.window, change.atom);
            }
            break;
        }
        case XCB_SELECTION_REQUEST: {
            const auto& request = as<xcb_selection_request_event_t>(event);
            requested_.push_back(name(request.target));
            const bool isSilent = manner_ == Manner::silent || (manner_ == Manner::silentAfterTargets &&
                                                                request.target != atom("TARGETS"));
            if (isSilent) {
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
        if (beforeAnswer_) {
            beforeAnswer_(target);
        }
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
            transfers_[{requestor, property}] = {.answer = answer, .type = type};
        } else {
            xcb_change_property(get(), XCB_PROP_MODE_REPLACE, requestor, property, type, answer.format,
                                static_cast<std::uint32_t>(answer.bytes.size() * 8 / answer.format),
                                answer.bytes.data());
        }
    }

    void sendPiece(xcb_window_t requestor, xcb_atom_t property) {
        const auto found = transfers_.find({requestor, property});
        if (found == transfers_.end()) {
            return;
        }
        Transfer& transfer = found->second;
        if (transfer.pieces >= transfer.answer.most) {
            transfer.isAwaited = true;
            return;
        }
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
    std::function<void(const std::string&)> beforeAnswer_;
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

    /// What a property of another program's window lists.
    std::vector<std::string> namesIn(xcb_window_t other, const char* property) const {
        const auto reply = owned(xcb_get_property_reply(
            get(), xcb_get_property(get(), 0, other, atom(property), XCB_ATOM_ATOM, 0, 64), nullptr));
        const auto* listed = static_cast<const xcb_atom_t*>(xcb_get_property_value(reply.get()));
        std::vector<std::string> names;
        for (int index = 0; index < xcb_get_property_value_length(reply.get()) / 4; ++index) {
            names.push_back(name(listed[index]));
        }
        return names;
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
    explicit Watched(const Limits& limits = {})
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

using Words = std::vector<std::string>;

std::string longText(std::size_t size) {
    std::string result;
    result.reserve(size + 32);
    for (std::size_t line = 0; result.size() < size; ++line) {
        result += "line " + std::to_string(line) + " of many\n";
    }
    return result;
}

/// Bytes of every value, and after them such as no text begins with.
std::string pictureBytes(std::size_t size) {
    std::string bytes(size, '\x80');
    std::mt19937 chance(15);
    std::generate_n(bytes.begin(), size / 2, [&chance] { return static_cast<char>(chance()); });
    return bytes;
}

ZorbelKit::Picture pictureOf(const std::string& bytes) {
    return ZorbelKit::Picture({.width = 1, .height = 1, .png = bytes});
}

/// xclip, which pastes a picture and says "whole" where it has the bytes that were copied.
class PictureReader {
public:
    explicit PictureReader(const std::string& bytes) {
        std::ofstream(folder_.path() / "copied", std::ios::binary) << bytes;
        program_ = std::make_unique<Program>(std::vector<std::string>{
            "sh", "-c",
            "timeout 20 xclip -out -selection clipboard -target image/png | cmp - \"$0/copied\" && echo whole"
            "; touch \"$0/done\"",
            folder_.path().string()});
    }

    bool isDone() const { return std::filesystem::exists(folder_.path() / "done"); }
    std::string said() {
        EXPECT_EQ(program_->waitForEnd(), 0);
        return program_->output();
    }

private:
    TemporaryFolder folder_;
    std::unique_ptr<Program> program_;
};

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
    TemporaryFolder folder_;
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
    EXPECT_TRUE(until([] { // it is offered once the server has told the time
        Program reader({"xclip", "-out", "-selection", "clipboard"});
        return reader.waitForEnd() == 0 && reader.output() == "Put back, wörld";
    }));
}

// Secrets

TEST(Clipboard, M01_M02_WhatIsMarkedAsSecretReadsAsNothing) {
    const Watched pasteboard;
    Owner owner(text("harmless"));
    ASSERT_TRUE(pasteboard.arrives(1));
    std::int64_t count = 1;
    for (const char* mark :
         {"x-kde-passwordManagerHint", "org.nspasteboard.ConcealedType", "org.nspasteboard.TransientType",
          "org.nspasteboard.AutoGeneratedType", "com.agilebits.onepassword", "Pasteboard generator type",
          "net.antelle.keeweb", "de.petermaurer.TransientPasteboardType", "com.typeit4me.clipping"}) {
        SCOPED_TRACE(mark);
        const std::size_t before = owner.requested().size();
        owner.copy({{mark, {"1"}},
                    {"UTF8_STRING", {"hunter2"}},
                    {"text/uri-list", {"file:///secret\r\n"}},
                    {"image/png", {"picture"}}});
        ASSERT_TRUE(pasteboard.arrives(++count));
        EXPECT_TRUE(pasteboard.isEmpty());
        EXPECT_TRUE(pasteboard.stays(count));
        const Words requested = owner.requested();
        EXPECT_EQ(Words(requested.begin() + static_cast<std::ptrdiff_t>(before), requested.end()),
                  Words{"TARGETS"});
    }
}

// One target is chosen

TEST(Clipboard, M04_OnlyTheTextOfATextWithAPictureIsRequested) {
    const Watched pasteboard;
    const Owner owner({{"UTF8_STRING", {"cells"}},
                       {"STRING", {"cells"}},
                       {"text/html", {"<b>cells</b>"}},
                       {"image/png", {"picture"}},
                       {"image/tiff", {"picture"}}});
    ASSERT_TRUE(pasteboard.arrives(1));
    EXPECT_EQ(pasteboard.text(), "cells");
    EXPECT_TRUE(pasteboard.hasPicture(PictureType::png));
    EXPECT_TRUE(pasteboard.hasPicture(PictureType::tiff));
    EXPECT_EQ(owner.requested(), (Words{"TARGETS", "UTF8_STRING"}));
}

TEST(Clipboard, TheKindsOfPicturesAreToldApart) {
    const Watched pasteboard;
    Owner owner(only("image/png", {"picture"}));
    ASSERT_TRUE(pasteboard.arrives(1));
    EXPECT_TRUE(pasteboard.hasPicture(PictureType::png));
    EXPECT_FALSE(pasteboard.hasPicture(PictureType::tiff));
    EXPECT_FALSE(pasteboard.string());
    owner.copy({{"image/tiff", {"picture"}}, {"image/jpeg", {"picture"}}});
    ASSERT_TRUE(pasteboard.arrives(2));
    EXPECT_FALSE(pasteboard.hasPicture(PictureType::png));
    EXPECT_TRUE(pasteboard.hasPicture(PictureType::tiff));
    EXPECT_EQ(owner.requested(), (Words{"TARGETS", "TARGETS"}));
}

TEST(Clipboard, TheListOfTargetsMayBeCalledTargets) {
    const Watched pasteboard;
    const Client client;
    const std::uint32_t targets[] = {client.atom("UTF8_STRING")};
    const Owner owner({{"TARGETS",
                        {.bytes = std::string(reinterpret_cast<const char*>(targets), sizeof(targets)),
                         .type = "TARGETS",
                         .format = 32}},
                       {"UTF8_STRING", {"text"}}});
    ASSERT_TRUE(pasteboard.arrives(1));
    EXPECT_EQ(pasteboard.text(), "text");
}

TEST(Clipboard, OldProgramsWithoutAListAreAskedForText) {
    struct Row {
        const char* name;
        Offer offer;
        std::string expected;
    };
    const Row rows[] = {
        {"Latin-1 only",
         {{"TARGETS", {.bytes = "no list", .type = "STRING"}}, {"STRING", {"gr\xFC\xDF"}}},
         "grüß"},
        {"UTF-8", {{"TARGETS", {.bytes = "no list", .type = "STRING"}}, {"UTF8_STRING", {"grüß"}}}, "grüß"},
        {"nothing", only("TARGETS", {.bytes = "no list", .type = "STRING"}), "(none)"},
    };
    const Watched pasteboard;
    std::int64_t count = 0;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const Owner owner(row.offer);
        ASSERT_TRUE(pasteboard.arrives(++count));
        EXPECT_EQ(pasteboard.text(), row.expected);
        EXPECT_EQ(owner.requested().front(), "TARGETS");
    }
}

TEST(Clipboard, ATargetThatIsRefusedAfterAllGivesWayToTheNext) {
    const Watched pasteboard;
    const Client client;
    std::vector<std::uint32_t> targets{client.atom("text/uri-list"), client.atom("UTF8_STRING"),
                                       client.atom("STRING")};
    const Owner owner({{"TARGETS",
                        {.bytes = std::string(reinterpret_cast<const char*>(targets.data()), 12),
                         .type = "ATOM",
                         .format = 32}},
                       {"STRING", {"text"}}});
    ASSERT_TRUE(pasteboard.arrives(1));
    EXPECT_EQ(pasteboard.text(), "text");
    EXPECT_EQ(owner.requested(), (Words{"TARGETS", "text/uri-list", "UTF8_STRING", "STRING"}));
}

// Owners that are slow, or worse

TEST(Clipboard, M05_AnOwnerThatNeverAnswersChangesNothing) {
    const Watched pasteboard;
    const Owner first(text("first"));
    ASSERT_TRUE(pasteboard.arrives(1));
    Owner silent(text("silent"), Owner::Manner::silent);
    ASSERT_TRUE(until([&] { return silent.requested() == Words{"TARGETS"}; }));
    EXPECT_TRUE(pasteboard.stays(1));
    EXPECT_EQ(pasteboard.text(), "first");
    const Owner next(text("next"));
    ASSERT_TRUE(pasteboard.arrives(2));
    EXPECT_EQ(pasteboard.text(), "next");
}

TEST(Clipboard, M05_ALateAnswerOfThePresentOwnerIsTaken) {
    const Watched pasteboard;
    Owner owner(text("late"), Owner::Manner::silent);
    EXPECT_TRUE(pasteboard.stays(0));
    owner.setManner(Owner::Manner::silentAfterTargets);
    owner.answerAll();
    ASSERT_TRUE(until([&] { return owner.requested() == Words{"TARGETS", "UTF8_STRING"}; }));
    EXPECT_TRUE(pasteboard.stays(0));
    owner.answerAll();
    ASSERT_TRUE(pasteboard.arrives(1));
    EXPECT_EQ(pasteboard.text(), "late");
}

TEST(Clipboard, M05_ALateAnswerOfAnEarlierOwnerIsFetchedAndForgotten) {
    const Watched pasteboard;
    Owner earlier(only("UTF8_STRING", {.bytes = longText(mebibyte), .piece = pieceSize}),
                  Owner::Manner::silentAfterTargets);
    ASSERT_TRUE(until([&] { return earlier.requested() == Words{"TARGETS", "UTF8_STRING"}; }));
    const Owner present(text("present"));
    ASSERT_TRUE(pasteboard.arrives(1));
    earlier.answerAll();
    EXPECT_TRUE(until([&] { return earlier.finished() == 1; }));
    EXPECT_EQ(earlier.errors(), 0);
    EXPECT_TRUE(pasteboard.stays(1));
    EXPECT_EQ(pasteboard.text(), "present");
}

TEST(Clipboard, M05_AnAnswerInTheWrongPropertyIsNone) {
    const Watched pasteboard;
    Owner owner(text("astray"), Owner::Manner::wrongProperty);
    EXPECT_TRUE(pasteboard.stays(0));
    owner.setManner(Owner::Manner::prompt);
    owner.copy(text("right"));
    ASSERT_TRUE(pasteboard.arrives(1));
    EXPECT_EQ(pasteboard.text(), "right");
}

TEST(Clipboard, M05_AnOwnerThatEndsBeforeItsDataChangesNothing) {
    const Watched pasteboard;
    Owner owner(text("never"), Owner::Manner::silentAfterTargets);
    ASSERT_TRUE(until([&] { return owner.requested() == Words{"TARGETS", "UTF8_STRING"}; }));
    owner.end();
    EXPECT_TRUE(pasteboard.stays(0));
    const Owner next(text("next"));
    ASSERT_TRUE(pasteboard.arrives(1));
    EXPECT_EQ(pasteboard.text(), "next");
}

TEST(Clipboard, M06_AHugePictureIsKnownButNotFetched) {
    const Watched pasteboard;
    const std::string picture(64 * mebibyte, 'p');
    const auto before = holdings(::getpid()).anonymous;
    Xclip copier(picture, {"-target", "image/png"});
    ASSERT_TRUE(pasteboard.arrives(1));
    EXPECT_TRUE(pasteboard.hasPicture(PictureType::png));
    EXPECT_TRUE(pasteboard.stays(1));
    EXPECT_LT(holdings(::getpid()).anonymous, before + 8 * mebibyte);
    EXPECT_TRUE(copier.program().isRunning());
}

TEST(Clipboard, M06_WhatIsTooLongIsDrained) {
    const Watched pasteboard({.longestText = mebibyte});
    Owner owner(only("UTF8_STRING", {.bytes = longText(4 * mebibyte), .piece = pieceSize}));
    ASSERT_TRUE(pasteboard.arrives(1));
    EXPECT_TRUE(pasteboard.isEmpty());
    EXPECT_TRUE(until([&] { return owner.finished() == 1; }));
    EXPECT_EQ(owner.errors(), 0);
    owner.copy(only("UTF8_STRING", {longText(2 * mebibyte)}));
    ASSERT_TRUE(pasteboard.arrives(2));
    EXPECT_TRUE(pasteboard.isEmpty());
    owner.copy(text("short"));
    ASSERT_TRUE(pasteboard.arrives(3));
    EXPECT_EQ(pasteboard.text(), "short");
}

TEST(Clipboard, M07_AnOwnerThatStopsInTheMiddleIsGivenUp) {
    const Watched pasteboard({.stalledOwner = Seconds{0.3}});
    const std::string content = longText(mebibyte);
    Owner owner(only("UTF8_STRING", {.bytes = content, .piece = pieceSize, .most = 3}));
    EXPECT_TRUE(holds([&] { return pasteboard.changeCount() == 0; }, Seconds{0.5}));
    owner.goOn(SIZE_MAX / 2); // too late: it is fetched, but no longer wanted
    EXPECT_TRUE(until([&] { return owner.finished() == 1; }));
    EXPECT_TRUE(pasteboard.stays(0));
    owner.copy(only("UTF8_STRING", {.bytes = content, .piece = pieceSize}));
    ASSERT_TRUE(pasteboard.arrives(1));
    EXPECT_TRUE(pasteboard.text() == content);
}

TEST(Clipboard, M07_AnOwnerThatIsSlowButGoesOnIsWaitedFor) {
    const Watched pasteboard({.stalledOwner = Seconds{0.6}});
    const std::string content = longText(6 * pieceSize);
    Owner owner(only("UTF8_STRING", {.bytes = content, .piece = pieceSize, .most = 1}));
    for (int piece = 0; piece < 5; ++piece) { // 1 s in all, where 0.6 s is the limit for each
        ASSERT_TRUE(holds([&] { return pasteboard.changeCount() == 0; }, Seconds{0.2}));
        owner.goOn(1);
    }
    owner.goOn(16);
    ASSERT_TRUE(pasteboard.arrives(1));
    EXPECT_TRUE(pasteboard.text() == content);
}

TEST(Clipboard, PiecesOfAnyShapeComeTogether) {
    const Watched pasteboard;
    std::int64_t count = 0;
    const std::string content = longText(3000);
    for (const std::size_t piece :
         {std::size_t{1}, std::size_t{7}, std::size_t{2999}, content.size(), 2 * content.size()}) {
        SCOPED_TRACE(piece);
        const Owner owner(only("UTF8_STRING", {.bytes = content, .piece = piece}));
        ASSERT_TRUE(pasteboard.arrives(++count));
        EXPECT_EQ(pasteboard.text(), content);
    }
    const Owner empty(only("UTF8_STRING", {.bytes = "", .piece = 1}));
    ASSERT_TRUE(pasteboard.arrives(++count));
    EXPECT_EQ(pasteboard.text(), "");
}

// Whose the selection is

TEST(Clipboard, M11_WhatOthersCopiedStaysTheirs) {
    const Watched pasteboard;
    const Owner owner({{"text/uri-list", {"file:///tmp\r\n"}},
                       {"x-special/gnome-copied-files", {"cut\nfile:///tmp"}},
                       {"UTF8_STRING", {"/tmp"}}});
    ASSERT_TRUE(pasteboard.arrives(1));
    const Reader reader;
    EXPECT_EQ(reader.paste("x-special/gnome-copied-files").bytes, "cut\nfile:///tmp");
    EXPECT_EQ(reader.ownerOf("CLIPBOARD"), owner.window());
}

TEST(Clipboard, M12_MarkedTextIsNotEvenLookedAt) {
    const Watched pasteboard;
    Owner owner(text("marked"), Owner::Manner::prompt, "PRIMARY");
    for (int change = 0; change < 60; ++change) {
        owner.take();
    }
    EXPECT_TRUE(pasteboard.stays(0));
    EXPECT_TRUE(owner.requested().empty());
}

TEST(Clipboard, M13_TheSameOwnerAgainIsOneMoreChange) {
    const Watched pasteboard;
    Owner owner(text("same"));
    ASSERT_TRUE(pasteboard.arrives(1));
    owner.take();
    ASSERT_TRUE(pasteboard.arrives(2));
    EXPECT_EQ(pasteboard.text(), "same");
}

TEST(Clipboard, M14_ContentsOfTwoOwnersAreNeverMixed) {
    const Watched pasteboard;
    const std::string first(8 * pieceSize, 'a');
    const std::string second(8 * pieceSize, 'b');
    Owner one(only("UTF8_STRING", {.bytes = first, .piece = pieceSize}));
    Owner other(only("UTF8_STRING", {.bytes = second, .piece = pieceSize}));
    for (int round = 0; round < 60; ++round) {
        one.take();
        other.take();
        const std::string seen = pasteboard.text();
        ASSERT_TRUE(seen == first || seen == second || seen == "(none)") << "in round " << round;
    }
    EXPECT_TRUE(until([&] { return pasteboard.text() == second; }));
    const std::int64_t count = pasteboard.changeCount();
    one.copy(text("last"));
    ASSERT_TRUE(pasteboard.arrives(count + 1));
    EXPECT_EQ(pasteboard.text(), "last");
    EXPECT_EQ(one.errors() + other.errors(), 0);
}

TEST(Clipboard, M14_AFlappingOwnerHidesNoLaterCopy) {
    const Watched pasteboard;
    Owner flapping(text("flapping"), Owner::Manner::silent);
    for (int change = 0; change < 1000; ++change) {
        flapping.take();
    }
    EXPECT_LT(flapping.requested().size(), 100U);
    const Owner owner(text("real"));
    ASSERT_TRUE(pasteboard.arrives(1));
    EXPECT_EQ(pasteboard.text(), "real");
    flapping.answerAll();
    EXPECT_TRUE(pasteboard.stays(1));
    EXPECT_EQ(pasteboard.text(), "real");
}

TEST(Clipboard, M15_OurOwnWriteCountsOnceAndAtOnce) {
    Watched pasteboard;
    const Reader reader;
    pasteboard.setString("ours");
    EXPECT_EQ(pasteboard.changeCount(), 1);
    EXPECT_EQ(pasteboard.text(), "ours");
    EXPECT_TRUE(until([&] { return reader.ownerOf("CLIPBOARD") != XCB_NONE; }));
    EXPECT_TRUE(pasteboard.stays(1));
    const Owner owner(text("theirs"));
    ASSERT_TRUE(pasteboard.arrives(2)); // the user's next copy is not passed over
    EXPECT_EQ(pasteboard.text(), "theirs");
}

TEST(Clipboard, M15_OfSeveralWritesTheLastIsServed) {
    Watched pasteboard;
    for (const char* content : {"one", "two", "three"}) {
        pasteboard.setString(content);
    }
    EXPECT_EQ(pasteboard.changeCount(), 3);
    const Reader reader;
    EXPECT_TRUE(until([&] { return reader.paste("UTF8_STRING").bytes == "three"; }));
    EXPECT_TRUE(pasteboard.stays(3));
}

TEST(Clipboard, M15_AReadThatBeganBeforeOurWriteIsDropped) {
    Watched pasteboard;
    Owner owner(text("theirs"), Owner::Manner::silentAfterTargets);
    ASSERT_TRUE(until([&] { return owner.requested() == Words{"TARGETS", "UTF8_STRING"}; }));
    pasteboard.setString("ours");
    owner.answerAll();
    EXPECT_TRUE(pasteboard.stays(1));
    EXPECT_EQ(pasteboard.text(), "ours");
}

TEST(Clipboard, M15_WhoeverWinsARaceIsSeen) {
    Watched pasteboard;
    Owner owner(text("theirs"));
    const Client client;
    for (int round = 0; round < 50; ++round) {
        SCOPED_TRACE(round);
        std::thread rival([&] { owner.take(); });
        pasteboard.setString("ours");
        rival.join();
        ASSERT_TRUE(until([&] {
            const bool isTheirs = client.ownerOf("CLIPBOARD") == owner.window();
            return pasteboard.text() == (isTheirs ? "theirs" : "ours") &&
                   Reader().paste("UTF8_STRING").bytes == pasteboard.text();
        }));
    }
}

TEST(Clipboard, M16_OnlyAPurposefulClearCounts) {
    const Watched pasteboard;
    {
        Owner owner(text("first"));
        ASSERT_TRUE(pasteboard.arrives(1));
        owner.end();
        EXPECT_TRUE(pasteboard.stays(1));
        EXPECT_EQ(pasteboard.text(), "first");
    }
    {
        Owner owner(text("second"));
        ASSERT_TRUE(pasteboard.arrives(2));
        owner.destroyWindow();
        EXPECT_TRUE(pasteboard.stays(2));
        EXPECT_EQ(pasteboard.text(), "second");
    }
    Owner owner(text("third"));
    ASSERT_TRUE(pasteboard.arrives(3));
    owner.clear();
    ASSERT_TRUE(pasteboard.arrives(4));
    EXPECT_TRUE(pasteboard.isEmpty());
}

// Pasting what we have put there

TEST(Clipboard, M18_EveryKindOfReaderIsAnswered) {
    Watched pasteboard;
    pasteboard.setString("grüß €");
    const Reader reader;
    ASSERT_TRUE(until([&] { return reader.ownerOf("CLIPBOARD") != XCB_NONE; }));

    struct Row {
        const char* target;
        std::string type;
        std::string bytes;
    };
    const Row rows[] = {{"UTF8_STRING", "UTF8_STRING", "grüß €"},
                        {"text/plain;charset=utf-8", "text/plain;charset=utf-8", "grüß €"},
                        {"text/plain", "text/plain", "grüß €"},
                        {"TEXT", "UTF8_STRING", "grüß €"},
                        {"STRING", "STRING", "gr\xFC\xDF ?"},
                        {"SAVE_TARGETS", "NULL", ""}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.target);
        const Pasted pasted = reader.paste(row.target);
        EXPECT_FALSE(pasted.isRefused);
        EXPECT_EQ(pasted.type, row.type);
        EXPECT_EQ(pasted.bytes, row.bytes);
    }
    for (const char* target : {"text/html", "image/png", "NEVER_HEARD_OF", "DELETE", "MULTIPLE"}) {
        EXPECT_TRUE(reader.paste(target).isRefused) << target;
    }

    const Pasted targets = reader.paste("TARGETS");
    EXPECT_EQ(targets.type, "ATOM");
    Words names;
    for (const xcb_atom_t target : targets.cardinals()) {
        names.push_back(reader.name(target));
    }
    EXPECT_EQ(names, (Words{"TARGETS", "TIMESTAMP", "MULTIPLE", "SAVE_TARGETS", "UTF8_STRING",
                            "text/plain;charset=utf-8", "text/plain", "STRING", "TEXT"}));
}

TEST(Clipboard, M18_RequestsFromBeforeOurTimeAreRefused) {
    Watched pasteboard;
    pasteboard.setString("ours");
    const Reader reader;
    ASSERT_TRUE(until([&] { return reader.ownerOf("CLIPBOARD") != XCB_NONE; }));
    const Pasted pasted = reader.paste("TIMESTAMP");
    EXPECT_EQ(pasted.type, "INTEGER");
    const std::vector<std::uint32_t> since = pasted.cardinals();
    ASSERT_EQ(since.size(), 1U);
    EXPECT_EQ(reader.paste("UTF8_STRING", since[0]).bytes, "ours");
    EXPECT_TRUE(reader.paste("UTF8_STRING", since[0] - 1).isRefused);
}

TEST(Clipboard, M18_OldReadersNameNoProperty) {
    Watched pasteboard;
    pasteboard.setString("ours");
    const Reader reader;
    ASSERT_TRUE(until([&] { return reader.ownerOf("CLIPBOARD") != XCB_NONE; }));
    reader.ask("UTF8_STRING", XCB_ATOM_NONE);
    ASSERT_EQ(reader.answer(), reader.atom("UTF8_STRING"));
    EXPECT_EQ(reader.read(reader.atom("UTF8_STRING")).bytes, "ours");
}

TEST(Clipboard, M18_SeveralTargetsComeAtOnce) {
    Watched pasteboard;
    const std::string content = longText(mebibyte);
    for (const std::string& written : {std::string("ours"), content}) {
        pasteboard.setString(written);
        const Reader reader;
        ASSERT_TRUE(until([&] { return reader.ownerOf("CLIPBOARD") != XCB_NONE; }));
        ASSERT_TRUE(until([&] { return reader.paste("UTF8_STRING").bytes == written; }));
        const xcb_atom_t all = reader.atom("ALL");
        const xcb_atom_t text = reader.atom("FIRST");
        const xcb_atom_t nothing = reader.atom("SECOND");
        const xcb_atom_t latin = reader.atom("THIRD");
        const std::vector<std::uint32_t> pairs{
            reader.atom("UTF8_STRING"), text, reader.atom("image/png"), nothing, XCB_ATOM_STRING, latin};
        reader.setCardinals(reader.window(), all, reader.atom("ATOM_PAIR"), pairs);
        reader.ask("MULTIPLE", all);
        ASSERT_EQ(reader.answer(), all);
        const Pasted answered = reader.read(all);
        EXPECT_EQ(answered.type, "ATOM_PAIR");
        std::vector<std::uint32_t> expected = pairs;
        expected[3] = XCB_ATOM_NONE;
        EXPECT_EQ(answered.cardinals(), expected);
        EXPECT_TRUE(reader.take(text).bytes == written);
        EXPECT_TRUE(reader.take(latin).bytes == written);
    }
}

TEST(Clipboard, M19_ALongTextIsServedInPieces) {
    Watched pasteboard;
    const std::string content = longText(50 * mebibyte) + "grüß €";
    pasteboard.setString(content);
    const Reader reader;
    ASSERT_TRUE(until([&] { return reader.ownerOf("CLIPBOARD") != XCB_NONE; }));
    const Pasted pasted = reader.paste("UTF8_STRING");
    EXPECT_TRUE(pasted.isInPieces);
    EXPECT_EQ(pasted.type, "UTF8_STRING");
    EXPECT_TRUE(pasted.bytes == content);
}

TEST(Clipboard, M19_AStalledReaderIsDroppedAndBlocksNoOther) {
    Watched pasteboard({.stalledReader = Seconds{1}});
    const std::string content = longText(2 * mebibyte);
    pasteboard.setString(content);
    const Reader stalled;
    ASSERT_TRUE(until([&] { return stalled.ownerOf("CLIPBOARD") != XCB_NONE; }));
    const xcb_atom_t property = stalled.atom("STALLED");
    stalled.ask("UTF8_STRING", property);
    ASSERT_EQ(stalled.answer(), property);
    EXPECT_EQ(stalled.read(property).type, "INCR");
    ASSERT_TRUE(stalled.awaitPiece(property));

    EXPECT_TRUE(Reader().paste("UTF8_STRING").bytes == content);
    EXPECT_TRUE(Reader().paste("STRING").bytes == content);

    EXPECT_TRUE(holds([] { return true; }, Seconds{1.5}));
    EXPECT_EQ(stalled.read(property).bytes.size(), pieceSize);
    while (const Event event = stalled.next(moment)) {
        const auto& change = as<xcb_property_notify_event_t>(*event);
        EXPECT_FALSE(event->response_type == XCB_PROPERTY_NOTIFY && change.state == XCB_PROPERTY_NEW_VALUE);
    }
    EXPECT_TRUE(Reader().paste("UTF8_STRING").bytes == content);
}

TEST(Clipboard, M20_AReaderThatEndsIsForgotten) {
    Watched pasteboard;
    const std::string content = longText(mebibyte);
    pasteboard.setString(content);
    const Client client;
    ASSERT_TRUE(until([&] { return client.ownerOf("CLIPBOARD") != XCB_NONE; }));
    std::vector<std::unique_ptr<Client>> placeholders; // or the server gives the next one the same numbers
    for (int round = 0; round < 50; ++round) {
        Reader reader;
        const xcb_atom_t property = reader.atom("PASTED");
        reader.ask("UTF8_STRING", property);
        if (round % 3 > 0) {
            ASSERT_EQ(reader.answer(), property);
        }
        if (round % 3 > 1) {
            EXPECT_EQ(reader.read(property).type, "INCR");
        }
        reader.disconnect();
        placeholders.push_back(std::make_unique<Client>());
    }
    EXPECT_TRUE(Reader().paste("UTF8_STRING").bytes == content);
    EXPECT_TRUE(pasteboard.stays(1));
}

// Pictures of ours

TEST(Clipboard, F15_APictureIsPastedAsItWasCopied) {
    Watched pasteboard;
    std::int64_t count = 0;
    for (const std::size_t size : {std::size_t{300}, std::size_t{200} << 10, 10 * mebibyte}) {
        SCOPED_TRACE(size);
        const std::string bytes = pictureBytes(size);
        pasteboard.setString("before");
        pasteboard.setPicture(pictureOf(bytes));
        count += 2;
        EXPECT_EQ(pasteboard.changeCount(), count);
        EXPECT_TRUE(pasteboard.hasPicture(PictureType::png));
        EXPECT_FALSE(pasteboard.hasPicture(PictureType::tiff));
        EXPECT_FALSE(pasteboard.string());
        EXPECT_TRUE(pasteboard.urls().empty());

        const Reader reader;
        Pasted pasted;
        ASSERT_TRUE(until([&] { return (pasted = reader.paste("image/png")).bytes == bytes; }));
        EXPECT_EQ(pasted.type, "image/png");
        EXPECT_EQ(pasted.isInPieces, size > 256 << 10);
        EXPECT_EQ(PictureReader(bytes).said(), "whole\n");

        Words targets;
        for (const xcb_atom_t target : reader.paste("TARGETS").cardinals()) {
            targets.push_back(reader.name(target));
        }
        EXPECT_EQ(targets, (Words{"TARGETS", "TIMESTAMP", "MULTIPLE", "SAVE_TARGETS", "image/png"}));
        for (const char* target : {"UTF8_STRING", "STRING", "TEXT", "text/plain", "text/plain;charset=utf-8",
                                   "image/tiff", "text/uri-list"}) {
            EXPECT_TRUE(reader.paste(target).isRefused) << target;
        }
        EXPECT_EQ(reader.paste("SAVE_TARGETS").type, "NULL");
        EXPECT_TRUE(pasteboard.stays(count));
    }
}

TEST(Clipboard, F15_APictureIsPastedWhileTheMainThreadIsBusy) {
    X11Pasteboard pasteboard;
    const std::string bytes = pictureBytes(10 * mebibyte);
    pasteboard.setPicture(pictureOf(bytes));
    const Client client;
    ASSERT_TRUE(until([&] { return client.ownerOf("CLIPBOARD") != XCB_NONE; }));
    PictureReader reader(bytes);
    const auto end = Clock::now() + patience;
    while (!reader.isDone() && Clock::now() < end) { // neither sleeps nor takes events
    }
    EXPECT_EQ(reader.said(), "whole\n");
}

TEST(Clipboard, F15_ManyPasteAPictureAtOnceAndItIsInMemoryOnce) {
    X11Pasteboard pasteboard;
    const std::string bytes = pictureBytes(10 * mebibyte);
    pasteboard.setPicture(pictureOf(bytes));
    const Client client;
    ASSERT_TRUE(until([&] { return client.ownerOf("CLIPBOARD") != XCB_NONE; }));
    const auto before = holdings(::getpid()).anonymous;
    auto most = before;
    std::deque<PictureReader> readers;
    for (int reader = 0; reader < 20; ++reader) {
        readers.emplace_back(bytes);
    }
    EXPECT_TRUE(until([&] {
        most = std::max(most, holdings(::getpid()).anonymous);
        return std::ranges::all_of(readers, &PictureReader::isDone);
    }));
    for (PictureReader& reader : readers) {
        EXPECT_EQ(reader.said(), "whole\n");
    }
    EXPECT_LT(most, before + bytes.size() / 2);
}

TEST(Clipboard, F15_AProgramMadeWithTheToolkitPastesAPicture) {
    X11Pasteboard pasteboard;
    QImage image(640, 400, QImage::Format_ARGB32);
    image.fill(qRgba(0x33, 0x66, 0x99, 0xC0));
    pasteboard.setPicture(QtPlatform::QtPictures::picture(image));
    const Client client;
    ASSERT_TRUE(until([&] { return client.ownerOf("CLIPBOARD") != XCB_NONE; }));
    Program reader({QT_COPY_PROGRAM, "--paste"}, unread());
    EXPECT_EQ(reader.waitForEnd(), 0);
    EXPECT_EQ(reader.output(), "picture 640x400 c0336699\n");
}

TEST(Clipboard, F15_APictureComesAmongSeveralTargets) {
    X11Pasteboard pasteboard;
    for (const std::size_t size : {std::size_t{300}, mebibyte}) {
        SCOPED_TRACE(size);
        const std::string bytes = pictureBytes(size);
        pasteboard.setPicture(pictureOf(bytes));
        const Reader reader;
        ASSERT_TRUE(until([&] { return reader.paste("image/png").bytes == bytes; }));
        const xcb_atom_t all = reader.atom("ALL");
        const xcb_atom_t picture = reader.atom("FIRST");
        const xcb_atom_t since = reader.atom("THIRD");
        const std::vector<std::uint32_t> pairs{reader.atom("image/png"),   picture,
                                               reader.atom("UTF8_STRING"), reader.atom("SECOND"),
                                               reader.atom("TIMESTAMP"),   since};
        reader.setCardinals(reader.window(), all, reader.atom("ATOM_PAIR"), pairs);
        reader.ask("MULTIPLE", all);
        ASSERT_EQ(reader.answer(), all);
        std::vector<std::uint32_t> expected = pairs;
        expected[3] = XCB_ATOM_NONE;
        EXPECT_EQ(reader.read(all).cardinals(), expected);
        EXPECT_TRUE(reader.take(picture).bytes == bytes);
        EXPECT_EQ(reader.read(since).type, "INTEGER");
    }
}

TEST(Clipboard, F15_ATextAndAPictureReplaceOneAnother) {
    Watched pasteboard;
    const std::string bytes = pictureBytes(mebibyte);
    const std::string longer = longText(mebibyte);
    pasteboard.setPicture(pictureOf(bytes));
    const Reader first;
    ASSERT_TRUE(until([&] { return first.ownerOf("CLIPBOARD") != XCB_NONE; }));
    const xcb_atom_t property = first.atom("PASTED");
    first.ask("image/png", property);
    ASSERT_EQ(first.answer(), property);

    pasteboard.setString(longer);
    EXPECT_EQ(pasteboard.changeCount(), 2);
    EXPECT_FALSE(pasteboard.hasPicture(PictureType::png));
    EXPECT_TRUE(pasteboard.text() == longer);
    const Reader second;
    ASSERT_TRUE(until([&] { return second.paste("UTF8_STRING").bytes == longer; }));
    EXPECT_TRUE(second.paste("image/png").isRefused);
    second.ask("STRING", property);
    ASSERT_EQ(second.answer(), property);

    pasteboard.setPicture(pictureOf("another"));
    EXPECT_EQ(pasteboard.changeCount(), 3);
    EXPECT_FALSE(pasteboard.string());
    EXPECT_TRUE(until([&] { return Reader().paste("image/png").bytes == "another"; }));
    EXPECT_TRUE(Reader().paste("STRING").isRefused);
    EXPECT_TRUE(first.take(property).bytes == bytes) << "who has begun to read may finish";
    EXPECT_TRUE(second.take(property).bytes == longer);
    EXPECT_TRUE(pasteboard.stays(3));
}

TEST(Clipboard, WhatIsOursIsOfferedAgainWhenItsWindowWasTaken) {
    Watched pasteboard;
    std::int64_t count = 0;
    const std::string bytes = pictureBytes(mebibyte);
    const Reader reader;
    for (const std::string target : {"image/png", "UTF8_STRING"}) {
        const std::string& ours = target == "image/png" ? bytes : target;
        target == "image/png" ? pasteboard.setPicture(pictureOf(ours)) : pasteboard.setString(ours);
        ++count;
        for (const bool isAll : {false, true, true, false}) {
            SCOPED_TRACE(target + (isAll ? ", the connection" : ", the window"));
            ASSERT_TRUE(until([&] { return reader.paste(target).bytes == ours; }));
            const xcb_window_t owner = reader.ownerOf("CLIPBOARD");
            if (isAll) {
                xcb_kill_client(reader.get(), owner);
            } else {
                xcb_destroy_window(reader.get(), owner);
            }
            reader.settle();
            EXPECT_EQ(reader.ownerOf("CLIPBOARD"), xcb_window_t{XCB_NONE});
            EXPECT_TRUE(until([&] { return reader.paste(target).bytes == ours; }));
            EXPECT_TRUE(pasteboard.stays(count));
        }
    }
}

TEST(Clipboard, F15_AnotherProgramsCopyReplacesOurPicture) {
    Watched pasteboard;
    pasteboard.setPicture(pictureOf(pictureBytes(300)));
    const Client client;
    ASSERT_TRUE(until([&] { return client.ownerOf("CLIPBOARD") != XCB_NONE; }));
    const Owner owner(text("theirs"));
    ASSERT_TRUE(pasteboard.arrives(2));
    EXPECT_EQ(pasteboard.text(), "theirs");
    EXPECT_FALSE(pasteboard.hasPicture(PictureType::png));
}

TEST(Clipboard, NoPictureIsNoCopy) {
    Watched pasteboard;
    pasteboard.setString("ours");
    pasteboard.setPicture({});
    EXPECT_EQ(pasteboard.changeCount(), 1);
    EXPECT_EQ(pasteboard.text(), "ours");
    EXPECT_TRUE(until([] { return Reader().paste("UTF8_STRING").bytes == "ours"; }));
}

// The end

TEST(Clipboard, F15_AClipboardManagerTakesOurPictureOver) {
    Owner manager(only("SAVE_TARGETS", {.bytes = "", .type = "NULL", .format = 32}), Owner::Manner::prompt,
                  "CLIPBOARD_MANAGER");
    std::string saved;
    Words wanted;
    manager.setBeforeAnswer([&](const std::string& target) {
        if (target == "SAVE_TARGETS") {
            const Reader reader;
            saved = reader.paste("image/png").bytes;
            wanted = reader.namesIn(reader.ownerOf("CLIPBOARD"), "_ZORBEL_SELECTION_HANDOVER");
        }
    });
    const std::string bytes = pictureBytes(10 * mebibyte);
    {
        X11Pasteboard pasteboard(nullptr, X11Pasteboard::Limits{.handover = patience});
        pasteboard.setPicture(pictureOf(bytes));
    }
    manager.setManner(Owner::Manner::prompt); // and so its thread is done with the answer
    EXPECT_TRUE(saved == bytes);
    EXPECT_EQ(wanted, Words{"image/png"});
    EXPECT_EQ(manager.requested(), Words{"SAVE_TARGETS"});
}

TEST(Clipboard, F15_WithoutAManagerAPictureGoesWithItsProgram) {
    auto pasteboard = std::make_unique<X11Pasteboard>();
    const std::string bytes = pictureBytes(300);
    pasteboard->setPicture(pictureOf(bytes));
    ASSERT_TRUE(until([&] { return Reader().paste("image/png").bytes == bytes; }));
    pasteboard.reset();
    EXPECT_TRUE(until([] { return Client().ownerOf("CLIPBOARD") == XCB_NONE; }));
    EXPECT_TRUE(Reader().paste("image/png").isRefused);
}

TEST(Clipboard, M21_AClipboardManagerTakesOurTextOver) {
    Owner manager(only("SAVE_TARGETS", {.bytes = "", .type = "NULL", .format = 32}), Owner::Manner::prompt,
                  "CLIPBOARD_MANAGER");
    std::string saved;
    manager.setBeforeAnswer([&](const std::string& target) {
        if (target == "SAVE_TARGETS") {
            saved = Reader().paste("UTF8_STRING").bytes;
        }
    });
    const std::string content = longText(mebibyte);
    for (const std::string& written : {std::string("ours"), content}) {
        {
            X11Pasteboard pasteboard;
            pasteboard.setString(written);
        }
        manager.setManner(Owner::Manner::prompt); // and so its thread is done with the answer
        EXPECT_TRUE(saved == written);
    }
    EXPECT_EQ(manager.requested(), (Words{"SAVE_TARGETS", "SAVE_TARGETS"}));
}

TEST(Clipboard, M21_AManagerThatIsSilentIsWaitedForNoLongerThanAllowed) {
    const Owner manager({}, Owner::Manner::silent, "CLIPBOARD_MANAGER");
    auto pasteboard =
        std::make_unique<X11Pasteboard>(nullptr, X11Pasteboard::Limits{.handover = Seconds{0.2}});
    pasteboard->setString("ours");
    const auto begin = Clock::now();
    pasteboard.reset();
    EXPECT_GE(Clock::now() - begin, 200ms);
    EXPECT_LT(Clock::now() - begin, 2s);
    EXPECT_EQ(manager.requested(), Words{"SAVE_TARGETS"});
}

TEST(Clipboard, M21_WithoutAManagerTheEndIsImmediate) {
    auto pasteboard =
        std::make_unique<X11Pasteboard>(nullptr, X11Pasteboard::Limits{.handover = Seconds{10}});
    const auto watching = pasteboard->watch();
    const Client client;
    pasteboard->setString("ours");
    ASSERT_TRUE(until([&] { return client.ownerOf("CLIPBOARD") != XCB_NONE; }));
    const auto begin = Clock::now();
    pasteboard.reset();
    EXPECT_LT(Clock::now() - begin, 1s);
    EXPECT_TRUE(until([&] { return client.ownerOf("CLIPBOARD") == XCB_NONE; }));
}

// Content

TEST(Clipboard, M22_TextsAreValidAndOtherwiseUnchanged) {
    struct Row {
        const char* name;
        Offer offer;
        std::string expected;
    };
    const Row rows[] = {
        {"NUL at the end", text(std::string("end\0", 4)), "end"},
        {"broken UTF-8", text("a\xFFz"), "a\uFFFDz"},
        {"line ends", text("one\r\ntwo\n\tthree \n"), "one\r\ntwo\n\tthree \n"},
        {"Latin-1 only", only("STRING", {"gr\xFC\xDF"}), "grüß"},
        {"MIME type in capitals", {{"text/plain;charset=UTF-8", {"grüß"}}, {"STRING", {"gr??"}}}, "grüß"},
        {"another writing of it", {{"Text/Plain;Charset=Utf-8", {"grüß"}}, {"STRING", {"gr??"}}}, "grüß"},
        {"plain without a word on its encoding", only("text/plain", {"gr\xFC\xDF"}), "grüß"},
        {"plain in UTF-8", only("text/plain", {"grüß"}), "grüß"},
        {"HTML only", only("text/html", {"\xFF\xFE<\0b\0"}), "(none)"},
        {"numbers for text", only("UTF8_STRING", {.bytes = "12345678", .type = "INTEGER", .format = 32}),
         "(none)"},
    };
    const Watched pasteboard;
    std::int64_t count = 0;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const Owner owner(row.offer);
        ASSERT_TRUE(pasteboard.arrives(++count));
        EXPECT_EQ(pasteboard.text(), row.expected);
    }
}

TEST(Clipboard, M23_FilesOfFileManagers) {
    struct Row {
        const char* name;
        Offer offer;
        std::vector<PasteboardUrl> expected;
    };
    const Row rows[] = {
        {"Nautilus, a cut",
         {{"x-special/gnome-copied-files", {"cut\nfile:///home/a%20b/%C3%A9\nfile:///tmp/"}},
          {"UTF8_STRING", {"x"}}},
         {{"file:///home/a%20b/%C3%A9", "/home/a b/é"}, {"file:///tmp/", "/tmp"}}},
        {"Dolphin, several",
         {{"text/uri-list", {"file:///one\r\nfile:///t%25wo\r\n"}}, {"UTF8_STRING", {"x"}}},
         {{"file:///one", "/one"}, {"file:///t%25wo", "/t%wo"}}},
        {"another machine",
         only("text/uri-list", {"file://host/share/x\r\n"}),
         {{"file://host/share/x", "/share/x"}}},
        {"a link",
         {{"text/uri-list", {"# a comment\r\nhttps://example.org/?q=1\r\n"}}, {"UTF8_STRING", {"x"}}},
         {{"https://example.org/?q=1", std::nullopt}}},
    };
    const Watched pasteboard;
    std::int64_t count = 0;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const Owner owner(row.offer);
        ASSERT_TRUE(pasteboard.arrives(++count));
        EXPECT_EQ(pasteboard.urls(), row.expected);
        EXPECT_EQ(owner.requested().size(), 2U); // the text is left where it is
    }
}

TEST(Clipboard, M23_AListWithoutAUrlGivesWayToTheText) {
    const Watched pasteboard;
    const Owner owner({{"text/uri-list", {"# nothing\r\n"}}, {"UTF8_STRING", {"text"}}});
    ASSERT_TRUE(pasteboard.arrives(1));
    EXPECT_TRUE(pasteboard.urls().empty());
    EXPECT_EQ(pasteboard.text(), "text");
}

TEST(Clipboard, M24_ALinkAsPlainTextIsText) {
    const Watched pasteboard;
    const Owner owner(
        {{"text/x-moz-url-priv", {"x"}}, {"text/html", {"<a>"}}, {"UTF8_STRING", {"https://example.org"}}});
    ASSERT_TRUE(pasteboard.arrives(1));
    EXPECT_TRUE(pasteboard.urls().empty());
    EXPECT_EQ(pasteboard.text(), "https://example.org");
}

TEST(Clipboard, M25_AChangeIsReadOnce) {
    const Watched pasteboard;
    const Owner owner(text("once"));
    ASSERT_TRUE(pasteboard.arrives(1));
    for (int read = 0; read < 20; ++read) {
        EXPECT_EQ(pasteboard.text(), "once");
    }
    EXPECT_TRUE(pasteboard.stays(1));
    EXPECT_EQ(owner.requested(), (Words{"TARGETS", "UTF8_STRING"}));
}

TEST(Clipboard, M25_AnOfferForOnePasteIsUsedUp) {
    const Watched pasteboard;
    Xclip copier("once", {"-loops", "1"});
    ASSERT_TRUE(pasteboard.arrives(1));
    EXPECT_EQ(pasteboard.text(), "once");
    EXPECT_EQ(copier.program().waitForEnd(), 0);
    EXPECT_TRUE(pasteboard.stays(1));
}

TEST(Clipboard, M26_EmptyCopies) {
    const Watched pasteboard;
    Owner owner(only("TARGETS", {.bytes = "", .type = "ATOM", .format = 32}));
    ASSERT_TRUE(pasteboard.arrives(1));
    EXPECT_TRUE(pasteboard.isEmpty());
    EXPECT_EQ(owner.requested(), Words{"TARGETS"});
    owner.copy({});
    ASSERT_TRUE(pasteboard.arrives(2));
    EXPECT_TRUE(pasteboard.isEmpty());
    owner.copy(text(""));
    ASSERT_TRUE(pasteboard.arrives(3));
    EXPECT_EQ(pasteboard.text(), "");
    owner.copy(text(" \n\t"));
    ASSERT_TRUE(pasteboard.arrives(4));
    EXPECT_EQ(pasteboard.text(), " \n\t");
}

// What it costs

TEST(Clipboard, ThreadAndConnectionExistOnlyWhileTheyAreNeeded) {
    const auto threads = [] { return holdings(::getpid()).threads; };
    const int before = threads();
    const int descriptors = holdings(::getpid()).descriptors;
    X11Pasteboard pasteboard;
    EXPECT_EQ(threads(), before);
    auto first = pasteboard.watch();
    auto second = pasteboard.watch();
    EXPECT_EQ(threads(), before + 1);
    first.reset();
    EXPECT_TRUE(holds([&] { return threads() == before + 1; }, moment));
    second.reset();
    EXPECT_TRUE(until([&] { return threads() == before; }));

    pasteboard.setString("ours"); // watched or not, it is there to be pasted
    EXPECT_EQ(pasteboard.changeCount(), 1);
    EXPECT_TRUE(until([] { return Reader().paste("UTF8_STRING").bytes == "ours"; }));
    EXPECT_EQ(threads(), before + 1);
    {
        const Owner owner(text("theirs"));
        EXPECT_TRUE(until([&] { return threads() == before + 1; })); // the owner's own
        EXPECT_EQ(pasteboard.changeCount(), 1);
        EXPECT_TRUE(owner.requested().empty());
    }
    EXPECT_TRUE(until([&] { return threads() == before; }));
    EXPECT_EQ(holdings(::getpid()).descriptors, descriptors + 1); // what wakes the thread
}

TEST(Clipboard, ATokenMayOutliveThePasteboard) {
    ZorbelKit::Token watching;
    {
        X11Pasteboard pasteboard;
        watching = pasteboard.watch();
    }
    watching.reset();
}

TEST(Clipboard, WhatIsCopiedBetweenTwoWatchesIsNoChange) {
    X11Pasteboard pasteboard;
    Owner owner(text("before"));
    for (int round = 1; round <= 20; ++round) {
        auto watching = pasteboard.watch();
        owner.copy(text("seen " + std::to_string(round)));
        ASSERT_TRUE(until([&] { return pasteboard.changeCount() >= round; }));
        ASSERT_EQ(pasteboard.string(), ZorbelKit::SharedText("seen " + std::to_string(round)));
        ASSERT_EQ(pasteboard.changeCount(), round);
        if (round % 2 == 0) {
            pasteboard.watch().reset(); // another one, which ends first
        }
        watching.reset();
        owner.copy(text("unseen"));
    }
    const auto watching = pasteboard.watch();
    EXPECT_TRUE(holds([&] { return pasteboard.changeCount() == 20; }, moment));
}

TEST(Clipboard, ManyCopiesLeaveNothingBehind) {
    const Watched pasteboard;
    Owner owner(text("first"));
    ASSERT_TRUE(pasteboard.arrives(1));
    const auto copyMany = [&](int copies) {
        const auto end = Clock::now() + patience;
        for (int copy = 0; copy < copies; ++copy) {
            const std::int64_t count = pasteboard.changeCount();
            owner.take();
            while (pasteboard.changeCount() == count && Clock::now() < end) {
                std::this_thread::yield();
            }
        }
    };
    copyMany(200);
    const Holdings before = holdings(::getpid());
    copyMany(2000);
    const Holdings after = holdings(::getpid());
    EXPECT_EQ(pasteboard.changeCount(), 2201);
    EXPECT_LT(after.anonymous, before.anonymous + mebibyte / 2);
    EXPECT_EQ(after.descriptors, before.descriptors);
}

// Where there is no X server

TEST(Clipboard, WithoutAnXServerOurOwnWritesStillCount) {
    X11Pasteboard pasteboard(":4711");
    const auto watching = pasteboard.watch();
    pasteboard.setString("ours");
    EXPECT_EQ(pasteboard.changeCount(), 1);
    EXPECT_EQ(pasteboard.string(), ZorbelKit::SharedText("ours"));
    pasteboard.setPicture(pictureOf("ours"));
    EXPECT_EQ(pasteboard.changeCount(), 2);
    EXPECT_TRUE(pasteboard.hasPicture(PictureType::png));
    EXPECT_EQ(pasteboard.watchingHint(), "The clipboard of this desktop cannot be watched.");
}

TEST(Clipboard, M27_TheHintSaysWhatWaylandHides) {
    EXPECT_EQ(X11Pasteboard().watchingHint(), "");
    ::setenv("WAYLAND_DISPLAY", "wayland-0", 1);
    EXPECT_EQ(X11Pasteboard().watchingHint(),
              "On Wayland only what programs running under X11 copy can be seen.");
    EXPECT_EQ(X11Pasteboard(":4711").watchingHint(), "The clipboard of this desktop cannot be watched.");
    ::unsetenv("WAYLAND_DISPLAY");
}

TEST(Clipboard, TheEndOfTheXServerEndsNothingElse) {
    BareServer server;
    const int threads = holdings(::getpid()).threads;
    X11Pasteboard pasteboard(server.display());
    const auto watching = pasteboard.watch();
    pasteboard.setString("ours");
    EXPECT_EQ(holdings(::getpid()).threads, threads + 1);
    server.end(SIGKILL);
    EXPECT_TRUE(until([&] { return holdings(::getpid()).threads == threads; }));
    pasteboard.setString("still ours");
    EXPECT_EQ(pasteboard.changeCount(), 2);
    EXPECT_EQ(pasteboard.string(), ZorbelKit::SharedText("still ours"));
}
