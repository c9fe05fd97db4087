#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QString>

#include <utility>

/// The names of the StatusNotifier protocol as programs use them, and questions put to the bus with them.
/// None of the questions starts a program.
namespace Linux::StatusNotifier {

inline constexpr auto watcherService = "org.kde.StatusNotifierWatcher"; // also its interface
inline constexpr auto watcherPath = "/StatusNotifierWatcher";
inline constexpr auto itemInterface = "org.kde.StatusNotifierItem";
inline constexpr auto itemPath = "/StatusNotifierItem"; // where an item is that names no path
inline constexpr auto propertiesInterface = "org.freedesktop.DBus.Properties";

inline constexpr auto busService = "org.freedesktop.DBus"; // the bus itself; also its interface
inline constexpr auto busPath = "/org/freedesktop/DBus";

inline constexpr int timeLimit = 3000; // milliseconds, for answers that nobody waits for

/// A call that does not start the program it is addressed to.
QDBusMessage call(const QString& service, const QString& path, const QString& interface,
                  const QString& method);

QDBusMessage propertyQuestion(const QString& service, const QString& path, const QString& interface,
                              const QString& property);

/// Asks the bus itself: GetNameOwner, GetConnectionUnixProcessID …
QDBusMessage busQuestion(const QString& method);
QDBusMessage nameOwnerQuestion(const QString& name);

/// Sends a question over the session bus and hands the answer, a QDBusPendingCall, to `answered`; never after
/// `context` is gone. Waits for nobody.
template <class Answered>
void ask(QObject* context, const QDBusMessage& question, Answered answered, int limit = timeLimit) {
    auto* reply =
        new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question, limit), context);
    QObject::connect(reply, &QDBusPendingCallWatcher::finished, context,
                     [answered = std::move(answered)](QDBusPendingCallWatcher* finished) mutable {
                         finished->deleteLater();
                         answered(*finished);
                     });
}

} // namespace Linux::StatusNotifier
