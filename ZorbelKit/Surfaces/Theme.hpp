#pragma once

#include "ZorbelKit/Color.hpp"
#include "ZorbelKit/Pour.hpp"

#include <QColor>
#include <QEasingCurve>
#include <QFont>

#include <functional>

class QApplication;
class QPainter;
class QRectF;

namespace ZorbelKit {

QColor qColor(const Color& colour);

/// The interface's typeface at `points` (a 96th of an inch), with `tracking` points between letters.
QFont interfaceFont(double points, QFont::Weight weight = QFont::Normal, double tracking = 0);

QEasingCurve easing(const Pour::Curve& curve);
int milliseconds(Seconds duration);

/// Gives the toolkit's own widgets (menus, tool tips, scroll bars) the suite's colours. `canBlend` is what
/// `desktopBlends` asks; without it the answer is no.
void applyTheme(QApplication& application, std::function<bool()> canBlend = {});

/// Whether the desktop mixes a window's soft edges with what lies below it.
bool desktopBlends();

/// The ring round the control that has the keyboard, just inside `rect`.
void paintFocusRing(QPainter& painter, const QRectF& rect, double radius);

} // namespace ZorbelKit
