#pragma once

#include "ZorbelKit/Geometry.hpp"

#include <QRect>

/// Between Qt's global coordinates (y downwards from the top of the main screen) and the suite's screen
/// coordinates (y upwards from its bottom). Each is the other's inverse. The only place where y is turned
/// over.
namespace QtPlatform {

ZorbelKit::Rect toScreenSpace(const QRectF& rect);
QRectF fromScreenSpace(const ZorbelKit::Rect& rect);

} // namespace QtPlatform
