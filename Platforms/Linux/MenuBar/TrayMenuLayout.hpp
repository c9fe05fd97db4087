#pragma once

#include <QByteArray>
#include <QString>
#include <QVariantMap>

#include <vector>

class QDBusArgument;

namespace Linux {

/// An entry of another program's menu (com.canonical.dbusmenu), or with id 0 the whole menu.
struct TrayMenuEntry {
    enum class Toggle { none, checkmark, radio };

    int id = 0;
    bool isSeparator = false;
    bool isEnabled = true;
    bool isVisible = true;
    QString label; // as the toolkit wants it: "&" before the access key, "&&" for one "&"
    QString iconName;
    QByteArray iconData; // a PNG file; empty where there is none or it is too large
    Toggle toggle = Toggle::none;
    bool isChecked = false;
    bool hasSubmenu = false; // even while no children are known
    QString shortcut;        // "Ctrl+Shift+Q", for show; empty where there is none
    std::vector<TrayMenuEntry> children;

    bool operator==(const TrayMenuEntry&) const = default;
};

/// Bounds on what another program may make us show.
inline constexpr int deepestTrayMenu = 8;
inline constexpr int mostTrayMenuEntries = 1000; // of a whole menu
inline constexpr qsizetype longestTrayMenuLabel = 500;
inline constexpr qsizetype largestTrayMenuIcon = 256 << 10; // bytes

/// New values of an entry's properties; one without a value is back at its default.
struct TrayMenuChange {
    int id = 0;
    QVariantMap properties;
};

/// "_Open" → "&Open", "a__b" → "a_b", "this & that" → "this && that". On one line.
QString trayMenuLabel(const QString& label);

/// Reads the second value of a GetLayout answer, `(ia{sv}av)`; what is out of bounds is left out, the deepest
/// entries first. `deepest` and `most` bound what lies below the answer's own entry.
TrayMenuEntry trayMenuLayout(const QDBusArgument& layout, int deepest = deepestTrayMenu,
                             int most = mostTrayMenuEntries);

/// One entry's own properties, without its children.
TrayMenuEntry trayMenuEntry(int id, const QVariantMap& properties);

/// Reads the arguments of ItemsPropertiesUpdated, `a(ia{sv})` and `a(ias)`: at most as many changes of each
/// kind as a menu has entries.
std::vector<TrayMenuChange> trayMenuChanges(const QVariantList& arguments);

/// Writes the new values into an entry; its children stay.
void applyTrayMenuChange(TrayMenuEntry& entry, const QVariantMap& properties);

} // namespace Linux
