#include "Benchmarks/Programs.hpp"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>

namespace Bench {

namespace {

constexpr int patience = 10'000; // milliseconds
constexpr double endingPatience = 3;

std::string newHome(const std::vector<std::string>& spices) {
    const char* sessionHome = std::getenv("HOME");
    std::string home = std::string(sessionHome ? sessionHome : "/tmp") + "/program.XXXXXX";
    if (!mkdtemp(home.data())) {
        fail("no folder can be made in " + home);
    }
    std::filesystem::create_directories(home + "/.config/zorbel");
    std::ofstream settings(home + "/.config/zorbel/settings.json");
    settings << R"({"app.hasLaunched": true, "sivrel.autoCollapse": 0)";
    for (const std::string& spice : spices) {
        settings << R"(, "spice.)" << spice << R"(.enabled": true)";
    }
    settings << "}\n";
    return home;
}

void moveInto(const std::string& home) {
    setenv("HOME", home.c_str(), 1);
    setenv("XDG_CONFIG_HOME", (home + "/.config").c_str(), 1);
    setenv("XDG_DATA_HOME", (home + "/.local/share").c_str(), 1);
    setenv("XDG_CACHE_HOME", (home + "/.cache").c_str(), 1);
    setenv("XDG_STATE_HOME", (home + "/.local/state").c_str(), 1);
    setenv("XDG_RUNTIME_DIR", home.c_str(), 1);
}

} // namespace

Program::Program(const std::vector<std::string>& command, const std::vector<std::string>& spices)
    : Program(command, newHome(spices)) {
}

Program::Program(const std::vector<std::string>& command, const Program& neighbour)
    : Program(command, neighbour.home_) {
}

Program::Program(const std::vector<std::string>& command, std::string home)
    : home_(std::move(home)) {
    std::vector<char*> arguments;
    for (const std::string& word : command) {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        fail("no pipe");
    }
    spawned_ = now();
    process_ = fork();
    if (process_ == 0) {
        dup2(ends[1], STDOUT_FILENO);
        moveInto(home_);
        execvp(arguments.front(), arguments.data());
        _exit(127);
    }
    close(ends[1]);
    output_ = ends[0];
}

Program::~Program() {
    kill(process_, SIGTERM);
    const Nanoseconds deadline = now() + static_cast<Nanoseconds>(endingPatience * 1e9);
    while (waitpid(process_, nullptr, WNOHANG) == 0) {
        if (now() > deadline) {
            kill(process_, SIGKILL);
        }
        pause(0.005);
    }
    close(output_);
}

bool Program::hasLine(int milliseconds) {
    while (read_.find('\n') == std::string::npos) {
        pollfd readable{.fd = output_, .events = POLLIN, .revents = 0};
        const int ready = poll(&readable, 1, milliseconds);
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        char bytes[512];
        const ssize_t length = ready > 0 ? read(output_, bytes, sizeof bytes) : 0;
        if (length <= 0) {
            return false;
        }
        read_.append(bytes, static_cast<std::size_t>(length));
    }
    return true;
}

std::string Program::line() {
    if (!hasLine(patience)) {
        fail("a program ended or said nothing for ten seconds");
    }
    const std::size_t end = read_.find('\n');
    std::string first = read_.substr(0, end);
    read_.erase(0, end + 1);
    return first;
}

Tray::Tray()
    : host_({TRAY_HOST}) {
    if (host_.line() != "ready") {
        fail("the tray did not start");
    }
}

Nanoseconds Tray::itemRegistered() {
    constexpr std::string_view label = "registered ";
    for (;;) {
        if (const std::string line = host_.line(); line.starts_with(label)) {
            return std::stoll(line.substr(label.size()));
        }
    }
}

int Tray::picturesChanged() {
    int count = 0;
    while (host_.hasLine()) {
        count += host_.line().starts_with("picture ") ? 1 : 0;
    }
    return count;
}

std::vector<std::string> zorbel() {
    return {ZORBEL};
}

std::vector<std::string> bareTray() {
    return {BARE_TRAY};
}

void run(std::vector<std::string> words) {
    std::vector<char*> arguments;
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    pid_t process = 0;
    const int error = posix_spawnp(&process, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    if (error != 0 || waitpid(process, &status, 0) != process || status != 0) {
        fail(words[0] + " did not do its work");
    }
}

void require(const std::string& program) {
    const char* path = std::getenv("PATH");
    std::istringstream folders(path ? path : "");
    for (std::string folder; std::getline(folders, folder, ':');) {
        if (access((folder + "/" + program).c_str(), X_OK) == 0) {
            return;
        }
    }
    fail("there is no " + program + " to measure beside");
}

} // namespace Bench
