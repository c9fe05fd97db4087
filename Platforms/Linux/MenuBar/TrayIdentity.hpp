#pragma once

#include <string>
#include <string_view>

namespace Linux {

/// What a process is, for telling two programs apart that give the same name.
struct ProcessIdentity {
    int pid = 0;
    std::string program; // file name of the executable, of the script an interpreter runs, or a sandboxed
                         // application's identifier; empty where it cannot be told
    bool operator==(const ProcessIdentity&) const = default;
};

/// Reads it from `procFolder` ("/proc"; another one in tests). No more than 16 KB are read. From any thread;
/// a process that is stuck can make its command line slow to read.
ProcessIdentity processIdentity(int pid, const std::string& procFolder = "/proc");

/// The stable name of an item for the remembered order: "sni:<id>/<program>", or "sni:<id>" where the program
/// cannot be told. The process number is taken out of an id that carries it as a whole number, control
/// characters and what is no UTF-8 are replaced, and the whole is cut to 200 bytes at a character's border;
/// an id too long loses its end, so that the program is left. Ids that every program of a family shares are
/// told apart by the program.
std::string trayIdentity(std::string_view id, const ProcessIdentity& process);

/// `identity`, or with "#2", "#3" … where that is taken.
std::string distinctIdentity(const std::string& identity, const auto& isTaken) {
    std::string candidate = identity;
    for (int number = 2; isTaken(candidate); ++number) {
        candidate = identity + "#" + std::to_string(number);
    }
    return candidate;
}

} // namespace Linux
