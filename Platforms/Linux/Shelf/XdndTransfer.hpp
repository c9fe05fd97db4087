#pragma once

#include <QTimer>
#include <xcb/xcb.h>

#include <cstddef>
#include <functional>
#include <optional>
#include <string>

namespace Linux {

/// Fetches what was dropped from the program it comes from, at whatever pace that has, and never waits for
/// it. Lives on the toolkit's connection to the server and is handed its events.
class XdndTransfer {
public:
    static constexpr int longest = 5000;                               // milliseconds, all in all
    static constexpr std::size_t most = std::size_t{64} * 1024 * 1024; // bytes

    /// `ended` is told once of each fetch that is not stopped: what was fetched, or that it was not to be
    /// had.
    XdndTransfer(xcb_connection_t* connection, std::function<void(std::optional<std::string>)> ended);
    XdndTransfer(const XdndTransfer&) = delete;
    XdndTransfer& operator=(const XdndTransfer&) = delete;
    ~XdndTransfer();

    void begin(xcb_atom_t type, xcb_timestamp_t time);
    void stop();

    // Whether an event belonged to it.
    bool takeAnswer(const xcb_selection_notify_event_t& answer);
    bool takeChange(const xcb_property_notify_event_t& change);

private:
    enum class Step { idle, asked, reading, awaitingPiece, readingPiece };

    void readSlice();
    void finishProperty();
    void end(std::optional<std::string> content);

    xcb_connection_t* connection_;
    std::function<void(std::optional<std::string>)> ended_;
    xcb_atom_t selection_;
    xcb_atom_t property_;
    xcb_atom_t incr_;
    xcb_window_t window_ = XCB_NONE; // one for each fetch: late answers to an old one go nowhere
    Step step_ = Step::idle;
    std::string content_;
    std::uint32_t offset_ = 0; // of the next slice in the property, in bytes
    QTimer deadline_;
    QTimer nextSlice_;
};

} // namespace Linux
