#include "Platforms/Simulated/SimulatedHost.hpp"
#include "Platforms/Simulated/SimulatedSuite.hpp"
#include "Tests/Views/SpiceViewTest.hpp"
#include "Wendrel/Wendrel.hpp"
#include "Wendrel/WendrelViews.hpp"
#include "Zorbel/Blend.hpp"
#include "Zorbel/DashboardView.hpp"
#include "Zorbel/MenuPanel.hpp"
#include "Zorbel/Updates.hpp"
#include "ZorbelKit/Controls/LineText.hpp"
#include "ZorbelKit/Controls/Reading.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Controls/Trace.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Stall.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QAccessible>
#include <QImage>
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <limits>
#include <memory>
#include <stdexcept>

namespace {

using namespace Views;
using Wendrel::ChargeRing;
using Wendrel::ChargeTrace;
using Wendrel::Empty;
using Wendrel::HealthCard;
using Wendrel::PropertyList;
using Wendrel::WendrelMenuSection;
using Wendrel::WendrelPanel;
using Wendrel::WendrelSpice;
using ZorbelKit::LineText;
using ZorbelKit::Observable;
using ZorbelKit::Seconds;
using ZorbelKit::Trace;

constexpr int softly = 120; // how far a line's smoothed edge may be from its colour

/// Where a part lies on the page.
QRect placeOf(const QWidget& part, const QWidget& page) {
    return {part.mapTo(&page, QPoint()), part.size()};
}

/// Where everything in sight lies.
std::vector<QRect> places(const QWidget& page) {
    std::vector<QRect> found;
    for (const QWidget* each : parts<QWidget>(page)) {
        if (!dynamic_cast<const ZorbelKit::Reading*>(each)) { // a figure is as wide as its text
            found.push_back(placeOf(*each, page));
        }
    }
    return found;
}

QAccessibleInterface& spoken(QWidget& widget) {
    return *QAccessible::queryAccessibleInterface(&widget);
}

/// How many pixels of a picture are of this colour, or nearly so.
int pixelsOf(const QImage& picture, const ZorbelKit::Color& colour, int nearly = 6) {
    const QColor wanted = ZorbelKit::qColor(colour);
    int count = 0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const QColor pixel = picture.pixelColor(x, y);
            const int distance = std::abs(pixel.red() - wanted.red()) +
                                 std::abs(pixel.green() - wanted.green()) +
                                 std::abs(pixel.blue() - wanted.blue());
            count += distance < nearly ? 1 : 0;
        }
    }
    return count;
}

PropertyList laptopBattery() {
    return PropertyList()
        .set("DesignCapacity", 5'103)
        .set("NominalChargeCapacity", 4'482)
        .set("CycleCount", 212)
        .set("Voltage", 12'340)
        .set("Amperage", 4'294'966'146) // 1.15 A drawn
        .set("Temperature", 3'120);
}

PropertyList laptopSource(std::int64_t percent, bool isCharging = false, bool isPluggedIn = false) {
    return PropertyList()
        .set("Type", "InternalBattery")
        .set("Current Capacity", percent)
        .set("Max Capacity", 100)
        .set("Is Charging", isCharging)
        .set("Power Source State", isPluggedIn ? "AC Power" : "Battery Power")
        .set("Time to Empty", 125)
        .set("Time to Full Charge", 59);
}

class WendrelViewsTest : public SpiceViewTest {
protected:
    WendrelViewsTest() {
        host.batteryRegistry.battery = laptopBattery();
        setCharge(87);
    }

    void setCharge(std::int64_t percent, bool isCharging = false, bool isPluggedIn = false) {
        host.powerSources.all = {{laptopSource(percent, isCharging, isPluggedIn)}};
    }

    void removeBattery() {
        host.batteryRegistry.battery.reset();
        host.powerSources.all.reset();
    }

    /// Until the spice has looked again.
    void sample(int times = 1) {
        host.loop.advance(WendrelSpice::interval * times);
        settle();
    }

    WendrelPanel& openPanel(int width = pageWidth) {
        panel = &openPage(new WendrelPanel(spice, &ground), width);
        return *panel;
    }

    WendrelMenuSection& openSection() {
        section = &SpiceViewTest::openSection(new WendrelMenuSection(spice, &ground));
        return *section;
    }

    /// The rows' spoken figures, in their order.
    QStringList rowTexts() const {
        QStringList texts;
        for (const Wendrel::Row* row : parts<Wendrel::Row>(*panel)) {
            texts << visibleTexts(*row).back();
        }
        return texts;
    }

    Simulated::SimulatedHost host;
    WendrelSpice spice{host.loop, host.clock, host.batteryRegistry, host.powerSources, /*isDemo=*/false};
    WendrelPanel* panel = nullptr;
    WendrelMenuSection* section = nullptr;
};

TEST_F(WendrelViewsTest, TheSectionShowsChargeHealthAndCycles) {
    spice.steep();
    openSection();
    EXPECT_EQ(visibleTexts(*section),
              (QStringList{"Charge", "Charge 87%", "Health", "Health 87%", "Cycles", "Cycles 212"}));
    host.batteryRegistry.battery->set("DesignCapacity", 0);
    setCharge(9);
    sample();
    EXPECT_TRUE(showsText(*section, "Charge 9%"));
    EXPECT_TRUE(showsText(*section, "Health 0%"));
}

TEST_F(WendrelViewsTest, TheSectionSaysThatThereIsNoBattery) {
    removeBattery();
    spice.steep();
    openSection();
    EXPECT_EQ(visibleTexts(*section), QStringList{"No battery."});
    host.batteryRegistry.battery = laptopBattery();
    sample();
    EXPECT_TRUE(showsText(*section, "Charge 0%"));
    EXPECT_FALSE(showsText(*section, "No battery."));
    spice.rest();
    settle();
    EXPECT_EQ(visibleTexts(*section), QStringList{"No battery."});
}

TEST_F(WendrelViewsTest, TheSectionsFiguresStandStill) {
    spice.steep();
    openSection();
    const auto before = places(*section);
    host.batteryRegistry.battery->set("CycleCount", std::numeric_limits<std::int64_t>::max());
    setCharge(100);
    sample();
    EXPECT_EQ(places(*section), before);
    EXPECT_LE(section->minimumSizeHint().width(), sectionWidth);
}

TEST_F(WendrelViewsTest, ADesktopShowsTheNoBatteryPageAndKeepsLooking) {
    removeBattery();
    spice.steep();
    openPanel();
    EXPECT_EQ(visibleTexts(*panel),
              (QStringList{"This Mac has no battery.",
                           "Wendrel has nothing to watch on a desktop. Leave it off."}));
    EXPECT_EQ(parts<Empty>(*panel).size(), 1U);
    host.batteryRegistry.battery = laptopBattery();
    sample();
    EXPECT_TRUE(parts<Empty>(*panel).empty());
    EXPECT_EQ(parts<ChargeRing>(*panel).size(), 1U);
    removeBattery();
    sample();
    EXPECT_TRUE(showsText(*panel, "This Mac has no battery.")) << "although a reading is left";
    EXPECT_TRUE(parts<ChargeRing>(*panel).empty());
}

TEST_F(WendrelViewsTest, BeforeTheFirstReadingThePageSaysThatItReads) {
    openPanel();
    EXPECT_EQ(visibleTexts(*panel),
              (QStringList{"Reading the battery.", "This takes a moment on first run."}));
    spice.steep();
    settle();
    EXPECT_FALSE(showsText(*panel, "Reading the battery."));
    EXPECT_TRUE(showsText(*panel, "Charge 87%"));
}

TEST_F(WendrelViewsTest, TheRowsTellStateTimeAndPower) {
    spice.steep();
    openPanel();
    EXPECT_EQ(rowTexts(),
              (QStringList{"State On battery", "Remaining 2 h 5 m", "Power 14.19 W", "Temperature 31.2 °C"}));
    setCharge(87, /*isCharging=*/true, /*isPluggedIn=*/true);
    host.batteryRegistry.battery->set("Amperage", 2'000);
    sample();
    EXPECT_EQ(rowTexts(),
              (QStringList{"State Charging", "Remaining 59 m", "Power 24.68 W", "Temperature 31.2 °C"}));
    host.powerSources.all = {{laptopSource(100, false, true).set("Time to Empty", 0)}};
    sample();
    EXPECT_EQ(rowTexts().mid(0, 2), (QStringList{"State Plugged in", "Remaining Calculating"}));
}

TEST_F(WendrelViewsTest, TheLastRowIsTheTemperatureOrTheAdapterOrNone) {
    auto& battery = *host.batteryRegistry.battery;
    spice.steep();
    openPanel();
    const auto before = places(part<HealthCard>(*panel));
    const QRect power = placeOf(*parts<Wendrel::Row>(*panel).at(2), *panel);
    battery.set("AdapterDetails", PropertyList().set("Watts", 65));
    sample();
    EXPECT_EQ(rowTexts().back(), "Temperature 31.2 °C");
    EXPECT_EQ(rowTexts().size(), 4);
    battery.set("Temperature", 0);
    sample();
    EXPECT_EQ(rowTexts().back(), "Adapter 65 W");
    EXPECT_EQ(rowTexts().size(), 4);
    battery.set("AdapterDetails", PropertyList());
    sample();
    EXPECT_EQ(rowTexts().back(), "Power 14.19 W");
    EXPECT_EQ(rowTexts().size(), 3);
    EXPECT_EQ(placeOf(*parts<Wendrel::Row>(*panel).at(2), *panel), power);
    EXPECT_EQ(places(part<HealthCard>(*panel)), before) << "nothing moves when a row goes";
}

TEST_F(WendrelViewsTest, TheHealthCardTellsItsThreeFiguresAndAVerdict) {
    spice.steep();
    openPanel();
    const auto& card = part<HealthCard>(*panel);
    const QStringList texts = visibleTexts(card);
    EXPECT_EQ(texts, (QStringList{"Health", "Health 87%", "4482 of 5103 mAh", "Cycles", "Cycles 212",
                                  "Apple rates most Macs to 1000", "Condition", "Normal", "Nothing to do"}));
    host.batteryRegistry.battery->set("PermanentFailureStatus", 1);
    sample();
    EXPECT_TRUE(showsText(card, "Service Recommended"));
    EXPECT_TRUE(showsText(card, "Worth a look")) << "whatever the health";
    EXPECT_TRUE(showsText(card, "Health 87%"));
    host.batteryRegistry.battery->set("PermanentFailureStatus", 0).set("NominalChargeCapacity", 4'031);
    sample();
    EXPECT_TRUE(showsText(card, "Health 78%"));
    EXPECT_TRUE(showsText(card, "Normal"));
    EXPECT_TRUE(showsText(card, "Worth a look"));
}

TEST_F(WendrelViewsTest, TheVerdictsDotTakesTheColourOfAWarning) {
    spice.steep();
    openPanel();
    auto& card = part<HealthCard>(*panel);
    EXPECT_GT(pixelsOf(card.grab().toImage(), ZorbelKit::mist), 30);
    EXPECT_EQ(pixelsOf(card.grab().toImage(), ZorbelKit::brass), 0);
    host.batteryRegistry.battery->set("PermanentFailureStatus", 1);
    sample();
    EXPECT_GT(pixelsOf(card.grab().toImage(), ZorbelKit::brass), 30);
    EXPECT_EQ(pixelsOf(card.grab().toImage(), ZorbelKit::mist), 0);
}

TEST_F(WendrelViewsTest, TheRingIsFilledAsFarAsTheBatteryAndWarnsWhenLittleIsLeft) {
    const ZorbelKit::Color accent = ZorbelKit::spiceColour("wendrel");
    spice.steep();
    openPanel();
    auto& ring = part<ChargeRing>(*panel);
    EXPECT_EQ(ring.size(), QSize(128, 128));
    const struct {
        const char* name;
        std::int64_t percent;
        bool isCharging;
        bool isPluggedIn;
        bool warns;
    } rows[] = {
        {"full", 100, false, false, false},
        {"half", 50, false, false, false},
        {"just enough", 20, false, false, false},
        {"little", 19, false, false, true},
        {"little, plugged in", 19, false, true, false},
        {"little, charging", 19, true, true, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        setCharge(row.percent, row.isCharging, row.isPluggedIn);
        sample();
        EXPECT_TRUE(showsText(ring, QString("Charge %1%").arg(row.percent)));
        const QImage picture = ring.grab().toImage();
        // Three quarters of a turn, 128 less 9 across, 9 wide; its smooth edges are of other colours.
        const double area = 0.75 * M_PI * 119 * 9 * static_cast<double>(row.percent) / 100;
        EXPECT_NEAR(pixelsOf(picture, row.warns ? ZorbelKit::brass : accent), area, 0.2 * area + 40);
        EXPECT_EQ(pixelsOf(picture, row.warns ? accent : ZorbelKit::brass), 0);
    }
}

TEST_F(WendrelViewsTest, WordsStandInForTheTraceUntilTheSecondReading) {
    spice.steep();
    openPanel();
    const auto& trace = part<ChargeTrace>(*panel);
    EXPECT_EQ(visibleTexts(trace),
              (QStringList{"CHARGE · LAST TWO HOURS", "1 samples", "Two hours of history will appear here.",
                           "Wendrel samples every thirty seconds."}));
    EXPECT_TRUE(parts<Trace>(trace).empty());
    const int height = trace.height();
    sample();
    EXPECT_EQ(visibleTexts(trace), (QStringList{"CHARGE · LAST TWO HOURS", "2 samples"}));
    ASSERT_EQ(parts<Trace>(trace).size(), 1U);
    EXPECT_EQ(part<Trace>(trace).height(), 92);
    EXPECT_EQ(trace.height(), height);
    const QRect samples = placeOf(*named(trace, "2 samples"), trace);
    EXPECT_EQ(samples.right(), trace.rect().right());
    sample(400);
    EXPECT_TRUE(showsText(trace, "240 samples"));
}

TEST_F(WendrelViewsTest, TheTraceDrawsNoLineIntoAReadingAfterSleep) {
    const ZorbelKit::Color accent = ZorbelKit::spiceColour("wendrel");
    setCharge(100);
    spice.steep();
    openPanel();
    sample(119);
    host.clock.shift(std::chrono::hours{8});
    sample(60);
    auto& trace = part<Trace>(*panel);
    const double step = trace.width() / 239.0;
    const auto coloured = [&](double index) {
        const int x = static_cast<int>(std::lround(index * step));
        return pixelsOf(trace.grab().toImage().copy(x, 0, 1, 4), accent, softly);
    };
    ASSERT_EQ(spice.gaps(), std::vector<std::size_t>{120});
    EXPECT_GT(coloured(110), 0);
    EXPECT_GT(coloured(130), 0);
    EXPECT_EQ(coloured(119.6), 0) << "between the last before and the first after it";
    EXPECT_EQ(coloured(200), 0) << "still to come";
}

TEST_F(WendrelViewsTest, AReadingThatStandsAloneIsADot) {
    const ZorbelKit::Color accent = ZorbelKit::spiceColour("wendrel");
    setCharge(50);
    spice.steep();
    openPanel();
    host.clock.shift(std::chrono::hours{8});
    sample();
    auto& trace = part<Trace>(*panel);
    const int pixels = pixelsOf(trace.grab().toImage(), accent, softly);
    EXPECT_GT(pixels, 2);
    EXPECT_LT(pixels, 30);
}

TEST_F(WendrelViewsTest, AGapThatMovesThroughEqualReadingsIsDrawnWhereItIs) {
    spice.steep();
    openPanel();
    sample(200);
    host.clock.shift(std::chrono::hours{8});
    sample(39);
    ASSERT_EQ(spice.history().size(), WendrelSpice::historyLength);
    const QImage before = part<Trace>(*panel).grab().toImage();
    sample(20);
    EXPECT_NE(part<Trace>(*panel).grab().toImage(), before);
}

TEST_F(WendrelViewsTest, EveryFigureHasASpokenNameAndRole) {
    spice.steep();
    sample();
    openPanel();
    const struct {
        const char* name;
        QAccessible::Role role;
    } rows[] = {{"Charge 87%", QAccessible::StaticText},
                {"State On battery", QAccessible::StaticText},
                {"Remaining 2 h 5 m", QAccessible::StaticText},
                {"Power 14.19 W", QAccessible::StaticText},
                {"Temperature 31.2 °C", QAccessible::StaticText},
                {"Battery health", QAccessible::Grouping},
                {"Health 87%", QAccessible::StaticText},
                {"Cycles 212", QAccessible::StaticText},
                {"Condition Normal", QAccessible::StaticText},
                {"CHARGE · LAST TWO HOURS", QAccessible::Heading},
                {"2 samples", QAccessible::StaticText},
                {"Charge over the last two hours", QAccessible::Chart}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        QWidget* found = named(*panel, row.name);
        ASSERT_NE(found, nullptr);
        EXPECT_EQ(spoken(*found).role(), row.role);
        EXPECT_EQ(spoken(*found).text(QAccessible::Name), row.name);
    }
}

TEST_F(WendrelViewsTest, AReadingRepaintsOnlyWhatChanged) {
    spice.steep();
    openPanel();
    sample(3);
    PaintCounter paints(*panel);
    sample();
    EXPECT_EQ(paints.paintsOf(&part<Trace>(*panel)), 1);
    for (const char* name : {"Charge 87%", "State On battery", "Remaining 2 h 5 m", "Power 14.19 W",
                             "Health 87%", "Condition Normal"}) {
        EXPECT_EQ(paints.paintsOf(named(*panel, name)), 0) << name;
    }
    paints.reset();
    host.batteryRegistry.battery->set("Voltage", 13'000);
    sample();
    EXPECT_EQ(paints.paintsOf(named(*panel, "Power 14.95 W")), 1);
    EXPECT_EQ(paints.paintsOf(named(*panel, "Charge 87%")), 0);
    EXPECT_EQ(paints.paintsOf(named(*panel, "Health 87%")), 0);
}

TEST_F(WendrelViewsTest, NothingMovesWhenAFigureChanges) {
    spice.steep();
    openPanel();
    sample();
    const auto corners = [&] {
        std::vector<QPoint> found;
        for (const QRect& place : places(*panel)) {
            found.push_back(place.topLeft()); // the verdict is as wide as its words
        }
        return found;
    };
    const auto before = corners();
    setCharge(100, /*isCharging=*/true, /*isPluggedIn=*/true);
    *host.batteryRegistry.battery =
        laptopBattery().set("CycleCount", 1'212).set("PermanentFailureStatus", 1).set("Amperage", 12'000);
    sample();
    EXPECT_EQ(rowTexts().at(2), "Power 148.08 W");
    EXPECT_EQ(corners(), before);
}

TEST_F(WendrelViewsTest, WhatIsHiddenListensToNothing) {
    spice.steep();
    const int before = Observable::liveObserversForTesting();
    openPanel();
    WendrelMenuSection besides(spice, nullptr);
    show(besides, {sectionWidth, 60});
    EXPECT_EQ(Observable::liveObserversForTesting(), before + 2);
    ground.hide();
    besides.hide();
    EXPECT_EQ(Observable::liveObserversForTesting(), before);
    setCharge(42);
    sample();
    ground.show();
    settle();
    EXPECT_TRUE(showsText(*panel, "Charge 42%")) << "it catches up when it is seen again";
}

TEST_F(WendrelViewsTest, NothingBreaksWhenTheSpiceIsTurnedOff) {
    spice.steep();
    openPanel();
    sample(5);
    spice.rest();
    settle();
    EXPECT_TRUE(showsText(*panel, "Reading the battery."));
    spice.steep();
    settle();
    EXPECT_TRUE(showsText(*panel, "1 samples"));
}

TEST_F(WendrelViewsTest, HostileReadingsStayInTheirLine) {
    constexpr auto most = std::numeric_limits<std::int64_t>::max();
    constexpr auto least = std::numeric_limits<std::int64_t>::min();
    spice.steep();
    openPanel(narrowWidth);
    sample();
    const int height = panel->height();
    const auto expectAllWithin = [&] {
        fitPage(narrowWidth);
        EXPECT_EQ(panel->height(), height);
        EXPECT_LE(panel->minimumSizeHint().width(), narrowWidth);
        for (const QWidget* each : parts<QWidget>(*panel)) {
            EXPECT_LE(placeOf(*each, *panel).right(), narrowWidth - 1)
                << each->metaObject()->className() << each->accessibleName().toStdString();
        }
    };
    const std::string rightToLeft = "\xE2\x80\xAE";
    const std::string conditions[] = {
        std::string(1'000, 'W'),
        "Service\nRecommended\r\n\xE2\x80\xA8 at once",
        rightToLeft + "txt.exe <b>bold</b> " + std::string(1'000, 'x'),
        "\xFF\xFE\x01",
    };
    for (const std::string& condition : conditions) {
        for (const std::int64_t number : {most, least}) {
            host.batteryRegistry.battery = PropertyList()
                                               .set("CycleCount", number)
                                               .set("DesignCapacity", 1)
                                               .set("NominalChargeCapacity", number)
                                               .set("Voltage", number)
                                               .set("Amperage", number)
                                               .set("Temperature", most)
                                               .set("AdapterDetails", PropertyList().set("Watts", number));
            host.powerSources.all = {{laptopSource(number)
                                          .set("Max Capacity", 1)
                                          .set("Time to Empty", most)
                                          .set("BatteryHealthCondition", condition)}};
            sample();
            expectAllWithin();
            EXPECT_TRUE(showsText(*panel, "Remaining 153722867280912930 h 7 m"));
        }
        host.batteryRegistry.battery->set("Temperature", 0);
        sample();
        expectAllWithin();
    }
    host.powerSources.all = {{laptopSource(50).set("BatteryHealthCondition", conditions[1])}};
    sample();
    EXPECT_TRUE(showsText(part<HealthCard>(*panel), "Service Recommended at once"));
    host.powerSources.all->front().set("BatteryHealthCondition", conditions[2]);
    sample();
    savePage("wendrel-panel-hostile", narrowWidth);
    openSection();
    EXPECT_LE(section->minimumSizeHint().width(), sectionWidth);
}

class WendrelInTheSuite : public ::testing::Test {
protected:
    WendrelInTheSuite() {
        suite.batteryRegistry.battery = laptopBattery();
        suite.powerSources.all = {{laptopSource(64)}};
        stall = Zorbel::Blend::build(suite.host());
        stall->setSelection("wendrel");
        stall->setEnabled(true, *stall->spice("wendrel"));
    }

    void openDashboard(QSize size) {
        window.reset(Zorbel::dashboardView(*stall, suite.loop).build(nullptr));
        show(*window, size);
    }

    void sample(int times) {
        for (int time = 0; time < times; ++time) {
            suite.powerSources.all = {{laptopSource(64 - time / 6)}};
            suite.loop.advance(WendrelSpice::interval);
        }
        settle();
    }

    Simulated::SimulatedSuite suite;
    std::unique_ptr<ZorbelKit::Stall> stall;
    std::unique_ptr<QWidget> window;
};

TEST_F(WendrelInTheSuite, ThePageIsWholeAtTheSmallestSize) {
    openDashboard({840, 560});
    sample(90);
    const auto& panel = part<WendrelPanel>(*window);
    EXPECT_EQ(panel.width(), narrowWidth);
    for (const QWidget* each : parts<QWidget>(panel)) {
        EXPECT_TRUE(panel.rect().contains(placeOf(*each, panel))) << each->accessibleName().toStdString();
    }
    suite.batteryRegistry.battery->set("PermanentFailureStatus", 1);
    sample(1);
    for (const LineText* line : parts<LineText>(panel)) {
        EXPECT_EQ(line->shown().text, line->text()) << "nothing is cut off";
    }
    savePicture(*window, "dashboard-wendrel-smallest");
}

TEST_F(WendrelInTheSuite, TurnedOffAndOnAgainThePageIsBack) {
    openDashboard({960, 640});
    stall->setEnabled(false, *stall->spice("wendrel"));
    settle();
    EXPECT_TRUE(showsText(*window, "Wendrel is not in the cup."));
    stall->setEnabled(true, *stall->spice("wendrel"));
    settle();
    EXPECT_TRUE(showsText(part<WendrelPanel>(*window), "Charge 64%"));
}

TEST_F(WendrelInTheSuite, Pictures) {
    openDashboard({960, 640});
    sample(180);
    savePicture(*window, "dashboard-wendrel");
    Zorbel::Updates updates{[](std::string_view) { return std::optional<std::string>(); }, nullptr};
    std::unique_ptr<QWidget> menu(
        Zorbel::menuPanelView(*stall, updates, suite.application, [] {}).build(nullptr));
    show(*menu, {328, 640});
    savePicture(*menu, "panel-wendrel");
    EXPECT_EQ(parts<WendrelMenuSection>(*menu).size(), 1U);
    suite.batteryRegistry.battery.reset();
    suite.powerSources.all.reset();
    suite.loop.advance(WendrelSpice::interval);
    settle();
    savePicture(*window, "dashboard-wendrel-no-battery");
    EXPECT_TRUE(showsText(*window, "This Mac has no battery."));
}

TEST_F(WendrelViewsTest, PicturesOfThePanel) {
    openPanel();
    savePage("wendrel-panel-reading");
    spice.steep();
    savePage("wendrel-panel-first-reading");
    for (int time = 0; time < 130; ++time) {
        setCharge(87 - time / 3);
        sample();
    }
    host.clock.shift(std::chrono::hours{8});
    for (int time = 0; time < 60; ++time) {
        setCharge(30 + time / 2, /*isCharging=*/true, /*isPluggedIn=*/true);
        host.batteryRegistry.battery->set("Amperage", 2'350);
        sample();
    }
    savePage("wendrel-panel-charging");
    host.batteryRegistry.battery->set("Temperature", 0)
        .set("AdapterDetails", PropertyList().set("Watts", 65));
    host.powerSources.all = {{laptopSource(100, false, true).set("Time to Empty", 0)}};
    sample();
    savePage("wendrel-panel-plugged-in");
    host.batteryRegistry.battery = laptopBattery()
                                       .set("Temperature", 0)
                                       .set("CycleCount", 1'038)
                                       .set("NominalChargeCapacity", 3'310)
                                       .set("PermanentFailureStatus", 1);
    for (int time = 0; time < 100; ++time) {
        setCharge(64 - time / 2);
        sample();
    }
    savePage("wendrel-panel-low");
    removeBattery();
    sample();
    savePage("wendrel-panel-no-battery");
    EXPECT_TRUE(showsText(*panel, "This Mac has no battery."));
}

TEST_F(WendrelViewsTest, PicturesOfTheMenuSection) {
    openSection();
    savePicture(ground, "wendrel-menu-no-battery");
    spice.steep();
    setCharge(100);
    sample();
    fitSection();
    savePicture(ground, "wendrel-menu");
    EXPECT_TRUE(showsText(*section, "Charge 100%"));
}

} // namespace
