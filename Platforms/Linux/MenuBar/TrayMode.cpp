#include "Platforms/Linux/MenuBar/TrayMode.hpp"

#include "Platforms/Linux/DesktopNames.hpp"

namespace Linux {

bool bringsOwnTray(std::string_view currentDesktop) {
    return namesDesktop(currentDesktop, {"KDE", "XFCE", "LXQt", "MATE", "X-Cinnamon", "Cinnamon", "Budgie",
                                         "COSMIC", "Unity"});
}

TrayMode::TrayMode(ZorbelKit::MainLoop& loop, bool canShowBar, bool prefersBar)
    : loop_(loop)
    , canShowBar_(canShowBar)
    , prefersBar_(prefersBar) {
}

void TrayMode::start(bool hostRuns, bool desktopBringsTray) {
    hostRuns_ = hostRuns;
    desktopBringsTray_ = desktopBringsTray;
    if (hostRuns || (canShowBar_ && !desktopBringsTray)) {
        isWaiting_ = false;
    } else {
        waitFor(canShowBar_ ? startPatience : bareDisplayPatience);
    }
    decide();
}

void TrayMode::hostChanged(bool hostRuns) {
    hostRuns_ = hostRuns;
    if (hostRuns) {
        isWaiting_ = false;
        patience_.reset();
    } else if (place() == TrayPlace::guest) {
        // Panels restart: the icon waits for the tray to come back before it moves.
        waitFor(canShowBar_ ? returnPatience : bareDisplayPatience);
    }
    decide();
}

void TrayMode::setPrefersBar(bool on) {
    prefersBar_ = on;
    if (!on && !hostRuns_ && desktopBringsTray_) {
        waitFor(startPatience); // the desktop's tray comes back once the watcher's name is free again
    }
    decide();
}

void TrayMode::waitFor(ZorbelKit::Seconds patience) {
    isWaiting_ = true;
    patience_ = loop_.after(patience, [this] {
        isWaiting_ = false;
        decide();
    });
}

void TrayMode::decide() {
    const TrayPlace place = decidePlace();
    decision_.set({.place = place,
                   .mayOwnWatcher = place == TrayPlace::bar && !hostRuns_ && !isWaiting_,
                   .hasChoice = canShowBar_ && (hostRuns_ || desktopBringsTray_)});
}

TrayPlace TrayMode::decidePlace() const {
    if (canShowBar_ && prefersBar_) {
        return TrayPlace::bar;
    }
    if (hostRuns_) {
        return TrayPlace::guest;
    }
    if (isWaiting_) {
        return place();
    }
    return canShowBar_ ? TrayPlace::bar : TrayPlace::nowhere;
}

} // namespace Linux
