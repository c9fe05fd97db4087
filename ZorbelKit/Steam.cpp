#include "ZorbelKit/Steam.hpp"

#include "ZorbelKit/Geometry.hpp"
#include "ZorbelKit/Host/Defaults.hpp"

#include <numbers>
#include <utility>

namespace ZorbelKit {

namespace {

constexpr Seconds frameInterval{1.0 / 12};
constexpr double radiansPerSecond = 2.2;
constexpr double faintest = 0.15;
constexpr double strongest = 1.0;

} // namespace

Steam::Steam(MainLoop& loop, const Defaults& defaults)
    : loop_(loop)
    , alwaysOn_(*this, defaults.boolean("steam.alwaysOn").value_or(false)) {
}

void Steam::rise(double load, Seconds duration) {
    setLoad(load);
    start();
    settle_.reset();
    if (!alwaysOn()) {
        settle_ = loop_.after(duration, [this] { cool(); });
    }
}

void Steam::hold(double load) {
    settle_.reset();
    setLoad(load);
    start();
}

void Steam::cool() {
    if (alwaysOn()) {
        return;
    }
    settle_.reset();
    timer_.reset();
    level_.set(0);
    tell();
}

void Steam::setLoad(double load) {
    level_.set(clamped(load, faintest, strongest));
}

void Steam::start() {
    if (!timer_) {
        timer_ = loop_.every(frameInterval, [this] { step(frameInterval); });
    }
}

void Steam::step(Seconds elapsed) {
    double next = phase() + elapsed.count() * radiansPerSecond;
    if (next > 2 * std::numbers::pi) {
        next -= 2 * std::numbers::pi;
    }
    phase_.set(next);
    tell();
}

void Steam::tell() const {
    if (const auto onTick = onTick_) { // the consumer may set another one
        onTick(level(), phase());
    }
}

} // namespace ZorbelKit
