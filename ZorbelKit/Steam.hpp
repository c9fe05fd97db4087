#pragma once

#include "ZorbelKit/Host/MainLoop.hpp"
#include "ZorbelKit/Observable.hpp"

#include <functional>

namespace ZorbelKit {

class Defaults;

/// How the glass steams. Twelve frames a second while it does, each handed to one consumer that redraws the
/// glass; a resting glass holds no timer. Main thread only.
class Steam : public Observable {
public:
    /// Called with (level, phase).
    using FrameConsumer = std::function<void(double, double)>;

    Steam(MainLoop& loop, const Defaults& defaults);

    void onFrame(FrameConsumer callback) { onTick_ = std::move(callback); }

    /// A timed puff of `load`, kept within 0.15 … 1.0. The latest puff's duration counts.
    void rise(double load, Seconds duration);

    /// Steam without an end.
    void hold(double load);

    /// Back to rest, with one last frame. Nothing while `alwaysOn()`.
    void cool();

    double phase() const { return phase_.get(); } // position of the wisps in their cycle, radians, 0 … 2π
    double level() const { return level_.get(); } // 0 at rest, else 0.15 … 1.0
    bool alwaysOn() const { return alwaysOn_.get(); }
    void setAlwaysOn(bool on) { alwaysOn_.set(on); }
    bool isRunning() const { return static_cast<bool>(timer_); }

private:
    void start();
    void step(Seconds elapsed);
    void setLoad(double load);
    void tell() const;

    MainLoop& loop_;
    Published<double> phase_{*this, 0.0};
    Published<double> level_{*this, 0.0};
    Published<bool> alwaysOn_;
    FrameConsumer onTick_;
    Token settle_; // the pending cool-down of a timed puff
    Token timer_;
};

} // namespace ZorbelKit
