#include "Platforms/Linux/Clipboard/X11Pasteboard.hpp"
#include "Tests/Desktop/Clients/Patterned.hpp"
#include "Tests/Desktop/Desktop.hpp"
#include "Tests/Desktop/Memory.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <deque>
#include <fstream>
#include <initializer_list>
#include <sstream>
#include <type_traits>

using namespace Desktop;
using Linux::X11Pasteboard;
using ZorbelKit::PictureType;
using ZorbelKit::SharedText;

namespace {

constexpr std::size_t kibibyte = 1024;
constexpr std::size_t mebibyte = kibibyte * kibibyte;

/// No call waits for another program; a machine busy with other things takes its time all the same. Shorter
/// than anything the clipboard waits for here.
constexpr Seconds longestCall{0.25};

/// Far shorter than in use: what gives up does so at once.
constexpr X11Pasteboard::Limits quick{.stalledOwner = Seconds{0.6},
                                      .stalledReader = Seconds{0.6},
                                      .handover = Seconds{0.4},
                                      .longestText = 16 * mebibyte};

constexpr Seconds aWhile{0.15};

/// What can be seen of the clipboard at one moment.
struct Sight {
    std::int64_t count = 0;
    std::optional<SharedText> text;
    std::vector<ZorbelKit::PasteboardUrl> urls;
    bool isPicture = false;

    bool isEmpty() const { return !text && urls.empty() && !isPicture; }
    bool says(std::string_view words) const { return text && text->view() == words; }
    bool operator==(const Sight&) const = default;
};

std::ptrdiff_t linesIn(Program& program, const std::string& line) {
    std::istringstream lines(program.output());
    std::ptrdiff_t count = 0;
    for (std::string one; std::getline(lines, one);) {
        count += one == line ? 1 : 0;
    }
    return count;
}

std::string beginning(const Sight& sight) {
    return sight.text ? std::string(sight.text->view().substr(0, 60)) : "no text";
}

const SharedText& longText() {
    static const SharedText text = patterned("ours", 50 * mebibyte);
    return text;
}

/// The same in a file, for others to compare with.
std::filesystem::path longTextFile() {
    static const TemporaryFolder folder;
    const auto file = folder.path() / "ours";
    if (!std::filesystem::exists(file)) {
        std::ofstream(file, std::ios::binary) << longText().view();
    }
    return file;
}

bool waitForLine(Program& program, const std::string& line, std::ptrdiff_t times = 1) {
    return until([&] { return linesIn(program, line) >= times; });
}

} // namespace

/// The clipboard in this process, and programs that own or read it and mean no good.
class ClipboardHostile : public testing::Test {
protected:
    void SetUp() override {
        threadsAtRest_ = holdings(::getpid()).threads;
        start();
        ASSERT_TRUE(copy());
    }

    void TearDown() override {
        timed([&] { watch_.reset(); });
        timed([&] { pasteboard_.reset(); });
        EXPECT_LT(longest_, longestCall) << "the main thread has waited";
    }

    void start() {
        timed([&] { pasteboard_ = std::make_unique<X11Pasteboard>(nullptr, quick); });
        timed([&] { watch_ = pasteboard_->watch(); });
        last_.reset();
    }

    template <class Call>
    std::invoke_result_t<Call> timed(Call call) {
        struct Stopwatch {
            Seconds& longest;
            std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
            ~Stopwatch() { longest = std::max(longest, Seconds(std::chrono::steady_clock::now() - start)); }
        };
        const Stopwatch stopwatch{longest_};
        return call();
    }

    /// Looks once at everything. The same count always goes with the same content.
    const Sight& look() {
        Sight sight;
        do {
            sight.count = timed([&] { return pasteboard_->changeCount(); });
            sight.text = timed([&] { return pasteboard_->string(); });
            sight.urls = timed([&] { return pasteboard_->urls(); });
            sight.isPicture = timed([&] {
                return pasteboard_->hasPicture(PictureType::png) ||
                       pasteboard_->hasPicture(PictureType::tiff);
            });
        } while (timed([&] { return pasteboard_->changeCount(); }) != sight.count);
        if (!last_ || last_->count != sight.count) {
            seen_.push_back(sight);
        } else {
            EXPECT_EQ(*last_ == sight, true) << "the content has changed and the count has not";
        }
        last_ = sight;
        return *last_;
    }

    std::int64_t count() { return look().count; }

    bool staysAt(std::int64_t wanted, Seconds duration = aWhile) {
        return holds([&] { return count() == wanted; }, duration);
    }

    /// The user copies something in a good program; whether it is seen.
    bool copy() {
        const std::string text = patterned("copy-" + std::to_string(++copies_), kibibyte);
        const auto file = folder_.path() / "copy";
        std::ofstream(file, std::ios::binary) << text;
        Program& program = programs_.emplace_back(
            std::vector<std::string>{"xclip", "-quiet", "-selection", "clipboard", file.string()}, unread());
        const bool isSeen = until([&] { return look().says(text); });
        EXPECT_TRUE(isSeen) << "a copy is not seen; the program says: " << program.output();
        return isSeen;
    }

    /// A hostile owner that owns the clipboard.
    Program& own(const std::string& mode, int number = 0) {
        Program& owner = programs_.emplace_back(
            std::vector<std::string>{HOSTILE_OWNER, mode, std::to_string(number)}, unread());
        EXPECT_TRUE(waitForLine(owner, "ready")) << mode;
        return owner;
    }

    Program& read(const std::string& mode, int number = 0) {
        return programs_.emplace_back(std::vector<std::string>{HOSTILE_READER, mode, std::to_string(number)},
                                      unread());
    }

    /// An owner of which nothing comes, and no change either. By this line it has done its worst.
    void expectUnseen(const std::string& mode, const std::string& line, int number = 0,
                      Seconds duration = aWhile) {
        SCOPED_TRACE(mode);
        const std::int64_t before = count();
        Program& owner = own(mode, number);
        EXPECT_TRUE(waitForLine(owner, line));
        EXPECT_TRUE(staysAt(before, duration));
        EXPECT_TRUE(copy());
        EXPECT_EQ(count(), before + 1);
    }

    /// An owner that is one change, after which nothing can be read.
    void expectEmpty(const std::string& mode, int number = 0) {
        SCOPED_TRACE(mode);
        const std::int64_t before = count();
        own(mode, number);
        EXPECT_TRUE(until([&] { return count() == before + 1; }));
        EXPECT_TRUE(look().isEmpty());
        EXPECT_TRUE(staysAt(before + 1));
        EXPECT_TRUE(copy());
        EXPECT_EQ(count(), before + 2);
    }

    /// An owner of which one whole text comes, as one change.
    void expectText(const std::string& mode, const std::string& text, int number = 0) {
        SCOPED_TRACE(mode);
        const std::int64_t before = count();
        own(mode, number);
        EXPECT_TRUE(until([&] { return count() != before; }));
        EXPECT_TRUE(look().says(text));
        EXPECT_TRUE(staysAt(before + 1));
        EXPECT_TRUE(copy());
        EXPECT_EQ(count(), before + 2);
    }

    /// An owner that says two things at once: either is right, and none. A third is not.
    void expectNoOtherThan(const std::string& mode, const std::string& line, const std::string& text,
                           int number = 0) {
        SCOPED_TRACE(mode);
        const std::int64_t before = count();
        seen_.clear();
        Program& owner = own(mode, number);
        EXPECT_TRUE(waitForLine(owner, line));
        static_cast<void>(until([&] { return count() > before; }, aWhile));
        for (const Sight& sight : seen_) {
            EXPECT_TRUE(sight.isEmpty() || sight.says(text)) << beginning(sight);
        }
        EXPECT_LE(count(), before + 1);
        EXPECT_TRUE(copy());
        EXPECT_LE(count(), before + 2);
    }

    /// Puts a long text of ours on the clipboard.
    void ownLongText() {
        const SharedText& text = longText();
        const std::int64_t before = count();
        timed([&] { pasteboard_->setString(text); });
        EXPECT_EQ(count(), before + 1);
        EXPECT_EQ(look().text, text);
    }

    /// Whether a good program pastes all of our long text, without being held up by anybody.
    bool othersPasteTheWhole() {
        Program& program = programs_.emplace_back(
            std::vector<std::string>{"sh", "-c",
                                     "timeout 15 xclip -o -selection clipboard | cmp - \"$0\" && echo whole",
                                     longTextFile().string()},
            unread());
        return until([&] { return static_cast<void>(look()), !program.isRunning(); }) &&
               linesIn(program, "whole") == 1;
    }

    bool waitForRest() const {
        return until([&] { return holdings(::getpid()).threads == threadsAtRest_; });
    }

    static bool waitForAnswers(Program& reader, std::ptrdiff_t count) {
        return until([&] { return linesIn(reader, "answered") + linesIn(reader, "refused") >= count; });
    }

    TemporaryFolder folder_;
    std::deque<Program> programs_;
    std::unique_ptr<X11Pasteboard> pasteboard_;
    ZorbelKit::Token watch_;
    std::optional<Sight> last_;
    std::vector<Sight> seen_; // one for each count
    Seconds longest_{0};
    int copies_ = 0;
    int threadsAtRest_ = 0;
};

TEST_F(ClipboardHostile, M05_OwnersThatDoNotAnswerAreNotSeen) {
    expectUnseen("silent", "asked TARGETS");
    expectUnseen("targets-only", "asked UTF8_STRING");
    expectUnseen("wrong-property", "asked UTF8_STRING");
}

TEST_F(ClipboardHostile, M05_ALateAnswerIsSeenWhenItComes) {
    // Both of its answers take longer than a text in pieces may stand still.
    expectText("late", patterned("late", kibibyte), 1200);
}

TEST_F(ClipboardHostile, M05_ALateAnswerIsNotTakenForTheNextOwners) {
    Program& late = own("late", 700);
    ASSERT_TRUE(waitForLine(late, "asked TARGETS"));
    ASSERT_TRUE(copy());
    const std::int64_t after = count();
    EXPECT_TRUE(staysAt(after, Seconds{1.0}));

    Program& later = own("late", 700);
    ASSERT_TRUE(waitForLine(later, "asked UTF8_STRING"));
    ASSERT_TRUE(copy());
    EXPECT_EQ(count(), after + 1);
    EXPECT_TRUE(staysAt(after + 1, Seconds{1.0}));
}

TEST_F(ClipboardHostile, M05_OwnersThatDieAreNotSeen) {
    expectUnseen("dies-after-targets", "asked TARGETS");
    expectUnseen("dies-before-data", "asked UTF8_STRING");
    expectUnseen("dies-in-pieces", "asked UTF8_STRING");
}

TEST_F(ClipboardHostile, M07_OwnersThatStopInTheMiddleAreGivenUp) {
    expectUnseen("stops-in-pieces", "asked UTF8_STRING", 0, 1.7 * quick.stalledOwner);
    expectUnseen("never-begins", "asked UTF8_STRING", 0, 1.7 * quick.stalledOwner);
}

TEST_F(ClipboardHostile, M07_WhatComesAfterItWasGivenUpIsTakenAndNotSeen) {
    expectUnseen("late-pieces", "end", 900); // milliseconds before each
}

TEST_F(ClipboardHostile, M07_ASlowOwnerThatGetsOnIsWaitedFor) {
    const auto start = std::chrono::steady_clock::now();
    expectText("slow-pieces", patterned("slow", 8 * mebibyte), 100);
    EXPECT_GT(Seconds(std::chrono::steady_clock::now() - start), 4 * quick.stalledOwner);
}

TEST_F(ClipboardHostile, LengthsArePromisesNobodyNeedKeep) {
    expectText("hints-too-little", patterned("little", 8 * mebibyte));
    expectText("hints-too-much", "abc");
}

TEST_F(ClipboardHostile, ATextThatNeverEndsReadsAsNothing) {
    expectEmpty("for-ever", 30); // milliseconds between pieces of a mebibyte
    expectEmpty("for-ever", 0);
    expectEmpty("longer-than-one-request", 20 * mebibyte);
}

TEST_F(ClipboardHostile, ATextThatNeverEndsTakesNoMoreRoomThanALongOne) {
    const std::uint64_t before = holdings(::getpid()).anonymous;
    std::uint64_t most = before;
    const auto measuredUntil = [&](const std::function<bool()>& condition) {
        return until([&] {
            most = std::max(most, holdings(::getpid()).anonymous);
            return condition();
        });
    };
    const std::int64_t changes = count();
    own("for-ever", 10); // milliseconds between pieces of a mebibyte
    EXPECT_TRUE(measuredUntil([&] { return count() == changes + 1; }));
    EXPECT_GT(most, before + quick.longestText / 2) << "nothing has come";
    own("longer-than-one-request", 64 * mebibyte);
    EXPECT_TRUE(measuredUntil([&] { return count() == changes + 2; }));
    Program& owner = own("floods", 64 * mebibyte);
    EXPECT_TRUE(measuredUntil([&] { return linesIn(owner, "done") == 1; }));
    EXPECT_LT(most, before + 4 * quick.longestText); // a string that grows has twice the room for a moment
}

TEST_F(ClipboardHostile, M06_WhatIsTooLongIsTakenFromItsOwnerAllTheSame) {
    Program& owner = own("for-ever", 0);
    ASSERT_TRUE(until([&] { return look().isEmpty(); }));
    ASSERT_TRUE(copy());
    EXPECT_EQ(linesIn(owner, "error 3"), 0) << "the window it writes to has gone"; // BadWindow
    EXPECT_TRUE(owner.isRunning());
}

TEST_F(ClipboardHostile, OwnersThatWaitForNobodyDoNoHarm) {
    expectNoOtherThan("floods", "done", patterned("flood", 256 * kibibyte), 64 * mebibyte);
    expectNoOtherThan("drips", "asked UTF8_STRING", "", 20);
    expectNoOtherThan("targets-for-ever", "asked TARGETS", "", 0);
    expectNoOtherThan("targets-for-ever", "asked TARGETS", "", 20);
}

TEST_F(ClipboardHostile, M22_BrokenTextIsMendedAndOtherwiseLeftAlone) {
    expectText("lone-cr", "a\rb\r\nc\r");
    expectText("nuls", std::string("one\0two", 7));
    const std::int64_t before = count();
    own("broken-text");
    ASSERT_TRUE(until([&] { return count() == before + 1; }));
    ASSERT_TRUE(look().text);
    const auto text = QString::fromUtf8(look().text->view().data(), static_cast<int>(look().text->size()));
    EXPECT_EQ(text.toUtf8().toStdString(), look().text->view()) << "not valid UTF-8";
    EXPECT_TRUE(text.startsWith('a') && text.contains('(') && text.contains('z') && text.endsWith('.'))
        << look().text->view();
}

TEST_F(ClipboardHostile, M26_ATextOfNothingIsNoText) {
    for (const char* mode : {"only-nuls", "empty-pieces"}) {
        SCOPED_TRACE(mode);
        const std::int64_t before = count();
        own(mode);
        EXPECT_TRUE(until([&] { return count() == before + 1; }));
        EXPECT_TRUE(look().isEmpty() || look().says(""));
    }
}

TEST_F(ClipboardHostile, M26_OwnersWithNothingForUsAreOneChange) {
    expectEmpty("no-targets");
    expectEmpty("refuses");
    expectEmpty("refuses-text");
    expectEmpty("unknown-targets", 10'000);
}

TEST_F(ClipboardHostile, ALongOrUnrealListOfTargetsHidesNoText) {
    expectText("unknown-targets-then-text", patterned("many", kibibyte), 10'000);
    expectText("unreal-targets", patterned("unreal", kibibyte));
}

TEST_F(ClipboardHostile, TargetsThatAreNoListDoNoHarm) {
    for (const char* mode :
         {"targets-of-bytes", "targets-of-odd-length", "targets-of-pairs", "targets-as-text"}) {
        expectNoOtherThan(mode, "asked TARGETS", patterned("list", kibibyte));
    }
    expectNoOtherThan("no-such-targets-property", "asked TARGETS", "");
}

TEST_F(ClipboardHostile, TextsOfAnotherKindDoNoHarm) {
    expectNoOtherThan("text-of-numbers", "asked UTF8_STRING", "");
    expectNoOtherThan("text-of-pairs", "asked UTF8_STRING", "");
    expectNoOtherThan("type-of-a-picture", "asked UTF8_STRING", "");
    expectNoOtherThan("unknown-type", "asked UTF8_STRING", patterned("unheard", kibibyte));
    expectNoOtherThan("wrong-target", "asked UTF8_STRING", patterned("other", kibibyte));
    expectNoOtherThan("no-such-property", "asked UTF8_STRING", "");
}

TEST_F(ClipboardHostile, AnswersNobodyAskedForAreIgnored) {
    expectText("unasked", patterned("asked", kibibyte));
    expectText("twice", patterned("twice", kibibyte));
}

TEST_F(ClipboardHostile, M14_TwoOwnersAreNeverMixed) {
    seen_.clear();
    Program& owner = own("flaps", 3000);
    const std::string even = patterned("even", kibibyte);
    const std::string odd = patterned("odd", kibibyte);
    const SharedText last = even; // as the number of turns is
    ASSERT_TRUE(until([&] { return static_cast<void>(look()), linesIn(owner, "done") == 1; }));
    EXPECT_TRUE(until([&] { return look().text == last; }));
    for (const Sight& sight : seen_) {
        EXPECT_TRUE(sight.says(even) || sight.says(odd) || sight.says(patterned("copy-1", kibibyte)))
            << beginning(sight);
    }
    EXPECT_TRUE(copy());
}

TEST_F(ClipboardHostile, M14_OwnersThatChangeAndNeverAnswerAreNotSeen) {
    expectUnseen("flaps-silently", "done", 3000);
}

TEST_F(ClipboardHostile, M01_OfASecretOnlyTheTargetsAreAskedFor) {
    const std::int64_t before = count();
    Program& owner = own("secret");
    ASSERT_TRUE(until([&] { return count() == before + 1; }));
    EXPECT_TRUE(look().isEmpty());
    EXPECT_TRUE(staysAt(before + 1));
    EXPECT_EQ(owner.output(), "ready\nasked TARGETS\n");
    EXPECT_TRUE(copy());
}

TEST_F(ClipboardHostile, M04_OfTextWithAPictureOnlyTheTextIsAskedForOnce) {
    const std::int64_t before = count();
    Program& owner = own("text-and-picture");
    ASSERT_TRUE(until([&] { return count() == before + 1; }));
    EXPECT_TRUE(look().says(patterned("table", kibibyte)));
    EXPECT_TRUE(staysAt(before + 1));
    EXPECT_EQ(owner.output(), "ready\nasked TARGETS\nasked UTF8_STRING\n");
    EXPECT_TRUE(copy());
}

TEST_F(ClipboardHostile, M06_APictureIsNotAskedFor) {
    const std::int64_t before = count();
    Program& owner = own("picture");
    ASSERT_TRUE(until([&] { return count() == before + 1; }));
    EXPECT_TRUE(pasteboard_->hasPicture(PictureType::png));
    EXPECT_FALSE(pasteboard_->hasPicture(PictureType::tiff));
    EXPECT_FALSE(look().text);
    EXPECT_TRUE(staysAt(before + 1));
    EXPECT_EQ(owner.output(), "ready\nasked TARGETS\n");
    EXPECT_TRUE(copy());
}

TEST_F(ClipboardHostile, M15_OurOwnTextComesBeforeOneThatIsOnItsWay) {
    for (const char* mode : {"silent", "late", "for-ever", "slow-pieces"}) {
        SCOPED_TRACE(mode);
        const std::int64_t before = count();
        Program& owner = own(mode, 200);
        ASSERT_TRUE(waitForLine(owner, "asked TARGETS"));
        const SharedText ours = patterned("ours", kibibyte);
        timed([&] { pasteboard_->setString(ours); });
        EXPECT_EQ(count(), before + 1);
        EXPECT_EQ(look().text, ours);
        EXPECT_TRUE(staysAt(before + 1, Seconds{0.6}));
        ASSERT_TRUE(copy());
        EXPECT_EQ(count(), before + 2);
    }
}

TEST_F(ClipboardHostile, EndsAtOnceInTheMiddleOfAnything) {
    for (const char* mode : {"silent", "stops-in-pieces", "for-ever", "slow-pieces", "flaps"}) {
        SCOPED_TRACE(mode);
        Program& owner = own(mode, 100);
        ASSERT_TRUE(until([&] {
            return static_cast<void>(look()),
                   std::string_view(mode) == "flaps" || linesIn(owner, "asked TARGETS") > 0;
        }));
        timed([&] { watch_.reset(); });
        timed([&] { pasteboard_.reset(); });
        EXPECT_TRUE(owner.isRunning());
        start();
        EXPECT_TRUE(std::string_view(mode) != "flaps" || waitForLine(owner, "done"));
        EXPECT_TRUE(copy());
    }
}

TEST_F(ClipboardHostile, TwoThousandBadCopiesLeaveNothingBehind) {
    const auto endure = [&](const std::string& mode, int copies) {
        Program& owner = own(mode, copies);
        EXPECT_TRUE(until(
            [&] { return static_cast<void>(look()), owner.output().find("done ") != std::string::npos; }));
        EXPECT_TRUE(copy());
        const std::string& output = owner.output();
        return std::stoi(output.substr(output.find("done ") + 5));
    };
    const Screen screen;
    endure("answers-badly", 100);
    const Holdings before = holdings(::getpid());
    const xcb_atom_t atomBefore = screen.atom("ZORBEL_ATOM_BEFORE");
    seen_.clear();
    EXPECT_GT(endure("answers-badly", 1500), 1500) << "hardly anything was asked";
    endure("answers-never", 500);
    const Holdings after = holdings(::getpid());
    EXPECT_LT(after.anonymous, before.anonymous + 8 * mebibyte);
    EXPECT_EQ(after.threads, before.threads);
    // Each program that this test has started holds one.
    EXPECT_EQ(after.descriptors, before.descriptors + 4);
    // A server never forgets an atom: they are not made anew for every copy.
    EXPECT_LT(screen.atom("ZORBEL_ATOM_AFTER"), atomBefore + 100);
    for (const Sight& sight : seen_) {
        EXPECT_TRUE(!sight.text || sight.says(patterned("churn", 8 * kibibyte)) || sight.says("churn") ||
                    sight.says(patterned("list", kibibyte)) || sight.text->view().starts_with("copy"))
            << beginning(sight);
    }
}

TEST_F(ClipboardHostile, TheThreadGoesWithTheWatch) {
    for (int turn = 0; turn < 3; ++turn) {
        Program& owner = own("stops-in-pieces");
        ASSERT_TRUE(waitForLine(owner, "asked UTF8_STRING"));
        const Holdings watching = holdings(::getpid());
        EXPECT_GT(watching.threads, threadsAtRest_);
        timed([&] { watch_.reset(); });
        EXPECT_TRUE(waitForRest());
        EXPECT_LT(holdings(::getpid()).descriptors, watching.descriptors) << "the connection is still there";
        timed([&] { watch_ = pasteboard_->watch(); });
        EXPECT_TRUE(copy());
    }
}

TEST_F(ClipboardHostile, M19_ReadersThatStandStillBlockNoOther) {
    ownLongText();
    for (const auto& [mode, line] : std::initializer_list<std::pair<const char*, const char*>>{
             {"never-begins", "answered"}, {"never-fetches", "piece"}, {"fetches-slowly", "piece"}}) {
        SCOPED_TRACE(mode);
        Program& reader = read(mode, 100);
        EXPECT_TRUE(waitForLine(reader, line));
        EXPECT_TRUE(othersPasteTheWhole());
        EXPECT_TRUE(reader.isRunning());
    }
}

TEST_F(ClipboardHostile, M20_ReadersThatDieBlockNoOther) {
    ownLongText();
    for (int turn = 0; turn < 5; ++turn) {
        Program& reader = read("dies");
        EXPECT_EQ(reader.waitForEnd(), 0);
        EXPECT_EQ(linesIn(reader, "piece"), 2);
    }
    EXPECT_TRUE(othersPasteTheWhole());
    read("vanishing-windows");
    EXPECT_TRUE(waitForLine(programs_.back(), "asked"));
    EXPECT_TRUE(othersPasteTheWhole());
}

TEST_F(ClipboardHostile, M19_EveryoneOfManyReadersIsAnswered) {
    ownLongText();
    const Holdings before = holdings(::getpid());
    for (const char* mode : {"asks-often", "asks-often-in-one-place"}) {
        SCOPED_TRACE(mode);
        EXPECT_TRUE(waitForAnswers(read(mode), 200));
        EXPECT_TRUE(othersPasteTheWhole());
    }
    EXPECT_LT(holdings(::getpid()).anonymous, before.anonymous + longText().size())
        << "each has a text of its own";
}

TEST_F(ClipboardHostile, M18_OddQuestionsAreAnsweredOrRefused) {
    ownLongText();
    for (const auto& [mode, answers] :
         std::initializer_list<std::pair<const char*, int>>{{"odd-pairs", 1},
                                                            {"pairs-of-bytes", 1},
                                                            {"no-pairs", 3},
                                                            {"many-pairs", 1},
                                                            {"pairs-of-none", 1},
                                                            {"pairs-of-pairs", 1},
                                                            {"no-property", 4},
                                                            {"unknown-targets", 200}}) {
        SCOPED_TRACE(mode);
        Program& reader = read(mode);
        EXPECT_TRUE(waitForAnswers(reader, answers)) << reader.output();
        EXPECT_TRUE(othersPasteTheWhole());
        EXPECT_EQ(linesIn(reader, "answered") + linesIn(reader, "refused"), answers);
        reader.send(SIGTERM);
    }
    Program& reader = read("unknown-targets");
    EXPECT_TRUE(until([&] { return linesIn(reader, "refused") == 200; }));
}

TEST_F(ClipboardHostile, AnswersIntoOtherPeoplesWindowsDoNoHarm) {
    ownLongText();
    EXPECT_TRUE(waitForLine(read("windows-of-others"), "asked"));
    EXPECT_TRUE(othersPasteTheWhole());
    EXPECT_EQ(look().text, longText());
    EXPECT_TRUE(copy());
}

TEST_F(ClipboardHostile, M19_AReaderThatStopsIsDropped) {
    ownLongText();
    const auto pause = static_cast<int>(quick.stalledReader.count() * 1000 * 2.5);
    Program& reader = read("fetches-late", pause);
    ASSERT_TRUE(waitForLine(reader, "fetched"));
    EXPECT_TRUE(holds([&] { return linesIn(reader, "piece") == 1; }, aWhile));
    EXPECT_EQ(linesIn(reader, "end"), 0);

    Program& quicker = read("fetches-late", 50);
    EXPECT_TRUE(waitForLine(quicker, "end"));
}

TEST_F(ClipboardHostile, M19_AReaderThatGetsOnIsNotDropped) {
    const SharedText text = patterned("ours", mebibyte);
    timed([&] { pasteboard_->setString(text); });
    Program& reader = read("fetches-slowly", 150);
    EXPECT_TRUE(waitForLine(reader, "end")) << reader.output();
    EXPECT_GT(0.15 * static_cast<double>(linesIn(reader, "fetched")), 2 * quick.stalledReader.count());
}

TEST_F(ClipboardHostile, TheThreadGoesWithOurText) {
    timed([&] { watch_.reset(); });
    EXPECT_TRUE(waitForRest());
    ownLongText();
    Program& reader = read("never-fetches");
    ASSERT_TRUE(waitForLine(reader, "piece"));
    EXPECT_TRUE(othersPasteTheWhole());
    own("silent");
    EXPECT_TRUE(waitForRest());
    timed([&] { watch_ = pasteboard_->watch(); });
    EXPECT_TRUE(copy());
}

TEST_F(ClipboardHostile, NothingWaitsForAServerThatServesAnother) {
    Program& owner = own("grabbing-server", 1000);
    const std::int64_t before = count();
    timed([&] { pasteboard_->setString("first"); });
    EXPECT_EQ(count(), before + 1);
    timed([&] { pasteboard_->setString("second"); });
    EXPECT_EQ(count(), before + 2);
    EXPECT_TRUE(look().says("second"));
    EXPECT_EQ(linesIn(owner, "done"), 0);
    EXPECT_TRUE(waitForLine(owner, "done"));
    EXPECT_TRUE(staysAt(before + 2));
    EXPECT_TRUE(look().says("second"));
    ownLongText();
    EXPECT_TRUE(othersPasteTheWhole());
    EXPECT_TRUE(copy());
}

TEST_F(ClipboardHostile, SurvivesTheLossOfItsWindow) {
    ownLongText();
    EXPECT_TRUE(waitForLine(read("destroys-the-owners-window"), "asked"));
    const std::int64_t before = count();
    EXPECT_TRUE(staysAt(before));
    ownLongText();
    EXPECT_TRUE(othersPasteTheWhole());
    EXPECT_TRUE(copy());
}

TEST_F(ClipboardHostile, SurvivesTheLossOfItsConnection) {
    ownLongText();
    EXPECT_TRUE(waitForLine(read("kills-the-owner"), "asked"));
    const std::int64_t before = count();
    EXPECT_TRUE(staysAt(before));
    ownLongText();
    EXPECT_TRUE(othersPasteTheWhole());
    EXPECT_TRUE(copy());
}

TEST_F(ClipboardHostile, M21_ABadManagerHoldsUpNobodyForLong) {
    for (const char* mode : {"silent-manager", "refusing-manager", "dying-manager"}) {
        SCOPED_TRACE(mode);
        own(mode);
        ownLongText();
        const auto start = std::chrono::steady_clock::now();
        pasteboard_.reset();
        EXPECT_LT(Seconds(std::chrono::steady_clock::now() - start), quick.handover + longestCall);
        EXPECT_GT(linesIn(programs_.back(), "asked SAVE_TARGETS"), 0);
        this->start();
    }
}
