#pragma once

#include "ZorbelKit/Host/Clock.hpp"
#include "ZorbelKit/Host/MainLoop.hpp"

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace Simulated {

/// A main loop on virtual time: it moves only when told, and runs what falls due in order.
///
///     loop.advance(Seconds{8});   // eight seconds of timers, at once
///
/// Intervals are rounded to nanoseconds once; due times then advance by that whole number. Background work
/// runs at the next `advance`, before the timers, with `isMainThread()` false.
class SimulatedMainLoop : public ZorbelKit::MainLoop {
public:
    SimulatedMainLoop();

    ZorbelKit::Token every(ZorbelKit::Seconds interval, Task tick) override;
    ZorbelKit::Token after(ZorbelKit::Seconds delay, Task task) override;
    void post(Task task) override;
    void background(ZorbelKit::Priority priority, Task work) override;
    bool isMainThread() const override;

    void advance(ZorbelKit::Seconds duration);

    /// Runs what is posted and waiting, without moving time.
    void settle() { advance(ZorbelKit::Seconds{0}); }

    ZorbelKit::Seconds elapsed() const { return std::chrono::nanoseconds(now_); }

    /// Repeating timers and pending delayed tasks that are still to fire.
    int liveTimers() const { return static_cast<int>(timers_->size()); }

    /// How many timer callbacks have run so far.
    int firedTimers() const { return fired_; }

private:
    using Nanoseconds = std::int64_t;
    struct Timer {
        Nanoseconds interval = 0; // 0 for a single shot
        Task task;
    };
    using Due = std::pair<Nanoseconds, std::uint64_t>; // when, then order of creation
    using Timers = std::map<Due, std::shared_ptr<Timer>>;

    ZorbelKit::Token schedule(ZorbelKit::Seconds delay, bool repeats, Task task);
    void runWaiting();

    Nanoseconds now_ = 0;
    std::uint64_t created_ = 0;
    int fired_ = 0;
    std::shared_ptr<Timers> timers_ = std::make_shared<Timers>();
    std::mutex postedLock_;
    std::deque<Task> posted_;
    std::deque<Task> backgroundWork_;
    bool insideBackground_ = false;
    std::thread::id mainThread_;
};

/// A wall clock that follows a simulated loop and can be moved apart from it: sleep, midnight, a clock set
/// back.
class SimulatedClock : public ZorbelKit::Clock {
public:
    explicit SimulatedClock(const SimulatedMainLoop& loop)
        : loop_(loop) {}

    ZorbelKit::TimePoint now() const override;
    ZorbelKit::TimePoint startOfDay(ZorbelKit::TimePoint moment) const override;

    void set(ZorbelKit::TimePoint moment); // now; time goes on from there
    void shift(ZorbelKit::Seconds by);     // forwards, or backwards when negative
    void setZoneOffset(std::chrono::minutes east) { zoneOffset_ = east; }

private:
    const SimulatedMainLoop& loop_;
    ZorbelKit::TimePoint start_{std::chrono::sys_days{std::chrono::year{2026} / 3 / 14} +
                                std::chrono::hours{9}};
    std::chrono::minutes zoneOffset_{0};
};

} // namespace Simulated
