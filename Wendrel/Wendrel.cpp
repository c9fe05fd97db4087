#include "Wendrel/Wendrel.hpp"

#include "ZorbelKit/Host/Clock.hpp"
#include "ZorbelKit/Host/MainLoop.hpp"

#include <utility>

namespace Wendrel {

using namespace ZorbelKit;

namespace {

constexpr double gapIntervals = 2.5; // a reading that is later than that was not simply late

} // namespace

WendrelSpice::WendrelSpice(MainLoop& loop, const Clock& clock, BatteryRegistry& registry,
                           PowerSources& sources, bool isDemo)
    : Spice({.id = "wendrel",
             .name = "Wendrel",
             .role = "Battery & Power",
             .summary = "Watches charge, health and where your power is going.",
             .reason = "Named for the ember under the pot: someone has to watch how much glow is left.",
             .wave = Wave::nextBatch})
    , loop_(loop)
    , clock_(clock)
    , interval_(isDemo ? demoInterval : interval)
    , reader_(registry, sources) {
}

void WendrelSpice::steep() {
    if (timer_) {
        return;
    }
    // The timer first: a reader of the first sample may turn the spice off again.
    timer_ = loop_.every(interval_, [this] { sample(); });
    sample();
}

void WendrelSpice::rest() {
    timer_.reset();
    lastSample_.reset();
    gaps_.clear();
    history_.set({});
    charge_.set({});
}

void WendrelSpice::sample() {
    const std::optional<Charge> reading = reader_.read();
    hasBattery_.set(reading.has_value());
    if (!reading || !timer_) {
        return; // no battery, or a reader turned the spice off
    }
    charge_.set(reading);
    if (timer_) {
        record(*reading);
    }
}

void WendrelSpice::record(const Charge& reading) {
    const TimePoint now = clock_.now();
    const bool isAfterGap = lastSample_ && now - *lastSample_ > gapIntervals * interval_;
    lastSample_ = now;

    std::vector<Charge> history = history_.get();
    std::vector<std::size_t> gaps = gaps_;
    if (isAfterGap) {
        gaps.push_back(history.size());
    }
    history.push_back(reading);
    if (history.size() > historyLength) {
        history.erase(history.begin());
        for (std::size_t& index : gaps) {
            --index;
        }
        std::erase(gaps, 0U); // nothing is left before it
    }
    // Readers find both as they are now. Equal readings leave the history equal while a gap moves through it.
    const bool isGapMoved = gaps != gaps_;
    gaps_ = std::move(gaps);
    if (!history_.set(std::move(history)) && isGapMoved) {
        notify();
    }
}

} // namespace Wendrel
