#include "Platforms/Linux/MenuBar/TrayMode.hpp"

#include "Platforms/Linux/DesktopNames.hpp"

namespace Linux {

bool bringsOwnTray(std::string_view currentDesktop) {
    return namesDesktop(currentDesktop, {"KDE", "XFCE", "LXQt", "MATE", "X-Cinnamon", "Cinnamon", "Budgie",
                                         "COSMIC", "Unity"});
}

TrayMode::TrayMode(ZorbelKit::MainLoop& loop, bool canShowBar)
    : loop_(loop)
    , canShowBar_(canShowBar) {
}

void TrayMode::start(bool hostRuns, bool desktopBringsTray) {
    if (hostRuns) {
        place_.set(TrayPlace::guest);
    } else if (!canShowBar_) {
        fallBackAfter(bareDisplayPatience);
    } else if (desktopBringsTray) {
        fallBackAfter(startPatience);
    } else {
        place_.set(TrayPlace::bar);
    }
}

void TrayMode::hostChanged(bool hostRuns) {
    if (hostRuns) {
        waiting_.reset();
        place_.set(TrayPlace::guest);
    } else if (place() == TrayPlace::guest) {
        // Panels restart: the icon waits for the tray to come back before it moves.
        fallBackAfter(canShowBar_ ? returnPatience : bareDisplayPatience);
    }
}

void TrayMode::fallBackAfter(ZorbelKit::Seconds patience) {
    waiting_ =
        loop_.after(patience, [this] { place_.set(canShowBar_ ? TrayPlace::bar : TrayPlace::nowhere); });
}

} // namespace Linux
