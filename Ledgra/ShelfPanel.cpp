#include "Ledgra/ShelfPanel.hpp"

#include <algorithm>

namespace Ledgra {

using namespace ZorbelKit;

ShelfPanel::ShelfPanel(FloatingPanels& panels, const Screens& screens, const AnyView& content)
    : screens_(screens)
    , panel_(panels.make(
          {.title = "Shelf", .size = size, .canBecomeKey = canBecomeKey(), .canBecomeMain = canBecomeMain()},
          content)) {
}

void ShelfPanel::position(std::optional<Screen> screen) {
    if (!screen) {
        screen = screens_.main();
    }
    if (screen) {
        const double inset = std::max(screen->topInset, 0.0);
        panel_->setOrigin({.x = screen->frame.midX() - size.width / 2,
                           .y = screen->frame.maxY() - size.height - inset - gap});
    }
}

void ShelfPanel::orderFrontRegardless() {
    panel_->orderFrontRegardless();
}

void ShelfPanel::orderOut() {
    panel_->orderOut();
}

} // namespace Ledgra
