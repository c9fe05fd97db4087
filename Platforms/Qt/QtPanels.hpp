#pragma once

#include "ZorbelKit/Forward.hpp"
#include "ZorbelKit/Host/Panels.hpp"
#include "ZorbelKit/Lifetime.hpp"

namespace QtPlatform {

/// The suite's popovers, menus and tool tips. Needs a QApplication.
class QtPanels : public ZorbelKit::Panels {
public:
    explicit QtPanels(ZorbelKit::MainLoop& loop)
        : loop_(loop) {}

    void putAway(std::function<void()> gone) override;

private:
    ZorbelKit::MainLoop& loop_;
    ZorbelKit::Lifetime lifetime_;
};

} // namespace QtPlatform
