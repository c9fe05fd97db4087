// What keeping a clipboard history costs, beside CopyQ: how soon a copy is held, how long a very long one
// holds the main thread up, memory after many copies, processor time of many in a row, how many of them are
// kept, and how fast the history is searched.

#include "Benchmarks/ClipboardKeeper.hpp"
#include "Benchmarks/ClipboardOwner.hpp"
#include "Benchmarks/CopyQ.hpp"
#include "Benchmarks/Programs.hpp"
#include "Platforms/Linux/Heap.hpp"

#include <QApplication>
#include <QBuffer>
#include <QImage>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <random>

namespace {

using namespace Bench;

constexpr double latestEntry = 500 + 20;     // milliseconds from the copy: the next poll and a little
constexpr double longestStall = 16;          // milliseconds, a frame
constexpr double mostGrowth = 1.1;           // of the memory with a full history
constexpr double longestSearch = 1;          // milliseconds
constexpr double mostOfPeerProcessor = 0.05; // of CopyQ's processor time
constexpr double mostOfPeerTime = 0.25;      // of CopyQ's time for the long text

constexpr std::size_t fullHistory = 500;     // entries, as zorbel comes
constexpr int longHistory = 5000;            // items, with which CopyQ trims nothing
constexpr std::size_t longText = 10'000'000; // bytes
constexpr double fastPace = 0.028;           // seconds from one copy to the next
constexpr double keptPace = 0.6;
constexpr double peerPace = 0.03; // what CopyQ can follow
constexpr double rushedPace = 0.005;

/// Seconds after a start and before a last look.
double settling() {
    return countOrQuick(3, 1);
}

std::mt19937& chance() {
    static std::mt19937 generator(20); // the same run every time
    return generator;
}

double between(double least, double most) {
    return std::uniform_real_distribution(least, most)(chance());
}

std::string text(double value, int decimals) {
    Samples one;
    one.add(value);
    return one.text(decimals);
}

/// A text that has not been copied before, of so many characters.
std::string newText(std::size_t length) {
    static int made = 0;
    std::string words = "Copy " + std::to_string(++made) + ':';
    while (words.size() < length) {
        words += ' ' + std::to_string(chance()());
    }
    words.resize(length);
    return words;
}

/// The same, with lines, and some of its letters longer than a byte.
std::string newLongText() {
    static const std::string line = "The quick brown fox jumps over the lazy dog, à la carte, and 12345.\n";
    std::string words = newText(400) + '\n';
    words.reserve(longText);
    while (words.size() + line.size() <= longText) {
        words += line;
    }
    words.append(longText - words.size(), '.');
    return words;
}

/// A picture that has not been copied before.
std::string newPicture() {
    QImage image(48, 48, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            image.setPixel(x, y, static_cast<uint>(chance()()));
        }
    }
    QBuffer png;
    if (!image.save(&png, "PNG")) {
        fail("a picture cannot be written");
    }
    return png.data().toStdString();
}

/// What somebody copies in a long day: mostly texts, and a picture every fifth time.
void copyAny(ClipboardOwner& owner, int index) {
    if (index % 5 == 4) {
        owner.copyPicture(newPicture());
    } else {
        owner.copyText(newText(300));
    }
}

/// Calls `copy` so many times, evenly.
void atPace(int copies, double pace, const std::function<void(int)>& copy) {
    const Nanoseconds start = now();
    for (int index = 0; index < copies; ++index) {
        copy(index);
        pause((index + 1) * pace - milliseconds(now() - start) / 1000);
    }
}

Memory memoryOf(const std::vector<pid_t>& processes) {
    Memory sum;
    for (const pid_t process : processes) {
        const Memory memory = Bench::memoryOf(process);
        sum.resident += memory.resident;
        sum.proportional += memory.proportional;
    }
    return sum;
}

struct Growth {
    Memory before;
    Memory after;
};

/// Through the real spice and the real clipboard, as fast as changes come: before is with a full history.
Growth growthOfKeeper(ClipboardOwner& owner, int copies) {
    ClipboardKeeper keeper(ClipboardKeeper::Pace::driven);
    Growth growth;
    for (int index = 0; index < copies; ++index) {
        keeper.keep([&] { copyAny(owner, index); });
        if (growth.before.resident == 0 && keeper.spice().items().size() == fullHistory) {
            runFor(1);
            growth.before = Bench::memoryOf(getpid());
        }
    }
    if (growth.before.resident == 0) {
        fail("the history did not become full");
    }
    runFor(1);
    growth.after = Bench::memoryOf(getpid());
    return growth;
}

/// Of programs that look at the clipboard at their own pace.
Growth growthOf(ClipboardOwner& owner, const std::vector<pid_t>& processes, int copies, double pace) {
    Growth growth;
    growth.before = memoryOf(processes);
    atPace(copies, pace, [&](int index) { copyAny(owner, index); });
    pause(settling());
    growth.after = memoryOf(processes);
    return growth;
}

struct Effort {
    double idle = 0;    // milliseconds of processor time
    double copying = 0; // in a time of the same length

    double added() const { return std::max(copying - idle, 0.0); }
};

Effort effortOf(ClipboardOwner& owner, const std::vector<pid_t>& processes, int copies) {
    const auto timeSpent = [&](const std::function<void()>& meanwhile) {
        std::vector<ProcessCost> before;
        std::ranges::transform(processes, std::back_inserter(before), costSoFar);
        meanwhile();
        Nanoseconds sum = 0;
        for (std::size_t index = 0; index < processes.size(); ++index) {
            sum += spent(before[index], costSoFar(processes[index])).processorTime;
        }
        return milliseconds(sum);
    };
    Effort effort;
    effort.idle = timeSpent([&] { pause(copies * fastPace); });
    effort.copying = timeSpent([&] { atPace(copies, fastPace, [&](int) { owner.copyText(newText(40)); }); });
    return effort;
}

struct Times {
    Samples entry{};    // milliseconds from the copy to the entry in the history
    Samples fromPoll{}; // from the start of the poll that found the copy
};

Times timesOfKeeper(ClipboardOwner& owner, ClipboardKeeper& keeper, int copies) {
    Times times;
    for (int index = 0; index < copies; ++index) {
        runFor(between(0.05, 0.55));
        const Nanoseconds copied = owner.copyText(newText(40));
        keeper.waitUntilHeld(copied);
        times.entry.add(milliseconds(keeper.held() - copied));
        times.fromPoll.add(milliseconds(keeper.held() - keeper.seen()));
    }
    return times;
}

struct LongTimes : Times {
    Samples arrival{}; // from the copy to its being read; known to the millisecond
    Samples stall{};   // milliseconds from one turn of the main thread to the next
    Samples idleStall{};
};

LongTimes longTimesOfKeeper(ClipboardOwner& owner, ClipboardKeeper& keeper, int copies) {
    LongTimes times;
    Heartbeat heartbeat;
    for (int index = 0; index < copies; ++index) {
        std::string words = newLongText();
        heartbeat.reset();
        runFor(between(0.6, 1));
        times.idleStall.add(milliseconds(heartbeat.longest()));

        const Nanoseconds copied = owner.copyText(std::move(words));
        heartbeat.reset();
        times.arrival.add(milliseconds(keeper.waitUntilRead() - copied));
        keeper.waitUntilHeld(copied);
        runFor(0.3);
        times.stall.add(milliseconds(heartbeat.longest()));
        times.entry.add(milliseconds(keeper.held() - copied));
        times.fromPoll.add(milliseconds(keeper.held() - keeper.seen()));
        if (const auto& items = keeper.spice().items(); items.back().text->size() != longText) {
            fail("a long text was not kept whole");
        }
    }
    return times;
}

/// Milliseconds from a copy to CopyQ's item.
Samples timesOf(const CopyQ& copyQ, ClipboardOwner& owner, int copies,
                const std::function<std::string()>& words) {
    Program watch = copyQ.watch();
    watch.line();
    Samples times;
    for (int index = 0; index < copies; ++index) {
        std::string next = words();
        pause(between(0.3, 0.5));
        const Nanoseconds copied = owner.copyText(std::move(next));
        watch.line();
        times.add(milliseconds(now() - copied));
    }
    return times;
}

struct Kept {
    int own = 0;
    int peer = 0;
};

/// Of so many copies at a pace that both can follow.
Kept keptOf(ClipboardOwner& owner, const CopyQ& copyQ, int copies) {
    ClipboardKeeper keeper(ClipboardKeeper::Pace::own);
    Kept kept;
    const int before = copyQ.count();
    std::vector<std::string> copied;
    const Nanoseconds start = now();
    for (int index = 0; index < copies; ++index) {
        copied.push_back(newText(40));
        owner.copyText(copied.back());
        runFor((index + 1) * keptPace - milliseconds(now() - start) / 1000);
    }
    runFor(1);
    for (const std::string& words : copied) {
        kept.own += static_cast<int>(keeper.count(words));
    }
    kept.peer = copyQ.count() - before;
    return kept;
}

/// How many of many copies in a row the history has.
int keptOfFast(ClipboardOwner& owner, ClipboardKeeper& keeper, int copies) {
    const std::size_t before = keeper.spice().items().size();
    const Nanoseconds start = now();
    for (int index = 0; index < copies; ++index) {
        owner.copyText(newText(40));
        runFor((index + 1) * fastPace - milliseconds(now() - start) / 1000);
    }
    runFor(1);
    return static_cast<int>(keeper.spice().items().size() - before);
}

/// A pasteboard on which nothing but texts is copied.
class TextPasteboard : public ZorbelKit::Pasteboard {
public:
    ZorbelKit::Token watch() override { return {}; }
    std::int64_t changeCount() const override { return count_; }
    std::vector<ZorbelKit::PasteboardUrl> urls() const override { return {}; }
    std::optional<ZorbelKit::SharedText> string() const override { return text_; }
    bool hasPicture(ZorbelKit::PictureType) const override { return false; }
    void setString(const ZorbelKit::SharedText& text) override {
        text_ = text;
        ++count_;
    }
    void setPicture(const ZorbelKit::Picture&) override {}
    std::string watchingHint() const override { return {}; }

private:
    ZorbelKit::SharedText text_;
    std::int64_t count_ = 0;
};

class EmptyWorkspace : public ZorbelKit::Workspace {
public:
    std::optional<ZorbelKit::RunningApplication> frontmostApplication() const override {
        return std::nullopt;
    }
    std::optional<std::string> iconOf(const std::string&) const override { return std::nullopt; }
    std::optional<std::string> ownBundleIdentifier() const override { return std::nullopt; }
};

struct Search {
    const char* name;
    const char* wanted;
    Samples list{};   // milliseconds for what is shown
    Samples change{}; // from the word to the end of a reader that shows it
};

/// A history of 500 entries of 400 characters, every other one of letters that are longer than a byte.
void measureSearches(std::array<Search, 4>& searches, int rounds) {
    DrivenLoop loop;
    const QtPlatform::QtClock clock;
    TextPasteboard pasteboard;
    const EmptyWorkspace workspace;
    const Linux::IcuLanguage language("en_GB");
    Mordan::MordanSpice spice(loop, clock, pasteboard, workspace, language);
    spice.steep();
    for (std::size_t index = 0; index < fullHistory; ++index) {
        std::string words = newText(40);
        const char* letters = index % 2 == 0 ? "Lorem ipsum " : "Съешь ещё этих ";
        for (int count = 0; count < 40; ++count) {
            words += letters;
        }
        pasteboard.setString(std::move(words));
        loop.tick();
    }
    if (spice.items().size() != fullHistory) {
        fail("a text was not held");
    }

    std::size_t shown = 0;
    const ZorbelKit::Token reader = spice.observe([&] { shown = spice.visible().size(); });
    for (int round = 0; round < rounds; ++round) {
        for (Search& search : searches) {
            Nanoseconds start = now();
            spice.setSearch(search.wanted);
            search.change.add(milliseconds(now() - start));
            start = now();
            shown += spice.visible().size();
            search.list.add(milliseconds(now() - start));
        }
    }
    if (shown == 0) {
        fail("nothing was found");
    }
    spice.rest();
}

/// How often each thing is done.
struct Counts {
    int many = countOrQuick(10'000, 1'000);
    int peer = countOrQuick(2'000, 100);
    int rushed = countOrQuick(4'000, 400);
    int fast = countOrQuick(1'000, 100);
    int fastKept = countOrQuick(250, 50);
    int even = countOrQuick(200, 6);
    int timed = countOrQuick(40, 5);
    int longOnes = countOrQuick(11, 3);
    int searches = countOrQuick(300, 100);
};

struct Figures {
    Growth growth{}; // of the spice and the clipboard alone
    Times times{};
    LongTimes longTimes{};
    int keptFast = 0;

    Effort effort{}; // of zorbel
    Growth rushedGrowth{};

    Growth peerGrowth{};
    Effort peerEffort{};
    int peerKeptFast = 0;
    Samples peerTimes{}; // milliseconds
    Samples peerLongTimes{};

    Kept kept{};
    std::array<Search, 4> searches{Search{"no entry", "xyzzy"}, Search{"every other, ASCII", "IPSUM lorem"},
                                   Search{"every other, Cyrillic", "ЭТИХ СЪЕШЬ"},
                                   Search{"every entry", "Copy"}};
};

void measureKeeper(ClipboardOwner& owner, const Counts& counts, Figures& figures) {
    progress("memory: " + std::to_string(counts.many) + " copies");
    figures.growth = growthOfKeeper(owner, counts.many);
    progress("from a copy to the history");
    ClipboardKeeper keeper(ClipboardKeeper::Pace::own);
    figures.times = timesOfKeeper(owner, keeper, counts.timed);
    figures.longTimes = longTimesOfKeeper(owner, keeper, counts.longOnes);
    figures.keptFast = keptOfFast(owner, keeper, counts.fastKept);
}

void measureZorbel(ClipboardOwner& owner, const Counts& counts, Figures& figures) {
    progress("zorbel: " + std::to_string(counts.fast) + " copies in a row");
    const Program program(zorbel());
    pause(settling());
    figures.effort = effortOf(owner, {program.process()}, counts.fast);
    progress("zorbel's memory: " + std::to_string(counts.rushed) + " copies");
    figures.rushedGrowth = growthOf(owner, {program.process()}, counts.rushed, rushedPace);
}

void measureCopyQ(ClipboardOwner& owner, const Counts& counts, Figures& figures) {
    {
        progress("CopyQ's memory: " + std::to_string(counts.peer) + " copies");
        const CopyQ copyQ(owner, static_cast<int>(fullHistory));
        pause(settling());
        figures.peerGrowth = growthOf(owner, copyQ.processes(), counts.peer, peerPace);
    }
    const CopyQ copyQ(owner, longHistory);
    pause(settling());
    progress("CopyQ: " + std::to_string(counts.fast) + " copies in a row");
    const int before = copyQ.count();
    pause(1);
    figures.peerEffort = effortOf(owner, copyQ.processes(), counts.fast);
    pause(1);
    figures.peerKeptFast = copyQ.count() - before;
    progress("CopyQ: from a copy to the history");
    figures.peerTimes = timesOf(copyQ, owner, counts.timed, [] { return newText(40); });
    figures.peerLongTimes = timesOf(copyQ, owner, counts.longOnes, newLongText);
    if (copyQ.newestLength() != longText) {
        fail("CopyQ did not keep a long text whole");
    }

    progress("both: " + std::to_string(counts.even) + " copies, " + text(keptPace, 1) + " s apart");
    figures.kept = keptOf(owner, copyQ, counts.even);
}

void print(const Counts& counts, const Figures& figures) {
    std::printf("\nMedian (least–most) of %d short copies and %d of 10 MB, at random moments.\n\n",
                counts.timed, counts.longOnes);
    Table latency({"ms until a copy is in the history", "Zorbel", "CopyQ", "goal"});
    latency.add(
        {"short text, from the copy", figures.times.entry.text(1), figures.peerTimes.text(1), "most ≤ 520"});
    latency.add({"short text, from zorbel's poll", figures.times.fromPoll.text(2), "", ""});
    latency.add({"10 MB, from the copy", figures.longTimes.entry.text(1), figures.peerLongTimes.text(1), ""});
    latency.add({"10 MB, until they are read", figures.longTimes.arrival.text(1), "", ""});
    latency.add(
        {"10 MB, from zorbel's poll", figures.longTimes.fromPoll.text(2), "", "≤ 0.25 × CopyQ's copy"});
    latency.print();

    Table stalls({"longest stall of the main thread, ms", "Zorbel", "goal"});
    stalls.add({"10 MB are copied, read and held", figures.longTimes.stall.text(2), "≤ 16"});
    stalls.add({"nothing happens", figures.longTimes.idleStall.text(2), ""});
    stalls.print();

    const auto memoryCells = [](const std::string& name, const Growth& change) {
        return std::vector<std::string>{name, text(change.before.resident, 1), text(change.after.resident, 1),
                                        text(change.after.proportional, 1)};
    };
    Table memory({"memory, MB, a fifth of the copies pictures", "RSS before", "RSS after", "PSS after"});
    memory.add(memoryCells("spice and clipboard, " + std::to_string(counts.many) +
                               " copies; before: its 500 entries full",
                           figures.growth));
    memory.add(
        memoryCells("zorbel, " + std::to_string(counts.rushed) + " copies 5 ms apart", figures.rushedGrowth));
    memory.add(memoryCells("CopyQ with 500 items, " + std::to_string(counts.peer) + " copies 30 ms apart",
                           figures.peerGrowth));
    memory.print();

    Table effort({"ms of processor time, " + std::to_string(counts.fast) + " copies 28 ms apart", "Zorbel",
                  "CopyQ", "goal"});
    effort.add({"while they come", text(figures.effort.copying, 1), text(figures.peerEffort.copying, 1), ""});
    effort.add({"idle for as long", text(figures.effort.idle, 1), text(figures.peerEffort.idle, 1), ""});
    effort.add({"what they cost", text(figures.effort.added(), 1), text(figures.peerEffort.added(), 1),
                "≤ 0.05 × CopyQ"});
    effort.print();

    const auto of = [](int some, int all) { return std::to_string(some) + " of " + std::to_string(all); };
    Table keeping({"copies kept", "Zorbel", "CopyQ", "goal"});
    keeping.add(
        {"600 ms apart", of(figures.kept.own, counts.even), of(figures.kept.peer, counts.even), "all"});
    keeping.add({"28 ms apart", of(figures.keptFast, counts.fastKept), of(figures.peerKeptFast, counts.fast),
                 "one at each poll"});
    keeping.print();

    Table searching({"ms to search 500 entries of 400 characters; found:", "list", "word to list", "goal"});
    for (const Search& search : figures.searches) {
        searching.add({search.name, search.list.text(3), search.change.text(3), "≤ 1"});
    }
    searching.print();
}

/// The exit status.
int judge(const Counts& counts, const Figures& figures) {
    const double ownMemory = std::max(figures.growth.after.resident, figures.rushedGrowth.after.resident);
    double slowestSearch = 0;
    for (const Search& search : figures.searches) {
        slowestSearch = std::max({slowestSearch, search.list.median(), search.change.median()});
    }
    Verdicts verdicts;
    verdicts.check("clipboard.entry", figures.times.entry.most() / latestEntry, 1);
    verdicts.check("clipboard.stall", figures.longTimes.stall.median() / longestStall, 1);
    verdicts.check("clipboard.growth", figures.growth.after.resident / figures.growth.before.resident,
                   mostGrowth);
    verdicts.check("clipboard.memory", ownMemory / figures.peerGrowth.after.resident, 1);
    verdicts.check("clipboard.processor", figures.effort.added() / figures.peerEffort.added(),
                   mostOfPeerProcessor);
    verdicts.check("clipboard.lost", counts.even - figures.kept.own, 0);
    verdicts.check("clipboard.search", slowestSearch / longestSearch, 1);
    verdicts.check("clipboard", figures.longTimes.fromPoll.median() / figures.peerLongTimes.median(),
                   mostOfPeerTime);
    return verdicts.exitStatus();
}

} // namespace

int main(int argumentCount, char** arguments) {
    Linux::keepHeapSmall();
    require("copyq");
    const QApplication application(argumentCount, arguments);
    const Counts counts;
    Figures figures;
    {
        ClipboardOwner owner;
        measureKeeper(owner, counts, figures); // first of all, while this process is small
        const Tray tray;
        measureZorbel(owner, counts, figures);
        measureCopyQ(owner, counts, figures);
    }
    progress("searching");
    measureSearches(figures.searches, counts.searches);

    print(counts, figures);
    return judge(counts, figures);
}
