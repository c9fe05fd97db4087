#include "Platforms/Linux/MenuBar/TrayHost.hpp"

#include "Platforms/Linux/MenuBar/StatusNotifier.hpp"
#include "ZorbelKit/Host/MainLoop.hpp"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QDBusReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>

#include <algorithm>
#include <array>
#include <utility>

namespace Linux {

using namespace StatusNotifier;
using Answer = StatusNotifierWatcher::Answer;

TrayHost::TrayHost(ZorbelKit::MainLoop& loop, Events events)
    : loop_(loop)
    , events_(std::move(events))
    , watcher_({.items =
                    [this] {
                        QStringList list;
                        for (const auto& item : items_) {
                            list << item->address().text();
                        }
                        return list;
                    },
                .registered = [this](const TrayItemAddress& address,
                                     const QString& owner) { return add(address, owner, false); }}) {
}

TrayHost::~TrayHost() {
    setRole(Role::none);
}

void TrayHost::setRole(Role role, const QString& foreignWatcher) {
    const bool isDone = role == role_ && foreignWatcher == foreignWatcher_;
    if (isDone && (role != Role::ownWatcher || isWatcher())) {
        return;
    }
    role_ = role;
    foreignWatcher_ = foreignWatcher;
    if (role != Role::ownWatcher) {
        resignAsWatcher();
    }
    leaveForeignWatcher(); // also for another watcher than before
    switch (role) {
    case Role::none:
        clear();
        break;
    case Role::waiting:
        break;
    case Role::ownWatcher:
        becomeWatcher();
        break;
    case Role::secondHost:
        becomeSecondHost();
        break;
    }
}

void TrayHost::becomeWatcher() {
    if (watcher_.claim()) {
        // A tray that starts now waits in line for the name, and nothing tells of that but its arrival on the
        // bus.
        QDBusConnection::sessionBus().connect(busService, busPath, busService, "NameOwnerChanged", this,
                                              SLOT(nameOwnerChanged(QString, QString, QString)));
        lookForForgotten();
    }
}

void TrayHost::nameOwnerChanged(const QString&, const QString& before, const QString&) {
    if (!before.isEmpty() || firstLook_) {
        return;
    }
    firstLook_ = loop_.after(firstLookDelay, [this] {
        firstLook_.reset();
        askWhoWaits();
        secondLook_ = loop_.after(secondLookDelay, [this] { askWhoWaits(); });
    });
}

void TrayHost::askWhoWaits() {
    QDBusMessage question = busQuestion("ListQueuedOwners");
    question << watcherService;
    ask(this, question, [this](const QDBusPendingReply<QStringList>& owners) {
        if (isWatcher() && owners.isValid() && owners.value().size() > 1) {
            resignAsWatcher();
        }
    });
}

void TrayHost::resignAsWatcher() {
    if (!isWatcher()) {
        return;
    }
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.disconnect(busService, busPath, busService, "NameOwnerChanged", this,
                   SLOT(nameOwnerChanged(QString, QString, QString)));
    firstLook_.reset();
    secondLook_.reset();
    watcher_.release();
    const QDBusReply<QString> successor = bus.interface()->serviceOwner(watcherService);
    if (!successor.isValid()) {
        return; // programs notice that the name is free, and register when it is taken again
    }
    for (const auto& item : items_) {
        const TrayItemAddress& address = item->address();
        const bool isAtStandardPath = address.path == itemPath;
        if (!isAtStandardPath && address.service.startsWith(':')) {
            continue; // only the program itself can register it; these follow the name's owner
        }
        QDBusMessage request =
            call(watcherService, watcherPath, watcherService, "RegisterStatusNotifierItem");
        request << (isAtStandardPath ? address.service : address.text());
        bus.send(request);
    }
}

void TrayHost::becomeSecondHost() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    hostName_ = "org.kde.StatusNotifierHost-" + QString::number(QCoreApplication::applicationPid());
    bus.registerService(hostName_);
    bus.connect(watcherService, watcherPath, watcherService, "StatusNotifierItemRegistered", this,
                SLOT(listed(QString)));
    bus.connect(watcherService, watcherPath, watcherService, "StatusNotifierItemUnregistered", this,
                SLOT(unlisted(QString)));
    QDBusMessage request = call(watcherService, watcherPath, watcherService, "RegisterStatusNotifierHost");
    request << hostName_;
    bus.send(request);
    readForeignList();
}

void TrayHost::leaveForeignWatcher() {
    if (hostName_.isEmpty()) {
        return;
    }
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.disconnect(watcherService, watcherPath, watcherService, "StatusNotifierItemRegistered", this,
                   SLOT(listed(QString)));
    bus.disconnect(watcherService, watcherPath, watcherService, "StatusNotifierItemUnregistered", this,
                   SLOT(unlisted(QString)));
    bus.unregisterService(std::exchange(hostName_, QString()));
}

void TrayHost::readForeignList() {
    ask(this, propertyQuestion(watcherService, watcherPath, watcherService, "RegisteredStatusNotifierItems"),
        [this](const QDBusPendingReply<QDBusVariant>& list) {
            if (list.isValid() && role_ == Role::secondHost) {
                for (const QString& entry : list.value().variant().toStringList()) {
                    listed(entry);
                }
            }
        });
}

void TrayHost::lookForForgotten() {
    // Programs that register only once in their life did so with the watcher before us.
    ask(this, busQuestion("ListNames"), [this](const QDBusPendingReply<QStringList>& names) {
        if (!names.isValid() || !isWatcher()) {
            return;
        }
        for (const QString& name : names.value()) {
            if (name.startsWith("org.kde.StatusNotifierItem-") ||
                name.startsWith("org.freedesktop.StatusNotifierItem-")) {
                const TrayItemAddress address{name, itemPath};
                if (!find(address)) {
                    add(address, {}, true);
                }
            }
        }
    });
}

void TrayHost::listed(const QString& entry) {
    const auto address = listedAddress(entry);
    if (address && address->service != QDBusConnection::sessionBus().baseService()) {
        add(*address, {}, false);
    }
}

void TrayHost::unlisted(const QString& entry) {
    if (const auto address = listedAddress(entry)) {
        if (TrayItem* item = find(*address)) {
            remove(*item);
        }
    }
}

Answer TrayHost::add(const TrayItemAddress& address, const QString& owner, bool isGuess) {
    if (TrayItem* known = find(address)) {
        known->refresh();
        return Answer::accepted;
    }
    if (!hasRoomFor(owner)) {
        return Answer::refused;
    }
    if (!std::exchange(followsSignals_, true)) {
        // One subscription for all items: whose signal it is, the sender and the path tell.
        QDBusConnection::sessionBus().connect({}, {}, itemInterface, {}, this,
                                              SLOT(itemSignalled(QDBusMessage)));
    }
    if (!names_) {
        names_ = std::make_unique<QDBusServiceWatcher>();
        names_->setConnection(QDBusConnection::sessionBus());
        names_->setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
        connect(names_.get(), &QDBusServiceWatcher::serviceUnregistered, this, &TrayHost::nameLost);
    }
    names_->addWatchedService(address.service);
    items_.push_back(
        std::make_unique<TrayItem>(loop_, address, owner, isGuess,
                                   TrayItem::Events{.changed =
                                                        [this](TrayItem& item) {
                                                            if (holds(item)) {
                                                                events_.changed(item);
                                                            }
                                                        },
                                                    .gone = [this](TrayItem& item) { remove(item); }}));
    items_.back()->start();
    watcher_.tellRegistered(address.text());
    return Answer::accepted;
}

bool TrayHost::hasRoomFor(const QString& owner) const {
    const auto ofOwner =
        std::ranges::count_if(items_, [&](const auto& item) { return item->owner() == owner; });
    return items_.size() < mostItems &&
           (owner.isEmpty() || static_cast<std::size_t>(ofOwner) < mostItemsOfAProgram);
}

TrayItem* TrayHost::find(const TrayItemAddress& address) const {
    const auto found = std::ranges::find(items_, address, [](const auto& item) { return item->address(); });
    return found == items_.end() ? nullptr : found->get();
}

bool TrayHost::holds(const TrayItem& item) const {
    return std::ranges::find(items_, &item, &std::unique_ptr<TrayItem>::get) != items_.end();
}

void TrayHost::remove(TrayItem& item) {
    const auto found = std::ranges::find(items_, &item, &std::unique_ptr<TrayItem>::get);
    if (found == items_.end()) {
        return;
    }
    // A call of the item's own may be on the stack: it goes once that is over.
    const std::shared_ptr<TrayItem> leaving(found->release(), [](TrayItem* gone) { gone->deleteLater(); });
    items_.erase(found);
    const QString& service = leaving->address().service;
    if (std::ranges::none_of(items_,
                             [&](const auto& other) { return other->address().service == service; })) {
        names_->removeWatchedService(service);
    }
    if (leaving->isKnown()) {
        events_.leaving(*leaving);
    }
    watcher_.tellUnregistered(leaving->address().text());
}

void TrayHost::nameLost(const QString& service) {
    for (std::size_t index = items_.size(); index-- > 0;) {
        if (index < items_.size() && items_[index]->address().service == service) {
            remove(*items_[index]);
        }
    }
}

void TrayHost::clear() {
    while (!items_.empty()) {
        remove(*items_.back());
    }
    if (std::exchange(followsSignals_, false)) {
        QDBusConnection::sessionBus().disconnect({}, {}, itemInterface, {}, this,
                                                 SLOT(itemSignalled(QDBusMessage)));
    }
}

void TrayHost::itemSignalled(const QDBusMessage& signal) {
    for (const auto& item : items_) {
        if (item->owner() == signal.service() && item->address().path == signal.path()) {
            item->signalled();
            return;
        }
    }
}

} // namespace Linux
