#include "Platforms/Linux/MenuBar/StatusNotifierItem.hpp"

#include "Platforms/Linux/BusProperties.hpp"
#include "Platforms/Linux/MenuBar/StatusNotifier.hpp"
#include "ZorbelKit/Surfaces/PainterCanvas.hpp"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QPoint>

#include <utility>

namespace Linux {

using namespace StatusNotifier;
using ZorbelKit::ClickButton;

namespace {

constexpr auto noMenu = "/NO_DBUSMENU";

QDBusConnection newConnection() {
    static int opened = 0;
    return QDBusConnection::connectToBus(QDBusConnection::SessionBus,
                                         "zorbel-item-" + QString::number(++opened));
}

} // namespace

/// (icon name, pixmaps, title, text)
struct ToolTip {
    QString iconName;
    QList<IconPixmap> pixmaps;
    QString title;
    QString text;
};

static QDBusArgument& operator<<(QDBusArgument& argument, const ToolTip& toolTip) {
    argument.beginStructure();
    argument << toolTip.iconName << toolTip.pixmaps << toolTip.title << toolTip.text;
    argument.endStructure();
    return argument;
}

static const QDBusArgument& operator>>(const QDBusArgument& argument, ToolTip& toolTip) {
    argument.beginStructure();
    argument >> toolTip.iconName >> toolTip.pixmaps >> toolTip.title >> toolTip.text;
    argument.endStructure();
    return argument;
}

StatusNotifierItem::StatusNotifierItem(ZorbelKit::MainLoop& loop, const std::string& name,
                                       ClickHandler clicked)
    : bus_(newConnection())
    , name_(QString::fromStdString(name))
    , clicked_(std::move(clicked))
    , imageNews_(loop, imageInterval, [this] { tellImage(); }) {
    qDBusRegisterMetaType<IconPixmap>();
    qDBusRegisterMetaType<QList<IconPixmap>>();
    qDBusRegisterMetaType<ToolTip>();
    bus_.registerVirtualObject(itemPath, this);
    if (!deliversRightClicks(qEnvironmentVariable("XDG_CURRENT_DESKTOP").toStdString())) {
        menu_ = std::make_unique<StatusMenu>(bus_, itemPath + QString("/Menu"), "Open Zorbel",
                                             [this] { click(ClickButton::right, {}); });
    }
}

StatusNotifierItem::~StatusNotifierItem() {
    menu_.reset();
    bus_.unregisterObject(itemPath);
    QDBusConnection::disconnectFromBus(bus_.name());
}

void StatusNotifierItem::click(ClickButton button, QPoint position) const {
    const auto clicked = clicked_; // the click may destroy the item
    clicked(button, position);
}

void StatusNotifierItem::registerWithTray(const std::function<void()>& refused) {
    QDBusMessage request = call(watcherService, watcherPath, watcherService, "RegisterStatusNotifierItem");
    request << bus_.baseService();
    auto* reply = new QDBusPendingCallWatcher(bus_.asyncCall(request, timeLimit), this);
    QObject::connect(reply, &QDBusPendingCallWatcher::finished, this,
                     [refused](QDBusPendingCallWatcher* finished) {
                         finished->deleteLater();
                         if (finished->isError() && refused) {
                             refused();
                         }
                     });
}

void StatusNotifierItem::setImage(const ZorbelKit::Image& image, const QColor& tint) {
    nextImage_ = [image, tint] {
        QList<IconPixmap> pixmaps;
        for (const int side : {16, 22, 24, 32, 48}) {
            pixmaps << iconPixmap(ZorbelKit::rendered(image, side / image.size().height, tint));
        }
        return pixmaps;
    };
    imageNews_.request();
}

void StatusNotifierItem::tellImage() {
    auto pixmaps = std::exchange(nextImage_, nullptr)();
    if (pixmaps != pixmaps_) {
        pixmaps_ = std::move(pixmaps);
        tell("NewIcon");
    }
}

void StatusNotifierItem::setToolTip(const std::string& text) {
    const QString next = QString::fromStdString(text);
    if (next != toolTip_) {
        toolTip_ = next;
        tell("NewToolTip");
        tell("NewTitle");
    }
}

void StatusNotifierItem::tell(const char* signal) const {
    bus_.send(QDBusMessage::createSignal(itemPath, itemInterface, signal));
}

QVariantMap StatusNotifierItem::properties() const {
    const ToolTip toolTip{{}, {}, toolTip_, {}};
    return {
        {"Category", "ApplicationStatus"},
        {"Id", name_},
        {"Title", toolTip_},
        {"Status", "Active"},
        {"WindowId", 0},
        {"IconName", ""},
        {"IconThemePath", ""},
        {"IconPixmap", QVariant::fromValue(pixmaps_)},
        {"OverlayIconName", ""},
        {"OverlayIconPixmap", QVariant::fromValue(QList<IconPixmap>())},
        {"AttentionIconName", ""},
        {"AttentionIconPixmap", QVariant::fromValue(QList<IconPixmap>())},
        {"AttentionMovieName", ""},
        {"ToolTip", QVariant::fromValue(toolTip)},
        {"ItemIsMenu", false},
        {"Menu", QVariant::fromValue(QDBusObjectPath(menu_ ? menu_->path() : noMenu))},
    };
}

QString StatusNotifierItem::introspect(const QString&) const {
    return QStringLiteral(R"xml(<interface name="org.kde.StatusNotifierItem">
  <property name="Category" type="s" access="read"/>
  <property name="Id" type="s" access="read"/>
  <property name="Title" type="s" access="read"/>
  <property name="Status" type="s" access="read"/>
  <property name="WindowId" type="i" access="read"/>
  <property name="IconName" type="s" access="read"/>
  <property name="IconThemePath" type="s" access="read"/>
  <property name="IconPixmap" type="a(iiay)" access="read"/>
  <property name="OverlayIconName" type="s" access="read"/>
  <property name="OverlayIconPixmap" type="a(iiay)" access="read"/>
  <property name="AttentionIconName" type="s" access="read"/>
  <property name="AttentionIconPixmap" type="a(iiay)" access="read"/>
  <property name="AttentionMovieName" type="s" access="read"/>
  <property name="ToolTip" type="(sa(iiay)ss)" access="read"/>
  <property name="ItemIsMenu" type="b" access="read"/>
  <property name="Menu" type="o" access="read"/>
  <method name="Activate"><arg name="x" type="i" direction="in"/><arg name="y" type="i" direction="in"/></method>
  <method name="SecondaryActivate"><arg name="x" type="i" direction="in"/><arg name="y" type="i" direction="in"/></method>
  <method name="ContextMenu"><arg name="x" type="i" direction="in"/><arg name="y" type="i" direction="in"/></method>
  <method name="Scroll"><arg name="delta" type="i" direction="in"/><arg name="orientation" type="s" direction="in"/></method>
  <signal name="NewTitle"/>
  <signal name="NewIcon"/>
  <signal name="NewToolTip"/>
  <signal name="NewStatus"><arg name="status" type="s"/></signal>
</interface>)xml");
}

bool StatusNotifierItem::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
    const QString member = message.member();
    const QVariantList arguments = message.arguments();

    if (answerProperties(message, connection, properties())) {
        return true;
    }
    const bool isClick = member == "Activate" || member == "SecondaryActivate" || member == "ContextMenu";
    if (isClick && arguments.size() == 2) {
        // Answered first: a host may wait for the reply before it serves what the click leads to.
        connection.send(message.createReply());
        const QPoint position(arguments.at(0).toInt(), arguments.at(1).toInt());
        click(member == "Activate" ? ClickButton::left : ClickButton::right, position);
        return true;
    }
    if (member == "Scroll") {
        connection.send(message.createReply());
        return true;
    }
    return false;
}

} // namespace Linux
