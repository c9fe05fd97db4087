#include "Tests/Desktop/TrayProgram.hpp"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QDBusVariant>

#include <algorithm>
#include <utility>

namespace {

/// (icon name, pictures, title, text)
struct ToolTip {
    QString iconName;
    QList<Desktop::TrayPicture> pictures;
    QString title;
    QString text;
};

/// (id, properties, children), each child a variant of the same shape.
struct MenuNode {
    int id = 0;
    QVariantMap properties;
    QVariantList children;
};

/// (id, properties) as both menu signals and GetGroupProperties carry it.
struct MenuProperties {
    int id = 0;
    QVariantMap properties;
};

struct RemovedMenuProperties {
    int id = 0;
    QStringList names;
};

QDBusArgument& operator<<(QDBusArgument& argument, const ToolTip& toolTip) {
    argument.beginStructure();
    argument << toolTip.iconName << toolTip.pictures << toolTip.title << toolTip.text;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, ToolTip& toolTip) {
    argument.beginStructure();
    argument >> toolTip.iconName >> toolTip.pictures >> toolTip.title >> toolTip.text;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const MenuNode& node) {
    argument.beginStructure();
    argument << node.id << node.properties << node.children;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, MenuNode& node) {
    argument.beginStructure();
    argument >> node.id >> node.properties >> node.children;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const MenuProperties& entry) {
    argument.beginStructure();
    argument << entry.id << entry.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, MenuProperties& entry) {
    argument.beginStructure();
    argument >> entry.id >> entry.properties;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const RemovedMenuProperties& entry) {
    argument.beginStructure();
    argument << entry.id << entry.names;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, RemovedMenuProperties& entry) {
    argument.beginStructure();
    argument >> entry.id >> entry.names;
    argument.endStructure();
    return argument;
}

} // namespace

Q_DECLARE_METATYPE(ToolTip)
Q_DECLARE_METATYPE(MenuNode)
Q_DECLARE_METATYPE(MenuProperties)
Q_DECLARE_METATYPE(RemovedMenuProperties)

namespace Desktop {

static QDBusArgument& operator<<(QDBusArgument& argument, const TrayPicture& picture) {
    argument.beginStructure();
    argument << picture.width << picture.height << picture.bytes;
    argument.endStructure();
    return argument;
}

static const QDBusArgument& operator>>(const QDBusArgument& argument, TrayPicture& picture) {
    argument.beginStructure();
    argument >> picture.width >> picture.height >> picture.bytes;
    argument.endStructure();
    return argument;
}

} // namespace Desktop

Q_DECLARE_METATYPE(Desktop::TrayPicture)

namespace Desktop {

namespace {

constexpr auto watcherService = "org.kde.StatusNotifierWatcher";
constexpr auto watcherPath = "/StatusNotifierWatcher";
constexpr auto itemInterface = "org.kde.StatusNotifierItem";
constexpr auto menuInterface = "com.canonical.dbusmenu";
constexpr auto propertiesInterface = "org.freedesktop.DBus.Properties";
constexpr auto usualPath = "/StatusNotifierItem";
constexpr int patience = 5000; // milliseconds

void registerTypes() {
    qDBusRegisterMetaType<TrayPicture>();
    qDBusRegisterMetaType<QList<TrayPicture>>();
    qDBusRegisterMetaType<ToolTip>();
    qDBusRegisterMetaType<MenuNode>();
    qDBusRegisterMetaType<MenuProperties>();
    qDBusRegisterMetaType<QList<MenuProperties>>();
    qDBusRegisterMetaType<RemovedMenuProperties>();
    qDBusRegisterMetaType<QList<RemovedMenuProperties>>();
}

QString connectionName() {
    static int made = 0;
    return QStringLiteral("program-%1").arg(++made);
}

QDBusMessage registration(const QString& argument) {
    QDBusMessage message = QDBusMessage::createMethodCall(watcherService, watcherPath, watcherService,
                                                          "RegisterStatusNotifierItem");
    message << argument;
    return message;
}

/// Everything to `depth` levels below; −1 is all.
MenuNode node(const TrayMenuDoubleEntry& entry, int depth) {
    MenuNode result{entry.id, entry.properties, {}};
    if (depth != 0 && !entry.isFilledWhenOpened) {
        for (const TrayMenuDoubleEntry& child : entry.children) {
            result.children << QVariant::fromValue(node(child, depth - 1));
        }
    }
    return result;
}

TrayMenuDoubleEntry* findIn(TrayMenuDoubleEntry& entry, int id) {
    if (entry.id == id) {
        return &entry;
    }
    for (TrayMenuDoubleEntry& child : entry.children) {
        if (TrayMenuDoubleEntry* found = findIn(child, id)) {
            return found;
        }
    }
    return nullptr;
}

} // namespace

QVariant plainPicture(QColor colour, int side) {
    registerTypes();
    TrayPicture picture{side, side, {}};
    picture.bytes.reserve(4LL * side * side);
    for (int pixel = 0; pixel < side * side; ++pixel) {
        for (const int part : {colour.alpha(), colour.red(), colour.green(), colour.blue()}) {
            picture.bytes.append(static_cast<char>(part));
        }
    }
    return QVariant::fromValue(QList<TrayPicture>{picture});
}

QVariant objectPath(const QString& path) {
    return QVariant::fromValue(QDBusObjectPath(path));
}

QVariant trayToolTip(const QString& title, const QString& text) {
    registerTypes();
    return QVariant::fromValue(ToolTip{{}, {}, title, text});
}

QVariantMap trayProperties(const QString& id, QColor colour) {
    return {{"Category", "ApplicationStatus"},
            {"Id", id},
            {"Title", id},
            {"Status", "Active"},
            {"IconName", ""},
            {"IconPixmap", plainPicture(colour)},
            {"ItemIsMenu", false},
            {"Menu", objectPath("/NO_DBUSMENU")}};
}

TrayItemDouble::TrayItemDouble(TrayProgram& program, QString path, QVariantMap properties, Manners manners)
    : program_(program)
    , path_(std::move(path))
    , properties_(std::move(properties))
    , manners_(manners) {
    program_.bus().registerVirtualObject(path_, this);
    flickering_.setTimerType(Qt::PreciseTimer);
    connect(&flickering_, &QTimer::timeout, this, [this] { flickerOn(); });
}

TrayItemDouble::~TrayItemDouble() {
    program_.bus().unregisterObject(path_);
}

void TrayItemDouble::change(const QString& property, const QVariant& value, const QString& signal) {
    if (value.isValid()) {
        properties_[property] = value;
    } else {
        properties_.remove(property);
    }
    tell(signal);
}

void TrayItemDouble::setStatus(const QString& status) {
    properties_["Status"] = status;
    tell("NewStatus", {status});
}

void TrayItemDouble::tell(const QString& signal, const QVariantList& arguments) {
    QDBusMessage message = QDBusMessage::createSignal(path_, itemInterface, signal);
    message.setArguments(arguments);
    program_.bus().send(message);
}

void TrayItemDouble::flicker(int timesASecond, QColor one, QColor other) {
    timesASecond_ = timesASecond;
    flickered_ = 0;
    flickeringSince_ = std::chrono::steady_clock::now();
    flickers_[0] = plainPicture(one);
    flickers_[1] = plainPicture(other);
    if (timesASecond > 0) {
        flickering_.start(1);
    } else {
        flickering_.stop();
    }
}

void TrayItemDouble::flickerOn() {
    // Timers come late on a busy machine; the number of signals is kept all the same.
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - flickeringSince_;
    for (const auto due = static_cast<qint64>(passed.count() * timesASecond_); flickered_ < due;
         ++flickered_) {
        tell("NewIcon");
    }
}

qsizetype TrayItemDouble::count(const QString& method) const {
    return std::ranges::count_if(
        calls_, [&](const QString& call) { return call == method || call.startsWith(method + ' '); });
}

QString TrayItemDouble::introspect(const QString&) const {
    return QStringLiteral(R"(<interface name="org.kde.StatusNotifierItem">
  <method name="Activate"><arg type="i" direction="in"/><arg type="i" direction="in"/></method>
  <method name="SecondaryActivate"><arg type="i" direction="in"/><arg type="i" direction="in"/></method>
  <method name="ContextMenu"><arg type="i" direction="in"/><arg type="i" direction="in"/></method>
  <method name="Scroll"><arg type="i" direction="in"/><arg type="s" direction="in"/></method>
</interface>)");
}

bool TrayItemDouble::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
    const QVariantList arguments = message.arguments();
    if (message.interface() == propertiesInterface) {
        ++questions_;
        if (timesASecond_ > 0) {
            properties_["IconPixmap"] = flickers_[questions_ % 2];
        }
        if (message.member() == "GetAll") {
            answerLater(message.createReply(QVariant(properties_)));
            return true;
        }
        const QString name = arguments.value(1).toString();
        if (message.member() == "Get" && properties_.contains(name)) {
            answerLater(message.createReply(QVariant::fromValue(QDBusVariant(properties_.value(name)))));
            return true;
        }
        return false;
    }
    const bool isKnown =
        message.member() == "Activate"
            ? manners_.knowsActivate
            : QStringList{"SecondaryActivate", "ContextMenu", "Scroll"}.contains(message.member());
    if (!isKnown) {
        return false;
    }
    QStringList words{message.member()};
    for (const QVariant& argument : arguments) {
        words << argument.toString();
    }
    calls_ << words.join(' ');
    connection.send(message.createReply());
    return true;
}

void TrayItemDouble::answerLater(const QDBusMessage& reply) {
    if (!manners_.answers) {
        return;
    }
    if (manners_.answersAfter.count() == 0) {
        program_.bus().send(reply);
        return;
    }
    QTimer::singleShot(manners_.answersAfter, this, [this, reply] { program_.bus().send(reply); });
}

TrayProgram::TrayProgram(Registers registers)
    : bus_(QDBusConnection::connectToBus(QDBusConnection::SessionBus, connectionName()))
    , registers_(registers)
    , watcher_(watcherService, bus_, QDBusServiceWatcher::WatchForOwnerChange) {
    registerTypes();
    connect(&watcher_, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString& before, const QString& after) {
                const bool hasCome = before.isEmpty() && !after.isEmpty();
                if (hasCome && registers_ == Registers::wheneverATrayComes) {
                    registerAll();
                }
            });
}

TrayProgram::~TrayProgram() {
    // A process that dies: the connection goes first, and takes everything on it along.
    const QString name = bus_.name();
    watcher_.setConnection(QDBusConnection(QString()));
    QDBusConnection::disconnectFromBus(name);
    bus_ = QDBusConnection(QString());
}

bool TrayProgram::takeName(const QString& name) {
    return bus_.registerService(name);
}

void TrayProgram::dropName(const QString& name) {
    bus_.unregisterService(name);
}

TrayItemDouble& TrayProgram::add(QVariantMap properties, const QString& path, const QString& argument,
                                 TrayItemDouble::Manners manners) {
    TrayItemDouble& item = addQuietly(std::move(properties), path, manners);
    arguments_ << (!argument.isEmpty() ? argument : path == usualPath ? name() : path);
    if (registers_ != Registers::byHand && bus_.interface()->isServiceRegistered(watcherService)) {
        ++registrations_;
        bus_.asyncCall(registration(arguments_.constLast()));
    }
    return item;
}

TrayItemDouble& TrayProgram::addQuietly(QVariantMap properties, const QString& path,
                                        TrayItemDouble::Manners manners) {
    return *items_.emplace_back(
        std::make_unique<TrayItemDouble>(*this, path, std::move(properties), manners));
}

TrayMenuDouble& TrayProgram::addMenu(const QString& path) {
    return *menus_.emplace_back(std::make_unique<TrayMenuDouble>(*this, path));
}

QString TrayProgram::registerAs(const QString& argument) {
    ++registrations_;
    return bus_.call(registration(argument), QDBus::Block, patience).errorName();
}

void TrayProgram::registerAll() {
    for (const QString& argument : arguments_) {
        ++registrations_;
        bus_.asyncCall(registration(argument));
    }
}

TrayMenuDouble::TrayMenuDouble(TrayProgram& program, QString path)
    : program_(program)
    , path_(std::move(path))
    , root_{0, {{"children-display", "submenu"}}} {
    program_.bus().registerVirtualObject(path_, this);
}

TrayMenuDouble::~TrayMenuDouble() {
    program_.bus().unregisterObject(path_);
}

void TrayMenuDouble::setEntries(std::vector<TrayMenuDoubleEntry> entries) {
    root_.children = std::move(entries);
    ++revision_;
    QDBusMessage message = QDBusMessage::createSignal(path_, menuInterface, "LayoutUpdated");
    message << revision_ << 0;
    program_.bus().send(message);
}

void TrayMenuDouble::change(int id, const QString& property, const QVariant& value) {
    if (TrayMenuDoubleEntry* entry = find(id)) {
        entry->properties[property] = value;
    }
    QDBusMessage message = QDBusMessage::createSignal(path_, menuInterface, "ItemsPropertiesUpdated");
    message << QVariant::fromValue(QList<MenuProperties>{{id, {{property, value}}}})
            << QVariant::fromValue(QList<RemovedMenuProperties>());
    program_.bus().send(message);
}

TrayMenuDoubleEntry* TrayMenuDouble::find(int id) {
    return findIn(root_, id);
}

QString TrayMenuDouble::introspect(const QString&) const {
    return QStringLiteral(R"xml(<interface name="com.canonical.dbusmenu">
  <method name="AboutToShow"><arg type="i" direction="in"/><arg type="b" direction="out"/></method>
  <method name="GetLayout"><arg type="i" direction="in"/><arg type="i" direction="in"/>
    <arg type="as" direction="in"/><arg type="u" direction="out"/><arg type="(ia{sv}av)" direction="out"/></method>
  <method name="Event"><arg type="i" direction="in"/><arg type="s" direction="in"/>
    <arg type="v" direction="in"/><arg type="u" direction="in"/></method>
</interface>)xml");
}

bool TrayMenuDouble::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
    if (!answers_) {
        return true; // whoever asks waits for ever
    }
    const QVariantList arguments = message.arguments();
    const QString method = message.member();
    const int id = arguments.value(0).toInt();
    if (message.interface() == propertiesInterface && method == "GetAll") {
        connection.send(message.createReply(
            QVariant(QVariantMap{{"Version", 3U}, {"Status", "normal"}, {"TextDirection", "ltr"}})));
        return true;
    }
    if (method == "AboutToShow" && knowsAboutToShow_) {
        TrayMenuDoubleEntry* entry = find(id);
        const bool needsUpdate = entry && std::exchange(entry->isFilledWhenOpened, false);
        revision_ += needsUpdate ? 1 : 0;
        connection.send(message.createReply(needsUpdate));
        return true;
    }
    if (method == "GetLayout") {
        if (TrayMenuDoubleEntry* entry = find(id)) {
            connection.send(message.createReply(
                {revision_, QVariant::fromValue(node(*entry, arguments.value(1).toInt()))}));
            return true;
        }
        return false;
    }
    if (method == "GetGroupProperties") {
        QList<MenuProperties> result;
        for (const int wanted : qdbus_cast<QList<int>>(arguments.value(0))) {
            if (const TrayMenuDoubleEntry* entry = find(wanted)) {
                result << MenuProperties{wanted, entry->properties};
            }
        }
        connection.send(message.createReply(QVariant::fromValue(result)));
        return true;
    }
    if (method == "Event") {
        events_ << arguments.value(1).toString() + ' ' + QString::number(id);
        connection.send(message.createReply());
        return true;
    }
    return false;
}

} // namespace Desktop
