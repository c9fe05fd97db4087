#include "Tests/Desktop/DesktopTest.hpp"
#include "Tests/Desktop/Selection.hpp"

#include <QDir>
#include <QImage>

#include <X11/keysym.h>
#include <deque>
#include <filesystem>
#include <string>
#include <vector>

using namespace Desktop;

namespace {

namespace fs = std::filesystem;

constexpr auto panel = "Zorbel panel";
constexpr auto dashboard = "Dashboard";
constexpr auto empty = "Anything you capture will appear here.";

} // namespace

/// The whole program with the spice that takes pictures alone, in a home of the test's own.
class Fotrel : public DesktopTest {
protected:
    Fotrel() {
        choose("fotrel");
        fs::create_directories(pictures());
        fs::create_directories(temporary());
        environment["HOME"] = home();
        environment["TMPDIR"] = temporary();
        environment["XDG_RUNTIME_DIR"] = temporary();
    }

    fs::path home() const { return home_.path() / "home"; }
    fs::path pictures() const { return home() / "Pictures"; }
    fs::path temporary() const { return home_.path() / "temporary"; }

    /// Large words and nothing else on a white ground, above the dashboard.
    void showWords(const std::string& words) {
        neighbours_.emplace_back(
            std::vector<std::string>{"xterm", "-fa", "DejaVu Sans Mono", "-fs", "20", "-bg", "white", "-fg",
                                     "black", "-geometry", "30x1+200+30", "-title", "words", "-e", "sh", "-c",
                                     "printf '\\033[?25l%s' \"$0\"; exec sleep 1000", words},
            unread());
        ASSERT_TRUE(until([&] {
            for (const Window& window : screen().windows()) {
                if (window.title == "words") {
                    words_ = window.frame;
                    // At first it has the size that a small font would need.
                    return words_.height() > 30 && !boundsOf(screen().picture(words_), Qt::black).isEmpty();
                }
            }
            return false;
        }));
    }

    bool drag(const QRect& region) const { return selection.drag(region.topLeft(), region.bottomRight()); }

    static bool hasRow() {
        return until([] { return shown(dashboard, "Save…", ATSPI_ROLE_PUSH_BUTTON).has_value(); });
    }

    /// Nothing of a picture is left where pictures are taken.
    bool isTidy() const {
        return until([&] {
            for (const auto& entry : fs::recursive_directory_iterator(temporary())) {
                if (entry.path().extension() == ".png") {
                    return false;
                }
            }
            return true;
        });
    }

    /// Types a name into the save panel that has come up, and confirms.
    void saveAs(const std::string& name) const {
        const auto isOpen = [] {
            for (const Window& window : screen().windows()) {
                if (window.title.startsWith("Save picture")) {
                    return screen().rootProperty("_NET_ACTIVE_WINDOW") == std::vector{window.id};
                }
            }
            return false;
        };
        ASSERT_TRUE(until(isOpen));
        for (const char letter : name) {
            screen().press(static_cast<xcb_keysym_t>(letter)); // of small letters, the same as the character
        }
        screen().press(XK_Return);
    }

    /// The newest capture, by way of a file that is saved.
    QImage saved(const std::string& name) const {
        EXPECT_TRUE(click(dashboard, "Save…", ATSPI_ROLE_PUSH_BUTTON));
        saveAs(name);
        QImage picture;
        EXPECT_TRUE(
            until([&] { return picture.load(QString::fromStdString(pictures() / (name + ".png"))); }));
        return picture;
    }

    const Selection selection{screen()};
    QRect words_; // where they are shown

private:
    TemporaryFolder home_;
    std::deque<Program> neighbours_;
};

TEST_F(Fotrel, ARegionIsTakenReadAndSavedAndItsTextCopied) {
    showWords("The quick brown fox");
    start();
    ASSERT_TRUE(openDashboard());
    ASSERT_TRUE(says(dashboard, empty));
    ASSERT_TRUE(click(dashboard, "Region", ATSPI_ROLE_PUSH_BUTTON));
    ASSERT_TRUE(drag(words_));
    ASSERT_TRUE(hasRow());
    EXPECT_TRUE(isTidy());
    EXPECT_EQ(saved("region").convertToFormat(QImage::Format_RGB32),
              screen().picture(words_).convertToFormat(QImage::Format_RGB32));

    ASSERT_TRUE(says(dashboard, "1 lines of text found"));
    screen().picture().save(QDir(ZORBEL_PICTURES).filePath("desktop-fotrel.png"));
    ASSERT_TRUE(click(dashboard, "Copy text", ATSPI_ROLE_PUSH_BUTTON));
    EXPECT_TRUE(until([] {
        Program reader({"timeout", "5", "xclip", "-selection", "clipboard", "-o"}, unread());
        return reader.waitForEnd() == 0 && reader.output() == "The quick brown fox";
    }));
}

TEST_F(Fotrel, F5_ThePanelIsNotInThePictureThatItTakes) {
    start();
    ASSERT_TRUE(openDashboard());
    ASSERT_TRUE(says(dashboard, empty));
    const QImage before = screen().picture().convertToFormat(QImage::Format_RGB32);
    ASSERT_TRUE(openPanel());
    const QRect place = findPanel(screen())->frame;
    EXPECT_NE(screen().picture(place).convertToFormat(QImage::Format_RGB32), before.copy(place));
    screen().picture().save(QDir(ZORBEL_PICTURES).filePath("desktop-fotrel-panel.png"));
    ASSERT_TRUE(click(panel, "Screen", ATSPI_ROLE_PUSH_BUTTON));
    ASSERT_TRUE(waitForPanel(false));
    ASSERT_TRUE(hasRow());
    const QImage picture = saved("screen").convertToFormat(QImage::Format_RGB32);
    EXPECT_EQ(picture.size(), screen().size());
    EXPECT_EQ(picture.copy(place), before.copy(place));
    EXPECT_TRUE(isTidy());
}

TEST_F(Fotrel, ARegionCanBeDraggedFromThePanelToo) {
    start();
    ASSERT_TRUE(openPanel());
    ASSERT_TRUE(click(panel, "Region", ATSPI_ROLE_PUSH_BUTTON));
    ASSERT_TRUE(waitForPanel(false));
    ASSERT_TRUE(drag({100, 200, 120, 80}));
    ASSERT_TRUE(openDashboard());
    ASSERT_TRUE(hasRow());
    EXPECT_EQ(saved("region").size(), QSize(120, 80));
}

TEST_F(Fotrel, F1_ACancelledSelectionLeavesTheListEmpty) {
    start();
    ASSERT_TRUE(openDashboard());
    for (const char* button : {"Region", "Window"}) {
        SCOPED_TRACE(button);
        ASSERT_TRUE(click(dashboard, button, ATSPI_ROLE_PUSH_BUTTON));
        ASSERT_TRUE(selection.escape());
        EXPECT_TRUE(says(dashboard, empty));
        EXPECT_TRUE(isTidy());
    }
}

TEST_F(Fotrel, F1_AMissingToolIsSaidByName) {
    environment["PATH"] = temporary();
    start();
    ASSERT_TRUE(openDashboard());
    ASSERT_TRUE(click(dashboard, "Whole screen", ATSPI_ROLE_PUSH_BUTTON));
    EXPECT_TRUE(says(dashboard, "Could not start screencapture. The program maim is not installed."));
    EXPECT_TRUE(says(dashboard, empty));
}

TEST_F(Fotrel, AProgramThatEndsTakesTheSelectionWithIt) {
    Program& program = start();
    ASSERT_TRUE(openDashboard());
    ASSERT_TRUE(click(dashboard, "Region", ATSPI_ROLE_PUSH_BUTTON));
    ASSERT_TRUE(until([&] { return selection.isGoingOn(); }));
    EXPECT_EQ(end(program), 0);
    EXPECT_FALSE(selection.isGoingOn());
    EXPECT_TRUE(isTidy());
}

TEST_F(Fotrel, AnotherProgramCanPasteThePicture) {
    showWords("The quick brown fox");
    start();
    ASSERT_TRUE(openDashboard());
    ASSERT_TRUE(click(dashboard, "Region", ATSPI_ROLE_PUSH_BUTTON));
    ASSERT_TRUE(drag(words_));
    ASSERT_TRUE(hasRow());
    ASSERT_TRUE(click(dashboard, "Copy image", ATSPI_ROLE_PUSH_BUTTON));
    QImage pasted;
    EXPECT_TRUE(until([&] {
        const fs::path file = home() / "pasted.png";
        Program reader({"sh", "-c", "timeout 5 xclip -selection clipboard -t image/png -o >\"$0\"", file},
                       unread());
        return reader.waitForEnd() == 0 && pasted.load(QString::fromStdString(file));
    }));
    EXPECT_EQ(pasted.convertToFormat(QImage::Format_RGB32),
              screen().picture(words_).convertToFormat(QImage::Format_RGB32));
}
