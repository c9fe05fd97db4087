#include "Fotrel/Fotrel.hpp"
#include "Platforms/Linux/Capture/CaptureTools.hpp"
#include "Platforms/Linux/Capture/LinuxPictures.hpp"
#include "Platforms/Linux/Capture/LinuxProcesses.hpp"
#include "Platforms/Linux/XReply.hpp"
#include "Platforms/Qt/QtMainLoop.hpp"
#include "Platforms/Qt/QtPictures.hpp"
#include "Platforms/Simulated/SimulatedCapture.hpp"
#include "Platforms/Simulated/SimulatedLanguage.hpp"
#include "Platforms/Simulated/SimulatedPasteboard.hpp"
#include "Tests/Desktop/Desktop.hpp"
#include "Tests/Desktop/GuestClient.hpp"
#include "Tests/Desktop/Monitors.hpp"
#include "Tests/Desktop/Selection.hpp"
#include "Tests/TemporaryFolder.hpp"

#include <QCoreApplication>
#include <QImage>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using namespace Desktop;

namespace {

namespace fs = std::filesystem;

/// A desktop on which no two places near one another look alike.
class Pattern {
public:
    explicit Pattern(QSize size)
        : connection_(xcb_connect(nullptr, nullptr)) {
        const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(get())).data;
        const auto width = static_cast<std::uint16_t>(size.width());
        const auto height = static_cast<std::uint16_t>(size.height());
        const xcb_pixmap_t pixmap = xcb_generate_id(get());
        const xcb_gcontext_t context = xcb_generate_id(get());
        xcb_create_pixmap(get(), screen->root_depth, pixmap, screen->root, width, height);
        xcb_create_gc(get(), context, pixmap, 0, nullptr);
        std::vector<std::uint32_t> row(width);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                row[static_cast<std::size_t>(x)] = colourAt({x, y});
            }
            xcb_put_image(get(), XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, context, width, 1, 0,
                          static_cast<std::int16_t>(y), 0, screen->root_depth,
                          static_cast<std::uint32_t>(row.size() * 4),
                          reinterpret_cast<const std::uint8_t*>(row.data()));
        }
        xcb_change_window_attributes(get(), screen->root, XCB_CW_BACK_PIXMAP, &pixmap);
        xcb_clear_area(get(), 0, screen->root, 0, 0, 0, 0);
        Linux::owned(xcb_get_input_focus_reply(get(), xcb_get_input_focus(get()), nullptr));
    }

    /// 0xRRGGBB
    static std::uint32_t colourAt(QPoint place) {
        const auto x = static_cast<std::uint32_t>(place.x());
        const auto y = static_cast<std::uint32_t>(place.y());
        return (x & 0xFF) << 16 | (y & 0xFF) << 8 | (x >> 8) << 4 | y >> 8;
    }

    static QImage part(const QRect& rect) {
        QImage image(rect.size(), QImage::Format_RGB32);
        for (int y = 0; y < rect.height(); ++y) {
            for (int x = 0; x < rect.width(); ++x) {
                image.setPixel(x, y, colourAt(rect.topLeft() + QPoint(x, y)));
            }
        }
        return image;
    }

private:
    xcb_connection_t* get() const { return connection_.get(); }

    std::unique_ptr<xcb_connection_t, Linux::Disconnect> connection_;
};

/// Counts what it starts and what has ended.
class Watched : public Linux::LinuxProcesses {
public:
    std::optional<std::string> start(const fs::path& executable, const std::vector<std::string>& arguments,
                                     std::function<void(int status)> ended) override {
        const auto refusal = LinuxProcesses::start(executable, arguments,
                                                   [counted = ended_, ended = std::move(ended)](int status) {
                                                       ended(status);
                                                       ++*counted;
                                                   });
        started_ += refusal ? 0 : 1;
        return refusal;
    }

    int started() const { return started_; }
    int ended() const { return *ended_; }

private:
    int started_ = 0;
    std::shared_ptr<std::atomic<int>> ended_ = std::make_shared<std::atomic<int>>(0);
};

/// The machine's own, in a folder of the test's.
class PicturesIn : public Linux::LinuxPictures {
public:
    explicit PicturesIn(fs::path folder)
        : folder_(std::move(folder)) {}
    fs::path temporaryFile(const std::string& name) const override { return folder_ / name; }

private:
    fs::path folder_;
};

std::uint32_t checksum(std::string_view bytes) {
    std::uint32_t value = 0xFFFF'FFFF;
    for (const char byte : bytes) {
        value ^= static_cast<std::uint8_t>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            value = (value & 1) != 0 ? value >> 1 ^ 0xEDB8'8320 : value >> 1;
        }
    }
    return ~value;
}

void putNumber(std::string& bytes, std::size_t place, std::uint32_t number) {
    for (std::size_t index = 0; index < 4; ++index) {
        bytes[place + index] = static_cast<char>(number >> (24 - 8 * index));
    }
}

std::string contents(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

QImage plain(const QImage& image) {
    return image.convertToFormat(QImage::Format_RGB32);
}

} // namespace

/// The spice that takes pictures with the real tools of an X server, on known ground.
class Capture : public testing::Test {
protected:
    Capture() {
        fs::create_directory(temporary());
        useTool(Linux::x11CaptureTool());
    }

    static void SetUpTestSuite() { static const Pattern pattern(Screen().size()); }

    void useTool(const Fotrel::CaptureTool& tool) {
        spice.emplace(Fotrel::FotrelSpice::Services{.loop = loop,
                                                    .clock = clock,
                                                    .processes = *processes,
                                                    .pasteboard = pasteboard,
                                                    .savePanel = savePanel,
                                                    .panels = panels,
                                                    .language = language,
                                                    .recogniser = recogniser,
                                                    .pictures = std::make_shared<PicturesIn>(temporary()),
                                                    .tool = tool});
        spice->steep();
    }

    /// A tool that is this text of /bin/sh's; the file is "$1".
    void useScript(const std::string& script) {
        const std::vector<std::string> arguments{"-c", script, "sh"};
        useTool({.executable = "/bin/sh", .region = arguments, .window = arguments, .screen = arguments});
    }

    fs::path temporary() const { return folder.path() / "temporary"; }
    const auto& captures() const { return spice->captures(); }

    /// Once all that was started is over, and told.
    void expectCaptures(std::size_t count) const {
        ASSERT_TRUE(until([&] { return processes->ended() == processes->started(); }));
        QCoreApplication::processEvents();
        ASSERT_EQ(captures().size(), count);
        EXPECT_EQ(spice->lastError(), std::nullopt);
        expectNoFile();
    }

    void expectNoFile() const {
        EXPECT_TRUE(!fs::exists(temporary()) || fs::is_empty(temporary())) << "a file is left over";
    }

    QImage newest() const { return plain(QtPlatform::QtPictures::image(captures().front().image)); }

    /// A client that shows one colour, once the window manager has given it its frame.
    xcb_window_t open(const Manners& manners) const {
        const xcb_window_t window = guest.open(manners);
        EXPECT_TRUE(until([&] { return screen.frame(window) && !screen.isUnframed(window); }));
        EXPECT_TRUE(
            holds([&, before = screen.outerFrame(window)] { return screen.outerFrame(window) == before; },
                  Seconds{0.3}));
        return window;
    }

    Screen screen;
    const Selection selection{screen};
    GuestClient guest;
    TemporaryFolder folder;
    QtPlatform::QtMainLoop loop;
    QtPlatform::QtClock clock;
    Simulated::SimulatedPasteboard pasteboard;
    Simulated::SimulatedSavePanel savePanel;
    Simulated::SimulatedPanels panels;
    Simulated::SimulatedLanguage language;
    Simulated::SimulatedTextRecogniser recogniser;
    std::unique_ptr<Watched> processes = std::make_unique<Watched>();
    std::optional<Fotrel::FotrelSpice> spice;
};

// What is taken

TEST_F(Capture, F2_ARegionIsExactlyWhatWasDraggedInWhateverDirection) {
    const QRect region(310, 210, 191, 131);
    const std::pair<QPoint, QPoint> rows[] = {{region.topLeft(), region.bottomRight()},
                                              {region.bottomRight(), region.topLeft()},
                                              {region.topRight(), region.bottomLeft()},
                                              {region.bottomLeft(), region.topRight()}};
    std::size_t count = 0;
    for (const auto& [from, to] : rows) {
        SCOPED_TRACE(count);
        spice->captureRegion();
        ASSERT_TRUE(selection.drag(from, to));
        expectCaptures(++count);
        EXPECT_EQ(newest(), Pattern::part(region));
    }
}

TEST_F(Capture, F2_ARegionOverTwoMonitorsIsOnePicture) {
    spice->captureRegion();
    ASSERT_TRUE(selection.drag({1200, 300}, {1500, 500}));
    expectCaptures(1);
    EXPECT_EQ(newest(), Pattern::part({1200, 300, 301, 201}));
}

TEST_F(Capture, F2_ARegionReachesTheLastPixel) {
    const QPoint last(screen.size().width() - 1, screen.size().height() - 1);
    spice->captureRegion();
    ASSERT_TRUE(selection.drag({last.x() - 99, last.y() - 49}, last));
    expectCaptures(1);
    EXPECT_EQ(newest(), Pattern::part({last.x() - 99, last.y() - 49, 100, 50}));
    spice->captureRegion();
    ASSERT_TRUE(selection.drag(last, {0, 0}));
    expectCaptures(2);
    EXPECT_EQ(newest(), Pattern::part(QRect({0, 0}, screen.size())));
}

TEST_F(Capture, F3_MonitorsAnywhereAndOfAnyShapeAreTakenToThePixel) {
    // One on its side, one of twice as many pixels to the millimetre, neither at the corner of the desk.
    const Monitors monitors({{"Turned", "600/300x900/450+120+80"}, {"Fine", "1600/200x900/112+720+40"}});
    ASSERT_TRUE(monitors.isSet());
    const QRect overBoth(650, 60, 200, 120);
    spice->captureRegion();
    ASSERT_TRUE(selection.drag(overBoth.topLeft(), overBoth.bottomRight()));
    expectCaptures(1);
    EXPECT_EQ(newest(), Pattern::part(overBoth));
    spice->captureScreen();
    expectCaptures(2);
    EXPECT_EQ(newest(), Pattern::part(QRect({0, 0}, screen.size())));
    const xcb_window_t window = open({.frame = {560, 300, 400, 300}});
    const QRect frame = screen.outerFrame(window).value_or(QRect());
    spice->captureWindow();
    ASSERT_TRUE(selection.click(frame.center()));
    expectCaptures(3);
    EXPECT_EQ(newest().size(), frame.size()) << "a window that is on both";
}

TEST_F(Capture, TheWholeScreenIsAllMonitorsWithoutThePointer) {
    screen.movePointer({640, 360});
    spice->captureScreen();
    expectCaptures(1);
    EXPECT_EQ(newest(), Pattern::part(QRect({0, 0}, screen.size())));
    EXPECT_EQ(captures().front().image.width(), screen.size().width());
}

TEST_F(Capture, AWindowIsTakenWithItsFrame) {
    const xcb_window_t window = open({.frame = {300, 200, 400, 300}});
    const QRect frame = screen.outerFrame(window).value();
    ASSERT_GT(frame.height(), 300) << "it has a title bar";
    spice->captureWindow();
    ASSERT_TRUE(selection.click(frame.center()));
    expectCaptures(1);
    EXPECT_EQ(newest(), plain(screen.picture(frame)));
}

TEST_F(Capture, HoweverFarTheHandMovesAWindowIsMeant) {
    const xcb_window_t window = open({.frame = {300, 200, 400, 300}});
    const QRect frame = screen.outerFrame(window).value();
    spice->captureWindow();
    ASSERT_TRUE(selection.drag({1000, 700}, frame.center()));
    expectCaptures(1);
    EXPECT_EQ(newest().size(), frame.size());
}

TEST_F(Capture, F4_AWindowIsTakenAsItCanBeSeen) {
    const xcb_window_t lower = open({.frame = {300, 200, 400, 300}});
    const QRect frame = screen.outerFrame(lower).value();
    const xcb_window_t upper =
        open({.isUndecorated = true, .isOverrideRedirect = false, .frame = {600, 400, 200, 200}});
    screen.activate(upper);
    Selection::rest();
    spice->captureWindow();
    ASSERT_TRUE(selection.click(frame.topLeft() + QPoint(60, 60)));
    expectCaptures(1);
    EXPECT_EQ(newest(), plain(screen.picture(frame)));
}

TEST_F(Capture, F4_OfAWindowPartlyOutsideTheScreenThePartInsideIsTaken) {
    const QRect all({0, 0}, screen.size());
    const std::pair<const char*, QPoint> rows[] = {{"left", {-150, 300}},
                                                   {"right", {all.width() - 150, 300}},
                                                   {"bottom", {500, all.height() - 150}},
                                                   {"corner", {-150, all.height() - 150}}};
    std::size_t count = 0;
    for (const auto& [name, place] : rows) {
        SCOPED_TRACE(name);
        const xcb_window_t window = open({.frame = {300, 200, 400, 300}});
        screen.moveAndResize(window, QRect(place, QSize(400, 300)));
        ASSERT_TRUE(until([&] { return screen.outerFrame(window).value_or(QRect()).topLeft() == place; }));
        const QRect visible = screen.outerFrame(window).value() & all;
        Selection::rest();
        spice->captureWindow();
        ASSERT_TRUE(selection.click(visible.center()));
        expectCaptures(++count);
        EXPECT_EQ(newest().size(), visible.size());
        EXPECT_EQ(newest(), plain(screen.picture(visible)));
        guest.close(window);
        ASSERT_TRUE(until([&] { return plain(screen.picture(visible)) == Pattern::part(visible); }));
    }
}

TEST_F(Capture, F4_TheShadowThatAProgramDrawsItselfIsLeftOut) {
    const QRect client(300, 200, 400, 300);
    const xcb_window_t window = open({.shadow = {26, 20, 23, 29}, .isUndecorated = true, .frame = client});
    const QRect frame = screen.frame(window).value();
    const QRect inside = frame.adjusted(26, 23, -20, -29);
    spice->captureWindow();
    ASSERT_TRUE(selection.click(frame.center()));
    expectCaptures(1);
    EXPECT_EQ(newest().size(), inside.size());
    EXPECT_EQ(newest(), plain(screen.picture(inside)));
}

#ifdef GTK_WINDOW_PROGRAM

/// Where a compositing manager runs, so that programs draw shadows.
class CaptureOfShadows : public Capture {};

TEST_F(CaptureOfShadows, F4_AProgramsOwnShadowIsLeftOut) {
    const Program program({GTK_WINDOW_PROGRAM});
    std::optional<xcb_window_t> window;
    std::vector<std::uint32_t> shadow; // left, right, top, bottom
    ASSERT_TRUE(until([&] {
        const auto clients = screen.rootProperty("_NET_CLIENT_LIST");
        window = clients.size() == 1 ? std::optional(clients.front()) : std::nullopt;
        shadow = window ? screen.property(*window, "_GTK_FRAME_EXTENTS") : std::vector<std::uint32_t>();
        return shadow.size() == 4 && shadow[0] > 0;
    }));
    const auto side = [&](std::size_t index) { return static_cast<int>(shadow[index]); };
    QRect visible;
    QImage before;
    const auto isAtRest = [&] {
        visible = screen.frame(*window).value_or(QRect()).adjusted(side(0), side(2), -side(1), -side(3));
        const QImage now = screen.picture(visible);
        return now == std::exchange(before, now);
    };
    ASSERT_TRUE(until([&] { return holds(isAtRest, Seconds{0.5}); }));
    spice->captureWindow();
    ASSERT_TRUE(selection.click(visible.center()));
    expectCaptures(1);
    EXPECT_EQ(newest().size(), visible.size());
    EXPECT_EQ(newest(), plain(screen.picture(visible)));
}

#endif

TEST_F(Capture, AShadowThatIsNoneChangesNothing) {
    const xcb_window_t window = open({.isUndecorated = true, .frame = {300, 200, 400, 300}});
    const QRect frame = screen.frame(window).value();
    const std::string trap = (folder.path() / "trap").string();
    const std::function<void()> rows[] = {
        [&] {
            guest.setCardinals(window, "_GTK_FRAME_EXTENTS", {0xFFFF'FFFF, 0xFFFF'FFFF, 1, 1});
        },
        [&] {
            guest.setCardinals(window, "_GTK_FRAME_EXTENTS", {200, 200, 0, 0});
        },
        [&] { guest.setCardinals(window, "_GTK_FRAME_EXTENTS", {7}); },
        [&] {
            guest.setText(window, guest.atom("_GTK_FRAME_EXTENTS"), XCB_ATOM_STRING,
                          "1, 1, a[$(touch " + trap + ")], `touch " + trap + "`");
        },
        [&] {
            guest.setText(window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING,
                          "\n0x1 $(touch " + trap + ")\nWidth: 1 1");
        }};
    std::size_t count = 0;
    for (const auto& prepare : rows) {
        SCOPED_TRACE(count);
        prepare();
        guest.settle();
        spice->captureWindow();
        ASSERT_TRUE(selection.click(frame.center()));
        expectCaptures(++count);
        EXPECT_EQ(newest().size(), frame.size());
    }
    EXPECT_FALSE(fs::exists(trap));
}

TEST_F(Capture, TheDesktopItselfIsTheWholeScreen) {
    spice->captureWindow();
    ASSERT_TRUE(selection.click({1000, 700}));
    expectCaptures(1);
    EXPECT_EQ(newest(), Pattern::part(QRect({0, 0}, screen.size())));
}

// Nothing is taken

TEST_F(Capture, F1_ACancelledSelectionLeavesNothing) {
    const std::function<void()> ways[] = {[this] { spice->captureRegion(); },
                                          [this] { spice->captureWindow(); }};
    for (const auto& capture : ways) {
        capture();
        ASSERT_TRUE(selection.escape());
        expectCaptures(0);
        capture();
        ASSERT_TRUE(selection.click({500, 400}, XCB_BUTTON_INDEX_3));
        expectCaptures(0);
    }
}

TEST_F(Capture, F1_ARegionOfNoSizeIsCancelled) {
    spice->captureRegion();
    ASSERT_TRUE(selection.click({500, 400}));
    expectCaptures(0);
    spice->captureRegion();
    ASSERT_TRUE(selection.drag({500, 400}, {500, 460}));
    expectCaptures(0);
}

TEST_F(Capture, F1_AToolThatIsKilledLeavesNothing) {
    useScript("echo half >\"$1\"; kill -9 $$");
    spice->captureScreen();
    expectCaptures(0);
}

TEST_F(Capture, F1_AMissingToolIsTheOneFailureThatIsTold) {
    useTool({.executable = "zorbel-no-such-tool", .region = {}, .window = {}, .screen = {}});
    spice->captureScreen();
    EXPECT_EQ(spice->lastError(),
              "Could not start screencapture. The program zorbel-no-such-tool is not installed.");
    EXPECT_TRUE(captures().empty());
    expectNoFile();
}

TEST_F(Capture, AToolThatFailsLeavesNothing) {
    useScript("echo half >\"$1\"; exit 1");
    spice->captureScreen();
    expectCaptures(0);
}

TEST_F(Capture, F7_AFileThatIsNoPictureIsNotAdded) {
    const fs::path whole = folder.path() / "whole.png";
    ASSERT_TRUE(Pattern::part({0, 0, 400, 300}).save(QString::fromStdString(whole.string()), "PNG"));
    const std::string bytes = contents(whole);
    std::string huge = bytes; // says that it is 30,000 pixels wide and high
    putNumber(huge, 16, 30'000);
    putNumber(huge, 20, 30'000);
    putNumber(huge, 29, checksum(std::string_view(huge).substr(12, 17)));
    const std::pair<const char*, std::string> rows[] = {{"nothing", ""},
                                                        {"half", bytes.substr(0, bytes.size() / 2)},
                                                        {"a beginning", bytes.substr(0, 20)},
                                                        {"words", "no picture"},
                                                        {"huge", huge}};
    const fs::path given = folder.path() / "given";
    useScript("cp '" + given.string() + "' \"$1\"");
    for (const auto& [name, content] : rows) {
        SCOPED_TRACE(name);
        std::ofstream(given, std::ios::binary) << content;
        spice->captureScreen();
        expectCaptures(0);
    }
    std::ofstream(given, std::ios::binary) << bytes;
    spice->captureScreen();
    expectCaptures(1);
    useScript("exit 0");
    spice->captureScreen();
    expectCaptures(0);
}

TEST_F(Capture, WhereTheFileCannotBeWrittenNothingIsAdded) {
    fs::remove(temporary());
    spice->captureScreen();
    expectCaptures(0);
    // A file where the folder was: nothing can be written below it, by whomever.
    std::ofstream(temporary()) << "";
    spice->captureScreen();
    ASSERT_TRUE(until([&] { return processes->ended() == processes->started(); }));
    QCoreApplication::processEvents();
    EXPECT_TRUE(captures().empty());
}

TEST_F(Capture, AFullDiskLeavesNothing) {
    useScript("ulimit -f 8; exec maim -m 1 -u \"$1\"");
    spice->captureScreen();
    expectCaptures(0);
}

// Several at once

TEST_F(Capture, TwentyOneAtOnceLeaveTheTwentyNewest) {
    for (int count = 0; count < 21; ++count) {
        spice->captureScreen();
    }
    expectCaptures(Fotrel::FotrelSpice::mostCaptures);
}

TEST_F(Capture, F6_ASecondSelectionGivesWayToTheFirstAndAScreenDoesNotWait) {
    spice->captureRegion();
    ASSERT_TRUE(until([&] { return selection.isGoingOn(); }));
    spice->captureScreen();
    ASSERT_TRUE(until([&] { return captures().size() == 1; }));
    spice->captureRegion();
    ASSERT_TRUE(until([&] { return processes->ended() == 2; })) << "it cannot have the mouse";
    EXPECT_EQ(captures().size(), 1U);
    ASSERT_TRUE(selection.drag({100, 100}, {199, 199}));
    expectCaptures(2);
    EXPECT_EQ(newest(), Pattern::part({100, 100, 100, 100}));
}

TEST_F(Capture, F6_WhatWasUnderWayWhenTheSpiceWasTurnedOffStillArrives) {
    spice->captureRegion();
    ASSERT_TRUE(until([&] { return selection.isGoingOn(); }));
    spice->rest();
    ASSERT_TRUE(selection.drag({100, 100}, {199, 199}));
    expectCaptures(1);
}

TEST_F(Capture, ASelectionEndsWithTheProgram) {
    spice->captureRegion();
    ASSERT_TRUE(until([&] { return selection.isGoingOn(); }));
    spice.reset();
    processes.reset();
    EXPECT_TRUE(until([&] { return !selection.isGoingOn(); }));
    expectNoFile();
}

// Lean machines

TEST_F(Capture, WithoutItsHelpersMaimSelectsByItself) {
    // A folder of programs in which slop, xprop and xwininfo are missing.
    const fs::path programs = folder.path() / "programs";
    fs::create_directory(programs);
    fs::create_symlink("/usr/bin/maim", programs / "maim");
    const std::string before = std::getenv("PATH");
    ::setenv("PATH", programs.c_str(), 1);
    spice->captureRegion();
    ::setenv("PATH", before.c_str(), 1);
    ASSERT_TRUE(selection.drag({310, 210}, {500, 340}));
    expectCaptures(1);
    EXPECT_EQ(newest(), Pattern::part({310, 210, 191, 131}));
}
