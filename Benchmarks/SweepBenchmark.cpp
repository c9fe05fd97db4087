// What it costs to keep programs out of sight, and how soon they are; and how long the main thread is busy
// when many files are put on the shelf at once.

#include "Benchmarks/Measure.hpp"
#include "Benchmarks/Programs.hpp"
#include "Benchmarks/RunLoop.hpp"
#include "Benchmarks/WindowHand.hpp"
#include "Hushel/Hushel.hpp"
#include "Ledgra/Ledgra.hpp"
#include "Platforms/Linux/Heap.hpp"
#include "Platforms/Linux/Shelf/LinuxParkedFiles.hpp"
#include "Platforms/Linux/Windows/X11Applications.hpp"
#include "Platforms/Qt/QtMainLoop.hpp"
#include "Platforms/Simulated/SimulatedHost.hpp"

#include <QCoreApplication>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace Bench;
using Linux::owned;

constexpr double longestStaging = 50; // milliseconds, within which a drop feels immediate
constexpr int stagedFiles = 500;

constexpr int windowCount = 50;
constexpr int classCount = 10;         // of programs they belong to
constexpr double longestSweep = 1.0;   // milliseconds
constexpr double longestInSight = 1.1; // seconds: the timer that sweeps may be a twentieth late
constexpr auto windowsMode = "windows";
constexpr auto sought = "class0"; // has one window alone

xcb_atom_t atomOf(const XClient& client, std::string_view name) {
    const auto reply = owned(xcb_intern_atom_reply(
        client.get(), xcb_intern_atom(client.get(), 0, static_cast<std::uint16_t>(name.size()), name.data()),
        nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

std::vector<std::uint32_t> numbersOf(const XClient& client, xcb_window_t window, xcb_atom_t property) {
    const auto reply = owned(xcb_get_property_reply(
        client.get(), xcb_get_property(client.get(), 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, 64),
        nullptr));
    if (!reply || reply->format != 32) {
        return {};
    }
    const auto* values = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
    return {values, values + reply->value_len};
}

/// Another program's part: it opens windows, prints the number of the first and stays.
[[noreturn]] void showWindows() {
    const XClient client = connectToDisplay();
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(client.get())).data;
    xcb_window_t first = XCB_NONE;
    for (int index = 0; index < windowCount; ++index) {
        const xcb_window_t window = xcb_generate_id(client.get());
        first = first == XCB_NONE ? window : first;
        xcb_create_window(client.get(), XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, 200, 150, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, XCB_CW_BACK_PIXEL,
                          &screen->white_pixel);
        const int number = index == 0 ? 0 : 1 + index % (classCount - 1);
        const std::string name = "class" + std::to_string(number) + '\0';
        const std::string both = name + name;
        xcb_change_property(client.get(), XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING,
                            8, static_cast<std::uint32_t>(both.size()), both.data());
        xcb_map_window(client.get(), window);
    }
    xcb_flush(client.get());
    std::printf("%u\n", first);
    std::fflush(stdout);
    while (owned(xcb_wait_for_event(client.get()))) {
    }
    std::exit(0); // the server has gone
}

/// The window of the program that is sought, and a hand that brings it forward as a task bar does.
class SoughtWindow {
public:
    explicit SoughtWindow(xcb_window_t window)
        : window_(window) {}

    bool isInSight() const {
        const auto state = numbersOf(client_, window_, state_);
        return !state.empty() && state.front() == 1; // Normal
    }

    void bringForward() const {
        xcb_client_message_event_t event{};
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 32;
        event.window = window_;
        event.type = active_;
        event.data.data32[0] = 2; // for the user
        xcb_send_event(client_.get(), 0, rootOf(client_),
                       XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                       reinterpret_cast<const char*>(&event));
        xcb_flush(client_.get());
    }

    std::size_t listed() const { return numbersOf(client_, rootOf(client_), list_).size(); }

private:
    XClient client_ = connectToDisplay();
    const xcb_window_t window_;
    const xcb_atom_t state_ = atomOf(client_, "WM_STATE");
    const xcb_atom_t active_ = atomOf(client_, "_NET_ACTIVE_WINDOW");
    const xcb_atom_t list_ = atomOf(client_, "_NET_CLIENT_LIST");
};

struct SweepCost {
    Samples first{};  // milliseconds, with windows never seen before
    Samples sweeps{}; // milliseconds, of windows known
    Samples requests{};
};

/// A look at all windows, and all of one program asked to hide, as a sweep does it.
SweepCost measureSweeps(QtPlatform::QtMainLoop& loop, int count) {
    SweepCost cost;
    Linux::X11Applications applications(loop);
    applications.running(); // reads the installed programs
    runFor(0.2);
    for (int index = 0; index < count; ++index) {
        const unsigned int before = applications.requestsForTesting();
        const Nanoseconds start = now();
        auto found = applications.running();
        std::erase_if(found, [](const auto& each) { return each.bundleIdentifier != sought; });
        applications.hide(found);
        cost.sweeps.add(milliseconds(now() - start));
        cost.requests.add(applications.requestsForTesting() - before - 1);
        runFor(0.01);
    }
    for (int index = 0; index < count / 10; ++index) {
        Linux::X11Applications others(loop);
        const Nanoseconds start = now();
        others.running();
        cost.first.add(milliseconds(now() - start));
    }
    return cost;
}

struct Chase {
    Samples inSight{}; // seconds, from its showing to its being put away
    int trials = 0;
    int late = 0; // in sight for more than a second
    std::int64_t counted = 0;
};

/// A listed program is brought forward at random moments while a session runs.
Chase chase(QtPlatform::QtMainLoop& loop, const SoughtWindow& window, int trials) {
    const QtPlatform::QtClock clock;
    Simulated::SimulatedDefaults defaults;
    const Simulated::SimulatedWorkspace workspace;
    const Simulated::SimulatedLanguage language;
    Simulated::SimulatedAlerts alerts;
    Linux::X11Applications applications(loop);
    Hushel::HushelSpice spice({.loop = loop,
                               .clock = clock,
                               .defaults = defaults,
                               .applications = applications,
                               .workspace = workspace,
                               .language = language,
                               .alerts = alerts});
    constexpr double patience = 5; // seconds
    spice.steep();
    spice.block({sought, sought});
    spice.setPlannedMinutes(60);
    applications.running();
    runFor(0.5);
    spice.start();
    if (!runUntil([&] { return !window.isInSight(); }, patience)) {
        fail("the program is not hidden at all");
    }
    runFor(1.5);
    const std::int64_t before = spice.session() ? spice.session()->interruptions : 0;
    std::mt19937 random(1); // NOLINT: the same moments every time
    std::uniform_real_distribution<double> moment(0, 1);
    Chase result{.trials = trials};
    for (int index = 0; index < trials; ++index) {
        runFor(moment(random));
        window.bringForward();
        if (!runUntil([&] { return window.isInSight(); }, patience)) {
            fail("the program does not come forward");
        }
        const Nanoseconds shown = now();
        if (!runUntil([&] { return !window.isInSight(); }, patience)) {
            fail("the program stays in sight");
        }
        const double seconds = milliseconds(now() - shown) / 1000;
        result.inSight.add(seconds);
        result.late += seconds > 1 ? 1 : 0;
    }
    runFor(0.1);
    result.counted = spice.session() ? spice.session()->interruptions - before : 0;
    spice.rest();
    return result;
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

void sweepApplications(const std::string& ownProgram, Verdicts& verdicts) {
    const int sweeps = countOrQuick(200, 50);
    const int trials = countOrQuick(200, 10);
    Program others({ownProgram, windowsMode});
    const SoughtWindow window(static_cast<xcb_window_t>(std::stoul(others.line())));
    if (!runUntil([&] { return window.listed() >= windowCount && window.isInSight(); }, 10)) {
        fail("the windows do not show");
    }
    QtPlatform::QtMainLoop loop;
    progress("sweeping over " + std::to_string(windowCount) + " windows");
    const SweepCost cost = measureSweeps(loop, sweeps);
    progress("bringing a listed program forward, " + std::to_string(trials) + " times");
    window.bringForward();
    const Chase result = chase(loop, window, trials);

    Table table({"A sweep over " + std::to_string(windowCount) + " windows of " + std::to_string(classCount) +
                     " programs",
                 "median", "p95", "least–most", "goal"});
    addRow(table, "a look and a request to hide, ms", cost.sweeps, 3, "≤ 1");
    addRow(table, "requests to the X server, each", cost.requests, 0);
    addRow(table, "the first look of all, ms", cost.first, 2);
    addRow(table, "a listed program in sight, s", result.inSight, 3, "≤ 1.1");
    table.print();
    std::printf("%d times brought forward: %lld counted, %d in sight for more than a second.\n",
                result.trials, static_cast<long long>(result.counted), result.late);
    verdicts.check("sweep.cost.worst", cost.sweeps.most() / longestSweep, 5);
    verdicts.check("sweep.cost", cost.sweeps.median() / longestSweep, 1);
    verdicts.check("sweep.uncounted", std::abs(static_cast<double>(result.counted - result.trials)), 0);
    verdicts.check("sweep.hidden", result.inSight.most() / longestInSight, 1);
}

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

int main(int argumentCount, char** arguments) {
    if (argumentCount > 1 && arguments[1] == std::string_view(windowsMode)) {
        showWindows();
    }
    Linux::keepHeapSmall();
    const QCoreApplication application(argumentCount, arguments);
    Verdicts verdicts;
    sweepApplications(arguments[0], verdicts);
    stageFiles(verdicts);
    return verdicts.exitStatus();
}
