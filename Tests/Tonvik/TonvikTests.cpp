#include "Platforms/Simulated/SimulatedHost.hpp"
#include "Tonvik/Tonvik.hpp"
#include "Tonvik/TonvikTexts.hpp"
#include "ZorbelKit/Stall.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using namespace Tonvik;
using Simulated::SimulatedHost;
using ZorbelKit::Seconds;
using ZorbelKit::Token;
using Device = Simulated::SimulatedAudioHardware::Device;
using Ids = std::vector<AudioObjectId>;

Ids idsOf(const std::vector<AudioDevice>& devices) {
    Ids ids;
    std::ranges::transform(devices, std::back_inserter(ids), &AudioDevice::id);
    return ids;
}

Device speakers() {
    return {.id = 11,
            .name = "Built-in speakers",
            .transport = transportCode("bltn"),
            .outputStreams = {{2}},
            .inputStreams = {{}},
            .volume = 0.5F,
            .mute = 0};
}

Device headset() {
    return {.id = 12,
            .name = "Headset",
            .transport = transportCode("blue"),
            .outputStreams = {{2}},
            .inputStreams = {{1}},
            .volume = 0.25F,
            .mute = 1};
}

/// It has neither a level nor a mute.
Device television() {
    return {.id = 13,
            .name = "Television",
            .transport = transportCode("hdmi"),
            .outputStreams = {{2, 2, 2}},
            .inputStreams = std::nullopt};
}

/// Speakers, a headset and a television; sound goes to the speakers and comes from the headset.
struct Room {
    Room() {
        hardware.plugged = {speakers(), headset(), television()};
        hardware.defaults = {{Direction::output, 11}, {Direction::input, 12}};
    }

    Device& plugged(AudioObjectId id) { return *std::ranges::find(hardware.plugged, id, &Device::id); }

    SimulatedHost host;
    Simulated::SimulatedAudioHardware& hardware = host.audioHardware;
    const int liveBefore = host.liveThings();
    Audio audio{hardware};
    TonvikSpice tonvik{host.loop, hardware};
};

} // namespace

TEST(Audio, ATransportReadsByItsCode) {
    struct Row {
        const char* code;
        std::string_view text;
    };
    for (const Row& row :
         {Row{"airp", "AirPlay"}, Row{"blue", "Bluetooth"}, Row{"blea", "Bluetooth"}, Row{"bltn", "Built in"},
          Row{"dprt", "DisplayPort"}, Row{"virt", "Virtual"}, Row{"grup", "Virtual"}, Row{"hdmi", "HDMI"},
          Row{"thun", "Thunderbolt"}, Row{"usb ", "USB"}, Row{"pci ", "Other"}, Row{"USB ", "Other"}}) {
        SCOPED_TRACE(row.code);
        TransportCode code = 0;
        for (int index = 0; index < 4; ++index) {
            code = code * 256 + static_cast<unsigned char>(row.code[index]);
        }
        EXPECT_EQ(transportText(code), row.text);
        Room room;
        room.plugged(11).transport = code;
        EXPECT_EQ(room.audio.transportName(11), row.text);
        EXPECT_EQ(room.audio.devices().front().transport, row.text);
    }
    EXPECT_EQ(transportText(0), "Other");
}

TEST(Audio, ATransportThatCannotBeReadIsUnknown) {
    Room room;
    room.plugged(11).transport.reset();
    EXPECT_EQ(room.audio.transportName(11), "Unknown");
    EXPECT_EQ(room.audio.transportName(99), "Unknown");
}

TEST(Audio, AHeadsetIsListedOncePerDirectionWithOneId) {
    const Room room;
    const std::vector<AudioDevice> expected{
        {.id = 11, .name = "Built-in speakers", .transport = "Built in", .isDefault = true},
        {.id = 12, .name = "Headset", .transport = "Bluetooth"},
        {.id = 12, .name = "Headset", .isInput = true, .transport = "Bluetooth", .isDefault = true},
        {.id = 13, .name = "Television", .transport = "HDMI"}};
    EXPECT_EQ(room.audio.devices(), expected);
}

TEST(Audio, ADeviceWithoutChannelsDoesNotAppear) {
    using Streams = std::optional<std::vector<std::uint32_t>>;
    struct Row {
        const char* name;
        Streams output;
        Streams input;
        std::size_t sides;
    };
    for (const Row& row : {Row{"no streams", {{}}, {{}}, 0}, Row{"streams of nothing", {{0, 0}}, {{0}}, 0},
                           Row{"unreadable", std::nullopt, std::nullopt, 0},
                           Row{"one channel in the last stream", {{0, 0, 1}}, {{0}}, 1},
                           Row{"input only", std::nullopt, {{1}}, 1}, Row{"both", {{2}}, {{1}}, 2}}) {
        SCOPED_TRACE(row.name);
        Room room;
        room.hardware.plugged = {speakers()};
        room.plugged(11).outputStreams = row.output;
        room.plugged(11).inputStreams = row.input;
        EXPECT_EQ(room.audio.devices().size(), row.sides);
    }
}

TEST(Audio, MoreChannelsThanCanBeCountedStopTheProcess) {
    Room room;
    constexpr auto most = std::numeric_limits<std::uint32_t>::max();
    room.plugged(11).outputStreams = {{most, 0}};
    EXPECT_EQ(room.audio.devices().front().id, 11U);
    room.plugged(11).outputStreams = {{most, 1}};
    EXPECT_DEATH(static_cast<void>(room.audio.devices()), "overflow in add");
}

TEST(Audio, ADeviceWithoutANameIsLeftOut) {
    Room room;
    room.plugged(11).name.reset();
    room.plugged(12).name = "";
    EXPECT_EQ(idsOf(room.audio.devices()), Ids{13});
}

TEST(Audio, HardwareThatCannotBeReadHasNoDevices) {
    Room room;
    room.hardware.isThere = false;
    EXPECT_TRUE(room.audio.devices().empty());
    EXPECT_EQ(room.audio.defaultDevice(false), noDevice);
    EXPECT_EQ(room.audio.defaultDevice(true), noDevice);
    EXPECT_EQ(room.audio.volume(11), std::nullopt);
    EXPECT_FALSE(room.audio.isMuted(11));
}

TEST(Audio, ADefaultThatCannotBeReadMarksNothing) {
    Room room;
    room.hardware.defaults.erase(Direction::output);
    EXPECT_EQ(room.audio.defaultDevice(false), noDevice);
    EXPECT_EQ(room.audio.defaultDevice(true), 12U);
    for (const AudioDevice& device : room.audio.devices()) {
        EXPECT_EQ(device.isDefault, device.isInput) << device.name;
    }
}

TEST(Audio, SetsTheDefaultOfADevicesOwnDirection) {
    Room room;
    EXPECT_TRUE(room.audio.setDefault({.id = 12}));
    EXPECT_EQ(room.audio.defaultDevice(false), 12U);
    EXPECT_EQ(room.audio.defaultDevice(true), 12U);
    EXPECT_TRUE(room.audio.setDefault({.id = 11, .isInput = true}));
    EXPECT_EQ(room.audio.defaultDevice(false), 12U);
    EXPECT_EQ(room.audio.defaultDevice(true), 11U);
    EXPECT_FALSE(room.audio.setDefault({.id = 99}));
}

TEST(Audio, WritesALevelBetweenNothingAndAll) {
    struct Row {
        float level;
        float written;
    };
    Room room;
    for (const Row& row : {Row{0.0F, 0.0F}, Row{0.4F, 0.4F}, Row{1.0F, 1.0F}, Row{1.7F, 1.0F},
                           Row{-0.2F, 0.0F}, Row{std::numeric_limits<float>::infinity(), 1.0F}}) {
        SCOPED_TRACE(row.level);
        EXPECT_TRUE(room.audio.setVolume(row.level, 11));
        EXPECT_EQ(room.hardware.volumeWrites.back(), row.written);
        EXPECT_EQ(room.audio.volume(11), row.written);
    }
}

TEST(Audio, ADeviceWithoutALevelOrAMuteIsNotWritten) {
    Room room;
    EXPECT_EQ(room.audio.volume(13), std::nullopt);
    EXPECT_FALSE(room.audio.setVolume(0.5F, 13));
    EXPECT_TRUE(room.hardware.volumeWrites.empty());
    EXPECT_FALSE(room.audio.isMuted(13));
    EXPECT_FALSE(room.audio.setMuted(true, 13));
    EXPECT_EQ(room.hardware.muteWrites, 0);
}

TEST(Audio, OnlyOneMeansMuted) {
    Room room;
    for (const std::uint32_t value : {0U, 1U, 2U}) {
        room.plugged(11).mute = value;
        EXPECT_EQ(room.audio.isMuted(11), value == 1) << value;
    }
    EXPECT_TRUE(room.audio.setMuted(true, 11));
    EXPECT_EQ(room.plugged(11).mute, 1U);
    EXPECT_TRUE(room.audio.setMuted(false, 11));
    EXPECT_EQ(room.plugged(11).mute, 0U);
}

TEST(Tonvik, KnowsItsNames) {
    const Room room;
    EXPECT_EQ(room.tonvik.id(), "tonvik");
    EXPECT_EQ(room.tonvik.name(), "Tonvik");
    EXPECT_EQ(room.tonvik.role(), "Sound");
    EXPECT_EQ(room.tonvik.summary(), "Switches where sound goes, without opening System Settings.");
    EXPECT_FALSE(room.tonvik.reason().empty());
    EXPECT_FALSE(isOnByDefault(room.tonvik));
}

TEST(Tonvik, KnowsNothingBeforeItIsOn) {
    Room room;
    room.host.loop.advance(Seconds{60});
    EXPECT_FALSE(room.tonvik.isEnabled());
    EXPECT_TRUE(room.tonvik.outputs().empty());
    EXPECT_TRUE(room.tonvik.inputs().empty());
    EXPECT_EQ(room.tonvik.volume(), std::nullopt);
    EXPECT_FALSE(room.tonvik.muted());
    EXPECT_EQ(room.host.liveThings(), room.liveBefore);
}

TEST(Tonvik, LooksAtOnce) {
    Room room;
    room.plugged(11).mute = 1;
    room.tonvik.steep();
    EXPECT_EQ(idsOf(room.tonvik.outputs()), (Ids{11, 12, 13}));
    EXPECT_EQ(idsOf(room.tonvik.inputs()), Ids{12});
    ASSERT_NE(room.tonvik.currentOutput(), nullptr);
    EXPECT_EQ(room.tonvik.currentOutput()->id, 11U);
    EXPECT_EQ(room.tonvik.volume(), 0.5F);
    EXPECT_TRUE(room.tonvik.muted());
}

TEST(Tonvik, SeesWhatChangesElsewhereWithinTwoSeconds) {
    Room room;
    room.tonvik.steep();
    room.hardware.defaults[Direction::output] = 12;
    room.hardware.plugged.pop_back();
    room.host.loop.advance(Seconds{1.999});
    EXPECT_EQ(room.tonvik.currentOutput()->id, 11U);
    EXPECT_EQ(room.tonvik.outputs().size(), 3U);
    room.host.loop.advance(Seconds{0.001});
    EXPECT_EQ(room.tonvik.currentOutput()->id, 12U);
    EXPECT_EQ(idsOf(room.tonvik.outputs()), (Ids{11, 12}));
    EXPECT_EQ(room.tonvik.volume(), 0.25F);
    EXPECT_TRUE(room.tonvik.muted());
    room.plugged(12).volume = 0.75F;
    room.host.loop.advance(Seconds{2});
    EXPECT_EQ(room.tonvik.volume(), 0.75F);
}

TEST(Tonvik, IsSilentWhileNothingChanges) {
    Room room;
    room.tonvik.steep();
    int told = 0;
    const Token changes = room.tonvik.observe([&] { ++told; });
    room.host.loop.advance(Seconds{60});
    EXPECT_EQ(told, 0);
    room.plugged(11).volume = 0.6F;
    room.host.loop.advance(Seconds{2});
    EXPECT_EQ(told, 1);
    room.plugged(11).mute = 1;
    room.host.loop.advance(Seconds{2});
    EXPECT_EQ(told, 2);
}

TEST(Tonvik, TurnedOnTwiceItRunsOneTimerAndLooksAgain) {
    Room room;
    room.tonvik.steep();
    room.plugged(11).volume = 0.6F;
    room.tonvik.steep();
    EXPECT_EQ(room.tonvik.volume(), 0.6F);
    EXPECT_EQ(room.host.liveThings(), room.liveBefore + 1);
    room.tonvik.rest();
    EXPECT_EQ(room.host.liveThings(), room.liveBefore);
}

TEST(Tonvik, TurnedOffItForgetsAllButTheMute) {
    Room room;
    room.plugged(11).mute = 1;
    room.tonvik.steep();
    int told = 0;
    const Token changes = room.tonvik.observe([&] { ++told; });
    room.tonvik.rest();
    EXPECT_TRUE(room.tonvik.outputs().empty());
    EXPECT_TRUE(room.tonvik.inputs().empty());
    EXPECT_EQ(room.tonvik.volume(), std::nullopt);
    EXPECT_EQ(room.tonvik.currentOutput(), nullptr);
    EXPECT_TRUE(room.tonvik.muted());
    EXPECT_EQ(told, 3) << "outputs, inputs and level";
    EXPECT_EQ(room.host.liveThings(), room.liveBefore + 1) << "only the reader above";
    room.host.loop.advance(Seconds{60});
    EXPECT_TRUE(room.tonvik.outputs().empty());
    EXPECT_EQ(told, 3);
}

TEST(Tonvik, AReaderMayTurnItOffInTheMiddleOfALook) {
    Room room;
    const Token changes = room.tonvik.observe([&] {
        if (!room.tonvik.outputs().empty()) {
            room.tonvik.rest();
        }
    });
    room.tonvik.steep();
    EXPECT_TRUE(room.tonvik.outputs().empty());
    EXPECT_TRUE(room.tonvik.inputs().empty());
    EXPECT_EQ(room.tonvik.volume(), std::nullopt);
    EXPECT_EQ(room.host.liveThings(), room.liveBefore + 1) << "only the reader above";
}

TEST(Tonvik, AReaderMayChooseInTheMiddleOfALook) {
    Room room;
    bool hasChosen = false;
    const Token changes = room.tonvik.observe([&] {
        if (!std::exchange(hasChosen, true)) {
            room.plugged(13).inputStreams = {{1}};
            room.tonvik.use(room.tonvik.outputs().at(1));
        }
    });
    room.tonvik.steep();
    EXPECT_EQ(room.tonvik.currentOutput()->id, 12U);
    EXPECT_EQ(idsOf(room.tonvik.inputs()), (Ids{12, 13})) << "as the later look saw them";
    EXPECT_EQ(room.tonvik.volume(), 0.25F);
    EXPECT_TRUE(room.tonvik.muted());
}

TEST(Tonvik, UsesADeviceForItsDirectionOnlyAndLooksAtOnce) {
    Room room;
    room.tonvik.steep();
    room.tonvik.use(room.tonvik.outputs().at(1));
    EXPECT_EQ(room.hardware.defaults.at(Direction::output), 12U);
    EXPECT_EQ(room.hardware.defaults.at(Direction::input), 12U);
    EXPECT_EQ(room.tonvik.currentOutput()->id, 12U);
    EXPECT_FALSE(room.tonvik.outputs().at(0).isDefault);
    EXPECT_EQ(room.tonvik.volume(), 0.25F);
    EXPECT_TRUE(room.tonvik.muted());

    room.plugged(13).inputStreams = {{1}};
    room.tonvik.refresh();
    room.tonvik.use(room.tonvik.inputs().at(1));
    EXPECT_EQ(room.hardware.defaults.at(Direction::input), 13U);
    EXPECT_EQ(room.hardware.defaults.at(Direction::output), 12U);
}

TEST(Tonvik, UsingTheDeviceInUseSetsItAgainAndTellsNobody) {
    Room room;
    room.tonvik.steep();
    int told = 0;
    const Token changes = room.tonvik.observe([&] { ++told; });
    room.tonvik.use(room.tonvik.outputs().at(0));
    EXPECT_EQ(room.hardware.defaultWrites, 1);
    EXPECT_EQ(room.hardware.defaults.at(Direction::output), 11U);
    EXPECT_EQ(told, 0);
}

TEST(Tonvik, UsingADeviceThatIsGoneShowsWhatIsThere) {
    Room room;
    room.tonvik.steep();
    const AudioDevice gone = room.tonvik.outputs().at(2);
    room.hardware.plugged.pop_back();
    room.tonvik.use(gone);
    EXPECT_EQ(idsOf(room.tonvik.outputs()), (Ids{11, 12}));
    EXPECT_EQ(room.tonvik.currentOutput()->id, 11U);
}

TEST(Tonvik, StoresALevelAsGivenUntilTheNextLook) {
    struct Row {
        float given;
        float written;
    };
    for (const Row& row : {Row{0.8F, 0.8F}, Row{1.7F, 1.0F}, Row{-0.2F, 0.0F}}) {
        SCOPED_TRACE(row.given);
        Room room;
        room.tonvik.steep();
        room.tonvik.setVolume(row.given);
        EXPECT_EQ(room.hardware.volumeWrites, std::vector<float>{row.written});
        EXPECT_EQ(room.tonvik.volume(), row.given);
        room.host.loop.advance(Seconds{1.999});
        EXPECT_EQ(room.tonvik.volume(), row.given);
        room.host.loop.advance(Seconds{0.001});
        EXPECT_EQ(room.tonvik.volume(), row.written);
    }
}

TEST(Tonvik, ALevelAndAMuteOfADeviceWithoutThemLastUntilTheNextLook) {
    Room room;
    room.hardware.defaults[Direction::output] = 13;
    room.tonvik.steep();
    EXPECT_EQ(room.tonvik.volume(), std::nullopt);
    room.tonvik.setVolume(0.3F);
    room.tonvik.toggleMute();
    EXPECT_EQ(room.tonvik.volume(), 0.3F);
    EXPECT_TRUE(room.tonvik.muted());
    EXPECT_TRUE(room.hardware.volumeWrites.empty());
    EXPECT_EQ(room.hardware.muteWrites, 0);
    room.tonvik.refresh();
    EXPECT_EQ(room.tonvik.volume(), std::nullopt);
    EXPECT_FALSE(room.tonvik.muted());
}

TEST(Tonvik, WithoutADefaultOutputThereIsNothingToSet) {
    for (const bool isUnknown : {false, true}) {
        SCOPED_TRACE(isUnknown);
        Room room;
        room.tonvik.steep();
        room.tonvik.toggleMute();
        if (isUnknown) {
            room.hardware.defaults.erase(Direction::output);
        } else {
            room.hardware.defaults[Direction::output] = 99;
        }
        room.tonvik.refresh();
        EXPECT_EQ(room.tonvik.currentOutput(), nullptr);
        EXPECT_EQ(room.tonvik.volume(), std::nullopt);
        EXPECT_FALSE(room.tonvik.muted());
        room.tonvik.setVolume(0.3F);
        room.tonvik.toggleMute();
        EXPECT_EQ(room.tonvik.volume(), std::nullopt);
        EXPECT_FALSE(room.tonvik.muted());
        EXPECT_TRUE(room.hardware.volumeWrites.empty());
        EXPECT_EQ(room.hardware.muteWrites, 1) << "the one before";
    }
}

TEST(Tonvik, MutesAndEndsIt) {
    Room room;
    room.tonvik.steep();
    room.tonvik.toggleMute();
    EXPECT_EQ(room.plugged(11).mute, 1U);
    EXPECT_TRUE(room.tonvik.muted());
    room.tonvik.toggleMute();
    EXPECT_EQ(room.plugged(11).mute, 0U);
    EXPECT_FALSE(room.tonvik.muted());
    EXPECT_EQ(room.tonvik.volume(), 0.5F) << "the level is another matter";
}

TEST(Tonvik, HardwareThatGoesTakesAllAlong) {
    Room room;
    room.plugged(11).mute = 1;
    room.tonvik.steep();
    room.hardware.isThere = false;
    room.host.loop.advance(Seconds{2});
    EXPECT_TRUE(room.tonvik.outputs().empty());
    EXPECT_TRUE(room.tonvik.inputs().empty());
    EXPECT_EQ(room.tonvik.volume(), std::nullopt);
    EXPECT_FALSE(room.tonvik.muted());
    room.hardware.isThere = true;
    room.host.loop.advance(Seconds{2});
    EXPECT_EQ(room.tonvik.outputs().size(), 3U);
}

TEST(Tonvik, StopsWithItsObject) {
    SimulatedHost host;
    const int before = host.liveThings();
    auto tonvik = std::make_unique<TonvikSpice>(host.loop, host.audioHardware);
    tonvik->steep();
    EXPECT_EQ(host.liveThings(), before + 1);
    tonvik.reset();
    EXPECT_EQ(host.liveThings(), before);
    host.loop.advance(Seconds{10});
}

TEST(TonvikTexts, ADeviceHasTheSymbolOfItsTransport) {
    struct Row {
        const char* transport;
        bool isInput;
        std::string_view symbol;
    };
    for (const Row& row :
         {Row{"Bluetooth", false, "airpodspro"}, Row{"Bluetooth", true, "mic"}, Row{"Built in", true, "mic"},
          Row{"Built in", false, "laptopcomputer"}, Row{"HDMI", false, "tv"}, Row{"DisplayPort", false, "tv"},
          Row{"AirPlay", false, "airplayaudio"}, Row{"USB", false, "hifispeaker"},
          Row{"Thunderbolt", false, "hifispeaker"}, Row{"Virtual", false, "speaker.wave.2"},
          Row{"Other", false, "speaker.wave.2"}, Row{"Unknown", false, "speaker.wave.2"}}) {
        SCOPED_TRACE(row.transport);
        EXPECT_EQ(symbolName({.id = 1, .isInput = row.isInput, .transport = row.transport}), row.symbol);
    }
    EXPECT_EQ(muteSymbolName(true), "speaker.slash.fill");
    EXPECT_EQ(muteSymbolName(false), "speaker.wave.2.fill");
}

TEST(TonvikTexts, ADeviceIsSpokenOfWithItsTransportAndUse) {
    EXPECT_EQ(spokenText({.id = 1, .name = "Desk\nspeakers", .transport = "USB"}), "Desk speakers, USB");
    EXPECT_EQ(spokenText({.id = 1, .name = "Desk", .transport = "USB", .isDefault = true}),
              "Desk, USB, in use");
}

TEST(TonvikTexts, ANameIsOneLineOfBoundedLength) {
    EXPECT_EQ(nameText({.id = 1, .name = " Two\r\nlines\tand\x01 more "}), "Two lines and more");
    std::string endless;
    for (int count = 0; count < 100'000; ++count) {
        endless += "\xC3\xA9";
    }
    EXPECT_EQ(nameText({.id = 1, .name = endless}), endless.substr(0, 512));
    EXPECT_EQ(nameText({.id = 1, .name = "x" + endless}).size(), 511U) << "no half characters";
}

TEST(TonvikTexts, ALevelReadsAsAWholePercentage) {
    struct Row {
        std::optional<float> volume;
        std::string_view text;
    };
    constexpr std::string_view dash = "\xE2\x80\x93";
    for (const Row& row : {Row{std::nullopt, dash}, Row{0.0F, "0%"}, Row{0.009F, "0%"}, Row{0.01F, "1%"},
                           Row{0.425F, "42%"}, Row{0.999F, "99%"}, Row{1.0F, "100%"}, Row{1.7F, "170%"},
                           Row{-0.2F, "-20%"}, Row{std::numeric_limits<float>::quiet_NaN(), dash},
                           Row{std::numeric_limits<float>::infinity(), dash}, Row{1e30F, dash}}) {
        EXPECT_EQ(volumeText(row.volume), row.text) << row.volume.value_or(-1);
    }
    for (int percent = 0; percent <= 100; ++percent) {
        EXPECT_EQ(volumeText(static_cast<float>(percent) / 100), std::to_string(percent) + "%");
    }
}
