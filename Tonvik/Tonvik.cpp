#include "Tonvik/Tonvik.hpp"

#include "ZorbelKit/Host/MainLoop.hpp"

#include <algorithm>
#include <utility>

namespace Tonvik {

using namespace ZorbelKit;

TonvikSpice::TonvikSpice(MainLoop& loop, AudioHardware& hardware)
    : Spice({.id = "tonvik",
             .name = "Tonvik",
             .role = "Sound",
             .summary = "Switches where sound goes, without opening System Settings.",
             .reason = "Named for the cardamom pod: one small crack, and it is heard all over the stall.",
             .wave = Wave::later})
    , loop_(loop)
    , audio_(hardware) {
}

void TonvikSpice::steep() {
    // The timer first: a reader of the first look may turn the spice off again.
    if (!timer_) {
        timer_ = loop_.every(refreshInterval, [this] { refresh(); });
    }
    refresh();
}

void TonvikSpice::rest() {
    timer_.reset();
    ++looks_;
    outputs_.set({});
    inputs_.set({});
    volume_.set(std::nullopt);
}

const AudioDevice* TonvikSpice::currentOutput() const {
    const auto found = std::ranges::find_if(outputs(), &AudioDevice::isDefault);
    return found == outputs().end() ? nullptr : &*found;
}

void TonvikSpice::refresh() {
    // A reader may turn the spice off, or look again itself: then what is left of this look is out of date.
    const std::uint64_t look = ++looks_;
    std::vector<AudioDevice> outputs;
    std::vector<AudioDevice> inputs;
    for (AudioDevice& device : audio_.devices()) {
        (device.isInput ? inputs : outputs).push_back(std::move(device));
    }
    outputs_.set(std::move(outputs));
    if (look != looks_) {
        return;
    }
    inputs_.set(std::move(inputs));
    if (look != looks_) {
        return;
    }
    const AudioDevice* current = currentOutput();
    const AudioObjectId id = current ? current->id : noDevice;
    volume_.set(current ? audio_.volume(id) : std::nullopt);
    if (look != looks_) {
        return;
    }
    muted_.set(current && audio_.isMuted(id));
}

void TonvikSpice::use(const AudioDevice& device) {
    audio_.setDefault(device); // the look tells whether it was done
    refresh();
}

void TonvikSpice::setVolume(float level) {
    if (const AudioDevice* current = currentOutput()) {
        audio_.setVolume(level, current->id);
        volume_.set(level);
    }
}

void TonvikSpice::toggleMute() {
    if (const AudioDevice* current = currentOutput()) {
        audio_.setMuted(!muted(), current->id);
        muted_.set(!muted());
    }
}

} // namespace Tonvik
