#pragma once

#include "Platforms/Linux/Clipboard/OfferedContent.hpp"
#include "Platforms/Linux/Clipboard/SelectionConnection.hpp"
#include "Platforms/Linux/Clipboard/SelectionExchange.hpp"
#include "Platforms/Linux/Clipboard/SelectionReader.hpp"
#include "Platforms/Linux/Clipboard/SelectionServer.hpp"
#include "ZorbelKit/Time.hpp"

#include <xcb/xfixes.h>

#include <chrono>
#include <memory>
#include <optional>

namespace Linux {

/// Watches the CLIPBOARD selection, reads what other programs copy and gives them what we do: the work of a
/// thread of its own. At rest it sleeps until the X server or the main thread has something to say.
class SelectionWorker {
public:
    struct Limits {
        SelectionReader::Limits reading;
        ZorbelKit::Seconds stalledReader{10};
        ZorbelKit::Seconds handover{1}; // to a clipboard manager
    };

    SelectionWorker(std::unique_ptr<SelectionConnection> connection, const Limits& limits,
                    SelectionExchange& exchange);
    SelectionWorker(const SelectionWorker&) = delete;
    SelectionWorker& operator=(const SelectionWorker&) = delete;
    ~SelectionWorker() = default;

    /// Until nobody watches and nothing of ours can be pasted, or the program quits: true. False where the
    /// connection or a window of it was taken from us.
    bool run();

    /// What should be there to be pasted: for the next one to offer where this one has lost its connection.
    std::optional<OfferedContent> content() const { return claimed_ ? claimed_ : server_.content(); }

private:
    using Clock = std::chrono::steady_clock;

    bool takeEvents();
    void take(const xcb_generic_event_t& event);
    void takeDestruction(xcb_window_t window);
    void takeOwnerChange(const xcb_xfixes_selection_notify_event_t& change);
    void takePropertyChange(const xcb_property_notify_event_t& change);
    void takeAnswer(const xcb_selection_notify_event_t& answer);

    void takeOrders();
    void watch(const SelectionExchange::Orders& orders);
    void claim(xcb_timestamp_t now);
    bool isClaiming() const { return claimed_ || announcements_ > 0; }

    bool isDone();
    bool isHandedOver();
    void handOver();
    void sleep() const;

    std::unique_ptr<SelectionConnection> connection_;
    SelectionExchange& exchange_;
    const Limits limits_;
    SelectionReader reader_;
    SelectionServer server_;

    bool isBereft_ = false; // a window of ours was destroyed, and what was selected for it went with it
    bool isWatched_ = false;
    std::optional<int> watching_;           // how often it has begun, as far as we know
    std::optional<OfferedContent> claimed_; // to be offered once the server's time is known
    int announcements_ = 0;                 // of our ownership that are still to come

    enum class Handover { none, asked, done };
    bool isEnding_ = false;
    Handover handover_ = Handover::none;
    std::optional<Clock::time_point> end_; // of the handover, at the latest
};

} // namespace Linux
