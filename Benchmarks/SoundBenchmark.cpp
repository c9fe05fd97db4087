// What switching sound costs: the main thread's part of one look at twenty devices, and a switch of the
// default output until the server reports it to another program, beside pactl as a whole process.

#include "Benchmarks/Programs.hpp"
#include "Platforms/Linux/Sound/PulseAudioHardware.hpp"

#include <cstdio>
#include <functional>
#include <pulse/pulseaudio.h>
#include <string>
#include <vector>

namespace {

using namespace Bench;
using Tonvik::AudioObjectId;
using Tonvik::Direction;

constexpr double longestLook = 0.2;  // milliseconds
constexpr double longestSwitch = 20; // milliseconds
constexpr double mostOfPeer = 1;     // of pactl's time
constexpr std::size_t deviceCount = 20;
constexpr double longestWait = 5; // seconds, after which nothing comes any more

/// Another program that hears of changes, on a thread of its own.
class Witness {
public:
    Witness()
        : loop_(pa_threaded_mainloop_new())
        , context_(pa_context_new(pa_threaded_mainloop_get_api(loop_), "Witness")) {
        pa_context_set_state_callback(
            context_,
            [](pa_context* context, void* witness) {
                if (pa_context_get_state(context) == PA_CONTEXT_READY) {
                    static_cast<Witness*>(witness)->begin();
                }
            },
            this);
        pa_context_connect(context_, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr);
        pa_threaded_mainloop_start(loop_);
    }
    Witness(const Witness&) = delete;
    Witness& operator=(const Witness&) = delete;
    ~Witness() {
        pa_threaded_mainloop_stop(loop_);
        pa_context_disconnect(context_);
        pa_context_unref(context_);
        pa_threaded_mainloop_free(loop_);
    }

    /// When it heard that this is the default output.
    Nanoseconds heard(const std::string& sink) {
        const Nanoseconds start = now();
        while (true) {
            pa_threaded_mainloop_lock(loop_);
            const bool isHeard = sink_ == sink;
            const Nanoseconds moment = moment_;
            pa_threaded_mainloop_unlock(loop_);
            if (isHeard) {
                return moment;
            }
            if (milliseconds(now() - start) > longestWait * 1000) {
                fail("the server does not report " + sink + " as the default");
            }
            pause(0.0005);
        }
    }

private:
    void begin() {
        pa_context_set_subscribe_callback(
            context_,
            [](pa_context*, pa_subscription_event_type_t, std::uint32_t, void* witness) {
                static_cast<Witness*>(witness)->ask();
            },
            this);
        pa_operation_unref(pa_context_subscribe(context_, PA_SUBSCRIPTION_MASK_SERVER, nullptr, nullptr));
        ask();
    }
    void ask() {
        pa_operation_unref(pa_context_get_server_info(
            context_,
            [](pa_context*, const pa_server_info* info, void* data) {
                auto& witness = *static_cast<Witness*>(data);
                if (info && info->default_sink_name && witness.sink_ != info->default_sink_name) {
                    witness.sink_ = info->default_sink_name;
                    witness.moment_ = now();
                }
            },
            this));
    }

    pa_threaded_mainloop* loop_;
    pa_context* context_;
    std::string sink_; // the last default it heard of; guarded by the loop's lock, as is its moment
    Nanoseconds moment_ = 0;
};

std::vector<AudioObjectId> devices(Linux::PulseAudioHardware& hardware) {
    return hardware.devices().value_or(std::vector<AudioObjectId>());
}

AudioObjectId find(Linux::PulseAudioHardware& hardware, const std::string& name) {
    for (const AudioObjectId id : devices(hardware)) {
        if (hardware.name(id) == name) {
            return id;
        }
    }
    fail("there is no " + name);
}

/// All that Tonvik asks every two seconds.
void look(Linux::PulseAudioHardware& hardware) {
    const auto ids = devices(hardware);
    const AudioObjectId output = hardware.defaultDevice(Direction::output).value_or(Tonvik::noDevice);
    hardware.defaultDevice(Direction::input);
    for (const AudioObjectId id : ids) {
        hardware.name(id);
        hardware.transport(id);
        hardware.streams(id, Direction::output);
        hardware.streams(id, Direction::input);
    }
    hardware.hasVolume(output);
    hardware.volume(output);
    hardware.hasMute(output);
    hardware.mute(output);
}

/// Milliseconds from the request to the report, back and forth.
Samples switchTimes(Witness& witness, int switches, const std::function<void(bool)>& toHeadset) {
    Samples times;
    for (int index = 0; index < switches; ++index) {
        const bool isToHeadset = index % 2 == 0;
        pause(0.2); // the last one has settled
        const Nanoseconds start = now();
        toHeadset(isToHeadset);
        times.add(milliseconds(witness.heard(isToHeadset ? "headset" : "speakers") - start));
    }
    return times;
}

} // namespace

int main() {
    const int looks = countOrQuick(2000, 200);
    const int switches = countOrQuick(100, 10);

    for (std::size_t number = 3; number < deviceCount; ++number) { // the session has three
        run({"pactl", "load-module", "module-null-sink", "sink_name=extra" + std::to_string(number),
             "sink_properties=device.description=Extra" + std::to_string(number)});
    }
    Linux::PulseAudioHardware hardware;
    for (int wait = 0; devices(hardware).size() != deviceCount; ++wait) {
        if (wait > 100) {
            fail("the devices are not there");
        }
        pause(0.05);
    }

    progress("looking at the devices");
    Samples lookTimes;
    for (int index = 0; index < looks; ++index) {
        const Nanoseconds start = now();
        look(hardware);
        lookTimes.add(milliseconds(now() - start));
        pause(0.001);
    }

    Witness witness;
    witness.heard("speakers");
    const AudioObjectId speakers = find(hardware, "Test Speakers");
    const AudioObjectId headset = find(hardware, "Test Headset");
    progress("switching the default output");
    const Samples own = switchTimes(witness, switches, [&](bool isToHeadset) {
        if (!hardware.setDefaultDevice(Direction::output, isToHeadset ? headset : speakers)) {
            fail("the default cannot be set");
        }
    });
    progress("switching it with pactl");
    const Samples peer = switchTimes(witness, switches, [](bool isToHeadset) {
        run({"pactl", "set-default-sink", isToHeadset ? "headset" : "speakers"});
    });

    std::printf("\nMedian (least–most) of %d looks and of %d switches each.\n\n", looks, switches);
    Table table({"", "", "goal"});
    table.add({"one look at 20 devices, ms of the main thread", lookTimes.text(4), "≤ 0.2"});
    table.add({"switching the default until it is reported, ms", own.text(2), "≤ 20"});
    table.add({"pactl set-default-sink, ms", peer.text(2), ""});
    table.print();

    Verdicts verdicts;
    verdicts.check("sound.look", lookTimes.median() / longestLook, 1);
    verdicts.check("sound.pactl", own.median() / peer.median(), mostOfPeer);
    verdicts.check("sound", own.median() / longestSwitch, 1);
    return verdicts.exitStatus();
}
