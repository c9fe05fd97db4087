#include "Tests/Desktop/TrayDouble.hpp"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>

#include <stdexcept>
#include <utility>

namespace Desktop {

namespace {

constexpr auto watcherService = "org.kde.StatusNotifierWatcher";
constexpr auto watcherPath = "/StatusNotifierWatcher";
constexpr auto itemInterface = "org.kde.StatusNotifierItem";
constexpr auto menuInterface = "com.canonical.dbusmenu";
constexpr auto propertiesInterface = "org.freedesktop.DBus.Properties";
constexpr int patience = 5000; // milliseconds

QString connectionName() {
    static int made = 0;
    return QStringLiteral("tray-%1").arg(++made);
}

} // namespace

TrayDouble::TrayDouble(Manners manners)
    : manners_(manners)
    , bus_(QDBusConnection::connectToBus(QDBusConnection::SessionBus, connectionName())) {
    bus_.registerVirtualObject(watcherPath, this); // before the name: whoever sees the name finds the object
    owners_.setConnection(bus_);
    owners_.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    connect(&owners_, &QDBusServiceWatcher::serviceUnregistered, this,
            [this](const QString& name) { ownerGone(name); });
    bus_.connect({}, {}, itemInterface, "NewIcon", this, SLOT(newIcon()));
    const auto line = manners_.waitsInLine ? QDBusConnectionInterface::QueueService
                                           : QDBusConnectionInterface::DontQueueService;
    const auto reply = bus_.interface()->registerService(watcherService, line);
    if (!reply.isValid() || reply.value() == QDBusConnectionInterface::ServiceNotRegistered) {
        throw std::runtime_error("another tray runs on this bus");
    }
}

TrayDouble::~TrayDouble() {
    const QString name = bus_.name();
    bus_.unregisterObject(watcherPath);
    bus_.unregisterService(watcherService);
    owners_.setConnection(QDBusConnection(QString()));
    bus_ = QDBusConnection(QString());
    QDBusConnection::disconnectFromBus(name);
}

void TrayDouble::setHasHost(bool hasHost) {
    manners_.hasHost = hasHost;
    bus_.send(QDBusMessage::createSignal(watcherPath, watcherService,
                                         hasHost ? "StatusNotifierHostRegistered"
                                                 : "StatusNotifierHostUnregistered"));
}

QString TrayDouble::introspect(const QString&) const {
    return QStringLiteral(R"(<interface name="org.kde.StatusNotifierWatcher">
  <method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
  <method name="RegisterStatusNotifierHost"><arg type="s" direction="in"/></method>
  <property name="RegisteredStatusNotifierItems" type="as" access="read"/>
  <property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
  <property name="ProtocolVersion" type="i" access="read"/>
</interface>)");
}

bool TrayDouble::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
    const QVariantList arguments = message.arguments();
    if (message.interface() == propertiesInterface) {
        const QVariantMap values{{"RegisteredStatusNotifierItems", items_},
                                 {"IsStatusNotifierHostRegistered", manners_.hasHost},
                                 {"ProtocolVersion", 0}};
        if (manners_.answersQuestions) {
            const QVariant value = values.value(arguments.value(1).toString());
            connection.send(message.member() == "GetAll"
                                ? message.createReply(QVariant(values))
                                : message.createReply(QVariant::fromValue(QDBusVariant(value))));
        } else {
            message.setDelayedReply(true);
        }
        return true;
    }
    if (message.member() == "RegisterStatusNotifierItem") {
        const QString given = arguments.value(0).toString();
        const QString owner = given.startsWith('/') ? message.service() : given;
        items_ << owner + (given.startsWith('/') ? given : QString("/StatusNotifierItem"));
        owners_.addWatchedService(owner);
        tell("StatusNotifierItemRegistered", items_.constLast());
        if (manners_.answersRegistration) {
            connection.send(message.createReply());
        } else {
            message.setDelayedReply(true);
        }
        return true;
    }
    if (message.member() == "RegisterStatusNotifierHost") {
        const QString host = arguments.value(0).toString();
        if (!otherHosts_.contains(host)) { // one that registers again is still one
            otherHosts_ << host;
            bus_.send(
                QDBusMessage::createSignal(watcherPath, watcherService, "StatusNotifierHostRegistered"));
        }
        connection.send(message.createReply());
        return true;
    }
    return false;
}

void TrayDouble::tell(const char* signal, const QString& item) {
    QDBusMessage message = QDBusMessage::createSignal(watcherPath, watcherService, signal);
    message << item;
    bus_.send(message);
}

void TrayDouble::ownerGone(const QString& name) {
    const QStringList before = std::exchange(items_, {});
    for (const QString& item : before) {
        if (item.startsWith(name + '/')) {
            tell("StatusNotifierItemUnregistered", item);
        } else {
            items_ << item;
        }
    }
}

void TrayDouble::newIcon() {
    newIcons_.push_back(std::chrono::steady_clock::now());
}

QDBusMessage TrayDouble::ask(const QString& interface, const QString& method, const QVariantList& arguments) {
    const QString item = items_.value(items_.size() - 1);
    const auto slash = item.indexOf('/');
    QDBusMessage question =
        QDBusMessage::createMethodCall(item.left(slash), item.mid(slash), interface, method);
    question.setArguments(arguments);
    return items_.isEmpty() ? QDBusMessage() : bus_.call(question, QDBus::Block, patience);
}

bool TrayDouble::callItem(const QString& method, QPoint place) {
    return ask(itemInterface, method, {place.x(), place.y()}).type() == QDBusMessage::ReplyMessage;
}

QVariantMap TrayDouble::properties() {
    const QVariantList answer = ask(propertiesInterface, "GetAll", {itemInterface}).arguments();
    return qdbus_cast<QVariantMap>(answer.value(0));
}

QVariant TrayDouble::property(const QString& name) {
    const QVariantList answer = ask(propertiesInterface, "Get", {itemInterface, name}).arguments();
    return answer.value(0).value<QDBusVariant>().variant();
}

std::vector<TrayPicture> TrayDouble::pictures() {
    std::vector<TrayPicture> result;
    const auto argument = property("IconPixmap").value<QDBusArgument>();
    if (argument.currentType() != QDBusArgument::ArrayType) {
        return result;
    }
    argument.beginArray();
    while (!argument.atEnd()) {
        TrayPicture picture;
        argument.beginStructure();
        argument >> picture.width >> picture.height >> picture.bytes;
        argument.endStructure();
        result.push_back(std::move(picture));
    }
    argument.endArray();
    return result;
}

QDBusMessage TrayDouble::askMenu(const QString& method, const QVariantList& arguments) {
    const QString item = items_.value(items_.size() - 1);
    const QString path = property("Menu").value<QDBusObjectPath>().path();
    QDBusMessage question =
        QDBusMessage::createMethodCall(item.left(item.indexOf('/')), path, menuInterface, method);
    question.setArguments(arguments);
    return bus_.call(question, QDBus::Block, patience);
}

std::vector<TrayEntry> TrayDouble::menu() {
    askMenu("AboutToShow", {0});
    const QVariantList answer = askMenu("GetLayout", {0, -1, QStringList()}).arguments();
    // (id, properties, children), each child a variant of the same shape.
    const auto readNode = [](const QDBusArgument& argument, int& id, QVariantMap& properties,
                             QVariantList& children) {
        argument.beginStructure();
        argument >> id >> properties >> children;
        argument.endStructure();
    };
    std::vector<TrayEntry> entries;
    if (answer.size() != 2) {
        return entries;
    }
    int id = 0;
    QVariantMap properties;
    QVariantList children;
    readNode(answer[1].value<QDBusArgument>(), id, properties, children);
    for (const QVariant& child : children) {
        QVariantList none;
        readNode(child.value<QDBusArgument>(), id, properties, none);
        entries.push_back({id, properties.value("label").toString()});
    }
    return entries;
}

bool TrayDouble::choose(int id) {
    const QVariant nothing = QVariant::fromValue(QDBusVariant(QString()));
    return askMenu("Event", {id, "clicked", nothing, 0U}).type() == QDBusMessage::ReplyMessage;
}

} // namespace Desktop
