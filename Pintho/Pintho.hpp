#pragma once

#include "Pintho/Accessibility.hpp"
#include "Pintho/Seat.hpp"
#include "ZorbelKit/Forward.hpp"
#include "ZorbelKit/Host/Screens.hpp"
#include "ZorbelKit/Host/Workspace.hpp"
#include "ZorbelKit/Spice.hpp"
#include "ZorbelKit/Time.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Pintho {

/// The front window, in whole points of window coordinates.
struct WindowInfo {
    std::string app{};                  // "Unknown" where the program has no name
    std::string bundleID{};             // empty where it has none
    std::optional<std::string> title{}; // none where the window has none
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::int64_t x = 0;
    std::int64_t y = 0;

    bool operator==(const WindowInfo&) const = default;
};

/// An attached screen; its size in whole points.
struct ScreenInfo {
    std::int64_t id = 0;
    std::int64_t index = 0; // place in the system's list
    std::string name{};
    std::int64_t width = 0;
    std::int64_t height = 0;
    double scale = 1;
    bool isMain = false;
    bool hasNotch = false;

    bool operator==(const ScreenInfo&) const = default;
};

/// The last time a window of a program was placed.
struct Placement {
    std::string app; // its identity
    Seat seat = Seat::left;
    ZorbelKit::TimePoint at;

    bool operator==(const Placement&) const = default;
};

/// Sets the window in front down in one of ten places of its screen. Nothing is stored. Main thread only.
class PinthoSpice : public ZorbelKit::Spice {
public:
    static constexpr ZorbelKit::Seconds refreshInterval{2.0};
    static constexpr std::size_t mostPlacements = 5;

    PinthoSpice(ZorbelKit::MainLoop& loop, const ZorbelKit::Clock& clock,
                const ZorbelKit::Workspace& workspace, const ZorbelKit::Screens& screens,
                Accessibility& accessibility, ZorbelKit::Shortcuts& shortcuts);

    void steep() override;
    void rest() override;
    ZorbelKit::AnyView dashboard() override;
    ZorbelKit::AnyView menuSection() override;

    /// Whether the front window took the seat. Our own windows never do.
    bool place(Seat seat);
    void requestAccessibility();

    bool hasAccessibility() const { return hasAccessibility_.get(); }
    std::string accessHint() const { return accessibility_.trustHint(); }   // see Accessibility
    const std::optional<Seat>& lastSeat() const { return lastSeat_.get(); } // of the last window placed
    const std::optional<WindowInfo>& frontmost() const { return frontmost_.get(); }
    const std::vector<ScreenInfo>& screens() const { return screens_.get(); }
    const std::vector<Placement>& placements() const {
        return placements_.get();
    } // newest first, one a program

    /// The keys that place the front window there while the spice is on, "Ctrl+Alt+Left"; none where another
    /// program holds them, or while it is off.
    std::optional<std::string> shortcut(Seat seat) const;

    /// See ZorbelKit::Workspace.
    std::optional<std::string> iconOf(const std::string& bundleIdentifier) const {
        return workspace_.iconOf(bundleIdentifier);
    }

private:
    void grabKeys();
    void refresh();
    void readContext();
    void remember(Seat seat);
    bool isOurs(const ZorbelKit::RunningApplication& application) const;
    std::optional<ZorbelKit::Screen> screenForWindow(WindowElement window,
                                                     const std::vector<ZorbelKit::Screen>& screens) const;

    ZorbelKit::MainLoop& loop_;
    const ZorbelKit::Clock& clock_;
    const ZorbelKit::Workspace& workspace_;
    const ZorbelKit::Screens& system_;
    Accessibility& accessibility_;
    ZorbelKit::Shortcuts& shortcuts_;
    ZorbelKit::Published<bool> hasAccessibility_;
    ZorbelKit::Published<std::optional<Seat>> lastSeat_{*this};
    ZorbelKit::Published<std::optional<WindowInfo>> frontmost_{*this};
    ZorbelKit::Published<std::vector<ScreenInfo>> screens_{*this};
    ZorbelKit::Published<std::vector<Placement>> placements_{*this};
    ZorbelKit::Published<std::vector<Seat>> reachable_{*this}; // by keys, in the order of the seats
    ZorbelKit::Token pollTimer_;
    std::vector<ZorbelKit::Token> grabs_;
};

} // namespace Pintho
