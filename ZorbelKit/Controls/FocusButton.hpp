#pragma once

#include <QAbstractButton>

namespace ZorbelKit {

/// A button that knows whether to show that it has the keyboard: when focus came by the keyboard, not by the
/// pointer. A popup of its own borrows the keyboard and gives it back as it was.
class FocusButton : public QAbstractButton {
public:
    using QAbstractButton::QAbstractButton;

    bool showsFocus() const { return showsFocus_; }

protected:
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    bool showsFocus_ = false;
};

} // namespace ZorbelKit
