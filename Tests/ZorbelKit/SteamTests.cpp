#include "Platforms/Simulated/SimulatedHost.hpp"
#include "ZorbelKit/Steam.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <numbers>
#include <optional>
#include <utility>
#include <vector>

using Simulated::SimulatedHost;
using ZorbelKit::Seconds;
using ZorbelKit::Steam;
using ZorbelKit::Token;

namespace {

constexpr double fullTurn = 2 * std::numbers::pi;
constexpr Seconds moment{0.001};

struct Glass {
    using Frame = std::pair<double, double>; // level, phase

    SimulatedHost host;
    std::vector<Frame> frames;
    Steam steam{host.loop, host.defaults};

    Glass() {
        steam.onFrame([this](double level, double phase) { frames.emplace_back(level, phase); });
    }
};

} // namespace

TEST(Steam, RestsUntilItIsWanted) {
    Glass glass;
    EXPECT_EQ(glass.steam.level(), 0);
    EXPECT_EQ(glass.steam.phase(), 0);
    EXPECT_FALSE(glass.steam.alwaysOn());
    EXPECT_FALSE(glass.steam.isRunning());
    glass.host.loop.advance(Seconds{3600});
    EXPECT_EQ(glass.host.loop.firedTimers(), 0);
    EXPECT_TRUE(glass.frames.empty());
}

TEST(Steam, KeepsItsLevelBetweenFaintestAndStrongest) {
    const struct {
        const char* name;
        double load;
        double level;
    } rows[] = {
        {"negative", -1, 0.15},
        {"zero", 0, 0.15},
        {"faint", 0.05, 0.15},
        {"just below the faintest", 0.1499, 0.15},
        {"the faintest", 0.15, 0.15},
        {"just above the faintest", 0.1501, 0.1501},
        {"between", 0.75, 0.75},
        {"just below the strongest", 0.9999, 0.9999},
        {"the strongest", 1, 1},
        {"just above the strongest", 1.0001, 1},
        {"huge", 3, 1},
        {"infinite", std::numeric_limits<double>::infinity(), 1},
        {"no number", std::numeric_limits<double>::quiet_NaN(), 0.15},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Glass rising;
        rising.steam.rise(row.load, Seconds{1});
        EXPECT_EQ(rising.steam.level(), row.level);
        Glass holding;
        holding.steam.hold(row.load);
        EXPECT_EQ(holding.steam.level(), row.level);
    }
}

TEST(Steam, RunsTwelveFramesASecond) {
    Glass glass;
    glass.steam.hold(0.75);
    EXPECT_TRUE(glass.frames.empty()); // the first frame is one interval away
    glass.host.loop.advance(Seconds{0.083});
    EXPECT_EQ(glass.frames.size(), 0U);
    glass.host.loop.advance(Seconds{0.001});
    EXPECT_EQ(glass.frames.size(), 1U);
    glass.host.loop.advance(Seconds{0.915});
    EXPECT_EQ(glass.frames.size(), 11U);
    glass.host.loop.advance(Seconds{0.001});
    EXPECT_EQ(glass.frames.size(), 12U);
}

TEST(Steam, EveryFrameCarriesTheLevelAndAPhaseFurtherOn) {
    Glass glass;
    glass.steam.hold(0.6);
    glass.host.loop.advance(Seconds{1});
    ASSERT_EQ(glass.frames.size(), 12U);
    for (std::size_t index = 0; index < glass.frames.size(); ++index) {
        SCOPED_TRACE(index);
        EXPECT_EQ(glass.frames[index].first, 0.6);
        EXPECT_NEAR(glass.frames[index].second, 2.2 / 12 * static_cast<double>(index + 1), 1e-12);
    }
    EXPECT_EQ(glass.frames.back().second, glass.steam.phase());
}

TEST(Steam, ThePhaseNeverPassesAFullTurn) {
    Glass glass;
    glass.steam.hold(1);
    glass.host.loop.advance(Seconds{10'001.0 / 12});
    ASSERT_GE(glass.frames.size(), 10'000U);
    double before = 0;
    int turns = 0;
    for (const auto& [level, phase] : glass.frames) {
        ASSERT_GE(phase, 0);
        ASSERT_LE(phase, fullTurn);
        turns += phase < before;
        ASSERT_NEAR(phase, before + 2.2 / 12 - (phase < before ? fullTurn : 0), 1e-12);
        before = phase;
    }
    const double travelled = static_cast<double>(glass.frames.size()) * 2.2 / 12;
    EXPECT_EQ(turns, static_cast<int>(travelled / fullTurn));
}

TEST(Steam, APuffCoolsAfterItsDurationAndNotBefore) {
    Glass glass;
    glass.steam.rise(0.5, Seconds{2.5});
    glass.host.loop.advance(Seconds{2.5} - moment);
    EXPECT_EQ(glass.steam.level(), 0.5);
    EXPECT_TRUE(glass.steam.isRunning());
    glass.host.loop.advance(moment);
    EXPECT_EQ(glass.steam.level(), 0);
    EXPECT_FALSE(glass.steam.isRunning());
    EXPECT_EQ(glass.host.loop.liveTimers(), 0);
}

TEST(Steam, OfTwoPuffsOnlyTheSecondOnesDurationCounts) {
    const struct {
        const char* name;
        Seconds first;
        Seconds second;
    } rows[] = {
        {"the second ends later", Seconds{1}, Seconds{3}},
        {"the second ends sooner", Seconds{6}, Seconds{1}},
        {"both the same", Seconds{2}, Seconds{2}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Glass glass;
        glass.steam.rise(0.5, row.first);
        glass.host.loop.advance(Seconds{0.5});
        glass.steam.rise(0.8, row.second);
        EXPECT_EQ(glass.host.loop.liveTimers(), 2); // the frames and one cool-down
        glass.host.loop.advance(row.second - moment);
        EXPECT_EQ(glass.steam.level(), 0.8);
        glass.host.loop.advance(moment);
        EXPECT_EQ(glass.steam.level(), 0);
        const auto frames = glass.frames.size();
        glass.host.loop.advance(Seconds{10});
        EXPECT_EQ(glass.frames.size(), frames);
    }
}

TEST(Steam, ALaterPuffMayBeFainter) {
    Glass glass;
    glass.steam.rise(0.9, Seconds{5});
    glass.steam.rise(0.4, Seconds{5});
    EXPECT_EQ(glass.steam.level(), 0.4);
}

TEST(Steam, ASecondPuffKeepsTheFramesInStep) {
    Glass glass;
    glass.steam.rise(0.5, Seconds{5});
    glass.host.loop.advance(Seconds{0.05});
    glass.steam.rise(0.6, Seconds{5});
    glass.steam.hold(0.7);
    glass.host.loop.advance(Seconds{0.95});
    EXPECT_EQ(glass.frames.size(), 12U);
}

TEST(Steam, HoldingLastsUntilItIsCooled) {
    Glass glass;
    glass.steam.hold(0.75);
    EXPECT_EQ(glass.host.loop.liveTimers(), 1); // frames and no cool-down
    glass.host.loop.advance(Seconds{3600});
    EXPECT_EQ(glass.steam.level(), 0.75);
    EXPECT_EQ(glass.frames.size(), 43'200U);
    glass.steam.cool();
    EXPECT_EQ(glass.steam.level(), 0);
    EXPECT_EQ(glass.host.loop.liveTimers(), 0);
}

TEST(Steam, APuffDuringAHoldTurnsItIntoATimedOne) {
    Glass glass;
    glass.steam.hold(0.75);
    glass.host.loop.advance(Seconds{10});
    glass.steam.rise(0.4, Seconds{2.5});
    EXPECT_EQ(glass.steam.level(), 0.4);
    glass.host.loop.advance(Seconds{2.5} - moment);
    EXPECT_TRUE(glass.steam.isRunning());
    glass.host.loop.advance(moment);
    EXPECT_FALSE(glass.steam.isRunning());
}

TEST(Steam, AHoldDuringAPuffCallsOffItsCoolDown) {
    Glass glass;
    glass.steam.rise(1, Seconds{6});
    glass.host.loop.advance(Seconds{6} - moment);
    glass.steam.hold(0.75);
    EXPECT_EQ(glass.host.loop.liveTimers(), 1);
    glass.host.loop.advance(Seconds{60});
    EXPECT_EQ(glass.steam.level(), 0.75);
    EXPECT_TRUE(glass.steam.isRunning());
}

TEST(Steam, CoolingShowsOneLastFrameAtRest) {
    Glass glass;
    glass.steam.rise(1, Seconds{6});
    glass.host.loop.advance(Seconds{0.5});
    const double phase = glass.steam.phase();
    ASSERT_EQ(glass.frames.size(), 6U);
    glass.steam.cool();
    ASSERT_EQ(glass.frames.size(), 7U);
    EXPECT_EQ(glass.frames.back(), Glass::Frame(0, phase));
    EXPECT_EQ(glass.steam.phase(), phase); // the wisps go on from there the next time
    glass.host.loop.advance(Seconds{60});
    EXPECT_EQ(glass.frames.size(), 7U);
}

TEST(Steam, CoolingByItselfShowsThatFrameToo) {
    Glass glass;
    glass.steam.rise(1, Seconds{0.3}); // three whole frames
    glass.host.loop.advance(Seconds{60});
    ASSERT_EQ(glass.frames.size(), 4U);
    EXPECT_EQ(glass.frames.back(), Glass::Frame(0, glass.frames[2].second));
}

TEST(Steam, CoolingAGlassAtRestOnlyRedrawsIt) {
    Glass glass;
    int told = 0;
    const Token changes = glass.steam.observe([&] { ++told; });
    glass.steam.cool();
    EXPECT_EQ(glass.frames, (std::vector<Glass::Frame>{{0, 0}}));
    EXPECT_EQ(told, 0);
}

TEST(Steam, ThePhaseGoesOnAfterARest) {
    Glass glass;
    glass.steam.rise(0.5, Seconds{1});
    glass.host.loop.advance(Seconds{5});
    const double phase = glass.steam.phase();
    glass.steam.hold(0.5);
    glass.host.loop.advance(Seconds{0.1});
    EXPECT_NEAR(glass.steam.phase(), phase + 2.2 / 12, 1e-12);
}

TEST(Steam, RunsWithoutAFrameConsumer) {
    SimulatedHost host;
    Steam steam(host.loop, host.defaults);
    steam.rise(0.5, Seconds{1});
    host.loop.advance(Seconds{0.5});
    EXPECT_GT(steam.phase(), 0);
    host.loop.advance(Seconds{1});
    EXPECT_EQ(steam.level(), 0);
}

TEST(Steam, AlwaysOnComesFromTheSettings) {
    const struct {
        const char* name;
        void (*store)(Simulated::SimulatedDefaults&);
        bool isOn;
    } rows[] = {
        {"absent", [](auto&) {}, false},
        {"true", [](auto& defaults) { defaults.setBoolean("steam.alwaysOn", true); }, true},
        {"false", [](auto& defaults) { defaults.setBoolean("steam.alwaysOn", false); }, false},
        {"not a Boolean", [](auto& defaults) { defaults.setString("steam.alwaysOn", "true"); }, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        SimulatedHost host;
        row.store(host.defaults);
        EXPECT_EQ(Steam(host.loop, host.defaults).alwaysOn(), row.isOn);
    }
}

TEST(Steam, AlwaysOnAPuffNeverCools) {
    Glass glass;
    glass.steam.setAlwaysOn(true);
    glass.steam.rise(0.5, Seconds{1});
    EXPECT_EQ(glass.host.loop.liveTimers(), 1); // frames and no cool-down
    glass.host.loop.advance(Seconds{60});
    EXPECT_EQ(glass.steam.level(), 0.5);
    EXPECT_TRUE(glass.steam.isRunning());
}

TEST(Steam, AlwaysOnCoolingDoesNothingAtAll) {
    Glass glass;
    glass.steam.setAlwaysOn(true);
    glass.steam.hold(0.75);
    glass.steam.cool();
    EXPECT_EQ(glass.steam.level(), 0.75);
    EXPECT_TRUE(glass.steam.isRunning());
    EXPECT_TRUE(glass.frames.empty());
}

TEST(Steam, AlwaysOnSetDuringAPuffOutlastsItsCoolDown) {
    Glass glass;
    glass.steam.rise(0.5, Seconds{1});
    glass.steam.setAlwaysOn(true);
    glass.host.loop.advance(Seconds{60});
    EXPECT_EQ(glass.steam.level(), 0.5);
    EXPECT_TRUE(glass.steam.isRunning());
    glass.steam.setAlwaysOn(false);
    glass.steam.cool();
    EXPECT_EQ(glass.steam.level(), 0);
}

TEST(Steam, AlwaysOnAPuffStillCallsOffAnEarlierCoolDown) {
    Glass glass;
    glass.steam.rise(0.5, Seconds{1});
    glass.steam.setAlwaysOn(true);
    glass.steam.rise(0.6, Seconds{1});
    glass.steam.setAlwaysOn(false);
    glass.host.loop.advance(Seconds{60});
    EXPECT_EQ(glass.steam.level(), 0.6);
}

TEST(Steam, TellsItsReadersOfLevelAndPhaseButNotOfAnEqualLevel) {
    Glass glass;
    int told = 0;
    const Token changes = glass.steam.observe([&] { ++told; });
    glass.steam.rise(0.5, Seconds{5});
    EXPECT_EQ(told, 1);
    glass.steam.rise(0.5, Seconds{5});
    glass.steam.hold(0.5);
    EXPECT_EQ(told, 1);
    glass.host.loop.advance(Seconds{1});
    EXPECT_EQ(told, 13);
    glass.steam.cool();
    EXPECT_EQ(told, 14);
}

TEST(Steam, AFrameMayCoolTheGlass) {
    Glass glass;
    int frames = 0;
    glass.steam.onFrame([&](double level, double) {
        ++frames;
        if (level > 0) {
            glass.steam.cool();
        }
    });
    glass.steam.hold(1);
    glass.host.loop.advance(Seconds{1});
    EXPECT_EQ(frames, 2); // the first, and the one at rest
    EXPECT_EQ(glass.host.loop.liveTimers(), 0);
}

TEST(Steam, DestroyingItStopsItsTimers) {
    SimulatedHost host;
    const int before = host.liveThings();
    std::optional<Steam> steam(std::in_place, host.loop, host.defaults);
    steam->rise(1, Seconds{1});
    EXPECT_EQ(host.liveThings(), before + 2);
    steam.reset();
    EXPECT_EQ(host.liveThings(), before);
    host.loop.advance(Seconds{5});
    EXPECT_EQ(host.loop.firedTimers(), 0);
}
