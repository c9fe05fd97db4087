#pragma once

#include "Benchmarks/Measure.hpp"

#include <string>
#include <vector>

namespace Bench {

/// A program that runs until this object goes. It has a home folder of its own, inside that of the desktop
/// session, in which zorbel has been launched before, so that it starts into the menu bar alone.
class Program {
public:
    /// `spices`: those of zorbel that are on, beside the four that are by themselves.
    explicit Program(const std::vector<std::string>& command, const std::vector<std::string>& spices = {});
    /// In the same home folder as a program that runs: what it is told with.
    Program(const std::vector<std::string>& command, const Program& neighbour);
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;
    ~Program();

    pid_t process() const { return process_; }
    Nanoseconds spawned() const { return spawned_; }

    /// The next line that the program prints; fails when none comes for ten seconds.
    std::string line();
    /// Whether a line can be had at once, or comes within so many milliseconds. False at once when the
    /// program has ended.
    bool hasLine(int milliseconds = 0);

private:
    Program(const std::vector<std::string>& command, std::string home);

    const std::string home_;
    pid_t process_ = 0;
    int output_ = -1;
    std::string read_; // what was printed and not yet taken
    Nanoseconds spawned_ = 0;
};

/// A tray of the benchmark's own, without which programs find none.
class Tray {
public:
    Tray();

    /// When the next program registered its item.
    Nanoseconds itemRegistered();
    /// How often items changed their picture since the last call.
    int picturesChanged();

private:
    Program host_;
};

std::vector<std::string> zorbel();
std::vector<std::string> bareTray();

/// Runs a program to its end, which prints to nowhere; fails when it does.
void run(std::vector<std::string> words);

/// Fails unless the user has a program of this name.
void require(const std::string& program);

} // namespace Bench
