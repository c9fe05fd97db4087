#pragma once

#include "ZorbelKit/Token.hpp"

#include <QWidget>

namespace ZorbelKit {

class Observable;

/// A view of a model. It follows the model while it is on screen and not otherwise, so a hidden view costs
/// nothing. A view builds its children in its constructor and writes every text from the model in
/// `refresh()`.
class LiveView : public QWidget {
public:
    LiveView(const Observable& model, QWidget* parent);
    ~LiveView() override;

protected:
    /// Writes what the model says now; equal values must not repaint.
    virtual void refresh() = 0;

    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    const Observable& model_;
    Token changes_;
};

} // namespace ZorbelKit
