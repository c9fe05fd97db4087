#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Tonvik {

/// A number for an audio device, the same for both its directions, for as long as this process lives.
using AudioObjectId = std::uint32_t;
inline constexpr AudioObjectId noDevice = 0;

enum class Direction { output, input };

/// How a device is attached: a code of four characters, the first in bits 24 to 31 ('usb ').
using TransportCode = std::uint32_t;

constexpr TransportCode transportCode(const char (&characters)[5]) {
    TransportCode code = 0;
    for (int index = 0; index < 4; ++index) {
        code = code << 8 | static_cast<unsigned char>(characters[index]);
    }
    return code;
}

/// The machine's sound. Main thread only; nothing here waits for a sound server, but for a moment at the
/// first question. What is set is what is read from then on, until the server says otherwise. None: it could
/// not be read, or there is no such thing.
class AudioHardware {
public:
    virtual ~AudioHardware() = default;

    virtual std::optional<std::vector<AudioObjectId>> devices() = 0;   // in the hardware's order
    virtual std::optional<std::string> name(AudioObjectId device) = 0; // UTF-8
    virtual std::optional<TransportCode> transport(AudioObjectId device) = 0;

    /// Channels of each of its streams in this direction.
    virtual std::optional<std::vector<std::uint32_t>> streams(AudioObjectId device, Direction direction) = 0;

    virtual std::optional<AudioObjectId> defaultDevice(Direction direction) = 0;
    virtual bool setDefaultDevice(Direction direction, AudioObjectId device) = 0;

    // The master level of a device's output, 0 to 1, and its mute.
    virtual bool hasVolume(AudioObjectId device) = 0;
    virtual std::optional<float> volume(AudioObjectId device) = 0;
    virtual bool setVolume(AudioObjectId device, float level) = 0; // 0 to 1
    virtual bool hasMute(AudioObjectId device) = 0;
    virtual std::optional<std::uint32_t> mute(AudioObjectId device) = 0; // 1: muted
    virtual bool setMute(AudioObjectId device, std::uint32_t mute) = 0;
};

} // namespace Tonvik
