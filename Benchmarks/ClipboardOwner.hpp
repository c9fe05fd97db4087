#pragma once

#include "Benchmarks/Measure.hpp"

#include <xcb/xcb.h>

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace Bench {

/// A program in which the user copies: owns the CLIPBOARD selection and gives its content to whoever asks, a
/// long text in pieces. On a thread and an X connection of its own, so that copies come at any pace and
/// nobody who reads them waits for the benchmark. Its other functions are for one thread.
class ClipboardOwner {
public:
    ClipboardOwner();
    ClipboardOwner(const ClipboardOwner&) = delete;
    ClipboardOwner& operator=(const ClipboardOwner&) = delete;
    ~ClipboardOwner(); // the selection has no owner then

    /// Copies a text, and returns when the X server was told so.
    Nanoseconds copyText(std::string text);
    /// The same for a picture, offered as image/png and as nothing else.
    Nanoseconds copyPicture(std::string png);

private:
    using Bytes = std::shared_ptr<const std::string>;

    struct Content {
        Bytes bytes;
        bool isPicture = false;
    };

    /// A text on its way in pieces: each is sent when the reader has taken the one before away.
    struct Transfer {
        xcb_window_t reader = 0;
        xcb_atom_t property = 0;
        xcb_atom_t type = 0;
        Bytes bytes;
        std::size_t sent = 0;
    };

    struct Closer {
        void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    };

    Nanoseconds copy(Content content);

    // On the thread.
    void run();
    void takeIn(const xcb_generic_event_t& event);
    void askForTime();
    void takeSelection(xcb_timestamp_t moment);
    void answer(const xcb_selection_request_event_t& request);
    bool write(const xcb_selection_request_event_t& request, xcb_atom_t property);
    void writeContent(xcb_window_t reader, xcb_atom_t property, xcb_atom_t type);
    void sendNextPiece(xcb_window_t reader, xcb_atom_t property);
    void forgetReader(xcb_window_t reader);

    xcb_atom_t atom(const char* name);

    std::unique_ptr<xcb_connection_t, Closer> connection_;
    xcb_window_t window_ = 0;
    xcb_atom_t clipboard_ = 0;
    xcb_atom_t targets_ = 0;
    xcb_atom_t timestamp_ = 0;
    xcb_atom_t incremental_ = 0;
    xcb_atom_t utf8_ = 0;
    xcb_atom_t plainText_ = 0;
    xcb_atom_t png_ = 0;
    xcb_atom_t moment_ = 0; // the property whose change tells the server's time

    // The thread's own.
    Content content_;
    xcb_timestamp_t since_ = 0; // milliseconds of the server's clock
    std::vector<Transfer> transfers_;

    std::mutex mutex_;
    std::condition_variable taken_;
    std::optional<Content> next_; // to be copied
    Nanoseconds copied_ = 0;      // when the last one was; 0 while one is waited for
    bool isEnding_ = false;

    int wake_ = -1; // an eventfd: there is something for the thread to do
    std::thread thread_;
};

} // namespace Bench
