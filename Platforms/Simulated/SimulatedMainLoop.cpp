#include "Platforms/Simulated/SimulatedMainLoop.hpp"

#include <cmath>

namespace Simulated {

using ZorbelKit::Seconds;
using ZorbelKit::TimePoint;
using ZorbelKit::Token;

namespace {

std::chrono::nanoseconds nanoseconds(Seconds duration) {
    return std::chrono::nanoseconds(std::llround(duration.count() * 1e9));
}

} // namespace

SimulatedMainLoop::SimulatedMainLoop()
    : mainThread_(std::this_thread::get_id()) {
}

Token SimulatedMainLoop::every(Seconds interval, Task tick) {
    return schedule(interval, true, std::move(tick));
}

Token SimulatedMainLoop::after(Seconds delay, Task task) {
    return schedule(delay, false, std::move(task));
}

Token SimulatedMainLoop::schedule(Seconds delay, bool repeats, Task task) {
    const Nanoseconds wait = nanoseconds(delay).count();
    auto timer =
        std::make_shared<Timer>(Timer{repeats ? std::max<Nanoseconds>(wait, 1) : 0, std::move(task)});
    timers_->emplace(Due{now_ + wait, created_++}, timer);
    return Token([weakTimers = std::weak_ptr(timers_), weakTimer = std::weak_ptr(timer)] {
        const auto timers = weakTimers.lock();
        const auto stopped = weakTimer.lock();
        if (timers && stopped) {
            std::erase_if(*timers, [&](const auto& entry) { return entry.second == stopped; });
            stopped->interval = 0; // a timer stopped from its own tick does not come back
        }
    });
}

void SimulatedMainLoop::post(Task task) {
    const std::lock_guard guard(postedLock_);
    posted_.push_back(std::move(task));
}

void SimulatedMainLoop::background(ZorbelKit::Priority, Task work) {
    const std::lock_guard guard(postedLock_);
    backgroundWork_.push_back(std::move(work));
}

bool SimulatedMainLoop::isMainThread() const {
    return std::this_thread::get_id() == mainThread_ && !insideBackground_;
}

void SimulatedMainLoop::runWaiting() {
    for (;;) {
        Task task;
        bool isBackground = false;
        {
            const std::lock_guard guard(postedLock_);
            auto& queue = posted_.empty() ? backgroundWork_ : posted_;
            if (queue.empty()) {
                return;
            }
            isBackground = posted_.empty();
            task = std::move(queue.front());
            queue.pop_front();
        }
        insideBackground_ = isBackground;
        task();
        insideBackground_ = false;
    }
}

void SimulatedMainLoop::advance(Seconds duration) {
    const Nanoseconds target = now_ + nanoseconds(duration).count();
    runWaiting();
    while (!timers_->empty() && timers_->begin()->first.first <= target) {
        auto node = timers_->extract(timers_->begin());
        const auto timer = node.mapped();
        now_ = std::max(now_, node.key().first);
        if (timer->interval > 0) {
            node.key().first += timer->interval;
            timers_->insert(std::move(node));
        }
        ++fired_;
        timer->task();
        runWaiting();
    }
    now_ = target;
}

TimePoint SimulatedClock::now() const {
    return start_ + nanoseconds(loop_.elapsed());
}

TimePoint SimulatedClock::startOfDay(TimePoint moment) const {
    const auto local = moment + zoneOffset_;
    return std::chrono::floor<std::chrono::days>(local) - std::chrono::nanoseconds(zoneOffset_);
}

void SimulatedClock::set(TimePoint moment) {
    start_ += moment - now();
}

void SimulatedClock::shift(Seconds by) {
    start_ += nanoseconds(by);
}

} // namespace Simulated
