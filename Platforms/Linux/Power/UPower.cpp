#include "Platforms/Linux/Power/UPower.hpp"

#include "ZorbelKit/Host/MainLoop.hpp"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QObject>
#include <QVariantMap>

#include <chrono>
#include <functional>
#include <map>
#include <utility>

namespace Linux {

using ZorbelKit::Seconds;
using Flow = MachineBattery::Flow;
using Status = BatteryPack::Status;

namespace {

constexpr auto service = "org.freedesktop.UPower";
constexpr auto servicePath = "/org/freedesktop/UPower";
constexpr auto deviceInterface = "org.freedesktop.UPower.Device";
constexpr auto propertiesInterface = "org.freedesktop.DBus.Properties";
constexpr auto busService = "org.freedesktop.DBus";
constexpr auto busPath = "/org/freedesktop/DBus";

constexpr Seconds longestSilence{90};       // of those who ask
constexpr std::chrono::minutes newsAge{5};  // UPower looks at its devices every two minutes at least
constexpr std::chrono::minutes busPause{5}; // a machine without a bus seldom gets one
constexpr int timeLimit = 60'000;           // milliseconds
constexpr std::size_t mostDevices = 64;

constexpr double micro = 1e6;
constexpr double mostOfAnything = 1e9; // Wh, W, V, seconds: no battery comes near it

// Of a device's Type, State and BatteryLevel.
constexpr quint32 linePower = 1;
constexpr quint32 battery = 2;
constexpr quint32 charging = 1;
constexpr quint32 discharging = 2;
constexpr quint32 full = 4;
constexpr quint32 pendingCharge = 5;
constexpr quint32 levelUnknown = 0;
constexpr quint32 levelNone = 1;

QDBusConnection newConnection(const QString& name) {
    const QString address = qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS");
    return QDBusConnection::connectToPeer(
        address.isEmpty() ? QStringLiteral("unix:path=/run/dbus/system_bus_socket") : address, name);
}

QString newName() {
    static int opened = 0;
    return "zorbel-power-" + QString::number(++opened);
}

/// The value of a property that is a number from 0 on.
std::optional<double> told(const QVariantMap& properties, const char* name) {
    bool isNumber = false;
    const double value = properties.value(QLatin1String(name)).toDouble(&isNumber);
    return isNumber && value >= 0 && value < mostOfAnything ? std::optional(value) : std::nullopt;
}

double number(const QVariantMap& properties, const char* name) {
    return told(properties, name).value_or(0);
}

quint32 choice(const QVariantMap& properties, const char* name) {
    return static_cast<quint32>(number(properties, name));
}

/// UPower writes 0 for what it does not know.
std::optional<double> knownMicro(const QVariantMap& properties, const char* name) {
    const double value = number(properties, name);
    return value > 0 ? std::optional(value * micro) : std::nullopt;
}

Status statusOf(quint32 state) {
    switch (state) {
    case charging:
        return Status::charging;
    case discharging:
        return Status::discharging;
    case full:
        return Status::full;
    case pendingCharge:
        return Status::notCharging;
    default:
        return Status::unknown;
    }
}

/// The machine's own and in its place; not that of a mouse, and no UPS.
bool isBattery(const QVariantMap& properties) {
    return choice(properties, "Type") == battery && properties.value("PowerSupply").toBool() &&
           properties.value("IsPresent").toBool();
}

BatteryPack packOf(const QVariantMap& properties) {
    BatteryPack pack;
    pack.status = statusOf(choice(properties, "State"));
    pack.energyFull = knownMicro(properties, "EnergyFull");
    pack.energyDesign = knownMicro(properties, "EnergyFullDesign");
    if (pack.energyFull) {
        pack.energyNow = number(properties, "Energy") * micro;
    }
    pack.voltage = pack.nominalVoltage = knownMicro(properties, "Voltage");
    pack.power = knownMicro(properties, "EnergyRate");
    const quint32 level = choice(properties, "BatteryLevel");
    if (level == levelNone || level == levelUnknown) { // else the percentage is a guess from a word
        pack.percent = told(properties, "Percentage");
    }
    pack.temperature = number(properties, "Temperature") * 10;
    pack.cycles = number(properties, "ChargeCycles");
    return pack;
}

/// What is kept of a device: all else it may tell is of no use here.
void merge(QVariantMap& kept, const QVariantMap& news) {
    static constexpr const char* names[] = {
        "Type",       "PowerSupply", "IsPresent",        "Online",      "State",   "Percentage",
        "Energy",     "EnergyFull",  "EnergyFullDesign", "EnergyRate",  "Voltage", "TimeToEmpty",
        "TimeToFull", "Temperature", "BatteryLevel",     "ChargeCycles"};
    for (const char* name : names) {
        const QVariant value = news.value(QLatin1String(name));
        const int type = value.typeId();
        if (type == QMetaType::Bool || type == QMetaType::Double || type == QMetaType::Int ||
            type == QMetaType::UInt || type == QMetaType::LongLong || type == QMetaType::ULongLong) {
            kept.insert(QLatin1String(name), value);
        }
    }
}

} // namespace

/// One connection to the bus, from its first word on. The toolkit's own way of joining a bus waits for the
/// bus to say welcome; this one speaks to it as to any other program, and so waits for nothing.
class UPower::Session : public QObject {
    Q_OBJECT
public:
    /// On any thread: opening a connection takes the time that the system takes. What follows belongs to the
    /// main thread.
    explicit Session(QString name)
        : name_(std::move(name))
        , bus_(newConnection(name_)) {
        if (!bus_.isConnected()) {
            return;
        }
        bus_.connect({}, busPath, busService, "NameOwnerChanged", this, SLOT(ownerChanged(QDBusMessage)));
        bus_.connect({}, {}, propertiesInterface, "PropertiesChanged", this,
                     SLOT(propertiesChanged(QDBusMessage)));
        bus_.connect({}, servicePath, service, "DeviceAdded", this, SLOT(deviceAdded(QDBusMessage)));
        bus_.connect({}, servicePath, service, "DeviceRemoved", this, SLOT(deviceRemoved(QDBusMessage)));
        moveToThread(QCoreApplication::instance()->thread());
    }

    ~Session() override { QDBusConnection::disconnectFromPeer(name_); }

    /// Says hello to the bus, and asks it for UPower.
    void start() {
        call(busQuestion("Hello", {}), [this](const QDBusMessage& answer) {
            isRefused_ = answer.type() == QDBusMessage::ErrorMessage;
        });
        listen("type='signal',sender='org.freedesktop.DBus',member='NameOwnerChanged',"
               "arg0='org.freedesktop.UPower'");
        listen("type='signal',sender='org.freedesktop.UPower'");
        call(busQuestion("GetNameOwner", {service}), [this](const QDBusMessage& answer) {
            if (owner_.isEmpty() && answer.type() == QDBusMessage::ReplyMessage) {
                setOwner(answer.arguments().value(0).toString());
            }
        });
    }

    bool isUsable() const { return bus_.isConnected() && !isRefused_; }

    /// Asks again for what has not been answered.
    void refresh() {
        if (owner_.isEmpty()) {
            return;
        }
        if (!isListed_) {
            list();
        }
        for (auto& [path, device] : devices_) {
            if (!device.isComplete) {
                read(path, device);
            }
        }
    }

    PowerReading reading() const {
        PowerReading reading;
        for (const auto& [path, device] : devices_) {
            if (isBattery(device.properties)) {
                reading.packs.push_back(packOf(device.properties));
            } else if (choice(device.properties, "Type") == linePower) {
                reading.mains.add(device.properties.value("Online").toBool(), 0);
            }
        }
        return reading;
    }

    std::optional<std::int64_t> minutes(Flow flow) const {
        const Device* only = nullptr;
        for (const auto& [path, device] : devices_) {
            if (isBattery(device.properties)) {
                if (only) {
                    return std::nullopt;
                }
                only = &device;
            }
        }
        const Status wanted = flow == Flow::charging ? Status::charging : Status::discharging;
        if (!only || flow == Flow::none || statusOf(choice(only->properties, "State")) != wanted ||
            Clock::now() - only->heard > newsAge) {
            return std::nullopt;
        }
        return shownMinutes(number(only->properties, flow == Flow::charging ? "TimeToFull" : "TimeToEmpty") /
                            60);
    }

private:
    using Clock = std::chrono::steady_clock;

    struct Device {
        QVariantMap properties;
        bool isComplete = false; // all has been told once
        bool isAsked = false;
        bool isStale = false; // told of a change, but not of the value, since it was asked
        Clock::time_point heard{};
    };

    Q_SLOT void ownerChanged(const QDBusMessage& message) {
        const QVariantList arguments = message.arguments();
        if (message.service() == QLatin1String(busService) &&
            arguments.value(0).toString() == QLatin1String(service)) {
            setOwner(arguments.value(2).toString());
        }
    }

    Q_SLOT void propertiesChanged(const QDBusMessage& message) {
        const auto found = devices_.find(message.path());
        const QVariantList arguments = message.arguments();
        if (message.service() != owner_ || found == devices_.end() || arguments.size() != 3 ||
            arguments.at(0).toString() != QLatin1String(deviceInterface)) {
            return;
        }
        Device& device = found->second;
        merge(device.properties, qdbus_cast<QVariantMap>(arguments.at(1)));
        device.heard = Clock::now();
        if (!arguments.at(2).toStringList().isEmpty()) {
            device.isStale = true;
            read(found->first, device);
        }
    }

    Q_SLOT void deviceAdded(const QDBusMessage& message) {
        if (message.service() == owner_) {
            add(qvariant_cast<QDBusObjectPath>(message.arguments().value(0)).path());
        }
    }

    Q_SLOT void deviceRemoved(const QDBusMessage& message) {
        if (message.service() == owner_) {
            devices_.erase(qvariant_cast<QDBusObjectPath>(message.arguments().value(0)).path());
        }
    }

    /// Another program took the name, or none has it: what the last one told is gone with it.
    void setOwner(const QString& owner) {
        owner_ = owner;
        devices_.clear();
        isListing_ = isListed_ = false;
        ++generation_;
        refresh();
    }

    void list() {
        if (std::exchange(isListing_, true)) {
            return;
        }
        callOwner(servicePath, service, "EnumerateDevices", {}, [this](const QDBusMessage& answer) {
            isListing_ = false;
            const QDBusPendingReply<QList<QDBusObjectPath>> paths(answer);
            isListed_ = paths.isValid();
            if (isListed_) {
                const auto known = paths.value();
                for (const QDBusObjectPath& path : known) {
                    add(path.path());
                }
            }
        });
    }

    void add(const QString& path) {
        if (path.isEmpty() || devices_.size() >= mostDevices) {
            return;
        }
        const auto [place, isNew] = devices_.try_emplace(path);
        if (isNew) {
            read(path, place->second);
        }
    }

    void read(const QString& path, Device& device) {
        if (std::exchange(device.isAsked, true)) {
            return;
        }
        device.isStale = false;
        callOwner(path, propertiesInterface, "GetAll", {deviceInterface},
                  [this, path](const QDBusMessage& answer) {
                      const auto found = devices_.find(path);
                      if (found == devices_.end()) {
                          return;
                      }
                      Device& answered = found->second;
                      answered.isAsked = false;
                      const QDBusPendingReply<QVariantMap> properties(answer);
                      if (properties.isValid()) {
                          merge(answered.properties, properties.value());
                          answered.isComplete = true;
                          answered.heard = Clock::now();
                          if (answered.isStale) {
                              read(path, answered);
                          }
                      }
                  });
    }

    static QDBusMessage busQuestion(const char* method, const QVariantList& arguments) {
        QDBusMessage question = QDBusMessage::createMethodCall(busService, busPath, busService, method);
        question.setArguments(arguments);
        return question;
    }

    void listen(const char* rule) { bus_.send(busQuestion("AddMatch", {QString::fromLatin1(rule)})); }

    /// `answered` is not called once UPower is another program.
    void callOwner(const QString& path, const char* interface, const char* method,
                   const QVariantList& arguments, std::function<void(const QDBusMessage&)> answered) {
        QDBusMessage question = QDBusMessage::createMethodCall(owner_, path, interface, method);
        question.setArguments(arguments);
        question.setAutoStartService(false);
        call(question,
             [this, generation = generation_, answered = std::move(answered)](const QDBusMessage& answer) {
                 if (generation == generation_) {
                     answered(answer);
                 }
             });
    }

    void call(const QDBusMessage& question, std::function<void(const QDBusMessage&)> answered) {
        auto* reply = new QDBusPendingCallWatcher(bus_.asyncCall(question, timeLimit), this);
        connect(reply, &QDBusPendingCallWatcher::finished, this,
                [answered = std::move(answered)](QDBusPendingCallWatcher* finished) {
                    finished->deleteLater();
                    answered(finished->reply());
                });
    }

    const QString name_; // of the connection, in this program
    QDBusConnection bus_;
    bool isRefused_ = false;
    QString owner_; // unique name of UPower; empty where it does not run
    int generation_ = 0;
    bool isListing_ = false;
    bool isListed_ = false;
    std::map<QString, Device> devices_; // by object path
};

UPower::UPower(ZorbelKit::MainLoop& loop)
    : loop_(loop) {
}

UPower::~UPower() = default;

void UPower::ask() {
    quiet_ = loop_.after(longestSilence, [this] { close(); });
    if (session_ && session_->isUsable()) {
        session_->refresh();
        return;
    }
    session_.reset();
    const bool isTooSoon = refused_ && std::chrono::steady_clock::now() - *refused_ < busPause;
    if (!isTooSoon && !std::exchange(isOpening_, true)) {
        open();
    }
}

void UPower::open() {
    auto opened = lifetime_.guard([this](std::shared_ptr<Session> session) {
        isOpening_ = false;
        if (session->isUsable()) {
            session_ = std::move(session);
            session_->start();
        } else {
            refused_ = std::chrono::steady_clock::now();
        }
    });
    loop_.background(
        ZorbelKit::Priority::utility, [&loop = loop_, name = newName(), opened = std::move(opened)] {
            auto session = std::make_shared<Session>(name);
            loop.post([opened, session = std::move(session)]() mutable { opened(std::move(session)); });
        });
}

void UPower::close() {
    lifetime_.renew();
    isOpening_ = false;
    session_.reset();
}

PowerReading UPower::reading() const {
    return session_ ? session_->reading() : PowerReading{};
}

std::optional<std::int64_t> UPower::minutes(MachineBattery::Flow flow) const {
    return session_ ? session_->minutes(flow) : std::nullopt;
}

} // namespace Linux

#include "UPower.moc"
