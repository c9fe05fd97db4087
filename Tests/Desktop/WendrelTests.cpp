#include "Tests/Desktop/DesktopTest.hpp"

#include <QDir>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

using namespace Desktop;

namespace {

constexpr auto panel = "Zorbel panel";
constexpr auto dashboard = "Dashboard";

/// A line to the battery session.
void steer(const std::string& line) {
    std::ofstream(std::getenv("BATTERY_SESSION")) << line << std::endl;
}

/// Whether the kernel tells of the session's battery too, and not UPower alone.
bool isInKernel() {
    return std::filesystem::exists("/sys/class/power_supply/BAT0/energy_full_design") &&
           std::getenv("UMOCKDEV_DIR");
}

} // namespace

/// The whole program with the spice that watches the battery alone, on an invented one. It looks once
/// a second.
class Wendrel : public DesktopTest {
protected:
    Wendrel() {
        choose("wendrel");
        environment["ZORBEL_DEMO"] = "1";
    }

    void SetUp() override {
        ASSERT_TRUE(std::getenv("BATTERY_SESSION")) << "to be run in a battery-session";
        environment["DBUS_SYSTEM_BUS_ADDRESS"] = std::getenv("DBUS_SYSTEM_BUS_ADDRESS");
        steer("AC online=0");
        steer("BAT0 energy_now=40500000 capacity=75 status=Discharging power_now=10000000");
    }
};

TEST_F(Wendrel, ThePanelFollowsTheBattery) {
    start();
    ASSERT_TRUE(openPanel());
    EXPECT_TRUE(says(panel, "Charge 75%"));
    EXPECT_TRUE(says(panel, "Health 90%"));
    EXPECT_TRUE(says(panel, "Cycles 123"));
    steer("BAT0 energy_now=20250000 capacity=37");
    EXPECT_TRUE(says(panel, "Charge 37%"));
    steer("BAT0 energy_now=37800000 capacity=70");
    EXPECT_TRUE(says(panel, "Charge 70%"));
    screen().picture().save(QDir(ZORBEL_PICTURES).filePath("desktop-wendrel.png"));
}

TEST_F(Wendrel, ThePageFollowsTheBattery) {
    start();
    ASSERT_TRUE(openDashboard());
    EXPECT_TRUE(says(dashboard, "State On battery"));
    EXPECT_TRUE(says(dashboard, "Remaining 4 h 3 m"));
    EXPECT_TRUE(says(dashboard, "Power 10.00 W"));
    EXPECT_TRUE(says(dashboard, "Condition Normal"));
    EXPECT_TRUE(says(dashboard, "Nothing to do"));
    steer("AC online=1");
    steer("BAT0 status=Charging energy_now=27000000 capacity=50");
    EXPECT_TRUE(says(dashboard, "State Charging"));
    EXPECT_TRUE(says(dashboard, "Remaining 2 h 42 m"));
    steer("BAT0 status=Not_charging power_now=0");
    EXPECT_TRUE(says(dashboard, "State Plugged in"));
    EXPECT_TRUE(says(dashboard, "Remaining Calculating"));
    if (isInKernel()) { // UPower makes up its own mind about a rate
        EXPECT_TRUE(says(dashboard, "Power 0.00 W"));
    }
    EXPECT_FALSE(shown(dashboard, "Two hours of history will appear here.")) << "there is a trace by now";
    screen().picture().save(QDir(ZORBEL_PICTURES).filePath("desktop-wendrel-page.png"));
}

TEST_F(Wendrel, W10_TheBatteryIsTakenOutAndPutBack) {
    start();
    ASSERT_TRUE(openDashboard());
    ASSERT_TRUE(says(dashboard, "State On battery"));
    steer("BAT0 remove");
    EXPECT_TRUE(says(dashboard, "This Mac has no battery."));
    EXPECT_TRUE(says(dashboard, "Wendrel has nothing to watch on a desktop. Leave it off."));
    steer("BAT0 add");
    EXPECT_TRUE(says(dashboard, "State On battery"));
    steer("BAT0 remove");
    EXPECT_TRUE(says(dashboard, "This Mac has no battery."));
    ASSERT_TRUE(click(dashboard, "Wendrel", ATSPI_ROLE_CHECK_BOX)); // no reading is left then
    ASSERT_TRUE(waitForSetting("spice.wendrel.enabled", false));
    ASSERT_TRUE(click(dashboard, "Wendrel", ATSPI_ROLE_CHECK_BOX));
    ASSERT_TRUE(waitForSetting("spice.wendrel.enabled", true));
    ASSERT_TRUE(openPanel());
    EXPECT_TRUE(says(panel, "No battery."));
    steer("BAT0 add");
    EXPECT_TRUE(says(panel, "Charge 75%"));
}

TEST_F(Wendrel, W22_UPowerMayEndOrHangWhileThePanelIsOpen) {
    start();
    ASSERT_TRUE(openPanel());
    ASSERT_TRUE(says(panel, "Charge 75%"));
    steer("upowerd freeze");
    if (isInKernel()) {
        steer("BAT0 energy_now=21600000 capacity=40");
        EXPECT_TRUE(says(panel, "Charge 40%")) << "the kernel is enough";
    }
    screen().press(0xFF1B); // Escape
    EXPECT_TRUE(waitForPanel(false)) << "the glass goes on";
    steer("upowerd thaw");
    steer("upowerd end");
    ASSERT_TRUE(openPanel());
    if (isInKernel()) {
        steer("BAT0 energy_now=32400000 capacity=60");
        EXPECT_TRUE(says(panel, "Charge 60%"));
    }
    steer("upowerd start");
    steer("BAT0 energy_now=10800000 capacity=20");
    EXPECT_TRUE(says(panel, "Charge 20%"));
}
