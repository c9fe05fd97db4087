#include "Platforms/Simulated/SimulatedHost.hpp"
#include "Platforms/Simulated/SimulatedSuite.hpp"
#include "Tests/Views/SpiceViewTest.hpp"
#include "Tonvik/Tonvik.hpp"
#include "Tonvik/TonvikViews.hpp"
#include "Zorbel/Blend.hpp"
#include "Zorbel/DashboardView.hpp"
#include "ZorbelKit/Controls/Capsule.hpp"
#include "ZorbelKit/Controls/LineText.hpp"
#include "ZorbelKit/Controls/Reading.hpp"
#include "ZorbelKit/Controls/Slider.hpp"
#include "ZorbelKit/Controls/Symbol.hpp"
#include "ZorbelKit/Controls/SymbolButton.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Stall.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QAccessible>
#include <QApplication>
#include <QElapsedTimer>
#include <QHelpEvent>
#include <QScrollBar>
#include <QTest>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <stdexcept>

namespace {

using namespace Tonvik;
using namespace Views;
using ZorbelKit::Capsule;
using ZorbelKit::LineText;
using ZorbelKit::Observable;
using ZorbelKit::Reading;
using ZorbelKit::RowList;
using ZorbelKit::Seconds;
using ZorbelKit::Slider;
using ZorbelKit::Symbol;
using ZorbelKit::SymbolButton;
using Device = Simulated::SimulatedAudioHardware::Device;

constexpr const char* note = "Per-app volume needs a virtual audio driver, which Zorbel does not install. "
                             "Tonvik switches devices and sets the system level.";

QAccessibleInterface& spoken(QWidget& widget) {
    return *QAccessible::queryAccessibleInterface(&widget);
}

/// The rows of one direction from top to bottom.
std::vector<DeviceRow*> rowsIn(const QWidget& widget, bool inputs = false) {
    std::vector<DeviceRow*> rows = parts<DeviceRow>(part<DeviceList>(widget, inputs ? 1 : 0));
    std::ranges::sort(rows, {}, [](const DeviceRow* row) { return row->y(); });
    return rows;
}

QStringList spokenIn(const QWidget& widget, bool inputs = false) {
    QStringList names;
    for (const DeviceRow* row : rowsIn(widget, inputs)) {
        names << row->accessibleName();
    }
    return names;
}

Device output(AudioObjectId id, const char* name, const char (&code)[5]) {
    return {.id = id,
            .name = name,
            .transport = transportCode(code),
            .outputStreams = {{2}},
            .volume = 0.42F,
            .mute = 0};
}

void plugIn(Simulated::SimulatedAudioHardware& hardware) {
    hardware.plugged = {output(11, "Laptop speakers", "bltn"), output(12, "Asha's headset", "blue"),
                        output(13, "Desk monitor", "hdmi"),    output(14, "Living room", "airp"),
                        output(15, "Studio box", "usb "),      output(16, "Everything at once", "grup")};
    hardware.plugged[0].inputStreams = {{2}};
    hardware.plugged[1].inputStreams = {{1}};
    hardware.plugged[2].volume.reset();
    hardware.plugged[2].mute.reset();
    hardware.defaults = {{Direction::output, 11}, {Direction::input, 12}};
}

class TonvikViewsTest : public SpiceViewTest {
protected:
    TonvikViewsTest() {
        plugIn(hardware);
        spice.setEnabled(true);
        spice.steep();
    }

    void poll() {
        host.loop.advance(TonvikSpice::refreshInterval);
        settle();
    }

    TonvikPanel& openPanel(int width = pageWidth) { return openPage(new TonvikPanel(spice, &ground), width); }
    TonvikMenuSection& openSection() {
        return SpiceViewTest::openSection(new TonvikMenuSection(spice, &ground));
    }

    Simulated::SimulatedHost host;
    Simulated::SimulatedAudioHardware& hardware = host.audioHardware;
    TonvikSpice spice{host.loop, hardware};
};

TEST_F(TonvikViewsTest, ThePageListsBothDirectionsUnderTheirHeadings) {
    const TonvikPanel& panel = openPanel();
    EXPECT_EQ(spokenIn(panel), (QStringList{"Laptop speakers, Built in, in use", "Asha's headset, Bluetooth",
                                            "Desk monitor, HDMI", "Living room, AirPlay", "Studio box, USB",
                                            "Everything at once, Virtual"}));
    EXPECT_EQ(spokenIn(panel, true),
              (QStringList{"Laptop speakers, Built in", "Asha's headset, Bluetooth, in use"}));
    for (const char* text :
         {"VOLUME", "Volume 42%", "OUTPUT", "INPUT", "Laptop speakers", "Built in", note}) {
        EXPECT_TRUE(showsText(panel, text)) << text;
    }
    EXPECT_FALSE(showsText(panel, "Nothing available."));
    EXPECT_EQ(parts<Capsule>(panel).size(), 2U);
}

TEST_F(TonvikViewsTest, TheDefaultOfEachDirectionIsTagged) {
    const TonvikPanel& panel = openPanel();
    for (const bool inputs : {false, true}) {
        for (DeviceRow* row : rowsIn(panel, inputs)) {
            EXPECT_EQ(showsText(*row, "IN USE"), row->device()->isDefault);
            for (Capsule* tag : parts<Capsule>(*row)) {
                EXPECT_EQ(tag->palette().color(tag->foregroundRole()), ZorbelKit::qColor(spice.accent()));
            }
            EXPECT_EQ(spoken(*row).state().selected, row->device()->isDefault);
        }
    }
}

TEST_F(TonvikViewsTest, EveryDeviceHasItsSymbolAndAMicrophoneItsOwn) {
    const TonvikPanel& panel = openPanel();
    QStringList symbols;
    for (const bool inputs : {false, true}) {
        for (const DeviceRow* row : rowsIn(panel, inputs)) {
            symbols << part<Symbol>(*row).symbol();
        }
    }
    EXPECT_EQ(symbols, (QStringList{"laptopcomputer", "airpodspro", "tv", "airplayaudio", "hifispeaker",
                                    "speaker.wave.2", "mic", "mic"}));
}

TEST_F(TonvikViewsTest, EverySymbolIsDrawn) {
    for (const char* name : {"mic", "airpodspro", "laptopcomputer", "tv", "airplayaudio", "hifispeaker",
                             "speaker.wave.2", "speaker.wave.2.fill", "speaker.slash.fill"}) {
        Symbol symbol(name, 16, ZorbelKit::malai);
        Symbol none("no such symbol", 16, ZorbelKit::malai);
        EXPECT_NE(symbol.grab().toImage(), none.grab().toImage()) << name;
    }
}

TEST_F(TonvikViewsTest, AnEmptyListSaysSoUnderItsHeading) {
    hardware.plugged[0].inputStreams.reset();
    hardware.plugged[1].inputStreams.reset();
    spice.refresh();
    const TonvikPanel& panel = openPanel();
    EXPECT_EQ(visibleTexts(part<DeviceList>(panel, 1)), (QStringList{"INPUT", "Nothing available."}));
    EXPECT_FALSE(showsText(part<DeviceList>(panel, 0), "Nothing available."));
    hardware.plugged[1].inputStreams = {{1}};
    poll();
    EXPECT_FALSE(showsText(panel, "Nothing available."));
    EXPECT_EQ(rowsIn(panel, true).size(), 1U);
}

TEST_F(TonvikViewsTest, AClickMakesADeviceTheDefaultOfItsDirection) {
    const TonvikPanel& panel = openPanel();
    QTest::mouseClick(rowsIn(panel).at(4), Qt::LeftButton);
    settle();
    EXPECT_EQ(hardware.defaults.at(Direction::output), 15U);
    EXPECT_EQ(hardware.defaults.at(Direction::input), 12U);
    EXPECT_EQ(spokenIn(panel).at(4), "Studio box, USB, in use");
    EXPECT_EQ(spokenIn(panel).at(0), "Laptop speakers, Built in");
    QTest::mouseClick(rowsIn(panel, true).at(0), Qt::LeftButton);
    settle();
    EXPECT_EQ(hardware.defaults.at(Direction::output), 15U);
    EXPECT_EQ(hardware.defaults.at(Direction::input), 11U);
}

TEST_F(TonvikViewsTest, ChoosingTheRowInUseSetsItAgainAndRepaintsNothing) {
    TonvikPanel& panel = openPanel();
    DeviceRow& row = *rowsIn(panel).front();
    row.setFocus(Qt::MouseFocusReason);
    pointAt(row);
    PaintCounter paints(ground);
    row.click();
    settle();
    EXPECT_EQ(hardware.defaultWrites, 1);
    EXPECT_EQ(hardware.defaults.at(Direction::output), 11U);
    for (const DeviceRow* other : rowsIn(panel)) {
        if (other != &row) {
            EXPECT_EQ(paints.paintsOf(other), 0);
        }
    }
    EXPECT_EQ(spokenIn(panel).front(), "Laptop speakers, Built in, in use");
}

TEST_F(TonvikViewsTest, ARowLightsUpUnderThePointer) {
    const TonvikPanel& panel = openPanel();
    DeviceRow& row = *rowsIn(panel).at(2);
    const QColor plain = row.grab().toImage().pixelColor(200, 3);
    pointAt(row);
    EXPECT_NE(row.grab().toImage().pixelColor(200, 3), plain);
    pointAt(*rowsIn(panel).at(3));
    EXPECT_EQ(row.grab().toImage().pixelColor(200, 3), plain);
}

TEST_F(TonvikViewsTest, ALookThatSeesNothingNewRepaintsNothing) {
    openPanel();
    PaintCounter paints(ground);
    poll();
    poll();
    EXPECT_EQ(paints.all(), 0);
}

TEST_F(TonvikViewsTest, RowsKeepTheKeyboardAndThePointerWhenOthersComeAndGo) {
    const TonvikPanel& panel = openPanel();
    rowsIn(panel).front()->setFocus(Qt::TabFocusReason);
    press(Qt::Key_Down);
    press(Qt::Key_Down);
    EXPECT_EQ(focused(), "Desk monitor, HDMI");
    hardware.plugged.erase(hardware.plugged.begin() + 1);
    poll();
    EXPECT_EQ(focused(), "Desk monitor, HDMI");
    hardware.plugged.insert(hardware.plugged.begin(), output(20, "Kitchen", "airp"));
    poll();
    EXPECT_EQ(focused(), "Desk monitor, HDMI");
    hardware.defaults[Direction::output] = 13;
    poll();
    EXPECT_EQ(focused(), "Desk monitor, HDMI, in use");
    pointAt(*rowsIn(panel).at(3));
    EXPECT_TRUE(rowsIn(panel).at(3)->isHovered());
    hardware.plugged.back().name = "Everything";
    poll();
    EXPECT_TRUE(rowsIn(panel).at(3)->isHovered());
    EXPECT_EQ(focused(), "Desk monitor, HDMI, in use");
}

TEST_F(TonvikViewsTest, ThePageWorksByTheKeyboard) {
    const TonvikPanel& panel = openPanel();
    rowsIn(panel).front()->setFocus(Qt::TabFocusReason);
    press(Qt::Key_Down);
    EXPECT_EQ(focused(), "Asha's headset, Bluetooth");
    press(Qt::Key_Return);
    EXPECT_EQ(hardware.defaults.at(Direction::output), 12U);
    EXPECT_EQ(focused(), "Asha's headset, Bluetooth, in use");
    press(Qt::Key_End);
    EXPECT_EQ(focused(), "Everything at once, Virtual");
    press(Qt::Key_Space);
    EXPECT_EQ(hardware.defaults.at(Direction::output), 16U);
    press(Qt::Key_Up);
    press(Qt::Key_Enter);
    EXPECT_EQ(hardware.defaults.at(Direction::output), 15U);
    EXPECT_EQ(hardware.defaults.at(Direction::input), 12U);
    rowsIn(panel, true).front()->setFocus(Qt::TabFocusReason);
    press(Qt::Key_Space);
    EXPECT_EQ(hardware.defaults.at(Direction::input), 11U);
}

TEST_F(TonvikViewsTest, AScreenReaderChoosesARow) {
    const TonvikPanel& panel = openPanel();
    DeviceRow& row = *rowsIn(panel).at(1);
    EXPECT_EQ(spoken(row).role(), QAccessible::ListItem);
    spoken(row).actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(hardware.defaults.at(Direction::output), 12U);
    EXPECT_EQ(spoken(*row.parentWidget()).text(QAccessible::Name), "Output");
    EXPECT_EQ(spoken(*row.parentWidget()).role(), QAccessible::List);
}

TEST_F(TonvikViewsTest, TheSliderSetsTheLevelAndShowsIt) {
    const TonvikPanel& panel = openPanel();
    auto& slider = part<Slider>(panel);
    EXPECT_NEAR(slider.shown().value_or(-1), 0.42, 1e-6);
    slider.setFocus(Qt::TabFocusReason);
    press(Qt::Key_End);
    EXPECT_EQ(hardware.volumeWrites, std::vector<float>{1.0F});
    EXPECT_TRUE(showsText(panel, "Volume 100%"));
    press(Qt::Key_PageDown);
    EXPECT_EQ(hardware.volumeWrites.back(), 0.9F);
    EXPECT_TRUE(showsText(panel, "Volume 90%"));
    hardware.plugged[0].volume = 0.25F;
    poll();
    EXPECT_EQ(slider.shown(), 0.25);
    EXPECT_TRUE(showsText(panel, "Volume 25%"));
}

TEST_F(TonvikViewsTest, ALookDuringADragDoesNotMoveTheKnob) {
    const TonvikPanel& panel = openPanel();
    auto& slider = part<Slider>(panel);
    QTest::mousePress(&slider, Qt::LeftButton, {}, {slider.width() / 2, 12});
    const auto held = slider.shown();
    hardware.plugged[0].volume = 0.1F;
    poll();
    EXPECT_EQ(slider.shown(), held);
    EXPECT_TRUE(showsText(panel, "Volume 10%")) << "the figure tells what is";
    QTest::mouseRelease(&slider, Qt::LeftButton, {}, {slider.width() / 2, 12});
    EXPECT_NEAR(slider.shown().value_or(-1), 0.1, 1e-6);
}

TEST_F(TonvikViewsTest, TheMuteButtonTellsWhatItDoes) {
    const TonvikPanel& panel = openPanel();
    auto& mute = part<SymbolButton>(panel);
    EXPECT_EQ(mute.accessibleName(), "Mute");
    EXPECT_EQ(mute.symbol(), "speaker.wave.2.fill");
    QTest::mouseClick(&mute, Qt::LeftButton);
    EXPECT_EQ(hardware.plugged[0].mute, 1U);
    EXPECT_EQ(mute.accessibleName(), "Unmute");
    EXPECT_EQ(mute.symbol(), "speaker.slash.fill");
    QTest::mouseClick(&mute, Qt::LeftButton);
    EXPECT_EQ(hardware.plugged[0].mute, 0U);
    EXPECT_EQ(mute.symbol(), "speaker.wave.2.fill");
    mute.setFocus(Qt::TabFocusReason);
    press(Qt::Key_Space);
    EXPECT_EQ(hardware.plugged[0].mute, 1U);
    EXPECT_TRUE(mute.hasFocus());
}

TEST_F(TonvikViewsTest, WithoutALevelThereIsADashAndTheMuteButtonStaysUsable) {
    hardware.defaults[Direction::output] = 13;
    spice.refresh();
    const TonvikPanel& panel = openPanel();
    EXPECT_TRUE(showsText(panel, "Volume –"));
    auto& slider = part<Slider>(panel);
    EXPECT_FALSE(slider.isEnabled());
    EXPECT_EQ(slider.shown(), std::nullopt);
    QTest::mouseClick(&slider, Qt::LeftButton);
    EXPECT_TRUE(hardware.volumeWrites.empty());
    auto& mute = part<SymbolButton>(panel);
    EXPECT_TRUE(mute.isEnabled());
    QTest::mouseClick(&mute, Qt::LeftButton);
    EXPECT_EQ(mute.symbol(), "speaker.slash.fill");
    poll();
    EXPECT_EQ(mute.symbol(), "speaker.wave.2.fill") << "it has no mute";
}

TEST_F(TonvikViewsTest, NamesOfAllKindsStayOnTheirLine) {
    hardware.plugged[1].name = "Two\nlines\tand <b>marks</b> &amp; more";
    std::string endless;
    for (int count = 0; count < 50'000; ++count) {
        endless += "Very long ";
    }
    hardware.plugged[2].name = endless;
    hardware.plugged[3].name = "\xFF\xFE broken";
    hardware.plugged[4].name = "רמקולים בסלון";
    spice.refresh();
    const TonvikPanel& panel = openPanel();
    const auto rows = rowsIn(panel);
    for (const DeviceRow* row : rows) {
        EXPECT_EQ(row->height(), rows.front()->height());
        EXPECT_EQ(row->width(), rows.front()->width());
    }
    EXPECT_EQ(part<LineText>(*rows.at(1)).text(), "Two lines and <b>marks</b> &amp; more");
    const auto& cut = part<LineText>(*rows.at(2));
    EXPECT_TRUE(cut.shown().text.endsWith(QChar(0x2026)));
    EXPECT_GT(part<LineText>(*rows.at(2), 1).width(), 20) << "the transport keeps its place";
    EXPECT_TRUE(rows.at(1)->toolTip().contains("&lt;b&gt;marks"));
    savePage("tonvik-panel-hostile");
}

TEST_F(TonvikViewsTest, OnlyANameThatIsCutOffHasAToolTip) {
    hardware.plugged[1].name = std::string(400, 'x');
    spice.refresh();
    const TonvikPanel& panel = openPanel();
    for (const int index : {0, 1}) {
        DeviceRow& row = *rowsIn(panel).at(static_cast<std::size_t>(index));
        QHelpEvent event(QEvent::ToolTip, {20, 10}, row.mapToGlobal(QPoint(20, 10)));
        QApplication::sendEvent(&row, &event);
        EXPECT_EQ(event.isAccepted(), index == 1);
    }
}

TEST_F(TonvikViewsTest, TwoHundredDevicesStayQuick) {
    hardware.plugged.clear();
    for (AudioObjectId id = 1; id <= 200; ++id) {
        hardware.plugged.push_back(output(id, "Speaker", "usb "));
        hardware.plugged.back().name = "Speaker " + std::to_string(id);
        hardware.plugged.back().inputStreams = {{1}};
    }
    hardware.defaults = {{Direction::output, 1}, {Direction::input, 1}};
    spice.refresh();
    const TonvikPanel& panel = openPanel();
    EXPECT_LE(panel.findChildren<QAbstractButton*>().size(), 40)
        << "few more than those in sight are widgets";
    QElapsedTimer time;
    time.start();
    for (AudioObjectId id = 1; id <= 100; ++id) {
        hardware.defaults[Direction::output] = id;
        poll();
    }
    EXPECT_LT(time.elapsed(), 5000);
    rowsIn(panel).front()->setFocus(Qt::TabFocusReason);
    press(Qt::Key_End);
    EXPECT_EQ(focused(), "Speaker 200, USB");
    press(Qt::Key_Return);
    EXPECT_EQ(hardware.defaults.at(Direction::output), 200U);
    savePage("tonvik-panel-endless");
}

TEST_F(TonvikViewsTest, TwoDevicesWithOneNumberAreBothListed) {
    hardware.plugged = {output(11, "One", "usb "), output(11, "One", "usb "), output(12, "Other", "usb ")};
    spice.refresh();
    const TonvikPanel& panel = openPanel();
    EXPECT_EQ(rowsIn(panel).size(), 3U);
    rowsIn(panel).at(1)->setFocus(Qt::TabFocusReason);
    hardware.plugged.pop_back();
    poll();
    EXPECT_EQ(rowsIn(panel).size(), 2U);
}

TEST_F(TonvikViewsTest, AllDevicesMayGoAndComeBackUnderTheKeyboard) {
    const TonvikPanel& panel = openPanel();
    rowsIn(panel).at(3)->setFocus(Qt::TabFocusReason);
    hardware.isThere = false;
    poll();
    EXPECT_EQ(visibleTexts(part<DeviceList>(panel, 0)), (QStringList{"OUTPUT", "Nothing available."}));
    EXPECT_TRUE(showsText(panel, "Volume –"));
    hardware.isThere = true;
    poll();
    EXPECT_EQ(rowsIn(panel).size(), 6U);
}

TEST_F(TonvikViewsTest, TheMenuSectionHoldsTheSamePartsWithoutTheNote) {
    TonvikMenuSection& section = openSection();
    for (const char* text : {"VOLUME", "Volume 42%", "OUTPUT", "INPUT", "IN USE"}) {
        EXPECT_TRUE(showsText(section, text)) << text;
    }
    EXPECT_FALSE(showsText(section, note));
    EXPECT_EQ(rowsIn(section).size(), 4U) << "the others scroll";
    QTest::mouseClick(rowsIn(section).at(1), Qt::LeftButton);
    EXPECT_EQ(hardware.defaults.at(Direction::output), 12U);
    rowsIn(section).at(1)->setFocus(Qt::TabFocusReason);
    press(Qt::Key_End);
    press(Qt::Key_Return);
    EXPECT_EQ(hardware.defaults.at(Direction::output), 16U);
}

TEST_F(TonvikViewsTest, TheMenuSectionIsAsHighAsItsDevicesNeed) {
    TonvikMenuSection& section = openSection();
    const int before = section.sizeHint().height();
    hardware.plugged.resize(3);
    poll();
    EXPECT_EQ(section.sizeHint().height(), before - 30) << "three outputs in place of four";
    hardware.isThere = false;
    poll();
    EXPECT_EQ(section.sizeHint().height(), before - 30 - 2 * 30 - 30);
}

TEST_F(TonvikViewsTest, HiddenViewsListenToNothing) {
    const int before = Observable::liveObserversForTesting();
    openPanel();
    EXPECT_EQ(Observable::liveObserversForTesting(), before + 1);
    ground.hide();
    EXPECT_EQ(Observable::liveObserversForTesting(), before);
}

class TonvikInTheDashboard : public ::testing::Test {
protected:
    TonvikInTheDashboard()
        : stall(Zorbel::Blend::build(suite.host())) {
        plugIn(suite.audioHardware);
        stall->setEnabled(true, *stall->spice("tonvik"));
        stall->setSelection("tonvik");
        dashboard.reset(Zorbel::dashboardView(*stall, suite.loop).build(nullptr));
    }

    Simulated::SimulatedSuite suite;
    std::unique_ptr<ZorbelKit::Stall> stall;
    std::unique_ptr<QWidget> dashboard;
};

TEST_F(TonvikInTheDashboard, Picture) {
    show(*dashboard, {960, 640});
    savePicture(*dashboard, "dashboard-tonvik");
    dashboard->resize(840, 560);
    settle();
    savePicture(*dashboard, "dashboard-tonvik-smallest");
    EXPECT_LE(part<TonvikPanel>(*dashboard).width(), 840 - 268 - 56);
}

TEST_F(TonvikViewsTest, Pictures) {
    TonvikPanel& panel = openPanel();
    savePage("tonvik-panel");
    pointAt(*rowsIn(panel).at(2));
    rowsIn(panel).at(3)->setFocus(Qt::TabFocusReason);
    settle();
    savePage("tonvik-panel-hover-and-keyboard");
    part<Slider>(panel).setFocus(Qt::TabFocusReason);
    spice.setVolume(1);
    spice.toggleMute();
    pointAt(part<Slider>(panel));
    savePage("tonvik-panel-muted");
    spice.use(spice.outputs().at(2));
    pointAt(ground, {1, 1});
    fitPage();
    savePage("tonvik-panel-without-level");
    hardware.isThere = false;
    poll();
    fitPage();
    savePage("tonvik-panel-empty");
    EXPECT_EQ(visibleTexts(panel).count("Nothing available."), 2);
}

TEST_F(TonvikViewsTest, PicturesOfTheMenuSection) {
    hardware.plugged.resize(3);
    spice.refresh();
    TonvikMenuSection& section = openSection();
    savePicture(ground, "tonvik-menu");
    pointAt(*rowsIn(section).at(1));
    part<Slider>(section).setFocus(Qt::TabFocusReason);
    spice.toggleMute();
    settle();
    savePicture(ground, "tonvik-menu-hover-and-keyboard");
    plugIn(hardware);
    poll();
    fitSection();
    savePicture(ground, "tonvik-menu-endless");
    hardware.isThere = false;
    poll();
    fitSection();
    savePicture(ground, "tonvik-menu-empty");
    EXPECT_EQ(visibleTexts(section).count("Nothing available."), 2);
}

} // namespace
