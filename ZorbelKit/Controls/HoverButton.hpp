#pragma once

#include "ZorbelKit/Controls/FocusButton.hpp"
#include "ZorbelKit/Controls/Glide.hpp"

namespace ZorbelKit {

/// A button that lights up under the pointer.
class HoverButton : public FocusButton {
public:
    explicit HoverButton(QWidget* parent);

    bool isHovered() const { return hover_.target() == 1; }

protected:
    double hover() const { return hover_.value(); } // from 0, away from the pointer, to 1

    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    Glide hover_;
};

/// One of several side by side, between which the arrow keys lead as their row or grid decides.
class Tile : public HoverButton {
public:
    using HoverButton::HoverButton;

protected:
    void keyPressEvent(QKeyEvent* event) override;
};

} // namespace ZorbelKit
