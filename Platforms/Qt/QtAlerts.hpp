#pragma once

#include "ZorbelKit/Host/Alerts.hpp"

#include <deque>
#include <memory>

namespace QtPlatform {

/// Alerts in the suite's colours. One is shown at a time, the others wait; the menu bar and other programs go
/// on meanwhile. Needs a QApplication.
class QtAlerts : public ZorbelKit::Alerts {
public:
    QtAlerts();
    ~QtAlerts() override; // an alert that is still shown is closed

    void runModal(const ZorbelKit::Alert& alert) override;

private:
    class Window;

    void showNext();

    std::deque<ZorbelKit::Alert> waiting_;
    std::unique_ptr<Window> window_; // none before the first alert
};

} // namespace QtPlatform
