#pragma once

#include "Rusket/VitalsReader.hpp"
#include "Zorbel/Host.hpp"
#include "Zorbel/ShellWindows.hpp"
#include "Zorbel/Updates.hpp"
#include "ZorbelKit/Host/StatusBar.hpp"
#include "ZorbelKit/Lifetime.hpp"
#include "ZorbelKit/Steam.hpp"

#include <memory>

namespace Zorbel {

/// Runs the program: puts the glass on the menu bar, builds the registry, watches the load, and opens the
/// panel, the dashboard and the first-launch window. Windows are made on first use and kept. Main thread
/// only.
class AppDelegate {
public:
    explicit AppDelegate(Host host);
    ~AppDelegate();

    void applicationDidFinishLaunching();
    void applicationWillTerminate();

    /// Left and right button of the glass.
    void clicked(const ZorbelKit::StatusClick& click);

    /// What a second start of the program asks for: the window a first launch is at, else the dashboard.
    void comeForward();

    void togglePanel();
    void showDashboard();
    void showOnboarding();

    /// Null until launch has finished.
    ZorbelKit::Stall* stall() const { return stall_.get(); }
    ZorbelKit::Steam& steam() { return steam_; }
    Updates& updates() { return updates_; }

private:
    void installStatusItem();
    void watchLoad();
    void loadTick();
    void openFirstWindow();
    void watchReachability();
    void panelClosed();
    void finishOnboarding();
    void openDashboardFromPanel();
    bool isPanelShown() const { return panel_ && panel_->isShown(); }
    bool isOnboardingShown() const { return onboarding_ && onboarding_->isShown(); }

    Host host_;
    std::unique_ptr<ZorbelKit::Stall> stall_;
    ZorbelKit::Steam steam_;
    Updates updates_;
    Rusket::VitalsReader
        loadReader_; // apart from Rusket's own, so that neither shortens the other's interval
    std::unique_ptr<ZorbelKit::StatusItem> statusItem_;
    std::unique_ptr<PopoverWindow> panel_;
    std::unique_ptr<ShellWindow> dashboard_;
    std::unique_ptr<ShellWindow> onboarding_;
    ZorbelKit::Lifetime lifetime_;
    ZorbelKit::Token loadTimer_;
    ZorbelKit::Token firstWindow_;
    ZorbelKit::Token patience_;
    ZorbelKit::Token reachability_;
};

} // namespace Zorbel
