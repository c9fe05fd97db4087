#include "Platforms/Linux/MenuBar/StatusNotifier.hpp"

namespace Linux::StatusNotifier {

QDBusMessage call(const QString& service, const QString& path, const QString& interface,
                  const QString& method) {
    QDBusMessage message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setAutoStartService(false);
    return message;
}

QDBusMessage propertyQuestion(const QString& service, const QString& path, const QString& interface,
                              const QString& property) {
    QDBusMessage question = call(service, path, propertiesInterface, "Get");
    question << interface << property;
    return question;
}

QDBusMessage busQuestion(const QString& method) {
    return call(busService, busPath, busService, method);
}

QDBusMessage nameOwnerQuestion(const QString& name) {
    QDBusMessage question = busQuestion("GetNameOwner");
    question << name;
    return question;
}

} // namespace Linux::StatusNotifier
