#pragma once

#include "Platforms/Linux/Sound/Transport.hpp"
#include "Tonvik/AudioHardware.hpp"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace Linux {

/// The level of each channel: 65536 is 100 %, and more is possible. Cubic, as every mixer shows it.
using ChannelLevels = std::vector<std::uint32_t>;

/// A sink (which plays) or a source (which records) as a sound server tells of it.
struct ToldDevice {
    SoundAttachment attachment{}; // with the name, which lasts where indexes change; the card comes below
    std::string description{};
    std::string portDescription{};     // for people: "Headphones"; empty where there is no port
    std::optional<std::uint32_t> card; // its index
    std::uint32_t channels = 0;
    bool isMonitor = false; // records what a sink plays
    bool hasLevel = false;
    ChannelLevels levels{};
    bool isMuted = false;
};

struct ToldCard {
    std::uint32_t index = 0;
    std::string name{};
    SoundProperties properties{};
};

/// All that a sound server told at one time.
struct ToldSound {
    std::string defaultSink{};
    std::string defaultSource{};
    std::vector<ToldDevice> sinks{};
    std::vector<ToldDevice> sources{};
    std::vector<ToldCard> cards{};
};

/// What outlasts a connection: which number a device has, and how its channels stand to each other while its
/// level is 0.
class SoundRegister {
public:
    /// How many devices that are gone are remembered, so that a server with ever new names fills nothing.
    static constexpr std::size_t mostEntries = 4096;

    /// The same for the same key, never 0 and never another's.
    Tonvik::AudioObjectId idOf(const std::string& key);

    /// A sink's levels as they were told.
    void see(const std::string& sink, const ChannelLevels& levels);

    /// What to write for the loudest channel to have this level, 0 to 1, and the others in their proportion;
    /// remembered as ours, so that the rounding of a low level is not taken for a new proportion.
    ChannelLevels levelsFor(const std::string& sink, const ChannelLevels& told, float level);

private:
    struct Balance {
        ChannelLevels levels;  // the last that were not all 0, and not ours
        ChannelLevels written; // by us
    };

    std::map<std::string, Tonvik::AudioObjectId> ids_;
    std::map<std::string, Balance> balances_;
    Tonvik::AudioObjectId last_ = Tonvik::noDevice;
};

/// One device, with one or both of its sides.
struct SoundDevice {
    struct Side {
        std::string name{}; // the server's, by which it is asked for
        std::uint32_t channels = 0;
    };

    Tonvik::AudioObjectId id = Tonvik::noDevice;
    std::string name{}; // for people; valid UTF-8, never empty
    std::optional<Tonvik::TransportCode> transport{};
    std::optional<Side> output{};
    std::optional<Side> input{};

    // Of the output
    bool hasLevel = false;
    ChannelLevels levels{};
    bool isMuted = false;

    const std::optional<Side>& side(Tonvik::Direction direction) const {
        return direction == Tonvik::Direction::output ? output : input;
    }
};

/// The devices of a sound server as the suite sees them. Never changes.
class SoundState {
public:
    SoundState(const ToldSound& told, SoundRegister& known);

    const std::vector<SoundDevice>& devices() const { return devices_; } // outputs first, as they were told
    const SoundDevice* find(Tonvik::AudioObjectId id) const;

    /// None where there is none, or it is one that is not listed.
    std::optional<Tonvik::AudioObjectId> defaultDevice(Tonvik::Direction direction) const {
        return direction == Tonvik::Direction::output ? defaultOutput_ : defaultInput_;
    }

private:
    std::vector<SoundDevice> devices_;
    std::unordered_map<Tonvik::AudioObjectId, std::size_t> places_; // in devices_
    std::optional<Tonvik::AudioObjectId> defaultOutput_;
    std::optional<Tonvik::AudioObjectId> defaultInput_;
};

/// The level that is shown for these channels, 0 to 1: the loudest one's, and 1 for what is above.
float shownLevel(const ChannelLevels& levels);

} // namespace Linux
