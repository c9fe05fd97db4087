#include "Fotrel/Fotrel.hpp"
#include "Platforms/Linux/Capture/CaptureTools.hpp"
#include "Platforms/Linux/Capture/LinuxPictures.hpp"
#include "Platforms/Linux/Capture/LinuxProcesses.hpp"
#include "Platforms/Qt/QtMainLoop.hpp"
#include "Platforms/Simulated/SimulatedCapture.hpp"
#include "Platforms/Simulated/SimulatedLanguage.hpp"
#include "Platforms/Simulated/SimulatedPasteboard.hpp"
#include "Tests/Desktop/Desktop.hpp"
#include "Tests/TemporaryFolder.hpp"

#include <QImage>
#include <gtest/gtest.h>
#include <unistd.h>

#include <X11/keysym.h>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

using namespace Desktop;

namespace {

namespace fs = std::filesystem;

const QRect wholeScreen(0, 0, 1024, 768); // how large a window the compositor opens
constexpr int nobody = 65534;

/// Of which no two places near one another look alike.
QImage pattern() {
    QImage image(wholeScreen.size(), QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            image.setPixel(x, y, qRgb(x & 0xFF, y & 0xFF, (x >> 8) << 4 | y >> 8));
        }
    }
    return image;
}

/// A Wayland compositor in a window of the X server, with a pattern for its desktop.
class Compositor {
public:
    Compositor() {
        const fs::path run = folder_.path() / "run";
        fs::create_directory(run);
        EXPECT_TRUE(pattern().save(QString::fromStdString((folder_.path() / "pattern.png").string())));
        std::ofstream(folder_.path() / "config")
            << "output * bg " << (folder_.path() / "pattern.png").string() << " fill\n"
            << "seat * hide_cursor 1\n";
        fs::permissions(folder_.path(), fs::perms::all, fs::perm_options::replace);
        fs::permissions(run, fs::perms::owner_all, fs::perm_options::replace);
        std::vector<std::string> command{"sway", "-c", (folder_.path() / "config").string()};
        if (::geteuid() == 0) { // as which it refuses to run
            EXPECT_EQ(::chown(run.c_str(), nobody, nobody), 0);
            const std::string number = std::to_string(nobody);
            command.insert(command.begin(),
                           {"setpriv", "--reuid=" + number, "--regid=" + number, "--clear-groups"});
        }
        ::setenv("XDG_RUNTIME_DIR", run.c_str(), 1);
        ::setenv("WAYLAND_DISPLAY", "wayland-1", 1);
        program_ =
            std::make_unique<Program>(command, Program::Environment{{"WLR_BACKENDS", "x11"},
                                                                    {"WLR_RENDERER", "pixman"},
                                                                    {"WAYLAND_DISPLAY", std::nullopt},
                                                                    {"HOME", folder_.path().string()}});
        EXPECT_TRUE(until([&] {
            return screen_.picture(wholeScreen).convertToFormat(QImage::Format_RGB32) == pattern();
        })) << program_->output();
    }

private:
    TemporaryFolder folder_;
    Screen screen_;
    std::unique_ptr<Program> program_;
};

} // namespace

/// The spice that takes pictures with the real tools of a Wayland compositor.
class CaptureWayland : public testing::Test {
protected:
    static void SetUpTestSuite() { compositor = std::make_unique<Compositor>(); }
    static void TearDownTestSuite() { compositor.reset(); }

    CaptureWayland() { spice.steep(); }

    bool isPatternShown() const {
        return screen.picture(wholeScreen).convertToFormat(QImage::Format_RGB32) == pattern();
    }

    /// The selection shades the screen as long as it goes on.
    void drag(QPoint from, QPoint to) const {
        ASSERT_TRUE(until([&] { return !isPatternShown(); }));
        screen.drag(from, to, XCB_NO_SYMBOL);
    }

    void expectCaptures(std::size_t count) const {
        ASSERT_TRUE(until([&] { return spice.captures().size() >= count; }));
        expectNothingMore(count);
    }

    void expectNothingMore(std::size_t count) const {
        EXPECT_TRUE(until([&] { return isPatternShown(); })) << "the selection is over";
        EXPECT_TRUE(until([&] { return fs::is_empty(folder.path()); })) << "a file is left over";
        EXPECT_EQ(spice.captures().size(), count);
        EXPECT_EQ(spice.lastError(), std::nullopt);
    }

    QImage newest() const {
        return QtPlatform::QtPictures::image(spice.captures().front().image)
            .convertToFormat(QImage::Format_RGB32);
    }

    class Pictures : public Linux::LinuxPictures {
    public:
        explicit Pictures(fs::path folder)
            : folder_(std::move(folder)) {}
        fs::path temporaryFile(const std::string& name) const override { return folder_ / name; }

    private:
        fs::path folder_;
    };

    static inline std::unique_ptr<Compositor> compositor;

    Screen screen;
    TemporaryFolder folder;
    QtPlatform::QtMainLoop loop;
    QtPlatform::QtClock clock;
    Simulated::SimulatedPasteboard pasteboard;
    Simulated::SimulatedSavePanel savePanel;
    Simulated::SimulatedPanels panels;
    Simulated::SimulatedLanguage language;
    Simulated::SimulatedTextRecogniser recogniser;
    Linux::LinuxProcesses processes;
    Fotrel::FotrelSpice spice{{.loop = loop,
                               .clock = clock,
                               .processes = processes,
                               .pasteboard = pasteboard,
                               .savePanel = savePanel,
                               .panels = panels,
                               .language = language,
                               .recogniser = recogniser,
                               .pictures = std::make_shared<Pictures>(folder.path()),
                               .tool = Linux::captureTool()}};
};

TEST_F(CaptureWayland, ARegionIsExactlyWhatWasDragged) {
    const QRect region(310, 210, 191, 131);
    spice.captureRegion();
    drag(region.topLeft(), region.bottomRight());
    expectCaptures(1);
    EXPECT_EQ(newest(), pattern().copy(region));
    spice.captureRegion();
    drag(region.bottomRight(), region.topLeft());
    expectCaptures(2);
    EXPECT_EQ(newest(), pattern().copy(region));
}

TEST_F(CaptureWayland, TheWholeScreenIsTakenWithoutThePointer) {
    screen.movePointer({300, 300});
    spice.captureScreen();
    expectCaptures(1);
    EXPECT_EQ(newest(), pattern());
}

TEST_F(CaptureWayland, AFrameAroundAWindowIsTakenAndAClickTakesTheMonitor) {
    const QRect frame(100, 120, 300, 200);
    spice.captureWindow();
    drag(frame.topLeft(), frame.bottomRight());
    expectCaptures(1);
    EXPECT_EQ(newest(), pattern().copy(frame));
    spice.captureWindow();
    drag({500, 400}, {500, 400});
    expectCaptures(2);
    EXPECT_EQ(newest(), pattern());
}

TEST_F(CaptureWayland, F1_ACancelledSelectionLeavesNothing) {
    for (const bool isWindow : {false, true}) {
        isWindow ? spice.captureWindow() : spice.captureRegion();
        ASSERT_TRUE(until([&] { return !isPatternShown(); }));
        screen.press(XK_Escape);
        expectNothingMore(0);
    }
    spice.captureRegion();
    drag({200, 200}, {200, 200});
    expectNothingMore(0);
}
