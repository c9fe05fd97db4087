#include "Tests/Desktop/DesktopTest.hpp"

#include <X11/keysym.h>
#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

using namespace Desktop;

namespace {

/// Programs that copy and paste, each until it is ended.
class Desk {
public:
    /// Copies with xclip; as plain text, or as the one format named.
    void copy(const std::string& content, const std::string& format = "UTF8_STRING") {
        const auto file = folder_.path() / std::to_string(copiers_.size());
        std::ofstream(file, std::ios::binary) << content;
        const auto before = Screen().selectionOwner("CLIPBOARD");
        copiers_.emplace_back(std::vector<std::string>{"xclip", "-quiet", "-selection", "clipboard", "-t",
                                                       format, "-i", file.string()});
        ASSERT_TRUE(until([&] {
            const auto owner = Screen().selectionOwner("CLIPBOARD");
            return owner != XCB_NONE && owner != before;
        })) << copiers_.back().output();
    }

    /// Copies with a program made with Qt: "text/plain=Tea".
    void copyAsQt(std::vector<std::string> formats) {
        formats.insert(formats.begin(), QT_COPY_PROGRAM);
        Program& program = copiers_.emplace_back(formats, unread());
        ASSERT_TRUE(until([&] { return program.output().starts_with("ready"); })) << program.output();
    }

    /// What another program gets when it pastes; as text, or as the format named.
    static std::string paste(const std::string& format = "UTF8_STRING") {
        Program reader({"xclip", "-o", "-selection", "clipboard", "-t", format});
        EXPECT_TRUE(reader.waitForEnd());
        return reader.output();
    }

    const std::filesystem::path& folder() const { return folder_.path(); }
    Program& last() { return copiers_.back(); }

private:
    TemporaryFolder folder_;
    std::deque<Program> copiers_;
};

} // namespace

/// The whole program with the clipboard's spice alone.
class Mordan : public DesktopTest {
protected:
    Mordan() { choose("mordan"); }

    /// Starts with an empty history on view.
    void startWithDashboard() {
        start();
        ASSERT_TRUE(openDashboard());
        ASSERT_TRUE(says("Dashboard", "Nothing held yet."));
    }

    /// Copies and waits for the entry on top of the list.
    void keep(const std::string& text, const std::string& entry) {
        desk.copy(text);
        ASSERT_TRUE(until([&] {
            const auto listed = entries("Dashboard");
            return !listed.empty() && listed.front() == entry;
        })) << listedText("Dashboard");
    }

    static std::optional<Node> history(const std::string& paneName) {
        const auto pane = reader().pane(paneName);
        return pane ? pane->find("Clipboard", ATSPI_ROLE_LIST) : std::nullopt;
    }

    /// The entries that a pane lists, from top to bottom, as a screen reader tells them.
    static std::vector<std::string> entries(const std::string& paneName) {
        std::vector<Node> rows;
        if (const auto list = history(paneName); list && list->is(ATSPI_STATE_SHOWING)) {
            for (const Node& row : list->all(ATSPI_ROLE_LIST_ITEM)) {
                if (row.is(ATSPI_STATE_SHOWING)) {
                    rows.push_back(row);
                }
            }
        }
        std::ranges::sort(rows, {}, [](const Node& row) { return row.frame().y(); });
        std::vector<std::string> names;
        std::ranges::transform(rows, std::back_inserter(names), &Node::name);
        return names;
    }

    static std::string listedText(const std::string& paneName) {
        std::string text;
        for (const std::string& name : entries(paneName)) {
            text += "[" + name + "]";
        }
        return text;
    }

    static testing::AssertionResult lists(const std::string& paneName,
                                          const std::vector<std::string>& wanted) {
        return until([&] { return entries(paneName) == wanted; })
                   ? testing::AssertionSuccess()
                   : testing::AssertionFailure() << paneName << " lists " << listedText(paneName);
    }

    /// Where an entry lies on the screen.
    static QRect frameOf(const std::string& paneName, const std::string& entry) {
        QRect frame;
        EXPECT_TRUE(until([&] {
            const auto list = history(paneName);
            const auto row = list ? list->find(entry, ATSPI_ROLE_LIST_ITEM) : std::nullopt;
            frame = row ? row->frame() : QRect();
            return !frame.isEmpty();
        })) << entry;
        return frame;
    }

    /// Moves the pointer to an entry and clicks a button that appears on it there.
    static void clickOnRow(const std::string& entry, const std::string& name) {
        screen().movePointer(frameOf("Dashboard", entry).center());
        QRect place;
        ASSERT_TRUE(until([&] {
            const auto list = history("Dashboard");
            const auto row = list ? list->find(entry, ATSPI_ROLE_LIST_ITEM) : std::nullopt;
            const auto button = row ? row->find(name, ATSPI_ROLE_PUSH_BUTTON) : std::nullopt;
            place = button && button->is(ATSPI_STATE_SHOWING) ? button->frame() : QRect();
            return !place.isEmpty();
        })) << name;
        screen().click(place.center());
    }

    static void type(const std::string& text) {
        for (const char character : text) {
            screen().press(static_cast<xcb_keysym_t>(character));
        }
    }

    static void pressWith(xcb_keysym_t held, xcb_keysym_t key) {
        screen().setKeyDown(held, true);
        screen().press(key);
        screen().setKeyDown(held, false);
    }

    Desk desk;
};

TEST_F(Mordan, KeepsWhatIsCopiedByItsKind) {
    startWithDashboard();
    EXPECT_TRUE(says("Dashboard", "Anything you copy will be held here."));
    keep("Tea at five?", "Text Tea at five?");
    keep("if (tea) {\n    pour();\n}", "Code if (tea) { pour(); }");
    keep("  #7A9A46\n", "Colour #7A9A46");
    desk.copy("https://example.org/tea%20list\r\n", "text/uri-list");
    ASSERT_TRUE(until([] { return entries("Dashboard").size() == 4; }));
    desk.copy("file:///home/ana/Tea%20list.txt\r\nfile:///home/ana/other.txt\r\n", "text/uri-list");
    ASSERT_TRUE(until([] { return entries("Dashboard").size() == 5; }));
    desk.copy("\x89PNG and so on", "image/png");
    EXPECT_TRUE(lists("Dashboard", {"Image Image", "File Tea list.txt", "Link https://example.org/tea%20list",
                                    "Colour #7A9A46", "Code if (tea) { pour(); }", "Text Tea at five?"}));
    EXPECT_TRUE(says("Dashboard", "6"));
}

TEST_F(Mordan, DoesNotKeepWhatWasThereBeforeIt) {
    desk.copy("before");
    startWithDashboard();
    keep("after", "Text after");
    EXPECT_TRUE(lists("Dashboard", {"Text after"}));
}

TEST_F(Mordan, TakesTheBestOfSeveralFormats) {
    startWithDashboard();
    desk.copyAsQt({"text/plain=The words", "text/html=<b>The words</b>", "image/png=64x64"});
    EXPECT_TRUE(lists("Dashboard", {"Text The words"}));
    desk.copyAsQt({"text/html=<b>Only marked up</b>", "image/png=64x64"});
    EXPECT_TRUE(lists("Dashboard", {"Image Image", "Text The words"}));
    desk.copyAsQt({"text/uri-list=file:///tmp/a%20b.txt\r\nfile:///tmp/c.txt", "text/plain=/tmp/a b.txt"});
    EXPECT_TRUE(lists("Dashboard", {"File a b.txt", "Image Image", "Text The words"}));
}

TEST_F(Mordan, NeverKeepsASecret) {
    startWithDashboard();
    desk.copyAsQt({"text/plain=hunter2", "x-kde-passwordManagerHint=secret"});
    keep("harmless", "Text harmless");
    EXPECT_TRUE(lists("Dashboard", {"Text harmless"}));
}

TEST_F(Mordan, ACopyOfTheSameComesToTheTopAgain) {
    startWithDashboard();
    keep("tea", "Text tea");
    keep("milk", "Text milk");
    keep("tea", "Text tea");
    EXPECT_TRUE(lists("Dashboard", {"Text tea", "Text milk"}));
}

TEST_F(Mordan, KeepsATextWhoseProgramHasEnded) {
    startWithDashboard();
    keep("tea", "Text tea");
    desk.last().send(SIGTERM);
    ASSERT_TRUE(desk.last().waitForEnd());
    keep("milk", "Text milk");
    EXPECT_TRUE(lists("Dashboard", {"Text milk", "Text tea"})) << "and its end was no change";
    ASSERT_TRUE(openPanel());
    screen().click(frameOf("Zorbel panel", "Text tea").center());
    EXPECT_TRUE(until([] { return Desk::paste() == "tea"; }));
}

TEST_F(Mordan, AClickInThePanelPutsAnEntryBackAndTheNextCopyIsLetPass) {
    startWithDashboard();
    keep("  tea, with\tspaces \n", "Text tea, with spaces");
    keep("milk", "Text milk");
    ASSERT_TRUE(openPanel());
    EXPECT_TRUE(lists("Zorbel panel", {"Text milk", "Text tea, with spaces"}));
    screen().click(frameOf("Zorbel panel", "Text tea, with spaces").center());
    EXPECT_TRUE(until([] { return Desk::paste() == "  tea, with\tspaces \n"; })) << Desk::paste();
    EXPECT_TRUE(lists("Zorbel panel", {"Text milk", "Text tea, with spaces"})) << "its place is kept";
    desk.copy("let pass");
    EXPECT_TRUE(holds([] { return entries("Dashboard").size() == 2; }, Seconds(1.5)));
    keep("kept", "Text kept");
    EXPECT_TRUE(lists("Dashboard", {"Text kept", "Text milk", "Text tea, with spaces"}));
}

TEST_F(Mordan, ThePanelListsTheFirstSix) {
    startWithDashboard();
    std::vector<std::string> wanted;
    for (const char* text : {"one", "two", "three", "four", "five", "six", "seven"}) {
        keep(text, std::string("Text ") + text);
        wanted.insert(wanted.begin(), std::string("Text ") + text);
    }
    wanted.pop_back();
    ASSERT_TRUE(openPanel());
    EXPECT_TRUE(lists("Zorbel panel", wanted));
}

TEST_F(Mordan, PinsAndForgetsByThePointer) {
    startWithDashboard();
    keep("tea", "Text tea");
    keep("milk", "Text milk");
    keep("sugar", "Text sugar");
    clickOnRow("Text tea", "Pin");
    EXPECT_TRUE(lists("Dashboard", {"Text tea, pinned", "Text sugar", "Text milk"}));
    clickOnRow("Text sugar", "Forget");
    EXPECT_TRUE(lists("Dashboard", {"Text tea, pinned", "Text milk"}));
    clickOnRow("Text tea, pinned", "Unpin");
    EXPECT_TRUE(lists("Dashboard", {"Text milk", "Text tea"}));
}

TEST_F(Mordan, SearchesPinsAndForgetsByTheKeyboard) {
    startWithDashboard();
    keep("Green tea", "Text Green tea");
    keep("milk", "Text milk");
    keep("Black TEA", "Text Black TEA");
    ASSERT_TRUE(click("Dashboard", "Search what you have copied"));
    type("tea");
    EXPECT_TRUE(lists("Dashboard", {"Text Black TEA", "Text Green tea"}));
    EXPECT_TRUE(says("Dashboard", "2 of 3"));
    screen().press(XK_Down);
    screen().press(XK_Down);
    pressWith(XK_Control_L, XK_p);
    EXPECT_TRUE(lists("Dashboard", {"Text Green tea, pinned", "Text Black TEA"}));
    screen().press(XK_Delete);
    EXPECT_TRUE(lists("Dashboard", {"Text Black TEA"})) << "the current row stayed with its entry";
    type("q");
    EXPECT_TRUE(says("Dashboard", "Nothing here matches that."));
    screen().press(XK_Escape);
    EXPECT_TRUE(lists("Dashboard", {"Text Black TEA", "Text milk"}));
}

TEST_F(Mordan, EnterInThePanelPutsBack) {
    startWithDashboard();
    keep("tea", "Text tea");
    keep("milk", "Text milk");
    ASSERT_TRUE(openPanel());
    ASSERT_TRUE(lists("Zorbel panel", {"Text milk", "Text tea"}));
    screen().press(XK_Tab);
    ASSERT_TRUE(until([] {
        const auto list = history("Zorbel panel");
        const auto row = list ? list->find("Text milk") : std::nullopt;
        return row && row->is(ATSPI_STATE_FOCUSED);
    }));
    screen().press(XK_Down);
    screen().press(XK_Return);
    EXPECT_TRUE(until([] { return Desk::paste() == "tea"; }));
}

TEST_F(Mordan, TurnedOffAndOnItHasThePinnedEntriesOnly) {
    startWithDashboard();
    keep("tea", "Text tea");
    keep("milk", "Text milk");
    clickOnRow("Text tea", "Pin");
    ASSERT_TRUE(lists("Dashboard", {"Text tea, pinned", "Text milk"}));
    ASSERT_TRUE(click("Dashboard", "Mordan", ATSPI_ROLE_CHECK_BOX));
    ASSERT_TRUE(says("Dashboard", "Mordan is not in the cup."));
    desk.copy("while it is off");
    ASSERT_TRUE(click("Dashboard", "Mordan", ATSPI_ROLE_CHECK_BOX));
    ASSERT_TRUE(lists("Dashboard", {"Text tea, pinned"}));
    keep("sugar", "Text tea, pinned");
    EXPECT_TRUE(lists("Dashboard", {"Text tea, pinned", "Text sugar"}));
}

TEST_F(Mordan, ALongTextGoesInAndOutWhole) {
    startWithDashboard();
    std::string text;
    while (text.size() < (10U << 20)) {
        text += "A line about tea, number " + std::to_string(text.size()) + ".\n";
    }
    desk.copy(text);
    ASSERT_TRUE(until([] { return entries("Dashboard").size() == 1; }));
    keep("short", "Text short");
    ASSERT_TRUE(openPanel());
    const auto rows = entries("Zorbel panel");
    ASSERT_EQ(rows.size(), 2U);
    screen().click(frameOf("Zorbel panel", rows.back()).center());
    EXPECT_TRUE(until([&] { return Desk::paste() == text; }));
}

TEST_F(Mordan, CopyAndPasteWithAnEditor) {
    startWithDashboard();
    const auto file = desk.folder() / "letter.txt";
    std::ofstream(file) << "";
    Program editor({"mousepad", "--disable-server", file.string()}, unread());
    const auto editorWindow = [] {
        const auto windows = screen().windows();
        const auto found = std::ranges::find_if(
            windows, [](const Window& window) { return window.className == "Mousepad"; });
        return found == windows.end() ? std::nullopt : std::optional(*found);
    };
    ASSERT_TRUE(until([&] { return editorWindow().has_value(); })) << editor.output();
    screen().activate(editorWindow()->id);
    ASSERT_TRUE(until([&] {
        return screen().rootProperty("_NET_ACTIVE_WINDOW") == std::vector<std::uint32_t>{editorWindow()->id};
    }));
    const auto saved = [&] {
        pressWith(XK_Control_L, XK_s);
        std::ostringstream text;
        text << std::ifstream(file).rdbuf();
        return text.str();
    };
    type("earl grey");
    ASSERT_TRUE(until([&] { return saved().starts_with("earl grey"); })) << saved();
    pressWith(XK_Control_L, XK_a);
    pressWith(XK_Control_L, XK_c);
    ASSERT_TRUE(until([] { return !entries("Dashboard").empty(); }));
    EXPECT_TRUE(entries("Dashboard").front().starts_with("Text earl grey")) << listedText("Dashboard");
    keep("darjeeling", "Text darjeeling");

    ASSERT_TRUE(openPanel());
    screen().click(frameOf("Zorbel panel", entries("Zorbel panel").back()).center());
    ASSERT_TRUE(until([] { return Desk::paste().starts_with("earl grey"); }));
    screen().press(XK_Escape);
    ASSERT_TRUE(waitForPanel(false));
    screen().activate(editorWindow()->id);
    ASSERT_TRUE(until([&] {
        return screen().rootProperty("_NET_ACTIVE_WINDOW") == std::vector<std::uint32_t>{editorWindow()->id};
    }));
    pressWith(XK_Control_L, XK_End);
    type(" and ");
    pressWith(XK_Control_L, XK_v);
    EXPECT_TRUE(until([&] { return saved().find(" and earl grey") != std::string::npos; })) << saved();
}

TEST_F(Mordan, QuittingAfterPuttingBackIsQuickAndClean) {
    startWithDashboard();
    keep("tea", "Text tea");
    ASSERT_TRUE(openPanel());
    screen().click(frameOf("Zorbel panel", "Text tea").center());
    ASSERT_TRUE(
        until([&] { return screen().selectionOwner("CLIPBOARD") != XCB_NONE && Desk::paste() == "tea"; }));
    EXPECT_EQ(end(programs.front()), 0);
    EXPECT_TRUE(until([] { return screen().selectionOwner("CLIPBOARD") == XCB_NONE; }));
}

TEST_F(Mordan, WhatPeopleCopyGoesIntoNoCoreDumpAndNoLog) {
    startWithDashboard();
    keep("hunter2", "Text hunter2");
    std::ifstream limits("/proc/" + std::to_string(programs.front().pid()) + "/limits");
    std::string line;
    while (std::getline(limits, line) && !line.starts_with("Max core file size")) {
    }
    std::istringstream words(line.substr(std::string("Max core file size").size()));
    std::string soft;
    std::string hard;
    words >> soft >> hard;
    EXPECT_EQ(soft, "1");
    EXPECT_EQ(hard, "1");
    EXPECT_EQ(end(programs.front()), 0);
    EXPECT_EQ(programs.front().output().find("hunter2"), std::string::npos);
    for (const auto& file : std::filesystem::recursive_directory_iterator(settings.folder())) {
        if (file.is_regular_file()) {
            std::ostringstream text;
            text << std::ifstream(file.path()).rdbuf();
            EXPECT_EQ(text.str().find("hunter2"), std::string::npos) << file.path();
        }
    }
}
