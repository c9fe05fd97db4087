#include "Platforms/Linux/Windows/WindowPlacer.hpp"

#include "Platforms/Linux/Windows/DesktopReader.hpp"

#include <algorithm>
#include <array>
#include <utility>

namespace Linux {

namespace {

constexpr std::uint32_t fromPager = 2;      // the source of a request that the user has made
constexpr std::uint32_t northWest = 1;      // the gravity for which x and y are the frame's corner
constexpr std::uint32_t staticGravity = 10; // and the client's
constexpr std::uint32_t allFour = 0xF00;
constexpr std::uint32_t removeState = 0;
constexpr std::uint32_t hintNumbers = 18;

} // namespace

WindowPlacer::WindowPlacer(ZorbelKit::MainLoop& loop, DesktopConnection& connection)
    : loop_(loop)
    , connection_(connection) {
}

void WindowPlacer::place(xcb_window_t window, const PixelRect& visible, bool isMaximising) {
    Job& job = jobs_[window] = Job{.wanted = visible, .isMaximising = isMaximising, .expected = visible};
    connection_.watch(window, Interest::placement);
    job.state = state(window, isMaximising);
    job.wasFullscreen = job.state.isFullscreen;
    if (job.state == State{}) {
        move(window);
    } else {
        beginClearing(window, job);
    }
}

WindowPlacer::State WindowPlacer::state(xcb_window_t window, bool isMaximising) const {
    const auto states = connection_.numbers(connection_.ask(window, DesktopName::windowState));
    const auto has = [&](DesktopName name) {
        return std::ranges::find(states, connection_.atom(name)) != states.end();
    };
    return {isMaximising &&
                (has(DesktopName::maximisedVertically) || has(DesktopName::maximisedHorizontally)),
            has(DesktopName::fullscreen)};
}

/// Both directions in one message: a window manager would otherwise show the window half maximised.
void WindowPlacer::clear(xcb_window_t window, const State& state) const {
    if (state.isMaximised) {
        connection_.send(window, DesktopName::windowState,
                         {removeState, connection_.atom(DesktopName::maximisedVertically),
                          connection_.atom(DesktopName::maximisedHorizontally), fromPager, 0});
    }
    if (state.isFullscreen) {
        connection_.send(
            window, DesktopName::windowState,
            {removeState, connection_.atom(DesktopName::fullscreen), XCB_ATOM_NONE, fromPager, 0});
    }
    connection_.flush();
}

void WindowPlacer::beginClearing(xcb_window_t window, Job& job) {
    job.step = Step::clearing;
    clear(window, job.state);
    job.timer = loop_.after(longestClearing, [this, window] { move(window); });
}

void WindowPlacer::goOnClearing(xcb_window_t window, Job& job) {
    const State before = std::exchange(job.state, state(window, job.isMaximising));
    if (job.state == State{}) {
        move(window);
    } else if (before.isFullscreen && !job.state.isFullscreen) {
        clear(window, job.state); // some keep a full-screen window from being anything less
    }
}

void WindowPlacer::move(xcb_window_t window) {
    Job* job = find(window);
    const auto now = shape(window);
    if (!job || !now) {
        finish(window);
        return;
    }
    job->step = Step::moving;
    job->asked = placement(job->wanted, *now);
    job->expected = placed(job->wanted, *now);
    ask(window, job->asked, *now);
    lookSoon(window, longRest, false); // one that is there already may never tell
}

void WindowPlacer::ask(xcb_window_t window, const PixelRect& placement, const WindowShape& shape) const {
    const std::uint32_t gravity = shape.isFrameTold ? northWest : staticGravity;
    connection_.send(window, DesktopName::moveResizeWindow,
                     {gravity | allFour | fromPager << 12, static_cast<std::uint32_t>(placement.x),
                      static_cast<std::uint32_t>(placement.y), static_cast<std::uint32_t>(placement.width),
                      static_cast<std::uint32_t>(placement.height)});
    connection_.flush();
}

std::optional<PixelRect> WindowPlacer::expected(xcb_window_t window) const {
    const auto found = jobs_.find(window);
    const bool isOnItsWay =
        found != jobs_.end() && found->second.step != Step::resting && !found->second.wasConfigured;
    return isOnItsWay ? std::optional(found->second.expected) : std::nullopt;
}

void WindowPlacer::propertyChanged(xcb_window_t window, xcb_atom_t property) {
    Job* job = find(window);
    if (!job) {
        return;
    }
    if (job->step == Step::clearing) {
        if (property == connection_.atom(DesktopName::windowState)) {
            goOnClearing(window, *job);
        }
        return;
    }
    if (property == connection_.atom(DesktopName::windowState) && job->step == Step::moving) {
        clearWhatCameBack(window, *job);
    }
    if (property == connection_.atom(DesktopName::frameExtents) ||
        property == connection_.atom(DesktopName::gtkFrameExtents)) {
        lookSoon(window, rest, false);
    }
}

/// Some maximise a window again that is full-screen no longer, and tell of it a moment later. Any other state
/// that comes while the window moves is the user's wish.
void WindowPlacer::clearWhatCameBack(xcb_window_t window, Job& job) {
    if (!job.wasFullscreen) {
        return;
    }
    job.state = state(window, job.isMaximising);
    if (job.state.isMaximised && !job.state.isFullscreen) {
        job.wasFullscreen = false;
        beginClearing(window, job);
    }
}

void WindowPlacer::configured(xcb_window_t window) {
    Job* job = find(window);
    // At rest where it was wanted, it may have been moved on by the user: that is none of our business.
    if (job && job->step == Step::moving) {
        job->wasConfigured = true;
        lookSoon(window, rest, false);
    }
}

void WindowPlacer::lookSoon(xcb_window_t window, ZorbelKit::Seconds delay, bool isLast) {
    jobs_.at(window).timer = loop_.after(delay, [this, window, isLast] { look(window, isLast); });
}

void WindowPlacer::look(xcb_window_t window, bool isLast) {
    Job* job = find(window);
    const auto now = shape(window);
    if (!job || !now) {
        finish(window);
        return;
    }
    if (isSettled(job->wanted, *now)) {
        job->step = Step::resting;
        job->timer = loop_.after(longestCare, [this, window] { finish(window); });
        return;
    }
    // A window manager may keep a window on its monitor for as long as it has not got its new size: the same
    // wish is granted the second time. Otherwise the first one may still be on its way.
    const PixelRect next = placement(job->wanted, *now);
    const bool isSized = now->client.width == next.width && now->client.height == next.height;
    const bool isOnItsWay = next == job->asked && !(isSized && job->wasConfigured);
    if (isOnItsWay && !isLast) {
        lookSoon(window, longRest, true);
        return;
    }
    ask(window, next, *now);
    finish(window);
}

void WindowPlacer::finish(xcb_window_t window) {
    jobs_.erase(window);
    connection_.unwatch(window, Interest::placement);
    connection_.flush();
}

WindowPlacer::Job* WindowPlacer::find(xcb_window_t window) {
    const auto found = jobs_.find(window);
    return found == jobs_.end() ? nullptr : &found->second;
}

std::optional<WindowShape> WindowPlacer::shape(xcb_window_t window) const {
    const auto place = connection_.askPlace(window);
    const auto frame = connection_.ask(window, DesktopName::frameExtents);
    const auto shadow = connection_.ask(window, DesktopName::gtkFrameExtents);
    const auto hints = connection_.ask(window, XCB_ATOM_WM_NORMAL_HINTS, hintNumbers);
    const auto client = connection_.place(place);
    const auto told = connection_.numbers(frame);
    WindowShape result{.client = {},
                       .frame = {},
                       .shadow = edges(connection_.numbers(shadow)),
                       .hints = sizeHints(connection_.numbers(hints))};
    if (!client) {
        return std::nullopt;
    }
    result.client = {client->x, client->y, client->width, client->height};
    readFrame(connection_, *client, told, result);
    return result;
}

} // namespace Linux
