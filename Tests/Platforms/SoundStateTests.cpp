#include "Platforms/Linux/Sound/SoundState.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using Linux::ChannelLevels;
using Linux::SoundDevice;
using Linux::SoundRegister;
using Linux::SoundState;
using Linux::ToldDevice;
using Linux::ToldSound;
using Tonvik::AudioObjectId;
using Tonvik::Direction;
using Tonvik::noDevice;
using Tonvik::transportCode;

namespace {

ToldDevice told(const std::string& name, const std::string& description = "",
                std::optional<std::uint32_t> card = std::nullopt) {
    ToldDevice device;
    device.attachment.name = name;
    device.description = description;
    device.card = card;
    device.channels = 2;
    device.hasLevel = true;
    device.levels = {65536, 65536};
    return device;
}

ToldDevice monitor(const std::string& name) {
    ToldDevice device = told(name);
    device.isMonitor = true;
    return device;
}

AudioObjectId idOf(const SoundState& state, const std::string& serverName) {
    for (const SoundDevice& device : state.devices()) {
        for (const Direction direction : {Direction::output, Direction::input}) {
            if (device.side(direction) && device.side(direction)->name == serverName) {
                return device.id;
            }
        }
    }
    return noDevice;
}

std::vector<std::string> names(const SoundState& state) {
    std::vector<std::string> result;
    for (const SoundDevice& device : state.devices()) {
        result.push_back(device.name);
    }
    return result;
}

} // namespace

TEST(SoundState, IsEmptyWithoutDevices) {
    SoundRegister known;
    const SoundState state(ToldSound{}, known);
    EXPECT_TRUE(state.devices().empty());
    EXPECT_FALSE(state.defaultDevice(Direction::output));
    EXPECT_FALSE(state.defaultDevice(Direction::input));
    EXPECT_EQ(state.find(noDevice), nullptr);
}

TEST(SoundState, ADeviceKeepsItsNumberForLife) {
    SoundRegister known;
    const SoundState before({.sinks = {told("a"), told("b")}}, known);
    const SoundState without({.sinks = {told("b")}}, known);
    const SoundState after({.sinks = {told("c"), told("b"), told("a")}}, known);
    EXPECT_NE(idOf(before, "a"), noDevice);
    EXPECT_NE(idOf(before, "a"), idOf(before, "b"));
    EXPECT_EQ(idOf(without, "b"), idOf(before, "b"));
    EXPECT_EQ(idOf(after, "a"), idOf(before, "a"));
    EXPECT_NE(idOf(after, "c"), idOf(before, "a"));
    EXPECT_NE(idOf(after, "c"), idOf(before, "b"));
}

TEST(SoundState, EverNewNamesGetEverNewNumbersInABoundedRegister) {
    SoundRegister known;
    const AudioObjectId first = known.idOf("first");
    for (std::size_t number = 0; number < SoundRegister::mostEntries; ++number) {
        known.idOf(std::to_string(number));
    }
    const AudioObjectId last = known.idOf("last");
    EXPECT_GT(known.idOf("first"), last); // it was forgotten, and its number is nobody else's
    EXPECT_EQ(known.idOf("last"), last);
    EXPECT_EQ(first, 1U);
}

TEST(SoundState, A9_AHeadsetIsOneDeviceWithTwoSides) {
    SoundRegister known;
    const SoundState state({.sinks = {told("out", "Headset", 7)},
                            .sources = {monitor("out.monitor"), told("in", "Headset", 7)},
                            .cards = {{.index = 7, .name = "card"}}},
                           known);
    ASSERT_EQ(state.devices().size(), 1U);
    const SoundDevice& headset = state.devices().front();
    EXPECT_EQ(headset.name, "Headset");
    EXPECT_EQ(headset.output->name, "out");
    EXPECT_EQ(headset.input->name, "in");
}

TEST(SoundState, A9_ThreePlugsOfOneCardAreThreeDevices) {
    SoundRegister known;
    const SoundState state(
        {.sinks = {told("one", "One", 0), told("two", "Two", 0), told("three", "Three", 0)},
         .sources = {told("in", "In", 0)},
         .cards = {{.index = 0, .name = "card"}}},
        known);
    ASSERT_EQ(state.devices().size(), 4U);
    EXPECT_NE(idOf(state, "one"), idOf(state, "two"));
    EXPECT_NE(idOf(state, "two"), idOf(state, "three"));
    EXPECT_NE(idOf(state, "one"), idOf(state, "in"));
}

TEST(SoundState, A11_AHeadsetStaysTheSameWhenACallBegins) {
    SoundRegister known;
    const SoundState music(
        {.sinks = {told("bluez.a2dp", "Headset", 3)}, .cards = {{.index = 3, .name = "bluez_card"}}}, known);
    const SoundState call({.sinks = {told("bluez.hfp", "Headset", 9)},
                           .sources = {told("bluez.in", "Headset", 9)},
                           .cards = {{.index = 9, .name = "bluez_card"}}},
                          known);
    EXPECT_EQ(idOf(music, "bluez.a2dp"), idOf(call, "bluez.hfp"));
    EXPECT_EQ(idOf(call, "bluez.in"), idOf(call, "bluez.hfp"));
}

TEST(SoundState, ASinkAndASourceOfOneNameAreTwoDevices) {
    SoundRegister known;
    const SoundState state({.sinks = {told("same")}, .sources = {told("same")}}, known);
    ASSERT_EQ(state.devices().size(), 2U);
    EXPECT_NE(state.devices()[0].id, state.devices()[1].id);
}

TEST(SoundState, ACardThatWasNotToldOfIsNoCard) {
    SoundRegister known;
    const SoundState state({.sinks = {told("out", "", 7)}, .sources = {told("in", "", 7)}}, known);
    EXPECT_EQ(state.devices().size(), 2U);
}

TEST(SoundState, A2_MonitorsAreNeitherListedNorTheDefault) {
    SoundRegister known;
    const SoundState state({.defaultSink = "auto_null",
                            .defaultSource = "auto_null.monitor",
                            .sinks = {told("auto_null", "Dummy Output")},
                            .sources = {monitor("auto_null.monitor")}},
                           known);
    EXPECT_EQ(names(state), std::vector<std::string>{"Dummy Output"});
    EXPECT_EQ(state.devices().front().transport, transportCode("virt"));
    EXPECT_EQ(state.defaultDevice(Direction::output), state.devices().front().id);
    EXPECT_FALSE(state.defaultDevice(Direction::input));
}

TEST(SoundState, ADefaultThatIsNotThereIsNone) {
    SoundRegister known;
    const SoundState state({.defaultSink = "gone", .defaultSource = "", .sinks = {told("here")}}, known);
    EXPECT_FALSE(state.defaultDevice(Direction::output));
    EXPECT_FALSE(state.defaultDevice(Direction::input));
}

TEST(SoundState, A8_ANameIsFoundAndWhole) {
    struct Row {
        const char* name;
        std::string description;
        std::string property; // device.description
        std::string shown;
    };
    const Row rows[] = {
        {"described", "Speakers", "Others", "Speakers"},
        {"described by a property", "", "Others", "Others"},
        {"described by a blank", " \t", "", "sink"},
        {"not described", "", "", "sink"},
        {"padded", "  Speakers ", "", "  Speakers "},
        {"in other letters", "スピーカー", "", "スピーカー"},
        {"long", std::string(4096, 'x'), "", std::string(4096, 'x')},
        {"not UTF-8", "Caf\xE9", "", "Caf\xEF\xBF\xBD"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        ToldDevice sink = told("sink", row.description);
        sink.attachment.properties["device.description"] = row.property;
        SoundRegister known;
        EXPECT_EQ(names(SoundState({.sinks = {sink}}, known)), std::vector<std::string>{row.shown});
    }
}

TEST(SoundState, A8_EqualNamesAreToldApart) {
    struct Row {
        const char* name;
        std::vector<std::string> ports;
        std::vector<std::string> products;
        std::vector<std::string> shown;
    };
    const Row rows[] = {
        {"by their ports", {"HDMI 1", "HDMI 2"}, {"", ""}, {"Same (HDMI 1)", "Same (HDMI 2)"}},
        {"by their products", {"Line", "Line"}, {"Left", "Right"}, {"Same (Left)", "Same (Right)"}},
        {"with a port that is missing", {"Line", ""}, {"Left", "Right"}, {"Same (Left)", "Same (Right)"}},
        {"by what the server calls them", {"", ""}, {"Box", "Box"}, {"Same (sink0)", "Same (sink1)"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        ToldSound sound;
        for (std::size_t index = 0; index < 2; ++index) {
            ToldDevice sink = told("sink" + std::to_string(index), "Same");
            sink.portDescription = row.ports[index];
            sink.attachment.properties["device.product.name"] = row.products[index];
            sound.sinks.push_back(sink);
        }
        SoundRegister known;
        EXPECT_EQ(names(SoundState(sound, known)), row.shown);
    }
}

TEST(SoundState, AnOutputAndAnInputMayShareAName) {
    SoundRegister known;
    const SoundState state({.sinks = {told("out", "Same")}, .sources = {told("in", "Same")}}, known);
    EXPECT_EQ(names(state), (std::vector<std::string>{"Same", "Same"}));
}

TEST(SoundState, ALevelNeedsFlagsAndChannels) {
    ToldDevice without = told("without");
    without.hasLevel = false;
    ToldDevice empty = told("empty");
    empty.levels = {};
    SoundRegister known;
    const SoundState state({.sinks = {told("with"), without, empty}, .sources = {told("in")}}, known);
    EXPECT_TRUE(state.find(idOf(state, "with"))->hasLevel);
    EXPECT_FALSE(state.find(idOf(state, "without"))->hasLevel);
    EXPECT_FALSE(state.find(idOf(state, "empty"))->hasLevel);
    EXPECT_FALSE(state.find(idOf(state, "in"))->hasLevel); // it has one, but none of an output
}

TEST(SoundState, A4_TheLoudestChannelIsShown) {
    struct Row {
        const char* name;
        ChannelLevels levels;
        float shown;
    };
    const Row rows[] = {
        {"no channel", {}, 0},
        {"silence", {0, 0}, 0},
        {"half", {32768}, 0.5F},
        {"unequal", {16384, 49152}, 0.75F},
        {"full", {65536, 65536}, 1},
        {"just above", {65537}, 1},
        {"40 %", {26214}, 0.4F},
        {"30 %, by way of a cube", {19662}, 0.3F},
        {"between", {26300}, 26300.0F / 65536},
        {"150 %", {98304, 16384}, 1},
        {"as much as fits", {0xFFFFFFFFU}, 1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(Linux::shownLevel(row.levels), row.shown);
    }
}

TEST(SoundState, A5_WritingKeepsTheBalance) {
    struct Row {
        const char* name;
        ChannelLevels told;
        float level;
        ChannelLevels written;
    };
    const Row rows[] = {
        {"halved", {32768, 65536}, 0.5F, {16384, 32768}},
        {"raised", {16384, 32768}, 1, {32768, 65536}},
        {"from above 100 %", {98304, 49152}, 1, {65536, 32768}},
        {"mono", {65536}, 0.25F, {16384}},
        {"one channel silent", {0, 65536}, 0.5F, {0, 32768}},
        {"from silence that was never anything else", {0, 0}, 0.5F, {32768, 32768}},
        {"to silence", {32768, 65536}, 0, {0, 0}},
        {"too much", {65536}, 1.5F, {65536}},
        {"too little", {65536}, -1, {0}},
        {"no channel", {}, 0.5F, {}},
        {"more channels than there are", ChannelLevels(33, 65536), 0.5F, {}},
        {"a level that is none", {0xFFFFFFFFU, 1}, 0.5F, {}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        SoundRegister known;
        known.see("sink", row.told);
        EXPECT_EQ(known.levelsFor("sink", row.told, row.level), row.written);
    }
}

TEST(SoundState, A6_TheBalanceSurvivesSilenceAndRounding) {
    SoundRegister known;
    ChannelLevels levels{26214, 52429};
    known.see("sink", levels);
    for (const float low : {0.5F, 0.0001F, 0.00002F, 0.0F}) {
        levels = known.levelsFor("sink", levels, low);
        known.see("sink", levels);
    }
    EXPECT_EQ(levels, (ChannelLevels{0, 0}));
    EXPECT_EQ(known.levelsFor("sink", levels, 1), (ChannelLevels{32767, 65536}));
}

TEST(SoundState, ABalanceSetElsewhereIsTheNewOne) {
    SoundRegister known;
    known.see("sink", {32768, 65536});
    known.levelsFor("sink", {32768, 65536}, 0.5F);
    known.see("sink", {65536, 32768});
    EXPECT_EQ(known.levelsFor("sink", {65536, 32768}, 0.5F), (ChannelLevels{32768, 16384}));
    known.see("sink", {20000, 20000, 20000}); // it has got another channel
    EXPECT_EQ(known.levelsFor("sink", {20000, 20000, 20000}, 0.5F), (ChannelLevels{32768, 32768, 32768}));
}
