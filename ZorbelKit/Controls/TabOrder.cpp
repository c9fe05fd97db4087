#include "ZorbelKit/Controls/TabOrder.hpp"

#include <QWidget>

#include <algorithm>
#include <vector>

namespace ZorbelKit {

namespace {

bool takesTab(const QWidget& widget) {
    return (widget.focusPolicy() & Qt::TabFocus) && widget.isVisible() && widget.isEnabled() &&
           !widget.focusProxy();
}

/// Everything below `root` that can have the keyboard now, and what has it.
void collect(QWidget& root, const QWidget* focused, std::vector<QWidget*>& found) {
    for (QObject* child : root.children()) {
        auto* widget = qobject_cast<QWidget*>(child);
        if (!widget || widget->isWindow()) {
            continue;
        }
        if (takesTab(*widget) || widget == focused) {
            found.push_back(widget);
        }
        collect(*widget, focused, found);
    }
}

} // namespace

bool moveFocus(QWidget& root, bool next) {
    const QWidget* focused = root.window()->focusWidget();
    std::vector<QWidget*> controls;
    collect(root, focused, controls);
    if (controls.empty()) {
        return false;
    }
    const auto found = std::ranges::find(controls, focused);
    const std::size_t count = controls.size();
    const auto place = static_cast<std::size_t>(found - controls.begin()); // the count where there is none
    const std::size_t wanted =
        next ? (found == controls.end() ? 0 : (place + 1) % count) : (place + count - 1) % count;
    controls[wanted]->setFocus(next ? Qt::TabFocusReason : Qt::BacktabFocusReason);
    return true;
}

} // namespace ZorbelKit
