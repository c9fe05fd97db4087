#include "Tests/Desktop/Desktop.hpp"
#include "Tests/Desktop/FileWindow.hpp"
#include "Tests/Desktop/GuestClient.hpp"
#include "Tests/Desktop/Selection.hpp"
#include "Tests/TemporaryFolder.hpp"

#include <QCryptographicHash>
#include <QRegularExpression>
#include <gtest/gtest.h>

#include <X11/keysym.h>
#include <algorithm>
#include <csignal>
#include <deque>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

using namespace Desktop;

namespace {

constexpr QRect shelfPlace{470, 2, 340, 128}; // in the middle of the top of this screen
constexpr QPoint onShelf{640, 66};
constexpr QPoint onBareDesktop{60, 760};
constexpr Seconds moment{0.3};
constexpr int longestDrop = 5500;   // milliseconds until a source is free again
constexpr Seconds longestDrag{6.0}; // until pointer and keyboard are

/// How often a line begins with this text.
int countOf(const std::string& output, const std::string& text) {
    const QRegularExpression line("^" + QRegularExpression::escape(QString::fromStdString(text)),
                                  QRegularExpression::MultilineOption);
    int count = 0;
    for (auto all = line.globalMatch(QString::fromStdString(output)); all.hasNext(); all.next()) {
        ++count;
    }
    return count;
}

std::string dropOf(const std::string& list) {
    const QByteArray bytes = QByteArray::fromStdString(list);
    return "drop " + std::to_string(list.size()) + " " +
           QCryptographicHash::hash(bytes, QCryptographicHash::Sha1).toHex().toStdString() + "\n";
}

std::string contentOf(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// A program with a floating panel, and others that drag things onto it and take them from it.
class ShelfWindow : public testing::Test {
protected:
    ShelfWindow() { screen().movePointer(onBareDesktop); }

    ~ShelfWindow() override {
        screen().setButtonDown(false);
        for (Program& each : shelves_) {
            end(each);
        }
    }

    /// It has to be there still, and to have gone on all the time.
    static void end(Program& shelf) {
        EXPECT_EQ(countOf(shelf.output(), "stood still"), 0) << shelf.output();
        shelf.send(SIGTERM);
        EXPECT_EQ(shelf.waitForEnd(), 0) << shelf.output();
    }

    static Screen& screen() {
        static Screen screen;
        return screen;
    }

    std::filesystem::path folder() const { return folder_.path(); }

    std::string write(const std::string& content) {
        const auto path = folder_.path() / ("list-" + std::to_string(++files_));
        std::ofstream(path, std::ios::binary) << content;
        return path.string();
    }

    /// With its panel in the middle of the top of the screen.
    Program& openShelf(std::vector<std::string> words = {}) {
        words.insert(words.begin(), {SHELF_PROGRAM, "470", std::to_string(screen().size().height() - 130)});
        Program& shelf = shelves_.emplace_back(words, unread());
        EXPECT_TRUE(until([&] { return shelfWindow().has_value(); })) << shelf.output();
        return shelf;
    }

    static std::optional<Window> shelfWindow() {
        for (const Window& window : screen().windows()) {
            if (window.title == "A shelf") {
                return window;
            }
        }
        return std::nullopt;
    }

    /// Performs the steps and returns all that it said; the shelf is its target.
    std::string drag(const std::vector<std::string>& steps, const std::string& content = "file:///a\r\n") {
        const auto window = shelfWindow();
        if (!window) {
            return "no shelf";
        }
        std::vector<std::string> command{DRAG_SOURCE, std::to_string(window->id), write(content)};
        command.insert(command.end(), steps.begin(), steps.end());
        Program source(command);
        EXPECT_EQ(source.waitForEnd(), 0) << source.output();
        return source.output();
    }

    /// Whether a whole drag with files still works, as the last of the others has left the shelf.
    ::testing::AssertionResult takesFilesAfterAll(Program& shelf) {
        const std::string list = "file:///after%20all\r\n";
        const int before = countOf(shelf.output(), dropOf(list));
        const std::string said = drag({"enter", "position", "status", "drop", "finished"}, list);
        if (countOf(said, "status 1") != 1 || countOf(said, "finished 1") != 1) {
            return ::testing::AssertionFailure() << said;
        }
        if (!until([&] { return countOf(shelf.output(), dropOf(list)) == before + 1; })) {
            return ::testing::AssertionFailure() << shelf.output();
        }
        return ::testing::AssertionSuccess();
    }

    /// The content has heard the end of all it heard the beginning of.
    static bool isAtRest(Program& shelf) {
        return until([&] {
            const std::string& said = shelf.output();
            return countOf(said, "enter") == countOf(said, "leave") + countOf(said, "drop");
        });
    }

    static int millisecondsUntilFinished(const std::string& said) {
        const auto match =
            QRegularExpression("finished \\d after (\\d+) ms").match(QString::fromStdString(said));
        return match.hasMatch() ? match.captured(1).toInt() : -1;
    }

private:
    TemporaryFolder folder_;
    int files_ = 0;
    std::deque<Program> shelves_;
};

// How it stands on the screen

TEST_F(ShelfWindow, IsWhereItWasAskedToBeAboveOthersAndTakesNoFocus) {
    GuestClient guest;
    const xcb_window_t worked = guest.open();
    screen().activate(worked);
    const auto focus = [&] { return screen().rootProperty("_NET_ACTIVE_WINDOW"); };
    ASSERT_TRUE(until([&] { return !focus().empty() && focus().front() == worked; }));
    openShelf();
    EXPECT_TRUE(until([&] { return shelfWindow()->frame == shelfPlace; }));
    const auto isOnTop = [] {
        const QImage picture = screen().picture(QRect(onShelf, QSize(1, 1)));
        return QColor(picture.pixel(0, 0)) == QColor(Qt::darkCyan);
    };
    EXPECT_TRUE(until(isOnTop));
    screen().maximise(worked);
    const std::string manager = std::getenv("ZORBEL_TEST_MANAGER") ? std::getenv("ZORBEL_TEST_MANAGER") : "";
    EXPECT_TRUE(until([&] { return screen().frame(worked)->contains(onShelf); }) || manager == "i3")
        << "only i3 has no such thing";
    EXPECT_TRUE(holds(isOnTop, moment));
    EXPECT_TRUE(holds([&] { return focus().front() == worked; }, moment));
    EXPECT_EQ(shelfWindow()->frame, shelfPlace);
    // Some managers have nothing above a full-screen window.
    screen().makeFullscreen(worked);
    EXPECT_TRUE(until([&] { return screen().frame(worked)->size() == screen().size(); }));
    if (manager != "openbox") {
        EXPECT_TRUE(holds(isOnTop, moment));
    }
    EXPECT_TRUE(holds([&] { return focus().front() == worked; }, moment));
}

TEST_F(ShelfWindow, IsInNoTaskBarAndOnEveryDesktopAgainAndAgain) {
    Program& shelf = openShelf();
    for (int turn = 0; turn < 2; ++turn) {
        const xcb_window_t window = shelfWindow()->id;
        EXPECT_EQ(screen().property(window, "_NET_WM_DESKTOP"), std::vector<std::uint32_t>{0xFFFFFFFF});
        EXPECT_TRUE(screen().property(window, "_NET_WM_STRUT_PARTIAL").empty());
        const auto states = screen().property(window, "_NET_WM_STATE");
        for (const char* state : {"_NET_WM_STATE_SKIP_TASKBAR", "_NET_WM_STATE_SKIP_PAGER"}) {
            EXPECT_NE(std::ranges::find(states, screen().atom(state)), states.end()) << state;
        }
        shelf.send(SIGUSR1);
        EXPECT_TRUE(until([] { return !shelfWindow(); }));
        shelf.send(SIGUSR1);
        EXPECT_TRUE(until([] { return shelfWindow() && shelfWindow()->frame == shelfPlace; }));
    }
}

// As the target of programs that drag

class Shelf : public ShelfWindow {};

TEST_F(Shelf, FilesArriveByteForByteAndTheSourceIsFreeAtOnce) {
    Program& shelf = openShelf();
    std::string large;
    while (large.size() < (1U << 20)) {
        large += "file:///a/name%20that/is/long/" + std::to_string(large.size()) + "\r\n";
    }
    const struct {
        const char* name;
        std::string list;
    } rows[]{
        {"CRLF", "file:///a\r\nfile:///b\r\n"},
        {"LF", "file:///a\nfile:///b\n"},
        {"no end", "file:///a\r\nfile:///b"},
        {"comments", "# files\r\nfile:///a\r\n#end\r\n"},
        {"trailing NUL", std::string("file:///a\r\n\0", 12)},
        {"bad UTF-8 and percent signs", "file:///%ff%25%\xff\r\n"},
        {"empty", ""},
        {"1 MB", large},
    };
    for (const auto& row : rows) {
        for (const char* way : {"answers:whole", "answers:pieces"}) {
            SCOPED_TRACE(std::string("L3 ") + row.name + " " + way);
            const int before = countOf(shelf.output(), dropOf(row.list));
            const std::string said =
                drag({way, "enter", "position", "status", "drop", "finished", "quiet"}, row.list);
            EXPECT_EQ(countOf(said, "status 1"), 1) << said;
            EXPECT_EQ(countOf(said, "finished 1"), 1) << said;
            EXPECT_EQ(countOf(said, "quiet"), 1) << said;
            EXPECT_LT(millisecondsUntilFinished(said), 2000) << said;
            EXPECT_TRUE(until([&] { return countOf(shelf.output(), dropOf(row.list)) == before + 1; }))
                << shelf.output();
        }
    }
    EXPECT_TRUE(isAtRest(shelf));
}

TEST_F(Shelf, FilesThatComeLastInALongListOfTypesAreFound) {
    Program& shelf = openShelf();
    const std::string said = drag({"offers:forty", "enter", "position", "status", "drop", "finished"});
    EXPECT_EQ(countOf(said, "status 1"), 1) << said;
    EXPECT_EQ(countOf(said, "finished 1"), 1) << said;
    EXPECT_TRUE(until([&] { return countOf(shelf.output(), "drop") == 1; }));
}

TEST_F(Shelf, L5_TextIsRefusedAndItsSourceIsFree) {
    Program& shelf = openShelf();
    for (const char* offer : {"offers:text", "offers:none"}) {
        const std::string said =
            drag({offer, "enter", "position", "status", "position", "status", "drop", "finished", "quiet"});
        EXPECT_EQ(countOf(said, "status 0"), 2) << said;
        EXPECT_EQ(countOf(said, "finished 0"), 1) << said;
        EXPECT_EQ(countOf(said, "quiet"), 1) << said;
    }
    EXPECT_EQ(countOf(shelf.output(), "enter"), 0);
    EXPECT_TRUE(takesFilesAfterAll(shelf));
}

TEST_F(Shelf, L7_AHundredTimesOverAndOut) {
    Program& shelf = openShelf();
    const std::string said = drag({"over-and-out:100"});
    EXPECT_EQ(countOf(said, "statuses 100"), 1) << said;
    EXPECT_TRUE(isAtRest(shelf));
    EXPECT_EQ(countOf(shelf.output(), "enter"), 100);
    EXPECT_TRUE(takesFilesAfterAll(shelf));
}

TEST_F(Shelf, EveryPositionIsAnsweredOnce) {
    Program& shelf = openShelf();
    const std::string said = drag({"enter", "positions:1000", "quiet", "leave", "position", "status"});
    EXPECT_EQ(countOf(said, "statuses 1000"), 1) << said;
    EXPECT_EQ(countOf(said, "quiet"), 1) << said;
    EXPECT_EQ(countOf(said, "status 0"), 1) << said;
    EXPECT_TRUE(isAtRest(shelf));
}

TEST_F(Shelf, L7_TheSourceDiesInEachPhase) {
    Program& shelf = openShelf();
    const std::vector<std::string> rows[]{
        {"enter", "die"},
        {"enter", "position", "status", "die"},
        {"enter", "position", "status", "destroy"},
        {"enter", "position", "die"},
        {"enter", "position", "status", "drop", "die"},
        {"answers:dies", "enter", "position", "status", "drop", "asked", "finished"},
        {"answers:diesInPieces", "enter", "position", "status", "drop", "asked", "finished"},
        {"answers:never", "enter", "position", "status", "drop", "asked", "destroy"},
        {"answers:never", "enter", "position", "status", "drop", "asked", "die"},
    };
    for (const auto& steps : rows) {
        const std::string said = drag(steps);
        EXPECT_TRUE(isAtRest(shelf)) << said << shelf.output();
    }
    EXPECT_TRUE(takesFilesAfterAll(shelf));
    EXPECT_EQ(countOf(shelf.output(), "qt."), 0) << "the toolkit has heard of windows that are gone";
}

TEST_F(Shelf, L7_ASourceThatAnswersBadlyIsFreeWithinFiveSeconds) {
    Program& shelf = openShelf();
    for (const char* way : {"never", "stalls", "refuses", "emptily", "withNumbers", "elsewhere"}) {
        SCOPED_TRACE(way);
        const std::string said =
            drag({std::string("answers:") + way, "enter", "position", "status", "drop", "finished", "quiet"});
        EXPECT_EQ(countOf(said, "finished 0"), 1) << said;
        EXPECT_EQ(countOf(said, "quiet"), 1) << said;
        EXPECT_LT(millisecondsUntilFinished(said), longestDrop) << said;
        EXPECT_TRUE(isAtRest(shelf));
    }
    EXPECT_EQ(countOf(shelf.output(), "drop"), 0);
    EXPECT_TRUE(takesFilesAfterAll(shelf));
}

TEST_F(Shelf, AnEndlessListIsGivenUp) {
    Program& shelf = openShelf();
    const std::string said = drag({"answers:endless", "enter", "position", "status", "drop", "finished"});
    EXPECT_EQ(countOf(said, "finished 0"), 1) << said;
    EXPECT_LT(millisecondsUntilFinished(said), longestDrop) << said;
    EXPECT_TRUE(isAtRest(shelf));
    EXPECT_EQ(countOf(shelf.output(), "drop"), 0);
    EXPECT_TRUE(takesFilesAfterAll(shelf));
}

TEST_F(Shelf, ARepeatedDropIsFinishedOnce) {
    Program& shelf = openShelf();
    const std::string said = drag({"answers:never", "enter", "position", "status", "drop", "drop", "drop",
                                   "asked", "finished", "quiet"});
    EXPECT_EQ(countOf(said, "finished 0"), 1) << said;
    EXPECT_EQ(countOf(said, "quiet"), 1) << said;
    EXPECT_TRUE(isAtRest(shelf));
    EXPECT_TRUE(takesFilesAfterAll(shelf));
}

TEST_F(Shelf, AnotherDragEndsOneThatWaits) {
    Program& shelf = openShelf();
    const std::string said = drag({"answers:never", "enter", "position", "status", "drop", "asked", "enter",
                                   "finished", "position", "status", "leave"});
    EXPECT_EQ(countOf(said, "finished 0"), 1) << said;
    EXPECT_LT(millisecondsUntilFinished(said), 2000) << said;
    EXPECT_EQ(countOf(said, "status 1"), 2) << said;
    EXPECT_TRUE(isAtRest(shelf));
    EXPECT_TRUE(takesFilesAfterAll(shelf));
}

TEST_F(Shelf, MessagesOutOfTheBlueAreAnswered) {
    Program& shelf = openShelf();
    const std::string said = drag({"position", "status", "leave", "drop", "finished", "enter", "drop",
                                   "finished", "leave", "leave", "quiet"});
    EXPECT_EQ(countOf(said, "status 0"), 1) << said;
    EXPECT_EQ(countOf(said, "finished 0"), 2) << said;
    EXPECT_EQ(countOf(said, "quiet"), 1) << said;
    EXPECT_TRUE(takesFilesAfterAll(shelf));
}

TEST_F(Shelf, L7_TheContentClosesTheShelfInTheMidst) {
    for (const char* when : {"closes-on-enter", "closes-on-move", "closes-on-drop"}) {
        SCOPED_TRACE(when);
        Program& shelf = openShelf({when});
        const bool isDrop = std::string_view(when) == "closes-on-drop";
        const std::string said = isDrop ? drag({"enter", "position", "status", "drop", "finished"})
                                        : drag({"enter", "position", "status"});
        EXPECT_EQ(countOf(said, isDrop ? "status 1" : "status 0"), 1) << said;
        EXPECT_EQ(countOf(said, "finished 1"), isDrop ? 1 : 0) << said;
        EXPECT_TRUE(until([&] { return countOf(shelf.output(), "closed") == 1; }));
        EXPECT_TRUE(until([] { return !shelfWindow(); }));
        end(shelf);
    }
}

TEST_F(Shelf, L7_TheShelfIsClosedWhileItAsksForTheFiles) {
    Program& shelf = openShelf();
    Program source({DRAG_SOURCE, std::to_string(shelfWindow()->id), write("file:///a\r\n"), "answers:never",
                    "enter", "position", "status", "drop", "asked", "finished", "quiet"});
    ASSERT_TRUE(until([&] { return countOf(source.output(), "asked") == 1; })) << source.output();
    shelf.send(SIGUSR1);
    EXPECT_EQ(source.waitForEnd(), 0);
    EXPECT_EQ(countOf(source.output(), "finished 0"), 1) << source.output();
    EXPECT_LT(millisecondsUntilFinished(source.output()), 2000) << source.output();
    EXPECT_EQ(countOf(source.output(), "quiet"), 1) << source.output();
    shelf.send(SIGUSR1);
    EXPECT_TRUE(until([] { return shelfWindow().has_value(); }));
    EXPECT_TRUE(takesFilesAfterAll(shelf));
}

// As the source of drags to other programs

class ShelfDrags : public ShelfWindow {
protected:
    static constexpr QPoint targetCorner{500, 400};
    static constexpr QPoint onTarget{650, 500};
    static constexpr auto list = "file:///a%20file\r\nfile:///%ff%25\r\n";

    Program& openDraggedShelf(std::vector<std::string> words = {}) {
        words.insert(words.end(), {"drags", write(list)});
        return openShelf(words);
    }

    std::unique_ptr<Program> openTarget(const std::string& manners, const std::string& file = "") {
        auto target = std::make_unique<Program>(std::vector<std::string>{
            DRAG_TARGET, manners, std::to_string(targetCorner.x()), std::to_string(targetCorner.y()), file});
        EXPECT_TRUE(until([&] { return countOf(target->output(), "ready") == 1; }));
        return target;
    }

    /// From the shelf to the target; the button stays down.
    ::testing::AssertionResult begin(Program& shelf) {
        const int before = countOf(shelf.output(), "dragging");
        screen().movePointer(onShelf);
        Selection::rest();
        screen().setButtonDown(true);
        carry(screen(), onShelf, onTarget);
        return until([&] { return countOf(shelf.output(), "dragging") == before + 1; })
                   ? ::testing::AssertionSuccess()
                   : ::testing::AssertionFailure() << shelf.output();
    }

    /// Nobody has the pointer, the drag is over, and the next one works.
    void expectFreeAgain(Program& shelf) {
        EXPECT_TRUE(until([&] { return !selection_.isGoingOn(); }, longestDrag)) << "the pointer is held";
        EXPECT_TRUE(
            until([&] { return countOf(shelf.output(), "dragged") == countOf(shelf.output(), "dragging"); },
                  longestDrag))
            << shelf.output();
        const auto file = write("");
        const auto good = openTarget("well", file);
        EXPECT_TRUE(begin(shelf));
        EXPECT_TRUE(until([&] { return countOf(good->output(), "position") == 1; })) << good->output();
        screen().setButtonDown(false);
        EXPECT_TRUE(until([&] { return countOf(good->output(), "data") == 1; })) << good->output();
        EXPECT_EQ(contentOf(file), list);
        EXPECT_TRUE(until([&] { return !selection_.isGoingOn(); }, longestDrag));
    }

    Selection selection_{screen()};
};

TEST_F(ShelfDrags, L6_L8_TheTargetMisbehavesInEachPhase) {
    const struct {
        const char* manners;
        const char* said; // by the target, before the button is let go
    } rows[]{
        {"withoutStatus", "position"},   {"refuses", "position"},        {"withoutEnd", "position"},
        {"endsTwice", "position"},       {"endsLate", "position"},       {"neverAsks", "position"},
        {"diesOnEnter", "enter"},        {"diesOnPosition", "position"}, {"diesOnDrop", "position"},
        {"diesWhileAsking", "position"},
    };
    Program& shelf = openDraggedShelf();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.manners);
        auto target = openTarget(row.manners);
        ASSERT_TRUE(begin(shelf));
        EXPECT_TRUE(until([&] { return countOf(target->output(), row.said) >= 1; })) << target->output();
        screen().setButtonDown(false);
        EXPECT_TRUE(until([&] { return !selection_.isGoingOn(); }, longestDrag)) << "the pointer is held";
        target.reset();
        expectFreeAgain(shelf);
    }
}

TEST_F(ShelfDrags, L7_EscapeEndsADrag) {
    Program& shelf = openDraggedShelf();
    const auto target = openTarget("well");
    ASSERT_TRUE(begin(shelf));
    EXPECT_TRUE(until([&] { return countOf(target->output(), "position") == 1; })) << target->output();
    screen().press(XK_Escape);
    EXPECT_TRUE(until([&] { return countOf(target->output(), "leave") == 1; })) << target->output();
    screen().setButtonDown(false);
    EXPECT_TRUE(holds([&] { return countOf(target->output(), "drop") == 0; }, moment));
    expectFreeAgain(shelf);
}

TEST_F(ShelfDrags, OnNothingNothingHappens) {
    Program& shelf = openDraggedShelf();
    ASSERT_TRUE(begin(shelf));
    screen().setButtonDown(false);
    expectFreeAgain(shelf);
}

TEST_F(ShelfDrags, TheShelfsOwnDropIsKnownAsSuch) {
    Program& shelf = openDraggedShelf();
    ASSERT_TRUE(begin(shelf));
    carry(screen(), onTarget, onShelf);
    screen().setButtonDown(false);
    EXPECT_TRUE(until([&] { return countOf(shelf.output(), "own drop") == 1; })) << shelf.output();
    expectFreeAgain(shelf);
}

TEST_F(ShelfDrags, L7_TheShelfIsClosedInMidDrag) {
    Program& shelf = openDraggedShelf();
    const auto target = openTarget("well");
    ASSERT_TRUE(begin(shelf));
    shelf.send(SIGUSR1);
    EXPECT_TRUE(until([] { return !shelfWindow(); }));
    screen().setButtonDown(false);
    EXPECT_TRUE(until([&] { return !selection_.isGoingOn(); }, longestDrag)) << "the pointer is held";
    EXPECT_TRUE(until([&] { return countOf(shelf.output(), "dragged") == 1; }, longestDrag))
        << shelf.output();
    shelf.send(SIGUSR1);
    EXPECT_TRUE(until([] { return shelfWindow().has_value(); }));
    expectFreeAgain(shelf);
}

// With the file managers of two toolkits

class ShelfFileManagers : public ShelfWindow, public testing::WithParamInterface<FileManagerKind> {
protected:
    std::filesystem::path newFolder(const std::string& name) const {
        const auto path = folder() / name;
        std::filesystem::create_directory(path);
        return path;
    }

    static constexpr QRect beside{20, 220, 600, 520};
};

TEST_P(ShelfFileManagers, L4_FilesComeFromThem) {
    Program& shelf = openShelf();
    const auto from = newFolder("where-from");
    const FileWindow window(screen(), GetParam(), from, beside);
    ASSERT_TRUE(window.isShown());
    const QPoint place = window.showFirst("a file.txt", "content");
    ASSERT_FALSE(place.isNull());
    dragAndDrop(screen(), place, onShelf);
    ASSERT_TRUE(until([&] { return countOf(shelf.output(), "drop") == 1; })) << shelf.output();
    const std::string url = "file://" + from.string() + "/a%20file.txt";
    const bool isListed =
        countOf(shelf.output(), dropOf(url + "\r\n")) == 1 || countOf(shelf.output(), dropOf(url)) == 1;
    EXPECT_TRUE(isListed) << shelf.output();
    EXPECT_TRUE(std::filesystem::exists(from / "a file.txt"));
}

TEST_P(ShelfFileManagers, L6_FilesGoToThem) {
    const auto from = newFolder("where-from");
    const auto to = newFolder("where-to");
    std::string list;
    const struct {
        const char* name;
        const char* encoded;
    } rows[]{{"a b", "a%20b"},
             {"100%", "100%25"},
             {"#1", "%231"},
             {"\xC3\xA4\xC3\xB6", "%C3%A4%C3%B6"},
             {"\xF0\x9F\x98\x80", "%F0%9F%98%80"}};
    for (const auto& row : rows) {
        std::ofstream(from / row.name) << row.encoded;
        list += "file://" + from.string() + "/" + row.encoded + "\r\n";
    }
    Program& shelf = openShelf({"drags", write(list)});
    const FileWindow window(screen(), GetParam(), to, beside);
    ASSERT_TRUE(window.isShown());
    window.take(onShelf);
    for (const auto& row : rows) {
        EXPECT_TRUE(until([&] { return contentOf(to / row.name) == row.encoded; })) << row.name;
        EXPECT_EQ(contentOf(from / row.name), row.encoded);
    }
    EXPECT_TRUE(until([&] { return countOf(shelf.output(), "dragged") == 1; })) << shelf.output();
}

INSTANTIATE_TEST_SUITE_P(Both, ShelfFileManagers,
                         testing::Values(FileManagerKind::thunar, FileManagerKind::pcmanfm));

} // namespace
