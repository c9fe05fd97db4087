#include "Ledgra/FileIconViews.hpp"

#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QBuffer>
#include <QIcon>
#include <QImageReader>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>
#include <utility>

namespace Ledgra {

using namespace ZorbelKit;

namespace {

constexpr int longestThumbnail = 512; // pixels of a side; larger ones would keep the main thread busy
constexpr double thumbnailShare = 0.96;
constexpr double thumbnailRadius = 3; // points
constexpr double edgeOpacity = 0.28;
constexpr double leastRounded = 12; // points; narrower pictures keep their corners

// Our own drawings, on a square whose side is 40.
constexpr double drawnSide = 40;
constexpr double fold = 9;

/// Null where these bytes are no such picture.
QImage decoded(const std::string& png) {
    QByteArray bytes = QByteArray::fromRawData(png.data(), static_cast<qsizetype>(png.size()));
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, "png");
    reader.setAutoDetectImageFormat(false); // nothing else is tried where it is none
    const QSize size = reader.size();
    const bool isSmall =
        !size.isEmpty() && size.width() <= longestThumbnail && size.height() <= longestThumbnail;
    return isSmall ? reader.read() : QImage();
}

/// In the middle of a square of so many points, as large as fits.
void paintThumbnail(QPainter& painter, const QImage& thumbnail, double size, double scale) {
    const int room = static_cast<int>(std::lround(size * scale * thumbnailShare));
    const QSize pixels = thumbnail.size().scaled(room, room, Qt::KeepAspectRatio).expandedTo(QSize(1, 1));
    const QImage fitting = thumbnail.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    const int side = static_cast<int>(std::lround(size * scale));
    const QPoint corner((side - pixels.width()) / 2, (side - pixels.height()) / 2);
    painter.scale(1 / scale, 1 / scale); // on whole device pixels
    QBrush paint(fitting);
    paint.setTransform(QTransform::fromTranslate(corner.x(), corner.y()));
    painter.setPen(Qt::NoPen);
    painter.setBrush(paint);
    const QRectF place(corner, pixels);
    const bool isRounded = std::min(pixels.width(), pixels.height()) >= leastRounded * scale;
    const double radius = isRounded ? thumbnailRadius * scale : 0;
    painter.drawRoundedRect(place, radius, radius);
    if (isRounded) {
        const double half = std::max(std::floor(scale), 1.0) / 2;
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(qColor(malai.withOpacity(edgeOpacity)), 2 * half));
        painter.drawRoundedRect(place.adjusted(half, half, -half, -half), radius - half, radius - half);
    }
}

bool isFolder(const FileIcon::Look& look) {
    return std::ranges::any_of(
        look.names, [](const std::string& name) { return name == "folder" || name == "inode-directory"; });
}

void paintFolder(QPainter& painter) {
    QPainterPath back;
    back.moveTo(3, 14);
    back.lineTo(3, 10);
    back.quadTo(3, 7, 6, 7);
    back.lineTo(13.5, 7);
    back.quadTo(15, 7, 16, 8);
    back.lineTo(18, 10);
    back.lineTo(34, 10);
    back.quadTo(37, 10, 37, 13);
    back.lineTo(37, 20);
    back.lineTo(3, 20);
    back.closeSubpath();
    const Color accent = spiceColour("ledgra");
    painter.fillPath(back, qColor(accent.mixedWith(chai, 0.35)));
    QLinearGradient front(0, 14, 0, 34);
    front.setColorAt(0, qColor(accent.mixedWith(cream, 0.18)));
    front.setColorAt(1, qColor(accent.mixedWith(chai, 0.1)));
    painter.setBrush(front);
    painter.setPen(Qt::NoPen);
    painter.drawRoundedRect(QRectF(3, 14, 34, 20), 3, 3);
}

void paintSheet(QPainter& painter) {
    const QRectF sheet(8, 3, 24, 34);
    QPainterPath shape;
    shape.moveTo(sheet.left() + 3, sheet.top());
    shape.lineTo(sheet.right() - fold, sheet.top());
    shape.lineTo(sheet.right(), sheet.top() + fold);
    shape.lineTo(sheet.right(), sheet.bottom() - 3);
    shape.quadTo(sheet.bottomRight(), QPointF(sheet.right() - 3, sheet.bottom()));
    shape.lineTo(sheet.left() + 3, sheet.bottom());
    shape.quadTo(sheet.bottomLeft(), QPointF(sheet.left(), sheet.bottom() - 3));
    shape.lineTo(sheet.left(), sheet.top() + 3);
    shape.quadTo(sheet.topLeft(), QPointF(sheet.left() + 3, sheet.top()));
    QLinearGradient paper(0, sheet.top(), 0, sheet.bottom());
    paper.setColorAt(0, qColor(cream));
    paper.setColorAt(1, qColor(cream.mixedWith(malai, 0.6)));
    painter.fillPath(shape, paper);
    QPainterPath corner;
    corner.moveTo(sheet.right() - fold, sheet.top());
    corner.lineTo(sheet.right() - fold, sheet.top() + fold - 2);
    corner.quadTo(sheet.right() - fold, sheet.top() + fold, sheet.right() - fold + 2, sheet.top() + fold);
    corner.lineTo(sheet.right(), sheet.top() + fold);
    corner.closeSubpath();
    painter.fillPath(corner, qColor(malai.mixedWith(malaiDim, 0.4)));
    painter.setPen(QPen(qColor(malaiDim.withOpacity(0.75)), 1.5, Qt::SolidLine, Qt::RoundCap));
    for (const double y : {18.0, 23.0, 28.0}) {
        painter.drawLine(QPointF(sheet.left() + 5, y), QPointF(y > 25 ? 22 : sheet.right() - 5, y));
    }
}

/// Null where the theme knows none of the names.
QPixmap themed(const FileIcon::Look& look, int size, double scale) {
    for (const std::string& name : look.names) {
        const QString themeName = QString::fromStdString(name);
        if (!QIcon::hasThemeIcon(themeName)) {
            continue;
        }
        QPixmap picture = QIcon::fromTheme(themeName).pixmap(QSize(size, size), scale);
        if (!picture.isNull()) {
            return picture;
        }
    }
    return {};
}

} // namespace

QPixmap drawIcon(const FileIcon::Look& look, int size, double scale) {
    const int side = static_cast<int>(std::lround(size * scale));
    QImage canvas(side, side, QImage::Format_ARGB32_Premultiplied);
    canvas.fill(Qt::transparent);
    canvas.setDevicePixelRatio(scale);
    {
        QPainter painter(&canvas);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        const QImage thumbnail = look.thumbnail.empty() ? QImage() : decoded(look.thumbnail);
        if (!thumbnail.isNull()) {
            paintThumbnail(painter, thumbnail, size, scale);
        } else if (const QPixmap icon = themed(look, size, scale); !icon.isNull()) {
            const QSizeF shown = icon.deviceIndependentSize();
            const auto snapped = [scale](double value) { return std::round(value * scale) / scale; };
            painter.drawPixmap(
                QPointF(snapped((size - shown.width()) / 2), snapped((size - shown.height()) / 2)), icon);
        } else {
            painter.scale(size / drawnSide, size / drawnSide);
            isFolder(look) ? paintFolder(painter) : paintSheet(painter);
        }
    }
    return QPixmap::fromImage(std::move(canvas));
}

FileIconView::FileIconView(std::shared_ptr<const FileIcon> icon, int size, QWidget* parent)
    : LiveView(*icon, parent)
    , icon_(std::move(icon))
    , size_(size) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFixedSize(sizeHint());
}

const QPixmap& FileIconView::picture() const {
    const double scale = devicePixelRatioF();
    if (drawn_.isNull() || drawn_.devicePixelRatio() != scale || drawnLook_ != icon_->look()) {
        drawnLook_ = icon_->look();
        drawn_ = drawIcon(drawnLook_, size_, scale);
        ++drawings_;
    }
    return drawn_;
}

void FileIconView::refresh() {
    if (drawnLook_ != icon_->look()) {
        update();
    }
}

void FileIconView::paintEvent(QPaintEvent*) {
    QPainter(this).drawPixmap(QPointF(), picture());
}

} // namespace Ledgra
