// What reading the words on a screen costs and how well it is done, beside Tesseract's own program with one
// thread over the same files in the same minutes: pictures of all sizes and colours with known text, a dense
// full-HD screen, the first reading after a warm-up beside later ones, and the memory that is given back.

#include "Benchmarks/Programs.hpp"
#include "Benchmarks/TextPictures.hpp"
#include "Benchmarks/TextScore.hpp"
#include "Platforms/Linux/Heap.hpp"
#include "Platforms/Linux/Text/TesseractRecogniser.hpp"
#include "Platforms/Qt/QtPictures.hpp"
#include "Tests/TemporaryFolder.hpp"

#include <QGuiApplication>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <iterator>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace Bench;
using Fotrel::TextRecogniser;
using Linux::TesseractRecogniser;
using ZorbelKit::Picture;

constexpr double mostErrorsBesideTesseract = 0.2;
constexpr double mostErrorsOfPlainText = 0.01;
constexpr int plainSize = 10; // pixels, and more
constexpr int manyReadings = 10;
constexpr double firstBesideTenth = 1.25; // the machine is not alone
constexpr double mostKept = 8'000;        // kilobytes that may stay once all has been given back
constexpr double secondsUntilGivenBack = 20;

std::string read(TextRecogniser& recogniser, const Picture& picture) {
    std::promise<TextRecogniser::Lines> promise;
    recogniser.recognise(picture, ZorbelKit::Priority::userInitiated,
                         [&](TextRecogniser::Lines lines) { promise.set_value(std::move(lines)); });
    const auto lines = promise.get_future().get();
    if (!lines) {
        fail("the picture is not read");
    }
    std::string text;
    for (const auto& line : *lines) {
        text += line + "\n";
    }
    return text;
}

double timeToRead(TextRecogniser& recogniser, const Picture& picture) {
    const Nanoseconds start = now();
    read(recogniser, picture);
    return milliseconds(now() - start);
}

void warmUp(TextRecogniser& recogniser) {
    read(recogniser, QtPlatform::QtPictures().blank(32, 32));
}

/// Tesseract's own program, with what it reads in a file.
class TesseractProgram {
public:
    std::string save(const TextPicture& picture) const {
        const std::string file = folder_.path() / (picture.name + ".png");
        if (!picture.image.save(QString::fromStdString(file))) {
            fail("cannot write " + file);
        }
        return file;
    }
    std::string read(const std::string& file) const {
        run({"tesseract", file, file, "quiet"});
        std::ifstream text(file + ".txt");
        return {std::istreambuf_iterator<char>(text), {}};
    }

private:
    TemporaryFolder folder_;
};

std::string percent(double share) {
    char text[32];
    std::snprintf(text, sizeof text, "%.2f %%", 100 * share);
    return text;
}

std::string fixed(double value, int decimals) {
    char text[32];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

/// What this process holds before it reads, after it has read, and once that has been given back: kilobytes.
struct HeldMemory {
    double before = 0;
    double reading = 0;
    double after = 0;
};

HeldMemory heldMemory(const Picture& screen) {
    const auto held = [] { return holdingsOf(::getpid()).anonymous; };
    HeldMemory memory;
    TesseractRecogniser recogniser({.locale = "C", .kept = ZorbelKit::Seconds(0.5)});
    memory.before = held();
    {
        const auto warmth = recogniser.keepWarm();
        for (int count = 0; count < 3; ++count) {
            read(recogniser, screen);
        }
        memory.reading = held();
    }
    const Nanoseconds start = now();
    do {
        pause(0.1);
        memory.after = held();
    } while (memory.after > memory.before + mostKept &&
             milliseconds(now() - start) < 1000 * secondsUntilGivenBack);
    return memory;
}

} // namespace

int main(int argumentCount, char** arguments) {
    Linux::keepHeapSmall(); // as the suite does
    ::setenv("OMP_THREAD_LIMIT", "1", 1);
    require("tesseract");
    const QGuiApplication application(argumentCount, arguments);
    const TextPicture screen = textScreen(false);
    const Picture screenPicture = QtPlatform::QtPictures::picture(screen.image);

    progress("reading a screen for its memory");
    const HeldMemory memory = heldMemory(screenPicture);

    TesseractRecogniser recogniser({.locale = "C"});
    const auto warmth = recogniser.keepWarm();
    warmUp(recogniser);
    const TesseractProgram tesseract;

    Samples ours;
    Samples theirs;
    const std::string screenFile = tesseract.save(screen);
    const int rounds = countOrQuick(7, 2);
    for (int round = 0; round < rounds; ++round) {
        progress("reading a full-HD screen, round " + std::to_string(round + 1) + " of " +
                 std::to_string(rounds));
        ours.add(timeToRead(recogniser, screenPicture));
        const Nanoseconds start = now();
        tesseract.read(screenFile);
        theirs.add(milliseconds(now() - start));
    }

    std::map<std::string, TextScore> ourScores;
    std::map<std::string, TextScore> theirScores;
    const std::string all = "all";
    const std::string plain = "plain, 10 px and more";
    const auto pictures = textPictures();
    const int step = countOrQuick(1, 5);
    int count = 0;
    for (std::size_t index = 0; index < pictures.size(); index += static_cast<std::size_t>(step)) {
        const TextPicture& picture = pictures[index];
        if (count++ % 10 == 0) {
            progress("reading pictures, " + std::to_string(index) + " of " + std::to_string(pictures.size()));
        }
        const std::string our = read(recogniser, QtPlatform::QtPictures::picture(picture.image));
        const std::string their = tesseract.read(tesseract.save(picture));
        std::vector<std::string> groups{all, picture.kind, std::to_string(picture.textSize) + " px"};
        if (picture.isPlain() && picture.textSize >= plainSize) {
            groups.push_back(plain);
        }
        for (const auto& group : groups) {
            ourScores[group].add(picture.text, our);
            theirScores[group].add(picture.text, their);
        }
    }

    Samples first;
    Samples tenth;
    const auto small = QtPlatform::QtPictures::picture(pictures.front().image);
    const int starts = countOrQuick(9, 3);
    for (int start = 0; start < starts; ++start) {
        progress("starting anew, " + std::to_string(start + 1) + " of " + std::to_string(starts));
        TesseractRecogniser fresh({.locale = "C"});
        warmUp(fresh);
        first.add(timeToRead(fresh, small));
        for (int reading = 2; reading < manyReadings; ++reading) {
            read(fresh, small);
        }
        tenth.add(timeToRead(fresh, small));
    }

    std::printf("\nErrors: letters to change, of all letters, in %d pictures.\n\n", count);
    Table errors({"", "zorbel", "tesseract"});
    for (const auto& [group, score] : ourScores) {
        errors.add({group, percent(score.rate()), percent(theirScores[group].rate())});
    }
    errors.print();
    std::printf("\nMedian (least–most) of %d rounds, milliseconds.\n\n", rounds);
    Table times({"", "zorbel", "tesseract"});
    times.add({"a dense full-HD screen", ours.text(0), theirs.text(0)});
    times.add({"first reading after a warm-up", first.text(0), ""});
    times.add({"tenth reading", tenth.text(0), ""});
    times.print();
    std::printf("\nMemory of its own, kilobytes.\n\n");
    Table kilobytes({"before", "kept warm", "given back"});
    kilobytes.add({fixed(memory.before, 0), fixed(memory.reading, 0), fixed(memory.after, 0)});
    kilobytes.print();
    std::printf("\n");

    Verdicts verdicts;
    verdicts.check("memory that stays, of 8 MB,", (memory.after - memory.before) / mostKept, 1);
    verdicts.check("first reading beside the tenth,", first.median() / tenth.median(), firstBesideTenth);
    const bool isAlone = std::thread::hardware_concurrency() < 2;
    verdicts.check("full-HD screen beside tesseract,", ours.median() / theirs.median(), isAlone ? 1.5 : 1);
    verdicts.check("errors of plain text, of 1 %,", ourScores[plain].rate() / mostErrorsOfPlainText, 1);
    verdicts.check("text", ourScores[all].rate() / theirScores[all].rate(), mostErrorsBesideTesseract);
    return verdicts.exitStatus();
}
