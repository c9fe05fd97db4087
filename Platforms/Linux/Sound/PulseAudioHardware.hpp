#pragma once

#include "Tonvik/AudioHardware.hpp"

#include <memory>
#include <string>

namespace Linux {

class SoundExchange;

/// The devices of a PulseAudio server, or of PipeWire in its place. It is spoken to on a thread of its own,
/// which lives from the first question until nobody has asked for some time; questions are answered from what
/// it knows, at once. Only the first one lets a server that is there answer, for a few milliseconds, so that
/// a list need not be shown empty first. A server that ends is looked for again, and one that hangs is as if
/// it were not there. Main thread only.
class PulseAudioHardware : public Tonvik::AudioHardware {
public:
    /// `server`: as PULSE_SERVER names one; empty for the environment's.
    explicit PulseAudioHardware(std::string server = {});
    PulseAudioHardware(const PulseAudioHardware&) = delete;
    PulseAudioHardware& operator=(const PulseAudioHardware&) = delete;
    ~PulseAudioHardware() override;

    std::optional<std::vector<Tonvik::AudioObjectId>> devices() override;
    std::optional<std::string> name(Tonvik::AudioObjectId device) override;
    std::optional<Tonvik::TransportCode> transport(Tonvik::AudioObjectId device) override;
    std::optional<std::vector<std::uint32_t>> streams(Tonvik::AudioObjectId device,
                                                      Tonvik::Direction direction) override;
    std::optional<Tonvik::AudioObjectId> defaultDevice(Tonvik::Direction direction) override;
    bool setDefaultDevice(Tonvik::Direction direction, Tonvik::AudioObjectId device) override;
    bool hasVolume(Tonvik::AudioObjectId device) override;
    std::optional<float> volume(Tonvik::AudioObjectId device) override;
    bool setVolume(Tonvik::AudioObjectId device, float level) override;
    bool hasMute(Tonvik::AudioObjectId device) override;
    std::optional<std::uint32_t> mute(Tonvik::AudioObjectId device) override;
    bool setMute(Tonvik::AudioObjectId device, std::uint32_t mute) override;

private:
    std::shared_ptr<SoundExchange> exchange_;
};

} // namespace Linux
