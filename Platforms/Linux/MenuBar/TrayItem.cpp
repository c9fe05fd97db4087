#include "Platforms/Linux/MenuBar/TrayItem.hpp"

#include "Platforms/Linux/MenuBar/StatusNotifier.hpp"
#include "ZorbelKit/Host/MainLoop.hpp"

#include <QDBusConnection>
#include <QDBusPendingReply>

#include <utility>

namespace Linux {

using namespace StatusNotifier;

TrayItem::TrayItem(ZorbelKit::MainLoop& loop, TrayItemAddress address, QString owner, bool isGuess,
                   Events events)
    : loop_(loop)
    , address_(std::move(address))
    , isGuess_(isGuess)
    , events_(std::move(events))
    , owner_(std::move(owner))
    , readings_(loop, readInterval, [this] { read(); }) {
}

TrayItem::~TrayItem() = default;

void TrayItem::start() {
    askOwner(); // first: the bus answers it before the item can tell anything
    askProcess();
    refresh();
}

void TrayItem::refresh() {
    hasRetried_ = false;
    if (isReading_) {
        isStale_ = true;
    } else {
        readings_.request();
    }
}

void TrayItem::nameLost() {
    const auto gone = events_.gone; // it destroys this
    gone(*this);
}

void TrayItem::askOwner() {
    ask(this, nameOwnerQuestion(address_.service), [this](const QDBusPendingReply<QString>& reply) {
        if (reply.isValid()) {
            owner_ = reply.value();
        } else if (reply.error().name() == "org.freedesktop.DBus.Error.NameHasNoOwner") {
            nameLost();
        }
    });
}

void TrayItem::askProcess() {
    QDBusMessage question = busQuestion("GetConnectionUnixProcessID");
    question << address_.service;
    ask(this, question, [this](const QDBusPendingReply<uint>& reply) {
        if (reply.isValid()) {
            identify(static_cast<int>(reply.value()));
        } else {
            hasProcess_ = true;
            tell();
        }
    });
}

void TrayItem::identify(int pid) {
    // Off the main thread: a process that is stuck holds up whoever reads its command line.
    loop_.background(ZorbelKit::Priority::userInitiated,
                     [&loop = loop_, pid, known = lifetime_.guard([this](const ProcessIdentity& process) {
                         process_ = process;
                         hasProcess_ = true;
                         tell();
                     })]() mutable {
                         loop.post([process = processIdentity(pid), known = std::move(known)]() mutable {
                             known(process);
                         });
                     });
}

void TrayItem::read() {
    if (isReading_) {
        isStale_ = true;
        return;
    }
    isReading_ = true;
    isStale_ = false;
    QDBusMessage question = call(address_.service, address_.path, propertiesInterface, "GetAll");
    question << itemInterface;
    ask(
        this, question,
        [this](const QDBusPendingReply<QVariantMap>& reply) {
            isReading_ = false;
            if (reply.isValid()) {
                take(reply.value());
                return;
            }
            if (isGuess_ && !isKnown_) {
                nameLost();
                return;
            }
            if (!std::exchange(hasRetried_, true)) {
                retry_ = loop_.after(retryDelay, [this] { readings_.request(); });
            } else if (isStale_) {
                refresh();
            }
        },
        readingLimit);
}

void TrayItem::take(const QVariantMap& properties) {
    state_ = trayItemState(properties);
    hasState_ = true;
    if (isStale_) {
        readings_.request();
    }
    tell();
}

void TrayItem::tell() {
    if (!hasState_ || !hasProcess_) {
        return; // its place in the row hangs on both
    }
    isKnown_ = true;
    const auto changed = events_.changed; // it may destroy this
    changed(*this);
}

void TrayItem::activate(QPoint place, std::function<void()> refused) {
    send("Activate", {place.x(), place.y()}, std::move(refused));
}

void TrayItem::secondaryActivate(QPoint place) {
    send("SecondaryActivate", {place.x(), place.y()});
}

void TrayItem::contextMenu(QPoint place) {
    send("ContextMenu", {place.x(), place.y()});
}

void TrayItem::scroll(int delta, Qt::Orientation orientation) {
    // The protocol does not say which way is positive. One library takes it for down, the others for up.
    const bool countsDown = address_.path.startsWith("/org/ayatana/NotificationItem/");
    send("Scroll", {countsDown ? -delta : delta, orientation == Qt::Vertical ? "vertical" : "horizontal"});
}

void TrayItem::send(const char* method, const QVariantList& arguments, std::function<void()> refused) {
    QDBusMessage message = call(address_.service, address_.path, itemInterface, method);
    message.setArguments(arguments);
    ask(
        this, message,
        [refused = std::move(refused)](const QDBusPendingReply<>& reply) {
            const auto error = reply.error().type();
            const bool isSlow =
                error == QDBusError::NoReply || error == QDBusError::Timeout || error == QDBusError::TimedOut;
            if (reply.isError() && !isSlow && refused) {
                refused();
            }
        },
        clickLimit);
}

} // namespace Linux
