#include "ZorbelKit/Throttle.hpp"

#include "ZorbelKit/Host/MainLoop.hpp"

#include <utility>

namespace ZorbelKit {

Throttle::Throttle(MainLoop& loop, Seconds interval, std::function<void()> action)
    : loop_(loop)
    , interval_(interval)
    , action_(std::move(action)) {
}

void Throttle::request() {
    isWanted_ = true;
    if (!pause_) {
        act();
    }
}

void Throttle::act() {
    isWanted_ = false;
    pause_ = loop_.after(interval_, [this] {
        pause_.reset();
        if (isWanted_) {
            act();
        }
    });
    const auto action = action_; // it may destroy this
    action();
}

} // namespace ZorbelKit
