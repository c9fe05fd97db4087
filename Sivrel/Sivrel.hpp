#pragma once

#include "ZorbelKit/Forward.hpp"
#include "ZorbelKit/Host/Image.hpp"
#include "ZorbelKit/Spice.hpp"
#include "ZorbelKit/Time.hpp"
#include "ZorbelKit/Token.hpp"

#include <cstdint>
#include <memory>
#include <optional>

namespace Sivrel {

/// Owns the divider in the menu bar. What the user places left of it is pushed out of sight while the divider
/// is collapsed, that is, very wide. A revealed bar tidies itself away after a delay. Main thread only.
class SivrelSpice : public ZorbelKit::Spice {
public:
    static constexpr double revealedLength = 22;     // points
    static constexpr double collapsedLength = 10000; // points; wider than any bar

    SivrelSpice(ZorbelKit::MainLoop& loop, ZorbelKit::Clock& clock, ZorbelKit::Defaults& defaults,
                ZorbelKit::StatusBar& statusBar);
    ~SivrelSpice() override;

    void steep() override;
    void rest() override;
    ZorbelKit::AnyView dashboard() override;
    ZorbelKit::AnyView menuSection() override;

    void toggleCollapsed();
    void reveal();   // nothing on a revealed bar
    void collapse(); // nothing on a collapsed one

    /// Remembered and shown, and no more: the bar is revealed by a click.
    void setRevealOnHover(bool on);

    /// In seconds; 0 means never. A wait that has begun keeps its length.
    void setAutoCollapseAfter(double seconds);

    bool isCollapsed() const { return isCollapsed_.get(); }
    bool revealOnHover() const { return revealOnHover_.get(); }
    double autoCollapseAfter() const { return autoCollapseAfter_.get(); } // seconds
    std::int64_t revealsToday() const { return revealsToday_.get(); }     // of the day of the last reveal
    const std::optional<ZorbelKit::TimePoint>& lastRevealed() const { return lastRevealed_.get(); }

private:
    void dividerClicked();
    void apply();
    void countReveal();
    void scheduleAutoCollapse();
    double dividerLength() const { return isCollapsed() ? collapsedLength : revealedLength; }

    ZorbelKit::MainLoop& loop_;
    ZorbelKit::Clock& clock_;
    ZorbelKit::Defaults& defaults_;
    ZorbelKit::StatusBar& statusBar_;
    ZorbelKit::Published<bool> isCollapsed_;
    ZorbelKit::Published<bool> revealOnHover_;
    ZorbelKit::Published<double> autoCollapseAfter_;
    ZorbelKit::Published<std::int64_t> revealsToday_{*this, 0};
    ZorbelKit::Published<std::optional<ZorbelKit::TimePoint>> lastRevealed_{*this};
    ZorbelKit::TimePoint revealDay_; // the midnight that began the day `revealsToday` counts
    bool isSteeping_ = false;
    std::unique_ptr<ZorbelKit::StatusItem> divider_; // none at rest, and where the platform has no items
    ZorbelKit::Token collapseWork_;
};

/// Two chevrons, 12 by 16 points: they point left while the bar is collapsed, right while it is revealed.
ZorbelKit::Image dividerImage(bool isCollapsed);

} // namespace Sivrel
