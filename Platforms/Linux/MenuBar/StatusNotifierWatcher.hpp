#pragma once

#include "Platforms/Linux/MenuBar/TrayItemAddress.hpp"

#include <QDBusVirtualObject>
#include <QStringList>

#include <functional>

namespace Linux {

/// The place where programs register their icons (org.kde.StatusNotifierWatcher), kept by the suite where
/// nobody else does. It says from the first moment that a host is there: with a no, programs fall back to
/// older protocols. Main thread only.
class StatusNotifierWatcher : public QDBusVirtualObject {
public:
    enum class Answer {
        accepted,
        refused, // as many items as there may be
    };

    /// What stands behind it.
    struct Keeper {
        std::function<QStringList()> items; // as registered, "name/path"
        /// An item whose name has the owner `owner` (a unique name) is there, newly or again.
        std::function<Answer(const TrayItemAddress&, const QString& owner)> registered;
    };

    explicit StatusNotifierWatcher(Keeper keeper);
    ~StatusNotifierWatcher() override; // releases

    /// Takes the name if it is free, and never waits in line for it: a name handed from one owner to the next
    /// goes unnoticed by most programs, which register only when it was free in between. True where it is
    /// ours.
    bool claim();

    void release();
    bool isClaimed() const { return isClaimed_; }

    /// Tells readers of the list. Silent while the name is not ours.
    void tellRegistered(const QString& item);
    void tellUnregistered(const QString& item);

    QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private:
    void registerItem(const QDBusMessage& request);
    void answerRegistration(const QDBusMessage& request, const TrayItemAddress& address,
                            const QString& owner);
    QVariantMap properties() const;
    void tell(const char* signal, const QString& item);

    Keeper keeper_;
    bool isClaimed_ = false;
};

} // namespace Linux
