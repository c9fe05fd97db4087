#pragma once

#include "Platforms/Linux/Power/PowerSupplies.hpp"
#include "ZorbelKit/Lifetime.hpp"
#include "ZorbelKit/Token.hpp"

#include <chrono>
#include <memory>
#include <optional>

namespace ZorbelKit {
class MainLoop;
}

namespace Linux {

/// What UPower last told of the machine's batteries. It is listened to from the first question until nobody
/// has asked for a while; every answer is what has arrived by then, and no call waits for UPower or the bus.
/// Main thread only.
class UPower {
public:
    explicit UPower(ZorbelKit::MainLoop& loop);
    UPower(const UPower&) = delete;
    UPower& operator=(const UPower&) = delete;
    ~UPower();

    /// Says that the answers are wanted. To be called with every sample.
    void ask();

    /// Empty while UPower tells nothing.
    PowerReading reading() const;

    /// Minutes until the machine's only battery is full or empty; none where UPower does not know, knows of
    /// several, or thinks that it does the opposite.
    std::optional<std::int64_t> minutes(MachineBattery::Flow flow) const;

private:
    class Session;

    void open();
    void close();

    ZorbelKit::MainLoop& loop_;
    std::shared_ptr<Session>
        session_; // null while nobody asks, or there is no bus; shared only on its way here
    bool isOpening_ = false;
    std::optional<std::chrono::steady_clock::time_point> refused_; // when there was no bus
    ZorbelKit::Lifetime lifetime_;
    ZorbelKit::Token quiet_;
};

} // namespace Linux
