#include "Tests/Platforms/MenuDouble.hpp"

#include <QDBusArgument>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <sys/prctl.h>

#include <algorithm>
#include <csignal>
#include <utility>

namespace Platforms {

namespace {

constexpr auto menuInterface = "com.canonical.dbusmenu";
constexpr int busPatience = 10000; // milliseconds

QString connectionName() {
    static int made = 0;
    return QStringLiteral("menu-%1").arg(++made);
}

MenuNode* findBelow(MenuNode& node, int id) {
    if (node.id == id) {
        return &node;
    }
    for (MenuNode& child : node.children) {
        if (MenuNode* found = findBelow(child, id)) {
            return found;
        }
    }
    return nullptr;
}

void registerTypes() {
    qDBusRegisterMetaType<MenuNode>();
    qDBusRegisterMetaType<MenuProperties>();
    qDBusRegisterMetaType<QList<MenuProperties>>();
    qDBusRegisterMetaType<MenuRemovals>();
    qDBusRegisterMetaType<QList<MenuRemovals>>();
    qDBusRegisterMetaType<QList<QStringList>>();
}

} // namespace

static QDBusArgument& operator<<(QDBusArgument& argument, const MenuNode& node) {
    argument.beginStructure();
    argument << node.id << node.properties;
    argument.beginArray(QMetaType::fromType<QDBusVariant>());
    for (const MenuNode& child : node.children) {
        argument << QDBusVariant(QVariant::fromValue(child));
    }
    argument.endArray();
    argument.endStructure();
    return argument;
}

static const QDBusArgument& operator>>(const QDBusArgument& argument, MenuNode& node) {
    argument.beginStructure(); // only written by tests
    argument >> node.id >> node.properties;
    argument.endStructure();
    return argument;
}

static QDBusArgument& operator<<(QDBusArgument& argument, const MenuProperties& change) {
    argument.beginStructure();
    argument << change.id << change.properties;
    argument.endStructure();
    return argument;
}

static const QDBusArgument& operator>>(const QDBusArgument& argument, MenuProperties& change) {
    argument.beginStructure();
    argument >> change.id >> change.properties;
    argument.endStructure();
    return argument;
}

static QDBusArgument& operator<<(QDBusArgument& argument, const MenuRemovals& change) {
    argument.beginStructure();
    argument << change.id << change.names;
    argument.endStructure();
    return argument;
}

static const QDBusArgument& operator>>(const QDBusArgument& argument, MenuRemovals& change) {
    argument.beginStructure();
    argument >> change.id >> change.names;
    argument.endStructure();
    return argument;
}

QVariant menuShortcut(const QStringList& keys) {
    registerTypes();
    return QVariant::fromValue(QList<QStringList>{keys});
}

MenuNode menuEntry(int id, const QString& label, QVariantMap properties, std::vector<MenuNode> children) {
    properties.insert("label", label);
    return {id, std::move(properties), std::move(children)};
}

MenuNode menuSeparator(int id) {
    return {id, {{"type", "separator"}}, {}};
}

PrivateBus::PrivateBus() {
    daemon_.setReadChannel(QProcess::StandardOutput);
    daemon_.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGTERM); }); // also when a test crashes
    daemon_.start("dbus-daemon", {"--session", "--nofork", "--nopidfile", "--print-address"});
    if (daemon_.waitForStarted(busPatience) && daemon_.waitForReadyRead(busPatience)) {
        address_ = QString::fromUtf8(daemon_.readLine()).trimmed();
    }
}

PrivateBus::~PrivateBus() {
    daemon_.terminate();
    if (!daemon_.waitForFinished(busPatience)) {
        daemon_.kill();
    }
}

MenuDouble::MenuDouble(const QString& address, const QString& wellKnownName)
    : bus_(QDBusConnection::connectToBus(address, connectionName())) {
    registerTypes();
    bus_.registerVirtualObject(path, this);
    if (!wellKnownName.isEmpty()) {
        bus_.registerService(wellKnownName);
    }
}

MenuDouble::~MenuDouble() {
    const QString name = bus_.name();
    bus_.unregisterObject(path);
    bus_ = QDBusConnection(QString());
    QDBusConnection::disconnectFromBus(name);
}

QString MenuDouble::service() const {
    return bus_.baseService();
}

int MenuDouble::count(int id, const QString& event) const {
    return static_cast<int>(std::count(events_.begin(), events_.end(), std::pair(id, event)));
}

void MenuDouble::signal(const QString& name, const QVariantList& arguments) {
    QDBusMessage message = QDBusMessage::createSignal(path, menuInterface, name);
    message.setArguments(arguments);
    bus_.send(message);
}

void MenuDouble::layoutUpdated(int parent) {
    signal("LayoutUpdated", {2U, parent});
}

void MenuDouble::propertiesUpdated(const QList<MenuProperties>& changed, const QList<MenuRemovals>& removed) {
    signal("ItemsPropertiesUpdated", {QVariant::fromValue(changed), QVariant::fromValue(removed)});
}

MenuNode* MenuDouble::find(int id) {
    return findBelow(root, id);
}

bool MenuDouble::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
    const QVariantList arguments = message.arguments();
    const int id = arguments.value(0).toInt();
    const QString member = message.member();
    if (message.interface() != menuInterface) {
        return false;
    }
    if (member == "Event") {
        events_.emplace_back(id, arguments.value(1).toString());
        if (events_.back().second == "clicked") {
            choiceTime_ = arguments.value(3).toUInt();
        }
        return true;
    }
    calls_ << QStringLiteral("%1 %2").arg(member).arg(id);
    if (member == "AboutToShow") {
        if (!answersAboutToShow) {
            message.setDelayedReply(true);
        } else if (!knowsAboutToShow) {
            connection.send(message.createErrorReply(QDBusError::UnknownMethod, "No such method"));
        } else {
            connection.send(message.createReply(aboutToShow && aboutToShow(id)));
        }
        return true;
    }
    if (member == "GetLayout") {
        const MenuNode* node = find(id);
        if (!answersLayout) {
            message.setDelayedReply(true);
        } else if (failsLayout || !node) {
            connection.send(message.createErrorReply(QDBusError::InvalidArgs, "No such entry"));
        } else {
            connection.send(
                message.createReply({1U, otherLayout ? otherLayout(id) : QVariant::fromValue(*node)}));
        }
        return true;
    }
    return false;
}

} // namespace Platforms
