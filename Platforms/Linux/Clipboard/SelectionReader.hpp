#pragma once

#include "Platforms/Linux/Clipboard/CopiedContent.hpp"
#include "Platforms/Linux/Clipboard/SelectionConnection.hpp"
#include "ZorbelKit/Time.hpp"

#include <chrono>
#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Linux {

/// Reads what other programs copy, however slowly they answer. Nothing waits here: requests go out, and what
/// comes back is handed in as events. The thread of the connection.
///
/// Every request that may still be answered has a window of its own, which tells whose answer came, be it a
/// refusal. One that nobody wants any more is kept aside, and what arrives for it is taken and thrown away:
/// programs break or stand still when nobody fetches what they were asked for.
class SelectionReader {
public:
    using Clock = std::chrono::steady_clock;

    struct Limits {
        ZorbelKit::Seconds stalledOwner{5}; // without a further piece
        std::size_t longestText = 0;        // bytes; with a longer one nothing can be read
    };

    /// `arrived` is told each content once; one that has nothing for us is told empty.
    SelectionReader(const SelectionConnection& connection, const Limits& limits,
                    std::function<void(CopiedContent)> arrived);
    SelectionReader(const SelectionReader&) = delete;
    SelectionReader& operator=(const SelectionReader&) = delete;
    ~SelectionReader() = default;

    /// Reads from the program that has owned the selection since then, and no longer from another one.
    void read(xcb_timestamp_t since);
    void abandon();

    void takeAnswer(const xcb_selection_notify_event_t& answer);
    void takeChange(const xcb_property_notify_event_t& change); // of a property of a window of ours

    /// Does what is due.
    void passTime();
    std::optional<Clock::time_point> nextDeadline() const;

private:
    enum class Step { targets, urls, text };

    struct Request { // none is pending in it where `isFree`
        bool isFree = true;
        bool isAbandoned = false;
        bool isArriving = false; // in pieces
        xcb_atom_t target = XCB_ATOM_NONE;
        xcb_timestamp_t time = XCB_CURRENT_TIME;
        Clock::time_point progress; // when it was asked, or the last piece came
        Clock::time_point abandoned;
        SelectionProperty content;
    };
    using Requests = std::map<xcb_window_t, Request>; // by the window that asks
    using Place = Requests::iterator;

    void begin(xcb_timestamp_t since);
    void ask(xcb_atom_t target, Step step);
    void askNext();
    void finish(Place place);
    void fail(Place place);
    void readTargets(const SelectionProperty& content);
    void readUrls(const SelectionProperty& content);
    void readText(SelectionProperty content);
    void withdrawTarget();
    void deliver(CopiedContent content);

    void takeFirst(Place place);
    void takePiece(Place place);
    void drainPiece(Place place);
    void setAside(Place place);
    void free(Place place);
    bool isCurrent(Place place) const { return current_ && *current_ == place; }
    std::size_t abandonedCount() const;
    std::size_t limitOf(Step step) const;
    Clock::time_point deadlineOf(const Request& request) const;

    std::vector<std::string> namesOf(std::span<const std::uint32_t> atoms);
    xcb_atom_t atomOf(std::string_view name) const;

    const SelectionConnection& connection_;
    const Limits limits_;
    const std::function<void(CopiedContent)> arrived_;
    xcb_atom_t property_ = XCB_ATOM_NONE;        // what is asked for comes in it
    std::map<xcb_atom_t, std::string> ownNames_; // that mean something to us
    std::map<xcb_atom_t, std::string> names_;    // and others that were met

    Requests requests_;
    std::deque<Place> free_;       // the one that was so for the longest time first
    std::optional<Place> current_; // the request of the read under way
    Step step_ = Step::targets;
    xcb_timestamp_t since_ = XCB_CURRENT_TIME;
    std::vector<std::string> offered_; // targets not tried yet
    std::string asked_;                // the one that is being tried
    CopiedContent content_;
    Clock::time_point lastBegun_;
    std::optional<xcb_timestamp_t> postponed_; // to be read when there is time for it
};

} // namespace Linux
