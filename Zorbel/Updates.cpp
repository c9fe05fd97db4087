#include "Zorbel/Updates.hpp"

#include <utility>

namespace Zorbel {

Updates::Updates(Information information, UpdaterController* controller)
    : information_(std::move(information))
    , controller_(controller)
    , automatic_(*this, controller && controller->automaticallyChecksForUpdates()) {
}

void Updates::begin() {
    if (!controller_ || !information_("SUFeedURL") || !information_("SUPublicEDKey")) {
        return;
    }
    controller_->startUpdater();
    canCheck_.set(true);
}

void Updates::checkForUpdates() {
    if (canCheck()) {
        controller_->checkForUpdates();
    }
}

} // namespace Zorbel
