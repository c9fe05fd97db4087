#include "Platforms/Linux/Power/LinuxBattery.hpp"
#include "Platforms/Qt/QtMainLoop.hpp"
#include "Platforms/Simulated/SimulatedMainLoop.hpp"
#include "Tests/Desktop/Desktop.hpp"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>
#include <QRegularExpression>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace Desktop;
using Linux::LinuxBattery;
using Wendrel::PropertyList;

constexpr auto service = "org.freedesktop.UPower";
constexpr auto deviceInterface = "org.freedesktop.UPower.Device";
constexpr std::chrono::milliseconds longestRead{50};

/// One sample, as the spice takes it.
struct Sample {
    std::optional<PropertyList> entry;
    std::optional<PropertyList> source;

    std::optional<std::int64_t> number(const char* name) const {
        return source ? source->integer(name) : std::nullopt;
    }
};

Sample sampled(LinuxBattery& battery) {
    const auto start = std::chrono::steady_clock::now();
    Sample sample{.entry = battery.properties(), .source = std::nullopt};
    const auto sources = battery.sources();
    EXPECT_EQ(battery.sources(), sources);
    EXPECT_LT(std::chrono::steady_clock::now() - start, longestRead);
    if (sources && !sources->empty()) {
        sample.source = sources->front();
    }
    return sample;
}

/// A folder like the kernel's, with as many batteries: half of 54 Wh each, at 9 W.
class Supplies {
public:
    explicit Supplies(int batteries, const std::string& status = "Discharging") {
        for (int number = 0; number < batteries; ++number) {
            const auto battery = folder_.path() / ("BAT" + std::to_string(number));
            std::filesystem::create_directories(battery);
            std::ofstream(battery / "uevent")
                << "POWER_SUPPLY_TYPE=Battery\nPOWER_SUPPLY_STATUS=" << status
                << "\nPOWER_SUPPLY_PRESENT=1\nPOWER_SUPPLY_VOLTAGE_NOW=12000000\n"
                   "POWER_SUPPLY_POWER_NOW=9000000\n"
                   "POWER_SUPPLY_ENERGY_FULL=54000000\n"
                   "POWER_SUPPLY_ENERGY_NOW=27000000\n";
        }
    }
    const std::filesystem::path& path() const { return folder_.path(); }

private:
    TemporaryFolder folder_;
};

constexpr std::int64_t ownMinutes = 180;    // of the folder's batteries
constexpr std::int64_t upowerMinutes = 243; // of the session's battery

/// A UPower that says whatever a test wants.
class UPowerDouble : public QDBusVirtualObject {
public:
    explicit UPowerDouble(QDBusConnection bus)
        : bus_(std::move(bus)) {
        bus_.registerVirtualObject("/org/freedesktop/UPower", this, QDBusConnection::SubPath);
    }
    ~UPowerDouble() override {
        bus_.unregisterService(service);
        bus_.unregisterObject("/org/freedesktop/UPower");
    }

    bool start() { return bus_.registerService(service); }

    /// A battery of the machine's own, but for what is changed of it.
    void add(const QString& name, const QVariantMap& changes = {}) {
        QVariantMap properties{{"Type", 2U},
                               {"PowerSupply", true},
                               {"IsPresent", true},
                               {"State", 2U},
                               {"Percentage", 40.0},
                               {"Energy", 20.0},
                               {"EnergyFull", 50.0},
                               {"EnergyRate", 10.0},
                               {"Voltage", 12.0},
                               {"BatteryLevel", 1U},
                               {"TimeToEmpty", qlonglong{6000}}};
        for (auto change = changes.begin(); change != changes.end(); ++change) {
            properties.insert(change.key(), change.value());
        }
        devices[path(name)] = properties;
    }

    void tell(const QString& name, const QVariantMap& changed, const QStringList& invalidated = {}) {
        QDBusMessage signal =
            QDBusMessage::createSignal(path(name), "org.freedesktop.DBus.Properties", "PropertiesChanged");
        signal << QString(deviceInterface) << changed << invalidated;
        bus_.send(signal);
    }

    static QString path(const QString& name) { return "/org/freedesktop/UPower/devices/" + name; }

    /// Keeps what it is asked and answers when it is told to.
    bool isLate = false;
    void answerAll() {
        isLate = false;
        for (const QDBusMessage& question : std::exchange(waiting, {})) {
            answer(question);
        }
    }

    std::map<QString, QVariantMap> devices;
    std::vector<QDBusMessage> waiting;
    int questions = 0;

private:
    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& question, const QDBusConnection&) override {
        ++questions;
        if (isLate) {
            waiting.push_back(question);
        } else {
            answer(question);
        }
        return true;
    }

    void answer(const QDBusMessage& question) {
        if (question.member() == "EnumerateDevices") {
            QList<QDBusObjectPath> paths;
            for (const auto& [devicePath, properties] : devices) {
                paths << QDBusObjectPath(devicePath);
            }
            bus_.send(question.createReply(QVariant::fromValue(paths)));
        } else if (const auto found = devices.find(question.path()); found != devices.end()) {
            bus_.send(question.createReply(QVariant(found->second)));
        } else {
            bus_.send(question.createErrorReply(QDBusError::UnknownObject, "No such device"));
        }
    }

    QDBusConnection bus_;
};

/// A bus with UPower on it and a battery in its hands.
class Power : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(std::getenv("BATTERY_SESSION")) << "to be run in a battery-session";
        address_ = qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS");
        ASSERT_TRUE(bus().isConnected());
        resetBattery();
        makeBattery();
    }

    void TearDown() override {
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", address_.toUtf8());
        fake_.reset();
        battery.reset();
        if (hasEndedUPower_) {
            steer("upowerd start");
            EXPECT_TRUE(until([] { return isUPowerThere(); }));
        }
    }

    /// On the folder of a machine of which the kernel says nothing, unless there is another.
    void makeBattery(const std::filesystem::path& supplies = "/nowhere") {
        battery = std::make_unique<LinuxBattery>(loop_, supplies);
    }

    static void steer(const std::string& line) {
        std::ofstream(std::getenv("BATTERY_SESSION")) << line << std::endl;
    }

    static void resetBattery() {
        steer("AC online=0");
        steer("BAT0 energy_now=40500000 capacity=75 status=Discharging");
    }

    static QDBusConnection bus() { return QDBusConnection::systemBus(); }
    static bool isUPowerThere() { return bus().interface()->isServiceRegistered(service); }
    static int connections() {
        const QStringList names = bus().interface()->registeredServiceNames();
        return static_cast<int>(names.filter(QRegularExpression("^:")).size());
    }

    void endUPower() {
        hasEndedUPower_ = true;
        steer("upowerd end");
        ASSERT_TRUE(until([] { return !isUPowerThere(); }));
    }

    /// Until it is thawed.
    static void freezeUPower() {
        const std::string status =
            "/proc/" + std::to_string(bus().interface()->servicePid(service)) + "/stat";
        steer("upowerd freeze");
        ASSERT_TRUE(until([&status] {
            std::ifstream file(status);
            std::string number, name, state;
            file >> number >> name >> state;
            return state == "T";
        }));
    }

    /// In place of the real one.
    UPowerDouble& fakeUPower() {
        endUPower();
        fake_ = std::make_unique<UPowerDouble>(bus());
        return *fake_;
    }

    bool comesTo(std::int64_t current, const char* timeName, std::optional<std::int64_t> minutes) {
        return until([&] {
            const Sample sample = sampled(*battery);
            return sample.number("Current Capacity") == current && sample.number(timeName) == minutes;
        });
    }

    bool comesToNothing() {
        return until([this] { return !sampled(*battery).source; });
    }

    std::unique_ptr<LinuxBattery> battery;

private:
    QtPlatform::QtMainLoop loop_;
    QString address_;
    std::unique_ptr<UPowerDouble> fake_;
    bool hasEndedUPower_ = false;
};

} // namespace

TEST_F(Power, DescribesABatteryThatOnlyUPowerKnows) {
    EXPECT_FALSE(sampled(*battery).source) << "nothing waits for the answer";
    ASSERT_TRUE(comesTo(40'500'000, "Time to Empty", upowerMinutes));
    const Sample sample = sampled(*battery);
    EXPECT_EQ(sample.source->text("Type"), "InternalBattery");
    EXPECT_EQ(sample.number("Max Capacity"), 54'000'000);
    EXPECT_EQ(sample.source->boolean("Is Charging"), false);
    EXPECT_EQ(sample.source->text("Power Source State"), "Battery Power");
    ASSERT_TRUE(sample.entry);
    EXPECT_EQ(sample.entry->integer("DesignCapacity"), 5000);
    EXPECT_EQ(sample.entry->integer("NominalChargeCapacity"), 4500);
    EXPECT_EQ(sample.entry->integer("CycleCount"), 123);
    EXPECT_EQ(sample.entry->integer("Voltage"), 12'000);
    EXPECT_EQ(sample.entry->integer("Amperage"), 4'294'967'296 - 833);
}

TEST_F(Power, ValuesThatChangeArrive) {
    ASSERT_TRUE(comesTo(40'500'000, "Time to Empty", upowerMinutes));
    steer("BAT0 energy_now=20250000 capacity=37");
    EXPECT_TRUE(comesTo(20'250'000, "Time to Empty", 122));
    steer("AC online=1");
    steer("BAT0 status=Charging");
    EXPECT_TRUE(comesTo(20'250'000, "Time to Full Charge", 203));
    EXPECT_TRUE(until([this] { return sampled(*battery).source->text("Power Source State") == "AC Power"; }));
    steer("BAT0 status=Not_charging");
    EXPECT_TRUE(comesTo(20'250'000, "Time to Full Charge", std::nullopt));
    EXPECT_EQ(sampled(*battery).source->boolean("Is Charging"), false);
}

TEST_F(Power, W10_ABatteryComesAndGoes) {
    ASSERT_TRUE(comesTo(40'500'000, "Time to Empty", upowerMinutes));
    steer("BAT0 remove");
    EXPECT_TRUE(comesToNothing());
    steer("BAT0 add");
    EXPECT_TRUE(comesTo(40'500'000, "Time to Empty", upowerMinutes));
}

TEST_F(Power, PrefersTheTimeOfUPower) {
    const Supplies supplies(1);
    makeBattery(supplies.path());
    EXPECT_EQ(sampled(*battery).number("Time to Empty"), ownMinutes);
    EXPECT_TRUE(comesTo(27'000'000, "Time to Empty", upowerMinutes)) << "and nothing but the time";
}

TEST_F(Power, KeepsItsOwnTimeWhereUPowerMeansAnother) {
    const Supplies two(2);
    makeBattery(two.path());
    EXPECT_TRUE(
        holds([this] { return sampled(*battery).number("Time to Empty") == ownMinutes; }, Seconds{2}));
    const Supplies charging(1, "Charging");
    makeBattery(charging.path());
    EXPECT_TRUE(
        holds([this] { return sampled(*battery).number("Time to Full Charge") == ownMinutes; }, Seconds{2}));
}

TEST_F(Power, W22_UPowerMayEndAndStartAgain) {
    ASSERT_TRUE(comesTo(40'500'000, "Time to Empty", upowerMinutes));
    endUPower();
    EXPECT_TRUE(comesToNothing());
    steer("upowerd start");
    EXPECT_TRUE(comesTo(40'500'000, "Time to Empty", upowerMinutes));
}

TEST_F(Power, W22_UPowerMayStartLate) {
    endUPower();
    const Supplies supplies(1);
    makeBattery(supplies.path());
    EXPECT_EQ(sampled(*battery).number("Time to Empty"), ownMinutes);
    steer("upowerd start");
    EXPECT_TRUE(comesTo(27'000'000, "Time to Empty", upowerMinutes));
}

TEST_F(Power, W22_NobodyWaitsForAFrozenUPower) {
    freezeUPower();
    const Supplies supplies(1);
    makeBattery(supplies.path());
    EXPECT_TRUE(
        holds([this] { return sampled(*battery).number("Time to Empty") == ownMinutes; }, Seconds{2}));
    steer("upowerd thaw");
    EXPECT_TRUE(comesTo(27'000'000, "Time to Empty", upowerMinutes));
}

TEST_F(Power, W22_AnAnswerAfterHalfAMinuteIsTaken) {
    UPowerDouble& upower = fakeUPower();
    upower.add("BAT0");
    upower.isLate = true;
    ASSERT_TRUE(upower.start());
    EXPECT_TRUE(holds([this] { return !sampled(*battery).source; }, Seconds{31}));
    EXPECT_EQ(upower.questions, 1) << "asked once, and no more while the answer is due";
    upower.answerAll();
    EXPECT_TRUE(comesTo(20'000'000, "Time to Empty", 100));
}

TEST_F(Power, W22_NobodyWaitsForAFrozenBus) {
    const TemporaryFolder folder;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = folder.path() / "bus";
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const int listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(listener, 8), 0);
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", QByteArray::fromStdString("unix:path=" + path));
    const Supplies supplies(1);
    makeBattery(supplies.path());
    EXPECT_TRUE(
        holds([this] { return sampled(*battery).number("Time to Empty") == ownMinutes; }, Seconds{2}));
    const auto start = std::chrono::steady_clock::now();
    battery.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - start, longestRead);
    ::close(listener);
}

TEST_F(Power, W22_AMachineWithoutABusHasItsBattery) {
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nowhere/bus");
    const Supplies supplies(1);
    makeBattery(supplies.path());
    EXPECT_EQ(sampled(*battery).number("Time to Empty"), ownMinutes);
    makeBattery();
    EXPECT_FALSE(sampled(*battery).source);
}

TEST_F(Power, W23_APercentageGuessedFromAWordIsIgnored) {
    UPowerDouble& upower = fakeUPower();
    upower.add("BAT0", {{"Energy", 0.0}, {"EnergyFull", 0.0}, {"Percentage", 55.0}, {"BatteryLevel", 6U}});
    ASSERT_TRUE(upower.start());
    ASSERT_TRUE(until([this] { return sampled(*battery).source.has_value(); }));
    EXPECT_FALSE(sampled(*battery).number("Current Capacity"));
    upower.tell("BAT0", {{"BatteryLevel", 1U}});
    ASSERT_TRUE(until([this] { return sampled(*battery).number("Current Capacity") == 55; }));
    EXPECT_EQ(sampled(*battery).number("Max Capacity"), 100);
}

TEST_F(Power, W08_OtherDevicesAreNotTheMachines) {
    UPowerDouble& upower = fakeUPower();
    upower.add("mouse", {{"Type", 5U}, {"PowerSupply", false}});
    upower.add("keyboard", {{"Type", 6U}, {"PowerSupply", false}});
    upower.add("ups", {{"Type", 3U}});
    upower.add("phone", {{"PowerSupply", false}});
    upower.add("bay", {{"IsPresent", false}});
    ASSERT_TRUE(upower.start());
    sampled(*battery);
    ASSERT_TRUE(until([&upower] { return upower.questions >= 6; }));
    EXPECT_TRUE(holds([this] { return !sampled(*battery).source; }, Seconds{1.5}));
}

TEST_F(Power, AValueThatIsNotToldIsAskedFor) {
    UPowerDouble& upower = fakeUPower();
    upower.add("BAT0");
    ASSERT_TRUE(upower.start());
    ASSERT_TRUE(comesTo(20'000'000, "Time to Empty", 100));
    upower.add("BAT0", {{"Energy", 10.0}});
    upower.tell("BAT0", {}, {"Energy"});
    EXPECT_TRUE(comesTo(10'000'000, "Time to Empty", 100));
}

TEST_F(Power, NonsenseIsAsIfMissing) {
    UPowerDouble& upower = fakeUPower();
    upower.add("BAT0", {{"Energy", "much"},
                        {"EnergyFull", -5.0},
                        {"EnergyRate", std::numeric_limits<double>::quiet_NaN()},
                        {"Voltage", std::numeric_limits<double>::infinity()},
                        {"Temperature", -1e300},
                        {"ChargeCycles", -1},
                        {"TimeToEmpty", std::numeric_limits<qlonglong>::max()},
                        {"Percentage", QVariantMap{{"a", 1}}}});
    for (int number = 0; number < 300; ++number) {
        upower.add("other" + QString::number(number), {{"Type", 5U}});
    }
    ASSERT_TRUE(upower.start());
    ASSERT_TRUE(until([this] { return sampled(*battery).source.has_value(); }));
    const Sample sample = sampled(*battery);
    EXPECT_EQ(sample.entry, PropertyList());
    EXPECT_EQ(sample.number("Time to Empty"), std::nullopt);
    EXPECT_LE(upower.questions, 65) << "no machine has so many";
}

TEST_F(Power, IsOffTheBusWhileNobodyAsks) {
    Simulated::SimulatedMainLoop loop;
    const int before = connections();
    LinuxBattery quiet(loop, "/nowhere");
    EXPECT_EQ(connections(), before);
    sampled(quiet);
    ASSERT_TRUE(until([&] {
        loop.settle();
        return connections() == before + 1;
    }));
    loop.advance(Seconds{89});
    EXPECT_EQ(connections(), before + 1);
    loop.advance(Seconds{1});
    EXPECT_TRUE(until([before] { return connections() == before; }));
    EXPECT_EQ(loop.liveTimers(), 0);
}
