#include "Tonvik/Audio.hpp"

#include "ZorbelKit/Checked.hpp"

#include <algorithm>
#include <array>
#include <cstdint>

namespace Tonvik {

namespace {

struct TransportName {
    TransportCode code;
    std::string_view text;
};

constexpr std::array<TransportName, 10> transportNames{{
    {transportCode("airp"), "AirPlay"},
    {transportCode("blue"), "Bluetooth"},
    {transportCode("blea"), "Bluetooth"},
    {transportCode("bltn"), "Built in"},
    {transportCode("dprt"), "DisplayPort"},
    {transportCode("virt"), "Virtual"},
    {transportCode("grup"), "Virtual"},
    {transportCode("hdmi"), "HDMI"},
    {transportCode("thun"), "Thunderbolt"},
    {transportCode("usb "), "USB"},
}};

bool hasChannels(const std::optional<std::vector<std::uint32_t>>& streams) {
    std::uint32_t channels = 0;
    for (const std::uint32_t count : streams.value_or(std::vector<std::uint32_t>())) {
        channels = checked::add(channels, count);
    }
    return channels >= 1;
}

} // namespace

std::string_view transportText(TransportCode code) {
    const auto found = std::ranges::find(transportNames, code, &TransportName::code);
    return found == transportNames.end() ? "Other" : found->text;
}

std::vector<AudioDevice> Audio::devices() const {
    std::vector<AudioDevice> devices;
    const AudioObjectId defaultOutput = defaultDevice(/*input=*/false);
    const AudioObjectId defaultInput = defaultDevice(/*input=*/true);
    for (const AudioObjectId id : hardware_.devices().value_or(std::vector<AudioObjectId>())) {
        const std::optional<std::string> name = hardware_.name(id);
        if (!name || name->empty()) {
            continue;
        }
        const std::string transport = transportName(id);
        if (hasChannels(hardware_.streams(id, Direction::output))) {
            devices.push_back({id, *name, /*isInput=*/false, transport, id == defaultOutput});
        }
        if (hasChannels(hardware_.streams(id, Direction::input))) {
            devices.push_back({id, *name, /*isInput=*/true, transport, id == defaultInput});
        }
    }
    return devices;
}

AudioObjectId Audio::defaultDevice(bool input) const {
    return hardware_.defaultDevice(input ? Direction::input : Direction::output).value_or(noDevice);
}

bool Audio::setDefault(const AudioDevice& device) const {
    return hardware_.setDefaultDevice(device.isInput ? Direction::input : Direction::output, device.id);
}

std::optional<float> Audio::volume(AudioObjectId device) const {
    return hardware_.hasVolume(device) ? hardware_.volume(device) : std::nullopt;
}

bool Audio::setVolume(float level, AudioObjectId device) const {
    return hardware_.hasVolume(device) && hardware_.setVolume(device, std::clamp(level, 0.0F, 1.0F));
}

bool Audio::isMuted(AudioObjectId device) const {
    return hardware_.hasMute(device) && hardware_.mute(device) == 1U;
}

bool Audio::setMuted(bool isMuted, AudioObjectId device) const {
    return hardware_.hasMute(device) && hardware_.setMute(device, isMuted ? 1 : 0);
}

std::string Audio::transportName(AudioObjectId device) const {
    const std::optional<TransportCode> code = hardware_.transport(device);
    return code ? std::string(transportText(*code)) : "Unknown";
}

} // namespace Tonvik
