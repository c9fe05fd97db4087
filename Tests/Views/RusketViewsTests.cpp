#include "Platforms/Simulated/SimulatedHost.hpp"
#include "Rusket/Rusket.hpp"
#include "Rusket/RusketViews.hpp"
#include "Tests/Views/ViewTests.hpp"
#include "ZorbelKit/Controls/RingGauge.hpp"
#include "ZorbelKit/Controls/Trace.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QImage>
#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace Rusket;
using namespace Views;
using ZorbelKit::brass;
using ZorbelKit::RingGauge;
using ZorbelKit::Seconds;
using ZorbelKit::Trace;

class RusketViewsTest : public ::testing::Test {
protected:
    /// One more second in which the processor was this busy.
    void tick(double load) {
        const auto busy = static_cast<std::uint64_t>(std::lround(load * 1'000'000));
        host.statistics.work(busy, 1'000'000 - busy);
        host.loop.advance(Seconds{1});
        settle();
    }

    /// A minute that looks like a working day in small.
    void fillHistory(int seconds) {
        for (int second = 0; second < seconds; ++second) {
            const double wave = 0.32 + 0.22 * std::sin(second / 5.0) + 0.1 * std::sin(second / 1.7);
            tick(second % 23 == 11 ? 0.86 : wave);
        }
    }

    Simulated::SimulatedHost host;
    RusketSpice spice{host.loop, host.statistics};
};

/// How many pixels of a column, from the bottom, differ from the card's ground.
int traceHeight(const QImage& picture, int x) {
    int height = 0;
    for (int y = 0; y < picture.height(); ++y) {
        const QColor pixel = picture.pixelColor(x, y);
        height += pixel.red() > ZorbelKit::qColor(ZorbelKit::kettle).red() + 30 ? 1 : 0;
    }
    return height;
}

TEST_F(RusketViewsTest, TheMenuSectionShowsLoadAndMemoryTruncated) {
    spice.steep();
    RusketMenuSection section(spice, nullptr);
    show(section, {300, 60});
    EXPECT_EQ(visibleTexts(section), (QStringList{"CPU", "CPU 0%", "Memory", "Memory 50%"}))
        << "the first reading of all is exactly 0";
    tick(0.999);
    EXPECT_TRUE(showsText(section, "CPU 99%"));
}

TEST_F(RusketViewsTest, WithoutInstalledMemoryTheShareReadsZero) {
    host.statistics.installed = 0;
    spice.steep();
    RusketMenuSection section(spice, nullptr);
    show(section, {300, 60});
    EXPECT_TRUE(showsText(section, "Memory 0%"));
}

TEST_F(RusketViewsTest, ThePanelNamesItsFiguresInBinarySizes) {
    spice.steep();
    RusketPanel panel(spice, nullptr);
    show(panel, {635, 240});
    tick(0.423);
    for (const char* text : {"Processor", "Processor 42%", "Memory", "Memory 50%", "In use", "In use 4 GB",
                             "Installed", "Installed 8 GB", "Pressure", "Pressure 12%"}) {
        EXPECT_TRUE(showsText(panel, text)) << text;
    }
}

TEST_F(RusketViewsTest, APlaceholderStandsInUntilTheSecondReading) {
    spice.steep();
    RusketPanel panel(spice, nullptr);
    show(panel, {635, 240});
    const auto* trace = named(panel, "Processor load over the last minute");
    ASSERT_NE(trace, nullptr);
    EXPECT_TRUE(showsText(panel, "One minute of history will appear here."));
    EXPECT_FALSE(trace->isVisible());
    savePicture(panel, "rusket-first-reading");
    tick(0.5);
    EXPECT_FALSE(showsText(panel, "One minute of history will appear here."));
    EXPECT_TRUE(trace->isVisible());
    EXPECT_EQ(trace->height(), 92);
}

TEST_F(RusketViewsTest, TheTraceGrowsFromTheLeftAndAFullMinuteSpansIt) {
    Trace trace(RusketSpice::historyLength, brass, "Load", nullptr);
    show(trace, {591, 92}); // 59 steps of about ten points
    trace.setValues(std::vector<double>(30, 1.0));
    QImage picture = trace.grab().toImage();
    EXPECT_GT(traceHeight(picture, 100), 80);
    EXPECT_GT(traceHeight(picture, 285), 80);
    EXPECT_LT(traceHeight(picture, 305), 5) << "29 steps of 10.02 points reach to 290.5";
    trace.setValues(std::vector<double>(60, 1.0));
    picture = trace.grab().toImage();
    EXPECT_GT(traceHeight(picture, 585), 80);
}

TEST_F(RusketViewsTest, TheTraceIsAsHighAsTheLoad) {
    Trace trace(RusketSpice::historyLength, brass, "Load", nullptr);
    show(trace, {591, 92});
    struct Row {
        double load;
        int height;
    };
    for (const Row row : {Row{0, 2}, Row{0.25, 24}, Row{0.5, 46}, Row{1, 90}}) {
        SCOPED_TRACE(row.load);
        trace.setValues(std::vector<double>(60, row.load));
        EXPECT_NEAR(traceHeight(trace.grab().toImage(), 300), row.height, 3);
    }
}

TEST_F(RusketViewsTest, TheRingLeavesAGapAtTheBottomAndFillsClockwise) {
    RingGauge gauge("Processor", 84, brass, nullptr);
    show(gauge, gauge.sizeHint());
    const auto isBrass = [&](double degreesClockwiseFromTop) {
        const QImage picture = gauge.grab().toImage();
        const double angle = degreesClockwiseFromTop * M_PI / 180;
        const double radius = (84 - 6) / 2.0;
        const QColor pixel =
            picture.pixelColor(static_cast<int>(std::lround(42 + radius * std::sin(angle) - 0.5)),
                               static_cast<int>(std::lround(42 - radius * std::cos(angle) - 0.5)));
        return pixel.red() > 150 && pixel.blue() < 80;
    };
    gauge.setValue(1);
    EXPECT_TRUE(isBrass(-130)) << "the start, lower left";
    EXPECT_TRUE(isBrass(0));
    EXPECT_TRUE(isBrass(130)) << "the end, lower right";
    EXPECT_FALSE(isBrass(180)) << "the gap";
    gauge.setValue(0.5);
    EXPECT_TRUE(isBrass(-60));
    EXPECT_FALSE(isBrass(60));
    gauge.setValue(0);
    EXPECT_FALSE(isBrass(-130));
    gauge.setValue(7);
    EXPECT_FALSE(isBrass(180)) << "more than full is full";
}

TEST_F(RusketViewsTest, ATickRepaintsOnlyWhatChanged) {
    spice.steep();
    RusketPanel panel(spice, nullptr);
    show(panel, {635, 240});
    tick(0.5);
    PaintCounter paints(panel);
    tick(0.5);
    QWidget* processor = named(panel, "Processor 50%");
    QWidget* memory = named(panel, "Memory 50%");
    QWidget* inUse = named(panel, "In use 4 GB");
    QWidget* trace = named(panel, "Processor load over the last minute");
    ASSERT_TRUE(processor && memory && inUse && trace);
    EXPECT_EQ(paints.paintsOf(processor), 0);
    EXPECT_EQ(paints.paintsOf(processor->parentWidget()), 0) << "the ring";
    EXPECT_EQ(paints.paintsOf(memory), 0);
    EXPECT_EQ(paints.paintsOf(inUse), 0);
    EXPECT_EQ(paints.paintsOf(trace), 1);
    paints.reset();
    tick(0.9);
    EXPECT_EQ(paints.paintsOf(processor), 1);
    EXPECT_EQ(paints.paintsOf(memory->parentWidget()), 0);
    EXPECT_EQ(paints.paintsOf(inUse), 0);
}

TEST_F(RusketViewsTest, AHiddenPanelListensToNothing) {
    const int before = ZorbelKit::Observable::liveObserversForTesting();
    spice.steep();
    RusketPanel panel(spice, nullptr);
    EXPECT_EQ(ZorbelKit::Observable::liveObserversForTesting(), before);
    show(panel, {635, 240});
    EXPECT_EQ(ZorbelKit::Observable::liveObserversForTesting(), before + 1);
    panel.hide();
    EXPECT_EQ(ZorbelKit::Observable::liveObserversForTesting(), before);
    tick(0.7);
    panel.show();
    settle();
    EXPECT_TRUE(showsText(panel, "Processor 70%")) << "it catches up when it is seen again";
}

TEST_F(RusketViewsTest, Pictures) {
    spice.steep();
    RusketPanel panel(spice, nullptr);
    show(panel, {635, 240});
    fillHistory(35);
    savePicture(panel, "rusket-half-minute");
    fillHistory(40);
    savePicture(panel, "rusket-full-minute");
    EXPECT_EQ(spice.history().size(), RusketSpice::historyLength);
}

} // namespace
