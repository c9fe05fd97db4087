#include "Platforms/Linux/MenuBar/TrayWatch.hpp"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>

#include <utility>

namespace Linux {

namespace {

constexpr auto watcherService = "org.kde.StatusNotifierWatcher";
constexpr auto watcherPath = "/StatusNotifierWatcher";
constexpr int patience = 3000; // milliseconds

} // namespace

TrayWatch::TrayWatch(std::function<void(bool)> answered)
    : answered_(std::move(answered)) {
}

TrayWatch::~TrayWatch() = default;

void TrayWatch::start() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        answered_(false);
        return;
    }
    owner_ =
        std::make_unique<QDBusServiceWatcher>(watcherService, bus, QDBusServiceWatcher::WatchForOwnerChange);
    connect(owner_.get(), &QDBusServiceWatcher::serviceOwnerChanged, this, &TrayWatch::ask);
    for (const auto* signal : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"}) {
        bus.connect(watcherService, watcherPath, watcherService, signal, this, SLOT(ask()));
    }
    ask();
}

void TrayWatch::ask() {
    QDBusMessage question =
        QDBusMessage::createMethodCall(watcherService, watcherPath, "org.freedesktop.DBus.Properties", "Get");
    question << watcherService << "IsStatusNotifierHostRegistered";
    question.setAutoStartService(false); // whether a tray runs, not whether one could be started
    auto* reply =
        new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question, patience), this);
    connect(reply, &QDBusPendingCallWatcher::finished, this, [this, number = ++question_](auto* finished) {
        finished->deleteLater();
        if (number == question_) {
            const QDBusPendingReply<QDBusVariant> hostRegistered = *finished;
            answered_(hostRegistered.isValid() && hostRegistered.value().variant().toBool());
        }
    });
}

} // namespace Linux
