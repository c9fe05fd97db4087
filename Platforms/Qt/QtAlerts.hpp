#pragma once

#include "ZorbelKit/Host/Alerts.hpp"

#include <memory>

namespace QtPlatform {

/// Alerts in the suite's colours. One is shown at a time; the menu bar and other programs go on meanwhile.
/// Needs a QApplication.
class QtAlerts : public ZorbelKit::Alerts {
public:
    QtAlerts();
    ~QtAlerts() override; // an alert that is still shown is closed

    void runModal(const ZorbelKit::Alert& alert) override;

private:
    class Window;
    std::unique_ptr<Window> window_;
};

} // namespace QtPlatform
