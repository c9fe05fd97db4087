#include "Platforms/Linux/MenuBar/StatusNotifierWatcher.hpp"

#include "Platforms/Linux/BusProperties.hpp"
#include "Platforms/Linux/MenuBar/StatusNotifier.hpp"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingReply>

#include <utility>

namespace Linux {

using namespace StatusNotifier;

namespace {

constexpr auto listProperty = "RegisteredStatusNotifierItems";

void refuse(const QDBusMessage& request, QDBusError::ErrorType error, const QString& reason) {
    QDBusConnection::sessionBus().send(request.createErrorReply(error, reason));
}

} // namespace

StatusNotifierWatcher::StatusNotifierWatcher(Keeper keeper)
    : keeper_(std::move(keeper)) {
}

StatusNotifierWatcher::~StatusNotifierWatcher() {
    release();
}

bool StatusNotifierWatcher::claim() {
    if (isClaimed_) {
        return true;
    }
    QDBusConnection bus = QDBusConnection::sessionBus();
    QDBusConnectionInterface* names = bus.interface();
    if (!names ||
        !bus.registerVirtualObject(watcherPath, this)) { // before the name: the first call may follow it
        return false;
    }
    const auto reply = names->registerService(watcherService, QDBusConnectionInterface::DontQueueService,
                                              QDBusConnectionInterface::DontAllowReplacement);
    isClaimed_ = reply.isValid() && reply.value() == QDBusConnectionInterface::ServiceRegistered;
    if (!isClaimed_) {
        bus.unregisterObject(watcherPath);
    } else {
        tell("StatusNotifierHostRegistered", {});
    }
    return isClaimed_;
}

void StatusNotifierWatcher::release() {
    if (std::exchange(isClaimed_, false)) {
        QDBusConnection bus = QDBusConnection::sessionBus();
        bus.unregisterService(watcherService);
        bus.unregisterObject(watcherPath);
    }
}

void StatusNotifierWatcher::tellRegistered(const QString& item) {
    tell("StatusNotifierItemRegistered", item);
}

void StatusNotifierWatcher::tellUnregistered(const QString& item) {
    tell("StatusNotifierItemUnregistered", item);
}

void StatusNotifierWatcher::tell(const char* signal, const QString& item) {
    if (!isClaimed_) {
        return;
    }
    const QDBusConnection bus = QDBusConnection::sessionBus();
    QDBusMessage news = QDBusMessage::createSignal(watcherPath, watcherService, signal);
    if (!item.isEmpty()) {
        news << item;
    }
    bus.send(news);
    // Some programs decide by this one whether to leave their fallback.
    QDBusMessage changes = QDBusMessage::createSignal(watcherPath, propertiesInterface, "PropertiesChanged");
    changes << watcherService << properties() << QStringList();
    bus.send(changes);
}

QVariantMap StatusNotifierWatcher::properties() const {
    return {
        {listProperty, keeper_.items()}, {"IsStatusNotifierHostRegistered", true}, {"ProtocolVersion", 0}};
}

bool StatusNotifierWatcher::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
    if (answerProperties(message, connection, properties())) {
        return true;
    }
    if (message.member() == "RegisterStatusNotifierItem") {
        registerItem(message);
        return true;
    }
    if (message.member() == "RegisterStatusNotifierHost") {
        connection.send(message.createReply()); // there is one already, and it stays
        return true;
    }
    return false;
}

void StatusNotifierWatcher::registerItem(const QDBusMessage& request) {
    const QVariantList arguments = request.arguments();
    const QString argument = arguments.size() == 1 ? arguments.first().toString() : QString();
    const auto address = registeredAddress(argument, request.service());
    if (!address) {
        refuse(request, QDBusError::InvalidArgs, "Neither a bus name nor an object path");
        return;
    }
    if (address->service == request.service()) {
        answerRegistration(request, *address, request.service());
        return;
    }
    // Another name than the caller's: the bus knows at once whether somebody has it.
    request.setDelayedReply(true);
    ask(this, nameOwnerQuestion(address->service),
        [this, request, address = *address](const QDBusPendingReply<QString>& owner) {
            if (owner.isValid()) {
                answerRegistration(request, address, owner.value());
            } else {
                refuse(request, QDBusError::InvalidArgs, "Nobody has the bus name " + address.service);
            }
        });
}

void StatusNotifierWatcher::answerRegistration(const QDBusMessage& request, const TrayItemAddress& address,
                                               const QString& owner) {
    if (keeper_.registered(address, owner) == Answer::accepted) {
        QDBusConnection::sessionBus().send(request.createReply());
    } else {
        refuse(request, QDBusError::LimitsExceeded, "There are too many items");
    }
}

QString StatusNotifierWatcher::introspect(const QString&) const {
    return QStringLiteral(R"xml(<interface name="org.kde.StatusNotifierWatcher">
  <method name="RegisterStatusNotifierItem"><arg name="service" type="s" direction="in"/></method>
  <method name="RegisterStatusNotifierHost"><arg name="service" type="s" direction="in"/></method>
  <property name="RegisteredStatusNotifierItems" type="as" access="read"/>
  <property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
  <property name="ProtocolVersion" type="i" access="read"/>
  <signal name="StatusNotifierItemRegistered"><arg type="s"/></signal>
  <signal name="StatusNotifierItemUnregistered"><arg type="s"/></signal>
  <signal name="StatusNotifierHostRegistered"/>
  <signal name="StatusNotifierHostUnregistered"/>
</interface>)xml");
}

} // namespace Linux
