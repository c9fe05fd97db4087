// What looking for space costs: the sum of the sizes below a tree of files, beside du and find over the same
// tree in the same minutes, and a whole scan of the home of a user with a million files. All of it is in the
// kernel's cache by then: what is measured is work, not the disk.

#include "Benchmarks/Programs.hpp"
#include "Duvesk/BundlePlaces.hpp"
#include "Duvesk/Scanner.hpp"
#include "Platforms/Linux/Storage/DirectoryWalker.hpp"
#include "Tests/TemporaryFolder.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <string>
#include <thread>

namespace {

using namespace Bench;
using std::filesystem::path;

constexpr double longestScan = 2000; // milliseconds
constexpr double mostMemory = 30;    // megabytes
constexpr int filesOfFolder = 100;
constexpr int cacheCount = 20;
constexpr int longestFile = 2048; // bytes

std::int64_t lengthOfFile(int number) {
    return number % (longestFile + 1);
}

/// Of so many files together.
std::int64_t lengthOf(int files) {
    std::int64_t length = 0;
    for (int number = 0; number < files; ++number) {
        length += lengthOfFile(number);
    }
    return length;
}

/// Where the trees lie, until the benchmark ends.
class Ground {
public:
    /// A tree of so many files of all lengths, with nothing in them.
    path grow(const std::string& name, int files) const {
        path folder;
        for (int number = 0; number < files; ++number) {
            if (number % filesOfFolder == 0) {
                folder = folder_.path() / name / std::to_string(number / filesOfFolder);
                std::filesystem::create_directories(folder);
            }
            const path file = folder / ("some-file-" + std::to_string(number));
            const int descriptor = open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
            if (descriptor < 0 || ftruncate(descriptor, lengthOfFile(number)) != 0) {
                fail("no file can be made: " + file.string());
            }
            close(descriptor);
        }
        return folder_.path() / name;
    }

    const path& where() const { return folder_.path(); }

private:
    TemporaryFolder folder_;
};

/// The most memory that this process has had resident since `forget`, in megabytes.
class PeakMemory {
public:
    static double read() {
        std::ifstream status("/proc/self/status");
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with("VmHWM:")) {
                return std::atof(line.c_str() + 6) / 1024;
            }
        }
        fail("the kernel does not tell the most memory");
    }

    /// From now on it is what is resident now.
    static void forget() {
        if (!(std::ofstream("/proc/self/clear_refs") << "5" << std::flush)) {
            fail("the most memory cannot be forgotten");
        }
    }
};

template <class Work>
double timed(Work work) {
    const Nanoseconds start = now();
    work();
    return milliseconds(now() - start);
}

struct ScanCost {
    Samples times;     // milliseconds
    double memory = 0; // megabytes that it grew by at its peak
};

ScanCost scanHome(const std::shared_ptr<const Linux::DirectoryWalker>& walker, const path& home, int rounds) {
    const auto places = std::make_shared<const Duvesk::BundlePlaces>(
        home, std::vector<path>{home / "Applications"}, walker, [](const path&) { return std::nullopt; });
    const Duvesk::Scanner scanner(places, walker);
    const ZorbelKit::TimePoint moment = std::chrono::system_clock::now();
    ScanCost cost;
    PeakMemory::forget();
    const double before = PeakMemory::read();
    scanner.run(moment); // warms the cache
    cost.memory = PeakMemory::read() - before;
    for (int round = 0; round < rounds; ++round) {
        cost.times.add(timed([&] { scanner.run(moment); }));
    }
    return cost;
}

} // namespace

int main() {
    const int files = countOrQuick(300'000, 30'000);
    const int filesOfCache = countOrQuick(50'000, 5'000);
    const int rounds = 9;
    require("du");
    require("find");
    const Ground ground;

    progress("making a home of " + std::to_string(cacheCount * filesOfCache) + " files");
    const path home = ground.where() / "home";
    for (int number = 0; number < cacheCount; ++number) {
        ground.grow("home/Library/Caches/cache" + std::to_string(number), filesOfCache);
    }
    progress("scanning it");
    const auto walker = std::make_shared<const Linux::DirectoryWalker>();
    const ScanCost scan = scanHome(walker, home, rounds);

    progress("making a tree of " + std::to_string(files) + " files");
    const path tree = ground.grow("tree", files);
    progress("summing it up");
    const std::int64_t size = lengthOf(files);
    constexpr std::int64_t noLimit = std::numeric_limits<std::int64_t>::max();
    Samples own;
    Samples du;
    Samples find;
    for (int round = 0; round <= rounds; ++round) {
        const double duTime = timed([&] { run({"du", "-s", "--apparent-size", tree}); });
        const double findTime = timed([&] { run({"find", tree, "-type", "f", "-printf", "%s\n"}); });
        const double ownTime = timed([&] {
            if (walker->sizesBelow({tree}, noLimit).front() != size) {
                fail("the sum is wrong");
            }
        });
        if (round > 0) { // the first fills the cache
            du.add(duTime);
            find.add(findTime);
            own.add(ownTime);
        }
    }

    const unsigned int processors = std::thread::hardware_concurrency();
    const double mostOfDu = processors >= 2 ? 0.6 : 1;
    std::printf("\nMedian (least–most) of %d rounds on %u processors.\n\n", rounds, processors);
    Table table({"", "", "goal"});
    table.add({"sizes of " + std::to_string(files) + " files, ms", own.text(1), ""});
    table.add({"du -s --apparent-size, ms", du.text(1), ""});
    table.add({"find -type f -printf '%s\\n', ms", find.text(1), ""});
    table.add({"a scan of " + std::to_string(cacheCount * filesOfCache) + " files in " +
                   std::to_string(cacheCount) + " caches, ms",
               scan.times.text(0), "≤ 2000"});
    Samples memory;
    memory.add(scan.memory);
    table.add({"the most memory more while it runs, MB", memory.text(1), "≤ 30"});
    table.print();

    Verdicts verdicts;
    verdicts.check("scan.du", own.median() / du.median(), mostOfDu);
    verdicts.check("scan.find", own.median() / find.median(), 1);
    verdicts.check("scan.memory", scan.memory / mostMemory, 1);
    verdicts.check("scan", scan.times.median() / longestScan, 1);
    return verdicts.exitStatus();
}
