#include "ZorbelKit/Controls/FocusButton.hpp"

#include <QFocusEvent>

namespace ZorbelKit {

void FocusButton::focusInEvent(QFocusEvent* event) {
    const auto reason = event->reason();
    if (reason != Qt::PopupFocusReason) {
        showsFocus_ = reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason ||
                      reason == Qt::ShortcutFocusReason;
    }
    QAbstractButton::focusInEvent(event);
}

void FocusButton::focusOutEvent(QFocusEvent* event) {
    if (event->reason() != Qt::PopupFocusReason) {
        showsFocus_ = false;
    }
    QAbstractButton::focusOutEvent(event);
}

} // namespace ZorbelKit
