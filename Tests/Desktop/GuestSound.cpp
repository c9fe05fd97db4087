#include "Tests/Desktop/GuestSound.hpp"

#include <algorithm>
#include <cctype>
#include <filesystem>

namespace Desktop {

std::string pactl(std::vector<std::string> arguments, const Program::Environment& environment) {
    arguments.insert(arguments.begin(), "pactl");
    Program program(arguments, environment);
    program.waitForEnd();
    std::string output = program.output();
    while (output.ends_with('\n')) {
        output.pop_back();
    }
    return output;
}

bool isPipeWire() {
    static const bool result = pactl({"info"}).find("PipeWire") != std::string::npos;
    return result;
}

void resetSound() {
    pactl({"set-default-sink", "speakers"});
    pactl({"set-default-source", "mic"});
    for (const char* sink : {"speakers", "headset"}) {
        pactl({"set-sink-mute", sink, "0"});
        pactl({"set-sink-volume", sink, "100%"});
    }
}

SoundModule::SoundModule(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "load-module");
    number_ = pactl(arguments);
}

bool SoundModule::isLoaded() const {
    return !number_.empty() && std::ranges::all_of(number_, ::isdigit);
}

void SoundModule::unload() {
    if (isLoaded()) {
        pactl({"unload-module", number_});
    }
    number_.clear();
}

std::vector<std::string> nullSink(const std::string& name, const std::string& description, int channels) {
    return {"module-null-sink", "sink_name=" + name, "channels=" + std::to_string(channels),
            "sink_properties=\"device.description='" + description + "'\""};
}

void SoundServer::start() {
    const std::string folder = folder_.path().string();
    const std::vector<std::string> command =
        isPipeWire()
            ? std::vector<std::string>{"pipewire-pulse"}
            : std::vector<std::string>{"pulseaudio",
                                       "-n",
                                       "--daemonize=no",
                                       "--use-pid-file=no",
                                       "--exit-idle-time=-1",
                                       "--disable-shm=yes",
                                       "--load=module-null-sink sink_name=own",
                                       "--load=module-null-source source_name=ownmic",
                                       "--load=module-native-protocol-unix socket=" + folder + "/native"};
    // On the session's bus there can be only one.
    program_ = std::make_unique<Program>(
        command, Program::Environment{{"PULSE_RUNTIME_PATH", folder},
                                      {"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + folder + "/none"}});
}

void SoundServer::kill() {
    program_.reset();
    std::filesystem::remove(folder_.path() / "native");
}

bool SoundServer::answers() const {
    return pactl({"info"}, environment()).find("Server Name") != std::string::npos;
}

} // namespace Desktop
