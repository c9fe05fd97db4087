// How long until the glass is there: from the start of the process to its item in the desktop's tray, or to
// the glass drawn on zorbel's own bar, beside a bare tray program.

#include "Benchmarks/Programs.hpp"
#include "Benchmarks/Screen.hpp"

#include <algorithm>
#include <cstdio>

namespace {

using namespace Bench;

constexpr double longest = 1.5; // of the bare program's time

double untilRegistered(const std::vector<std::string>& command) {
    Tray tray;
    const Program program(command);
    return milliseconds(tray.itemRegistered() - program.spawned());
}

double untilGlassDrawn(Screen& screen) {
    const Program program(zorbel());
    return milliseconds(screen.glassDrawn() - program.spawned());
}

} // namespace

int main() {
    const int rounds = countOrQuick(15, 5);
    Samples bare;
    Samples guest;
    Samples host;

    Screen screen;
    progress("starting each program " + std::to_string(rounds + 1) + " times");
    for (int round = 0; round <= rounds; ++round) {
        const double bareTime = untilRegistered(bareTray());
        const double guestTime = untilRegistered(zorbel());
        const double hostTime = untilGlassDrawn(screen);
        if (round > 0) { // the first start reads the programs from disk
            bare.add(bareTime);
            guest.add(guestTime);
            host.add(hostTime);
        }
    }

    std::printf("\nMedian (least–most) of %d interleaved warm starts, ms from the start of the process.\n\n",
                rounds);
    Table table({"", "ms", "goal"});
    table.add({"bare tray program: item registered", bare.text(1), ""});
    table.add({"zorbel in a tray: item registered", guest.text(1), "≤ 1.5 × bare"});
    table.add({"zorbel's own bar: glass drawn", host.text(1), "≤ 1.5 × bare"});
    table.print();

    Verdicts verdicts;
    verdicts.check("start.tray", guest.median() / bare.median(), longest);
    verdicts.check("start.bar", host.median() / bare.median(), longest);
    verdicts.check("start", std::max(guest.median(), host.median()) / bare.median(), longest);
    return verdicts.exitStatus();
}
