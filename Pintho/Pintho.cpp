#include "Pintho/Pintho.hpp"

#include "ZorbelKit/Checked.hpp"
#include "ZorbelKit/Host/Clock.hpp"
#include "ZorbelKit/Host/MainLoop.hpp"
#include "ZorbelKit/Host/Shortcuts.hpp"

#include <algorithm>
#include <utility>

namespace Pintho {

using namespace ZorbelKit;

PinthoSpice::PinthoSpice(MainLoop& loop, const Clock& clock, const Workspace& workspace,
                         const Screens& screens, Accessibility& accessibility, Shortcuts& shortcuts)
    : Spice({.id = "pintho",
             .name = "Pintho",
             .role = "Windows",
             .summary = "Sets windows down in a fixed position, by keyboard.",
             .reason = "Named for the low stool at the stall: there is a place for everyone, and "
                       "everyone is shown to it.",
             .wave = Wave::inTheCup})
    , loop_(loop)
    , clock_(clock)
    , workspace_(workspace)
    , system_(screens)
    , accessibility_(accessibility)
    , shortcuts_(shortcuts)
    , hasAccessibility_(*this, accessibility.isTrusted()) {
}

void PinthoSpice::steep() {
    // The timer first: a reader of the first context may turn the spice off again.
    if (!pollTimer_) {
        pollTimer_ = loop_.every(refreshInterval, [this] { refresh(); });
        grabKeys();
    }
    refresh();
}

void PinthoSpice::rest() {
    pollTimer_.reset();
    grabs_.clear();
    reachable_.set({});
}

void PinthoSpice::grabKeys() {
    std::vector<Seat> reachable;
    for (const Seat seat : allSeats) {
        Token grab = shortcuts_.grab(key(seat), [this, seat] { place(seat); });
        if (grab) {
            grabs_.push_back(std::move(grab));
            reachable.push_back(seat);
        }
    }
    reachable_.set(std::move(reachable));
}

std::optional<std::string> PinthoSpice::shortcut(Seat seat) const {
    const bool isReachable = std::ranges::find(reachable_.get(), seat) != reachable_.get().end();
    return isReachable ? std::optional(shortcuts_.text(key(seat))) : std::nullopt;
}

void PinthoSpice::refresh() {
    hasAccessibility_.set(accessibility_.isTrusted());
    readContext();
}

bool PinthoSpice::place(Seat seat) {
    if (!accessibility_.isTrusted()) {
        return false;
    }
    const auto front = workspace_.frontmostApplication();
    if (!front || isOurs(*front)) {
        return false;
    }
    const auto window = accessibility_.focusedWindow(front->processIdentifier);
    if (!window) {
        return false;
    }
    const auto all = system_.all();
    auto screen = screenForWindow(*window, all);
    if (!screen) {
        screen = system_.main();
    }
    if (!screen) {
        return false;
    }
    const double primaryTop = all.empty() ? screen->visibleFrame.maxY() : all.front().frame.maxY();
    const WindowRect rect = seatRect(seat, screen->visibleFrame, primaryTop);
    // Position, size, position: a window on its way to another screen is cut to the old one's size, and one
    // that refuses the size has moved by then.
    accessibility_.setPosition(*window, {rect.x, rect.y});
    accessibility_.setSize(*window, {rect.width, rect.height});
    accessibility_.setPosition(*window, {rect.x, rect.y});
    lastSeat_.set(seat);
    remember(seat);
    readContext();
    return true;
}

void PinthoSpice::requestAccessibility() {
    accessibility_.requestTrust();
}

bool PinthoSpice::isOurs(const RunningApplication& application) const {
    return application.bundleIdentifier == workspace_.ownBundleIdentifier();
}

std::optional<Screen> PinthoSpice::screenForWindow(WindowElement window,
                                                   const std::vector<Screen>& screens) const {
    const auto corner = accessibility_.position(window);
    const auto index = corner ? screenAt(*corner, screens) : std::nullopt;
    return index ? std::optional(screens[*index]) : std::nullopt;
}

/// Keeps the program that was in front at the last look: the one whose window has just been placed.
void PinthoSpice::remember(Seat seat) {
    if (!frontmost()) {
        return;
    }
    placements_.edit([&](std::vector<Placement>& placements) {
        std::erase_if(placements,
                      [&](const Placement& placement) { return placement.app == frontmost()->app; });
        placements.insert(placements.begin(), {frontmost()->app, seat, clock_.now()});
        if (placements.size() > mostPlacements) {
            placements.resize(mostPlacements);
        }
    });
}

void PinthoSpice::readContext() {
    const auto all = system_.all();
    const auto main = system_.main();
    std::vector<ScreenInfo> infos;
    infos.reserve(all.size());
    for (const Screen& screen : all) {
        infos.push_back({.id = screen.id,
                         .index = static_cast<std::int64_t>(infos.size()),
                         .name = screen.name,
                         .width = checked::toInt64(screen.frame.width),
                         .height = checked::toInt64(screen.frame.height),
                         .scale = screen.scale,
                         .isMain = main && main->id == screen.id,
                         .hasNotch = screen.topInset > 0});
    }
    screens_.set(std::move(infos));
    if (!accessibility_.isTrusted()) {
        return;
    }
    const auto front = workspace_.frontmostApplication();
    if (!front || isOurs(*front)) {
        return;
    }
    const auto window = accessibility_.focusedWindow(front->processIdentifier);
    if (!window) {
        return;
    }
    auto title = accessibility_.title(*window);
    const WindowPoint corner = accessibility_.position(*window).value_or(WindowPoint{});
    const Size size = accessibility_.size(*window).value_or(Size{});
    frontmost_.set(WindowInfo{.app = front->localizedName.value_or("Unknown"),
                              .bundleID = front->bundleIdentifier.value_or(""),
                              .title = title && !title->empty() ? std::move(title) : std::nullopt,
                              .width = checked::toInt64(size.width),
                              .height = checked::toInt64(size.height),
                              .x = checked::toInt64(corner.x),
                              .y = checked::toInt64(corner.y)});
}

} // namespace Pintho
