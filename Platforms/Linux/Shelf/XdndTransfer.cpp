#include "Platforms/Linux/Shelf/XdndTransfer.hpp"

#include "Platforms/Linux/XConnection.hpp"
#include "Platforms/Linux/XReply.hpp"

#include <utility>

namespace Linux {

namespace {

/// What is read in one turn of the main loop. The server sends it at once, and the glass goes on in between.
constexpr std::uint32_t slice = 1 << 20; // bytes

} // namespace

XdndTransfer::XdndTransfer(xcb_connection_t* connection,
                           std::function<void(std::optional<std::string>)> ended)
    : connection_(connection)
    , ended_(std::move(ended))
    , selection_(xAtom(connection, "XdndSelection"))
    , property_(xAtom(connection, "_ZORBEL_DROPPED"))
    , incr_(xAtom(connection, "INCR")) {
    deadline_.setSingleShot(true);
    QObject::connect(&deadline_, &QTimer::timeout, &deadline_, [this] { end(std::nullopt); });
    nextSlice_.setSingleShot(true);
    QObject::connect(&nextSlice_, &QTimer::timeout, &nextSlice_, [this] { readSlice(); });
}

XdndTransfer::~XdndTransfer() {
    stop();
}

void XdndTransfer::begin(xcb_atom_t type, xcb_timestamp_t time) {
    stop();
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    window_ = xcb_generate_id(connection_);
    xcb_create_window(connection_, 0, window_, screen->root, 0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
    xcb_convert_selection(connection_, window_, selection_, type, property_, time);
    xcb_flush(connection_);
    step_ = Step::asked;
    deadline_.start(longest);
}

void XdndTransfer::stop() {
    if (step_ == Step::idle) {
        return;
    }
    step_ = Step::idle;
    deadline_.stop();
    nextSlice_.stop();
    xcb_destroy_window(connection_, std::exchange(window_, XCB_NONE));
    xcb_flush(connection_);
    content_ = {};
    offset_ = 0;
}

bool XdndTransfer::takeAnswer(const xcb_selection_notify_event_t& answer) {
    if (step_ == Step::idle || answer.requestor != window_) {
        return false;
    }
    if (step_ != Step::asked) {
        return true; // there is one already
    }
    if (answer.property != property_) {
        end(std::nullopt);
        return true;
    }
    step_ = Step::reading;
    readSlice();
    return true;
}

bool XdndTransfer::takeChange(const xcb_property_notify_event_t& change) {
    if (step_ == Step::idle || change.window != window_) {
        return false;
    }
    if (step_ == Step::awaitingPiece && change.atom == property_ && change.state == XCB_PROPERTY_NEW_VALUE) {
        step_ = Step::readingPiece;
        nextSlice_.start(0); // a fast program shall not keep the main loop to itself
    }
    return true;
}

/// The last slice takes the property away, by which a program that sends pieces knows that the next is
/// wanted.
void XdndTransfer::readSlice() {
    const auto reply = owned(xcb_get_property_reply(
        connection_,
        xcb_get_property(connection_, 1, window_, property_, XCB_ATOM_ANY, offset_ / 4, slice / 4), nullptr));
    if (!reply) {
        end(std::nullopt);
        return;
    }
    if (step_ == Step::reading && reply->type == incr_) {
        step_ = Step::awaitingPiece;
        return;
    }
    if (step_ == Step::readingPiece && reply->type == XCB_NONE) {
        step_ = Step::awaitingPiece; // it came with the one before
        return;
    }
    constexpr int bitsOfAByte = 8;
    const auto length = static_cast<std::uint32_t>(xcb_get_property_value_length(reply.get()));
    if (reply->format != bitsOfAByte || content_.size() + length + reply->bytes_after > most) {
        end(std::nullopt);
        return;
    }
    content_.append(static_cast<const char*>(xcb_get_property_value(reply.get())), length);
    offset_ += length;
    if (reply->bytes_after > 0) {
        nextSlice_.start(0);
    } else {
        finishProperty();
    }
}

void XdndTransfer::finishProperty() {
    const bool isEmpty = std::exchange(offset_, 0) == 0;
    if (step_ == Step::readingPiece && !isEmpty) {
        step_ = Step::awaitingPiece;
        return;
    }
    end(std::move(content_));
}

void XdndTransfer::end(std::optional<std::string> content) {
    stop();
    ended_(std::move(content));
}

} // namespace Linux
