#pragma once

#include "ZorbelKit/Color.hpp"

#include <QImage>
#include <QPixmap>

#include <functional>

namespace ZorbelKit {

/// One of the program's own drawings (Resources/, by its path in there without ".svg") at `side` device
/// pixels; null where there is none. The image format is a plug-in that the toolkit loads with the first
/// drawing, not at the start.
QImage resourceImage(const QString& name, int side);

/// The shape of one of these drawings in `colour`, `size` points square at `scale` device pixels for a point.
/// Drawn once for each look and kept. Where there is no such drawing, `otherwise` makes the picture; without
/// it, the result is null.
QPixmap tintedImage(const QString& name, double size, double scale, const Color& colour,
                    const std::function<QImage()>& otherwise = {});

} // namespace ZorbelKit
