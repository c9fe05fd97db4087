#pragma once

#include "Platforms/Linux/MenuBar/IconPixmap.hpp"
#include "Platforms/Linux/MenuBar/StatusMenu.hpp"
#include "ZorbelKit/Host/Image.hpp"
#include "ZorbelKit/Host/MainLoop.hpp"
#include "ZorbelKit/Host/StatusBar.hpp"
#include "ZorbelKit/Throttle.hpp"

#include <QColor>
#include <QDBusConnection>
#include <QDBusVirtualObject>

#include <functional>
#include <memory>
#include <string>

namespace Linux {

/// An item in the desktop's tray (org.kde.StatusNotifierItem). Where the tray sends `ContextMenu` for an item
/// without a menu it has none, and a right click arrives as a click; elsewhere a menu of one entry stands in
/// for the right click. Nothing here waits for another process.
class StatusNotifierItem : public QDBusVirtualObject {
public:
    /// Hosts fetch every picture again at each change: at most four changes a second are told.
    static constexpr ZorbelKit::Seconds imageInterval{0.25};

    using ClickHandler = std::function<void(ZorbelKit::ClickButton, QPoint position)>;

    /// `name` identifies the item to hosts.
    StatusNotifierItem(ZorbelKit::MainLoop& loop, const std::string& name, ClickHandler clicked);
    ~StatusNotifierItem() override;

    /// Puts the item into the tray that runs now; again for every new tray. `refused` is called when it will
    /// not have it.
    void registerWithTray(const std::function<void()>& refused);

    void setImage(const ZorbelKit::Image& image, const QColor& tint);
    void setToolTip(const std::string& text);

    QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private:
    QVariantMap properties() const;
    void click(ZorbelKit::ClickButton button, QPoint position) const;
    void tell(const char* signal) const;
    void tellImage();

    /// A connection to the bus for the item alone: there is no other way to take an item back than to close
    /// it.
    QDBusConnection bus_;
    const QString name_;
    ClickHandler clicked_;
    std::unique_ptr<StatusMenu> menu_; // null where right clicks are delivered
    QString toolTip_;
    /// Draws what hosts have not been told of yet; empty when they know the last.
    std::function<QList<IconPixmap>()> nextImage_;
    QList<IconPixmap> pixmaps_; // what hosts may fetch
    ZorbelKit::Throttle imageNews_;
};

} // namespace Linux
