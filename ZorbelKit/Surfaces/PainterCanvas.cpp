#include "ZorbelKit/Surfaces/PainterCanvas.hpp"

#include "ZorbelKit/Host/Image.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QImage>
#include <QPainter>
#include <QPainterPath>

#include <cmath>

namespace ZorbelKit {

namespace {

QPointF qPoint(Point point) {
    return {point.x, point.y};
}

QPainterPath qPath(const Path& path) {
    QPainterPath result;
    result.setFillRule(Qt::WindingFill);
    for (const auto& segment : path.segments()) {
        switch (segment.verb) {
        case Path::Verb::move:
            result.moveTo(qPoint(segment.end));
            break;
        case Path::Verb::line:
            result.lineTo(qPoint(segment.end));
            break;
        case Path::Verb::quad:
            result.quadTo(qPoint(segment.control), qPoint(segment.end));
            break;
        case Path::Verb::close:
            result.closeSubpath();
            break;
        }
    }
    return result;
}

} // namespace

PainterCanvas::PainterCanvas(QPainter& painter, double left, double bottom)
    : painter_(painter) {
    painter_.save();
    painter_.setRenderHint(QPainter::Antialiasing);
    painter_.setPen(QPen()); // one that draws, whatever the painter was left with
    painter_.translate(left, bottom);
    painter_.scale(1, -1);
}

PainterCanvas::~PainterCanvas() {
    painter_.restore();
}

void PainterCanvas::saveState() {
    painter_.save();
}

void PainterCanvas::restoreState() {
    painter_.restore();
}

void PainterCanvas::setStrokeColour(const Color& colour) {
    QPen pen = painter_.pen();
    pen.setColor(qColor(colour));
    painter_.setPen(pen);
}

void PainterCanvas::setFillColour(const Color& colour) {
    painter_.setBrush(qColor(colour));
}

void PainterCanvas::setAlpha(double alpha) {
    painter_.setOpacity(alpha);
}

void PainterCanvas::setLineWidth(double width) {
    QPen pen = painter_.pen();
    pen.setWidthF(width);
    painter_.setPen(pen);
}

void PainterCanvas::setLineCap(LineCap cap) {
    QPen pen = painter_.pen();
    pen.setCapStyle(cap == LineCap::round ? Qt::RoundCap : Qt::FlatCap);
    painter_.setPen(pen);
}

void PainterCanvas::setLineJoin(LineJoin join) {
    QPen pen = painter_.pen();
    pen.setJoinStyle(join == LineJoin::round ? Qt::RoundJoin : Qt::MiterJoin);
    painter_.setPen(pen);
}

void PainterCanvas::clip(const Path& path) {
    painter_.setClipPath(qPath(path), Qt::IntersectClip);
}

void PainterCanvas::fillRect(const Rect& rect) {
    painter_.fillRect(QRectF(rect.x, rect.y, rect.width, rect.height), painter_.brush());
}

void PainterCanvas::fill(const Path& path) {
    painter_.fillPath(qPath(path), painter_.brush());
}

void PainterCanvas::stroke(const Path& path) {
    painter_.strokePath(qPath(path), painter_.pen());
}

QImage rendered(const Image& image, double scale, const QColor& tint) {
    const Size size = image.size();
    QImage picture(static_cast<int>(std::ceil(size.width * scale)),
                   static_cast<int>(std::ceil(size.height * scale)), QImage::Format_ARGB32_Premultiplied);
    picture.setDevicePixelRatio(scale);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    {
        PainterCanvas canvas(painter, 0, size.height);
        image.draw(canvas, {0, 0, size.width, size.height});
    }
    if (image.isTemplate()) {
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(QRectF(0, 0, size.width, size.height), tint);
    }
    return picture;
}

} // namespace ZorbelKit
