#include "Platforms/Linux/Power/PowerSupplies.hpp"
#include "Tests/TemporaryFolder.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <thread>

using Linux::BatteryPack;
using Linux::combined;
using Linux::MachineBattery;
using Linux::PowerReading;
using Linux::RemainingTime;
using Wendrel::PropertyList;
using Flow = MachineBattery::Flow;

namespace {

using namespace std::chrono_literals;

/// What a tree of supplies comes to; 0, false and "" where its lists do not say.
struct Figures {
    std::int64_t current = 0, maximum = 0; // of the same unit
    bool isCharging = false;
    bool isPluggedIn = false;
    std::int64_t minutes = 0;                      // until full while charging, empty otherwise
    std::int64_t designCapacity = 0, capacity = 0; // mAh
    std::int64_t cycles = 0;
    std::int64_t millivolts = 0, milliamperes = 0; // negative while discharging
    std::int64_t temperature = 0;                  // hundredths of a degree Celsius
    std::int64_t watts = 0;
    std::string condition = {};
    bool hasFailed = false;

    bool operator==(const Figures&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Figures& figures) {
    return out << figures.current << " of " << figures.maximum << (figures.isCharging ? ", charging" : "")
               << (figures.isPluggedIn ? ", plugged in" : "") << ", " << figures.minutes << " min, design "
               << figures.designCapacity << ", full " << figures.capacity << ", cycles " << figures.cycles
               << ", " << figures.millivolts << " mV, " << figures.milliamperes << " mA, "
               << figures.temperature << " °C/100, " << figures.watts << " W, \"" << figures.condition << '"'
               << (figures.hasFailed ? ", failed" : "");
}

/// The figures of what the model is given.
Figures figuresOf(const PropertyList& entry, const PropertyList& source) {
    Figures figures;
    figures.current = source.integer("Current Capacity").value_or(0);
    figures.maximum = source.integer("Max Capacity").value_or(0);
    figures.isCharging = source.boolean("Is Charging").value_or(false);
    figures.isPluggedIn = source.text("Power Source State") == "AC Power";
    figures.minutes =
        source.integer(figures.isCharging ? "Time to Full Charge" : "Time to Empty").value_or(0);
    figures.designCapacity = entry.integer("DesignCapacity").value_or(0);
    figures.capacity = entry.integer("NominalChargeCapacity").value_or(0);
    figures.cycles = entry.integer("CycleCount").value_or(0);
    figures.millivolts = entry.integer("Voltage").value_or(0);
    figures.milliamperes = entry.integer("Amperage").value_or(0);
    figures.milliamperes -= figures.milliamperes >= 0x80000000 ? 0x100000000 : 0;
    figures.temperature = entry.integer("Temperature").value_or(0);
    const PropertyList* adapter = entry.list("AdapterDetails");
    figures.watts = adapter ? adapter->integer("Watts").value_or(0) : 0;
    figures.condition = source.text("BatteryHealthCondition").value_or("");
    figures.hasFailed = entry.integer("PermanentFailureStatus").value_or(0) != 0;
    return figures;
}

/// Of a first sample; none where the tree shows no battery.
std::optional<Figures> figuresOf(const std::filesystem::path& folder) {
    const auto battery = combined(Linux::readPowerSupplies(folder));
    if (!battery) {
        return std::nullopt;
    }
    const PropertyList source = powerSource(*battery, RemainingTime().minutes(*battery, {}));
    EXPECT_EQ(source.text("Type"), "InternalBattery");
    return figuresOf(registryEntry(*battery), source);
}

std::filesystem::path recorded(const std::string& tree) {
    return std::filesystem::path(POWER_SUPPLIES) / tree;
}

/// Half full, on battery: the tree "thinkpad", which many others vary.
Figures notebook() {
    return {.current = 25'650'000,
            .maximum = 51'300'000,
            .minutes = 180,
            .designCapacity = 5000,
            .capacity = 4500,
            .cycles = 212,
            .millivolts = 11'850,
            .milliamperes = -722};
}

template <class Change>
Figures notebookWith(Change change) {
    Figures figures = notebook();
    change(figures);
    return figures;
}

const Figures twoPacks{.current = 51'300'000,
                       .maximum = 102'600'000,
                       .minutes = 300,
                       .designCapacity = 10'000,
                       .capacity = 9000,
                       .cycles = 212,
                       .millivolts = 12'000,
                       .milliamperes = -855};

const Figures inCharge{.current = 4'050'000,
                       .maximum = 5'400'000,
                       .minutes = 180,
                       .designCapacity = 6000,
                       .capacity = 5400,
                       .millivolts = 8012,
                       .milliamperes = -1350};

struct Recording {
    const char* tree;
    std::optional<Figures> figures;
};

const Recording recordings[] = {
    {"thinkpad", notebook()},
    {"dell", inCharge},
    {"phone", Figures{.current = 83,
                      .maximum = 100,
                      .isCharging = true,
                      .isPluggedIn = true,
                      .temperature = 3120,
                      .watts = 18}},
    {"phone-alone", Figures{.current = 100, .maximum = 100, .isPluggedIn = true}},
    {"acpi-since-6.16", inCharge},
    {"qualcomm", Figures{.current = 24'000'000,
                         .maximum = 48'000'000,
                         .minutes = 240,
                         .designCapacity = 3200,
                         .capacity = 3101,
                         .cycles = 41,
                         .millivolts = 15'000,
                         .milliamperes = -400,
                         .temperature = 2870}},
    {"macsmc", Figures{.current = 2'700'000,
                       .maximum = 4'500'000,
                       .isCharging = true,
                       .isPluggedIn = true,
                       .minutes = 54,
                       .designCapacity = 4382,
                       .capacity = 4500,
                       .cycles = 88,
                       .millivolts = 12'300,
                       .milliamperes = 2000,
                       .temperature = 3010,
                       .watts = 60}},
    {"axp20x", Figures{.current = 64, .maximum = 100, .millivolts = 3820, .milliamperes = -450}},
    {"two-batteries", Figures{.current = 22'970'000,
                              .maximum = 50'000'000,
                              .minutes = 197,
                              .designCapacity = 4737,
                              .capacity = 4386,
                              .cycles = 300,
                              .millivolts = 11'700,
                              .milliamperes = -598}},
    {"one-not-charging", twoPacks},
    {"one-unknown", twoPacks},
    {"mixed-units", Figures{.current = 76'950'000,
                            .maximum = 102'600'000,
                            .minutes = 180,
                            .designCapacity = 10'700,
                            .capacity = 9630,
                            .cycles = 212,
                            .millivolts = 10'925,
                            .milliamperes = -2348}},
    {"one-dead", notebookWith([](Figures& f) {
         f.current = f.maximum;
         f.isPluggedIn = true;
         f.minutes = f.milliamperes = 0;
     })},
    {"one-absent", notebook()},
    {"empty-bay", std::nullopt},
    {"charge-limit", notebookWith([](Figures& f) {
         f.current = 41'040'000;
         f.isPluggedIn = true;
         f.minutes = f.milliamperes = 0;
     })},
    {"weak-charger", notebookWith([](Figures& f) {
         f.isPluggedIn = true;
         f.minutes = 649;
         f.milliamperes = -200;
         f.watts = 8;
     })},
    {"usb-c", notebookWith([](Figures& f) {
         f.isCharging = f.isPluggedIn = true;
         f.minutes = 75;
         f.milliamperes = 1732;
         f.watts = 65;
     })},
    {"programmable", notebookWith([](Figures& f) {
         f.isCharging = f.isPluggedIn = true;
         f.minutes = 60;
         f.milliamperes = 2165;
         f.watts = 105;
     })},
    {"wireless", Figures{.current = 4'050'000,
                         .maximum = 5'400'000,
                         .isCharging = true,
                         .isPluggedIn = true,
                         .minutes = 120,
                         .designCapacity = 6000,
                         .capacity = 5400,
                         .millivolts = 8012,
                         .milliamperes = 675}},
    {"feeding-a-phone", notebook()},
    {"desktop", std::nullopt},
    {"desktop-with-mouse", std::nullopt},
    {"desktop-with-keyboard", std::nullopt},
    {"desktop-with-ups", std::nullopt},
    {"nonsense-firmware", Figures{.current = 326'920'000,
                                  .maximum = 653'840'000,
                                  .designCapacity = 13'840,
                                  .capacity = 653'840,
                                  .millivolts = 8012,
                                  .milliamperes = -1350,
                                  .condition = "\uFFFD\uFFFDbad"}},
    {"negative-temperature", notebookWith([](Figures& f) {
         f.cycles = 0;
         f.condition = "Cold";
     })},
    {"no-temperature", notebook()},
    {"overflow", Figures{.current = 57, .maximum = 100, .isPluggedIn = true}},
    {"above-full", notebookWith([](Figures& f) {
         f.current = f.maximum = 57'750'000;
         f.capacity = 5066;
         f.isPluggedIn = true;
         f.minutes = f.milliamperes = 0;
     })},
    {"above-design", notebookWith([](Figures& f) {
         f.maximum = 59'850'000;
         f.capacity = 5250;
     })},
    {"failed", notebookWith([](Figures& f) {
         f.current = 0;
         f.isPluggedIn = true;
         f.minutes = f.milliamperes = 0;
         f.condition = "Dead";
         f.hasFailed = true;
     })},
    {"unspecified-failure", notebookWith([](Figures& f) {
         f.condition = "Unspecified failure";
         f.hasFailed = true;
     })},
    {"overheated", notebookWith([](Figures& f) {
         f.condition = "Overheat";
         f.temperature = 6150;
     })},
    {"energy-by-current", notebookWith([](Figures& f) {
         f.millivolts = 11'400;
         f.milliamperes = -750;
     })},
    {"capacity-for-now", notebookWith([](Figures& f) {
         f.current = 20'520'000;
         f.minutes = 144;
     })},
    {"slow-drain", notebookWith([](Figures& f) {
         f.minutes = 0;
         f.milliamperes = -1;
     })},
    {"long-time", notebookWith([](Figures& f) {
         f.minutes = 0;
         f.milliamperes = -21;
     })},
    {"files-only", notebook()},
    {"short-uevent", notebook()},
};

/// A folder of supplies made for one test and removed with it.
class SupplyTree {
public:
    SupplyTree() = default;
    explicit SupplyTree(const std::string& tree) {
        std::filesystem::copy(recorded(tree), path(), std::filesystem::copy_options::recursive);
    }

    const std::filesystem::path& path() const { return folder_.path(); }
    void write(const std::string& file, std::string_view text) const {
        std::filesystem::create_directories((path() / file).parent_path());
        std::ofstream(path() / file, std::ios::binary | std::ios::trunc) << text;
    }
    void remove(const std::string& file) const { std::filesystem::remove_all(path() / file); }
    /// In place of what is there.
    void makeFolder(const std::string& file) const {
        remove(file);
        std::filesystem::create_directories(path() / file);
    }
    void makeLink(const std::string& file, const std::filesystem::path& target) const {
        remove(file);
        std::filesystem::create_symlink(target, path() / file);
    }
    void makePipe(const std::string& file) const {
        remove(file);
        ASSERT_EQ(::mkfifo((path() / file).c_str(), 0600), 0);
    }

private:
    TemporaryFolder folder_;
};

/// Opens like any file, and gives an error when it is read.
constexpr auto unreadableFile = "/proc/self/mem";

MachineBattery battery(Flow flow, double watts, double wattHoursToGo = 30) {
    MachineBattery battery;
    battery.packs = 1;
    battery.flow = flow;
    battery.toGo = wattHoursToGo * 1e6;
    battery.rate = battery.power = watts * 1e6;
    return battery;
}

RemainingTime::Moment moment(std::chrono::seconds sinceStart) {
    return RemainingTime::Moment{} + 1h + sinceStart;
}

} // namespace

TEST(PowerSupplies, ReadsTheBatteriesOfManyMachines) {
    for (const Recording& recording : recordings) {
        SCOPED_TRACE(recording.tree);
        ASSERT_TRUE(std::filesystem::is_directory(recorded(recording.tree)));
        const auto figures = figuresOf(recorded(recording.tree));
        ASSERT_EQ(figures.has_value(), recording.figures.has_value());
        if (figures) {
            EXPECT_EQ(*figures, *recording.figures);
        }
    }
}

TEST(PowerSupplies, HasAnExpectationForEveryRecording) {
    for (const auto& entry : std::filesystem::directory_iterator(POWER_SUPPLIES)) {
        EXPECT_TRUE(std::ranges::any_of(recordings, [&entry](const Recording& recording) {
            return entry.path().filename() == recording.tree;
        })) << entry.path();
    }
}

TEST(PowerSupplies, StoresADischargingAmperageUnsigned) {
    const auto battery = combined(Linux::readPowerSupplies(recorded("dell")));
    ASSERT_TRUE(battery);
    EXPECT_EQ(registryEntry(*battery).integer("Amperage"), 4'294'967'296 - 1350);
}

TEST(PowerSupplies, W05_TwoBatteriesAreOneBySize) {
    const auto figures = figuresOf(recorded("two-batteries"));
    ASSERT_TRUE(figures);
    EXPECT_EQ(100 * figures->current / figures->maximum, 45); // 5 % of 27 Wh and 94 % of 23 Wh
}

TEST(PowerSupplies, LeavesOutWhatIsNotThere) {
    const auto battery = combined(Linux::readPowerSupplies(recorded("phone-alone")));
    ASSERT_TRUE(battery);
    EXPECT_EQ(registryEntry(*battery), PropertyList());
    const PropertyList source = powerSource(*battery, std::nullopt);
    EXPECT_FALSE(source.integer("Time to Empty"));
    EXPECT_FALSE(source.integer("Time to Full Charge"));
    EXPECT_FALSE(source.text("BatteryHealthCondition"));
}

TEST(PowerSupplies, AMissingFolderShowsNoBattery) {
    const SupplyTree tree;
    EXPECT_FALSE(figuresOf(tree.path()));
    EXPECT_FALSE(figuresOf(tree.path() / "nowhere"));
    tree.write("file", "text");
    EXPECT_FALSE(figuresOf(tree.path() / "file"));
    EXPECT_FALSE(figuresOf(tree.path()));
}

TEST(PowerSupplies, W04_AFileThatCannotBeReadIsMissing) {
    const SupplyTree tree("files-only");
    tree.makeLink("CMB0/uevent", unreadableFile);
    tree.makeLink("CMB0/cycle_count", unreadableFile);
    tree.makeFolder("CMB0/power_now");
    tree.makeLink("CMB0/temp", "nowhere");
    tree.makeLink("CMB0/health", "health");
    tree.makePipe("CMB0/current_now");
    tree.write("CMB0/capacity", "");
    const Figures expected = notebookWith([](Figures& f) { f.cycles = f.minutes = f.milliamperes = 0; });
    EXPECT_EQ(figuresOf(tree.path()), expected);
}

TEST(PowerSupplies, ASupplyThatCannotBeReadIsLeftOut) {
    const SupplyTree tree("thinkpad");
    tree.makeLink("BAT1", "../gone");
    tree.makeLink("BAT2", "BAT2");
    tree.write("BAT3", "POWER_SUPPLY_TYPE=Battery\n");
    tree.makeFolder("BAT4/uevent");
    tree.makePipe("BAT5");
    EXPECT_EQ(figuresOf(tree.path()), notebook());
}

TEST(PowerSupplies, FollowsLinksToSupplies) {
    const SupplyTree devices("thinkpad");
    const SupplyTree tree;
    tree.makeLink("BAT0", devices.path() / "BAT0");
    EXPECT_EQ(figuresOf(tree.path()), notebook());
}

TEST(PowerSupplies, W09_TakesAnyName) {
    const SupplyTree tree("thinkpad");
    std::filesystem::rename(tree.path() / "BAT0", tree.path() / "\xff\xfe\n\x80");
    EXPECT_EQ(figuresOf(tree.path()), notebook());
}

TEST(PowerSupplies, TakesNoNumberThatWasCutOff) {
    const SupplyTree tree;
    std::string text = "POWER_SUPPLY_TYPE=Battery\nPOWER_SUPPLY_STATUS=Full\nPOWER_SUPPLY_MODEL_NAME=";
    const std::string last = "\nPOWER_SUPPLY_CAPACITY=9";
    text += std::string(4096 - text.size() - last.size(), 'x') + last + "7\n";
    tree.write("BAT0/uevent", text);
    EXPECT_EQ(figuresOf(tree.path()), (Figures{.isPluggedIn = true}));
}

TEST(PowerSupplies, AValueThatIsNoNumberIsMissing) {
    for (const char* value : {"", " ", "half", "57%", "0x39", "-57", "5 7", "1e2", "99999999999999999999"}) {
        SCOPED_TRACE(value);
        const SupplyTree tree;
        tree.write("BAT0/uevent",
                   std::string("POWER_SUPPLY_TYPE=Battery\nPOWER_SUPPLY_CAPACITY=") + value + "\n");
        const auto figures = figuresOf(tree.path());
        ASSERT_TRUE(figures);
        EXPECT_EQ(figures->maximum, 0);
    }
}

TEST(PowerSupplies, AKeyIsNotTheEndOrTheBeginningOfAnother) {
    const SupplyTree tree;
    tree.write("BAT0/uevent", "POWER_SUPPLY_TYPE=Battery\nPOWER_SUPPLY_CAPACITY_LEVEL=Full\n"
                              "POWER_SUPPLY_MODEL_NAME=POWER_SUPPLY_CAPACITY=12\nPOWER_SUPPLY_CAPACITY=34\n");
    const auto figures = figuresOf(tree.path());
    ASSERT_TRUE(figures);
    EXPECT_EQ(figures->current, 34);
}

TEST(PowerSupplies, ReadsNoMoreThanAMachineHas) {
    const SupplyTree tree;
    for (int number = 0; number < 100; ++number) {
        tree.write("BAT" + std::to_string(number) + "/uevent",
                   "POWER_SUPPLY_TYPE=Battery\nPOWER_SUPPLY_CAPACITY=50\n");
    }
    EXPECT_EQ(Linux::readPowerSupplies(tree.path()).packs.size(), 64U);
}

TEST(PowerSupplies, W10_ABatteryComesAndGoes) {
    const SupplyTree tree("thinkpad");
    const SupplyTree other("thinkpad");
    std::filesystem::rename(tree.path() / "BAT0", other.path() / "away");
    EXPECT_FALSE(figuresOf(tree.path()));
    std::filesystem::rename(other.path() / "away", tree.path() / "BAT0");
    EXPECT_EQ(figuresOf(tree.path()), notebook());
}

TEST(PowerSupplies, W10_ABatteryMayGoWhileItIsRead) {
    const SupplyTree tree("thinkpad");
    const SupplyTree other;
    std::atomic isOver = false;
    std::thread hand([&] {
        while (!isOver) {
            std::filesystem::rename(tree.path() / "BAT0", other.path() / "away");
            std::filesystem::rename(other.path() / "away", tree.path() / "BAT0");
        }
    });
    for (int reading = 0; reading < 2000; ++reading) {
        const auto battery = combined(Linux::readPowerSupplies(tree.path()));
        if (battery && battery->maximum) {
            EXPECT_EQ(battery->maximum, 51'300'000);
        }
    }
    isOver = true;
    hand.join();
}

TEST(PowerSupplies, W07_ADeadPackIsTheBatteryWhereThereIsNoOther) {
    PowerReading reading;
    reading.packs.push_back({.energyNow = 0,
                             .energyFull = 48e6,
                             .energyDesign = 57e6,
                             .voltage = 0,
                             .nominalVoltage = 11.4e6,
                             .health = "Dead"});
    auto machine = combined(reading);
    ASSERT_TRUE(machine);
    EXPECT_EQ(machine->current, 0);
    EXPECT_TRUE(machine->hasFailed);

    reading.packs.push_back({.energyNow = 40e6, .energyFull = 40e6, .voltage = 12e6});
    machine = combined(reading);
    ASSERT_TRUE(machine);
    EXPECT_EQ(machine->packs, 1);
    EXPECT_EQ(machine->current, machine->maximum);
    EXPECT_TRUE(machine->hasFailed) << "its owner wants to know";
}

TEST(PowerSupplies, APackThatTellsHalfDoesNotBendTheHealth) {
    PowerReading reading;
    reading.packs.push_back({.chargeFull = 4.5e6, .chargeDesign = 5e6});
    reading.packs.push_back({.chargeDesign = 5e6});
    const auto machine = combined(reading);
    ASSERT_TRUE(machine);
    EXPECT_EQ(machine->designCapacity, 5000);
    EXPECT_EQ(machine->fullCapacity, 4500);
}

TEST(PowerSupplies, W03_TheSignComesFromTheStatus) {
    struct Row {
        const char* name;
        BatteryPack::Status status;
        double current; // mA, as the driver says
        bool isMainsKnown;
        bool isOnline;
        std::int64_t amperage; // mA
    };
    using Status = BatteryPack::Status;
    const Row rows[] = {
        {"discharging, unsigned", Status::discharging, 900, true, false, -900},
        {"discharging, signed", Status::discharging, -900, true, false, -900},
        {"charging", Status::charging, 900, true, true, 900},
        {"charging, turned round", Status::charging, -900, true, true, 900},
        {"weak charger", Status::discharging, 900, true, true, -900},
        {"unknown without mains", Status::unknown, 900, true, false, -900},
        {"unknown on mains", Status::unknown, 900, true, true, 900},
        {"unknown on mains, signed", Status::unknown, -900, true, true, -900},
        {"full", Status::full, 5, true, true, 5},
        {"nothing known", Status::unknown, 900, false, false, 900},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        PowerReading reading{
            .packs = {{.status = row.status, .voltage = 12e6, .current = row.current * 1000}},
            .mains = {.isKnown = row.isMainsKnown, .isOnline = row.isOnline}};
        const auto machine = combined(reading);
        ASSERT_TRUE(machine);
        EXPECT_EQ(machine->amperage, row.amperage);
    }
}

TEST(RemainingTime, IsTheMeanOfTheLastThreeSamples) {
    RemainingTime time;
    EXPECT_EQ(time.minutes(battery(Flow::discharging, 10), moment(0s)), 180);
    EXPECT_EQ(time.minutes(battery(Flow::discharging, 20), moment(30s)), 120);
    EXPECT_EQ(time.minutes(battery(Flow::discharging, 60), moment(60s)), 60);
    EXPECT_EQ(time.minutes(battery(Flow::discharging, 20), moment(90s)), 54);
}

TEST(RemainingTime, W12_NoneForABatteryHardlyUsed) {
    struct Row {
        const char* name;
        double watts;
        double wattHours;
        std::optional<std::int64_t> minutes;
    };
    const Row rows[] = {
        {"a hundredth of a watt", 0.01, 16.39, std::nullopt},
        {"just below the least", 0.1999, 1, std::nullopt},
        {"the least", 0.2, 1, 300},
        {"two days", 1, 48, 2880},
        {"longer", 1, 48.1, std::nullopt},
        {"none at all", 0, 30, std::nullopt},
        {"a minute", 60, 1, 1},
        {"less", 61, 1, std::nullopt},
        {"empty", 10, 0, std::nullopt},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(RemainingTime().minutes(battery(Flow::discharging, row.watts, row.wattHours), moment(0s)),
                  row.minutes);
    }
}

TEST(RemainingTime, W13_NoneInTheFirstMinuteAfterUnplugging) {
    RemainingTime time;
    EXPECT_EQ(time.minutes(battery(Flow::charging, 60, 30), moment(0s)), 30);
    EXPECT_EQ(time.minutes(battery(Flow::discharging, 60), moment(30s)), std::nullopt) << "of the charger";
    EXPECT_EQ(time.minutes(battery(Flow::discharging, 0), moment(60s)), std::nullopt);
    EXPECT_EQ(time.minutes(battery(Flow::discharging, 10), moment(90s)), 180) << "without those before";
}

TEST(RemainingTime, W11_NoneWhileItNeitherChargesNorDischarges) {
    RemainingTime time;
    EXPECT_EQ(time.minutes(battery(Flow::none, 10), moment(0s)), std::nullopt);
    EXPECT_EQ(time.minutes(battery(Flow::discharging, 10), moment(30s)), std::nullopt) << "just unplugged";
    EXPECT_EQ(time.minutes(battery(Flow::discharging, 10), moment(90s)), 180);
}

TEST(RemainingTime, StartsAnewAfterALongPause) {
    RemainingTime time;
    EXPECT_EQ(time.minutes(battery(Flow::charging, 60), moment(0s)), 30);
    EXPECT_EQ(time.minutes(battery(Flow::discharging, 10), moment(301s)), 180);
    EXPECT_EQ(time.minutes(battery(Flow::discharging, 30), moment(3000s)), 60);
}
