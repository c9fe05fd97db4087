// How long the main thread is busy when many files are put on the shelf at once.

#include "Benchmarks/Measure.hpp"
#include "Ledgra/Ledgra.hpp"
#include "Platforms/Linux/Shelf/LinuxParkedFiles.hpp"
#include "Platforms/Simulated/SimulatedHost.hpp"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

using namespace Bench;

constexpr double longestStaging = 50; // milliseconds, within which a drop feels immediate
constexpr int stagedFiles = 500;

/// Real files of many kinds, in a folder that goes with this object.
class StagedFiles {
public:
    StagedFiles() {
        std::string pattern = (std::filesystem::temp_directory_path() / "zorbel-shelf-XXXXXX").string();
        if (!::mkdtemp(pattern.data())) {
            fail("no folder for the files to stage");
        }
        folder_ = pattern;
        constexpr const char* endings[] = {".pdf", ".txt", ".png", ".tar.gz", ""};
        for (int number = 0; number < stagedFiles; ++number) {
            paths_.push_back(folder_ / ("File " + std::to_string(number) + endings[number % 5]));
            std::ofstream(paths_.back()) << number;
        }
    }
    StagedFiles(const StagedFiles&) = delete;
    StagedFiles& operator=(const StagedFiles&) = delete;
    ~StagedFiles() {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }

    const std::vector<std::filesystem::path>& paths() const { return paths_; }

private:
    std::filesystem::path folder_;
    std::vector<std::filesystem::path> paths_;
};

/// Stages real files with their icons, again and again on an empty shelf.
void stageFiles(Verdicts& verdicts) {
    const int rounds = countOrQuick(20, 5);
    const StagedFiles files;
    Simulated::SimulatedHost host;
    Linux::LinuxParkedFiles parkedFiles(host.loop);
    Ledgra::LedgraSpice spice({.clock = host.clock,
                               .defaults = host.defaults,
                               .screens = host.screens,
                               .fileManager = host.fileManager,
                               .panels = host.floatingPanels,
                               .files = parkedFiles});
    Samples staging;
    for (int round = 0; round < rounds; ++round) {
        spice.clear();
        const Nanoseconds begin = now();
        spice.stage(files.paths());
        staging.add(milliseconds(now() - begin));
        if (spice.staged().size() != Ledgra::LedgraSpice::mostStaged) {
            fail("the shelf holds " + std::to_string(spice.staged().size()) + " files");
        }
        host.loop.settle();
    }
    std::printf("\nMedian (least–most), ms of the main thread for %d files put on the shelf at once.\n\n",
                stagedFiles);
    Table table({"", "rounds", "ms", "goal"});
    table.add({"staging", std::to_string(rounds), staging.text(2), "≤ 50"});
    table.print();
    verdicts.check("sweep.staging", staging.median() / longestStaging, 1);
}

} // namespace

int main() {
    Verdicts verdicts;
    stageFiles(verdicts);
    return verdicts.exitStatus();
}
