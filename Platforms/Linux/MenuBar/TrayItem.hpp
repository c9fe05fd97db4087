#pragma once

#include "Platforms/Linux/MenuBar/TrayIdentity.hpp"
#include "Platforms/Linux/MenuBar/TrayItemAddress.hpp"
#include "Platforms/Linux/MenuBar/TrayItemState.hpp"
#include "ZorbelKit/Lifetime.hpp"
#include "ZorbelKit/Throttle.hpp"

#include <QObject>
#include <QPoint>

#include <functional>

class QDBusMessage;

namespace Linux {

/// Another program's icon on the session bus (org.kde.StatusNotifierItem), as far as it has told of itself.
/// Nothing here waits for that program: it may answer late or never, and delays nobody. Main thread only.
class TrayItem : public QObject {
public:
    /// Each call may destroy the item.
    struct Events {
        std::function<void(TrayItem&)> changed; // told of itself, for the first time or again
        std::function<void(TrayItem&)> gone;    // its name has no owner, or there was no item
    };

    /// Another reading of the same item follows no sooner.
    static constexpr ZorbelKit::Seconds readInterval{1.0 / 60};
    static constexpr ZorbelKit::Seconds retryDelay{1.0};
    static constexpr int readingLimit = 30000; // milliseconds: a slow program's icon comes late, but it comes
    static constexpr int clickLimit = 3000;    // milliseconds

    /// `owner`: the unique name behind the address, empty where it is not known yet. `isGuess`: nobody
    /// registered the item, it is only looked for; where nothing answers, it is gone.
    TrayItem(ZorbelKit::MainLoop& loop, TrayItemAddress address, QString owner, bool isGuess, Events events);
    ~TrayItem() override;

    const TrayItemAddress& address() const { return address_; }
    const QString& owner() const { return owner_; } // unique bus name; empty until the bus has told it
    const TrayItemState& state() const { return state_; }
    const ProcessIdentity& process() const { return process_; }
    bool isKnown() const { return isKnown_; } // has told of itself

    void start();
    void refresh();
    void nameLost();

    /// A signal of the item's own, whatever it is: look again.
    void signalled() { refresh(); }

    /// `place` is where the user clicked, in device pixels of the root window. `refused` is called when the
    /// program does not know the method; not when it is merely slow.
    void activate(QPoint place, std::function<void()> refused);
    void secondaryActivate(QPoint place);
    void contextMenu(QPoint place);
    void scroll(int delta, Qt::Orientation orientation); // 120 to a notch, up and left positive

private:
    void askOwner();
    void askProcess();
    void identify(int pid);
    void read();
    void take(const QVariantMap& properties);
    void tell();
    void send(const char* method, const QVariantList& arguments, std::function<void()> refused = {});

    ZorbelKit::MainLoop& loop_;
    const TrayItemAddress address_;
    const bool isGuess_;
    Events events_;
    QString owner_;
    ProcessIdentity process_;
    TrayItemState state_;
    bool hasProcess_ = false;
    bool hasState_ = false;
    bool isKnown_ = false;
    bool isReading_ = false;
    bool isStale_ = false; // told of a change while an answer was on its way
    bool hasRetried_ = false;
    ZorbelKit::Throttle readings_;
    ZorbelKit::Lifetime lifetime_;
    ZorbelKit::Token retry_;
};

} // namespace Linux
