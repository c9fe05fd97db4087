// How long from a click on the glass to the panel: the button of the mouse is let go, and every pixel is
// watched until the panel's first frame is complete. The first opening of a process builds the panel; later
// ones only show it.

#include "Benchmarks/Programs.hpp"
#include "Benchmarks/Screen.hpp"

#include <algorithm>
#include <cstdio>

namespace {

using namespace Bench;

constexpr double longest = 50;      // milliseconds, by which an answer feels immediate
constexpr int laterOpenings = 4;    // of each process
constexpr double untilSettled = 2;  // seconds after the start
constexpr double betweenClicks = 1; // seconds: the steam of the last opening has gone
constexpr double held = 0.05;       // seconds that the button of the mouse is down

double openPanel(Screen& screen, Point glass) {
    screen.moveTo(glass);
    screen.press();
    pause(held);
    const Nanoseconds released = screen.release();
    return milliseconds(screen.panelDrawn() - released);
}

void closePanel(Screen& screen) {
    screen.moveTo({screen.size().x / 4, screen.size().y - 40});
    screen.press();
    pause(held);
    screen.release();
    screen.panelGone();
    pause(betweenClicks);
}

} // namespace

int main() {
    const int rounds = countOrQuick(5, 2);
    Samples first;
    Samples later;

    Screen screen;
    for (int round = 1; round <= rounds; ++round) {
        progress("round " + std::to_string(round) + " of " + std::to_string(rounds));
        const Program program(zorbel());
        screen.glassDrawn();
        pause(untilSettled);
        const Point glass = screen.glass().value_or(Point{});
        first.add(openPanel(screen, glass));
        closePanel(screen);
        for (int opening = 0; opening < laterOpenings; ++opening) {
            later.add(openPanel(screen, glass));
            closePanel(screen);
        }
    }

    std::printf("\nMedian (least–most), ms from letting go of the button to the panel drawn in full.\n\n");
    Table table({"", "openings", "ms", "goal"});
    table.add({"first of a process", std::to_string(rounds), first.text(1), "≤ 50"});
    table.add({"later ones", std::to_string(rounds * laterOpenings), later.text(1), "≤ 50"});
    table.print();

    Verdicts verdicts;
    verdicts.check("panel.first", first.median() / longest, 1);
    verdicts.check("panel.later", later.median() / longest, 1);
    verdicts.check("panel", std::max(first.median(), later.median()) / longest, 1);
    return verdicts.exitStatus();
}
