#pragma once

#include <QVariantMap>

class QDBusConnection;
class QDBusMessage;

namespace Linux {

/// Answers a call of org.freedesktop.DBus.Properties for an object whose properties are read-only; false
/// where the call is another one.
bool answerProperties(const QDBusMessage& message, const QDBusConnection& connection,
                      const QVariantMap& properties);

} // namespace Linux
