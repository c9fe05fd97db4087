#pragma once

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QDBusVirtualObject>
#include <QPoint>
#include <QStringList>
#include <QVariantMap>

#include <chrono>
#include <optional>
#include <vector>

namespace Desktop {

/// A picture as an item in the tray carries it.
struct TrayPicture {
    int width = 0;
    int height = 0;
    QByteArray bytes; // four to a pixel: alpha, red, green, blue
};

/// An entry of an item's menu.
struct TrayEntry {
    int id = 0;
    QString label;
};

/// A desktop's tray played by the test: the StatusNotifier watcher and a host in one, on a connection of its
/// own to the session bus. Destroying it is a panel that ends; another one is a panel that starts again.
class TrayDouble : public QDBusVirtualObject {
    Q_OBJECT
public:
    struct Manners {
        bool hasHost = true;             // whether anything shows what is registered
        bool waitsInLine = false;        // for the watcher's name where another has it, as real panels do
        bool answersRegistration = true; // otherwise a registration is left waiting
        bool answersQuestions = true;    // otherwise even "is there a host?" is left waiting
    };

    TrayDouble()
        : TrayDouble(Manners{}) {}
    explicit TrayDouble(Manners manners);
    ~TrayDouble() override;

    /// A host that comes later, or goes; tells by signal.
    void setHasHost(bool hasHost);

    /// What was registered and still lives, as "bus name/object path".
    const QStringList& items() const { return items_; }

    /// Who else shows what is registered here, by the names they gave.
    const QStringList& otherHosts() const { return otherHosts_; }

    /// What the newest item answers; empty where it does not.
    QVariantMap properties();
    QVariant property(const QString& name); // as it came over the bus, so with its exact type

    /// The newest item's pictures.
    std::vector<TrayPicture> pictures();

    /// A click on the newest item, at a place on the screen. False where no answer comes.
    bool activate(QPoint place) { return callItem("Activate", place); }
    bool contextMenu(QPoint place) { return callItem("ContextMenu", place); }
    bool secondaryActivate(QPoint place) { return callItem("SecondaryActivate", place); }

    /// What the newest item's menu offers; and a choice from it. Empty and false where there is no menu.
    std::vector<TrayEntry> menu();
    bool choose(int id);

    /// The moments at which an item told of a new picture.
    const std::vector<std::chrono::steady_clock::time_point>& newIcons() const { return newIcons_; }

    QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

public Q_SLOTS:
    void newIcon(); // a slot by name: that is how the bus delivers signals

private:
    bool callItem(const QString& method, QPoint place);
    QDBusMessage ask(const QString& interface, const QString& method, const QVariantList& arguments);
    void tell(const char* signal, const QString& item);
    void ownerGone(const QString& name);
    QDBusMessage askMenu(const QString& method, const QVariantList& arguments);

    Manners manners_;
    QDBusConnection bus_;
    QStringList items_;
    QStringList otherHosts_;
    QDBusServiceWatcher owners_;
    std::vector<std::chrono::steady_clock::time_point> newIcons_;
};

} // namespace Desktop
