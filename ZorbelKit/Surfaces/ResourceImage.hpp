#pragma once

#include <QImage>

namespace ZorbelKit {

/// One of the program's own drawings (Resources/, by its path in there without ".svg") at `side` device
/// pixels; null where there is none. The image format is a plug-in that the toolkit loads with the first
/// drawing, not at the start.
QImage resourceImage(const QString& name, int side);

} // namespace ZorbelKit
