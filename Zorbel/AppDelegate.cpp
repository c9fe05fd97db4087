#include "Zorbel/AppDelegate.hpp"

#include "Zorbel/Blend.hpp"
#include "Zorbel/DashboardView.hpp"
#include "Zorbel/MenuPanel.hpp"
#include "Zorbel/Onboarding.hpp"
#include "ZorbelKit/Host/Defaults.hpp"
#include "ZorbelKit/Stall.hpp"
#include "ZorbelKit/Surfaces/ChaiGlassRenderer.hpp"

#include <utility>

namespace Zorbel {

using namespace ZorbelKit;

namespace {

constexpr double glassSize = 18;
constexpr Size panelSize{328, 420};
constexpr Seconds loadInterval{15.0};
constexpr double busyLoad = 0.35;
constexpr Seconds trayPatience{5.0}; // without a menu bar for so long, the dashboard stands in for the glass
constexpr std::string_view hasLaunchedKey = "app.hasLaunched";

} // namespace

AppDelegate::AppDelegate(Host host)
    : host_(std::move(host))
    , steam_(host_.loop, host_.defaults)
    , updates_(host_.information, host_.updater)
    , loadReader_(host_.statistics) {
}

AppDelegate::~AppDelegate() = default;

void AppDelegate::applicationDidFinishLaunching() {
    host_.application.becomeAccessory();
    installStatusItem();
    stall_ = Blend::build(host_);
    watchLoad();
    updates_.begin();
    openFirstWindow();
    watchReachability();
}

void AppDelegate::applicationWillTerminate() {
    loadTimer_.reset();
    steam_.cool();
    if (stall_) {
        stall_->restAll();
    }
}

void AppDelegate::installStatusItem() {
    statusItem_ =
        host_.statusBar.statusItem(StatusBar::squareLength, "zorbel.status", StatusItemKind::button);
    if (!statusItem_) {
        return;
    }
    statusItem_->setImage(ChaiGlassRenderer::statusImage(0, 0, glassSize));
    statusItem_->setToolTip("Zorbel");
    statusItem_->onClick(lifetime_.guard([this](const StatusClick& click) { clicked(click); }));
    steam_.onFrame(lifetime_.guard([this](double steam, double phase) {
        if (statusItem_) {
            statusItem_->setImage(ChaiGlassRenderer::statusImage(steam, phase, glassSize));
        }
    }));
}

void AppDelegate::watchLoad() {
    loadReader_.read(); // primes the counters
    loadTimer_ = host_.loop.every(loadInterval, [this] { loadTick(); });
}

void AppDelegate::loadTick() {
    const double load = loadReader_.read().cpu;
    if (!isPanelShown() && load > busyLoad) {
        steam_.rise(load, Seconds{2.5});
    }
}

void AppDelegate::openFirstWindow() {
    if (host_.environment("ZORBEL_OPEN_DASHBOARD")) {
        firstWindow_ = host_.loop.after(Seconds{0.3}, [this] { showDashboard(); });
    } else if (!host_.defaults.boolean(hasLaunchedKey).value_or(false)) {
        firstWindow_ = host_.loop.after(Seconds{0.4}, [this] { showOnboarding(); });
    }
}

void AppDelegate::watchReachability() {
    const auto standIn = [this] {
        if ((!statusItem_ || !host_.statusBar.isReachable()) && !isOnboardingShown()) {
            showDashboard();
        }
    };
    patience_ = host_.loop.after(trayPatience, standIn);
    reachability_ = host_.statusBar.onChange(standIn);
}

void AppDelegate::clicked(const StatusClick& click) {
    if (click.button == ClickButton::right) {
        showDashboard();
    } else {
        togglePanel();
    }
}

void AppDelegate::comeForward() {
    if (isOnboardingShown()) {
        showOnboarding();
    } else {
        showDashboard();
    }
}

void AppDelegate::togglePanel() {
    if (isPanelShown()) {
        panel_->close();
        return;
    }
    if (!statusItem_ || !stall_) {
        return;
    }
    if (!panel_) {
        panel_ = host_.windows.popover(panelSize,
                                       menuPanelView(*stall_, updates_, host_.application,
                                                     lifetime_.guard([this] { openDashboardFromPanel(); })));
        panel_->onClose(lifetime_.guard([this] { panelClosed(); }));
    }
    panel_->show(statusItem_->frame());
    steam_.hold(0.75);
}

void AppDelegate::panelClosed() {
    steam_.cool();
}

void AppDelegate::openDashboardFromPanel() {
    panel_->close();
    showDashboard();
}

void AppDelegate::showDashboard() {
    if (!stall_) {
        return;
    }
    if (!dashboard_) {
        dashboard_ = host_.windows.window(
            {.title = "Zorbel", .contentSize = {960, 640}, .minimumSize = Size{840, 560}},
            dashboardView(*stall_, host_.loop));
    }
    host_.application.activate();
    dashboard_->showInFront();
}

void AppDelegate::showOnboarding() {
    if (!stall_) {
        return;
    }
    if (!onboarding_) {
        onboarding_ = host_.windows.window(
            {.title = "Welcome to Zorbel", .contentSize = {720, 560}, .minimumSize = std::nullopt},
            onboardingView(*stall_, lifetime_.guard([this] { finishOnboarding(); })));
    }
    host_.application.activate();
    onboarding_->showInFront();
}

void AppDelegate::finishOnboarding() {
    host_.defaults.setBoolean(hasLaunchedKey, true);
    if (const auto finished = std::shared_ptr<ShellWindow>(std::move(onboarding_))) {
        finished->close();
        host_.loop.post([finished] {}); // its own button brought us here: it goes once that click is over
    }
    steam_.rise(1.0, Seconds{6.0});
    showDashboard();
}

} // namespace Zorbel
