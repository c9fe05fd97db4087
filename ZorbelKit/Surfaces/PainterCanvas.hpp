#pragma once

#include "ZorbelKit/Host/Canvas.hpp"

#include <QColor>

class QImage;
class QPainter;

namespace ZorbelKit {

class Image;

/// Draws on a QPainter. `bottomLeft` is where the canvas's origin lies in the painter's coordinates (y
/// downwards).
class PainterCanvas : public Canvas {
public:
    PainterCanvas(QPainter& painter, double left, double bottom);
    ~PainterCanvas() override;

    void saveState() override;
    void restoreState() override;
    void setStrokeColour(const Color& colour) override;
    void setFillColour(const Color& colour) override;
    void setAlpha(double alpha) override;
    void setLineWidth(double width) override;
    void setLineCap(LineCap cap) override;
    void setLineJoin(LineJoin join) override;
    void clip(const Path& path) override;
    void fillRect(const Rect& rect) override;
    void fill(const Path& path) override;
    void stroke(const Path& path) override;

private:
    QPainter& painter_;
};

/// The picture at `scale` device pixels for a point, premultiplied; a template image takes the colour `tint`.
QImage rendered(const Image& image, double scale, const QColor& tint);

} // namespace ZorbelKit
