#pragma once

#include "Tonvik/AudioHardware.hpp"

#include <functional>
#include <map>
#include <optional>
#include <string>

namespace Linux {

/// What a sound server lists about something, such as "device.bus".
using SoundProperties = std::map<std::string, std::string, std::less<>>;

/// What a sound server tells of a device that may give away how it is attached.
struct SoundAttachment {
    std::string name{};   // such as "alsa_output.pci-0000_00_1f.3.hdmi-stereo"
    std::string driver{}; // such as "module-null-sink.c"; says nothing with PipeWire
    SoundProperties properties{};
    SoundProperties card{};  // the properties of its card; the device's own count more
    std::string port{};      // the name of the one in use, such as "analog-output-headphones"
    bool isNetwork = false;  // sound leaves the machine
    bool isHardware = false; // something can be touched
};

/// None: nothing is known. 'othr' where it is known but is none of those that have a word.
std::optional<Tonvik::TransportCode> transportOf(const SoundAttachment& attachment);

} // namespace Linux
