#include "Platforms/Linux/BusProperties.hpp"

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusVariant>

namespace Linux {

bool answerProperties(const QDBusMessage& message, const QDBusConnection& connection,
                      const QVariantMap& properties) {
    if (message.interface() != QLatin1String("org.freedesktop.DBus.Properties")) {
        return false;
    }
    const QVariantList arguments = message.arguments();
    if (message.member() == QLatin1String("GetAll")) {
        connection.send(message.createReply(QVariant(properties)));
        return true;
    }
    if (message.member() == QLatin1String("Get") && arguments.size() == 2) {
        const QVariant value = properties.value(arguments.at(1).toString());
        connection.send(value.isValid()
                            ? message.createReply(QVariant::fromValue(QDBusVariant(value)))
                            : message.createErrorReply(QDBusError::UnknownProperty, "No such property"));
        return true;
    }
    return false;
}

} // namespace Linux
