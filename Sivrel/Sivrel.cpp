#include "Sivrel/Sivrel.hpp"

#include "ZorbelKit/Checked.hpp"
#include "ZorbelKit/Host/Canvas.hpp"
#include "ZorbelKit/Host/Clock.hpp"
#include "ZorbelKit/Host/Defaults.hpp"
#include "ZorbelKit/Host/MainLoop.hpp"
#include "ZorbelKit/Host/StatusBar.hpp"

#include <algorithm>
#include <string_view>

namespace Sivrel {

using namespace ZorbelKit;

namespace {

constexpr std::string_view collapsedKey = "sivrel.collapsed";
constexpr std::string_view revealOnHoverKey = "sivrel.revealOnHover";
constexpr std::string_view autoCollapseKey = "sivrel.autoCollapse";

/// Twenty days. Timers count milliseconds in 32 bits and reach just past that; a settings file may ask for
/// more.
constexpr double longestWait = 20.0 * 24 * 60 * 60; // seconds

} // namespace

SivrelSpice::SivrelSpice(MainLoop& loop, Clock& clock, Defaults& defaults, StatusBar& statusBar)
    : Spice({.id = "sivrel",
             .name = "Sivrel",
             .role = "Menu Bar",
             .summary = "Hides the menu bar icons you do not need to see.",
             .reason =
                 "Named for the reed blind of a tea stall: down it comes, and only what you want on show "
                 "stays on the counter.",
             .wave = Wave::inTheCup})
    , loop_(loop)
    , clock_(clock)
    , defaults_(defaults)
    , statusBar_(statusBar)
    , isCollapsed_(*this, defaults.boolean(collapsedKey).value_or(false))
    , revealOnHover_(*this, defaults.boolean(revealOnHoverKey).value_or(true))
    , autoCollapseAfter_(*this, defaults.number(autoCollapseKey).value_or(8.0))
    , revealDay_(clock.startOfDay(clock.now())) {
}

SivrelSpice::~SivrelSpice() = default;

void SivrelSpice::steep() {
    if (divider_) {
        return;
    }
    isSteeping_ = true;
    divider_ = statusBar_.statusItem(dividerLength(), "zorbel.sivrel.divider", StatusItemKind::divider);
    if (divider_) {
        divider_->onClick([this](StatusClick) { dividerClicked(); }); // either button
        divider_->setToolTip("Sivrel — click to show hidden menu bar items");
    }
    apply();
}

void SivrelSpice::rest() {
    isSteeping_ = false;
    collapseWork_.reset();
    divider_.reset();
}

void SivrelSpice::toggleCollapsed() {
    const bool collapses = !isCollapsed();
    isCollapsed_.set(collapses);
    if (!collapses) {
        countReveal();
    }
    apply();
    scheduleAutoCollapse();
}

void SivrelSpice::reveal() {
    if (isCollapsed()) {
        toggleCollapsed();
    }
}

void SivrelSpice::collapse() {
    if (isCollapsed()) {
        return;
    }
    collapseWork_.reset();
    isCollapsed_.set(true);
    apply();
}

void SivrelSpice::setRevealOnHover(bool on) {
    revealOnHover_.set(on);
    defaults_.setBoolean(revealOnHoverKey, on);
}

void SivrelSpice::setAutoCollapseAfter(double seconds) {
    autoCollapseAfter_.set(seconds);
    defaults_.setNumber(autoCollapseKey, seconds);
}

void SivrelSpice::dividerClicked() {
    toggleCollapsed();
}

void SivrelSpice::apply() {
    if (divider_) {
        divider_->setLength(dividerLength());
        divider_->setImage(dividerImage(isCollapsed()));
    }
    defaults_.setBoolean(collapsedKey, isCollapsed());
}

void SivrelSpice::countReveal() {
    const TimePoint now = clock_.now();
    if (const TimePoint today = clock_.startOfDay(now); revealDay_ != today) {
        revealDay_ = today;
        revealsToday_.set(0);
    }
    revealsToday_.set(checked::add<std::int64_t>(revealsToday(), 1));
    lastRevealed_.set(now);
}

void SivrelSpice::scheduleAutoCollapse() {
    collapseWork_.reset();
    if (!isSteeping_) {
        return; // a reader of the change has turned the spice off
    }
    if (isCollapsed() || !(autoCollapseAfter() > 0)) {
        return;
    }
    const Seconds delay{std::min(autoCollapseAfter(), longestWait)};
    collapseWork_ = loop_.after(delay, [this] { collapse(); });
}

Image dividerImage(bool isCollapsed) {
    Image image({12, 16}, [isCollapsed](Canvas& canvas, const Rect& rect) {
        // x of a chevron's two ends, from its base; its tip lies as far on the other side.
        const double tail = isCollapsed ? 1.5 : -1.5;
        Path chevrons;
        for (const double base : {rect.midX() - 1.5, rect.midX() + 2.5}) {
            chevrons.moveTo({base + tail, rect.midY() + 3});
            chevrons.lineTo({base - tail, rect.midY()});
            chevrons.lineTo({base + tail, rect.midY() - 3});
        }
        canvas.setStrokeColour(Color{0, 0, 0, 1});
        canvas.setLineWidth(1.4);
        canvas.setLineCap(LineCap::round);
        canvas.setLineJoin(LineJoin::round);
        canvas.stroke(chevrons);
    });
    image.setTemplate(true);
    return image;
}

} // namespace Sivrel
