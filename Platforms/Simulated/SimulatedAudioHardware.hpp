#pragma once

#include "Tonvik/AudioHardware.hpp"

#include <algorithm>
#include <map>
#include <string>
#include <vector>

namespace Simulated {

/// Sound devices that tests plug in, and that do as they are told at once. It counts what was written.
class SimulatedAudioHardware : public Tonvik::AudioHardware {
public:
    struct Device {
        Tonvik::AudioObjectId id = Tonvik::noDevice;
        std::optional<std::string> name{};
        std::optional<Tonvik::TransportCode> transport{};
        std::optional<std::vector<std::uint32_t>> outputStreams{};
        std::optional<std::vector<std::uint32_t>> inputStreams{};
        std::optional<float> volume{};
        std::optional<std::uint32_t> mute{};
    };

    std::optional<std::vector<Tonvik::AudioObjectId>> devices() override {
        if (!isThere) {
            return std::nullopt;
        }
        std::vector<Tonvik::AudioObjectId> ids;
        std::ranges::transform(plugged, std::back_inserter(ids), &Device::id);
        return ids;
    }
    std::optional<std::string> name(Tonvik::AudioObjectId device) override {
        return find(device) ? find(device)->name : std::nullopt;
    }
    std::optional<Tonvik::TransportCode> transport(Tonvik::AudioObjectId device) override {
        return find(device) ? find(device)->transport : std::nullopt;
    }
    std::optional<std::vector<std::uint32_t>> streams(Tonvik::AudioObjectId device,
                                                      Tonvik::Direction direction) override {
        const Device* found = find(device);
        if (!found) {
            return std::nullopt;
        }
        return direction == Tonvik::Direction::input ? found->inputStreams : found->outputStreams;
    }
    std::optional<Tonvik::AudioObjectId> defaultDevice(Tonvik::Direction direction) override {
        const auto found = defaults.find(direction);
        return isThere && found != defaults.end() ? std::optional(found->second) : std::nullopt;
    }
    bool setDefaultDevice(Tonvik::Direction direction, Tonvik::AudioObjectId device) override {
        ++defaultWrites;
        if (!find(device)) {
            return false;
        }
        defaults[direction] = device;
        return true;
    }
    bool hasVolume(Tonvik::AudioObjectId device) override { return volume(device).has_value(); }
    std::optional<float> volume(Tonvik::AudioObjectId device) override {
        return find(device) ? find(device)->volume : std::nullopt;
    }
    bool setVolume(Tonvik::AudioObjectId device, float level) override {
        volumeWrites.push_back(level);
        if (Device* found = find(device)) {
            found->volume = level;
        }
        return true;
    }
    bool hasMute(Tonvik::AudioObjectId device) override { return mute(device).has_value(); }
    std::optional<std::uint32_t> mute(Tonvik::AudioObjectId device) override {
        return find(device) ? find(device)->mute : std::nullopt;
    }
    bool setMute(Tonvik::AudioObjectId device, std::uint32_t mute) override {
        ++muteWrites;
        if (Device* found = find(device)) {
            found->mute = mute;
        }
        return true;
    }

    bool isThere = true; // false: nothing can be read
    std::vector<Device> plugged;
    std::map<Tonvik::Direction, Tonvik::AudioObjectId> defaults;
    int defaultWrites = 0;
    std::vector<float> volumeWrites;
    int muteWrites = 0;

private:
    Device* find(Tonvik::AudioObjectId id) {
        const auto found = std::ranges::find(plugged, id, &Device::id);
        return isThere && found != plugged.end() ? &*found : nullptr;
    }
};

} // namespace Simulated
