#include "Platforms/Linux/Clipboard/SelectionServer.hpp"

#include "Platforms/Linux/Clipboard/SelectionContent.hpp"
#include "ZorbelKit/Utf8.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <utility>
#include <vector>

namespace Linux {

namespace {

constexpr std::size_t longestPiece = 64 << 10;
constexpr std::size_t longestAtOnce = 256 << 10;
constexpr std::size_t mostTransfers = 256; // nobody pastes into so many programs
constexpr std::size_t longestPairs = 4096; // bytes of a request for many targets

} // namespace

SelectionServer::SelectionServer(const SelectionConnection& connection, ZorbelKit::Seconds stalledReader)
    : connection_(connection)
    , stalledReader_(std::chrono::duration_cast<Clock::duration>(stalledReader))
    , longestAtOnce_(std::min(longestAtOnce, connection.longestRequest() / 4)) {
}

void SelectionServer::offer(OfferedContent content, xcb_timestamp_t since) {
    offer_ = Offer{std::move(content), since};
}

void SelectionServer::withdraw() {
    offer_.reset();
}

std::vector<SelectionServer::Form> SelectionServer::forms() const {
    using enum SelectionName;
    if (!offer_) {
        return {};
    }
    const auto form = [this](SelectionName target, SelectionName type, Encoding encoding) {
        return Form{connection_.atom(target), connection_.atom(type), encoding};
    };
    if (offer_->content.kind == OfferedContent::Kind::png) {
        return {form(imagePng, imagePng, Encoding::none)};
    }
    return {form(utf8String, utf8String, Encoding::utf8), form(textPlainUtf8, textPlainUtf8, Encoding::utf8),
            form(textPlain, textPlain, Encoding::utf8),
            Form{XCB_ATOM_STRING, XCB_ATOM_STRING, Encoding::latin1}, form(text, utf8String, Encoding::utf8)};
}

std::vector<xcb_atom_t> SelectionServer::targets() const {
    std::vector<xcb_atom_t> result;
    for (const Form& form : forms()) {
        result.push_back(form.target);
    }
    return result;
}

// Requests

void SelectionServer::takeRequest(const xcb_selection_request_event_t& request) {
    // Old programs leave the choice of the property to us.
    const xcb_atom_t property = request.property == XCB_ATOM_NONE ? request.target : request.property;
    bool isDone = false;
    if (isAnswerable(request)) {
        isDone = request.target == connection_.atom(SelectionName::multiple)
                     ? request.property != XCB_ATOM_NONE && convertMany(request.requestor, property)
                     : convert(request.requestor, request.target, property);
    }
    xcb_selection_notify_event_t answer{};
    answer.response_type = XCB_SELECTION_NOTIFY;
    answer.time = request.time;
    answer.requestor = request.requestor;
    answer.selection = request.selection;
    answer.target = request.target;
    answer.property = isDone ? property : xcb_atom_t{XCB_ATOM_NONE};
    std::array<char, 32> event{}; // as long as every event on the wire
    std::memcpy(event.data(), &answer, sizeof(answer));
    xcb_send_event(connection_.get(), 0, request.requestor, XCB_EVENT_MASK_NO_EVENT, event.data());
}

bool SelectionServer::isAnswerable(const xcb_selection_request_event_t& request) const {
    // Our own windows ask nobody for what is ours; another program may pretend that they do.
    if (!offer_ || request.selection != connection_.atom(SelectionName::clipboard) ||
        connection_.isOurs(request.requestor)) {
        return false;
    }
    // The server's time starts again after seven weeks.
    return request.time == XCB_CURRENT_TIME || static_cast<std::int32_t>(request.time - offer_->since) >= 0;
}

bool SelectionServer::convert(xcb_window_t requestor, xcb_atom_t target, xcb_atom_t property) {
    using enum SelectionName;
    const auto is = [&](SelectionName name) { return target == connection_.atom(name); };
    if (is(SelectionName::targets)) {
        std::vector<std::uint32_t> offered{connection_.atom(SelectionName::targets),
                                           connection_.atom(timestamp), connection_.atom(multiple),
                                           connection_.atom(saveTargets)};
        std::ranges::copy(this->targets(), std::back_inserter(offered));
        connection_.setCardinals(requestor, property, XCB_ATOM_ATOM, offered);
        return true;
    }
    if (is(timestamp)) {
        const std::array<std::uint32_t, 1> value{offer_->since};
        connection_.setCardinals(requestor, property, XCB_ATOM_INTEGER, value);
        return true;
    }
    if (is(saveTargets)) {
        connection_.setCardinals(requestor, property, connection_.atom(null), {});
        return true;
    }
    const auto offered = forms();
    const auto form = std::ranges::find(offered, target, &Form::target);
    return form != offered.end() && sendContent(requestor, property, *form);
}

bool SelectionServer::convertMany(xcb_window_t requestor, xcb_atom_t property) {
    const auto wanted = connection_.take(requestor, property, longestPairs, /*isDeleted=*/false);
    if (!wanted || wanted->isTooLong || wanted->format != 32) {
        return false;
    }
    std::vector<std::uint32_t> pairs = wanted->cardinals();
    for (std::size_t index = 0; index + 1 < pairs.size(); index += 2) {
        if (pairs[index + 1] == XCB_ATOM_NONE || !convert(requestor, pairs[index], pairs[index + 1])) {
            pairs[index + 1] = XCB_ATOM_NONE;
        }
    }
    connection_.setCardinals(requestor, property, connection_.atom(SelectionName::atomPair), pairs);
    return true;
}

// The content

bool SelectionServer::sendContent(xcb_window_t requestor, xcb_atom_t property, const Form& form) {
    const ZorbelKit::SharedText& bytes = offer_->content.bytes;
    if (bytes.size() > longestAtOnce_) {
        return beginTransfer(
            requestor, property,
            {.bytes = bytes, .type = form.type, .encoding = form.encoding, .progress = Clock::now()});
    }
    sendBytes(requestor, property, form.type, form.encoding, bytes.view());
    return true;
}

void SelectionServer::sendBytes(xcb_window_t requestor, xcb_atom_t property, xcb_atom_t type,
                                Encoding encoding, std::string_view bytes) const {
    if (encoding == Encoding::latin1) {
        connection_.setBytes(requestor, property, type, latin1(bytes));
    } else {
        connection_.setBytes(requestor, property, type, bytes);
    }
}

bool SelectionServer::beginTransfer(xcb_window_t requestor, xcb_atom_t property, Transfer transfer) {
    if (transfers_.size() >= mostTransfers) {
        return false;
    }
    // Told before the first piece is: its deletion begins the transfer.
    constexpr std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection_.get(), requestor, XCB_CW_EVENT_MASK, &mask);
    // At least so many bytes will come: a character of four in UTF-8 takes one in Latin-1.
    const std::array<std::uint32_t, 1> least{static_cast<std::uint32_t>(std::min<std::size_t>(
        transfer.bytes.size() / (transfer.encoding == Encoding::latin1 ? 4 : 1), INT32_MAX))};
    connection_.setCardinals(requestor, property, connection_.atom(SelectionName::incr), least);
    transfers_.insert_or_assign({requestor, property}, std::move(transfer));
    return true;
}

void SelectionServer::takeChange(const xcb_property_notify_event_t& change) {
    const auto transfer = transfers_.find({change.window, change.atom});
    if (transfer != transfers_.end() && change.state == XCB_PROPERTY_DELETE) {
        sendPiece(transfer);
    }
}

void SelectionServer::sendPiece(Transfers::iterator place) {
    const auto [window, property] = place->first;
    Transfer& transfer = place->second;
    const std::string_view rest = transfer.bytes.view().substr(transfer.sent);
    // Of a text each piece can be read by itself.
    const std::string_view piece = transfer.encoding == Encoding::none
                                       ? rest.substr(0, longestPiece)
                                       : ZorbelKit::utf8::prefixOfBytes(rest, longestPiece);
    sendBytes(window, property, transfer.type, transfer.encoding, piece);
    transfer.sent += piece.size();
    transfer.progress = Clock::now();
    if (piece.empty()) { // that was the end
        drop(place);
    }
}

SelectionServer::Transfers::iterator SelectionServer::drop(Transfers::iterator transfer) {
    const xcb_window_t window = transfer->first.first;
    const auto next = transfers_.erase(transfer);
    const auto other = transfers_.lower_bound({window, XCB_ATOM_NONE});
    if (other == transfers_.end() || other->first.first != window) {
        constexpr std::uint32_t mask = XCB_EVENT_MASK_NO_EVENT;
        xcb_change_window_attributes(connection_.get(), window, XCB_CW_EVENT_MASK, &mask);
    }
    return next;
}

void SelectionServer::forget(xcb_window_t requestor) {
    std::erase_if(transfers_, [requestor](const auto& entry) { return entry.first.first == requestor; });
}

// Time

void SelectionServer::passTime() {
    const auto now = Clock::now();
    for (auto transfer = transfers_.begin(); transfer != transfers_.end();) {
        const bool isStalled = transfer->second.progress + stalledReader_ <= now;
        transfer = isStalled ? drop(transfer) : std::next(transfer);
    }
}

std::optional<SelectionServer::Clock::time_point> SelectionServer::nextDeadline() const {
    std::optional<Clock::time_point> next;
    for (const auto& [place, transfer] : transfers_) {
        const auto deadline = transfer.progress + stalledReader_;
        next = next ? std::min(*next, deadline) : deadline;
    }
    return next;
}

} // namespace Linux
