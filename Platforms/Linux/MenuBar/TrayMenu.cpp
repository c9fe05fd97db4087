#include "Platforms/Linux/MenuBar/TrayMenu.hpp"

#include "Platforms/Linux/MenuBar/TrayMenuLayout.hpp"
#include "Platforms/Linux/MenuBar/TrayMenuWidget.hpp"
#include "Platforms/Linux/XConnection.hpp"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QDateTime>
#include <QTimer>

#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace Linux {

namespace {

constexpr auto menuInterface = "com.canonical.dbusmenu";
constexpr int rootId = 0;
constexpr int wholeDepth = -1; // of a layout asked for

int entriesBelow(const TrayMenuEntry& entry) {
    int count = 0;
    for (const TrayMenuEntry& child : entry.children) {
        count += 1 + entriesBelow(child);
    }
    return count;
}

bool isYes(const QDBusMessage& answer) {
    const QVariant value = answer.arguments().value(0);
    return value.metaType() == QMetaType::fromType<bool>() && value.toBool();
}

} // namespace

/// One opening, from the first question to the end. Whatever arrives after the end is dropped; the object
/// itself goes when nothing of it is on the stack any more.
class TrayMenu::Opening : public QObject {
public:
    Opening(TrayMenu& menu, const QRect& anchor, std::function<void()> failed)
        : menu_(menu)
        , bus_(menu.bus_)
        , service_(menu.service_)
        , path_(menu.path_)
        , anchor_(anchor)
        , failed_(std::move(failed))
        , owner_(menu.service_, menu.bus_, QDBusServiceWatcher::WatchForOwnerChange) {
        for (QTimer* timer : {&preparation_, &readPause_, &refreshPause_}) {
            timer->setSingleShot(true);
        }
        connect(&preparation_, &QTimer::timeout, this, [this] { begin(); });
        connect(&readPause_, &QTimer::timeout, this, [this] { readNext(); });
        connect(&refreshPause_, &QTimer::timeout, this, [this] { refreshNext(); });
        connect(&owner_, &QDBusServiceWatcher::serviceOwnerChanged, this, [this] {
            if (widget_) {
                close();
            } else {
                fail();
            }
        });
    }

    /// Lets the program get its menu ready, but not for long, and asks for it.
    void ask() {
        preparation_.start(openingPatience);
        call("AboutToShow", {rootId}, [this](const QDBusMessage& answer) {
            if (!hasBegun_) {
                begin();
            } else if (isYes(answer)) {
                read(rootId);
            }
        });
    }

    bool isShown() const { return widget_ && widget_->isVisible(); }
    bool isAsking() const { return !widget_; }

    /// Takes the menu off the screen and calls nobody any more.
    void stop() {
        isOver_ = true;
        for (QTimer* timer : {&preparation_, &readPause_, &refreshPause_}) {
            timer->stop();
        }
        if (widget_) {
            widget_->hide(); // its submenus tell that they close
            tell(rootId, "closed");
        }
    }

    void layoutUpdated(int parent) {
        if (hasBegun_ && (parent == rootId || index_.contains(parent))) {
            read(parent);
        }
    }

    void propertiesUpdated(const QVariantList& arguments) {
        if (!widget_) {
            return; // the layout to come knows
        }
        for (const TrayMenuChange& change : trayMenuChanges(arguments)) {
            if (const auto known = index_.find(change.id); known != index_.end()) {
                applyTrayMenuChange(*known->second.entry, change.properties);
                isStale_ = true;
            }
        }
        refreshNext();
    }

private:
    struct Place {
        TrayMenuEntry* entry;
        int depth; // 0 for the whole menu
    };

    void call(const char* method, const QVariantList& arguments,
              std::function<void(const QDBusMessage&)> answered) {
        auto* reply =
            new QDBusPendingCallWatcher(bus_.asyncCall(message(method, arguments), timeLimit), this);
        connect(reply, &QDBusPendingCallWatcher::finished, this,
                [this, answered = std::move(answered)](QDBusPendingCallWatcher* finished) {
                    finished->deleteLater();
                    if (!isOver_) {
                        answered(finished->reply());
                    }
                });
    }

    /// Tells the program of an event; what it answers does not matter.
    void tell(int id, const char* event, uint timestamp = 0) {
        bus_.send(message("Event", {id, QString::fromLatin1(event),
                                    QVariant::fromValue(QDBusVariant(QString())), timestamp}));
    }

    QDBusMessage message(const char* method, const QVariantList& arguments) const {
        QDBusMessage message = QDBusMessage::createMethodCall(service_, path_, menuInterface, method);
        message.setArguments(arguments);
        message.setAutoStartService(false); // a program that is gone has no menu
        return message;
    }

    void begin() {
        hasBegun_ = true;
        preparation_.stop();
        read(rootId);
    }

    /// Asks for the layout of an entry: one question at a time and one to come, which is for the whole menu
    /// where several entries want it.
    void read(int id) {
        wanted_ = !wanted_ || *wanted_ == id ? id : rootId;
        readNext();
    }

    void readNext() {
        if (!wanted_ || isReading_ || readPause_.isActive()) {
            return;
        }
        const int id = *std::exchange(wanted_, std::nullopt);
        isReading_ = true;
        readPause_.start(refreshInterval);
        call("GetLayout", {id, wholeDepth, QStringList()}, [this, id](const QDBusMessage& answer) {
            isReading_ = false;
            take(id, answer);
        });
    }

    void take(int id, const QDBusMessage& answer) {
        const QVariant layout = answer.arguments().value(1);
        const bool isLayout = answer.type() == QDBusMessage::ReplyMessage &&
                              layout.metaType() == QMetaType::fromType<QDBusArgument>();
        if (isLayout) {
            replace(id, layout.value<QDBusArgument>());
        }
        if (!widget_ && !TrayMenuWidget::hasRows(root_)) {
            fail();
            return;
        }
        if (!widget_) {
            show();
        }
        readNext();
        refreshNext();
    }

    void replace(int id, const QDBusArgument& layout) {
        TrayMenuEntry* former = &root_;
        int depth = 0;
        if (id != rootId) {
            const auto known = index_.find(id);
            if (known == index_.end()) {
                return;
            }
            former = known->second.entry;
            depth = known->second.depth;
        }
        const int elsewhere = entriesBelow(root_) - entriesBelow(*former);
        TrayMenuEntry entry =
            trayMenuLayout(layout, deepestTrayMenu - depth, mostTrayMenuEntries - elsewhere);
        entry.id = id;
        if (entry != *former) {
            *former = std::move(entry);
            index_.clear();
            enter(root_, 0);
            isStale_ = true;
        }
    }

    /// Where several entries claim the same id it belongs to the first.
    void enter(TrayMenuEntry& entry, int depth) {
        index_.try_emplace(entry.id, Place{&entry, depth});
        for (TrayMenuEntry& child : entry.children) {
            enter(child, depth + 1);
        }
    }

    void show() {
        isStale_ = false;
        widget_ = std::make_unique<TrayMenuWidget>(program_, rootId, isComposited());
        widget_->setAnchor(anchor_);
        // A choice is told after the menu has closed, but in the same turn of the loop.
        connect(
            widget_.get(), &QMenu::aboutToHide, this, [this] { close(); }, Qt::QueuedConnection);
        tell(rootId, "opened");
        widget_->popup(anchor_.bottomLeft() + QPoint(0, 1));
    }

    void close() {
        if (!isOver_) {
            menu_.close();
        }
    }

    void refreshNext() {
        if (!isStale_ || !widget_ || refreshPause_.isActive()) {
            return;
        }
        isStale_ = false;
        refreshPause_.start(refreshInterval);
        if (TrayMenuWidget::hasRows(root_)) {
            widget_->refresh();
        } else {
            close();
        }
    }

    void fail() {
        if (isOver_) {
            return;
        }
        const auto failed = failed_;
        menu_.end();
        if (failed) {
            failed(); // it may destroy the menu
        }
    }

    const TrayMenuEntry* entry(int id) const {
        const auto known = index_.find(id);
        return known == index_.end() ? nullptr : known->second.entry;
    }

    void submenuOpened(int id) {
        // One question for each submenu at a time, however often the pointer passes it.
        if (beingPrepared_.insert(id).second) {
            call("AboutToShow", {id}, [this, id](const QDBusMessage& answer) {
                beingPrepared_.erase(id);
                const TrayMenuEntry* submenu = entry(id);
                if (submenu && (isYes(answer) || !TrayMenuWidget::hasRows(*submenu))) {
                    read(id);
                }
            });
        }
        tell(id, "opened");
    }

    TrayMenu& menu_; // may be gone once this is over
    const QDBusConnection bus_;
    const QString service_;
    const QString path_;
    const QRect anchor_;
    const std::function<void()> failed_;
    bool isOver_ = false;

    bool hasBegun_ = false; // asking for the layout
    bool isReading_ = false;
    std::optional<int> wanted_; // the entry to read next
    std::unordered_set<int> beingPrepared_;
    TrayMenuEntry root_;
    std::unordered_map<int, Place> index_; // of root_
    bool isStale_ = false;                 // the widget shows an older layout

    const TrayMenuWidget::Program program_{
        .entry = [this](int id) { return entry(id); },
        .chosen =
            [this](int id) { tell(id, "clicked", static_cast<uint>(QDateTime::currentSecsSinceEpoch())); },
        .submenuOpened = [this](int id) { submenuOpened(id); },
        .submenuClosed = [this](int id) { tell(id, "closed"); }};
    QDBusServiceWatcher owner_;
    QTimer preparation_;
    QTimer readPause_;
    QTimer refreshPause_;
    std::unique_ptr<TrayMenuWidget> widget_; // null until the menu is told
};

TrayMenu::TrayMenu(QString service, QString path, QDBusConnection bus)
    : service_(std::move(service))
    , path_(std::move(path))
    , bus_(std::move(bus)) {
}

TrayMenu::~TrayMenu() {
    end();
}

void TrayMenu::open(const QRect& anchor, std::function<void()> failed) {
    if (opening_) {
        const bool isWanted = opening_->isAsking() || opening_->isShown();
        close();
        if (isWanted) {
            return; // else it had just closed by itself
        }
    }
    opening_ = std::make_unique<Opening>(*this, anchor, std::move(failed));
    follow();
    opening_->ask();
}

void TrayMenu::close() {
    if (!opening_) {
        return;
    }
    end();
    if (closed_) {
        const auto closed = closed_; // it may destroy the menu
        closed();
    }
}

bool TrayMenu::isOpen() const {
    return opening_ && opening_->isShown();
}

void TrayMenu::follow() {
    bus_.connect(service_, path_, menuInterface, "LayoutUpdated", this, SLOT(layoutUpdated(QDBusMessage)));
    bus_.connect(service_, path_, menuInterface, "ItemsPropertiesUpdated", this,
                 SLOT(itemsPropertiesUpdated(QDBusMessage)));
}

void TrayMenu::end() {
    if (!opening_) {
        return;
    }
    bus_.disconnect(service_, path_, menuInterface, "LayoutUpdated", this, SLOT(layoutUpdated(QDBusMessage)));
    bus_.disconnect(service_, path_, menuInterface, "ItemsPropertiesUpdated", this,
                    SLOT(itemsPropertiesUpdated(QDBusMessage)));
    Opening* over = opening_.release();
    over->stop();
    over->deleteLater(); // one of its own answers may have brought us here
}

void TrayMenu::layoutUpdated(const QDBusMessage& message) {
    const QVariant parent = message.arguments().value(1);
    if (opening_ && parent.metaType() == QMetaType::fromType<int>()) {
        opening_->layoutUpdated(parent.toInt());
    }
}

void TrayMenu::itemsPropertiesUpdated(const QDBusMessage& message) {
    if (opening_) {
        opening_->propertiesUpdated(message.arguments());
    }
}

} // namespace Linux
