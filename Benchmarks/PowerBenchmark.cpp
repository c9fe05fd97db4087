// What looking at the battery costs the main thread: one sample of a machine with two packs and two supplies
// on mains, all that is asked in it together. Samples come far apart, as when the suite runs.

#include "Benchmarks/Measure.hpp"
#include "Platforms/Linux/Power/LinuxBattery.hpp"
#include "Platforms/Qt/QtMainLoop.hpp"
#include "Tests/TemporaryFolder.hpp"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>
#include <time.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

using namespace Bench;

constexpr double longestSample = 0.2; // milliseconds
constexpr int betweenSamples = 600;   // milliseconds; nothing of the last one is still fresh

class Supplies {
public:
    Supplies() {
        for (const char* name : {"BAT0", "BAT1"}) {
            write(name,
                  "TYPE=Battery\nSTATUS=Discharging\nPRESENT=1\nTECHNOLOGY=Li-poly\nCYCLE_COUNT=212\n"
                  "VOLTAGE_MIN_DESIGN=11400000\nVOLTAGE_NOW=11850000\nPOWER_NOW=8550000\n"
                  "ENERGY_FULL_DESIGN=57000000\nENERGY_FULL=51300000\nENERGY_NOW=25650000\nCAPACITY=50\n"
                  "CAPACITY_LEVEL=Normal\nMODEL_NAME=5B10W13930\nMANUFACTURER=SMP\nSERIAL_NUMBER=1234\n");
        }
        write("AC", "TYPE=Mains\nONLINE=1\n");
        write("ucsi-source-psy-USBC000:001",
              "TYPE=USB\nUSB_TYPE=C [PD]\nONLINE=1\nVOLTAGE_MIN=5000000\nVOLTAGE_MAX=20000000\n"
              "VOLTAGE_NOW=20000000\nCURRENT_MAX=3250000\nCURRENT_NOW=0\n");
    }

    const std::filesystem::path& path() const { return folder_.path(); }

private:
    void write(const std::string& name, const std::string& values) const {
        std::filesystem::create_directory(path() / name);
        std::ofstream file(path() / name / "uevent");
        file << "POWER_SUPPLY_NAME=" << name;
        bool isLineStart = true;
        for (const char letter : "\n" + values) {
            if (letter == '\n') {
                isLineStart = true;
            } else if (isLineStart) {
                file << "\nPOWER_SUPPLY_";
                isLineStart = false;
            }
            if (letter != '\n') {
                file << letter;
            }
        }
        file << '\n';
    }

    TemporaryFolder folder_;
};

/// Of this thread, in nanoseconds.
Nanoseconds processorTime() {
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return Nanoseconds{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

void waitForTheNextSample() {
    QEventLoop wait;
    QTimer::singleShot(betweenSamples, &wait, &QEventLoop::quit);
    wait.exec();
}

} // namespace

int main(int argumentCount, char** arguments) {
    QCoreApplication application(argumentCount, arguments);
    QtPlatform::QtMainLoop loop;
    const Supplies supplies;
    Linux::LinuxBattery battery(loop, supplies.path());

    const int count = countOrQuick(60, 10);
    progress("taking " + std::to_string(count) + " samples");
    Samples passed;
    Samples spent;
    for (int sample = 0; sample < count; ++sample) {
        waitForTheNextSample();
        const Nanoseconds start = now();
        const Nanoseconds processorStart = processorTime();
        const auto entry = battery.properties();
        const auto first = battery.sources();
        const auto second = battery.sources();
        spent.add(milliseconds(processorTime() - processorStart));
        passed.add(milliseconds(now() - start));
        if (!entry || !entry->list("AdapterDetails") || !first || first != second) {
            fail("the battery is not read");
        }
    }

    std::printf("\nMedian (least–most) of %d samples, %d ms apart.\n\n", count, betweenSamples);
    Table table({"", "", "goal"});
    table.add({"one sample on the main thread, ms", passed.text(3), "≤ 0.2"});
    table.add({"its processor time, ms", spent.text(3), ""});
    table.print();

    Verdicts verdicts;
    verdicts.check("power", passed.median() / longestSample, 1);
    return verdicts.exitStatus();
}
