#pragma once

#include "ZorbelKit/Host/Clock.hpp"
#include "ZorbelKit/Host/MainLoop.hpp"

namespace QtPlatform {

/// Qt's event loop. Timers of half a second and more are coarse (within 5 %), so that wake-ups of the whole
/// machine coalesce; shorter ones are precise. Needs a QCoreApplication.
class QtMainLoop : public ZorbelKit::MainLoop {
public:
    ~QtMainLoop() override;

    ZorbelKit::Token every(ZorbelKit::Seconds interval, Task tick) override;
    ZorbelKit::Token after(ZorbelKit::Seconds delay, Task task) override;
    void post(Task task) override;
    void background(ZorbelKit::Priority priority, Task work) override;
    bool isMainThread() const override;
};

/// The system's clock and the user's time zone.
class QtClock : public ZorbelKit::Clock {
public:
    ZorbelKit::TimePoint now() const override;
    ZorbelKit::TimePoint startOfDay(ZorbelKit::TimePoint moment) const override;
};

} // namespace QtPlatform
