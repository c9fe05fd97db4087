#pragma once

#include "Platforms/Linux/MenuBar/IconPixmap.hpp"

#include <QString>
#include <QVariantMap>

namespace Linux {

enum class TrayItemStatus { passive, active, needsAttention };

/// One of an item's pictures: by name, by value or both; each may be missing or wrong.
struct TrayPicture {
    QString name; // of a themed icon, or an absolute path
    QList<IconPixmap> pixmaps;
    bool isEmpty() const { return name.isEmpty() && pixmaps.isEmpty(); }
    bool operator==(const TrayPicture&) const = default;
};

/// What an item tells of itself (org.kde.StatusNotifierItem), in bounds: any property may be missing, of
/// another type, or huge.
struct TrayItemState {
    static constexpr qsizetype longestText = 1000;       // characters
    static constexpr qsizetype mostPixmaps = 16;         // of one picture; further ones are not looked at
    static constexpr qsizetype largestPicture = 2 << 20; // bytes of all its pixmaps together

    QString id;
    QString title;
    TrayItemStatus status = TrayItemStatus::active; // an unknown word counts as active
    TrayPicture icon;
    TrayPicture attentionIcon;
    TrayPicture overlayIcon;
    QString iconThemePath; // a folder searched before the theme; empty where there is none
    QString toolTip;       // plain text: title, and the text on the next line; markup taken out
    QString label;         // text beside the icon (XAyatanaLabel)
    QString menuPath;      // of the com.canonical.dbusmenu object; empty where there is none
    bool itemIsMenu = false;

    bool operator==(const TrayItemState&) const = default;

    /// What to show: the attention picture while one is needed and there is one.
    const TrayPicture& picture() const;

    /// What a screen reader says and a tool tip shows: tool tip, else title, else id.
    QString spokenName() const;
};

/// The answer to org.freedesktop.DBus.Properties.GetAll, read with care: never throws, never blocks.
TrayItemState trayItemState(const QVariantMap& properties);

/// A text with simple markup as plain text: tags out, entities resolved, white space in
/// runs and blank lines left out, cut to the longest text. Nothing that it names is loaded.
QString plainText(const QString& marked);

} // namespace Linux
