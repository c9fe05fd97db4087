#pragma once

#include <QDBusConnection>
#include <QDBusVirtualObject>

#include <functional>
#include <string_view>

namespace Linux {

/// Whether the desktop's tray delivers a right click on an item that has no menu. Most show an item's menu or
/// nothing.
bool deliversRightClicks(std::string_view currentDesktop);

/// The menu of an item in a tray that keeps right clicks to itself: one entry that stands in for the right
/// click. com.canonical.dbusmenu, as far as a menu that never changes needs it.
class StatusMenu : public QDBusVirtualObject {
public:
    StatusMenu(const QDBusConnection& bus, QString path, QString entry, std::function<void()> chosen);
    ~StatusMenu() override;

    const QString& path() const { return path_; }

    QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private:
    void choose() const;

    QDBusConnection bus_;
    const QString path_;
    const QString entry_;
    std::function<void()> chosen_;
};

} // namespace Linux
