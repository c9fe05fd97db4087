#include "ZorbelKit/Controls/LiveView.hpp"

#include "ZorbelKit/Observable.hpp"

namespace ZorbelKit {

LiveView::LiveView(const Observable& model, QWidget* parent)
    : QWidget(parent)
    , model_(model) {
}

LiveView::~LiveView() = default;

void LiveView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!changes_) {
        changes_ = model_.observe([this] { refresh(); });
    }
    refresh();
}

void LiveView::hideEvent(QHideEvent* event) {
    changes_.reset();
    QWidget::hideEvent(event);
}

} // namespace ZorbelKit
