#include "Platforms/Linux/MenuBar/IconPixmap.hpp"

#include <QDBusArgument>
#include <QtEndian>

#include <algorithm>

namespace Linux {

QDBusArgument& operator<<(QDBusArgument& argument, const IconPixmap& pixmap) {
    argument.beginStructure();
    argument << pixmap.width << pixmap.height << pixmap.bytes;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, IconPixmap& pixmap) {
    argument.beginStructure();
    argument >> pixmap.width >> pixmap.height >> pixmap.bytes;
    argument.endStructure();
    return argument;
}

IconPixmap iconPixmap(const QImage& image) {
    const QImage plain = image.convertToFormat(QImage::Format_ARGB32);
    IconPixmap result{plain.width(), plain.height(), {}};
    result.bytes.resize(static_cast<qsizetype>(plain.width()) * plain.height() * 4);
    char* out = result.bytes.data();
    for (int y = 0; y < plain.height(); ++y) {
        const auto* line = reinterpret_cast<const QRgb*>(plain.constScanLine(y));
        for (int x = 0; x < plain.width(); ++x) {
            qToBigEndian<quint32>(line[x], out);
            out += 4;
        }
    }
    return result;
}

bool isWhole(const IconPixmap& pixmap) {
    const auto isSide = [](int side) { return side > 0 && side <= IconPixmap::longestSide; };
    return isSide(pixmap.width) && isSide(pixmap.height) &&
           pixmap.bytes.size() == static_cast<qsizetype>(pixmap.width) * pixmap.height * 4;
}

QImage image(const IconPixmap& pixmap) {
    if (!isWhole(pixmap)) {
        return {};
    }
    QImage result(pixmap.width, pixmap.height, QImage::Format_ARGB32);
    const char* in = pixmap.bytes.constData();
    for (int y = 0; y < pixmap.height; ++y) {
        auto* line = reinterpret_cast<QRgb*>(result.scanLine(y));
        for (int x = 0; x < pixmap.width; ++x) {
            line[x] = qFromBigEndian<quint32>(in);
            in += 4;
        }
    }
    return result;
}

QImage bestImage(const QList<IconPixmap>& pixmaps, int side) {
    const IconPixmap* best = nullptr;
    for (const IconPixmap& pixmap : pixmaps) {
        if (!isWhole(pixmap)) {
            continue;
        }
        const int size = std::min(pixmap.width, pixmap.height);
        const int bestSize = best ? std::min(best->width, best->height) : 0;
        const bool isBetter = bestSize < side ? size > bestSize : size >= side && size < bestSize;
        if (!best || isBetter) {
            best = &pixmap;
        }
    }
    return best ? image(*best) : QImage();
}

} // namespace Linux
