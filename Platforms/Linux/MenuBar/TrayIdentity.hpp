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

/// Reads it from `procFolder` ("/proc"; another one in tests). No more than a few kilobytes are read.
ProcessIdentity processIdentity(int pid, const std::string& procFolder = "/proc");

/// The stable name of an item for the remembered order: "sni:<id>/<program>". The process number is taken
/// out of an id that carries it, control characters are replaced, and the whole is cut to 200 bytes at a
/// character's border. Ids that every program of a family shares are told apart by the program.
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
