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

/// "_Open" → "&Open", "a__b" → "a_b", "this & that" → "this && that".
QString trayMenuLabel(const QString& label);

/// Reads the second value of a GetLayout answer, `(ia{sv}av)`; what is out of bounds is left out.
TrayMenuEntry trayMenuLayout(const QDBusArgument& layout);

/// One entry's own properties, without its children.
TrayMenuEntry trayMenuEntry(int id, const QVariantMap& properties);

} // namespace Linux
