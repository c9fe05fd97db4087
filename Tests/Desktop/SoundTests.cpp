// The sound adapter before a real server: PulseAudio's in one run, PipeWire's in the other. What pactl says
// is the second opinion.

#include "Platforms/Linux/Sound/PulseAudioHardware.hpp"
#include "Tests/Desktop/Desktop.hpp"
#include "Tests/Desktop/GuestSound.hpp"
#include "Tests/Desktop/Memory.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <optional>
#include <pulse/pulseaudio.h>
#include <sstream>
#include <string>
#include <vector>

using namespace Desktop;
using Linux::PulseAudioHardware;
using Tonvik::AudioObjectId;
using Tonvik::Direction;
using Tonvik::noDevice;
using Tonvik::transportCode;

namespace {

using Clock = std::chrono::steady_clock;
using Environment = Program::Environment;

constexpr Seconds moment{0.5};    // long enough for what must not happen to happen
constexpr double longestCall = 5; // milliseconds

/// A program of its own to the server, with no time to lose.
class QuickClient {
public:
    QuickClient()
        : loop_(pa_mainloop_new())
        , context_(pa_context_new(pa_mainloop_get_api(loop_), "Quick")) {
        pa_context_connect(context_, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr);
        while (pa_context_get_state(context_) != PA_CONTEXT_READY &&
               PA_CONTEXT_IS_GOOD(pa_context_get_state(context_))) {
            pa_mainloop_iterate(loop_, 1, nullptr);
        }
    }
    QuickClient(const QuickClient&) = delete;
    QuickClient& operator=(const QuickClient&) = delete;
    ~QuickClient() {
        pa_context_disconnect(context_);
        pa_context_unref(context_);
        pa_mainloop_free(loop_);
    }

    void setLevel(const char* sink, double level) {
        pa_cvolume volume;
        pa_cvolume_set(&volume, 2, static_cast<pa_volume_t>(level * PA_VOLUME_NORM));
        pa_operation* operation =
            pa_context_set_sink_volume_by_name(context_, sink, &volume, nullptr, nullptr);
        while (pa_operation_get_state(operation) == PA_OPERATION_RUNNING) {
            pa_mainloop_iterate(loop_, 1, nullptr);
        }
        pa_operation_unref(operation);
    }

private:
    pa_mainloop* loop_;
    pa_context* context_;
};

/// The words of PulseAudio's harness and PipeWire's differ by what the latter takes for a space.
std::string spaced(std::string name) {
    std::ranges::replace(name, '_', ' ');
    return name;
}

AudioObjectId find(PulseAudioHardware& hardware, const std::string& name) {
    for (const AudioObjectId id : hardware.devices().value_or(std::vector<AudioObjectId>())) {
        if (spaced(hardware.name(id).value_or("")) == spaced(name)) {
            return id;
        }
    }
    return noDevice;
}

bool isThere(PulseAudioHardware& hardware) {
    return hardware.devices().has_value();
}

/// All that a look of the suite asks.
void askAll(PulseAudioHardware& hardware) {
    for (const AudioObjectId id : hardware.devices().value_or(std::vector<AudioObjectId>())) {
        hardware.name(id);
        hardware.transport(id);
        hardware.streams(id, Direction::output);
        hardware.streams(id, Direction::input);
    }
    hardware.defaultDevice(Direction::input);
    const AudioObjectId output = hardware.defaultDevice(Direction::output).value_or(noDevice);
    hardware.volume(output);
    hardware.mute(output);
}

/// Milliseconds that these calls took, at the 90th of a hundred times: whoever waits for a server does so
/// each time, and the machine may keep us now and then.
double usualTime(const std::function<void()>& calls) {
    std::vector<double> times;
    for (int round = 0; round < 100; ++round) {
        const auto start = Clock::now();
        calls();
        times.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
    }
    std::ranges::sort(times);
    return times[90];
}

} // namespace

class Sound : public testing::Test {
protected:
    void SetUp() override {
        resetSound();
        ASSERT_TRUE(until([&] { return find(hardware, "Test Speakers") != noDevice; }));
        speakers = find(hardware, "Test Speakers");
        headset = find(hardware, "Test Headset");
        mic = find(hardware, "Test Microphone");
        ASSERT_TRUE(until([&] {
            return hardware.defaultDevice(Direction::output) == speakers &&
                   hardware.defaultDevice(Direction::input) == mic && hardware.volume(speakers) == 1.0F &&
                   hardware.mute(speakers) == 0U;
        }));
    }

    /// Both channels of the speakers, in steps of 65536 to 100 %.
    static std::pair<int, int> levels() {
        std::istringstream words(pactl({"get-sink-volume", "speakers"}));
        std::vector<int> found;
        for (std::string word; words >> word;) {
            if (std::ranges::all_of(word, ::isdigit)) {
                found.push_back(std::stoi(word));
            }
        }
        return found.size() == 2 ? std::pair(found[0], found[1]) : std::pair(-1, -1);
    }

    static bool areNear(std::pair<int, int> levels, int left, int right) {
        return std::abs(levels.first - left) <= 8 && std::abs(levels.second - right) <= 8;
    }

    PulseAudioHardware hardware;
    AudioObjectId speakers = noDevice;
    AudioObjectId headset = noDevice;
    AudioObjectId mic = noDevice;
};

TEST_F(Sound, ListsWhatIsThere) {
    EXPECT_EQ(hardware.devices()->size(), 3U); // and none of the monitors
    EXPECT_EQ(hardware.streams(speakers, Direction::output), std::vector<std::uint32_t>{2});
    EXPECT_EQ(hardware.streams(speakers, Direction::input), std::vector<std::uint32_t>{});
    EXPECT_EQ(hardware.streams(headset, Direction::output), std::vector<std::uint32_t>{1});
    EXPECT_EQ(hardware.streams(mic, Direction::input), std::vector<std::uint32_t>{1});
    EXPECT_EQ(hardware.streams(mic, Direction::output), std::vector<std::uint32_t>{});
    EXPECT_EQ(hardware.transport(headset), transportCode("blue"));
    // PulseAudio's harness says that they are on the board; PipeWire's says nothing of a bus.
    EXPECT_EQ(hardware.transport(speakers), isPipeWire() ? transportCode("virt") : transportCode("bltn"));
    EXPECT_TRUE(hardware.hasVolume(speakers));
    EXPECT_TRUE(hardware.hasMute(speakers));
    EXPECT_FALSE(hardware.hasVolume(mic));
    EXPECT_FALSE(hardware.hasMute(mic));
}

TEST_F(Sound, TheFirstQuestionIsAnswered) {
    int answered = 0;
    for (int time = 0; time < 20; ++time) {
        PulseAudioHardware fresh;
        answered += fresh.devices().has_value() ? 1 : 0;
    }
    EXPECT_GE(answered, 10); // a busy machine may be too slow for some
}

TEST_F(Sound, AnUnknownDeviceIsNoDevice) {
    for (const AudioObjectId id : {noDevice, AudioObjectId{4'000'000'000}}) {
        EXPECT_FALSE(hardware.name(id));
        EXPECT_FALSE(hardware.transport(id));
        EXPECT_FALSE(hardware.streams(id, Direction::output));
        EXPECT_FALSE(hardware.volume(id));
        EXPECT_FALSE(hardware.mute(id));
        EXPECT_FALSE(hardware.setDefaultDevice(Direction::output, id));
        EXPECT_FALSE(hardware.setVolume(id, 0.5F));
        EXPECT_FALSE(hardware.setMute(id, 1));
    }
    EXPECT_FALSE(hardware.setDefaultDevice(Direction::input, speakers)); // which do not record
}

TEST_F(Sound, SetsTheDefaults) {
    const SoundModule second({isPipeWire() ? "module-null-sink" : "module-null-source",
                              isPipeWire() ? "media.class=Audio/Source/Virtual" : "description=Second",
                              isPipeWire() ? "sink_name=second" : "source_name=second"});
    EXPECT_TRUE(hardware.setDefaultDevice(Direction::output, headset));
    EXPECT_EQ(hardware.defaultDevice(Direction::output), headset); // at once
    EXPECT_TRUE(until([] { return pactl({"get-default-sink"}) == "headset"; }));
    EXPECT_TRUE(holds([&] { return hardware.defaultDevice(Direction::output) == headset; }, Seconds{1.5}));

    ASSERT_TRUE(until([&] { return hardware.devices()->size() == 4; }));
    const AudioObjectId other = hardware.devices()->back();
    EXPECT_TRUE(hardware.setDefaultDevice(Direction::input, other));
    EXPECT_EQ(hardware.defaultDevice(Direction::input), other);
    EXPECT_TRUE(until([] { return pactl({"get-default-source"}) == "second"; }));
}

TEST_F(Sound, SeesADefaultThatWasSetElsewhere) {
    pactl({"set-default-sink", "headset"});
    EXPECT_TRUE(until([&] { return hardware.defaultDevice(Direction::output) == headset; }));
}

TEST_F(Sound, A2_AMonitorIsNoDefault) {
    pactl({"set-default-source", "speakers.monitor"});
    if (isPipeWire()) { // does not take one; there it becomes one where nothing else records
        EXPECT_TRUE(until([&] { return hardware.defaultDevice(Direction::input) != speakers; }));
        return;
    }
    EXPECT_TRUE(until([&] { return !hardware.defaultDevice(Direction::input); }));
}

TEST_F(Sound, A3_AReturningDeviceIsTheSameAndTheDefaultAgain) {
    auto module = std::make_unique<SoundModule>(nullSink("plug", "Plug"));
    ASSERT_TRUE(until([&] { return find(hardware, "Plug") != noDevice; }));
    const AudioObjectId plug = find(hardware, "Plug");
    ASSERT_TRUE(hardware.setDefaultDevice(Direction::output, plug));
    ASSERT_TRUE(until([] { return pactl({"get-default-sink"}) == "plug"; }));

    module->unload();
    ASSERT_TRUE(until([&] { return !hardware.name(plug); }));
    EXPECT_NE(hardware.defaultDevice(Direction::output), plug);
    EXPECT_FALSE(hardware.setDefaultDevice(Direction::output, plug));

    module = std::make_unique<SoundModule>(nullSink("plug", "Plug"));
    ASSERT_TRUE(until([&] { return find(hardware, "Plug") != noDevice; }));
    EXPECT_EQ(find(hardware, "Plug"), plug);
    const std::string decided = pactl({"get-default-sink"}); // ours to follow, not to help
    EXPECT_TRUE(until([&] {
        return (hardware.defaultDevice(Direction::output) == plug) == (pactl({"get-default-sink"}) == "plug");
    })) << decided;
}

TEST_F(Sound, A4_ALevelAboveAHundredPercentReadsAsOne) {
    pactl({"set-sink-volume", "speakers", "80%"});
    ASSERT_TRUE(until([&] { return hardware.volume(speakers) < 0.9F; }));
    pactl({"set-sink-volume", "speakers", "150%"});
    EXPECT_TRUE(until([&] { return hardware.volume(speakers) == 1.0F; }));
    EXPECT_TRUE(holds([&] { return areNear(levels(), 98304, 98304); }, moment)); // looking changes nothing
}

TEST_F(Sound, A5_TheBalanceIsKept) {
    pactl({"set-sink-volume", "speakers", "40%", "80%"});
    ASSERT_TRUE(until([&] { return std::abs(hardware.volume(speakers).value_or(0) - 0.8F) < 0.01F; }));
    EXPECT_TRUE(hardware.setVolume(speakers, 0.5F));
    EXPECT_EQ(hardware.volume(speakers), 0.5F); // at once
    EXPECT_TRUE(until([&] { return areNear(levels(), 16384, 32768); }));
    EXPECT_TRUE(holds([&] { return std::abs(*hardware.volume(speakers) - 0.5F) < 0.001F; }, Seconds{1.5}));
}

TEST_F(Sound, A6_TheBalanceSurvivesSilence) {
    pactl({"set-sink-volume", "speakers", "40%", "80%"});
    ASSERT_TRUE(until([&] { return std::abs(hardware.volume(speakers).value_or(0) - 0.8F) < 0.01F; }));
    for (const float low : {0.0001F, 0.0F}) { // and rounding, where next to nothing is left of it
        EXPECT_TRUE(hardware.setVolume(speakers, low));
        EXPECT_TRUE(until([&] { return levels().second < 10; }));
        EXPECT_TRUE(until([&] { return *hardware.volume(speakers) < 0.001F; }));
    }
    EXPECT_TRUE(holds([&] { return hardware.volume(speakers) == 0.0F; }, Seconds{1.5}));
    EXPECT_TRUE(hardware.setVolume(speakers, 1.0F));
    EXPECT_TRUE(until([&] { return areNear(levels(), 32768, 65536); }));
}

TEST_F(Sound, A7_MuteAndLevelAreTwoThings) {
    EXPECT_TRUE(hardware.setMute(speakers, 1));
    EXPECT_EQ(hardware.mute(speakers), 1U); // at once
    EXPECT_TRUE(hardware.setVolume(speakers, 0.3F));
    EXPECT_TRUE(until([&] { return areNear(levels(), 19661, 19661); }));
    EXPECT_TRUE(until([] { return pactl({"get-sink-mute", "speakers"}) == "Mute: yes"; }));
    EXPECT_EQ(hardware.mute(speakers), 1U);
    pactl({"set-sink-mute", "speakers", "toggle"});
    EXPECT_TRUE(until([&] { return hardware.mute(speakers) == 0U; }));
    EXPECT_TRUE(hardware.setMute(speakers, 1));
    EXPECT_TRUE(until([] { return pactl({"get-sink-mute", "speakers"}) == "Mute: yes"; }));
}

TEST_F(Sound, A8_NamesAreWhole) {
    const std::string name = "Динамики 喇叭 🎧 مكبر";
    const std::string longName(4096, 'x');
    const SoundModule foreign(nullSink("foreign", name));
    const SoundModule blank(nullSink("blank", ""));
    const SoundModule twin(nullSink("twin", name));
    const SoundModule wide(nullSink("wide", longName));
    ASSERT_TRUE(foreign.isLoaded() && blank.isLoaded() && twin.isLoaded() && wide.isLoaded());
    ASSERT_TRUE(until([&] { return hardware.devices()->size() == 7; }));
    EXPECT_NE(find(hardware, name + " (foreign)"), noDevice);
    EXPECT_NE(find(hardware, name + " (twin)"), noDevice);
    EXPECT_NE(find(hardware, longName), noDevice);
    int unnamed = 0;
    const auto devices = *hardware.devices();
    for (const AudioObjectId id : devices) {
        unnamed += hardware.name(id).value_or("").empty() ? 1 : 0;
    }
    EXPECT_EQ(unnamed, 0);
}

TEST_F(Sound, A12_ADeviceThatIsGoneIsLeftAlone) {
    SoundModule module(nullSink("fleeting", "Fleeting"));
    ASSERT_TRUE(until([&] { return find(hardware, "Fleeting") != noDevice; }));
    const AudioObjectId fleeting = find(hardware, "Fleeting");
    module.unload(); // the adapter may not know yet
    hardware.setDefaultDevice(Direction::output, fleeting);
    hardware.setVolume(fleeting, 0.2F);
    hardware.setMute(fleeting, 1);
    EXPECT_TRUE(until([&] { return hardware.defaultDevice(Direction::output) == speakers; }));
    EXPECT_TRUE(until([&] { return !hardware.name(fleeting); }));
    EXPECT_EQ(pactl({"get-default-sink"}), "speakers");
}

TEST_F(Sound, A13_OfManyLevelsTheLastOneStays) {
    for (int step = 0; step <= 200; ++step) {
        EXPECT_TRUE(hardware.setVolume(speakers, static_cast<float>(step) / 400));
        EXPECT_EQ(hardware.volume(speakers), static_cast<float>(step) / 400);
    }
    EXPECT_TRUE(until([&] { return areNear(levels(), 32768, 32768); }));
    EXPECT_TRUE(holds([&] { return std::abs(*hardware.volume(speakers) - 0.5F) < 0.001F; }, Seconds{1.5}));
}

TEST_F(Sound, A14_ManyChangesAreFollowed) {
    QuickClient other;
    double longest = 0;
    for (int change = 0; change < 500; ++change) {
        other.setLevel("speakers", change % 2 ? 0.25 : 0.75);
        const auto start = Clock::now();
        askAll(hardware);
        longest = std::max(longest, std::chrono::duration<double, std::milli>(Clock::now() - start).count());
    }
    EXPECT_LT(longest, 100); // the machine's, not the server's
    EXPECT_TRUE(until([&] { return std::abs(*hardware.volume(speakers) - 0.25F) < 0.01F; }, Seconds{2}));
}

TEST_F(Sound, A1_AServerThatComesLaterIsFound) {
    SoundServer server;
    server.kill();
    PulseAudioHardware late(server.address());
    EXPECT_LT(usualTime([&] { askAll(late); }), longestCall);
    EXPECT_FALSE(late.devices());
    EXPECT_FALSE(late.defaultDevice(Direction::output));
    server.start();
    EXPECT_TRUE(until([&] { return isThere(late) && !late.devices()->empty(); }));
}

TEST_F(Sound, A1_AServerThatRestartsIsFoundAgain) {
    SoundServer server;
    PulseAudioHardware restarted(server.address());
    ASSERT_TRUE(until([&] { return isThere(restarted) && !restarted.devices()->empty(); }));
    const auto before = *restarted.devices();
    server.kill();
    EXPECT_TRUE(until([&] { return !isThere(restarted); }, Seconds{2}));
    EXPECT_LT(usualTime([&] { askAll(restarted); }), longestCall);
    EXPECT_FALSE(restarted.setVolume(before.front(), 0.5F));
    server.start();
    ASSERT_TRUE(until([&] { return server.answers(); }));
    EXPECT_TRUE(until([&] { return isThere(restarted) && *restarted.devices() == before; }, Seconds{6}));
}

TEST_F(Sound, A1_AServerThatHangsKeepsNobody) {
    SoundServer server;
    auto hung = std::make_unique<PulseAudioHardware>(server.address());
    ASSERT_TRUE(until([&] { return isThere(*hung) && !hung->devices()->empty(); }));
    const AudioObjectId output = hung->defaultDevice(Direction::output).value_or(hung->devices()->front());
    server.send(SIGSTOP);
    EXPECT_LT(usualTime([&] {
                  askAll(*hung);
                  hung->setVolume(output, 0.4F);
                  hung->setMute(output, 1);
                  hung->setDefaultDevice(Direction::output, output);
              }),
              longestCall);
    EXPECT_TRUE(until([&] { return !isThere(*hung); }, Seconds{8}));
    EXPECT_LT(usualTime([&] { askAll(*hung); }), longestCall);
    server.send(SIGCONT);
    EXPECT_TRUE(until([&] { return isThere(*hung); }, Seconds{4}));

    server.send(SIGSTOP);
    hung->setVolume(output, 0.6F);
    const auto start = Clock::now();
    hung.reset();
    EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(150)); // 100, and what a busy machine adds

    // One that cannot even be got to know is waited for once, and shortly.
    PulseAudioHardware silent(server.address());
    const auto asked = Clock::now();
    EXPECT_FALSE(silent.devices());
    EXPECT_LT(Clock::now() - asked, std::chrono::milliseconds(80));
    EXPECT_LT(usualTime([&] { askAll(silent); }), longestCall);
    server.send(SIGCONT);
}

TEST_F(Sound, A15_TheThreadEndsWhenNobodyAsks) {
    const int threads = holdings(getpid()).threads;
    PulseAudioHardware second;
    second.devices();
    EXPECT_TRUE(until([&] { return isThere(second); }));
    EXPECT_EQ(holdings(getpid()).threads, threads + 1);
    const auto start = Clock::now();
    // The fixture's own is asked on, so that only one of them ends.
    EXPECT_TRUE(until([&] { return isThere(hardware) && holdings(getpid()).threads == threads; }));
    EXPECT_GT(Clock::now() - start, std::chrono::seconds(5));
    EXPECT_TRUE(until([&] { return isThere(second); })); // and begins again
}

TEST_F(Sound, A15_AThousandLivesLeaveNothing) {
    const auto live = [&](int times) {
        for (int time = 0; time < times; ++time) {
            PulseAudioHardware fresh;
            askAll(fresh);
            fresh.setVolume(speakers, 1.0F);
        }
    };
    live(50);
    const Holdings before = holdings(getpid());
    live(1000);
    const Holdings after = holdings(getpid());
    EXPECT_LE(after.threads, before.threads);
    EXPECT_LE(after.descriptors, before.descriptors);
    EXPECT_LT(after.anonymous, before.anonymous + (std::uint64_t{4} << 20));
}

TEST_F(Sound, WhatIsSetLastReachesTheServer) {
    {
        PulseAudioHardware fresh;
        ASSERT_TRUE(until([&] { return find(fresh, "Test Speakers") != noDevice; }));
        fresh.setVolume(find(fresh, "Test Speakers"), 0.25F);
    }
    EXPECT_TRUE(until([&] { return areNear(levels(), 16384, 16384); }));
}

TEST_F(Sound, ManyDevicesAreListed) {
    // PulseAudio's server has descriptors for about sixty.
    const std::size_t count = isPipeWire() ? 200 : 50;
    std::vector<std::unique_ptr<SoundModule>> modules;
    for (std::size_t number = 0; number < count; ++number) {
        const std::string name = "many" + std::to_string(number);
        modules.push_back(std::make_unique<SoundModule>(nullSink(name, "Many", 1)));
        ASSERT_TRUE(modules.back()->isLoaded()) << number;
    }
    ASSERT_TRUE(
        until([&] { return hardware.devices().value_or(std::vector<AudioObjectId>()).size() == count + 3; }));
    EXPECT_NE(find(hardware, "Many (many47)"), noDevice); // equal names are told apart
    EXPECT_LT(usualTime([&] { askAll(hardware); }), longestCall);
}
