#pragma once

#include "ZorbelKit/Host/Workspace.hpp"

namespace Simulated {

/// A desktop whose programs tests name.
class SimulatedWorkspace : public ZorbelKit::Workspace {
public:
    std::optional<ZorbelKit::RunningApplication> frontmostApplication() const override { return front; }

    std::optional<ZorbelKit::RunningApplication> front;
};

} // namespace Simulated
