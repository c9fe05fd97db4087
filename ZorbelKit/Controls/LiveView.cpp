#include "ZorbelKit/Controls/LiveView.hpp"

#include "ZorbelKit/Observable.hpp"

#include <utility>

namespace ZorbelKit {

LiveView::LiveView(const Observable& model, QWidget* parent)
    : LiveView({[&model](std::function<void()> changed) { return model.observe(std::move(changed)); }},
               parent) {
}

LiveView::LiveView(std::vector<Subscription> subscriptions, QWidget* parent)
    : QWidget(parent)
    , subscriptions_(std::move(subscriptions)) {
}

LiveView::~LiveView() = default;

void LiveView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (changes_.empty()) {
        for (const Subscription& subscribe : subscriptions_) {
            changes_.push_back(subscribe([this] { refresh(); }));
        }
    }
    refresh();
}

void LiveView::hideEvent(QHideEvent* event) {
    changes_.clear();
    QWidget::hideEvent(event);
}

} // namespace ZorbelKit
