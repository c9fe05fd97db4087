#pragma once

#include "ZorbelKit/Host/Alerts.hpp"

#include <vector>

namespace Simulated {

class SimulatedAlerts : public ZorbelKit::Alerts {
public:
    void runModal(const ZorbelKit::Alert& alert) override { shown.push_back(alert); }

    std::vector<ZorbelKit::Alert> shown;
};

} // namespace Simulated
