#include "Platforms/Simulated/SimulatedSuite.hpp"
#include "Zorbel/Blend.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Spice.hpp"
#include "ZorbelKit/Stall.hpp"

#include <gtest/gtest.h>

#include <set>

namespace {

using namespace ZorbelKit;

class BlendTest : public ::testing::Test {
protected:
    std::unique_ptr<Stall> build() { return Zorbel::Blend::build(suite.host()); }

    Simulated::SimulatedSuite suite;
};

TEST_F(BlendTest, HoldsTheTenSpicesInTheirOrderWithTheirWords) {
    struct Row {
        const char* id;
        const char* name;
        const char* role;
        const char* summary;
        Wave wave;
        std::uint32_t accent;
        bool isOn;
    };
    const Row rows[] = {
        {"sivrel", "Sivrel", "Menu Bar", "Hides the menu bar icons you do not need to see.", Wave::inTheCup,
         0xC9A06A, true},
        {"mordan", "Mordan", "Clipboard", "Keeps what you copy, and puts any of it back.", Wave::inTheCup,
         0x7A9A46, true},
        {"pintho", "Pintho", "Windows", "Sets windows down in a fixed position, by keyboard.", Wave::inTheCup,
         0xA15F3A, true},
        {"rusket", "Rusket", "System Monitor", "Reads processor load, memory and pressure, once a second.",
         Wave::inTheCup, 0x939DB0, true},
        {"wendrel", "Wendrel", "Battery & Power", "Watches charge, health and where your power is going.",
         Wave::nextBatch, 0xC98A2E, false},
        {"duvesk", "Duvesk", "Storage & Uninstall",
         "Finds what is large, cached or left behind, and puts it in the Trash.", Wave::nextBatch, 0xA9B863,
         false},
        {"fotrel", "Fotrel", "Screenshot & OCR", "Captures the screen, then lifts the text back out of it.",
         Wave::nextBatch, 0xD2542A, false},
        {"hushel", "Hushel", "Focus", "Keeps the apps you named out of the way, for as long as you asked.",
         Wave::nextBatch, 0x5A7832, false},
        {"tonvik", "Tonvik", "Sound", "Switches where sound goes, without opening System Settings.",
         Wave::later, 0x82B400, false},
        {"ledgra", "Ledgra", "Notch Shelf",
         "A shelf under the notch to park files on their way somewhere else.", Wave::later, 0xC08658, false},
    };
    const auto stall = build();
    ASSERT_EQ(stall->spices().size(), std::size(rows));
    for (std::size_t index = 0; index < std::size(rows); ++index) {
        const Row& row = rows[index];
        const Spice& spice = *stall->spices()[index];
        SCOPED_TRACE(row.name);
        EXPECT_EQ(spice.id(), row.id);
        EXPECT_EQ(spice.name(), row.name);
        EXPECT_EQ(spice.role(), row.role);
        EXPECT_EQ(spice.summary(), row.summary);
        EXPECT_EQ(spice.wave(), row.wave);
        EXPECT_EQ(spice.accent(), Color::hex(row.accent));
        EXPECT_EQ(spice.isEnabled(), row.isOn);
    }
}

TEST_F(BlendTest, EverySpiceGivesAReasonOfItsOwn) {
    std::set<std::string> reasons;
    const auto stall = build();
    for (const auto& spice : stall->spices()) {
        SCOPED_TRACE(spice->id());
        EXPECT_GT(spice->reason().size(), 20u);
        EXPECT_EQ(spice->reason().back(), '.');
        EXPECT_TRUE(reasons.insert(spice->reason()).second);
    }
}

TEST_F(BlendTest, AFirstLaunchStartsTheFirstWaveSelectsTheFirstSpiceAndStoresJustThat) {
    const auto stall = build();
    EXPECT_EQ(stall->steepingCount(), 4);
    EXPECT_EQ(stall->selection(), "sivrel");
    std::set<std::string> keys;
    for (const auto& [key, value] : suite.defaults.values()) {
        keys.insert(key);
    }
    EXPECT_EQ(keys, (std::set<std::string>{"spice.sivrel.enabled", "spice.mordan.enabled",
                                           "spice.pintho.enabled", "spice.rusket.enabled", "stall.selection",
                                           "sivrel.collapsed", "ledgra.showShelf"}));
}

TEST_F(BlendTest, ASpiceThatIsOffHoldsNothing) {
    for (const char* id : {"sivrel", "mordan", "pintho", "rusket"}) {
        suite.defaults.setBoolean("spice." + std::string(id) + ".enabled", false);
    }
    const auto stall = build();
    EXPECT_EQ(stall->steepingCount(), 0);
    EXPECT_EQ(suite.liveThings(), 0);
    EXPECT_EQ(suite.statistics.processorReads, 0);
}

TEST_F(BlendTest, EverySpiceGivesBackAllItTookWhenItIsTurnedOff) {
    const auto stall = build();
    for (const auto& spice : stall->spices()) {
        stall->setEnabled(false, *spice);
    }
    const int resting = suite.liveThings();
    EXPECT_EQ(resting, 0);
    for (const auto& spice : stall->spices()) {
        SCOPED_TRACE(spice->id());
        stall->setEnabled(true, *spice);
        suite.loop.advance(Seconds{5});
        stall->setEnabled(false, *spice);
        EXPECT_EQ(suite.liveThings(), resting);
    }
}

} // namespace
