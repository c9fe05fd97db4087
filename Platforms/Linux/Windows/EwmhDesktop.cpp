#include "Platforms/Linux/Windows/EwmhDesktop.hpp"

#include "Platforms/Linux/Windows/DesktopConnection.hpp"
#include "Platforms/Linux/Windows/DesktopReader.hpp"
#include "Platforms/Linux/Windows/WindowPlacer.hpp"
#include "ZorbelKit/Lifetime.hpp"
#include "ZorbelKit/Observable.hpp"

#include <QSocketNotifier>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

namespace Linux {

using Pintho::WindowRect;

namespace {

constexpr std::chrono::milliseconds longestPass{5}; // however much happens, the suite stays live
constexpr std::uint8_t sentBySomeone = 0x80;        // in an event's type

/// On the wire, coordinates of windows have 16 bits.
std::int32_t pixel(double value, std::int32_t least) {
    constexpr double most = 32'767;
    return static_cast<std::int32_t>(
        std::lround(std::isnan(value) ? 0 : std::clamp<double>(value, least, most)));
}

} // namespace

class EwmhDesktop::Desktop {
public:
    Desktop(ZorbelKit::MainLoop& loop, std::unique_ptr<DesktopConnection> connection);

    bool isManaged();
    std::optional<ActiveWindow> activeWindow();
    std::optional<WindowRect> visible(xcb_window_t window);
    void place(xcb_window_t window, const WindowRect& visible);
    std::optional<WindowRect> expected(xcb_window_t window) const;
    std::vector<ZorbelKit::Screen> screens();
    ZorbelKit::Token onScreensChange(std::function<void()> changed);
    unsigned int requests() const { return xcb_no_operation(connection_->get()).sequence; }

private:
    struct Stale { // what has changed since it was read
        bool manager = true;
        bool active = true;
        bool monitors = true;
        bool operator==(const Stale&) const = default;
    };

    void refresh();
    void drain();
    void drainSoon();
    void handle(const xcb_generic_event_t& event);
    void handleProperty(const xcb_property_notify_event_t& notice);
    void handleStructure(std::uint8_t type, xcb_window_t window);
    void noteActiveChange(xcb_window_t window);
    void noteMonitorsChange();
    void tellScreens();
    WindowRect windowRect(const PixelRect& rect) const;

    ZorbelKit::MainLoop& loop_;
    std::unique_ptr<DesktopConnection> connection_;
    ManagerReader manager_;
    ActiveWindowReader active_;
    MonitorsReader monitors_;
    WindowPlacer placer_;
    Stale stale_;
    ZorbelKit::Changes screenChanges_;
    std::vector<ZorbelKit::Screen> toldScreens_; // as the readers of changes know them
    bool isTellPosted_ = false;
    bool isDrainPosted_ = false;
    std::unique_ptr<QSocketNotifier> notifier_; // of the connection's socket, so it goes first
    ZorbelKit::Lifetime lifetime_;
};

EwmhDesktop::Desktop::Desktop(ZorbelKit::MainLoop& loop, std::unique_ptr<DesktopConnection> connection)
    : loop_(loop)
    , connection_(std::move(connection))
    , manager_(*connection_)
    , active_(*connection_)
    , monitors_(*connection_)
    , placer_(loop, *connection_)
    , notifier_(std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(connection_->get()),
                                                  QSocketNotifier::Read)) {
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] { drain(); });
    drainSoon();
}

bool EwmhDesktop::Desktop::isManaged() {
    refresh();
    return manager_.isManaged();
}

std::optional<EwmhDesktop::ActiveWindow> EwmhDesktop::Desktop::activeWindow() {
    refresh();
    const auto& active = active_.active();
    if (!active) {
        return std::nullopt;
    }
    return ActiveWindow{
        active->id,          active->pid,   active->isRemote,           active->gtkApplication,
        active->windowClass, active->title, windowRect(active->visible)};
}

std::optional<WindowRect> EwmhDesktop::Desktop::visible(xcb_window_t window) {
    refresh();
    const auto shape = placer_.shape(window);
    drainSoon();
    return shape ? std::optional(windowRect(visibleRect(*shape))) : std::nullopt;
}

void EwmhDesktop::Desktop::place(xcb_window_t window, const WindowRect& visible) {
    refresh();
    const WindowRect origin = windowRect({});
    placer_.place(window,
                  {pixel(visible.x - origin.x, -32'768), pixel(visible.y - origin.y, -32'768),
                   pixel(visible.width, 1), pixel(visible.height, 1)},
                  manager_.isMaximising());
    drainSoon();
}

std::optional<WindowRect> EwmhDesktop::Desktop::expected(xcb_window_t window) const {
    const auto rect = placer_.expected(window);
    return rect ? std::optional(windowRect(*rect)) : std::nullopt;
}

std::vector<ZorbelKit::Screen> EwmhDesktop::Desktop::screens() {
    refresh();
    return Linux::screens(monitors_.monitors());
}

ZorbelKit::Token EwmhDesktop::Desktop::onScreensChange(std::function<void()> changed) {
    toldScreens_ = screens();
    return screenChanges_.observe(std::move(changed));
}

/// From pixels of the X screen to window coordinates.
WindowRect EwmhDesktop::Desktop::windowRect(const PixelRect& rect) const {
    const auto& all = monitors_.monitors();
    const PixelRect primary = all.empty() ? PixelRect{} : all.front().frame;
    return {static_cast<double>(rect.x - primary.x), static_cast<double>(rect.y - primary.y),
            static_cast<double>(rect.width), static_cast<double>(rect.height)};
}

/// Reads again what has changed, all of it in two round trips.
void EwmhDesktop::Desktop::refresh() {
    drain(); // what the server has told, and the loop has not got to yet
    if (connection_->isLost()) {
        stale_ = {}; // and all that is asked from now on is empty
    }
    if (stale_ == Stale{false, false, false}) {
        return;
    }
    const Stale read = std::exchange(stale_, {false, false, false});
    if (read.manager) {
        manager_.askFirst();
    }
    if (read.active) {
        active_.askFirst();
    }
    if (read.monitors) {
        monitors_.askFirst();
    }
    if (read.manager) {
        manager_.askSecond();
    }
    if (read.active) {
        active_.askSecond();
    }
    if (read.monitors) {
        monitors_.askSecond(manager_.hasWorkAreas());
    }
    if (read.manager) {
        manager_.take();
    }
    if (read.active) {
        active_.take();
    }
    if (read.monitors && monitors_.take()) {
        stale_.monitors = true;
    }
    drainSoon(); // whoever waits for answers takes events off the socket, which says nothing of them then
}

void EwmhDesktop::Desktop::drainSoon() {
    connection_->flush();
    if (!std::exchange(isDrainPosted_, true)) {
        loop_.post(lifetime_.guard([this] {
            isDrainPosted_ = false;
            drain();
        }));
    }
}

void EwmhDesktop::Desktop::drain() {
    const auto end = std::chrono::steady_clock::now() + longestPass;
    while (const XEvent event = owned(xcb_poll_for_event(connection_->get()))) {
        handle(*event);
        if (std::chrono::steady_clock::now() >= end) {
            drainSoon();
            break;
        }
    }
    connection_->flush();
    if (connection_->isLost()) {
        notifier_->setEnabled(false);
    }
}

void EwmhDesktop::Desktop::handle(const xcb_generic_event_t& event) {
    // Window managers tell of a window's place by an event of their own making; believing whoever else makes
    // one up costs no more than another look. Errors have type 0: a window may be gone at any time.
    const auto type = static_cast<std::uint8_t>(event.response_type & ~sentBySomeone);
    if (connection_->isMonitorEvent(type)) {
        noteMonitorsChange();
        return;
    }
    switch (type) {
    case XCB_PROPERTY_NOTIFY:
        handleProperty(as<xcb_property_notify_event_t>(event));
        break;
    case XCB_CONFIGURE_NOTIFY:
        handleStructure(type, as<xcb_configure_notify_event_t>(event).window);
        break;
    case XCB_MAP_NOTIFY:
        handleStructure(type, as<xcb_map_notify_event_t>(event).window);
        break;
    case XCB_UNMAP_NOTIFY:
        handleStructure(type, as<xcb_unmap_notify_event_t>(event).window);
        break;
    case XCB_REPARENT_NOTIFY:
        handleStructure(type, as<xcb_reparent_notify_event_t>(event).window);
        break;
    case XCB_DESTROY_NOTIFY:
        handleStructure(type, as<xcb_destroy_notify_event_t>(event).window);
        break;
    default:
        break;
    }
}

void EwmhDesktop::Desktop::handleProperty(const xcb_property_notify_event_t& notice) {
    const auto isOneOf = [&](std::initializer_list<DesktopName> names) {
        return std::ranges::any_of(names,
                                   [&](DesktopName name) { return notice.atom == connection_->atom(name); });
    };
    if (notice.window == connection_->root()) {
        const bool isManager = isOneOf({DesktopName::supported, DesktopName::supportingCheck});
        stale_.manager = stale_.manager || isManager;
        stale_.active = stale_.active || isOneOf({DesktopName::activeWindow});
        // The work area of the whole desktop says nothing of a monitor, but that some panel has changed.
        const bool isArea =
            isOneOf({DesktopName::clientList, DesktopName::currentDesktop, DesktopName::workArea}) ||
            notice.atom == connection_->workAreasOf(monitors_.desktop());
        if (isManager || isArea) {
            noteMonitorsChange();
        }
        return;
    }
    if (connection_->isWatched(notice.window, Interest::manager)) {
        stale_.manager = true;
    }
    if (connection_->isWatched(notice.window, Interest::panel) &&
        isOneOf({DesktopName::strut, DesktopName::strutPartial, DesktopName::windowDesktop,
                 DesktopName::windowType})) {
        noteMonitorsChange();
    }
    if (connection_->isWatched(notice.window, Interest::placement)) {
        placer_.propertyChanged(notice.window, notice.atom);
    }
    noteActiveChange(notice.window);
}

void EwmhDesktop::Desktop::handleStructure(std::uint8_t type, xcb_window_t window) {
    const bool isEnd = type == XCB_DESTROY_NOTIFY;
    if (window == connection_->root()) {
        noteMonitorsChange();
        return;
    }
    if (isEnd && connection_->isWatched(window, Interest::manager)) {
        stale_.manager = true;
    }
    if (type != XCB_CONFIGURE_NOTIFY && connection_->isWatched(window, Interest::panel)) {
        noteMonitorsChange();
    }
    if (type == XCB_CONFIGURE_NOTIFY && connection_->isWatched(window, Interest::placement)) {
        placer_.configured(window);
    }
    noteActiveChange(window);
    if (isEnd) {
        placer_.gone(window);
        connection_->forget(window);
    }
}

/// One piece of news is enough: a window that changes its title with every key would wake us in vain.
void EwmhDesktop::Desktop::noteActiveChange(xcb_window_t window) {
    if (connection_->isWatched(window, Interest::active)) {
        stale_.active = true;
        connection_->unwatch(window, Interest::active);
    }
}

void EwmhDesktop::Desktop::noteMonitorsChange() {
    stale_.monitors = true;
    if (screenChanges_.observerCount() > 0 && !std::exchange(isTellPosted_, true)) {
        loop_.post(lifetime_.guard([this] {
            isTellPosted_ = false;
            tellScreens();
        }));
    }
}

void EwmhDesktop::Desktop::tellScreens() {
    auto now = screens();
    if (now != toldScreens_) {
        toldScreens_ = std::move(now);
        screenChanges_.notify();
    }
}

EwmhDesktop::EwmhDesktop(ZorbelKit::MainLoop& loop, const char* display) {
    if (auto connection = DesktopConnection::open(display)) {
        desktop_ = std::make_unique<Desktop>(loop, std::move(connection));
    }
}

EwmhDesktop::~EwmhDesktop() = default;

bool EwmhDesktop::isManaged() const {
    return desktop_ && desktop_->isManaged();
}

std::optional<EwmhDesktop::ActiveWindow> EwmhDesktop::activeWindow() const {
    return desktop_ ? desktop_->activeWindow() : std::nullopt;
}

std::optional<WindowRect> EwmhDesktop::visible(std::uint32_t window) const {
    return desktop_ ? desktop_->visible(window) : std::nullopt;
}

void EwmhDesktop::place(std::uint32_t window, const WindowRect& visible) {
    if (desktop_) {
        desktop_->place(window, visible);
    }
}

std::optional<WindowRect> EwmhDesktop::expected(std::uint32_t window) const {
    return desktop_ ? desktop_->expected(window) : std::nullopt;
}

std::vector<ZorbelKit::Screen> EwmhDesktop::screens() const {
    return desktop_ ? desktop_->screens() : std::vector<ZorbelKit::Screen>();
}

ZorbelKit::Token EwmhDesktop::onScreensChange(std::function<void()> changed) {
    return desktop_ ? desktop_->onScreensChange(std::move(changed)) : ZorbelKit::Token();
}

unsigned int EwmhDesktop::requestsForTesting() const {
    return desktop_ ? desktop_->requests() : 0;
}

} // namespace Linux
