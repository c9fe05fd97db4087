#pragma once

#include "ZorbelKit/Controls/FocusButton.hpp"
#include "ZorbelKit/Controls/Glide.hpp"

namespace ZorbelKit {

/// An on/off switch. `toggled` speaks only for the user's own hand when the model is written back with
/// `setCheckedSilently`.
class Switch : public FocusButton {
public:
    explicit Switch(const QString& name, QWidget* parent = nullptr);

    void setCheckedSilently(bool on);
    QSize sizeHint() const override { return {38, 22}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void checkStateSet() override;
    void nextCheckState() override;

private:
    Glide knob_;
};

} // namespace ZorbelKit
