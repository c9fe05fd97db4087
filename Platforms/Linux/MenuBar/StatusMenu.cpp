#include "Platforms/Linux/MenuBar/StatusMenu.hpp"

#include "Platforms/Linux/BusProperties.hpp"
#include "Platforms/Linux/DesktopNames.hpp"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVariant>

#include <algorithm>
#include <utility>

namespace Linux {

namespace {

constexpr auto menuInterface = "com.canonical.dbusmenu";
constexpr int rootId = 0;
constexpr int entryId = 1;
constexpr uint revision = 1;

bool isChoice(int id, const QString& event) {
    return id == entryId && event == "clicked";
}

} // namespace

/// (id, properties, children), each child in a variant.
struct MenuNode {
    int id = rootId;
    QVariantMap properties;
    QVariantList children;
};

/// (id, properties)
struct MenuProperties {
    int id = rootId;
    QVariantMap properties;
};

/// (id, what happened, data, timestamp)
struct MenuEvent {
    int id = rootId;
    QString name;
    QDBusVariant data;
    uint timestamp = 0;
};

static QDBusArgument& operator<<(QDBusArgument& argument, const MenuNode& node) {
    argument.beginStructure();
    argument << node.id << node.properties;
    argument.beginArray(qMetaTypeId<QDBusVariant>());
    for (const QVariant& child : node.children) {
        argument << QDBusVariant(child);
    }
    argument.endArray();
    argument.endStructure();
    return argument;
}

static const QDBusArgument& operator>>(const QDBusArgument& argument, MenuNode& node) {
    argument.beginStructure();
    argument >> node.id >> node.properties >> node.children;
    argument.endStructure();
    return argument;
}

static QDBusArgument& operator<<(QDBusArgument& argument, const MenuProperties& entry) {
    argument.beginStructure();
    argument << entry.id << entry.properties;
    argument.endStructure();
    return argument;
}

static const QDBusArgument& operator>>(const QDBusArgument& argument, MenuProperties& entry) {
    argument.beginStructure();
    argument >> entry.id >> entry.properties;
    argument.endStructure();
    return argument;
}

static QDBusArgument& operator<<(QDBusArgument& argument, const MenuEvent& event) {
    argument.beginStructure();
    argument << event.id << event.name << event.data << event.timestamp;
    argument.endStructure();
    return argument;
}

static const QDBusArgument& operator>>(const QDBusArgument& argument, MenuEvent& event) {
    argument.beginStructure();
    argument >> event.id >> event.name >> event.data >> event.timestamp;
    argument.endStructure();
    return argument;
}

bool deliversRightClicks(std::string_view currentDesktop) {
    return namesDesktop(currentDesktop, {"KDE", "LXQt"});
}

StatusMenu::StatusMenu(const QDBusConnection& bus, QString path, QString entry, std::function<void()> chosen)
    : bus_(bus)
    , path_(std::move(path))
    , entry_(std::move(entry))
    , chosen_(std::move(chosen)) {
    qDBusRegisterMetaType<MenuNode>();
    qDBusRegisterMetaType<MenuProperties>();
    qDBusRegisterMetaType<QList<MenuProperties>>();
    qDBusRegisterMetaType<MenuEvent>();
    qDBusRegisterMetaType<QList<MenuEvent>>();
    bus_.registerVirtualObject(path_, this);
}

StatusMenu::~StatusMenu() {
    bus_.unregisterObject(path_);
}

bool StatusMenu::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
    const QString member = message.member();
    const QVariantList arguments = message.arguments();
    const QVariantMap entry{{"label", entry_}, {"enabled", true}, {"visible", true}};
    const QVariantMap root{{"children-display", "submenu"}};

    if (answerProperties(message, connection,
                         {{"Version", 3U},
                          {"Status", "normal"},
                          {"TextDirection", "ltr"},
                          {"IconThemePath", QStringList()}})) {
        return true;
    }
    if (message.interface() != menuInterface && !message.interface().isEmpty()) {
        return false;
    }

    if (member == "GetLayout") {
        const bool wantsEntry = !arguments.isEmpty() && arguments.first().toInt() == entryId;
        const MenuNode leaf{entryId, entry, {}};
        const MenuNode tree{rootId, root, {QVariant::fromValue(leaf)}};
        connection.send(message.createReply({revision, QVariant::fromValue(wantsEntry ? leaf : tree)}));
    } else if (member == "GetGroupProperties") {
        const QList<MenuProperties> known{{rootId, root}, {entryId, entry}};
        connection.send(message.createReply(QVariant::fromValue(known)));
    } else if (member == "GetProperty" && arguments.size() == 2) {
        const QVariant value =
            (arguments.at(0).toInt() == entryId ? entry : root).value(arguments.at(1).toString());
        connection.send(value.isValid()
                            ? message.createReply(QVariant::fromValue(QDBusVariant(value)))
                            : message.createErrorReply(QDBusError::InvalidArgs, "No such property"));
    } else if (member == "AboutToShow") {
        connection.send(message.createReply(false)); // nothing changes when it opens
    } else if (member == "AboutToShowGroup") {
        connection.send(
            message.createReply({QVariant::fromValue(QList<int>()), QVariant::fromValue(QList<int>())}));
    } else if (member == "Event" && arguments.size() >= 2) {
        connection.send(message.createReply());
        if (isChoice(arguments.at(0).toInt(), arguments.at(1).toString())) {
            choose();
        }
    } else if (member == "EventGroup" && !arguments.isEmpty()) {
        connection.send(message.createReply(QVariant::fromValue(QList<int>()))); // no id was unknown
        const auto events = qdbus_cast<QList<MenuEvent>>(arguments.first());
        if (std::ranges::any_of(events,
                                [](const MenuEvent& event) { return isChoice(event.id, event.name); })) {
            choose();
        }
    } else {
        return false;
    }
    return true;
}

void StatusMenu::choose() const {
    const auto chosen = chosen_; // the choice may destroy the item and this menu with it
    chosen();
}

QString StatusMenu::introspect(const QString&) const {
    return QStringLiteral(R"xml(<interface name="com.canonical.dbusmenu">
  <property name="Version" type="u" access="read"/>
  <property name="Status" type="s" access="read"/>
  <property name="TextDirection" type="s" access="read"/>
  <property name="IconThemePath" type="as" access="read"/>
  <method name="GetLayout">
    <arg name="parentId" type="i" direction="in"/><arg name="recursionDepth" type="i" direction="in"/>
    <arg name="propertyNames" type="as" direction="in"/>
    <arg name="revision" type="u" direction="out"/><arg name="layout" type="(ia{sv}av)" direction="out"/>
  </method>
  <method name="GetGroupProperties">
    <arg name="ids" type="ai" direction="in"/><arg name="propertyNames" type="as" direction="in"/>
    <arg name="properties" type="a(ia{sv})" direction="out"/>
  </method>
  <method name="GetProperty">
    <arg name="id" type="i" direction="in"/><arg name="name" type="s" direction="in"/>
    <arg name="value" type="v" direction="out"/>
  </method>
  <method name="Event">
    <arg name="id" type="i" direction="in"/><arg name="eventId" type="s" direction="in"/>
    <arg name="data" type="v" direction="in"/><arg name="timestamp" type="u" direction="in"/>
  </method>
  <method name="EventGroup">
    <arg name="events" type="a(isvu)" direction="in"/><arg name="idErrors" type="ai" direction="out"/>
  </method>
  <method name="AboutToShowGroup">
    <arg name="ids" type="ai" direction="in"/>
    <arg name="updatesNeeded" type="ai" direction="out"/><arg name="idErrors" type="ai" direction="out"/>
  </method>
  <method name="AboutToShow">
    <arg name="id" type="i" direction="in"/><arg name="needUpdate" type="b" direction="out"/>
  </method>
</interface>)xml");
}

} // namespace Linux
