#pragma once

#include "ZorbelKit/Color.hpp"
#include "ZorbelKit/Controls/Glide.hpp"
#include "ZorbelKit/Controls/HoverButton.hpp"

#include <QFont>

namespace ZorbelKit {

/// How a button is painted at rest, under the pointer, pressed and disabled. Paddings and radius in points.
struct ButtonLook {
    Color fill;
    Color hoverFill;
    Color pressedFill;
    Color border;
    Color text;
    Color hoverText;
    Color disabledText; // it still says something
    QFont font;
    double paddingX = 14;
    double paddingY = 7;
    double radius = 8;
};

/// A button with a label, painted from a look; hover and press are animated.
class PaintedButton : public HoverButton {
public:
    /// A new text for a button that has changed its meaning; an equal one repaints nothing.
    void setLabel(const QString& text);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    PaintedButton(const QString& text, ButtonLook look, QWidget* parent);

    void paintEvent(QPaintEvent* event) override;

private:
    ButtonLook look_;
    Glide press_;
};

/// The one main action of a place.
class BrassButton : public PaintedButton {
public:
    explicit BrassButton(const QString& text, QWidget* parent = nullptr);
};

/// A secondary action.
class QuietButton : public PaintedButton {
public:
    explicit QuietButton(const QString& text, QWidget* parent = nullptr);
};

/// An action that looks like text.
class PlainButton : public PaintedButton {
public:
    PlainButton(const QString& text, const Color& colour, QWidget* parent = nullptr);
};

} // namespace ZorbelKit
