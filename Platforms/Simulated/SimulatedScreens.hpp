#pragma once

#include "ZorbelKit/Host/Screens.hpp"
#include "ZorbelKit/Observable.hpp"

namespace Simulated {

/// Monitors as a list.
class SimulatedScreens : public ZorbelKit::Screens {
public:
    std::vector<ZorbelKit::Screen> all() const override { return screens_; }
    ZorbelKit::Token onChange(std::function<void()> changed) override {
        return changes_.observe(std::move(changed));
    }

    void set(std::vector<ZorbelKit::Screen> screens) {
        screens_ = std::move(screens);
        changes_.notify();
    }

private:
    std::vector<ZorbelKit::Screen> screens_{{{0, 0, 800, 600}, {0, 0, 800, 572}, 1, 0}};
    ZorbelKit::Changes changes_;
};

} // namespace Simulated
