#pragma once

class QWidget;

namespace Linux {

/// Makes a widget's native window a floating panel of an X desktop: above all others, on every desktop, in no
/// task bar, never focused by being shown; and has drops on it arrive as the toolkit's own events, yet
/// without ever waiting for the program that drags. Nothing where the toolkit runs on something else.
void prepareFloatingPanel(QWidget& panel);

} // namespace Linux
