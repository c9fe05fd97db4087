#pragma once

#include "ZorbelKit/Time.hpp"
#include "ZorbelKit/Token.hpp"

#include <functional>

namespace ZorbelKit {

class MainLoop;

/// Does something as soon as it is asked for, and however often it is asked for, at most once an interval:
/// the requests in between are answered together at the interval's end. Main thread only.
class Throttle {
public:
    /// `action` may request again and may destroy the throttle.
    Throttle(MainLoop& loop, Seconds interval, std::function<void()> action);

    void request();

private:
    void act();

    MainLoop& loop_;
    const Seconds interval_;
    std::function<void()> action_;
    bool isWanted_ = false;
    Token pause_; // true until the interval after the last action is over
};

} // namespace ZorbelKit
