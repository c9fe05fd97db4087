#include "Tests/Desktop/DesktopTest.hpp"
#include "Tests/Desktop/FileWindow.hpp"
#include "Tests/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <X11/keysym.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

using namespace Desktop;
namespace fs = std::filesystem;

namespace {

constexpr Seconds moment{0.5};
constexpr QRect left{10, 220, 600, 520};
constexpr QRect right{650, 220, 600, 520};

std::string contentOf(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// Zorbel with Ledgra on and the shelf on the screen.
class Ledgra : public DesktopTest {
protected:
    Program& startWithShelf() {
        choose("ledgra");
        nlohmann::json values = settings.read();
        values["ledgra.showShelf"] = true;
        settings.write(values);
        Program& zorbel = start();
        EXPECT_TRUE(until([] { return shelf().has_value(); })) << "no shelf";
        return zorbel;
    }

    static std::optional<Window> shelf() {
        for (const Window& window : screen().windows()) {
            if (window.className.compare("zorbel", Qt::CaseInsensitive) == 0 &&
                window.frame.size() == QSize(340, 128)) {
                return window;
            }
        }
        return std::nullopt;
    }

    static QPoint onShelf() { return shelf() ? shelf()->frame.center() : QPoint(); }

    /// What is read out on the shelf under this name.
    static std::optional<Node> onShelf(const std::string& name) {
        for (const Node& window : reader().windows()) {
            const QRect frame = window.frame();
            if (frame.size() != QSize(340, 128)) {
                continue;
            }
            if (const auto found = window.find(name); found && found->is(ATSPI_STATE_SHOWING)) {
                return found;
            }
        }
        return std::nullopt;
    }

    static bool shelfSays(const std::string& name) {
        return until([&] { return onShelf(name).has_value(); });
    }

    fs::path newFolder(const std::string& name) const {
        const fs::path path = folder_.path() / name;
        fs::create_directory(path);
        return path;
    }

    /// One file of this name, dragged from a window of its own onto the shelf.
    void park(const fs::path& from, const std::string& name, const std::string& content) {
        const FileWindow window(screen(), FileManagerKind::thunar, from, left);
        ASSERT_TRUE(window.isShown());
        const QPoint place = window.showFirst(name, content);
        ASSERT_FALSE(place.isNull());
        dragAndDrop(screen(), place, onShelf());
        ASSERT_TRUE(shelfSays(name));
    }

    static xcb_window_t active() {
        const auto active = screen().rootProperty("_NET_ACTIVE_WINDOW");
        return active.empty() ? static_cast<xcb_window_t>(XCB_NONE) : active.front();
    }

private:
    TemporaryFolder folder_;
};

TEST_F(Ledgra, TheShelfIsInTheMiddleOfTheTopAndTakesNoFocus) {
    const xcb_window_t worked = screen().openWindow({100, 300, 300, 200}, "Worked in");
    screen().activate(worked);
    ASSERT_TRUE(until([&] { return active() == worked; }));
    startWithShelf();
    EXPECT_TRUE(until([] { return shelf() && shelf()->frame == QRect(470, 2, 340, 128); }));
    EXPECT_TRUE(shelfSays("Drop files here"));
    EXPECT_TRUE(holds([&] { return active() == worked; }, moment));
    screen().closeWindow(worked);
}

TEST_F(Ledgra, WithTheSettingOffThereIsNoShelf) {
    choose("ledgra");
    start();
    glass();
    EXPECT_TRUE(holds([] { return !shelf(); }, moment));
}

class LedgraFileManagers : public Ledgra, public testing::WithParamInterface<FileManagerKind> {
protected:
    static FileManagerKind other() {
        return GetParam() == FileManagerKind::thunar ? FileManagerKind::pcmanfm : FileManagerKind::thunar;
    }
};

TEST_P(LedgraFileManagers, L4_L6_L12_FilesTravelFromOneToTheOther) {
    const fs::path from = newFolder("where-from");
    const fs::path to = newFolder("where-to");
    startWithShelf();
    const FileWindow source(screen(), GetParam(), from, left);
    const FileWindow target(screen(), other(), to, right);
    ASSERT_TRUE(source.isShown() && target.isShown());
    // As many as are in sight side by side.
    const std::vector<std::string> names{"a b.txt", "100% #1.txt", "\xC3\xA4\xC3\xB6.txt",
                                         "\xF0\x9F\x98\x80.txt"};
    const QPoint first = source.showFirst(names.front(), names.front());
    ASSERT_FALSE(first.isNull());
    for (const std::string& name : names) {
        std::ofstream(from / name, std::ios::binary) << name;
    }
    ASSERT_TRUE(source.isSettled());
    source.selectAll();
    dragAndDrop(screen(), first, onShelf());
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        ASSERT_TRUE(shelfSays(name));
        // On a busy machine a hand may let go before the other program has said that it takes the file.
        const auto isTaken = [&] {
            target.take(onShelf(name)->frame().center());
            return until([&] { return contentOf(to / name) == name; }, Seconds{5});
        };
        EXPECT_TRUE(isTaken() || isTaken());
        EXPECT_EQ(contentOf(from / name), name) << "it is a copy";
        EXPECT_TRUE(shelfSays(name)) << "it stays on the shelf";
    }
}

INSTANTIATE_TEST_SUITE_P(Both, LedgraFileManagers,
                         testing::Values(FileManagerKind::thunar, FileManagerKind::pcmanfm));

TEST_F(Ledgra, HoveringSaysSoAndEscapeTakesItBack) {
    const fs::path from = newFolder("where-from");
    startWithShelf();
    const FileWindow source(screen(), FileManagerKind::pcmanfm, from, left);
    ASSERT_TRUE(source.isShown());
    const QPoint place = source.showFirst("a.txt", "content");
    ASSERT_FALSE(place.isNull());
    ASSERT_TRUE(shelfSays("Drop files here"));
    screen().movePointer(place);
    screen().setButtonDown(true);
    carry(screen(), place, onShelf());
    EXPECT_TRUE(shelfSays("Let go"));
    screen().press(XK_Escape);
    EXPECT_TRUE(shelfSays("Drop files here"));
    screen().setButtonDown(false);
    EXPECT_TRUE(holds([] { return !onShelf("a.txt"); }, moment));
}

TEST_F(Ledgra, L7_TheFileManagerIsKilledOverTheShelf) {
    const fs::path from = newFolder("where-from");
    startWithShelf();
    FileWindow source(screen(), FileManagerKind::pcmanfm, from, left);
    ASSERT_TRUE(source.isShown());
    const QPoint place = source.showFirst("a.txt", "content");
    ASSERT_FALSE(place.isNull());
    screen().movePointer(place);
    screen().setButtonDown(true);
    carry(screen(), place, onShelf());
    EXPECT_TRUE(shelfSays("Let go"));
    source.kill();
    EXPECT_TRUE(shelfSays("Drop files here"));
    screen().setButtonDown(false);
}

TEST_F(Ledgra, OntoItselfAndOntoNothingNothingHappens) {
    const fs::path from = newFolder("where-from");
    startWithShelf();
    park(from, "a.txt", "content");
    const QPoint tile = onShelf("a.txt")->frame().center();
    dragAndDrop(screen(), tile, shelf()->frame.topRight() + QPoint(-20, 100));
    dragAndDrop(screen(), tile, nowhere);
    EXPECT_TRUE(shelfSays("a.txt"));
    EXPECT_EQ(contentOf(from / "a.txt"), "content");
}

TEST_F(Ledgra, L6_OntoATerminalAndAnEditorNothingBreaks) {
    const fs::path from = newFolder("where-from");
    Program& zorbel = startWithShelf();
    park(from, "a.txt", "content");
    for (const char* name : {"xterm", "mousepad"}) {
        SCOPED_TRACE(name);
        Program other({name}, unread());
        std::optional<Window> window;
        ASSERT_TRUE(until([&] {
            for (const Window& each : screen().windows()) {
                if (each.className.compare(name, Qt::CaseInsensitive) == 0) {
                    window = each;
                }
            }
            return window.has_value();
        }));
        screen().moveAndResize(window->id, right);
        ASSERT_TRUE(until([&] { return screen().frame(window->id)->top() > 150; }));
        dragAndDrop(screen(), onShelf("a.txt")->frame().center(), screen().frame(window->id)->center());
        EXPECT_TRUE(holds([&] { return zorbel.isRunning() && shelf(); }, moment));
        EXPECT_TRUE(shelfSays("a.txt"));
    }
    EXPECT_EQ(contentOf(from / "a.txt"), "content");
}

TEST_F(Ledgra, L9_AFileThatIsGoneStaysOnTheShelfAndGoesNowhere) {
    const fs::path from = newFolder("where-from");
    const fs::path to = newFolder("where-to");
    startWithShelf();
    park(from, "a.txt", "content");
    fs::remove(from / "a.txt");
    const FileWindow target(screen(), FileManagerKind::pcmanfm, to, right);
    ASSERT_TRUE(target.isShown());
    dragAndDrop(screen(), onShelf("a.txt")->frame().center(), target.ground());
    EXPECT_TRUE(holds([&] { return fs::is_empty(to); }, moment));
    EXPECT_TRUE(shelfSays("a.txt"));
}

TEST_F(Ledgra, L7_TheShelfIsTurnedOffInMidDrag) {
    const fs::path from = newFolder("where-from");
    Program& zorbel = startWithShelf();
    const auto dashboard = openDashboard();
    ASSERT_TRUE(dashboard);
    park(from, "a.txt", "content");
    const QPoint tile = onShelf("a.txt")->frame().center();
    screen().movePointer(tile);
    screen().setButtonDown(true);
    carry(screen(), tile, nowhere);
    const auto keep = dashboard->find("Keep the shelf on screen");
    ASSERT_TRUE(keep && keep->press());
    EXPECT_TRUE(until([] { return !shelf(); }));
    screen().setButtonDown(false);
    EXPECT_TRUE(waitForSetting("ledgra.showShelf", false));
    ASSERT_TRUE(keep->press());
    EXPECT_TRUE(until([] { return shelf().has_value(); }));
    EXPECT_TRUE(shelfSays("a.txt"));
    EXPECT_TRUE(zorbel.isRunning());
}

} // namespace
