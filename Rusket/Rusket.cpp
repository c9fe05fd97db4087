#include "Rusket/Rusket.hpp"

#include "ZorbelKit/Host/MainLoop.hpp"

namespace Rusket {

RusketSpice::RusketSpice(ZorbelKit::MainLoop& loop, HostStatistics& statistics)
    : Spice({.id = "rusket",
             .name = "Rusket",
             .role = "System Monitor",
             .summary = "Reads processor load, memory and pressure, once a second.",
             .reason =
                 "Like the rusk beside the glass: dip it once a second and it tells you how hot things are.",
             .wave = ZorbelKit::Wave::inTheCup})
    , loop_(loop)
    , reader_(statistics) {
}

void RusketSpice::steep() {
    if (timer_) {
        return;
    }
    // The timer first: a reader of the first sample may turn the spice off again.
    timer_ = loop_.every(ZorbelKit::Seconds{1.0}, [this] { sample(); });
    sample();
}

void RusketSpice::rest() {
    timer_.reset();
    history_.set({});
    vitals_.set({});
}

void RusketSpice::sample() {
    const Vitals reading = reader_.read();
    vitals_.set(reading);
    if (!timer_) {
        return; // a reader turned the spice off
    }
    history_.edit([&](std::vector<Vitals>& history) {
        history.push_back(reading);
        if (history.size() > historyLength) {
            history.erase(history.begin());
        }
    });
}

} // namespace Rusket
