#include "Platforms/Linux/Sound/Transport.hpp"

#include <algorithm>
#include <initializer_list>
#include <string_view>

namespace Linux {

namespace {

using Tonvik::transportCode;
using Texts = std::initializer_list<std::string_view>;

constexpr auto airPlay = transportCode("airp");
constexpr auto bluetooth = transportCode("blue");
constexpr auto bluetoothLowEnergy = transportCode("blea");
constexpr auto builtIn = transportCode("bltn");
constexpr auto displayPort = transportCode("dprt");
constexpr auto hdmi = transportCode("hdmi");
constexpr auto other = transportCode("othr");
constexpr auto thunderbolt = transportCode("thun");
constexpr auto usb = transportCode("usb ");
constexpr auto virtualDevice = transportCode("virt");

std::string lowerCase(std::string text) {
    for (char& character : text) {
        if (character >= 'A' && character <= 'Z') {
            character = static_cast<char>(character - 'A' + 'a');
        }
    }
    return text;
}

bool contains(const std::string& text, Texts parts) {
    return std::ranges::any_of(parts, [&](auto part) { return text.find(part) != std::string::npos; });
}

bool isOneOf(const std::string& text, Texts words) {
    return std::ranges::find(words, text) != words.end();
}

/// One device's traits in lower case, as the rules below ask for them.
class Traits {
public:
    explicit Traits(const SoundAttachment& attachment)
        : name(lowerCase(attachment.name))
        , driver(lowerCase(attachment.driver))
        , port(lowerCase(attachment.port))
        , attachment_(attachment) {}

    /// The device's own, else its card's; empty where neither has it.
    std::string value(std::string_view key) const {
        const std::string value = own(key);
        return value.empty() ? valueIn(attachment_.card, key) : value;
    }
    std::string own(std::string_view key) const { return valueIn(attachment_.properties, key); }

    const std::string name;
    const std::string driver;
    const std::string port;

private:
    static std::string valueIn(const SoundProperties& properties, std::string_view key) {
        const auto found = properties.find(key);
        return found == properties.end() ? std::string() : lowerCase(found->second);
    }

    const SoundAttachment& attachment_;
};

bool isAirPlay(const Traits& traits) {
    return traits.driver.find("raop") != std::string::npos || traits.value("device.api") == "raop" ||
           traits.name.starts_with("raop_") || traits.name.starts_with("raop-") ||
           !traits.own("raop.ip").empty();
}

bool isTunnel(const Traits& traits) {
    return contains(traits.driver, {"module-tunnel"}) || traits.name.starts_with("tunnel.") ||
           traits.name.starts_with("tunnel-") || !traits.own("tunnel.remote.server").empty() ||
           traits.own("node.network") == "true";
}

/// Made of other devices. Such a one is never more than that, whatever it has inherited from them.
bool isFilter(const Traits& traits) {
    return traits.own("device.class") == "filter" || !traits.own("device.master_device").empty() ||
           traits.own("node.virtual") == "true" || !traits.own("node.link-group").empty() ||
           contains(traits.driver, {"combine", "echo-cancel", "equalizer", "ladspa", "loopback", "remap",
                                    "virtual-s", "virtual-surround"});
}

/// Without a device behind it. PipeWire's servers know such a one by what makes it.
bool isMadeUp(const Traits& traits) {
    return traits.own("device.class") == "abstract" || traits.name == "auto_null" ||
           traits.own("factory.name") == "support.null-audio-sink" ||
           contains(traits.driver, {"null-s", "pipe-s", "sine-source"});
}

bool isLowEnergy(const Traits& traits) {
    for (const auto key : {"api.bluez5.profile", "bluetooth.protocol", "device.profile.name",
                           "device.profile", "api.bluez5.codec", "bluetooth.codec"}) {
        if (const std::string value = traits.value(key);
            value.starts_with("bap") || value.starts_with("le_") || value.starts_with("le-") ||
            isOneOf(value, {"lc3", "asha"})) {
            return true;
        }
    }
    return contains(traits.name, {".bap-", ".bap_", ".le_audio"});
}

bool isBluetooth(const Traits& traits) {
    return traits.value("device.bus") == "bluetooth" || traits.value("device.api").starts_with("bluez") ||
           traits.name.starts_with("bluez_");
}

/// The name of a port or profile; descriptions say "HDMI / DisplayPort" for either.
bool namesPlug(const Traits& traits, Texts words) {
    return contains(traits.port, words) || contains(traits.own("device.profile.name"), words) ||
           contains(traits.name, words);
}

bool isInside(const Traits& traits) {
    return isOneOf(traits.value("device.form_factor"), {"internal", "speaker", "handset"}) ||
           contains(traits.port, {"analog", "headphone", "headset", "internal", "line", "mic", "speaker"}) ||
           contains(traits.own("device.profile.name"), {"analog"});
}

} // namespace

std::optional<Tonvik::TransportCode> transportOf(const SoundAttachment& attachment) {
    const Traits traits(attachment);
    const std::string bus = traits.value("device.bus");
    const std::string api = traits.value("device.api");
    if (isAirPlay(traits)) {
        return airPlay;
    }
    if (attachment.isNetwork || isTunnel(traits)) {
        return other;
    }
    // Who makes a device up may say what it stands for.
    if (isFilter(traits) || (isMadeUp(traits) && traits.own("device.bus").empty())) {
        return virtualDevice;
    }
    if (isBluetooth(traits)) {
        return isLowEnergy(traits) ? bluetoothLowEnergy : bluetooth;
    }
    // A dock's or a capture card's plug is at the far end of a cable.
    if (bus == "usb") {
        return usb;
    }
    if (bus == "thunderbolt") {
        return thunderbolt;
    }
    if (namesPlug(traits, {"displayport"})) {
        return displayPort;
    }
    if (namesPlug(traits, {"hdmi"})) {
        return hdmi;
    }
    const bool isOnBoard = isOneOf(bus, {"pci", "platform", "isa"}) || (bus.empty() && api == "alsa");
    if (isOnBoard && isInside(traits)) {
        return builtIn;
    }
    const bool isKnown = !bus.empty() || !api.empty() || attachment.isHardware;
    return isKnown ? std::optional(other) : std::nullopt;
}

} // namespace Linux
