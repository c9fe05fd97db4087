// What zorbel costs while nobody looks: its default spices on and its panel closed, in the desktop's tray and
// on its own bar, and there with those that watch the battery and the sound too; beside a bare tray program.
// Each runs alone, so that no other program pays a share of its libraries.

#include "Benchmarks/Programs.hpp"
#include "Benchmarks/Screen.hpp"

#include <algorithm>
#include <cstdio>
#include <optional>

namespace {

using namespace Bench;

constexpr double mostWakeUps = 2;          // a second
constexpr double mostFurtherWakeUps = 0.5; // with the battery and the sound
constexpr double mostProcessorTime = 0.1;  // percent of a core
constexpr double mostMemory = 1.25;        // of the bare program's

struct Column {
    std::vector<std::string> command;
    bool hasTray;
    const char* name;
    std::vector<std::string> spices{};
    Samples wakeUps{};       // a second
    Samples processorTime{}; // percent of a core
    Samples frames{};        // in the whole window
    Samples resident{};      // megabytes
    Samples proportional{};
    bool isAlone = true; // else others shared the libraries, and PSS says little
};

void measure(Column& column, Screen& screen, int settling, int window) {
    std::optional<Tray> tray;
    if (column.hasTray) {
        tray.emplace();
    }
    const auto framesDrawn = [&] { return screen.drawings() + (tray ? tray->picturesChanged() : 0); };
    const Program program(column.command, column.spices);
    if (tray) {
        tray->itemRegistered();
    } else {
        screen.glassDrawn();
    }
    if (!tray && screen.drawings() == 0) {
        fail("zorbel's bar was drawn unnoticed");
    }

    ProcessCost before;
    const double seconds = quietWindow(settling, window, [&] {
        before = costSoFar(program.process());
        static_cast<void>(framesDrawn());
    });
    const ThreadCost cost = spent(before, costSoFar(program.process()));
    column.wakeUps.add(static_cast<double>(cost.wakeUps) / seconds);
    column.processorTime.add(static_cast<double>(cost.processorTime) / 1e9 / seconds * 100);
    column.frames.add(framesDrawn());
    column.isAlone = isOnlyQtProgram(program.process()) && column.isAlone;
    const Memory memory = memoryOf(program.process());
    column.resident.add(memory.resident);
    column.proportional.add(memory.proportional);
}

} // namespace

int main() {
    const int rounds = countOrQuick(2, 1);
    const int settling = countOrQuick(20, 4);
    const int window = countOrQuick(60, 10);
    Column bare{bareTray(), true, "bare tray program"};
    Column guest{zorbel(), true, "zorbel in a tray"};
    Column host{zorbel(), false, "zorbel's own bar"};
    Column powerAndSound{zorbel(), false, "with power and sound", {"wendrel", "tonvik"}};

    Screen screen;
    for (int round = 1; round <= rounds; ++round) {
        for (Column* column : {&bare, &guest, &host, &powerAndSound}) {
            progress("round " + std::to_string(round) + " of " + std::to_string(rounds) + ": " +
                     column->name);
            measure(*column, screen, settling, window);
        }
    }

    const bool judgesShares = bare.isAlone && guest.isAlone && host.isAlone && powerAndSound.isAlone;
    struct Row {
        const char* name;
        Samples Column::*quantity;
        int decimals;
        const char* goal;
    };
    const Row rows[] = {
        {"wake-ups a second", &Column::wakeUps, 2, "≤ 2; ≤ 2.5"},
        {"processor time, % of a core", &Column::processorTime, 4, "≤ 0.1"},
        {"frames drawn", &Column::frames, 0, "none"},
        {"resident memory (RSS), MB", &Column::resident, 1, "≤ 1.25 × bare"},
        {"proportional memory (PSS), MB", &Column::proportional, 1,
         judgesShares ? "≤ 1.25 × bare" : "none: others use Qt too"},
    };
    Table table({"", bare.name, guest.name, host.name, powerAndSound.name, "goal"});
    for (const Row& row : rows) {
        const auto text = [&row](const Column& column) { return (column.*row.quantity).text(row.decimals); };
        table.add({row.name, text(bare), text(guest), text(host), text(powerAndSound), row.goal});
    }
    std::printf("\nMedian (least–most) of %d interleaved rounds: %d s each, after %d s to settle.\n\n",
                rounds, window, settling);
    table.print();

    // Zorbel must keep to each goal wherever it is and whatever is on.
    const auto worse = [&](Samples Column::*quantity) {
        return std::max(
            {(guest.*quantity).median(), (host.*quantity).median(), (powerAndSound.*quantity).median()});
    };
    Verdicts verdicts;
    verdicts.check("idle.wakeups", std::max(guest.wakeUps.median(), host.wakeUps.median()) / mostWakeUps, 1);
    verdicts.check("idle.wakeups.further",
                   powerAndSound.wakeUps.median() / (mostWakeUps + mostFurtherWakeUps), 1);
    verdicts.check("idle.processor", worse(&Column::processorTime) / mostProcessorTime, 1);
    verdicts.check("idle.frames",
                   std::max({guest.frames.most(), host.frames.most(), powerAndSound.frames.most()}), 0);
    if (judgesShares) {
        verdicts.check("idle.pss", worse(&Column::proportional) / bare.proportional.median(), mostMemory);
    }
    verdicts.check("idle", worse(&Column::resident) / bare.resident.median(), mostMemory);
    return verdicts.exitStatus();
}
