#pragma once

#include "Tonvik/AudioHardware.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tonvik {

/// One direction of an audio device. A headset is two of them, with the same id.
struct AudioDevice {
    AudioObjectId id = noDevice;
    std::string name{};
    bool isInput = false;
    std::string transport{}; // for people: "Bluetooth", "Built in", …
    bool isDefault = false;  // of its direction

    bool operator==(const AudioDevice&) const = default;
};

/// How a transport reads; "Other" for a code that is not listed.
std::string_view transportText(TransportCode code);

/// What the suite asks of the audio hardware. It keeps nothing. Main thread only.
class Audio {
public:
    explicit Audio(AudioHardware& hardware)
        : hardware_(hardware) {}

    /// Device by device in the hardware's order, the output side before the input side. Empty where they
    /// cannot be listed; without those that have no name.
    std::vector<AudioDevice> devices() const;

    AudioObjectId defaultDevice(bool input) const; // noDevice where it cannot be read
    bool setDefault(const AudioDevice& device) const;
    std::optional<float> volume(AudioObjectId device) const;
    bool setVolume(float level, AudioObjectId device) const; // brought between 0 and 1
    bool isMuted(AudioObjectId device) const;
    bool setMuted(bool isMuted, AudioObjectId device) const;
    std::string transportName(AudioObjectId device) const;

private:
    AudioHardware& hardware_;
};

} // namespace Tonvik
