#pragma once

#include "Platforms/Linux/Clipboard/OfferedContent.hpp"
#include "Platforms/Linux/Clipboard/SelectionConnection.hpp"
#include "ZorbelKit/SharedText.hpp"
#include "ZorbelKit/Time.hpp"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace Linux {

/// Gives a text or a picture of ours to the programs that paste it. Each is answered at once; what is long
/// goes out in pieces, at the pace of each reader, and is never copied as a whole. The thread of the
/// connection.
class SelectionServer {
public:
    using Clock = std::chrono::steady_clock;

    /// `stalledReader`: how long one may leave a piece where it is.
    SelectionServer(const SelectionConnection& connection, ZorbelKit::Seconds stalledReader);
    SelectionServer(const SelectionServer&) = delete;
    SelectionServer& operator=(const SelectionServer&) = delete;
    ~SelectionServer() = default;

    /// `since`: the server's time at which the selection became ours.
    void offer(OfferedContent content, xcb_timestamp_t since);
    void withdraw(); // who is reading already may finish
    bool isOffering() const { return offer_.has_value(); }
    std::optional<OfferedContent> content() const { // none while nothing is offered
        return offer_ ? std::optional(offer_->content) : std::nullopt;
    }
    std::vector<xcb_atom_t> targets() const; // as which the content can be had; none while nothing is offered
    bool isBusy() const { return !transfers_.empty(); }

    void takeRequest(const xcb_selection_request_event_t& request);
    void takeChange(const xcb_property_notify_event_t& change); // of a property of another program's window
    void forget(xcb_window_t requestor);                        // it is gone

    /// Drops readers that have stalled.
    void passTime();
    std::optional<Clock::time_point> nextDeadline() const;

private:
    enum class Encoding { none, utf8, latin1 }; // none: the bytes are no text

    struct Offer {
        OfferedContent content;
        xcb_timestamp_t since = XCB_CURRENT_TIME;
    };

    struct Form { // in which the content can be had
        xcb_atom_t target = XCB_ATOM_NONE;
        xcb_atom_t type = XCB_ATOM_NONE;
        Encoding encoding = Encoding::none;
    };

    struct Transfer {
        ZorbelKit::SharedText bytes;
        std::size_t sent = 0; // of the bytes
        xcb_atom_t type = XCB_ATOM_NONE;
        Encoding encoding = Encoding::none;
        Clock::time_point progress;
    };
    using Transfers = std::map<std::pair<xcb_window_t, xcb_atom_t>, Transfer>; // by window and property

    bool isAnswerable(const xcb_selection_request_event_t& request) const;
    bool convert(xcb_window_t requestor, xcb_atom_t target, xcb_atom_t property);
    bool convertMany(xcb_window_t requestor, xcb_atom_t property);
    std::vector<Form> forms() const; // the best first
    bool sendContent(xcb_window_t requestor, xcb_atom_t property, const Form& form);
    bool beginTransfer(xcb_window_t requestor, xcb_atom_t property, Transfer transfer);
    void sendPiece(Transfers::iterator transfer);
    void sendBytes(xcb_window_t requestor, xcb_atom_t property, xcb_atom_t type, Encoding encoding,
                   std::string_view bytes) const;
    Transfers::iterator drop(Transfers::iterator transfer);

    const SelectionConnection& connection_;
    const Clock::duration stalledReader_;
    const std::size_t longestAtOnce_; // bytes
    std::optional<Offer> offer_;
    Transfers transfers_;
};

} // namespace Linux
