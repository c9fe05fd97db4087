#pragma once

#include <QObject>

#include <functional>
#include <memory>

class QDBusServiceWatcher;

namespace Linux {

/// Follows the desktop's tray on the session bus: whether a StatusNotifier watcher runs there and a host
/// shows what is registered with it. Asks without waiting; answers arrive on the main thread.
class TrayWatch : public QObject {
    Q_OBJECT
public:
    /// `answered` is called with every answer; a repeated yes means that the tray is a new one, and wants
    /// items anew.
    explicit TrayWatch(std::function<void(bool hostRuns)> answered);
    ~TrayWatch() override;

    /// Asks for the first time and follows from then on. Without a bus the answer is no, before `start`
    /// returns.
    void start();

private:
    Q_SLOT void ask(); // known to the toolkit by name: that is how the bus delivers signals

    std::function<void(bool)> answered_;
    std::unique_ptr<QDBusServiceWatcher> owner_;
    int question_ = 0; // only the newest question's reply counts
};

} // namespace Linux
