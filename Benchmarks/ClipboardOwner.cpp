#include "Benchmarks/ClipboardOwner.hpp"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace Bench {

namespace {

constexpr std::chrono::seconds patience{10};
constexpr std::size_t longestWhole = std::size_t{256} << 10; // bytes; anything longer goes in pieces of this

/// A text or a picture as one property.
void putBytes(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t property, xcb_atom_t type,
              std::string_view bytes) {
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, property, type, 8,
                        static_cast<std::uint32_t>(bytes.size()), bytes.data());
}

void putWords(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t property, xcb_atom_t type,
              const std::vector<std::uint32_t>& words) {
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, property, type, 32,
                        static_cast<std::uint32_t>(words.size()), words.data());
}

} // namespace

ClipboardOwner::ClipboardOwner()
    : connection_(xcb_connect(nullptr, nullptr))
    , wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (xcb_connection_has_error(connection_.get())) {
        fail("there is no display");
    }
    if (wake_ < 0) {
        fail("no event descriptor");
    }
    clipboard_ = atom("CLIPBOARD");
    targets_ = atom("TARGETS");
    timestamp_ = atom("TIMESTAMP");
    incremental_ = atom("INCR");
    utf8_ = atom("UTF8_STRING");
    plainText_ = atom("text/plain;charset=utf-8");
    png_ = atom("image/png");
    moment_ = atom("BENCHMARK_MOMENT");

    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection_.get())).data;
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    window_ = xcb_generate_id(connection_.get());
    xcb_create_window(connection_.get(), XCB_COPY_FROM_PARENT, window_, screen->root, 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, XCB_CW_EVENT_MASK, &events);
    thread_ = std::thread([this] { run(); });
}

ClipboardOwner::~ClipboardOwner() {
    {
        const std::lock_guard lock(mutex_);
        isEnding_ = true;
    }
    eventfd_write(wake_, 1);
    thread_.join();
    close(wake_);
}

Nanoseconds ClipboardOwner::copyText(std::string text) {
    return copy({std::make_shared<const std::string>(std::move(text)), false});
}

Nanoseconds ClipboardOwner::copyPicture(std::string png) {
    return copy({std::make_shared<const std::string>(std::move(png)), true});
}

Nanoseconds ClipboardOwner::copy(Content content) {
    std::unique_lock lock(mutex_);
    next_ = std::move(content);
    copied_ = 0;
    eventfd_write(wake_, 1);
    if (!taken_.wait_for(lock, patience, [this] { return copied_ != 0; })) {
        fail("the X server does not let the selection be taken");
    }
    return copied_;
}

void ClipboardOwner::run() {
    for (;;) {
        xcb_flush(connection_.get());
        if (xcb_generic_event_t* event = xcb_poll_for_event(connection_.get())) {
            takeIn(*event);
            std::free(event);
            continue;
        }
        if (xcb_connection_has_error(connection_.get())) {
            return; // the next copy says so
        }
        std::array<pollfd, 2> readable{
            pollfd{.fd = xcb_get_file_descriptor(connection_.get()), .events = POLLIN, .revents = 0},
            pollfd{.fd = wake_, .events = POLLIN, .revents = 0}};
        poll(readable.data(), readable.size(), -1);
        if (eventfd_t count = 0; eventfd_read(wake_, &count) == 0) {
            const std::lock_guard lock(mutex_);
            if (isEnding_) {
                return;
            }
            askForTime();
        }
    }
}

/// A selection is taken as of a moment of the server's clock, which a change of a property tells.
void ClipboardOwner::askForTime() {
    xcb_change_property(connection_.get(), XCB_PROP_MODE_APPEND, window_, moment_, XCB_ATOM_INTEGER, 8, 0,
                        nullptr);
}

void ClipboardOwner::takeIn(const xcb_generic_event_t& event) {
    switch (event.response_type & 0x7F) {
    case XCB_SELECTION_REQUEST:
        answer(reinterpret_cast<const xcb_selection_request_event_t&>(event));
        break;
    case XCB_PROPERTY_NOTIFY: {
        const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event);
        if (change.window == window_ && change.atom == moment_) {
            takeSelection(change.time);
        } else if (change.state == XCB_PROPERTY_DELETE) {
            sendNextPiece(change.window, change.atom);
        }
        break;
    }
    case XCB_DESTROY_NOTIFY:
        forgetReader(reinterpret_cast<const xcb_destroy_notify_event_t&>(event).window);
        break;
    default:
        break;
    }
}

void ClipboardOwner::takeSelection(xcb_timestamp_t moment) {
    const std::lock_guard lock(mutex_);
    if (!next_) {
        return;
    }
    content_ = *std::exchange(next_, std::nullopt);
    since_ = moment;
    const Nanoseconds start = now();
    xcb_set_selection_owner(connection_.get(), window_, clipboard_, moment);
    xcb_flush(connection_.get());
    copied_ = start;
    taken_.notify_one();
}

void ClipboardOwner::answer(const xcb_selection_request_event_t& request) {
    const xcb_atom_t property = request.property == XCB_ATOM_NONE ? request.target : request.property;
    xcb_selection_notify_event_t reply{};
    reply.response_type = XCB_SELECTION_NOTIFY;
    reply.time = request.time;
    reply.requestor = request.requestor;
    reply.selection = request.selection;
    reply.target = request.target;
    reply.property = write(request, property) ? property : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
    std::array<char, 32> event{};
    std::memcpy(event.data(), &reply, sizeof reply);
    xcb_send_event(connection_.get(), 0, request.requestor, XCB_EVENT_MASK_NO_EVENT, event.data());
}

bool ClipboardOwner::write(const xcb_selection_request_event_t& request, xcb_atom_t property) {
    const xcb_atom_t target = request.target;
    if (request.selection != clipboard_ || !content_.bytes) {
        return false;
    }
    if (target == targets_) {
        std::vector<std::uint32_t> offered{targets_, timestamp_};
        if (content_.isPicture) {
            offered.push_back(png_);
        } else {
            offered.insert(offered.end(), {utf8_, plainText_});
        }
        putWords(connection_.get(), request.requestor, property, XCB_ATOM_ATOM, offered);
        return true;
    }
    if (target == timestamp_) {
        putWords(connection_.get(), request.requestor, property, XCB_ATOM_INTEGER, {since_});
        return true;
    }
    if (content_.isPicture ? target != png_ : target != utf8_ && target != plainText_) {
        return false;
    }
    writeContent(request.requestor, property, target);
    return true;
}

void ClipboardOwner::writeContent(xcb_window_t reader, xcb_atom_t property, xcb_atom_t type) {
    if (content_.bytes->size() <= longestWhole) {
        putBytes(connection_.get(), reader, property, type, *content_.bytes);
        return;
    }
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection_.get(), reader, XCB_CW_EVENT_MASK, &events);
    std::erase_if(transfers_, [&](const Transfer& transfer) {
        return transfer.reader == reader && transfer.property == property;
    });
    transfers_.push_back({.reader = reader, .property = property, .type = type, .bytes = content_.bytes});
    putWords(connection_.get(), reader, property, incremental_,
             {static_cast<std::uint32_t>(content_.bytes->size())});
}

void ClipboardOwner::sendNextPiece(xcb_window_t reader, xcb_atom_t property) {
    const auto transfer = std::ranges::find_if(transfers_, [&](const Transfer& candidate) {
        return candidate.reader == reader && candidate.property == property;
    });
    if (transfer == transfers_.end()) {
        return;
    }
    const auto piece = std::string_view(*transfer->bytes).substr(transfer->sent, longestWhole);
    putBytes(connection_.get(), reader, property, transfer->type, piece);
    transfer->sent += piece.size();
    if (piece.empty()) { // which tells the reader that this was all
        transfers_.erase(transfer);
    }
}

void ClipboardOwner::forgetReader(xcb_window_t reader) {
    std::erase_if(transfers_, [&](const Transfer& transfer) { return transfer.reader == reader; });
}

xcb_atom_t ClipboardOwner::atom(const char* name) {
    const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
        xcb_intern_atom_reply(
            connection_.get(),
            xcb_intern_atom(connection_.get(), 0, static_cast<std::uint16_t>(std::strlen(name)), name),
            nullptr),
        &std::free);
    if (!reply) {
        fail("the X server does not answer");
    }
    return reply->atom;
}

} // namespace Bench
