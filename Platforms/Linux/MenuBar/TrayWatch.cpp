#include "Platforms/Linux/MenuBar/TrayWatch.hpp"

#include "Platforms/Linux/MenuBar/StatusNotifier.hpp"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>

#include <utility>

namespace Linux {

using namespace StatusNotifier;

namespace {

constexpr qint64 ownNewsLimit = 1000; // milliseconds in which a watcher tells of our own registration

} // namespace

TrayWatch::TrayWatch(std::function<void(ForeignTray)> answered)
    : answered_(std::move(answered)) {
}

TrayWatch::~TrayWatch() = default;

void TrayWatch::start() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        answered_({});
        return;
    }
    ownerWatch_ =
        std::make_unique<QDBusServiceWatcher>(watcherService, bus, QDBusServiceWatcher::WatchForOwnerChange);
    connect(ownerWatch_.get(), &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& owner) { ownerChanged(owner); });
    bus.connect(watcherService, watcherPath, watcherService, "StatusNotifierHostRegistered", this,
                SLOT(hostRegistered()));
    bus.connect(watcherService, watcherPath, watcherService, "StatusNotifierHostUnregistered", this,
                SLOT(ask()));
    auto* reply =
        new QDBusPendingCallWatcher(bus.asyncCall(nameOwnerQuestion(watcherService), timeLimit), this);
    connect(reply, &QDBusPendingCallWatcher::finished, this, [this, number = question_](auto* finished) {
        finished->deleteLater();
        const QDBusPendingReply<QString> owner = *finished;
        if (number == question_) { // else the owner has changed since
            ownerChanged(owner.isValid() ? owner.value() : QString());
        }
    });
}

void TrayWatch::setIsHostThere(bool on) {
    const bool was = std::exchange(isHostThere_, on);
    if (on && !was) {
        sinceHostThere_.start();
    } else if (was && !on) {
        ask();
    }
}

void TrayWatch::hostRegistered() {
    if (!isHostThere_) {
        ask();
    } else if (sinceHostThere_.isValid() && !sinceHostThere_.hasExpired(ownNewsLimit)) {
        sinceHostThere_.invalidate(); // that was us
    } else {
        answered_({.watcher = owner_, .hasHost = true});
    }
}

void TrayWatch::ownerChanged(const QString& owner) {
    owner_ = owner == QDBusConnection::sessionBus().baseService() ? QString() : owner;
    isHostThere_ = false;
    ++question_;
    if (owner_.isEmpty()) {
        answered_({});
    } else {
        ask();
    }
}

void TrayWatch::ask() {
    if (owner_.isEmpty() || isHostThere_) {
        return;
    }
    auto* reply = new QDBusPendingCallWatcher(
        QDBusConnection::sessionBus().asyncCall(
            propertyQuestion(watcherService, watcherPath, watcherService, "IsStatusNotifierHostRegistered"),
            timeLimit),
        this);
    connect(reply, &QDBusPendingCallWatcher::finished, this, [this, number = ++question_](auto* finished) {
        finished->deleteLater();
        if (number == question_ && !isHostThere_) {
            const QDBusPendingReply<QDBusVariant> hostRegistered = *finished;
            answered_({.watcher = owner_,
                       .hasHost = hostRegistered.isValid() && hostRegistered.value().variant().toBool()});
        }
    });
}

} // namespace Linux
