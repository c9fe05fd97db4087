#include "ZorbelKit/Controls/FocusButton.hpp"

#include <QFocusEvent>

namespace ZorbelKit {

void FocusButton::focusInEvent(QFocusEvent* event) {
    const auto reason = event->reason();
    showsFocus_ =
        reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason || reason == Qt::ShortcutFocusReason;
    QAbstractButton::focusInEvent(event);
}

void FocusButton::focusOutEvent(QFocusEvent* event) {
    showsFocus_ = false;
    QAbstractButton::focusOutEvent(event);
}

} // namespace ZorbelKit
