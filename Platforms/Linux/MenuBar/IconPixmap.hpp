#pragma once

#include <QByteArray>
#include <QImage>
#include <QList>
#include <QMetaType>

class QDBusArgument;

namespace Linux {

/// One picture as the tray protocol carries it: 32-bit words, alpha first and in network byte order, not
/// premultiplied.
struct IconPixmap {
    static constexpr int longestSide = 512; // pixels; larger ones of other programs are not looked at

    int width = 0;
    int height = 0;
    QByteArray bytes;
    bool operator==(const IconPixmap&) const = default;
};

QDBusArgument& operator<<(QDBusArgument& argument, const IconPixmap& pixmap);
const QDBusArgument& operator>>(const QDBusArgument& argument, IconPixmap& pixmap);

IconPixmap iconPixmap(const QImage& image);

/// Whether the sizes are 1 … longestSide, and the bytes exactly what they promise.
bool isWhole(const IconPixmap& pixmap);

/// Null where the pixmap is not whole.
QImage image(const IconPixmap& pixmap);

/// The smallest picture that is at least `side` pixels wide and high, else the largest; null where none is
/// whole.
QImage bestImage(const QList<IconPixmap>& pixmaps, int side);

} // namespace Linux

Q_DECLARE_METATYPE(Linux::IconPixmap)
