#include "Platforms/Linux/Power/PowerSupplies.hpp"

#include "Platforms/Linux/SystemCalls.hpp"
#include "ZorbelKit/Utf8.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <memory>
#include <span>
#include <string_view>
#include <utility>

namespace Linux {

using Flow = MachineBattery::Flow;
using Status = BatteryPack::Status;
using Wendrel::PropertyList;

namespace {

using Number = std::optional<double>;

constexpr double micro = 1e6;

// No battery comes near it (a gigawatt-hour), sums of such numbers are exact, and products do not overflow.
constexpr std::int64_t mostOfAnything = 1'000'000'000'000'000;
constexpr std::size_t mostSupplies = 64;
constexpr std::size_t longestHealth = 64; // bytes

constexpr double leastPower = 200'000; // µW
constexpr double mostMinutes = 48 * 60;
constexpr std::size_t samplesInMean = 3;
constexpr std::chrono::seconds settling{
    55}; // the second sample after half a minute, whatever the timer's slack
constexpr std::chrono::minutes longestPause{5};

/// The beginning of a file; empty where it cannot be read.
std::string_view readFile(int folder, const char* path, std::span<char> buffer) {
    const int descriptor =
        retried([&] { return ::openat(folder, path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY); });
    if (descriptor < 0) {
        return {};
    }
    const ssize_t length = retried([&] { return ::read(descriptor, buffer.data(), buffer.size()); });
    ::close(descriptor);
    return {buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0))};
}

std::optional<std::int64_t> parsedNumber(std::string_view text) {
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || end != text.data() + text.size() || number > mostOfAnything ||
        number < -mostOfAnything) {
        return std::nullopt;
    }
    return number;
}

/// One folder of supplies, open for one reading.
class SupplyFolder {
public:
    explicit SupplyFolder(const std::string& path)
        : folder_(::opendir(path.c_str())) {}

    int descriptor() const { return ::dirfd(folder_.get()); }

    /// Sorted, so that equal machines read equal.
    std::vector<std::string> names() const {
        std::vector<std::string> names;
        while (const dirent* entry = folder_ ? ::readdir(folder_.get()) : nullptr) {
            if (entry->d_name[0] != '.' && names.size() < mostSupplies) {
                names.emplace_back(entry->d_name);
            }
        }
        std::ranges::sort(names);
        return names;
    }

private:
    struct Closer {
        void operator()(DIR* folder) const { ::closedir(folder); }
    };
    std::unique_ptr<DIR, Closer> folder_;
};

/// The values of one supply: as "uevent" has them, which is one reading of all of them, and from files of
/// their own for the rest. Keys are in capitals, as in "uevent"; the files have the same names in small
/// letters.
class Supply {
public:
    Supply(int folder, const std::string& name)
        : folder_(folder)
        , path_(name + '/')
        , nameLength_(path_.size()) {
        path_ += "uevent";
        events_[0] = '\n';
        eventsLength_ = 1 + readFile(folder_, path_.c_str(), std::span(events_).subspan(1)).size();
    }

    /// Empty where there is none.
    std::string_view text(std::string_view key) {
        const std::string_view inEvents = fromEvents(key);
        return inEvents.empty() ? fromFile(key) : inEvents;
    }

    /// Of either sign.
    Number number(std::string_view key) {
        auto number = parsedNumber(fromEvents(key));
        if (!number) {
            number = parsedNumber(fromFile(key));
        }
        return number ? Number(static_cast<double>(*number)) : std::nullopt;
    }

    /// Not below 0.
    Number quantity(std::string_view key) {
        const Number found = number(key);
        return found && *found >= 0 ? found : std::nullopt;
    }

    /// Above 0.
    Number positive(std::string_view key) {
        const Number found = number(key);
        return found && *found > 0 ? found : std::nullopt;
    }

private:
    std::string_view fromEvents(std::string_view key) const {
        constexpr std::string_view prefix = "\nPOWER_SUPPLY_";
        const std::string_view events(events_.data(), eventsLength_);
        for (auto at = events.find(prefix); at != std::string_view::npos; at = events.find(prefix, at + 1)) {
            std::string_view row = events.substr(at + prefix.size());
            if (row.size() > key.size() && row[key.size()] == '=' && row.starts_with(key)) {
                row.remove_prefix(key.size() + 1);
                const auto end = row.find('\n'); // a row without one was cut off, and its number may be too
                return end == std::string_view::npos ? std::string_view()
                                                     : ZorbelKit::utf8::trimmed(row.substr(0, end));
            }
        }
        return {};
    }

    std::string_view fromFile(std::string_view key) {
        path_.resize(nameLength_);
        for (const char letter : key) {
            path_ += letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
        }
        return ZorbelKit::utf8::trimmed(readFile(folder_, path_.c_str(), value_));
    }

    int folder_;
    std::string path_;
    std::size_t nameLength_;
    std::array<char, 4097> events_; // a line end and a page, which is all that the kernel gives
    std::size_t eventsLength_ = 0;
    std::array<char, 256> value_;
};

Status statusNamed(std::string_view name) {
    static constexpr std::pair<std::string_view, Status> statuses[] = {
        {"Charging", Status::charging},
        {"Discharging", Status::discharging},
        {"Not charging", Status::notCharging},
        {"Full", Status::full},
    };
    const auto* found = std::ranges::find(statuses, name, &std::pair<std::string_view, Status>::first);
    return found == std::end(statuses) ? Status::unknown : found->second;
}

/// Drivers that do not tell the scope, and whose batteries are those of mice, keyboards and pens.
bool isNamedLikeDevice(std::string_view name) {
    return name.starts_with("hidpp_battery_") || name.starts_with("hid-") || name.starts_with("wacom_");
}

bool isDevice(std::string_view name, std::string_view scope, const BatteryPack& pack) {
    if (!scope.empty() && scope != "Unknown") {
        return scope != "System";
    }
    return isNamedLikeDevice(name) && !pack.energyNow && !pack.energyFull && !pack.chargeNow &&
           !pack.chargeFull && !pack.voltage;
}

BatteryPack readPack(Supply& supply) {
    BatteryPack pack;
    pack.status = statusNamed(supply.text("STATUS"));
    pack.energyNow = supply.quantity("ENERGY_NOW");
    pack.energyFull = supply.quantity("ENERGY_FULL");
    pack.energyDesign = supply.quantity("ENERGY_FULL_DESIGN");
    if (!pack.energyNow || !pack.energyFull || !pack.energyDesign) {
        pack.chargeNow = supply.quantity("CHARGE_NOW");
        pack.chargeFull = supply.quantity("CHARGE_FULL");
        pack.chargeDesign = supply.quantity("CHARGE_FULL_DESIGN");
    }
    pack.voltage = supply.quantity("VOLTAGE_NOW");
    pack.nominalVoltage = supply.positive("VOLTAGE_MIN_DESIGN");
    if (!pack.nominalVoltage) {
        pack.nominalVoltage = supply.positive("VOLTAGE_MAX_DESIGN");
    }
    if (!pack.nominalVoltage && pack.voltage.value_or(0) > 0) {
        pack.nominalVoltage = pack.voltage;
    }
    pack.current = supply.number("CURRENT_NOW");
    pack.power = supply.number("POWER_NOW");
    pack.percent = supply.quantity("CAPACITY");
    pack.temperature = supply.number("TEMP");
    pack.cycles = supply.positive("CYCLE_COUNT");
    pack.health = ZorbelKit::utf8::oneLine(
        ZorbelKit::utf8::repaired(std::string(supply.text("HEALTH").substr(0, longestHealth))));
    return pack;
}

void addAdapter(MainsSupply& mains, Supply& supply, bool hasRating) {
    const Number online = supply.quantity("ONLINE"); // 2: at a voltage that it was asked for
    if (!online || supply.text("SCOPE") == "Device") {
        return;
    }
    double watts = 0;
    if (*online > 0 && hasRating) {
        Number voltage = supply.positive("VOLTAGE_MAX");
        if (!voltage) {
            voltage = supply.positive("VOLTAGE_NOW");
        }
        watts = voltage.value_or(0) / micro * supply.positive("CURRENT_MAX").value_or(0) / micro;
    }
    mains.add(*online > 0, watts);
}

/// What a pack holds, and what it would hold.
struct Amount {
    double now = 0;
    double full = 0;
};

std::optional<Amount> amountOf(const Number& now, const Number& full, const Number& percent) {
    if (full.value_or(0) <= 0 || (!now && !percent)) {
        return std::nullopt;
    }
    return Amount{.now = std::clamp(now ? *now : *full * *percent / 100, 0.0, *full), .full = *full};
}

std::optional<Amount> energyOf(const BatteryPack& pack) {
    return amountOf(pack.energyNow, pack.energyFull, pack.percent);
}

std::optional<Amount> chargeOf(const BatteryPack& pack) {
    return amountOf(pack.chargeNow, pack.chargeFull, pack.percent);
}

bool hasOnlyCharge(const BatteryPack& pack) {
    return !energyOf(pack);
}

/// The energy, or what it comes to at the pack's voltage.
std::optional<Amount> energyOrEquivalent(const BatteryPack& pack) {
    if (const auto energy = energyOf(pack)) {
        return energy;
    }
    const auto charge = chargeOf(pack);
    if (!charge || !pack.nominalVoltage) {
        return std::nullopt;
    }
    const double volts = *pack.nominalVoltage / micro;
    return Amount{.now = charge->now * volts, .full = charge->full * volts};
}

Number usableVoltage(const BatteryPack& pack) {
    return pack.voltage.value_or(0) > 0 ? pack.voltage : pack.nominalVoltage;
}

/// µA, without a sign.
Number currentOf(const BatteryPack& pack) {
    const Number voltage = usableVoltage(pack);
    if (pack.current) {
        return std::abs(*pack.current);
    }
    return pack.power && voltage ? Number(std::abs(*pack.power) / (*voltage / micro)) : std::nullopt;
}

/// µW, without a sign.
Number powerOf(const BatteryPack& pack) {
    const Number voltage = usableVoltage(pack);
    if (pack.power) {
        return std::abs(*pack.power);
    }
    return pack.current && voltage ? Number(std::abs(*pack.current) * (*voltage / micro)) : std::nullopt;
}

/// A pack that holds nothing and has no voltage: it is there, and that is all.
bool isDead(const BatteryPack& pack) {
    return pack.voltage == 0.0 && pack.energyNow.value_or(0) <= 0 && pack.chargeNow.value_or(0) <= 0 &&
           pack.percent.value_or(0) <= 0;
}

/// Rounded; none where it is beyond 32 bits.
std::optional<std::int64_t> rounded(double value) {
    if (!(std::abs(value) < std::numeric_limits<std::int32_t>::max())) {
        return std::nullopt;
    }
    return std::llround(value);
}

std::optional<std::int64_t> roundedPositive(double value) {
    const auto number = rounded(value);
    return number && *number > 0 ? number : std::nullopt;
}

using Packs = std::vector<const BatteryPack*>;

bool anyHas(const Packs& packs, Status status) {
    return std::ranges::any_of(packs, [status](const BatteryPack* pack) { return pack->status == status; });
}

Flow flowOf(const Packs& packs) {
    if (anyHas(packs, Status::discharging)) {
        return Flow::discharging;
    }
    return anyHas(packs, Status::charging) ? Flow::charging : Flow::none;
}

bool isPluggedIn(const MainsSupply& mains, const Packs& packs) {
    if (mains.isKnown) {
        return mains.isOnline;
    }
    return anyHas(packs, Status::charging) || anyHas(packs, Status::full) ||
           anyHas(packs, Status::notCharging);
}

/// mAh when full: as designed, and now.
void setCapacities(MachineBattery& battery, const Packs& packs) {
    struct Pair {
        Number design, full;
        bool isWhole() const { return design && full; }
    };
    std::vector<Pair> pairs;
    for (const BatteryPack* pack : packs) {
        Pair pair{pack->chargeDesign, pack->chargeFull};
        if (!pair.isWhole() && pack->nominalVoltage && (pack->energyDesign || pack->energyFull)) {
            // One voltage for both, so that their ratio is the battery's own.
            const double volts = *pack->nominalVoltage / micro;
            const Pair energy{pack->energyDesign ? Number(*pack->energyDesign / volts) : std::nullopt,
                              pack->energyFull ? Number(*pack->energyFull / volts) : std::nullopt};
            pair = energy.isWhole() || (!pair.design && !pair.full) ? energy : pair;
        }
        pairs.push_back(pair);
    }
    // A pack that tells half would bend the ratio of the others.
    const bool isAnyWhole = std::ranges::any_of(pairs, &Pair::isWhole);
    Number design;
    Number full;
    for (const Pair& pair : pairs) {
        if (pair.isWhole() || !isAnyWhole) {
            design = pair.design ? Number(design.value_or(0) + *pair.design) : design;
            full = pair.full ? Number(full.value_or(0) + *pair.full) : full;
        }
    }
    battery.designCapacity = roundedPositive(design.value_or(0) / 1000);
    battery.fullCapacity = full ? rounded(*full / 1000) : std::nullopt;
}

/// A pack that says of itself neither that it charges nor that it discharges follows the others, then the
/// mains; after that all that is left is the driver's own sign.
bool isGiving(const BatteryPack& pack, Flow flow, const MainsSupply& mains) {
    if (pack.status == Status::discharging || pack.status == Status::charging) {
        return pack.status == Status::discharging;
    }
    return flow == Flow::discharging || (mains.isKnown && !mains.isOnline) || pack.current.value_or(0) < 0 ||
           pack.power.value_or(0) < 0;
}

/// Such that volts times amperes is the power of all packs.
void setVoltageAndAmperage(MachineBattery& battery, const Packs& packs, const MainsSupply& mains) {
    double volts = 0; // mean of the packs' own
    int withVolts = 0;
    double microamperes = 0;
    double microwatts = 0;
    bool isAnyCurrent = false;
    bool isAllPower = true;
    for (const BatteryPack* pack : packs) {
        if (pack->voltage.value_or(0) > 0) {
            volts += *pack->voltage / micro;
            ++withVolts;
        }
        if (const Number current = currentOf(*pack)) {
            const double sign = isGiving(*pack, battery.flow, mains) ? -1 : 1;
            isAnyCurrent = true;
            isAllPower = isAllPower && pack->voltage.value_or(0) > 0;
            microamperes += sign * *current;
            microwatts += sign * *current * pack->voltage.value_or(0) / micro;
        }
    }
    if (withVolts > 0) {
        volts /= withVolts;
        battery.voltage = roundedPositive(volts * 1000);
    }
    if (isAnyCurrent) {
        const bool hasPower = isAllPower && withVolts > 0;
        battery.amperage = rounded((hasPower ? microwatts / volts : microamperes) / 1000);
    }
}

/// What the packs hold together, and how fast that changes.
void setAmounts(MachineBattery& battery, const Packs& packs) {
    const bool isCharge =
        std::ranges::all_of(packs, [](const BatteryPack* pack) { return hasOnlyCharge(*pack); });
    Amount sum;
    Number rate;
    Number power;
    double percents = 0;
    int withPercent = 0;
    for (const BatteryPack* pack : packs) {
        if (const auto amount = isCharge ? chargeOf(*pack) : energyOrEquivalent(*pack)) {
            sum.now += amount->now;
            sum.full += amount->full;
        }
        if (pack->percent) {
            percents += std::min(*pack->percent, 100.0);
            ++withPercent;
        }
        const bool isFlowing = (battery.flow == Flow::discharging && pack->status == Status::discharging) ||
                               (battery.flow == Flow::charging && pack->status == Status::charging);
        if (!isFlowing) {
            continue;
        }
        const Number packPower = powerOf(*pack);
        if (const Number packRate = isCharge ? currentOf(*pack) : packPower) {
            rate = rate.value_or(0) + *packRate;
        }
        if (packPower) {
            power = power.value_or(0) + *packPower;
        }
    }
    if (sum.full > 0) {
        battery.current = std::llround(sum.now);
        battery.maximum = std::llround(sum.full);
        if (rate) {
            battery.toGo = battery.flow == Flow::charging ? sum.full - sum.now : sum.now;
            battery.rate = rate;
            battery.power = power;
        }
    } else if (withPercent > 0) {
        battery.current = std::llround(percents / withPercent);
        battery.maximum = 100;
    }
}

bool isFailure(std::string_view health) {
    return health == "Dead" || health == "Unspecified failure";
}

/// Of all packs, dead ones too: what is wrong with one of them is what its owner wants to read.
void setCondition(MachineBattery& battery, const std::vector<BatteryPack>& packs) {
    for (const BatteryPack& pack : packs) {
        const std::string& health = pack.health;
        if (health.empty() || health == "Good" || health == "Unknown") {
            continue;
        }
        if (battery.condition.empty() || (isFailure(health) && !battery.hasFailed)) {
            battery.condition = health;
        }
        battery.hasFailed = battery.hasFailed || isFailure(health);
    }
}

} // namespace

void MainsSupply::add(bool isInUse, double ratedWatts) {
    isKnown = true;
    isOnline = isOnline || isInUse;
    watts = std::max(watts, isInUse ? ratedWatts : 0.0);
}

PowerReading readPowerSupplies(const std::string& folder) {
    PowerReading reading;
    const SupplyFolder supplies(folder);
    for (const std::string& name : supplies.names()) {
        Supply supply(supplies.descriptor(), name);
        const std::string type(supply.text("TYPE"));
        if (type == "Battery") {
            const std::string scope(supply.text("SCOPE"));
            if (scope == "Device" || supply.number("PRESENT") == 0.0) {
                continue;
            }
            BatteryPack pack = readPack(supply);
            if (!isDevice(name, scope, pack)) {
                reading.packs.push_back(std::move(pack));
            }
        } else if (type == "Mains" || type == "Wireless" || type.starts_with("USB")) {
            addAdapter(reading.mains, supply, type != "Wireless");
        }
    }
    return reading;
}

std::optional<MachineBattery> combined(const PowerReading& reading) {
    if (reading.packs.empty()) {
        return std::nullopt;
    }
    const bool isAnyAlive = !std::ranges::all_of(reading.packs, isDead);
    Packs packs;
    for (const BatteryPack& pack : reading.packs) {
        if (!isAnyAlive || !isDead(pack)) {
            packs.push_back(&pack);
        }
    }
    MachineBattery battery;
    battery.packs = static_cast<int>(packs.size());
    battery.flow = flowOf(packs);
    battery.isPluggedIn = isPluggedIn(reading.mains, packs);
    setCondition(battery, reading.packs);
    setCapacities(battery, packs);
    setVoltageAndAmperage(battery, packs, reading.mains);
    setAmounts(battery, packs);
    double hottest = 0;
    double cycles = 0;
    for (const BatteryPack* pack : packs) {
        hottest = std::max(hottest, pack->temperature.value_or(0));
        cycles = std::max(cycles, pack->cycles.value_or(0));
    }
    battery.temperature = roundedPositive(hottest * 10);
    battery.cycleCount = roundedPositive(cycles);
    battery.adapterWatts = roundedPositive(reading.mains.watts);
    return battery;
}

PropertyList registryEntry(const MachineBattery& battery) {
    PropertyList entry;
    const auto set = [&entry](const char* name, const std::optional<std::int64_t>& value) {
        if (value) {
            entry.set(name, *value);
        }
    };
    set("DesignCapacity", battery.designCapacity);
    set("NominalChargeCapacity", battery.fullCapacity);
    set("CycleCount", battery.cycleCount);
    set("Voltage", battery.voltage);
    if (battery.amperage) {
        entry.set("Amperage", std::int64_t{static_cast<std::uint32_t>(*battery.amperage)});
    }
    set("Temperature", battery.temperature);
    if (battery.adapterWatts) {
        entry.set("AdapterDetails", PropertyList().set("Watts", *battery.adapterWatts));
    }
    if (battery.hasFailed) {
        entry.set("PermanentFailureStatus", std::int64_t{1});
    }
    return entry;
}

PropertyList powerSource(const MachineBattery& battery, std::optional<std::int64_t> minutes) {
    PropertyList source;
    source.set("Type", std::string("InternalBattery"));
    if (battery.current && battery.maximum) {
        source.set("Current Capacity", *battery.current).set("Max Capacity", *battery.maximum);
    }
    source.set("Is Charging", battery.flow == Flow::charging);
    source.set("Power Source State", std::string(battery.isPluggedIn ? "AC Power" : "Battery Power"));
    if (minutes && battery.flow != Flow::none) {
        source.set(battery.flow == Flow::charging ? "Time to Full Charge" : "Time to Empty", *minutes);
    }
    if (!battery.condition.empty()) {
        source.set("BatteryHealthCondition", battery.condition);
    }
    return source;
}

std::optional<std::int64_t> shownMinutes(double minutes) {
    if (!(minutes >= 1) || minutes > mostMinutes) {
        return std::nullopt;
    }
    return std::llround(minutes);
}

std::optional<std::int64_t> RemainingTime::minutes(const MachineBattery& battery, Moment now) {
    follow(battery.flow, now);
    if (battery.flow == Flow::none || now < settledFrom_ || !battery.toGo || !battery.rate ||
        battery.power.value_or(leastPower) < leastPower) {
        return std::nullopt;
    }
    samples_.push_back({.rate = *battery.rate, .power = battery.power});
    if (samples_.size() > samplesInMean) {
        samples_.pop_front();
    }
    double rates = 0;
    for (const Sample& sample : samples_) {
        rates += sample.rate;
    }
    return shownMinutes(*battery.toGo / (rates / static_cast<double>(samples_.size())) * 60);
}

/// The power that a battery tells of trails behind for a while after a plug was pulled or put in.
void RemainingTime::follow(Flow flow, Moment now) {
    const bool isNew = !flow_ || now - last_ > longestPause;
    if (isNew || *flow_ != flow) {
        samples_.clear();
        settledFrom_ = isNew ? now : now + settling;
    }
    flow_ = flow;
    last_ = now;
}

} // namespace Linux
