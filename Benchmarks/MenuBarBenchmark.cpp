// What icons of other programs cost on zorbel's own bar: how soon one is seen after its program has
// registered it, beside the desktop panel of Xfce; how soon Sivrel's divider hides and shows them; what is
// left behind by many that come and go; and how often the bar is drawn while they change without a pause.

#include "Benchmarks/Programs.hpp"
#include "Benchmarks/Screen.hpp"
#include "Benchmarks/TrayPrograms.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

using namespace Bench;

constexpr double longest = 100;          // milliseconds from registering an icon to seeing it
constexpr double longestToggle = 50;     // milliseconds, by which an answer feels immediate
constexpr double mostFrames = 60;        // a second
constexpr double mostProcessorTime = 50; // percent of a core, while a thousand changes a second come in

// The allocator takes memory from the system in steps of 128 KB and gives it back in the same: one such step
// of the main thread and one of the bus's may lie between two readings without anything having grown.
constexpr double mostGrowth = 256; // kilobytes

constexpr std::uint32_t colours[] = {0x1050E0, 0xE01090};
constexpr int enoughPixels = 100; // of an icon's
constexpr Nanoseconds patience = 10'000'000'000;
constexpr double rest =
    0.08; // seconds from one icon's end to the next: nobody waits for a frame of the last one
constexpr double quiet = 0.3; // seconds in which nothing more happens

// From the right end of the bar.
constexpr int glassMiddle = 10 + 14;
constexpr int dividerMiddle = 10 + 28 + 11;

const char* const panelSettings = R"(<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=6;x=0;y=0"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="length" type="uint" value="100"/>
      <property name="size" type="uint" value="28"/>
      <property name="plugin-ids" type="array"><value type="int" value="1"/></property>
    </property>
  </property>
  <property name="plugins" type="empty">
    <property name="plugin-1" type="string" value="systray">
      <property name="known-items" type="array"><value type="string" value="benchmark"/></property>
    </property>
  </property>
</channel>
)";

/// The session's settings service reads them when it is first asked.
void writePanelSettings() {
    const char* configuration = std::getenv("XDG_CONFIG_HOME");
    if (!configuration) {
        fail("this is to run inside a desktop session");
    }
    const std::filesystem::path folder =
        std::filesystem::path(configuration) / "xfce4/xfconf/xfce-perchannel-xml";
    std::filesystem::create_directories(folder);
    std::ofstream(folder / "xfce4-panel.xml") << panelSettings;
}

class Stage {
public:
    Screen screen;
    TrayPrograms programs;

    /// Lets programs answer until `isDone`, which is asked after everything that happens.
    void waitUntil(const char* what, const std::function<bool()>& isDone) {
        const Nanoseconds deadline = now() + patience;
        for (programs.work(); !isDone(); programs.work()) {
            screen.wait(programs.descriptors(), 20);
            if (now() > deadline) {
                fail(std::string(what) + " was not seen");
            }
        }
    }

    void waitFor(double seconds) {
        const Nanoseconds end = now() + static_cast<Nanoseconds>(seconds * 1e9);
        for (programs.work(); now() < end; programs.work()) {
            screen.wait(programs.descriptors(), 5);
        }
    }

    void waitForWatcher(bool runs = true) {
        waitUntil("a watcher, or its end", [&] { return TrayPrograms::hasWatcher() == runs; });
    }

    bool isSeen(std::uint32_t colour) { return screen.countOnTop(colour) >= enoughPixels; }
    bool isGone(std::uint32_t colour) { return screen.countOnTop(colour) == 0; }

    Point onBar(int fromRight) const { return {screen.size().x - fromRight, 14}; }
};

/// Milliseconds from registering one icon after another to each being seen.
void measureAppearing(Stage& stage, int count, Samples& samples) {
    for (int index = 0; index < count; ++index) {
        const std::uint32_t colour = colours[index % 2];
        const auto program = stage.programs.start(colour);
        const Nanoseconds registered = now();
        stage.programs.registerItem(program);
        stage.waitUntil("an icon", [&] { return stage.isSeen(colour); });
        samples.add(milliseconds(now() - registered));
        stage.programs.end(program);
        stage.waitUntil("the end of an icon", [&] { return stage.isGone(colour); });
        stage.waitFor(rest);
    }
}

struct Toggles {
    Samples hide; // milliseconds
    Samples show; // milliseconds
    Samples frames;
};

/// Clicks the divider again and again, with so many icons on its left.
void measureDivider(Stage& stage, int rounds, int icons, Toggles& toggles) {
    const std::uint32_t colour = colours[0];
    const auto program = stage.programs.start(colour);
    for (int icon = 0; icon < icons; ++icon) {
        stage.programs.registerItem(program, "/item/" + std::to_string(icon));
    }
    const auto isAllSeen = [&] { return stage.screen.countOnTop(colour) >= icons * enoughPixels; };
    const auto isNoneSeen = [&] { return stage.isGone(colour); };
    stage.waitFor(1);
    if (!isAllSeen() && !isNoneSeen()) {
        fail("some icons are shown and some are not");
    }
    for (int round = 0; round < 2 * rounds; ++round) {
        const bool hides = isAllSeen();
        stage.screen.moveTo(stage.onBar(dividerMiddle));
        stage.screen.press();
        stage.waitFor(quiet);
        stage.screen.frames();
        const Nanoseconds released = stage.screen.release();
        stage.waitUntil(hides ? "a bar without icons" : "all icons",
                        hides ? std::function<bool()>(isNoneSeen) : isAllSeen);
        (hides ? toggles.hide : toggles.show).add(milliseconds(now() - released));
        stage.waitFor(quiet);
        toggles.frames.add(stage.screen.frames());
    }
    if (isNoneSeen()) {
        stage.screen.press();
        stage.screen.release();
    }
    stage.programs.end(program);
    stage.waitUntil("the end of the icons", isNoneSeen);
}

/// Icons come and go: so many one after another, a few at a time.
void comeAndGo(Stage& stage, TrayPrograms::Number program, int count) {
    static int made = 0;
    constexpr int atOnce = 8;
    for (int done = 0; done < count; done += atOnce) {
        std::vector<std::string> names;
        const int asked = stage.programs.questions(program);
        for (int index = 0; index < atOnce; ++index) {
            names.push_back("org.kde.StatusNotifierItem-1-" + std::to_string(++made));
            stage.programs.takeName(program, names.back());
            stage.programs.registerItem(program, names.back());
        }
        stage.waitUntil("interest in an icon",
                        [&] { return stage.programs.questions(program) >= asked + atOnce; });
        for (const std::string& name : names) {
            stage.programs.dropName(program, name);
        }
    }
    stage.waitUntil("an empty list", [] { return TrayPrograms::listed().empty(); });
    stage.waitFor(1);
}

struct Load {
    double frames = 0;        // a second
    double processorTime = 0; // percent of a core
};

/// So many icons tell of another picture so many times a second, all at the same moment.
Load measureChanges(Stage& stage, pid_t process, int connections, int icons, int timesASecond, int seconds) {
    std::vector<TrayPrograms::Number> programs;
    const auto path = [](int icon) { return "/item/" + std::to_string(icon); };
    const int each = icons / connections;
    for (int index = 0; index < connections; ++index) {
        programs.push_back(stage.programs.start(colours[0], colours[1]));
        for (int icon = 0; icon < each; ++icon) {
            stage.programs.registerItem(programs.back(), path(icon));
        }
    }
    stage.waitUntil("all icons", [&] { return static_cast<int>(TrayPrograms::listed().size()) == icons; });
    stage.waitFor(1);

    stage.screen.frames();
    const ProcessCost before = costSoFar(process);
    const Nanoseconds start = now();
    const auto passed = [&] { return milliseconds(now() - start) / 1000; };
    for (int told = 0; passed() < seconds;) {
        for (; told < static_cast<int>(passed() * timesASecond); ++told) {
            for (const auto program : programs) {
                for (int icon = 0; icon < each; ++icon) {
                    stage.programs.tellNewIcon(program, path(icon));
                }
            }
        }
        stage.programs.work();
        stage.screen.wait(stage.programs.descriptors(), 1);
    }
    const double lasted = passed();
    const ThreadCost cost = spent(before, costSoFar(process));
    const Load load{stage.screen.frames() / lasted,
                    static_cast<double>(cost.processorTime) / 1e9 / lasted * 100};
    for (const auto program : programs) {
        stage.programs.end(program);
    }
    stage.waitUntil("an empty list", [] { return TrayPrograms::listed().empty(); });
    return load;
}

std::string text(double value, int decimals = 0) {
    Samples one;
    one.add(value);
    return one.text(decimals);
}

} // namespace

int main() {
    const int rounds = countOrQuick(5, 2);
    const int registrations = countOrQuick(10, 5); // a round
    const int clicks = countOrQuick(15, 3);
    const int cycles = countOrQuick(10'000, 1'000);
    const int warmUp = countOrQuick(3'000, 200);
    const int seconds = countOrQuick(10, 3);

    Samples peer;
    Samples own;
    Stage stage;
    stage.screen.moveTo({stage.screen.size().x / 2, stage.screen.size().y - 40});
    writePanelSettings();
    for (int round = 1; round <= rounds; ++round) {
        progress("icons appear, round " + std::to_string(round) + " of " + std::to_string(rounds));
        {
            const Program panel({"xfce4-panel", "--disable-wm-check"});
            stage.waitForWatcher();
            stage.waitFor(1);
            measureAppearing(stage, registrations, peer);
        }
        stage.waitForWatcher(false);
        {
            const Program program(zorbel());
            stage.waitForWatcher();
            stage.waitFor(1);
            measureAppearing(stage, registrations, own);
        }
        stage.waitForWatcher(false);
    }

    const Program program(zorbel());
    stage.waitForWatcher();
    stage.waitFor(1);
    progress("the divider");
    Toggles toggles;
    measureDivider(stage, clicks, 10, toggles);
    stage.screen.moveTo({stage.screen.size().x / 2, stage.screen.size().y - 40});

    progress(std::to_string(cycles) + " icons come and go");
    const auto passer = stage.programs.start(colours[0]);
    comeAndGo(stage, passer, warmUp);
    const Holdings before = holdingsOf(program.process());
    comeAndGo(stage, passer, cycles);
    const Holdings after = holdingsOf(program.process());
    stage.programs.end(passer);

    progress("icons change");
    const Load one = measureChanges(stage, program.process(), 1, 1, 1000, seconds);
    const Load many = measureChanges(stage, program.process(), 20, 300, 20, seconds);

    std::printf("\nMedian (least–most); %d icons each, in %d interleaved rounds.\n\n", rounds * registrations,
                rounds);
    Table appearing({"ms from registering an icon to its sight", "xfce4-panel", "zorbel's own bar", "goal"});
    appearing.add({"", peer.text(1), own.text(1), "≤ 100"});
    appearing.print();

    Table divider({"click on the divider, 10 icons", "zorbel's own bar", "goal"});
    divider.add({"ms until all are hidden", toggles.hide.text(1), "≤ 50"});
    divider.add({"ms until all are back", toggles.show.text(1), "≤ 50"});
    divider.add({"frames drawn", toggles.frames.text(0), "1"});
    divider.print();

    Table holdings({std::to_string(cycles) + " icons come and go", "before", "after", "goal"});
    holdings.add({"anonymous memory, KB", text(before.anonymous), text(after.anonymous), "≤ 256 more"});
    holdings.add({"descriptors", text(before.descriptors), text(after.descriptors), "equal"});
    holdings.add({"threads", text(before.threads), text(after.threads), "equal"});
    holdings.print();

    Table changes({"icons that change", "frames a second", "processor time, % of a core"});
    changes.add({"one, 1000 times a second", text(one.frames, 1), text(one.processorTime, 1)});
    changes.add({"300 at once, 20 times a second", text(many.frames, 1), text(many.processorTime, 1)});
    changes.add({"goal", "≤ 60", "≤ 50"});
    changes.print();

    Verdicts verdicts;
    verdicts.check("menubar.hide", toggles.hide.median() / longestToggle, 1);
    verdicts.check("menubar.show", toggles.show.median() / longestToggle, 1);
    verdicts.check("menubar.toggleframes", toggles.frames.median(), 1);
    verdicts.check("menubar.growth", (after.anonymous - before.anonymous) / mostGrowth, 1);
    verdicts.check("menubar.descriptors", after.descriptors - before.descriptors, 0);
    verdicts.check("menubar.threads", after.threads - before.threads, 0);
    verdicts.check("menubar.frames", std::max(one.frames, many.frames) / mostFrames, 1);
    verdicts.check("menubar.processor", std::max(one.processorTime, many.processorTime) / mostProcessorTime,
                   1);
    verdicts.check("menubar.worst", own.most() / longest, 1);
    verdicts.check("menubar", own.median() / peer.median(), 1.25);
    return verdicts.exitStatus();
}
