#pragma once

#include "ZorbelKit/Token.hpp"

#include <QWidget>

#include <functional>
#include <vector>

namespace ZorbelKit {

class Observable;

/// A view of a model. It follows the model while it is on screen and not otherwise, so a hidden view costs
/// nothing. A view builds its children in its constructor and writes every text from the model in
/// `refresh()`.
class LiveView : public QWidget {
public:
    /// Starts to listen to one thing, until the token goes.
    using Subscription = std::function<Token(std::function<void()> changed)>;

    LiveView(const Observable& model, QWidget* parent);

    /// For a view of several models, or of what is no Observable.
    LiveView(std::vector<Subscription> subscriptions, QWidget* parent);

    ~LiveView() override;

    /// How far the view reaches into the margins left and right of the place it is shown in, in points: rows
    /// whose shade lies round their content line up with what stands above them.
    virtual int bleed() const { return 0; }

protected:
    /// Writes what the model says now; equal values must not repaint.
    virtual void refresh() = 0;

    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    const std::vector<Subscription> subscriptions_;
    std::vector<Token> changes_;
};

} // namespace ZorbelKit
