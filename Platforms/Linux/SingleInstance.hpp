#pragma once

#include <QDBusVirtualObject>

#include <functional>

namespace Linux {

inline constexpr auto applicationId = "org.zorbel.Zorbel";    // bus name, desktop file, window class
inline constexpr auto applicationPath = "/org/zorbel/Zorbel"; // its object on the bus

/// Lets one Zorbel run in a session. A second start brings the first one forward and ends. Over the session
/// bus (org.freedesktop.Application); without a bus by a locked file in the runtime folder, and SIGUSR1 to
/// its holder.
class SingleInstance : public QDBusVirtualObject {
public:
    enum class Outcome { first, alreadyRunning };

    /// `activated` is called when another start asks this one to come forward over the bus.
    explicit SingleInstance(std::function<void()> activated);
    ~SingleInstance() override;

    /// Claims the place, or asks whoever holds it to come forward.
    Outcome claim();

    QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private:
    Outcome claimOnBus();
    Outcome claimFile();

    std::function<void()> activated_;
    int lockFile_ = -1; // its lock ends with the process, however that ends
};

/// Points the session bus nowhere when the session has none, so that no library starts a stray one of its
/// own. Call before anything uses the bus.
void refuseStrayBus();

} // namespace Linux
