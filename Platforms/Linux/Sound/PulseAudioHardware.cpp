#include "Platforms/Linux/Sound/PulseAudioHardware.hpp"

#include "Platforms/Linux/Sound/SoundExchange.hpp"
#include "Platforms/Linux/Sound/SoundState.hpp"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

namespace Linux {

using namespace Tonvik;

namespace {

SoundWish::Kind defaultKind(Direction direction) {
    return direction == Direction::output ? SoundWish::Kind::defaultOutput : SoundWish::Kind::defaultInput;
}

} // namespace

PulseAudioHardware::PulseAudioHardware(std::string server)
    : exchange_(std::make_shared<SoundExchange>(std::move(server))) {
}

PulseAudioHardware::~PulseAudioHardware() {
    exchange_->end();
}

std::optional<std::vector<AudioObjectId>> PulseAudioHardware::devices() {
    const auto state = exchange_->ask();
    if (!state) {
        return std::nullopt;
    }
    std::vector<AudioObjectId> ids;
    ids.reserve(state->devices().size());
    std::ranges::transform(state->devices(), std::back_inserter(ids), &SoundDevice::id);
    return ids;
}

std::optional<std::string> PulseAudioHardware::name(AudioObjectId device) {
    const auto state = exchange_->ask();
    const SoundDevice* found = state ? state->find(device) : nullptr;
    return found ? std::optional(found->name) : std::nullopt;
}

std::optional<TransportCode> PulseAudioHardware::transport(AudioObjectId device) {
    const auto state = exchange_->ask();
    const SoundDevice* found = state ? state->find(device) : nullptr;
    return found ? found->transport : std::nullopt;
}

std::optional<std::vector<std::uint32_t>> PulseAudioHardware::streams(AudioObjectId device,
                                                                      Direction direction) {
    const auto state = exchange_->ask();
    const SoundDevice* found = state ? state->find(device) : nullptr;
    if (!found) {
        return std::nullopt;
    }
    const auto& side = found->side(direction);
    return side ? std::vector{side->channels} : std::vector<std::uint32_t>();
}

std::optional<AudioObjectId> PulseAudioHardware::defaultDevice(Direction direction) {
    const auto state = exchange_->ask();
    if (!state) {
        return std::nullopt;
    }
    const auto set = exchange_->pending({defaultKind(direction), noDevice});
    return set && state->find(set->device) ? set->device : state->defaultDevice(direction);
}

bool PulseAudioHardware::setDefaultDevice(Direction direction, AudioObjectId device) {
    const auto state = exchange_->ask();
    const SoundDevice* found = state ? state->find(device) : nullptr;
    if (!found || !found->side(direction)) {
        return false;
    }
    exchange_->set(
        {.key = {defaultKind(direction), noDevice}, .device = device, .name = found->side(direction)->name});
    return true;
}

bool PulseAudioHardware::hasVolume(AudioObjectId device) {
    const auto state = exchange_->ask();
    const SoundDevice* found = state ? state->find(device) : nullptr;
    return found && found->output && found->hasLevel;
}

std::optional<float> PulseAudioHardware::volume(AudioObjectId device) {
    const auto state = exchange_->ask();
    const SoundDevice* found = state ? state->find(device) : nullptr;
    if (!found || !found->output || !found->hasLevel) {
        return std::nullopt;
    }
    const auto set = exchange_->pending({SoundWish::Kind::level, device});
    return set ? set->level : shownLevel(found->levels);
}

bool PulseAudioHardware::setVolume(AudioObjectId device, float level) {
    const auto state = exchange_->ask();
    const SoundDevice* found = state ? state->find(device) : nullptr;
    if (!found || !found->output || !found->hasLevel || std::isnan(level)) {
        return false;
    }
    exchange_->set({.key = {SoundWish::Kind::level, device},
                    .device = device,
                    .name = found->output->name,
                    .level = std::clamp(level, 0.0F, 1.0F)});
    return true;
}

bool PulseAudioHardware::hasMute(AudioObjectId device) {
    const auto state = exchange_->ask();
    const SoundDevice* found = state ? state->find(device) : nullptr;
    return found && found->output;
}

std::optional<std::uint32_t> PulseAudioHardware::mute(AudioObjectId device) {
    const auto state = exchange_->ask();
    const SoundDevice* found = state ? state->find(device) : nullptr;
    if (!found || !found->output) {
        return std::nullopt;
    }
    const auto set = exchange_->pending({SoundWish::Kind::mute, device});
    return (set ? set->isMuted : found->isMuted) ? 1U : 0U;
}

bool PulseAudioHardware::setMute(AudioObjectId device, std::uint32_t mute) {
    const auto state = exchange_->ask();
    const SoundDevice* found = state ? state->find(device) : nullptr;
    if (!found || !found->output) {
        return false;
    }
    exchange_->set({.key = {SoundWish::Kind::mute, device},
                    .device = device,
                    .name = found->output->name,
                    .isMuted = mute == 1});
    return true;
}

} // namespace Linux
