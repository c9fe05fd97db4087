#include "Platforms/Linux/Clipboard/SelectionWorker.hpp"

#include <poll.h>

#include <algorithm>
#include <array>
#include <utility>

namespace Linux {

namespace {

constexpr int eventsAtATime = 64; // however many come, orders are not kept waiting

} // namespace

SelectionWorker::SelectionWorker(std::unique_ptr<SelectionConnection> connection, const Limits& limits,
                                 SelectionExchange& exchange)
    : connection_(std::move(connection))
    , exchange_(exchange)
    , limits_(limits)
    , reader_(*connection_, limits.reading,
              [this](CopiedContent content) { exchange_.publish(std::move(content)); })
    , server_(*connection_, limits.stalledReader) {
}

bool SelectionWorker::run() {
    while (!connection_->isLost() && !isBereft_) {
        takeOrders();
        reader_.passTime();
        server_.passTime();
        if (isDone()) {
            return true;
        }
        xcb_flush(connection_->get());
        if (!takeEvents()) { // else there may be more, which came in between
            sleep();
        }
    }
    return false;
}

// Events

bool SelectionWorker::takeEvents() {
    int count = 0;
    for (; count < eventsAtATime; ++count) {
        const XEvent event = owned(xcb_poll_for_event(connection_->get()));
        if (!event) {
            break;
        }
        take(*event);
    }
    return count > 0;
}

void SelectionWorker::take(const xcb_generic_event_t& event) {
    const auto type = connection_->typeOf(event);
    if (!type) {
        return;
    }
    if (*type == connection_->ownerChangeType()) {
        takeOwnerChange(as<xcb_xfixes_selection_notify_event_t>(event));
        return;
    }
    switch (*type) {
    case 0: // an error; only that a window is gone matters
        if (const auto& error = as<xcb_value_error_t>(event); error.error_code == XCB_WINDOW) {
            server_.forget(error.bad_value);
        }
        break;
    case XCB_DESTROY_NOTIFY:
        takeDestruction(as<xcb_destroy_notify_event_t>(event).window);
        break;
    case XCB_PROPERTY_NOTIFY:
        takePropertyChange(as<xcb_property_notify_event_t>(event));
        break;
    case XCB_SELECTION_NOTIFY:
        takeAnswer(as<xcb_selection_notify_event_t>(event));
        break;
    case XCB_SELECTION_REQUEST:
        server_.takeRequest(as<xcb_selection_request_event_t>(event));
        break;
    default:
        break;
    }
}

void SelectionWorker::takeDestruction(xcb_window_t window) {
    if (connection_->isOurs(window)) {
        isBereft_ = true; // we never do that ourselves
    } else {
        server_.forget(window);
    }
}

void SelectionWorker::takeOwnerChange(const xcb_xfixes_selection_notify_event_t& change) {
    if (change.selection != connection_->atom(SelectionName::clipboard)) {
        return;
    }
    if (change.owner == connection_->window()) {
        announcements_ = std::max(announcements_ - 1, 0);
        reader_.abandon(); // of an owner before us
        return;
    }
    if (isClaiming()) {
        return; // it came before what we have written
    }
    if (change.subtype != XCB_XFIXES_SELECTION_EVENT_SET_SELECTION_OWNER) {
        reader_.abandon(); // the program has ended, which changes nothing; if it is us, what is ours stays so
        return;
    }
    server_.withdraw();
    if (!isWatched_) {
        return;
    }
    if (change.owner == XCB_WINDOW_NONE) {
        reader_.abandon();
        exchange_.publish({});
    } else {
        reader_.read(change.selection_timestamp);
    }
}

void SelectionWorker::takePropertyChange(const xcb_property_notify_event_t& change) {
    if (!connection_->isOurs(change.window)) {
        server_.takeChange(change);
    } else if (change.window != connection_->window()) {
        reader_.takeChange(change);
    } else if (change.atom == connection_->atom(SelectionName::moment)) {
        claim(change.time);
    } else if (change.state == XCB_PROPERTY_NEW_VALUE &&
               change.atom != connection_->atom(SelectionName::handover)) {
        connection_->remove(change.window, change.atom); // nobody asked for it
    }
}

void SelectionWorker::takeAnswer(const xcb_selection_notify_event_t& answer) {
    if (answer.requestor != connection_->window()) {
        reader_.takeAnswer(answer);
    } else if (answer.selection == connection_->atom(SelectionName::clipboardManager) &&
               handover_ == Handover::asked) {
        handover_ = Handover::done;
    }
}

// Our own writes

void SelectionWorker::takeOrders() {
    SelectionExchange::Orders orders = exchange_.takeOrders();
    watch(orders);
    if (orders.isEnding && !isEnding_) {
        isEnding_ = true;
        end_ = Clock::now() + std::chrono::duration_cast<Clock::duration>(limits_.handover);
    }
    if (orders.write) {
        reader_.abandon();
        if (!claimed_) {
            connection_->askForTime();
        }
        claimed_ = *std::move(orders.write);
    }
}

void SelectionWorker::watch(const SelectionExchange::Orders& orders) {
    const bool isAnew = watching_ && *watching_ != orders.watching;
    if (isAnew || !orders.isWatched) {
        isWatched_ = false;
        reader_.abandon();
    }
    if (isAnew) {
        // What has happened until now happened unwatched. The answer comes after the news of it.
        static_cast<void>(connection_->owner(SelectionName::clipboard));
        while (const XEvent event = owned(xcb_poll_for_queued_event(connection_->get()))) {
            take(*event);
        }
    }
    isWatched_ = orders.isWatched;
    if (watching_ != orders.watching) {
        watching_ = orders.watching;
        exchange_.confirmWatching(orders.watching);
    }
}

void SelectionWorker::claim(xcb_timestamp_t now) {
    if (!claimed_) {
        return;
    }
    OfferedContent content = *std::exchange(claimed_, std::nullopt);
    xcb_set_selection_owner(connection_->get(), connection_->window(),
                            connection_->atom(SelectionName::clipboard), now);
    if (connection_->owner(SelectionName::clipboard) == connection_->window()) {
        ++announcements_;
        server_.offer(std::move(content), now);
    } else {
        server_.withdraw(); // another program was quicker; its change is about to arrive
    }
}

// The end

bool SelectionWorker::isDone() {
    if (isEnding_) {
        return isHandedOver();
    }
    const bool isNeeded = isWatched_ || claimed_ || server_.isOffering() || server_.isBusy();
    return !isNeeded && exchange_.stopServing();
}

bool SelectionWorker::isHandedOver() {
    if (claimed_ && Clock::now() < *end_) {
        return false; // what was written last is not ours yet
    }
    if (handover_ == Handover::none) {
        handOver();
    }
    return handover_ == Handover::done || Clock::now() >= *end_;
}

void SelectionWorker::handOver() {
    using enum SelectionName;
    if (!server_.isOffering() || connection_->owner(clipboardManager) == XCB_WINDOW_NONE) {
        handover_ = Handover::done;
        return;
    }
    connection_->setCardinals(connection_->window(), connection_->atom(SelectionName::handover),
                              XCB_ATOM_ATOM, server_.targets());
    xcb_convert_selection(connection_->get(), connection_->window(), connection_->atom(clipboardManager),
                          connection_->atom(saveTargets), connection_->atom(SelectionName::handover),
                          XCB_CURRENT_TIME);
    handover_ = Handover::asked;
}

// Time

void SelectionWorker::sleep() const {
    auto next = reader_.nextDeadline();
    for (const auto& other : {server_.nextDeadline(), end_}) {
        if (other) {
            next = next ? std::min(*next, *other) : other;
        }
    }
    int timeout = -1;
    if (next) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(*next - Clock::now());
        timeout = static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, 60'000));
    }
    std::array<pollfd, 2> sources{pollfd{connection_->descriptor(), POLLIN, 0},
                                  pollfd{exchange_.wakeDescriptor(), POLLIN, 0}};
    ::poll(sources.data(), sources.size(), timeout);
}

} // namespace Linux
