// What a picture of the whole screen costs: from the press of the button to the row in the list, beside maim
// writing the same picture by itself, in turns on the same screen.

#include "Benchmarks/Programs.hpp"
#include "Benchmarks/RunLoop.hpp"
#include "Fotrel/Fotrel.hpp"
#include "Platforms/Linux/Capture/CaptureTools.hpp"
#include "Platforms/Linux/Capture/LinuxPictures.hpp"
#include "Platforms/Linux/Capture/LinuxProcesses.hpp"
#include "Platforms/Qt/QtMainLoop.hpp"
#include "Platforms/Simulated/SimulatedCapture.hpp"
#include "Platforms/Simulated/SimulatedLanguage.hpp"
#include "Platforms/Simulated/SimulatedPasteboard.hpp"
#include "Tests/TemporaryFolder.hpp"

#include <QCoreApplication>
#include <xcb/xcb.h>

#include <atomic>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace Bench;
using std::filesystem::path;

constexpr double goal = 0.4;
constexpr double patience = 20; // seconds
constexpr int terminals = 3;
const path memory = "/dev/shm";

/// When each step of a capture was done; written by the thread that waits for the tool.
struct Steps {
    std::atomic<Nanoseconds> toolEnded = 0;
    std::atomic<Nanoseconds> read = 0;
};

class TimedProcesses : public Linux::LinuxProcesses {
public:
    explicit TimedProcesses(Steps& steps)
        : steps_(steps) {}
    std::optional<std::string> start(const path& executable, const std::vector<std::string>& arguments,
                                     std::function<void(int status)> ended) override {
        return LinuxProcesses::start(executable, arguments, [this, ended = std::move(ended)](int status) {
            steps_.toolEnded = now();
            ended(status);
        });
    }

private:
    Steps& steps_;
};

class TimedPictures : public Linux::LinuxPictures {
public:
    explicit TimedPictures(Steps& steps)
        : steps_(steps) {}
    std::unique_ptr<ZorbelKit::ExpectedPicture> expect(const path& file) const override {
        return std::make_unique<TimedPicture>(steps_, LinuxPictures::expect(file));
    }

private:
    class TimedPicture : public ZorbelKit::ExpectedPicture {
    public:
        TimedPicture(Steps& steps, std::unique_ptr<ZorbelKit::ExpectedPicture> picture)
            : steps_(steps)
            , picture_(std::move(picture)) {}
        std::optional<ZorbelKit::Picture> read() override {
            auto picture = picture_->read();
            steps_.read = now();
            return picture;
        }

    private:
        Steps& steps_;
        std::unique_ptr<ZorbelKit::ExpectedPicture> picture_;
    };

    Steps& steps_;
};

/// A desktop as people have it: a soft picture behind, which compresses neither well nor badly, and text.
class Desk {
public:
    Desk()
        : connection_(xcb_connect(nullptr, nullptr)) {
        const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection_.get())).data;
        const std::uint16_t width = screen->width_in_pixels;
        const std::uint16_t height = screen->height_in_pixels;
        const xcb_pixmap_t pixmap = xcb_generate_id(connection_.get());
        const xcb_gcontext_t context = xcb_generate_id(connection_.get());
        xcb_create_pixmap(connection_.get(), screen->root_depth, pixmap, screen->root, width, height);
        xcb_create_gc(connection_.get(), context, pixmap, 0, nullptr);
        std::vector<std::uint32_t> row(width);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                row[static_cast<std::size_t>(x)] = colourAt(x, y);
            }
            xcb_put_image(connection_.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, context, width, 1, 0,
                          static_cast<std::int16_t>(y), 0, screen->root_depth,
                          static_cast<std::uint32_t>(row.size() * sizeof row.front()),
                          reinterpret_cast<const std::uint8_t*>(row.data()));
        }
        xcb_change_window_attributes(connection_.get(), screen->root, XCB_CW_BACK_PIXMAP, &pixmap);
        xcb_clear_area(connection_.get(), 0, screen->root, 0, 0, 0, 0);
        xcb_flush(connection_.get());
        for (int index = 0; index < terminals; ++index) {
            const std::string place =
                "100x40+" + std::to_string(200 + 700 * index) + "+" + std::to_string(150 + 200 * index);
            programs_.push_back(std::make_unique<Program>(
                std::vector<std::string>{"xterm", "-geometry", place, "-e", "sh", "-c",
                                         "ls -l /usr/bin | tail -n 39; exec sleep 1000"}));
        }
        pause(2); // until they are drawn
    }

private:
    struct Disconnect {
        void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    };

    static std::uint32_t colourAt(int x, int y) {
        const auto wave = [&](double across, double down) {
            return static_cast<std::uint32_t>(
                std::lround(110 + 90 * std::sin(x / across + 2 * std::cos(y / down))));
        };
        return wave(310, 270) << 16 | wave(520, 190) << 8 | wave(770, 410);
    }

    std::unique_ptr<xcb_connection_t, Disconnect> connection_;
    std::vector<std::unique_ptr<Program>> programs_;
};

} // namespace

int main(int argumentCount, char** arguments) {
    const QCoreApplication application(argumentCount, arguments);
    require("maim");
    require("xterm");
    const int rounds = countOrQuick(15, 3);
    const Desk desk;
    const TemporaryFolder folder(std::filesystem::is_directory(memory) ? memory : path("/tmp"));
    // Sessions give their users such a folder, in memory; that of the benchmark is not.
    ::setenv("XDG_RUNTIME_DIR", folder.path().c_str(), 1);

    Steps steps;
    QtPlatform::QtMainLoop loop;
    QtPlatform::QtClock clock;
    TimedProcesses processes(steps);
    Simulated::SimulatedPasteboard pasteboard;
    Simulated::SimulatedSavePanel savePanel;
    Simulated::SimulatedPanels panels;
    Simulated::SimulatedLanguage language;
    Simulated::SimulatedTextRecogniser recogniser; // reading takes longer than all this, and its own time
    Fotrel::FotrelSpice fotrel({.loop = loop,
                                .clock = clock,
                                .processes = processes,
                                .pasteboard = pasteboard,
                                .savePanel = savePanel,
                                .panels = panels,
                                .language = language,
                                .recogniser = recogniser,
                                .pictures = std::make_shared<const TimedPictures>(steps),
                                .tool = Linux::x11CaptureTool()});
    fotrel.steep();

    Samples own;
    Samples maim;
    Samples tool;
    Samples reading;
    Samples arriving;
    for (int round = 0; round <= rounds; ++round) {
        const Nanoseconds maimStart = now();
        run({"maim", folder.path() / "maim.png"});
        const double maimTime = milliseconds(now() - maimStart);

        fotrel.rest();
        const Nanoseconds start = now();
        fotrel.captureScreen();
        if (!runUntil([&] { return !fotrel.captures().empty(); }, patience)) {
            fail("no picture came");
        }
        const Nanoseconds end = now();
        // What goes on behind the row must not slow the next round down.
        if (!runUntil([&] { return fotrel.captures().front().image.isCompact(); }, patience)) {
            fail("the picture was not made compact");
        }
        if (round > 0) { // the first loads what the others find in the cache
            maim.add(maimTime);
            own.add(milliseconds(end - start));
            tool.add(milliseconds(steps.toolEnded - start));
            reading.add(milliseconds(steps.read - steps.toolEnded));
            arriving.add(milliseconds(end - steps.read));
        }
    }

    std::printf("\nMedian (least–most) of %d rounds, ms; a screen of %d × %d.\n\n", rounds,
                fotrel.captures().front().image.width(), fotrel.captures().front().image.height());
    Table table({"", ""});
    table.add({"maim FILE", maim.text(1)});
    table.add({"from the press to the row", own.text(1)});
    table.add({"  the tool", tool.text(1)});
    table.add({"  the rest of its file", reading.text(1)});
    table.add({"  into the list", arriving.text(1)});
    table.print();

    Verdicts verdicts;
    verdicts.check("capture", own.median() / maim.median(), goal);
    return verdicts.exitStatus();
}
