#pragma once

#include "Tests/Desktop/Desktop.hpp"

#include <memory>
#include <string>
#include <vector>

namespace Desktop {

/// What pactl prints, without the line's end.
std::string pactl(std::vector<std::string> arguments, const Program::Environment& environment = {});

/// Whether the session's sound server is PipeWire's.
bool isPipeWire();

/// The session's devices as they began: the speakers and the microphone in use, all at 100 % and to be heard.
void resetSound();

/// A module of the session's server, unloaded at the end.
class SoundModule {
public:
    explicit SoundModule(std::vector<std::string> arguments);
    SoundModule(const SoundModule&) = delete;
    SoundModule& operator=(const SoundModule&) = delete;
    ~SoundModule() { unload(); }

    bool isLoaded() const;
    void unload();

private:
    std::string number_;
};

/// The arguments of a module that is an output and leads nowhere.
std::vector<std::string> nullSink(const std::string& name, const std::string& description, int channels = 2);

/// A server of the test's own on a socket of its own, so that it can be stopped and killed. PipeWire's serves
/// the session's devices; PulseAudio's has a sink and a source made up for it, "own" and "ownmic".
class SoundServer {
public:
    SoundServer() { start(); }

    std::string address() const { return "unix:" + (folder_.path() / "native").string(); }
    Program::Environment environment() const { return {{"PULSE_SERVER", address()}}; }

    void start();
    void kill();
    void send(int signal) const { program_->send(signal); }
    bool answers() const;

private:
    TemporaryFolder folder_;
    std::unique_ptr<Program> program_;
};

} // namespace Desktop
