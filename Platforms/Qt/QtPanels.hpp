#pragma once

#include "ZorbelKit/Forward.hpp"
#include "ZorbelKit/Host/Panels.hpp"
#include "ZorbelKit/Token.hpp"

#include <functional>
#include <vector>

namespace QtPlatform {

/// The suite's popovers, menus and tool tips. Needs a QApplication.
class QtPanels : public ZorbelKit::Panels {
public:
    explicit QtPanels(ZorbelKit::MainLoop& loop)
        : loop_(loop) {}

    /// What is pressed to call this may lie on one of them: they are hidden, and live on.
    void putAway(std::function<void()> gone) override;

private:
    void areGone();

    ZorbelKit::MainLoop& loop_;
    std::vector<std::function<void()>> gone_; // who waits until the screen shows what was below
    ZorbelKit::Token wait_;
};

} // namespace QtPlatform
