#pragma once

#include "Platforms/Linux/MenuBar/StatusNotifierWatcher.hpp"
#include "Platforms/Linux/MenuBar/TrayItem.hpp"

#include <QObject>

#include <functional>
#include <memory>
#include <vector>

class QDBusMessage;
class QDBusServiceWatcher;

namespace Linux {

/// Gathers the icons of other programs from the session bus: as the watcher they register with, or as a
/// further host beside the desktop's own tray. An item stays through a change between the two. A tray that
/// waits for the watcher's name gets it, and the list with it: programs do not notice a name that goes from
/// one owner straight to the next. Main thread only.
class TrayHost : public QObject {
    Q_OBJECT
public:
    enum class Role {
        none,       // no items
        waiting,    // items stay, and no new ones come
        ownWatcher, // programs register here, where the name is free
        secondHost, // the list of another process's watcher is followed
    };

    /// Each is called on the main thread; the item is gone once `leaving` returns.
    struct Events {
        std::function<void(TrayItem&)> changed; // an item is there that has told of itself, newly or again
        std::function<void(TrayItem&)> leaving; // told only of items that had told of themselves
    };

    /// A tray joins the bus, and a while later it waits for the watcher's name: two looks follow each
    /// arrival.
    static constexpr ZorbelKit::Seconds firstLookDelay{2.0};
    static constexpr ZorbelKit::Seconds secondLookDelay{8.0}; // after the first

    static constexpr std::size_t mostItems = 512;
    static constexpr std::size_t mostItemsOfAProgram = 16; // of one connection to the bus

    TrayHost(ZorbelKit::MainLoop& loop, Events events);
    ~TrayHost() override;

    /// `foreignWatcher`: the unique bus name of the watcher there is instead of ours, for a second host.
    void setRole(Role role, const QString& foreignWatcher = {});
    Role role() const { return role_; }

    /// Whether programs register here.
    bool isWatcher() const { return watcher_.isClaimed(); }

private:
    Q_SLOT void itemSignalled(const QDBusMessage& signal);
    Q_SLOT void nameOwnerChanged(const QString& name, const QString& before, const QString& after);
    Q_SLOT void listed(const QString& entry);
    Q_SLOT void unlisted(const QString& entry);

    void becomeWatcher();
    void resignAsWatcher();
    void askWhoWaits();
    void becomeSecondHost();
    void leaveForeignWatcher();
    void readForeignList();
    void lookForForgotten();

    StatusNotifierWatcher::Answer add(const TrayItemAddress& address, const QString& owner, bool isGuess);
    bool hasRoomFor(const QString& owner) const;
    TrayItem* find(const TrayItemAddress& address) const;
    bool holds(const TrayItem& item) const;
    void remove(TrayItem& item);
    void nameLost(const QString& service);
    void clear();

    ZorbelKit::MainLoop& loop_;
    Events events_;
    Role role_ = Role::none;
    QString foreignWatcher_;
    StatusNotifierWatcher watcher_;
    std::unique_ptr<QDBusServiceWatcher> names_; // of the items
    std::vector<std::unique_ptr<TrayItem>> items_;
    QString hostName_; // ours, while registered with a foreign watcher
    bool followsSignals_ = false;
    ZorbelKit::Token firstLook_; // at who waits for the watcher's name
    ZorbelKit::Token secondLook_;
};

} // namespace Linux
