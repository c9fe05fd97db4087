#include "Platforms/Simulated/SimulatedHost.hpp"
#include "Wendrel/Wendrel.hpp"
#include "Wendrel/WendrelTexts.hpp"
#include "ZorbelKit/Stall.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

using namespace Wendrel;
using Simulated::SimulatedHost;
using ZorbelKit::Seconds;
using ZorbelKit::Token;

namespace {

constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t least = std::numeric_limits<std::int64_t>::min();

PropertyList batteryOf(std::int64_t designCapacity, std::int64_t fullCapacity) {
    return PropertyList()
        .set("DesignCapacity", designCapacity)
        .set("NominalChargeCapacity", fullCapacity)
        .set("CycleCount", 212)
        .set("Voltage", 12'000)
        .set("Amperage", 4'294'965'796) // 1.5 A drawn
        .set("Temperature", 3'150);
}

PropertyList sourceOf(std::int64_t current, std::int64_t full = 100) {
    return PropertyList()
        .set("Type", "InternalBattery")
        .set("Current Capacity", current)
        .set("Max Capacity", full)
        .set("Is Charging", false)
        .set("Power Source State", "Battery Power")
        .set("Time to Empty", 125);
}

/// What the reader makes of these two.
std::optional<Charge> readingOf(std::optional<PropertyList> battery,
                                std::optional<std::vector<PropertyList>> sources = std::nullopt) {
    SimulatedHost host;
    host.batteryRegistry.battery = std::move(battery);
    host.powerSources.all = std::move(sources);
    return BatteryReader(host.batteryRegistry, host.powerSources).read();
}

struct Machine {
    explicit Machine(bool isDemo = false)
        : wendrel(host.loop, host.clock, host.batteryRegistry, host.powerSources, isDemo) {
        host.batteryRegistry.battery = batteryOf(5'000, 4'000);
        setCharge(80);
    }

    void setCharge(std::int64_t hundredths) { host.powerSources.all = {{sourceOf(hundredths)}}; }

    void removeBattery() {
        host.batteryRegistry.battery.reset();
        host.powerSources.all.reset();
    }

    void advance(int samples) { host.loop.advance(WendrelSpice::interval * samples); }

    /// The machine sleeps: the wall clock goes on, its timers do not.
    void suspend(std::chrono::hours hours) { host.clock.shift(hours); }

    SimulatedHost host;
    const int liveBefore = host.liveThings();
    WendrelSpice wendrel;
};

using Indexes = std::vector<std::size_t>;

} // namespace

TEST(Charge, StartsWithItsDefaults) {
    const Charge charge;
    EXPECT_EQ(charge.percent, 0.0);
    EXPECT_FALSE(charge.isCharging);
    EXPECT_FALSE(charge.isPluggedIn);
    EXPECT_EQ(charge.minutesRemaining, std::nullopt);
    EXPECT_EQ(charge.cycleCount, 0);
    EXPECT_EQ(charge.designCapacity, 0);
    EXPECT_EQ(charge.maxCapacity, 0);
    EXPECT_EQ(charge.condition, "Normal");
    EXPECT_EQ(charge.voltage, 0.0);
    EXPECT_EQ(charge.amperage, 0.0);
    EXPECT_EQ(charge.temperature, 0.0);
    EXPECT_EQ(charge.adapterWatts, std::nullopt);
}

TEST(Charge, AreEqualOnlyWhenEveryFieldIs) {
    const Charge charge{0.5, true, true, 1, 2, 3, 4, "Normal", 5, 6, 7, 8};
    EXPECT_EQ(charge, Charge(charge));
    const Charge others[] = {
        {0.6, true, true, 1, 2, 3, 4, "Normal", 5, 6, 7, 8},
        {0.5, false, true, 1, 2, 3, 4, "Normal", 5, 6, 7, 8},
        {0.5, true, false, 1, 2, 3, 4, "Normal", 5, 6, 7, 8},
        {0.5, true, true, std::nullopt, 2, 3, 4, "Normal", 5, 6, 7, 8},
        {0.5, true, true, 1, 9, 3, 4, "Normal", 5, 6, 7, 8},
        {0.5, true, true, 1, 2, 9, 4, "Normal", 5, 6, 7, 8},
        {0.5, true, true, 1, 2, 3, 9, "Normal", 5, 6, 7, 8},
        {0.5, true, true, 1, 2, 3, 4, "normal", 5, 6, 7, 8},
        {0.5, true, true, 1, 2, 3, 4, "Normal", 9, 6, 7, 8},
        {0.5, true, true, 1, 2, 3, 4, "Normal", 5, 9, 7, 8},
        {0.5, true, true, 1, 2, 3, 4, "Normal", 5, 6, 9, 8},
        {0.5, true, true, 1, 2, 3, 4, "Normal", 5, 6, 7, std::nullopt},
    };
    for (const Charge& other : others) {
        EXPECT_NE(charge, other);
    }
}

TEST(Charge, ItsPowerKeepsTheSignOfTheCurrent) {
    EXPECT_EQ((Charge{.voltage = 12, .amperage = -1.5}.watts()), -18.0);
    EXPECT_EQ((Charge{.voltage = 12, .amperage = 2}.watts()), 24.0);
}

TEST(Charge, W15_HealthIsAShareOfTheDesignAndNeverMoreThanAllOfIt) {
    const struct {
        const char* name;
        std::int64_t design;
        std::int64_t full;
        double health;
        bool isHealthy;
    } rows[] = {
        {"nothing known", 0, 0, 0, false},
        {"no design", 0, 4000, 0, false},
        {"a negative design", -1, 4000, 0, false},
        {"a design of one", 1, 1, 1, true},
        {"four fifths", 5000, 4000, 0.8, true},
        {"exactly the border", 100, 79, 0.79, false},
        {"just above it", 10'000, 7'901, 0.7901, true},
        {"as new", 5000, 5000, 1, true},
        {"better than new", 5000, 5300, 1, true},
        {"an absurd capacity", 1, most, 1, true},
        {"a negative one", 5000, -5000, -1, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const Charge charge{.designCapacity = row.design, .maxCapacity = row.full};
        EXPECT_DOUBLE_EQ(charge.health(), row.health);
        EXPECT_EQ(charge.isHealthy(), row.isHealthy);
    }
}

TEST(Charge, OnlyTheConditionNormalIsHealthy) {
    for (const char* condition : {"Service Recommended", "", "normal", "Normal ", "Good"}) {
        SCOPED_TRACE(condition);
        EXPECT_FALSE((Charge{.designCapacity = 100, .maxCapacity = 100, .condition = condition}.isHealthy()));
    }
}

TEST(Charge, IsLowBelowAFifthWhileItIsDrawnOn) {
    EXPECT_TRUE((Charge{.percent = 0.19}.isLow()));
    EXPECT_FALSE((Charge{.percent = 0.2}.isLow()));
    EXPECT_FALSE((Charge{.percent = 0.19, .isPluggedIn = true}.isLow()));
    EXPECT_FALSE((Charge{.percent = 0.19, .isCharging = true}.isLow()));
}

TEST(BatteryReader, AMachineThatTellsOfNoBatteryHasNone) {
    EXPECT_EQ(readingOf(std::nullopt), std::nullopt);
    EXPECT_EQ(readingOf(std::nullopt, {{}}), std::nullopt) << "an empty list";
    const auto ups = PropertyList().set("Type", "UPS").set("Current Capacity", 50).set("Max Capacity", 100);
    EXPECT_EQ(readingOf(std::nullopt, {{ups}}), std::nullopt);
    EXPECT_EQ(readingOf(std::nullopt, {{PropertyList()}}), std::nullopt) << "a source without a type";
    EXPECT_EQ(readingOf(std::nullopt, {{PropertyList().set("Type", 1)}}), std::nullopt);
}

TEST(BatteryReader, PutsTogetherWhatBothSourcesTell) {
    const auto charge = readingOf(batteryOf(5'000, 4'500), {{sourceOf(80)}});
    EXPECT_EQ(charge, (Charge{.percent = 0.8,
                              .minutesRemaining = 125,
                              .cycleCount = 212,
                              .designCapacity = 5'000,
                              .maxCapacity = 4'500,
                              .voltage = 12,
                              .amperage = -1.5,
                              .temperature = 31.5}));
}

TEST(BatteryReader, OneSourceIsEnough) {
    EXPECT_EQ(readingOf(PropertyList()), Charge{}) << "an entry that tells nothing";
    EXPECT_EQ(readingOf(batteryOf(5'000, 4'500))->maxCapacity, 4'500);
    EXPECT_EQ(readingOf(batteryOf(5'000, 4'500))->percent, 0.0);
    EXPECT_EQ(readingOf(std::nullopt, {{sourceOf(80).set("BatteryHealthCondition", "Fair")}}),
              (Charge{.percent = 0.8, .minutesRemaining = 125, .condition = "Fair"}));
}

TEST(BatteryReader, TheCurrentIsStoredUnsigned) {
    const struct {
        std::int64_t raw;
        double amperage;
    } rows[] = {
        {0, 0},
        {1'500, 1.5},
        {4'294'966'296, -1},
        {2'147'483'647, 2'147'483.647},
        {2'147'483'648, -2'147'483.648},
        {4'294'967'295, -0.001},
        {-1'500, -1.5}, // of 64 bits (W27)
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.raw);
        EXPECT_DOUBLE_EQ(readingOf(PropertyList().set("Amperage", row.raw))->amperage, row.amperage);
    }
}

TEST(BatteryReader, W26_TakesTheFirstFullCapacityThatIsTold) {
    const auto data = [](const char* name, std::int64_t value) { return PropertyList().set(name, value); };
    const struct {
        const char* name;
        PropertyList battery;
        std::int64_t capacity;
    } rows[] = {
        {"all three", batteryOf(5'000, 4'300).set("FullChargeCapacity", 4'200).set("MaxCapacity", 100),
         4'300},
        {"the last is a percentage",
         PropertyList().set("DesignCapacity", 5'000).set("FullChargeCapacity", 4'200).set("MaxCapacity", 100),
         4'200},
        {"the nominal one in the inner list",
         PropertyList()
             .set("DesignCapacity", 5'000)
             .set("MaxCapacity", 100)
             .set("BatteryData", data("NominalChargeCapacity", 4'100)),
         4'100},
        {"the full one in the inner list",
         PropertyList()
             .set("DesignCapacity", 5'000)
             .set("MaxCapacity", 100)
             .set("BatteryData", data("FullChargeCapacity", 4'000)),
         4'000},
        {"a nominal one of zero", batteryOf(5'000, 0).set("MaxCapacity", 100), 0},
        {"only the last", PropertyList().set("DesignCapacity", 5'000).set("MaxCapacity", 4'900), 4'900},
        {"only the last, in the inner list",
         PropertyList().set("DesignCapacity", 5'000).set("BatteryData", data("MaxCapacity", 4'900)), 0},
        {"only the last, without a design", PropertyList().set("MaxCapacity", 4'900), 0},
        {"none", PropertyList().set("DesignCapacity", 5'000), 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(readingOf(row.battery)->maxCapacity, row.capacity);
    }
}

TEST(BatteryReader, AFullCapacityWithoutANominalOneGivesTheHealth) {
    const auto charge =
        readingOf(PropertyList().set("DesignCapacity", 5'000).set("FullChargeCapacity", 4'000));
    EXPECT_DOUBLE_EQ(charge->health(), 0.8);
    EXPECT_TRUE(charge->isHealthy());
}

TEST(BatteryReader, CapacitiesAndCyclesAreAlsoLookedForInTheInnerList) {
    const auto inner = PropertyList()
                           .set("CycleCount", 7)
                           .set("DesignCapacity", 5'000)
                           .set("Voltage", 12'000)
                           .set("Temperature", 3'000);
    const auto charge = readingOf(PropertyList().set("BatteryData", inner));
    EXPECT_EQ(charge->cycleCount, 7);
    EXPECT_EQ(charge->designCapacity, 5'000);
    EXPECT_EQ(charge->voltage, 0.0) << "the others are not";
    EXPECT_EQ(charge->temperature, 0.0);
    EXPECT_EQ(readingOf(PropertyList().set("CycleCount", 9).set("BatteryData", inner))->cycleCount, 9);
    EXPECT_EQ(readingOf(PropertyList().set("CycleCount", "9").set("BatteryData", inner))->cycleCount, 7)
        << "a text counts as missing";
}

TEST(BatteryReader, AValueOfTheWrongKindCountsAsMissing) {
    const auto battery = PropertyList()
                             .set("CycleCount", 3.0)
                             .set("DesignCapacity", "5000")
                             .set("NominalChargeCapacity", true)
                             .set("Voltage", 12'000.0)
                             .set("Amperage", "1500")
                             .set("Temperature", PropertyList())
                             .set("AdapterDetails", 65)
                             .set("PermanentFailureStatus", true)
                             .set("BatteryData", "none");
    const auto source = PropertyList()
                            .set("Type", "InternalBattery")
                            .set("Current Capacity", 80.0)
                            .set("Max Capacity", "100")
                            .set("Is Charging", 1)
                            .set("Power Source State", true)
                            .set("Time to Empty", 125.0)
                            .set("BatteryHealthCondition", 5);
    EXPECT_EQ(readingOf(battery, {{source}}), Charge{});
}

TEST(BatteryReader, ATemperatureOrARatingBelowOneIsNone) {
    for (const std::int64_t nothing : {std::int64_t{0}, std::int64_t{-1}, least}) {
        SCOPED_TRACE(nothing);
        const auto charge = readingOf(PropertyList()
                                          .set("Temperature", nothing)
                                          .set("AdapterDetails", PropertyList().set("Watts", nothing)));
        EXPECT_EQ(charge->temperature, 0.0);
        EXPECT_EQ(charge->adapterWatts, std::nullopt);
    }
    const auto charge =
        readingOf(PropertyList().set("Temperature", 1).set("AdapterDetails", PropertyList().set("Watts", 1)));
    EXPECT_DOUBLE_EQ(charge->temperature, 0.01);
    EXPECT_EQ(charge->adapterWatts, 1);
    EXPECT_EQ(readingOf(PropertyList().set("AdapterDetails", PropertyList()))->adapterWatts, std::nullopt);
    EXPECT_EQ(readingOf(PropertyList().set("Watts", 65))->adapterWatts, std::nullopt);
}

TEST(BatteryReader, AFailureRecommendsServiceUntilTheSystemSaysOtherwise) {
    auto battery = batteryOf(5'000, 5'000).set("PermanentFailureStatus", 1);
    const auto failed = readingOf(battery, {{sourceOf(80)}});
    EXPECT_EQ(failed->condition, "Service Recommended");
    EXPECT_FALSE(failed->isHealthy());
    EXPECT_EQ(readingOf(battery, {{sourceOf(80).set("BatteryHealthCondition", "")}})->condition,
              "Service Recommended");
    EXPECT_EQ(readingOf(battery, {{sourceOf(80).set("BatteryHealthCondition", "Check Battery")}})->condition,
              "Check Battery");
    EXPECT_EQ(readingOf(battery, {{sourceOf(80).set("BatteryHealthCondition", "Normal")}})->isHealthy(),
              true);
    battery.set("PermanentFailureStatus", -1);
    EXPECT_EQ(readingOf(battery)->condition, "Service Recommended");
    battery.set("PermanentFailureStatus", 0);
    EXPECT_EQ(readingOf(battery)->condition, "Normal");
}

TEST(BatteryReader, TheFirstInternalBatteryIsTheBattery) {
    const auto ups = sourceOf(10).set("Type", "UPS");
    EXPECT_DOUBLE_EQ(readingOf(std::nullopt, {{ups, sourceOf(60), sourceOf(70)}})->percent, 0.6);
}

TEST(BatteryReader, AChargeNeedsBothCapacities) {
    const auto typed = [] { return PropertyList().set("Type", "InternalBattery"); };
    const struct {
        const char* name;
        PropertyList source;
        double percent;
    } rows[] = {
        {"neither", typed(), 0},
        {"no maximum", typed().set("Current Capacity", 50), 0},
        {"no current", typed().set("Max Capacity", 50), 0},
        {"a maximum of nothing", typed().set("Current Capacity", 50).set("Max Capacity", 0), 0},
        {"a negative maximum", typed().set("Current Capacity", 50).set("Max Capacity", -100), 0},
        {"milliampere hours", typed().set("Current Capacity", 1'250).set("Max Capacity", 5'000), 0.25},
        {"more than full", typed().set("Current Capacity", 5'050).set("Max Capacity", 5'000), 1.01},
        {"less than nothing", typed().set("Current Capacity", -1).set("Max Capacity", 4), -0.25},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_DOUBLE_EQ(readingOf(std::nullopt, {{row.source}})->percent, row.percent);
    }
}

TEST(BatteryReader, TheTimeIsToFullWhileChargingAndToEmptyOtherwise) {
    const auto source = [](std::int64_t empty, std::int64_t full, bool isCharging) {
        return sourceOf(50)
            .set("Time to Empty", empty)
            .set("Time to Full Charge", full)
            .set("Is Charging", isCharging);
    };
    EXPECT_EQ(readingOf(std::nullopt, {{source(90, 30, false)}})->minutesRemaining, 90);
    EXPECT_EQ(readingOf(std::nullopt, {{source(90, 30, true)}})->minutesRemaining, 30);
    EXPECT_EQ(readingOf(std::nullopt, {{source(1, 30, false)}})->minutesRemaining, 1);
    for (const std::int64_t unknown : {std::int64_t{0}, std::int64_t{-1}, least}) {
        SCOPED_TRACE(unknown);
        EXPECT_EQ(readingOf(std::nullopt, {{source(unknown, 30, false)}})->minutesRemaining, std::nullopt);
        EXPECT_EQ(readingOf(std::nullopt, {{source(90, unknown, true)}})->minutesRemaining, std::nullopt);
    }
}

TEST(BatteryReader, OnlyMainsPowerCountsAsPluggedIn) {
    EXPECT_TRUE(readingOf(std::nullopt, {{sourceOf(50).set("Power Source State", "AC Power")}})->isPluggedIn);
    EXPECT_FALSE(
        readingOf(std::nullopt, {{sourceOf(50).set("Power Source State", "ac power")}})->isPluggedIn);
    EXPECT_TRUE(readingOf(std::nullopt, {{sourceOf(50).set("Is Charging", true)}})->isCharging);
}

TEST(BatteryReader, TheWidestNumbersAreReadAndWritten) {
    for (const std::int64_t number : {most, least}) {
        SCOPED_TRACE(number);
        const auto battery = PropertyList()
                                 .set("CycleCount", number)
                                 .set("DesignCapacity", 1)
                                 .set("NominalChargeCapacity", number)
                                 .set("Voltage", number)
                                 .set("Amperage", number)
                                 .set("Temperature", number)
                                 .set("AdapterDetails", PropertyList().set("Watts", number))
                                 .set("PermanentFailureStatus", number);
        const auto source = sourceOf(number, 1).set("Time to Empty", number);
        const auto charge = readingOf(battery, {{source}});
        ASSERT_TRUE(charge);
        EXPECT_EQ(charge->cycleCount, number);
        EXPECT_EQ(shareText(charge->percent), number > 0 ? "999%" : "-999%");
        EXPECT_EQ(shareText(charge->health()), number > 0 ? "100%" : "-999%");
        EXPECT_EQ(remainingText(*charge), number > 0 ? "153722867280912930 h 7 m" : "Calculating");
        EXPECT_EQ(powerText(*charge).find_first_not_of("0123456789."), std::string::npos);
        EXPECT_EQ(powerText(*charge).size(), 35U);
        EXPECT_EQ(capacityText(*charge), std::to_string(number) + " of 1 mAh");
    }
}

TEST(WendrelTexts, TheStateIsChargingBeforePluggedIn) {
    EXPECT_EQ(stateText({.isCharging = true, .isPluggedIn = true}), "Charging");
    EXPECT_EQ(stateText({.isCharging = true}), "Charging");
    EXPECT_EQ(stateText({.isPluggedIn = true}), "Plugged in");
    EXPECT_EQ(stateText({}), "On battery");
}

TEST(WendrelTexts, TheTimeLeftIsInHoursAndMinutes) {
    const struct {
        std::optional<std::int64_t> minutes;
        const char* text;
    } rows[] = {{std::nullopt, "Calculating"},
                {1, "1 m"},
                {59, "59 m"},
                {60, "1 h 0 m"},
                {61, "1 h 1 m"},
                {125, "2 h 5 m"},
                {600, "10 h 0 m"},
                {1439, "23 h 59 m"},
                {1440, "24 h 0 m"},
                {6000, "100 h 0 m"}};
    for (const auto& row : rows) {
        EXPECT_EQ(remainingText({.minutesRemaining = row.minutes}), row.text);
    }
}

TEST(WendrelTexts, ThePowerHasNoSignAndTwoDigits) {
    EXPECT_EQ(powerText({.voltage = 12, .amperage = -1.5}), "18.00");
    EXPECT_EQ(powerText({.voltage = 12.345, .amperage = 1}), "12.35");
    EXPECT_EQ(powerText({.voltage = 12, .amperage = -0.0}), "0.00");
    EXPECT_EQ(powerText({.voltage = 1, .amperage = -0.001}), "0.00");
    EXPECT_EQ(powerText({}), "0.00");
    const double widest = std::numeric_limits<double>::max();
    EXPECT_EQ(powerText({.voltage = widest, .amperage = 1}).size(), 312U);
}

TEST(WendrelTexts, TheTemperatureHasOneDigit) {
    EXPECT_EQ(temperatureText({.temperature = 31.5}), "31.5");
    EXPECT_EQ(temperatureText({.temperature = 30}), "30.0");
    EXPECT_EQ(temperatureText({.temperature = 30.96}), "31.0");
}

TEST(WendrelTexts, SharesAreTruncatedTowardZero) {
    EXPECT_EQ(shareText(0), "0%");
    EXPECT_EQ(shareText(0.999), "99%");
    EXPECT_EQ(shareText(1), "100%");
    EXPECT_EQ(shareText(1.509), "150%");
    EXPECT_EQ(shareText(-0.019), "-1%");
    EXPECT_EQ(shareText(9.99), "999%");
    EXPECT_EQ(shareText(1e300), "999%");
    EXPECT_EQ(shareText(-1e300), "-999%");
    EXPECT_EQ(shareText(std::numeric_limits<double>::infinity()), "999%");
}

TEST(WendrelTexts, TheHealthIsToldInMilliampereHoursToo) {
    EXPECT_EQ(capacityText({.designCapacity = 5103, .maxCapacity = 4382}), "4382 of 5103 mAh");
    EXPECT_EQ(capacityText({}), "0 of 0 mAh");
}

TEST(WendrelTexts, TheVerdictFollowsTheHealth) {
    EXPECT_EQ(verdictText({.designCapacity = 100, .maxCapacity = 80}), "Nothing to do");
    EXPECT_EQ(verdictText({.designCapacity = 100, .maxCapacity = 79}), "Worth a look");
    EXPECT_EQ(verdictText({.designCapacity = 100, .maxCapacity = 100, .condition = "Service Recommended"}),
              "Worth a look");
    EXPECT_EQ(verdictText({}), "Worth a look");
}

TEST(WendrelTexts, AConditionIsOneLine) {
    EXPECT_EQ(conditionText({}), "Normal");
    EXPECT_EQ(conditionText({.condition = " Service\r\n\tRecommended\x01 "}), "Service Recommended");
    EXPECT_EQ(conditionText({.condition = std::string(200'000, 'W')}).size(), 1'000U);
    EXPECT_EQ(conditionText({.condition = "\n"}), "");
}

TEST(WendrelTexts, SamplesAreCounted) {
    EXPECT_EQ(samplesText(0), "0 samples");
    EXPECT_EQ(samplesText(1), "1 samples");
    EXPECT_EQ(samplesText(240), "240 samples");
}

TEST(WendrelTexts, TheTemperatureComesBeforeTheAdapter) {
    EXPECT_EQ(extra({.temperature = 31.5, .adapterWatts = 65}), Extra::temperature);
    EXPECT_EQ(extra({.adapterWatts = 65}), Extra::adapter);
    EXPECT_EQ(extra({}), Extra::none);
}

TEST(Wendrel, KnowsItsNames) {
    const Machine machine;
    EXPECT_EQ(machine.wendrel.id(), "wendrel");
    EXPECT_EQ(machine.wendrel.name(), "Wendrel");
    EXPECT_EQ(machine.wendrel.role(), "Battery & Power");
    EXPECT_EQ(machine.wendrel.summary(), "Watches charge, health and where your power is going.");
    EXPECT_FALSE(machine.wendrel.reason().empty());
    EXPECT_EQ(machine.wendrel.wave(), ZorbelKit::Wave::nextBatch);
    EXPECT_FALSE(isOnByDefault(machine.wendrel));
}

TEST(Wendrel, ReadsNothingBeforeItIsOn) {
    Machine machine;
    EXPECT_FALSE(machine.wendrel.isEnabled());
    machine.advance(10);
    EXPECT_EQ(machine.wendrel.charge(), std::nullopt);
    EXPECT_TRUE(machine.wendrel.hasBattery());
    EXPECT_TRUE(machine.wendrel.history().empty());
    EXPECT_EQ(machine.host.batteryRegistry.reads, 0);
    EXPECT_EQ(machine.host.liveThings(), machine.liveBefore);
}

TEST(Wendrel, TakesAReadingAtOnceAndThenEveryThirtySeconds) {
    Machine machine;
    machine.wendrel.steep();
    ASSERT_EQ(machine.wendrel.history().size(), 1U);
    EXPECT_EQ(machine.wendrel.history().front(), machine.wendrel.charge());
    EXPECT_DOUBLE_EQ(machine.wendrel.charge()->percent, 0.8);
    machine.setCharge(79);
    machine.host.loop.advance(Seconds{29.999});
    EXPECT_EQ(machine.wendrel.history().size(), 1U);
    machine.host.loop.advance(Seconds{0.001});
    ASSERT_EQ(machine.wendrel.history().size(), 2U);
    EXPECT_DOUBLE_EQ(machine.wendrel.charge()->percent, 0.79);
    EXPECT_DOUBLE_EQ(machine.wendrel.history().front().percent, 0.8);
    EXPECT_EQ(machine.wendrel.history().back(), machine.wendrel.charge());
    machine.advance(10);
    EXPECT_EQ(machine.host.batteryRegistry.reads, 12);
}

TEST(Wendrel, W25_KeepsTheLastTwoHundredAndFortyReadings) {
    Machine machine;
    machine.wendrel.steep();
    for (int sample = 1; sample <= 239; ++sample) {
        machine.setCharge(1'000 + sample);
        machine.advance(1);
    }
    ASSERT_EQ(machine.wendrel.history().size(), 240U);
    EXPECT_DOUBLE_EQ(machine.wendrel.history().front().percent, 0.8);
    machine.setCharge(1'240);
    machine.advance(1);
    ASSERT_EQ(machine.wendrel.history().size(), WendrelSpice::historyLength);
    for (std::size_t index = 0; index < 240; ++index) {
        ASSERT_DOUBLE_EQ(machine.wendrel.history()[index].percent, static_cast<double>(1'001 + index) / 100);
    }
    EXPECT_TRUE(machine.wendrel.gaps().empty());
}

TEST(Wendrel, W25_InADemonstrationTwoHoursPassInFourMinutes) {
    Machine machine(/*isDemo=*/true);
    machine.wendrel.steep();
    machine.host.loop.advance(Seconds{0.999});
    EXPECT_EQ(machine.wendrel.history().size(), 1U);
    machine.host.loop.advance(Seconds{0.001});
    EXPECT_EQ(machine.wendrel.history().size(), 2U);
    machine.host.loop.advance(Seconds{238});
    EXPECT_EQ(machine.wendrel.history().size(), 240U);
    machine.host.clock.shift(Seconds{1.6}); // 2.6 intervals with the one to come
    machine.host.loop.advance(Seconds{1});
    EXPECT_EQ(machine.wendrel.gaps(), Indexes{239});
}

TEST(Wendrel, W24_ANightsSleepIsAGap) {
    Machine machine;
    machine.wendrel.steep();
    machine.advance(3);
    EXPECT_TRUE(machine.wendrel.gaps().empty());
    machine.suspend(std::chrono::hours{8});
    machine.setCharge(61);
    machine.advance(1);
    ASSERT_EQ(machine.wendrel.history().size(), 5U) << "not one for every interval slept through";
    EXPECT_DOUBLE_EQ(machine.wendrel.charge()->percent, 0.61);
    EXPECT_EQ(machine.wendrel.gaps(), Indexes{4});
    machine.advance(2);
    machine.suspend(std::chrono::hours{1});
    machine.advance(5);
    EXPECT_EQ(machine.wendrel.gaps(), (Indexes{4, 7}));
}

TEST(Wendrel, OnlyMoreThanTwoAndAHalfIntervalsAreAGap) {
    const struct {
        const char* name;
        Seconds shift;
        bool isGap;
    } rows[] = {
        {"none", Seconds{0}, false},        {"just not", Seconds{45}, false},
        {"just", Seconds{45.001}, true},    {"a clock set back", Seconds{-3600}, false},
        {"a week", Seconds{604'800}, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Machine machine;
        machine.wendrel.steep();
        machine.host.clock.shift(row.shift);
        machine.advance(1);
        EXPECT_EQ(machine.wendrel.gaps(), row.isGap ? Indexes{1} : Indexes{});
    }
}

TEST(Wendrel, AGapMovesWithTheHistoryAndLeavesWithIt) {
    Machine machine;
    machine.wendrel.steep();
    machine.advance(1);
    machine.suspend(std::chrono::hours{8});
    machine.advance(1);
    machine.suspend(std::chrono::hours{8});
    machine.advance(237);
    ASSERT_EQ(machine.wendrel.history().size(), 240U);
    EXPECT_EQ(machine.wendrel.gaps(), (Indexes{2, 3}));
    machine.advance(1);
    EXPECT_EQ(machine.wendrel.gaps(), (Indexes{1, 2}));
    machine.advance(1);
    EXPECT_EQ(machine.wendrel.gaps(), Indexes{1}) << "nothing is left before the first";
    machine.advance(1);
    EXPECT_TRUE(machine.wendrel.gaps().empty());
    machine.suspend(std::chrono::hours{8});
    machine.advance(1);
    EXPECT_EQ(machine.wendrel.gaps(), Indexes{239});
    EXPECT_EQ(machine.wendrel.history().size(), 240U);
}

TEST(Wendrel, TwoHoursWithoutABatteryAreAGapToo) {
    Machine machine;
    machine.wendrel.steep();
    machine.advance(1);
    machine.removeBattery();
    machine.advance(240);
    machine.host.batteryRegistry.battery = batteryOf(5'000, 4'000);
    machine.advance(1);
    EXPECT_EQ(machine.wendrel.history().size(), 3U);
    EXPECT_EQ(machine.wendrel.gaps(), Indexes{2});
}

TEST(Wendrel, ADesktopKeepsLooking) {
    Machine machine;
    machine.removeBattery();
    machine.wendrel.steep();
    EXPECT_FALSE(machine.wendrel.hasBattery());
    EXPECT_EQ(machine.wendrel.charge(), std::nullopt);
    EXPECT_TRUE(machine.wendrel.history().empty());
    machine.advance(4);
    EXPECT_EQ(machine.host.batteryRegistry.reads, 5);
    EXPECT_EQ(machine.host.loop.liveTimers(), 1);
    machine.setCharge(42);
    machine.advance(1);
    EXPECT_TRUE(machine.wendrel.hasBattery());
    EXPECT_DOUBLE_EQ(machine.wendrel.charge()->percent, 0.42);
    EXPECT_EQ(machine.wendrel.history().size(), 1U);
    EXPECT_TRUE(machine.wendrel.gaps().empty());
}

TEST(Wendrel, ABatteryThatGoesLeavesWhatWasRead) {
    Machine machine;
    machine.wendrel.steep();
    machine.advance(1);
    const auto charge = machine.wendrel.charge();
    machine.removeBattery();
    machine.advance(1);
    EXPECT_FALSE(machine.wendrel.hasBattery());
    EXPECT_EQ(machine.wendrel.charge(), charge);
    EXPECT_EQ(machine.wendrel.history().size(), 2U);
}

TEST(Wendrel, TurnedOnTwiceItRunsOneTimer) {
    Machine machine;
    machine.wendrel.steep();
    machine.host.loop.advance(Seconds{15});
    machine.wendrel.steep();
    EXPECT_EQ(machine.host.loop.liveTimers(), 1);
    EXPECT_EQ(machine.wendrel.history().size(), 1U);
    machine.host.loop.advance(Seconds{15});
    EXPECT_EQ(machine.wendrel.history().size(), 2U);
}

TEST(Wendrel, LeavesNothingRunningWhenItRests) {
    Machine machine;
    machine.wendrel.steep();
    machine.suspend(std::chrono::hours{8});
    machine.advance(3);
    ASSERT_FALSE(machine.wendrel.gaps().empty());
    machine.wendrel.rest();
    EXPECT_EQ(machine.host.liveThings(), machine.liveBefore);
    EXPECT_EQ(machine.wendrel.charge(), std::nullopt);
    EXPECT_TRUE(machine.wendrel.history().empty());
    EXPECT_TRUE(machine.wendrel.gaps().empty());
    EXPECT_TRUE(machine.wendrel.hasBattery());
    const int reads = machine.host.batteryRegistry.reads;
    machine.advance(10);
    EXPECT_EQ(machine.host.batteryRegistry.reads, reads);
    machine.wendrel.steep();
    EXPECT_EQ(machine.wendrel.history().size(), 1U);
    EXPECT_TRUE(machine.wendrel.gaps().empty()) << "while it was off nothing was missed";
}

TEST(Wendrel, ARestLeavesWhetherThereIsABattery) {
    Machine machine;
    machine.removeBattery();
    machine.wendrel.steep();
    machine.wendrel.rest();
    EXPECT_FALSE(machine.wendrel.hasBattery());
}

TEST(Wendrel, TellsItsReadersOfNewReadingsOnly) {
    Machine machine;
    std::string heard;
    const Token changes = machine.wendrel.observe([&] {
        heard += machine.wendrel.hasBattery() ? "" : "none ";
        heard += std::to_string(machine.wendrel.history().size()) + " ";
    });
    machine.wendrel.steep(); // the reading, then the history
    EXPECT_EQ(heard, "0 1 ");
    heard.clear();
    machine.advance(1); // an equal reading: only the history has changed
    EXPECT_EQ(heard, "2 ");
    heard.clear();
    machine.removeBattery();
    machine.advance(3);
    EXPECT_EQ(heard, "none 2 ");
    heard.clear();
    machine.setCharge(79);
    machine.advance(1); // the battery, the reading, the history
    EXPECT_EQ(heard, "2 2 3 ");
    heard.clear();
    machine.wendrel.rest();
    EXPECT_EQ(heard, "0 0 ");
    heard.clear();
    machine.wendrel.rest();
    EXPECT_EQ(heard, "");
}

TEST(Wendrel, TwoHoursOfEqualReadingsFallSilentButForAGapThatMoves) {
    Machine machine;
    machine.wendrel.steep();
    machine.advance(239);
    ASSERT_EQ(machine.wendrel.history().size(), 240U);
    int told = 0;
    const Token changes = machine.wendrel.observe([&] { ++told; });
    machine.advance(100);
    EXPECT_EQ(told, 0);
    machine.suspend(std::chrono::hours{8});
    machine.advance(3);
    EXPECT_EQ(told, 3);
    EXPECT_EQ(machine.wendrel.gaps(), Indexes{237});
    machine.advance(237);
    EXPECT_EQ(told, 240);
    EXPECT_TRUE(machine.wendrel.gaps().empty());
    machine.advance(10);
    EXPECT_EQ(told, 240);
}

TEST(Wendrel, AReaderFindsTheGapsThatGoWithTheHistory) {
    Machine machine;
    machine.wendrel.steep();
    machine.advance(239);
    std::vector<Indexes> heard;
    const Token changes = machine.wendrel.observe([&] { heard.push_back(machine.wendrel.gaps()); });
    machine.suspend(std::chrono::hours{8});
    machine.setCharge(50);
    machine.advance(1);
    EXPECT_EQ(heard, (std::vector<Indexes>{{}, {239}})) << "the reading, then the history";
}

TEST(Wendrel, DestroyingItStopsItsTimer) {
    SimulatedHost host;
    const int before = host.liveThings();
    std::optional<WendrelSpice> wendrel(std::in_place, host.loop, host.clock, host.batteryRegistry,
                                        host.powerSources, false);
    wendrel->steep();
    wendrel.reset();
    EXPECT_EQ(host.liveThings(), before);
    host.loop.advance(Seconds{300});
    EXPECT_EQ(host.batteryRegistry.reads, 1);
}

TEST(Wendrel, RunsWhileTheStallHasItOn) {
    SimulatedHost host;
    host.powerSources.all = {{sourceOf(80)}};
    ZorbelKit::Stall stall(host.defaults, host.loop);
    const int before = host.liveThings();
    stall.add(std::make_unique<WendrelSpice>(host.loop, host.clock, host.batteryRegistry, host.powerSources,
                                             false));
    auto& wendrel = dynamic_cast<WendrelSpice&>(*stall.spice("wendrel"));
    EXPECT_FALSE(wendrel.isEnabled());
    EXPECT_EQ(host.batteryRegistry.reads, 0);
    stall.toggle(wendrel);
    host.loop.advance(Seconds{150});
    EXPECT_EQ(wendrel.history().size(), 6U);
    stall.toggle(wendrel);
    EXPECT_EQ(host.liveThings(), before);
    EXPECT_TRUE(wendrel.history().empty());
    stall.toggle(wendrel);
    EXPECT_EQ(wendrel.history().size(), 1U);
    stall.restAll();
    EXPECT_EQ(host.liveThings(), before);
    EXPECT_EQ(host.defaults.boolean("spice.wendrel.enabled"), true);
}

TEST(Wendrel, AReaderMayTurnItOffWhileItIsTold) {
    const struct {
        const char* name;
        int call; // the one at which it is turned off
    } rows[] = {{"of the battery", 1}, {"of the reading", 2}, {"of the history", 3}, {"of the next", 4}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Machine machine;
        machine.removeBattery();
        machine.wendrel.steep();
        machine.setCharge(50);
        int calls = 0;
        Token turnOff = machine.wendrel.observe([&] {
            if (++calls == row.call) {
                machine.wendrel.rest();
            }
        });
        machine.advance(5);
        turnOff.reset();
        EXPECT_EQ(machine.wendrel.charge(), std::nullopt);
        EXPECT_TRUE(machine.wendrel.history().empty());
        EXPECT_EQ(machine.host.liveThings(), machine.liveBefore);
    }
}

TEST(Wendrel, AReaderMayTurnItOffAtItsFirstReading) {
    Machine machine;
    Token turnOff = machine.wendrel.observe([&] {
        if (machine.wendrel.charge()) {
            machine.wendrel.rest();
        }
    });
    machine.wendrel.steep();
    turnOff.reset();
    EXPECT_EQ(machine.wendrel.charge(), std::nullopt);
    EXPECT_EQ(machine.host.liveThings(), machine.liveBefore);
}
