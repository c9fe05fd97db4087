#pragma once

#include "Platforms/Linux/Clipboard/SelectionConnection.hpp"
#include "ZorbelKit/SharedText.hpp"
#include "ZorbelKit/Time.hpp"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>

namespace Linux {

/// Gives a text of ours to the programs that paste it. Each is answered at once; a long text goes out in
/// pieces, at the pace of each reader, and is never copied as a whole. The thread of the connection.
class SelectionServer {
public:
    using Clock = std::chrono::steady_clock;

    /// `stalledReader`: how long one may leave a piece where it is.
    SelectionServer(const SelectionConnection& connection, ZorbelKit::Seconds stalledReader);
    SelectionServer(const SelectionServer&) = delete;
    SelectionServer& operator=(const SelectionServer&) = delete;
    ~SelectionServer() = default;

    /// `since`: the server's time at which the selection became ours.
    void offer(ZorbelKit::SharedText text, xcb_timestamp_t since);
    void withdraw(); // who is reading already may finish
    bool isOffering() const { return offer_.has_value(); }
    std::optional<ZorbelKit::SharedText> text() const { // none while nothing is offered
        return offer_ ? std::optional(offer_->text) : std::nullopt;
    }
    bool isBusy() const { return !transfers_.empty(); }

    void takeRequest(const xcb_selection_request_event_t& request);
    void takeChange(const xcb_property_notify_event_t& change); // of a property of another program's window
    void forget(xcb_window_t requestor);                        // it is gone

    /// Drops readers that have stalled.
    void passTime();
    std::optional<Clock::time_point> nextDeadline() const;

private:
    enum class Encoding { utf8, latin1 };

    struct Offer {
        ZorbelKit::SharedText text;
        xcb_timestamp_t since = XCB_CURRENT_TIME;
    };

    struct Transfer {
        ZorbelKit::SharedText text;
        std::size_t sent = 0; // bytes of the text
        xcb_atom_t type = XCB_ATOM_NONE;
        Encoding encoding = Encoding::utf8;
        Clock::time_point progress;
    };
    using Transfers = std::map<std::pair<xcb_window_t, xcb_atom_t>, Transfer>; // by window and property

    bool isAnswerable(const xcb_selection_request_event_t& request) const;
    bool convert(xcb_window_t requestor, xcb_atom_t target, xcb_atom_t property);
    bool convertMany(xcb_window_t requestor, xcb_atom_t property);
    bool sendText(xcb_window_t requestor, xcb_atom_t property, xcb_atom_t type, Encoding encoding);
    bool beginTransfer(xcb_window_t requestor, xcb_atom_t property, Transfer transfer);
    void sendPiece(Transfers::iterator transfer);
    Transfers::iterator drop(Transfers::iterator transfer);

    const SelectionConnection& connection_;
    const Clock::duration stalledReader_;
    const std::size_t longestAtOnce_; // bytes
    std::optional<Offer> offer_;
    Transfers transfers_;
};

} // namespace Linux
