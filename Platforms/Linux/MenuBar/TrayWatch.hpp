#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QString>

#include <functional>
#include <memory>

class QDBusServiceWatcher;

namespace Linux {

/// What another process offers for the icons of programs.
struct ForeignTray {
    QString watcher;      // its unique bus name; empty where there is none
    bool hasHost = false; // something shows what is registered
    bool operator==(const ForeignTray&) const = default;
};

/// Follows the desktop's tray on the session bus: whether another process is the StatusNotifier watcher there
/// and a host shows what is registered with it. Asks without waiting; answers arrive on the main thread.
class TrayWatch : public QObject {
    Q_OBJECT
public:
    /// `answered` is called with every answer; a repeated one means that the tray is a new one, and wants
    /// items anew.
    explicit TrayWatch(std::function<void(ForeignTray)> answered);
    ~TrayWatch() override;

    /// Asks for the first time and follows from then on. Without a bus the answer is no, before `start`
    /// returns.
    void start();

    /// While we are a host of the foreign watcher ourselves, it cannot tell any more whether there is
    /// another: the last answer stands until another one tells of itself, or the watcher is another one.
    void setIsHostThere(bool on);

private:
    // Known to the toolkit by name: that is how the bus delivers signals.
    Q_SLOT void hostRegistered();
    Q_SLOT void ask();
    void ownerChanged(const QString& owner);

    std::function<void(ForeignTray)> answered_;
    std::unique_ptr<QDBusServiceWatcher> ownerWatch_;
    QString owner_; // unique name of the foreign watcher; empty where there is none
    bool isHostThere_ = false;
    QElapsedTimer sinceHostThere_; // valid until we have heard of ourselves
    int question_ = 0;             // only the newest question's reply counts
};

} // namespace Linux
