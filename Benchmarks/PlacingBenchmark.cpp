// What setting a window down costs: from the call to the X server reporting it in its seat, beside wmctrl,
// xdotool and the bare request to the window manager that all of them end in; the look at the window in front
// every two seconds; and turning Pintho on and off.

#include "Benchmarks/Programs.hpp"
#include "Benchmarks/RunLoop.hpp"
#include "Benchmarks/WindowHand.hpp"
#include "Benchmarks/WindowWatch.hpp"
#include "Pintho/Pintho.hpp"
#include "Platforms/Linux/Heap.hpp"
#include "Platforms/Linux/Windows/EwmhDesktop.hpp"
#include "Platforms/Linux/Windows/X11Accessibility.hpp"
#include "Platforms/Linux/Windows/X11Screens.hpp"
#include "Platforms/Linux/Windows/X11Shortcuts.hpp"
#include "Platforms/Linux/X11Workspace.hpp"
#include "Platforms/Qt/QtMainLoop.hpp"

#include <QCoreApplication>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <utility>

namespace {

using namespace Bench;
using Pintho::Seat;

/// Of the X library, with a server.
struct RoundTrips {
    int count = 0;
    bool isAsked = false; // since the last one
};
thread_local RoundTrips roundTrips;

} // namespace

/// Stands in for the C library's poll. The X library calls it before it writes and when it has to wait for
/// answers: the first time after it has written that is a round trip, later ones are for the rest of the
/// answers.
extern "C" int countingPoll(pollfd* descriptors, nfds_t count, int milliseconds) __asm__("poll");

extern "C" int countingPoll(pollfd* descriptors, nfds_t count, int milliseconds) {
    if (milliseconds < 0 && count == 1 && descriptors->events == (POLLIN | POLLOUT)) {
        roundTrips.isAsked = true;
    } else if (milliseconds < 0 && count == 1 && std::exchange(roundTrips.isAsked, false)) {
        ++roundTrips.count;
    }
    const timespec patience{milliseconds / 1000, milliseconds % 1000 * 1'000'000L};
    return ppoll(descriptors, count, milliseconds < 0 ? nullptr : &patience, nullptr);
}

namespace {

constexpr double mostOfPeer = 0.5;        // of wmctrl's time
constexpr double mostOfFloor = 1.5;       // of the bare request's time
constexpr double longestReading = 20;     // microseconds, when nothing has changed
constexpr double longestRereading = 1000; // when the title has
constexpr double mostRoundTrips = 2;      // of such a reading

constexpr double longestMove = 2;     // seconds, after which it counts as lost
constexpr double settling = 1.5;      // seconds after which nothing moves any more
constexpr double betweenMoves = 0.12; // seconds: zorbel looks at a window 0.06 after it has come to rest
constexpr int roughly = 32;           // pixels, more than a line or a column of the terminal

/// Differ in the corner and in both lengths.
constexpr std::array<Seat, 2> seats{Seat::left, Seat::centre};

/// Pintho over the real desktop, inside the benchmark, wired as zorbel wires it.
class Placer {
public:
    Placer()
        : workspace_(loop_, desktop_)
        , screens_(desktop_)
        , accessibility_(loop_, desktop_)
        , spice_(loop_, clock_, workspace_, screens_, accessibility_, shortcuts_) {}
    ~Placer() { spice_.rest(); }

    Pintho::PinthoSpice& spice() { return spice_; }
    QtPlatform::QtMainLoop& loop() { return loop_; }

    /// What a window fills that takes this seat.
    Pintho::WindowRect seatRect(Seat seat) const {
        const auto all = screens_.all();
        if (all.empty()) {
            fail("there is no monitor");
        }
        return Pintho::seatRect(seat, all.front().visibleFrame, all.front().frame.maxY());
    }

    /// So far, apart from those that ask this.
    unsigned int requests() { return desktop_.requestsForTesting() - ++asked_; }

private:
    QtPlatform::QtMainLoop loop_;
    QtPlatform::QtClock clock_;
    Linux::EwmhDesktop desktop_{loop_};
    Linux::X11Workspace workspace_;
    Linux::X11Screens screens_;
    Linux::X11Accessibility accessibility_;
    Linux::X11Shortcuts shortcuts_;
    Pintho::PinthoSpice spice_;
    unsigned int asked_ = 0;
};

/// Where a window is moved to, by whichever way.
struct Target {
    Seat seat = Seat::left;
    PixelPlace asked{};  // the frame's corner and the client's size
    PixelPlace client{}; // where it comes to rest
};

/// A program that runs to its end. Started as cheaply as can be: this process is a large one to copy.
class ShortProgram {
public:
    void start(std::vector<std::string> command) {
        std::vector<char*> arguments;
        for (std::string& word : command) {
            arguments.push_back(word.data());
        }
        arguments.push_back(nullptr);
        if (posix_spawnp(&process_, arguments.front(), nullptr, nullptr, arguments.data(), environ) != 0) {
            fail(command.front() + " does not start");
        }
    }

    /// Its end, where one was started.
    void await() {
        int status = 0;
        if (process_ != 0 && waitpid(std::exchange(process_, 0), &status, 0) > 0 && status != 0) {
            fail("a program that moves windows failed");
        }
    }

private:
    pid_t process_ = 0;
};

std::vector<std::string> wmctrl(const PixelPlace& asked) {
    const std::string numbers = "0," + std::to_string(asked.x) + ',' + std::to_string(asked.y) + ',' +
                                std::to_string(asked.width) + ',' + std::to_string(asked.height);
    return {"wmctrl", "-r", ":ACTIVE:", "-e", numbers};
}

std::vector<std::string> xdotool(const PixelPlace& asked) {
    return {"xdotool",
            "getactivewindow",
            "windowmove",
            std::to_string(asked.x),
            std::to_string(asked.y),
            "windowsize",
            std::to_string(asked.width),
            std::to_string(asked.height)};
}

enum class Way { pintho, bare, wmctrl, xdotool };

constexpr std::array allWays{Way::pintho, Way::bare, Way::wmctrl, Way::xdotool};

const char* name(Way way) {
    constexpr std::array names{"Pintho", "bare request", "wmctrl", "xdotool"};
    return names.at(static_cast<std::size_t>(way));
}

/// Moves the window in front to and fro, by each way in turn.
class Mover {
public:
    Mover(Placer& placer, const WindowHand& hand)
        : placer_(placer)
        , hand_(hand) {}

    void measure(int rounds);

    /// Milliseconds from the call to the server reporting the window there.
    const Samples& times(Way way) const;
    /// Milliseconds from the call of Pintho until the window manager has been asked.
    const Samples& untilAsked() const { return untilAsked_; }
    int lost(Way way) const; // moves whose end was not seen, or did not last

private:
    Target targetOf(Seat seat) const;
    void tryOut(Way way);
    void move(Way way, const Target& target, WindowWatch& watch);
    void begin(Way way, const Target& target);

    struct Record {
        Samples times{};
        int lost = 0;
    };

    Placer& placer_;
    const WindowHand& hand_;
    std::array<Target, seats.size()> targets_{};
    ShortProgram program_;
    std::map<Way, Record> records_;
    Samples untilAsked_;
    Nanoseconds asked_ = 0; // when Pintho last had done all it does at once
};

void Mover::measure(int rounds) {
    std::ranges::transform(seats, targets_.begin(), [this](Seat seat) { return targetOf(seat); });
    std::ranges::for_each(allWays, [this](Way way) { tryOut(way); });
    WindowWatch watch(hand_.window());
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t turn = 0; turn < allWays.size(); ++turn) {
            // Each of them goes first as often as the others.
            const Way way = allWays[(turn + static_cast<std::size_t>(round)) % allWays.size()];
            for (const Target& target : targets_) {
                move(way, target, watch);
            }
        }
    }
}

/// Where Pintho sets the window down, and what to ask of the window manager for the same.
Target Mover::targetOf(Seat seat) const {
    if (!placer_.spice().place(seat)) {
        fail("the window in front cannot be placed");
    }
    runFor(settling);
    const PixelPlace client = hand_.place();
    const FrameWidths frame = hand_.frame();
    const Target target{.seat = seat,
                        .asked = {client.x - frame.left, client.y - frame.top, client.width, client.height},
                        .client = client};
    const Pintho::WindowRect rect = placer_.seatRect(seat);
    const double missingWidth = rect.width - client.width - frame.left - frame.right;
    const double missingHeight = rect.height - client.height - frame.top - frame.bottom;
    const bool isThere = target.asked.x == rect.x && target.asked.y == rect.y && missingWidth >= 0 &&
                         missingWidth < roughly && missingHeight >= 0 && missingHeight < roughly;
    if (!isThere) {
        fail("Pintho did not set the window down in its seat: " + text(client));
    }
    return target;
}

/// Fails unless a way leads where Pintho's does.
void Mover::tryOut(Way way) {
    for (const Target& target : targets_) {
        begin(way, target);
        runFor(settling);
        program_.await();
        if (const PixelPlace place = hand_.place(); place != target.client) {
            fail(std::string(name(way)) + " puts the window at " + text(place) + " and not at " +
                 text(target.client));
        }
    }
}

void Mover::move(Way way, const Target& target, WindowWatch& watch) {
    watch.expect(target.client);
    const Nanoseconds start = now();
    begin(way, target);
    const bool isThere = runUntil([&] { return watch.reached().has_value(); }, longestMove);
    program_.await();
    runFor(betweenMoves);
    Record& record = records_[way];
    if (!isThere || hand_.place() != target.client) { // or it did not stay there
        ++record.lost;
        runFor(settling);
        return;
    }
    record.times.add(milliseconds(*watch.reached() - start));
    if (way == Way::pintho) {
        untilAsked_.add(milliseconds(asked_ - start));
    }
}

/// Returns before the window has moved.
void Mover::begin(Way way, const Target& target) {
    switch (way) {
    case Way::pintho:
        placer_.spice().place(target.seat);
        placer_.loop().post([this] { asked_ = now(); }); // after what Pintho has posted
        break;
    case Way::bare:
        hand_.move(target.asked);
        break;
    case Way::wmctrl:
        program_.start(wmctrl(target.asked));
        break;
    case Way::xdotool:
        program_.start(xdotool(target.asked));
        break;
    }
}

const Samples& Mover::times(Way way) const {
    const Record& record = records_.at(way);
    if (record.times.isEmpty()) {
        fail(std::string(name(way)) + " did not move the window once");
    }
    return record.times;
}

int Mover::lost(Way way) const {
    return records_.at(way).lost;
}

struct Readings {
    Samples times{};    // microseconds
    Samples requests{}; // of each, from the change on
    Samples roundTrips{};
};

/// Turning on what is on already does what the poll does, and no more.
void readContext(Placer& placer, Readings& readings) {
    const int before = roundTrips.count;
    const Nanoseconds start = now();
    placer.spice().steep();
    readings.times.add(milliseconds(now() - start) * 1000);
    readings.roundTrips.add(roundTrips.count - before);
}

Readings readUnchanged(Placer& placer, int count, double between) {
    Readings readings;
    placer.spice().steep(); // takes in what the last move has changed
    runFor(settling);
    const unsigned int before = placer.requests();
    for (int index = 0; index < count; ++index) {
        readContext(placer, readings);
        pause(between);
    }
    readings.requests.add(placer.requests() - before);
    return readings;
}

Readings readRetitled(Placer& placer, const WindowHand& hand, int count) {
    Readings readings;
    for (int index = 0; index < count; ++index) {
        const std::string title = "Title " + std::to_string(index);
        const unsigned int before = placer.requests();
        hand.setTitle(title);
        runFor(0.02); // the news is in by then
        readContext(placer, readings);
        readings.requests.add(placer.requests() - before);
        if (const auto& front = placer.spice().frontmost(); !front || front->title != title) {
            fail("a new title was not read");
        }
    }
    return readings;
}

struct Turns {
    Samples on{}; // milliseconds
    Samples off{};
    int keys = 0; // that no other program holds
};

Turns turnOnAndOff(Placer& placer, int count) {
    Turns turns;
    for (int index = 0; index < count; ++index) {
        Nanoseconds start = now();
        placer.spice().rest();
        turns.off.add(milliseconds(now() - start));
        runFor(0.02);
        start = now();
        placer.spice().steep();
        turns.on.add(milliseconds(now() - start));
        runFor(0.02);
    }
    turns.keys = static_cast<int>(std::ranges::count_if(
        Pintho::allSeats, [&](Seat seat) { return placer.spice().shortcut(seat).has_value(); }));
    return turns;
}

std::string number(double value, int decimals) {
    Samples one;
    one.add(value);
    return one.text(decimals);
}

void addRow(Table& table, const std::string& name, const Samples& samples, int decimals,
            const std::string& goal = "") {
    table.add({name, number(samples.median(), decimals), number(samples.percentile(95), decimals),
               number(samples.least(), decimals) + "–" + number(samples.most(), decimals), goal});
}

void printMoves(const Mover& mover, int rounds) {
    std::printf(
        "\n%d moves by each way, by turns, between two seats of Pintho; from the call to the X server "
        "reporting the window in its place.\n\n",
        rounds * static_cast<int>(seats.size()));
    Table table({"ms to move a window", "median", "p95", "least–most", "goal"});
    addRow(table, "Pintho", mover.times(Way::pintho), 2, "≤ 0.5 × wmctrl, ≤ 1.5 × the bare request");
    addRow(table, "of that, until the window manager is asked", mover.untilAsked(), 2);
    addRow(table, "the bare request, over an open connection", mover.times(Way::bare), 2);
    addRow(table, "wmctrl", mover.times(Way::wmctrl), 2);
    addRow(table, "xdotool", mover.times(Way::xdotool), 2);
    table.print();
    for (const Way way : allWays) {
        if (const int lost = mover.lost(way); lost > 0) {
            std::printf("%s lost %d moves: the window was not there within 2 s, or did not stay.\n",
                        name(way), lost);
        }
    }
}

void printReadings(const Readings& unchanged, const Readings& spaced, const Readings& retitled,
                   const Turns& turns) {
    Table table({"Pintho's look at the window in front", "median", "p95", "least–most", "goal"});
    addRow(table, "nothing has changed, µs", unchanged.times, 1, "≤ 20");
    addRow(table, "the same 1 ms apart, as the processor wakes up, µs", spaced.times, 1);
    table.add({"requests to the X server, all together",
               number(unchanged.requests.median() + spaced.requests.median(), 0), "", "", "none"});
    addRow(table, "the window has a new title, µs", retitled.times, 1, "≤ 1000");
    addRow(table, "requests to the X server, each", retitled.requests, 0);
    addRow(table, "round trips to the X server, each", retitled.roundTrips, 0, "≤ 2");
    table.print();

    Table turning({"Pintho turned on and off, " + std::to_string(turns.keys) + " of " +
                       std::to_string(Pintho::allSeats.size()) + " keys free, ms",
                   "median", "p95", "least–most", ""});
    addRow(turning, "on", turns.on, 2);
    addRow(turning, "off", turns.off, 2);
    turning.print();
}

/// The exit status.
int judge(const Mover& mover, const Readings& unchanged, const Readings& spaced, const Readings& retitled) {
    int lost = 0;
    for (const Way way : allWays) {
        lost += mover.lost(way);
    }
    const double ours = mover.times(Way::pintho).median();
    Verdicts verdicts;
    verdicts.check("placing.lost", lost, 0);
    verdicts.check("placing.reading", unchanged.times.median() / longestReading, 1);
    verdicts.check("placing.reading.requests", unchanged.requests.median() + spaced.requests.median(), 0);
    verdicts.check("placing.title", retitled.times.median() / longestRereading, 1);
    verdicts.check("placing.title.roundtrips", retitled.roundTrips.median(), mostRoundTrips);
    verdicts.check("placing.floor", ours / mover.times(Way::bare).median(), mostOfFloor);
    verdicts.check("placing", ours / mover.times(Way::wmctrl).median(), mostOfPeer);
    return verdicts.exitStatus();
}

} // namespace

int main(int argumentCount, char** arguments) {
    Linux::keepHeapSmall();
    require("wmctrl");
    require("xdotool");
    require("xterm");
    const int rounds = countOrQuick(40, 5); // of two moves by each way
    const int readings = countOrQuick(2000, 200);
    const int changes = countOrQuick(200, 20);
    const int turns = countOrQuick(50, 5);

    const QCoreApplication application(argumentCount, arguments);
    const Program terminal({"xterm", "-geometry", "80x24+200+150", "-e", "sleep", "3600"});
    const WindowHand hand("XTerm");
    Placer placer;
    placer.spice().steep();

    progress("moving a window: " + std::to_string(rounds) + " rounds");
    Mover mover(placer, hand);
    mover.measure(rounds);
    progress("reading the context");
    const Readings unchanged = readUnchanged(placer, readings, 0);
    const Readings spaced = readUnchanged(placer, readings, 0.001);
    const Readings retitled = readRetitled(placer, hand, changes);
    progress("turning on and off");
    const Turns onAndOff = turnOnAndOff(placer, turns);

    printMoves(mover, rounds);
    printReadings(unchanged, spaced, retitled, onAndOff);
    return judge(mover, unchanged, spaced, retitled);
}
