#pragma once

#include "ZorbelKit/Geometry.hpp"
#include "ZorbelKit/Host/FloatingPanels.hpp"
#include "ZorbelKit/Host/Screens.hpp"

#include <memory>
#include <optional>

namespace Ledgra {

/// The strip itself: a floating panel at the top of a screen. Main thread only.
class ShelfPanel {
public:
    static constexpr ZorbelKit::Size size{340, 128}; // points
    static constexpr double gap = 2;                 // below the camera housing, or the edge of the screen

    /// It is not shown yet. `content` fills it.
    ShelfPanel(ZorbelKit::FloatingPanels& panels, const ZorbelKit::Screens& screens,
               const ZorbelKit::AnyView& content);

    static constexpr bool canBecomeKey() { return true; }
    static constexpr bool canBecomeMain() { return false; }

    /// In the middle of its top; of the main screen where none is given. Stays where it is where there is
    /// none at all.
    void position(std::optional<ZorbelKit::Screen> screen = std::nullopt);

    void orderFrontRegardless();
    void orderOut();

private:
    const ZorbelKit::Screens& screens_;
    std::unique_ptr<ZorbelKit::FloatingPanel> panel_;
};

} // namespace Ledgra
