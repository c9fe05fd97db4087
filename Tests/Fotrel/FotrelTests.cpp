#include "Fotrel/Fotrel.hpp"
#include "Platforms/Simulated/SimulatedHost.hpp"
#include "Tests/Fotrel/FotrelServices.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <regex>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

using Fotrel::Capture;
using Fotrel::FotrelSpice;
using Fotrel::TextRecogniser;
using Simulated::SimulatedHost;
using Simulated::SimulatedPictures;
using Simulated::SimulatedProcesses;
using Simulated::SimulatedTextRecogniser;
using ZorbelKit::Picture;
using ZorbelKit::Priority;
using ZorbelKit::Seconds;
using ZorbelKit::Token;

namespace {

using Texts = std::vector<std::string>;

/// The host comes first: what it was asked for may outlive the spice.
struct Screen {
    SimulatedHost host;
    const int liveBefore = host.liveThings();
    std::unique_ptr<FotrelSpice> spice = std::make_unique<FotrelSpice>(fotrelServices(host));

    const std::vector<Capture>& captures() const { return spice->captures(); }

    std::vector<int> widths() const {
        std::vector<int> widths;
        for (const Capture& capture : captures()) {
            widths.push_back(capture.image.width());
        }
        return widths;
    }

    std::vector<SimulatedProcesses::Started>& runs() { return host.processes.started; }
    static std::string fileOf(const SimulatedProcesses::Started& run) { return run.arguments.back(); }
    std::set<std::filesystem::path> filesLeft() const {
        std::set<std::filesystem::path> left;
        for (const auto& [file, picture] : host.pictures->files) {
            left.insert(file);
        }
        return left;
    }

    /// The tool has written a picture and ends.
    void finishRun(std::size_t run, const Picture& picture, int status = 0) {
        host.pictures->files[fileOf(runs().at(run))] = picture;
        endRun(run, status);
    }
    void endRun(std::size_t run, int status) {
        const auto ended = runs().at(run).ended;
        ended(status);
        host.loop.settle();
    }

    void load(int width, bool isCompact = true) {
        spice->load(SimulatedPictures::picture(width, 10, isCompact));
    }
    void loadMany(int count) {
        for (int width = 1; width <= count; ++width) {
            load(width);
        }
    }

    /// What the reader is asked for on behalf of a picture that wide.
    SimulatedTextRecogniser::Reading reading(int width) const {
        const auto& readings = host.textRecogniser.readings;
        const auto found =
            std::ranges::find(readings, width, [](const auto& reading) { return reading.picture.width(); });
        if (found == readings.end()) {
            throw std::runtime_error("never read");
        }
        return *found;
    }
    void finishReading(int width, const TextRecogniser::Lines& lines) {
        reading(width).done(lines);
        host.loop.settle();
    }

    int warmUps() const {
        return static_cast<int>(std::ranges::count(host.textRecogniser.readings, Priority::utility,
                                                   &SimulatedTextRecogniser::Reading::priority));
    }
};

} // namespace

TEST(Fotrel, KnowsItsNames) {
    const Screen screen;
    EXPECT_EQ(screen.spice->id(), "fotrel");
    EXPECT_EQ(screen.spice->name(), "Fotrel");
    EXPECT_EQ(screen.spice->role(), "Screenshot & OCR");
    EXPECT_EQ(screen.spice->summary(), "Captures the screen, then lifts the text back out of it.");
    EXPECT_FALSE(screen.spice->reason().empty());
    EXPECT_EQ(screen.spice->wave(), ZorbelKit::Wave::nextBatch);
    EXPECT_FALSE(screen.spice->isEnabled());
    EXPECT_TRUE(screen.captures().empty());
    EXPECT_EQ(screen.spice->lastError(), std::nullopt);
}

TEST(Fotrel, DoesNothingBeforeItIsOn) {
    Screen screen;
    screen.host.loop.advance(Seconds{60});
    EXPECT_TRUE(screen.host.textRecogniser.readings.empty());
    EXPECT_TRUE(screen.runs().empty());
    EXPECT_EQ(screen.host.liveThings(), screen.liveBefore);
}

TEST(Fotrel, TurnedOnItReadsABlankPictureOnce) {
    Screen screen;
    screen.spice->steep();
    ASSERT_EQ(screen.host.textRecogniser.readings.size(), 1U);
    const auto warmUp = screen.host.textRecogniser.readings.front();
    EXPECT_EQ(warmUp.picture.width(), 32);
    EXPECT_EQ(warmUp.picture.height(), 32);
    EXPECT_EQ(warmUp.priority, Priority::utility);
    warmUp.done(Texts{"noise"});
    screen.host.loop.settle();
    EXPECT_TRUE(screen.captures().empty()) << "what is read there is of no interest";
    EXPECT_EQ(screen.host.loop.liveTimers(), 0);
}

TEST(Fotrel, WarmsUpOnlyOnceHoweverOftenItIsTurnedOn) {
    Screen screen;
    for (int round = 0; round < 3; ++round) {
        screen.spice->steep();
        screen.spice->rest();
    }
    EXPECT_EQ(screen.warmUps(), 1);
}

TEST(Fotrel, AWarmUpThatFailsIsNotTriedAgainAndNotTold) {
    Screen screen;
    screen.spice->steep();
    screen.host.textRecogniser.readings.front().done(std::nullopt);
    screen.host.loop.settle();
    screen.spice->rest();
    screen.spice->steep();
    EXPECT_EQ(screen.warmUps(), 1);
    EXPECT_EQ(screen.spice->lastError(), std::nullopt);
}

TEST(Fotrel, KeepsTheReaderWarmWhileItIsOn) {
    Screen screen;
    EXPECT_EQ(screen.host.textRecogniser.keepers(), 0);
    for (int round = 0; round < 2; ++round) {
        screen.spice->steep();
        EXPECT_EQ(screen.host.textRecogniser.keepers(), 1);
        screen.spice->steep();
        EXPECT_EQ(screen.host.textRecogniser.keepers(), 1) << "asked for twice";
        screen.spice->rest();
        EXPECT_EQ(screen.host.textRecogniser.keepers(), 0);
    }
    screen.spice->steep();
    screen.spice.reset();
    EXPECT_EQ(screen.host.textRecogniser.keepers(), 0);
}

TEST(Fotrel, GivesTheToolItsArgumentsAndAfterThemTheFile) {
    const struct {
        const char* name;
        void (FotrelSpice::*capture)();
        Texts arguments;
    } rows[] = {
        {"region", &FotrelSpice::captureRegion, {"--region"}},
        {"window", &FotrelSpice::captureWindow, {"--window", "--plain"}},
        {"screen", &FotrelSpice::captureScreen, {"--screen"}},
    };
    const std::regex file("/tmp/zorbel-[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-"
                          "[0-9A-F]{12}\\.png");
    Screen screen;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        (screen.spice.get()->*row.capture)();
        const auto& run = screen.runs().back();
        EXPECT_EQ(run.executable, "/bin/capture");
        ASSERT_EQ(run.arguments.size(), row.arguments.size() + 1);
        EXPECT_TRUE(std::equal(row.arguments.begin(), row.arguments.end(), run.arguments.begin()));
        EXPECT_TRUE(std::regex_match(Screen::fileOf(run), file)) << Screen::fileOf(run);
    }
    EXPECT_EQ(screen.runs().size(), 3U);
}

TEST(Fotrel, EachPressRunsAToolOfItsOwn) {
    Screen screen;
    for (int press = 0; press < 3; ++press) {
        screen.spice->captureRegion();
    }
    ASSERT_EQ(screen.runs().size(), 3U);
    std::set<std::string> files;
    for (const auto& run : screen.runs()) {
        files.insert(Screen::fileOf(run));
    }
    EXPECT_EQ(files.size(), 3U);
    screen.finishRun(2, SimulatedPictures::picture(3, 3));
    screen.endRun(0, 1);
    screen.finishRun(1, SimulatedPictures::picture(1, 1));
    EXPECT_EQ(screen.widths(), (std::vector<int>{1, 3})) << "in the order in which they ended";
    EXPECT_TRUE(screen.filesLeft().empty());
}

TEST(Fotrel, APictureTakenComesFirstAndIsRead) {
    Screen screen;
    screen.spice->steep();
    screen.load(5);
    screen.spice->captureRegion();
    screen.host.loop.advance(Seconds{3});
    EXPECT_EQ(screen.captures().size(), 1U) << "nothing while the user selects";
    const auto now = screen.host.clock.now();
    screen.finishRun(0, SimulatedPictures::picture(640, 480));
    ASSERT_EQ(screen.widths(), (std::vector<int>{640, 5}));
    const Capture taken = screen.captures().front();
    EXPECT_EQ(taken.image.height(), 480);
    EXPECT_EQ(taken.takenAt, now) << "when it came into the list, not when the button was pressed";
    EXPECT_EQ(taken.text, std::nullopt);
    EXPECT_TRUE(taken.isReading);
    EXPECT_NE(taken.id, screen.captures().back().id);
    EXPECT_EQ(screen.reading(640).priority, Priority::userInitiated);
    EXPECT_EQ(screen.reading(640).picture, taken.image) << "not another copy of it";

    screen.finishReading(640, Texts{"first line", "second line"});
    EXPECT_EQ(screen.captures().front().text, "first line\nsecond line");
    EXPECT_FALSE(screen.captures().front().isReading);
    EXPECT_EQ(screen.captures().front().id, taken.id);
    EXPECT_TRUE(screen.captures().back().isReading) << "the other one is still being read";
}

TEST(Fotrel, TheFileIsThereOnlyUntilItIsRead) {
    Screen screen;
    screen.spice->captureScreen();
    const auto file = Screen::fileOf(screen.runs().front());
    screen.host.pictures->files[file] = SimulatedPictures::picture(1, 1);
    const auto ended = screen.runs().front().ended;
    ended(0);
    EXPECT_EQ(screen.host.pictures->removed, std::vector<std::filesystem::path>{file});
    EXPECT_TRUE(screen.captures().empty()) << "the end is heard on another thread";
    screen.host.loop.settle();
    EXPECT_EQ(screen.captures().size(), 1U);
}

TEST(Fotrel, F1_ACaptureThatWasCancelledOrFailedAddsNothingAndLeavesNothing) {
    const struct {
        const char* name;
        int status;
        bool hasFile;
    } rows[] = {
        {"cancelled, no file", 1, false},
        {"ended well, no file to read", 0, false},
        {"failed with a file", 1, true},
        {"killed with a file", 137, true},
        {"could not be run after all", 127, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Screen screen;
        screen.spice->steep();
        screen.spice->captureRegion();
        if (row.hasFile) {
            screen.finishRun(0, SimulatedPictures::picture(1, 1), row.status);
        } else {
            screen.endRun(0, row.status);
        }
        EXPECT_TRUE(screen.captures().empty());
        EXPECT_EQ(screen.spice->lastError(), std::nullopt);
        EXPECT_TRUE(screen.filesLeft().empty());
        EXPECT_EQ(screen.host.pictures->removed,
                  std::vector<std::filesystem::path>{Screen::fileOf(screen.runs().front())});
        EXPECT_EQ(screen.host.textRecogniser.readings.size(), 1U) << "the warm-up alone";
    }
}

TEST(Fotrel, AToolThatCannotBeStartedIsTold) {
    Screen screen;
    screen.host.processes.refusal = "“capture” could not be found.";
    screen.spice->captureWindow();
    EXPECT_EQ(screen.spice->lastError(), "Could not start screencapture. “capture” could not be found.");
    EXPECT_TRUE(screen.captures().empty());
    EXPECT_EQ(screen.host.pictures->removed.size(), 1U) << "what was made ready for the file";
}

TEST(Fotrel, OnlyTurningItOffClearsTheError) {
    Screen screen;
    screen.spice->steep();
    screen.host.processes.refusal = "No.";
    screen.spice->captureRegion();
    screen.host.processes.refusal.reset();
    screen.spice->captureRegion();
    screen.finishRun(0, SimulatedPictures::picture(1, 1));
    screen.load(2);
    ASSERT_EQ(screen.captures().size(), 2U);
    screen.spice->copyImage(screen.captures().front());
    screen.spice->forget(screen.captures().front());
    screen.spice->steep();
    EXPECT_EQ(screen.spice->lastError(), "Could not start screencapture. No.");
    screen.host.processes.refusal = "Still no.";
    screen.spice->captureRegion();
    EXPECT_EQ(screen.spice->lastError(), "Could not start screencapture. Still no.") << "the last one";
    screen.spice->rest();
    EXPECT_EQ(screen.spice->lastError(), std::nullopt);
}

TEST(Fotrel, F5_WaitsForThePanelToBeGone) {
    Screen screen;
    screen.host.panels.isOpen = true;
    screen.spice->captureRegion();
    screen.spice->captureScreen();
    screen.host.loop.advance(Seconds{1});
    EXPECT_TRUE(screen.runs().empty());
    screen.host.panels.close();
    ASSERT_EQ(screen.runs().size(), 2U);
    EXPECT_EQ(screen.runs().front().arguments.front(), "--region");
    EXPECT_EQ(screen.runs().back().arguments.front(), "--screen");
}

TEST(Fotrel, F17_TheTwentyFirstPushesOutTheOldest) {
    Screen screen;
    screen.loadMany(20);
    ASSERT_EQ(screen.captures().size(), FotrelSpice::mostCaptures);
    EXPECT_EQ(screen.widths().front(), 20);
    EXPECT_EQ(screen.widths().back(), 1);
    screen.load(21);
    ASSERT_EQ(screen.captures().size(), 20U);
    EXPECT_EQ(screen.widths().front(), 21);
    EXPECT_EQ(screen.widths().back(), 2);
    screen.finishReading(1, Texts{"too late"});
    EXPECT_TRUE(std::ranges::none_of(screen.captures(), [](const Capture& capture) {
        return capture.text.has_value();
    })) << "what is read in the one pushed out is dropped";
}

TEST(Fotrel, EveryCaptureHasAnIdOfItsOwn) {
    Screen screen;
    const Picture picture = SimulatedPictures::picture(1, 1);
    for (int count = 0; count < 20; ++count) {
        screen.spice->load(picture);
    }
    std::set<ZorbelKit::Uuid> ids;
    for (const Capture& capture : screen.captures()) {
        ids.insert(capture.id);
    }
    EXPECT_EQ(ids.size(), 20U);
}

TEST(Fotrel, APictureFromElsewhereIsAsGoodAsOneTaken) {
    Screen screen;
    screen.host.loop.advance(Seconds{5});
    screen.load(64);
    ASSERT_EQ(screen.captures().size(), 1U);
    EXPECT_TRUE(screen.captures().front().isReading);
    EXPECT_EQ(screen.captures().front().takenAt, screen.host.clock.now());
    screen.finishReading(64, Texts{"words"});
    EXPECT_EQ(screen.captures().front().text, "words");
    EXPECT_TRUE(screen.runs().empty());
}

TEST(Fotrel, APictureWithoutPixelsHasNoText) {
    Screen screen;
    screen.spice->load(Picture());
    screen.host.loop.settle();
    ASSERT_EQ(screen.captures().size(), 1U);
    EXPECT_FALSE(screen.captures().front().isReading);
    EXPECT_EQ(screen.captures().front().text, std::nullopt);
    EXPECT_TRUE(screen.host.textRecogniser.readings.empty());
}

TEST(Fotrel, ReadingEndsWithItsLinesOrWithNone) {
    const struct {
        const char* name;
        TextRecogniser::Lines lines;
        std::optional<std::string> text;
    } rows[] = {
        {"failed", std::nullopt, std::nullopt},
        {"nothing found", Texts{}, std::nullopt},
        {"one line", Texts{"tea"}, "tea"},
        {"two lines", Texts{"tea", "milk"}, "tea\nmilk"},
        {"spaces stay", Texts{"  tea ", "\tmilk"}, "  tea \n\tmilk"},
        {"an empty line between", Texts{"tea", "", "milk"}, "tea\n\nmilk"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Screen screen;
        screen.load(1);
        screen.finishReading(1, row.lines);
        EXPECT_EQ(screen.captures().front().text, row.text);
        EXPECT_FALSE(screen.captures().front().isReading);
    }
}

TEST(Fotrel, F13_TextIsKeptAndCopiedByteForByte) {
    const Texts lines{"日本語の文字",
                      "العربية ‏שלום",
                      "e\u0301a\u0308 is not éä",
                      "👩‍👩‍👧 ☕️ 🇨🇭",
                      "a\u00A0b\u2009c\u200B",
                      "<b>&amp;</b>"};
    std::string joined;
    for (const std::string& line : lines) {
        joined += (joined.empty() ? "" : "\n") + line;
    }
    Screen screen;
    screen.load(1);
    screen.finishReading(1, lines);
    EXPECT_EQ(screen.captures().front().text, joined);
    screen.spice->copyText(screen.captures().front());
    ASSERT_TRUE(screen.host.pasteboard.content().text);
    EXPECT_EQ(screen.host.pasteboard.content().text->view(), joined);
}

TEST(Fotrel, SeveralAreReadAtOnceAndEachGetsItsOwnText) {
    Screen screen;
    screen.loadMany(3);
    screen.finishReading(2, Texts{"two"});
    screen.finishReading(3, std::nullopt);
    EXPECT_TRUE(screen.captures()[2].isReading);
    screen.finishReading(1, Texts{"one"});
    EXPECT_EQ(screen.captures()[0].text, std::nullopt);
    EXPECT_EQ(screen.captures()[1].text, "two");
    EXPECT_EQ(screen.captures()[2].text, "one");
}

TEST(Fotrel, F14_ForgottenWhileItIsReadItStaysForgotten) {
    Screen screen;
    screen.loadMany(3);
    screen.spice->forget(screen.captures()[1]);
    EXPECT_EQ(screen.widths(), (std::vector<int>{3, 1}));
    int changes = 0;
    const Token told = screen.spice->observe([&] { ++changes; });
    screen.finishReading(2, Texts{"late"});
    EXPECT_EQ(screen.widths(), (std::vector<int>{3, 1}));
    EXPECT_EQ(changes, 0);
}

TEST(Fotrel, ForgettingOneLeavesTheOthersAndOneUnknownLeavesAll) {
    Screen screen;
    screen.loadMany(2);
    screen.spice->forget(Capture{.image = screen.captures().front().image});
    EXPECT_EQ(screen.captures().size(), 2U) << "the id counts";
    const Capture oldest = screen.captures().back();
    screen.spice->forget(oldest);
    screen.spice->forget(oldest);
    EXPECT_EQ(screen.widths(), std::vector<int>{2});
}

TEST(Fotrel, TurnedOffItForgetsEverything) {
    Screen screen;
    screen.spice->steep();
    screen.loadMany(3);
    screen.host.processes.refusal = "No.";
    screen.spice->captureRegion();
    screen.spice->rest();
    screen.host.loop.settle();
    EXPECT_TRUE(screen.captures().empty());
    EXPECT_EQ(screen.spice->lastError(), std::nullopt);
    EXPECT_EQ(screen.host.liveThings(), screen.liveBefore);
    screen.finishReading(2, Texts{"late"});
    EXPECT_TRUE(screen.captures().empty()) << "a reading whose capture is gone is dropped";
    screen.spice->steep();
    EXPECT_TRUE(screen.captures().empty());
}

TEST(Fotrel, F6_WhatIsTakenWhileItIsTurnedOffStillArrives) {
    Screen screen;
    screen.spice->steep();
    screen.spice->captureRegion();
    screen.spice->rest();
    EXPECT_EQ(screen.runs().size(), 1U);
    screen.finishRun(0, SimulatedPictures::picture(7, 7));
    ASSERT_EQ(screen.widths(), std::vector<int>{7});
    screen.finishReading(7, Texts{"words"});
    EXPECT_EQ(screen.captures().front().text, "words");
    EXPECT_TRUE(screen.filesLeft().empty());
    EXPECT_EQ(screen.host.textRecogniser.keepers(), 0);
}

TEST(Fotrel, CopyingAPictureReplacesWhatWasCopied) {
    Screen screen;
    screen.loadMany(2);
    screen.host.pasteboard.putText("before");
    const auto changes = screen.host.pasteboard.changeCount();
    screen.spice->copyImage(screen.captures().back());
    EXPECT_EQ(screen.host.pasteboard.changeCount(), changes + 1);
    EXPECT_EQ(screen.host.pasteboard.content().text, std::nullopt);
    EXPECT_EQ(screen.host.pasteboard.content().picture, screen.captures().back().image);
}

TEST(Fotrel, CopyingATextThatIsNotThereLeavesWhatWasCopied) {
    Screen screen;
    screen.loadMany(2);
    screen.finishReading(1, std::nullopt);
    screen.host.pasteboard.putText("before");
    const auto changes = screen.host.pasteboard.changeCount();
    screen.spice->copyText(screen.captures().front()); // still read
    screen.spice->copyText(screen.captures().back());  // has none
    EXPECT_EQ(screen.host.pasteboard.changeCount(), changes);
    EXPECT_EQ(screen.host.pasteboard.content().text->view(), "before");
}

TEST(Fotrel, SavesWhereTheUserSays) {
    Screen screen;
    screen.load(9);
    screen.host.loop.advance(Seconds{62});
    screen.spice->save(screen.captures().front());
    EXPECT_EQ(screen.host.savePanel.suggestions, Texts{"Fotrel 2026-03-14, 09:00:00.png"})
        << "when it was taken, not when it is saved";
    EXPECT_TRUE(screen.filesLeft().empty());
    screen.host.savePanel.confirm("/home/ana/shot.png");
    screen.host.loop.settle();
    ASSERT_EQ(screen.filesLeft(), (std::set<std::filesystem::path>{"/home/ana/shot.png"}));
    EXPECT_EQ(screen.host.pictures->files["/home/ana/shot.png"], screen.captures().front().image);
}

TEST(Fotrel, SavesACompactFileBeforeThePictureItselfIsCompact) {
    Screen screen;
    screen.load(9, /*isCompact=*/false);
    screen.spice->save(screen.captures().front());
    screen.host.savePanel.confirm("/shot.png");
    screen.host.loop.settle();
    EXPECT_TRUE(screen.host.pictures->files["/shot.png"].isCompact());
}

TEST(Fotrel, ASaveThatIsCancelledWritesNothing) {
    Screen screen;
    screen.load(9);
    screen.spice->save(screen.captures().front());
    screen.host.loop.advance(Seconds{60});
    EXPECT_TRUE(screen.filesLeft().empty());
    EXPECT_EQ(screen.captures().size(), 1U);
}

TEST(Fotrel, F16_ASaveThatFailsIsSilent) {
    Screen screen;
    screen.load(9);
    screen.host.pictures->unwritable.insert("/read-only/shot.png");
    int changes = 0;
    const Token told = screen.spice->observe([&] { ++changes; });
    screen.spice->save(screen.captures().front());
    screen.host.savePanel.confirm("/read-only/shot.png");
    screen.host.loop.settle();
    EXPECT_TRUE(screen.filesLeft().empty());
    EXPECT_EQ(screen.spice->lastError(), std::nullopt);
    EXPECT_EQ(changes, 0);
}

TEST(Fotrel, WhatIsForgottenWhileThePanelIsOpenIsSavedAllTheSame) {
    Screen screen;
    screen.load(9);
    screen.spice->save(screen.captures().front());
    screen.spice->rest();
    screen.host.savePanel.confirm("/shot.png");
    screen.host.loop.settle();
    EXPECT_EQ(screen.host.pictures->files["/shot.png"].width(), 9);
}

TEST(Fotrel, KeepsALargePictureCompact) {
    Screen screen;
    screen.load(9, /*isCompact=*/false);
    const auto taken = screen.captures().front();
    EXPECT_FALSE(taken.image.isCompact()) << "it is there at once";
    EXPECT_EQ(screen.reading(9).picture, taken.image) << "and read at once";
    screen.host.loop.settle();
    EXPECT_TRUE(screen.captures().front().image.isCompact());
    EXPECT_EQ(screen.captures().front().image.width(), 9);
    EXPECT_EQ(screen.captures().front().id, taken.id);
    EXPECT_TRUE(screen.captures().front().isReading);
    screen.finishReading(9, Texts{"words"});
    EXPECT_EQ(screen.captures().front().text, "words");
    EXPECT_TRUE(screen.captures().front().image.isCompact());
}

TEST(Fotrel, WhatIsCompactAlreadyIsLeftAlone) {
    Screen screen;
    screen.load(9);
    const Picture picture = screen.captures().front().image;
    int changes = 0;
    const Token told = screen.spice->observe([&] { ++changes; });
    screen.host.loop.settle();
    EXPECT_EQ(screen.captures().front().image, picture);
    EXPECT_EQ(changes, 0);
}

TEST(Fotrel, ForgottenBeforeItIsCompactItStaysForgotten) {
    Screen screen;
    screen.load(9, /*isCompact=*/false);
    screen.spice->forget(screen.captures().front());
    screen.host.loop.settle();
    EXPECT_TRUE(screen.captures().empty());
}

TEST(Fotrel, ATextThatIsReadFirstSurvivesTheCompactPicture) {
    Screen screen;
    screen.load(9, /*isCompact=*/false);
    screen.reading(9).done(Texts{"words"}); // both wait for the main thread now
    screen.host.loop.settle();
    screen.host.loop.settle();
    EXPECT_EQ(screen.captures().front().text, "words");
    EXPECT_FALSE(screen.captures().front().isReading);
    EXPECT_TRUE(screen.captures().front().image.isCompact());
}

TEST(Fotrel, TellsOnceOfEachChange) {
    Screen screen;
    int changes = 0;
    const Token told = screen.spice->observe([&] { ++changes; });
    screen.load(1);
    EXPECT_EQ(changes, 1);
    screen.finishReading(1, Texts{"words"});
    EXPECT_EQ(changes, 2);
    screen.spice->copyText(screen.captures().front());
    screen.spice->copyImage(screen.captures().front());
    EXPECT_EQ(changes, 2);
    screen.spice->forget(screen.captures().front());
    EXPECT_EQ(changes, 3);
}

TEST(Fotrel, MayBeTurnedOffOrForgetWhileItTellsOfACapture) {
    Screen screen;
    const Token told = screen.spice->observe([&] {
        if (!screen.captures().empty()) {
            screen.spice->forget(screen.captures().front());
        }
    });
    screen.spice->captureRegion();
    screen.finishRun(0, SimulatedPictures::picture(4, 4, /*isCompact=*/false));
    screen.finishReading(4, Texts{"late"});
    EXPECT_TRUE(screen.captures().empty());
}

TEST(Fotrel, MayGoWhateverIsStillUnderWay) {
    const struct {
        const char* name;
        std::function<void(Screen&)> begin;
        std::function<void(Screen&)> end;
    } rows[] = {
        {"a panel closes",
         [](Screen& screen) {
             screen.host.panels.isOpen = true;
             screen.spice->captureRegion();
         },
         [](Screen& screen) {
             screen.host.panels.close();
             EXPECT_TRUE(screen.runs().empty());
         }},
        {"the tool runs", [](Screen& screen) { screen.spice->captureRegion(); },
         [](Screen& screen) { screen.finishRun(0, SimulatedPictures::picture(1, 1)); }},
        {"the tool runs and will be cancelled", [](Screen& screen) { screen.spice->captureRegion(); },
         [](Screen& screen) { screen.endRun(0, 1); }},
        {"a picture waits for the main thread",
         [](Screen& screen) {
             screen.spice->captureRegion();
             screen.host.pictures->files[Screen::fileOf(screen.runs().front())] =
                 SimulatedPictures::picture(1, 1);
             const auto ended = screen.runs().front().ended;
             ended(0);
         },
         [](Screen& screen) { screen.host.loop.settle(); }},
        {"a picture is read", [](Screen& screen) { screen.load(8); },
         [](Screen& screen) { screen.finishReading(8, Texts{"late"}); }},
        {"the blank picture is read", [](Screen& screen) { screen.spice->steep(); },
         [](Screen& screen) { screen.finishReading(32, Texts{}); }},
        {"a picture becomes compact", [](Screen& screen) { screen.load(8, /*isCompact=*/false); },
         [](Screen& screen) { screen.host.loop.settle(); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Screen screen;
        row.begin(screen);
        screen.spice.reset();
        row.end(screen);
        EXPECT_TRUE(screen.filesLeft().empty());
        EXPECT_EQ(screen.host.liveThings(), screen.liveBefore);
    }
}

TEST(Fotrel, ASavePanelMayOutliveIt) {
    Screen screen;
    screen.load(9);
    screen.spice->save(screen.captures().front());
    screen.spice.reset();
    screen.host.savePanel.confirm("/shot.png");
    screen.host.loop.settle();
    EXPECT_EQ(screen.host.pictures->files["/shot.png"].width(), 9);
}
