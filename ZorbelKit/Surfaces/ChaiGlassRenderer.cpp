#include "ZorbelKit/Surfaces/ChaiGlassRenderer.hpp"

#include "ZorbelKit/Host/Canvas.hpp"

#include <algorithm>
#include <cmath>

namespace ZorbelKit::ChaiGlassRenderer {

namespace {

struct Glass {
    double midX;
    double left;
    double width;
    double height; // of the rectangle
    double rim;    // y of the rim
    double base;   // y of the base

    double glassHeight() const { return rim - base; }
};

Glass glassIn(const Rect& rect) {
    return {rect.midX(),
            rect.minX(),
            rect.width,
            rect.height,
            rect.minY() + 0.72 * rect.height,
            rect.minY() + 0.12 * rect.height};
}

Path outline(const Glass& glass) {
    const double halfRim = 0.255 * glass.width;
    const double halfBase = 0.165 * glass.width;
    const double bulgeY = glass.base + 0.36 * glass.glassHeight();
    Path path;
    path.moveTo({glass.midX - halfRim, glass.rim});
    path.lineTo({glass.midX + halfRim, glass.rim});
    path.quadTo({glass.midX + 0.88 * halfRim, bulgeY}, {glass.midX + halfBase, glass.base});
    path.lineTo({glass.midX - halfBase, glass.base});
    path.quadTo({glass.midX - 0.88 * halfRim, bulgeY}, {glass.midX - halfRim, glass.rim});
    path.close();
    return path;
}

Path wisp(const Glass& glass, int index, double steam, double phase) {
    const double height = (0.06 + 0.16 * steam) * glass.height;
    const double sway = 0.05 * glass.width * steam;
    const double x = glass.midX + index * 0.145 * glass.width;
    const double y = glass.rim + 0.04 * glass.height;
    const double offset = (index + 1) * 1.9; // neighbours sway out of step
    Path path;
    path.moveTo({x, y});
    for (int k = 1; k <= 8; ++k) {
        path.lineTo({x + sway * std::sin(offset + phase + 0.504 * k), y + 0.14 * k * height});
    }
    return path;
}

} // namespace

Image statusImage(double steam, double phase, double size) {
    constexpr Color black{0, 0, 0, 1};
    Image image({size, size}, [steam, phase, black](Canvas& canvas, const Rect& rect) {
        draw(canvas, rect, steam, phase, black);
    });
    image.setTemplate(true);
    return image;
}

void draw(Canvas& context, const Rect& rect, double steam, double phase, const Color& colour) {
    const double lineWidth = std::min(rect.width, rect.height) / 18 * 1.5;
    const Glass glass = glassIn(rect);
    const Path shape = outline(glass);

    context.setStrokeColour(colour);
    context.setFillColour(colour);
    context.setLineCap(LineCap::round);
    context.setLineJoin(LineJoin::round);
    context.setLineWidth(lineWidth);

    context.saveState();
    context.clip(shape);
    context.setAlpha(0.55);
    context.fillRect({glass.left, glass.base, glass.width, 0.8 * glass.glassHeight()});
    context.setAlpha(1);
    context.restoreState();

    context.stroke(shape);

    if (steam > 0.02) {
        context.setLineWidth(0.68 * lineWidth);
        context.setAlpha(std::min(0.35 + 0.65 * steam, 1.0));
        for (int index = -1; index <= 1; ++index) {
            context.stroke(wisp(glass, index, steam, phase));
        }
        context.setAlpha(1);
    }
}

} // namespace ZorbelKit::ChaiGlassRenderer
