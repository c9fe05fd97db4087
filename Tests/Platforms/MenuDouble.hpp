#pragma once

#include <QDBusConnection>
#include <QDBusVirtualObject>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <functional>
#include <memory>
#include <vector>

namespace Platforms {

/// An entry of a program's menu as it travels: (id, properties, children), each child in a variant.
struct MenuNode {
    int id = 0;
    QVariantMap properties;
    std::vector<MenuNode> children;
};

/// (id, properties), and (id, names of properties), as ItemsPropertiesUpdated carries them.
struct MenuProperties {
    int id = 0;
    QVariantMap properties;
};
struct MenuRemovals {
    int id = 0;
    QStringList names;
};

/// A list of shortcuts, each a list of keys, for an entry's properties.
QVariant menuShortcut(const QStringList& keys);

MenuNode menuEntry(int id, const QString& label, QVariantMap properties = {},
                   std::vector<MenuNode> children = {});
MenuNode menuSeparator(int id);

/// A session bus of the test's own; ends with it.
class PrivateBus {
public:
    PrivateBus();
    ~PrivateBus();

    bool isRunning() const { return !address_.isEmpty(); } // false where there is no bus program
    const QString& address() const { return address_; }

private:
    QProcess daemon_;
    QString address_;
};

/// A program with a menu (com.canonical.dbusmenu), on a connection of its own. Destroying it is a program
/// that ends.
class MenuDouble : public QDBusVirtualObject {
public:
    static constexpr auto path = "/Menu";

    explicit MenuDouble(const QString& address, const QString& wellKnownName = {});
    ~MenuDouble() override;

    QString service() const; // its unique name

    // How it behaves; may be changed at any time.
    MenuNode root;
    bool answersAboutToShow = true;
    bool knowsAboutToShow = true; // else it answers with an error
    bool answersLayout = true;
    bool failsLayout = false;
    std::function<bool(int id)> aboutToShow;     // empty: answers no
    std::function<QVariant(int id)> otherLayout; // what to answer instead of the layout

    // What it was told and asked.
    std::vector<std::pair<int, QString>> events() const { return events_; }
    QStringList calls() const { return calls_; }      // "GetLayout 0", "AboutToShow 5"
    qint64 choiceTime() const { return choiceTime_; } // seconds since 1970, as the last choice told
    int count(const QString& call) const { return static_cast<int>(calls_.count(call)); }
    int count(int id, const QString& event) const;

    void layoutUpdated(int parent);
    void propertiesUpdated(const QList<MenuProperties>& changed, const QList<MenuRemovals>& removed = {});
    void signal(const QString& name, const QVariantList& arguments);

    MenuNode* find(int id);

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private:
    QDBusConnection bus_;
    QStringList calls_;
    std::vector<std::pair<int, QString>> events_;
    qint64 choiceTime_ = 0;
};

} // namespace Platforms

Q_DECLARE_METATYPE(Platforms::MenuNode)
Q_DECLARE_METATYPE(Platforms::MenuProperties)
Q_DECLARE_METATYPE(Platforms::MenuRemovals)
