#include "Tonvik/TonvikTexts.hpp"

#include "ZorbelKit/Checked.hpp"
#include "ZorbelKit/Utf8.hpp"

#include <array>
#include <cmath>

namespace Tonvik {

using namespace ZorbelKit;

namespace {

constexpr std::size_t longestName = 512; // bytes; no row is that wide
constexpr float mostVolume = 1e6F;       // more is no level
constexpr double hair = 0.001;           // of a percent: 0.53 is a little less in binary, and is to read 53

struct TransportSymbol {
    std::string_view transport;
    std::string_view symbol;
};

constexpr std::array<TransportSymbol, 7> transportSymbols{{
    {"Bluetooth", "airpodspro"},
    {"Built in", "laptopcomputer"},
    {"HDMI", "tv"},
    {"DisplayPort", "tv"},
    {"AirPlay", "airplayaudio"},
    {"USB", "hifispeaker"},
    {"Thunderbolt", "hifispeaker"},
}};

} // namespace

std::string_view symbolName(const AudioDevice& device) {
    if (device.isInput) {
        return "mic";
    }
    for (const auto& entry : transportSymbols) {
        if (entry.transport == device.transport) {
            return entry.symbol;
        }
    }
    return "speaker.wave.2";
}

std::string_view muteSymbolName(bool muted) {
    return muted ? "speaker.slash.fill" : "speaker.wave.2.fill";
}

std::string nameText(const AudioDevice& device) {
    return utf8::oneLine(utf8::prefixOfBytes(device.name, longestName));
}

std::string spokenText(const AudioDevice& device) {
    const std::string text = nameText(device) + ", " + device.transport;
    return device.isDefault ? text + ", in use" : text;
}

std::string volumeText(const std::optional<float>& volume) {
    if (!volume || !(std::abs(*volume) <= mostVolume)) {
        return "\xE2\x80\x93"; // a dash as wide as a digit
    }
    const double percent = static_cast<double>(*volume) * 100;
    return std::to_string(checked::toInt64(percent + std::copysign(hair, percent))) + "%";
}

} // namespace Tonvik
