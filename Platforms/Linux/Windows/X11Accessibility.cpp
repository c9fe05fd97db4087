#include "Platforms/Linux/Windows/X11Accessibility.hpp"

#include <cstdlib>
#include <utility>

namespace Linux {

using Pintho::WindowElement;
using Pintho::WindowPoint;
using Pintho::WindowRect;

namespace {

bool isWaylandSession() {
    const char* display = std::getenv("WAYLAND_DISPLAY");
    return display && *display;
}

std::uint32_t idOf(WindowElement window) {
    return static_cast<std::uint32_t>(window.id); // as focusedWindow gave it out
}

} // namespace

X11Accessibility::X11Accessibility(ZorbelKit::MainLoop& loop, EwmhDesktop& desktop)
    : loop_(loop)
    , desktop_(desktop)
    , isWayland_(isWaylandSession()) {
}

bool X11Accessibility::isTrusted() const {
    return !isWayland_ && desktop_.isManaged();
}

std::string X11Accessibility::trustHint() const {
    if (isWayland_) {
        return "On Wayland a program cannot place the windows of others.";
    }
    return desktop_.isManaged()
               ? ""
               : "Windows can be placed once a window manager that follows the EWMH standard is running.";
}

std::optional<WindowElement> X11Accessibility::focusedWindow(std::int64_t processIdentifier) const {
    const auto active = desktop_.activeWindow();
    return active && active->pid == processIdentifier ? std::optional(WindowElement{active->id})
                                                      : std::nullopt;
}

std::optional<std::string> X11Accessibility::title(WindowElement window) const {
    const auto active = desktop_.activeWindow();
    return active && active->id == window.id && !active->title.empty() ? std::optional(active->title)
                                                                       : std::nullopt;
}

std::optional<WindowRect> X11Accessibility::seen(WindowElement window) const {
    if (wishes_.contains(window.id)) {
        sendWishes();
    }
    const auto expected = desktop_.expected(idOf(window));
    return expected ? expected : visible(window);
}

std::optional<WindowRect> X11Accessibility::visible(WindowElement window) const {
    const auto active = desktop_.activeWindow();
    return active && active->id == window.id ? active->visible : desktop_.visible(idOf(window));
}

std::optional<WindowPoint> X11Accessibility::position(WindowElement window) const {
    const auto rect = seen(window);
    return rect ? std::optional(WindowPoint{rect->x, rect->y}) : std::nullopt;
}

std::optional<ZorbelKit::Size> X11Accessibility::size(WindowElement window) const {
    const auto rect = seen(window);
    return rect ? std::optional(ZorbelKit::Size{rect->width, rect->height}) : std::nullopt;
}

void X11Accessibility::setPosition(WindowElement window, WindowPoint corner) {
    wish(window).corner = corner;
}

void X11Accessibility::setSize(WindowElement window, ZorbelKit::Size size) {
    wish(window).size = size;
}

X11Accessibility::Wish& X11Accessibility::wish(WindowElement window) {
    if (wishes_.empty()) {
        loop_.post(lifetime_.guard([this] { sendWishes(); }));
    }
    return wishes_[window.id];
}

void X11Accessibility::sendWishes() const {
    for (const auto& [id, wish] : std::exchange(wishes_, {})) {
        const WindowElement window{id};
        // What was not set stays as it is.
        const auto now = wish.corner && wish.size ? WindowRect{} : seen(window);
        if (now) {
            const WindowPoint corner = wish.corner.value_or(WindowPoint{now->x, now->y});
            const ZorbelKit::Size size = wish.size.value_or(ZorbelKit::Size{now->width, now->height});
            desktop_.place(idOf(window), {corner.x, corner.y, size.width, size.height});
        }
    }
}

} // namespace Linux
