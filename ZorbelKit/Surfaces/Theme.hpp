#pragma once

#include "ZorbelKit/Color.hpp"
#include "ZorbelKit/Pour.hpp"

#include <QColor>
#include <QEasingCurve>
#include <QFont>

class QApplication;
class QPainter;
class QRectF;

namespace ZorbelKit {

QColor qColor(const Color& colour);

/// The interface's typeface at `points` (a 96th of an inch), with `tracking` points between letters.
QFont interfaceFont(double points, QFont::Weight weight = QFont::Normal, double tracking = 0);

QEasingCurve easing(const Pour::Curve& curve);
int milliseconds(Seconds duration);

/// Gives the toolkit's own widgets (menus, tool tips, scroll bars) the suite's colours.
void applyTheme(QApplication& application);

/// The ring round the control that has the keyboard, just inside `rect`.
void paintFocusRing(QPainter& painter, const QRectF& rect, double radius);

} // namespace ZorbelKit
