#include "Platforms/Linux/Sound/SoundState.hpp"

#include "ZorbelKit/Utf8.hpp"

#include <algorithm>
#include <cmath>
#include <pulse/volume.h>
#include <set>
#include <string_view>
#include <utility>

namespace Linux {

namespace {

using Tonvik::AudioObjectId;
using Tonvik::Direction;

constexpr double stepsApart = 1.5; // a level set as a whole percentage is no further from it

bool isLevel(std::uint32_t value) {
    return PA_VOLUME_IS_VALID(value);
}

std::string property(const SoundProperties& properties, std::string_view key) {
    const auto found = properties.find(key);
    return found == properties.end() ? std::string() : found->second;
}

bool isBlank(const std::string& text) {
    return text.find_first_not_of(" \t\r\n") == std::string::npos;
}

/// Padding and length are the device's own; views cut what they show.
std::string nameOf(const ToldDevice& told) {
    const auto& attachment = told.attachment;
    for (const std::string& name :
         {told.description, property(attachment.properties, "device.description"), attachment.name}) {
        if (!isBlank(name)) {
            return ZorbelKit::utf8::repaired(name);
        }
    }
    return "?";
}

/// Each device that is listed, with what tells it from others of the same name.
struct Listed {
    SoundDevice device;
    std::vector<std::string> words; // the more telling ones first; the last one is no other device's
};

std::vector<std::string> wordsOf(const ToldDevice& told, const ToldCard* card) {
    std::string product = property(told.attachment.properties, "device.product.name");
    if (product.empty() && card) {
        product = property(card->properties, "device.product.name");
    }
    std::vector<std::string> words{told.portDescription, product, told.attachment.name};
    std::ranges::transform(words, words.begin(),
                           [](const auto& word) { return ZorbelKit::utf8::repaired(word); });
    return words;
}

/// The first kind of words that each of these has and no two of them share.
std::size_t tellingWords(const std::vector<Listed*>& same) {
    const std::size_t last = same.front()->words.size() - 1;
    for (std::size_t kind = 0; kind < last; ++kind) {
        std::set<std::string_view> different;
        for (const Listed* listed : same) {
            if (!isBlank(listed->words[kind])) {
                different.insert(listed->words[kind]);
            }
        }
        if (different.size() == same.size()) {
            return kind;
        }
    }
    return last;
}

/// What is an output here and an input there is never seen in one list.
void tellApart(std::vector<Listed>& all, Direction direction) {
    std::map<std::string, std::vector<Listed*>> byName;
    for (Listed& listed : all) {
        if (listed.device.side(direction)) {
            byName[listed.device.name].push_back(&listed);
        }
    }
    for (const auto& [name, same] : byName) {
        if (same.size() < 2) {
            continue;
        }
        const std::size_t kind = tellingWords(same);
        for (Listed* listed : same) {
            listed->device.name += " (" + listed->words[kind] + ')';
        }
    }
}

/// Which devices belong together, and under which key they are known.
class Grouping {
public:
    explicit Grouping(const ToldSound& told) {
        for (const ToldCard& card : told.cards) {
            cards_.try_emplace(card.index, Counted{&card});
        }
        for (const ToldDevice& sink : told.sinks) {
            ++sidesOf(sink).sinks;
        }
        for (const ToldDevice& source : told.sources) {
            sidesOf(source).sources += source.isMonitor ? 0 : 1;
        }
    }

    const ToldCard* cardOf(const ToldDevice& told) const {
        const auto found = told.card ? cards_.find(*told.card) : cards_.end();
        return found == cards_.end() ? nullptr : found->second.card;
    }

    /// A headset is one thing with two sides, and stays the same when a call takes its microphone into use.
    /// Of a card with several plugs each is a thing of its own.
    std::string keyOf(const ToldDevice& told, Direction direction) const {
        const auto found = told.card ? cards_.find(*told.card) : cards_.end();
        if (found != cards_.end() && found->second.sinks <= 1 && found->second.sources <= 1 &&
            !found->second.card->name.empty()) {
            return "card " + found->second.card->name;
        }
        return (direction == Direction::output ? "sink " : "source ") + told.attachment.name;
    }

private:
    struct Counted {
        const ToldCard* card = nullptr;
        int sinks = 0;
        int sources = 0; // monitors not among them
    };

    Counted& sidesOf(const ToldDevice& told) {
        const auto found = told.card ? cards_.find(*told.card) : cards_.end();
        return found == cards_.end() ? nobody_ : found->second;
    }

    std::map<std::uint32_t, Counted> cards_; // by their indexes
    Counted nobody_;
};

SoundAttachment attachmentOf(const ToldDevice& told, const ToldCard* card) {
    SoundAttachment attachment = told.attachment;
    if (card) {
        attachment.card = card->properties;
    }
    return attachment;
}

} // namespace

// SoundRegister

AudioObjectId SoundRegister::idOf(const std::string& key) {
    if (const auto found = ids_.find(key); found != ids_.end()) {
        return found->second;
    }
    if (ids_.size() >= mostEntries) {
        // Numbers only grow: the smallest is of the one that came first.
        ids_.erase(std::ranges::min_element(ids_, {}, [](const auto& entry) { return entry.second; }));
    }
    return ids_.try_emplace(key, ++last_).first->second;
}

void SoundRegister::see(const std::string& sink, const ChannelLevels& levels) {
    if (std::ranges::none_of(levels, [](auto level) { return level > 0; })) {
        return;
    }
    if (balances_.size() >= mostEntries && !balances_.contains(sink)) {
        balances_.erase(balances_.begin());
    }
    Balance& balance = balances_[sink];
    if (levels != balance.written || balance.levels.size() != levels.size()) {
        balance.levels = levels;
        balance.written.clear();
    }
}

ChannelLevels SoundRegister::levelsFor(const std::string& sink, const ChannelLevels& told, float level) {
    const auto found = balances_.find(sink);
    const bool isRemembered = found != balances_.end() && found->second.levels.size() == told.size();
    const ChannelLevels& before = isRemembered ? found->second.levels : told;
    if (before.empty() || before.size() > PA_CHANNELS_MAX || !std::ranges::all_of(before, isLevel)) {
        return {};
    }
    const auto most = static_cast<std::uint64_t>(
        std::lround(std::clamp(static_cast<double>(level), 0.0, 1.0) * PA_VOLUME_NORM));
    const std::uint64_t loudest = std::ranges::max(before);
    ChannelLevels written(before.size(), static_cast<std::uint32_t>(most)); // silence has no proportion
    if (loudest > 0) {
        std::ranges::transform(before, written.begin(), [&](std::uint32_t channel) {
            return static_cast<std::uint32_t>(channel * most / loudest);
        });
    }
    if (isRemembered) {
        found->second.written = written;
    }
    return written;
}

// SoundState

SoundState::SoundState(const ToldSound& told, SoundRegister& known) {
    const Grouping grouping(told);
    std::vector<Listed> all;
    std::map<std::string, std::size_t> places; // of keys in it
    const auto list = [&](const ToldDevice& device, Direction direction) {
        const ToldCard* card = grouping.cardOf(device);
        const std::string key = grouping.keyOf(device, direction);
        const auto [place, isNew] = places.try_emplace(key, all.size());
        if (isNew) {
            Listed listed;
            listed.device.id = known.idOf(key);
            listed.device.name = nameOf(device);
            listed.device.transport = transportOf(attachmentOf(device, card));
            listed.words = wordsOf(device, card);
            all.push_back(std::move(listed));
        }
        SoundDevice& result = all[place->second].device;
        const SoundDevice::Side side{device.attachment.name, device.channels};
        if (direction == Direction::input) {
            result.input = side;
        } else {
            known.see(side.name, device.levels);
            result.output = side;
            result.hasLevel = device.hasLevel && !device.levels.empty();
            result.levels = device.levels;
            result.isMuted = device.isMuted;
        }
        return result.id;
    };
    for (const ToldDevice& sink : told.sinks) {
        const AudioObjectId id = list(sink, Direction::output);
        if (sink.attachment.name == told.defaultSink) {
            defaultOutput_ = id;
        }
    }
    for (const ToldDevice& source : told.sources) {
        if (source.isMonitor) {
            continue; // nor is it the default, which it becomes where nothing else records
        }
        const AudioObjectId id = list(source, Direction::input);
        if (source.attachment.name == told.defaultSource) {
            defaultInput_ = id;
        }
    }
    tellApart(all, Direction::output);
    tellApart(all, Direction::input);
    devices_.reserve(all.size());
    for (Listed& listed : all) {
        places_.emplace(listed.device.id, devices_.size());
        devices_.push_back(std::move(listed.device));
    }
}

const SoundDevice* SoundState::find(AudioObjectId id) const {
    const auto found = places_.find(id);
    return found == places_.end() ? nullptr : &devices_[found->second];
}

float shownLevel(const ChannelLevels& levels) {
    const auto most = std::ranges::max_element(levels);
    const std::uint32_t loudest = most == levels.end() ? 0 : std::min<std::uint32_t>(*most, PA_VOLUME_NORM);
    const double level = static_cast<double>(loudest) / PA_VOLUME_NORM;
    const double whole = std::round(level * 100) / 100;
    return static_cast<float>(std::abs(level - whole) < stepsApart / PA_VOLUME_NORM ? whole : level);
}

} // namespace Linux
