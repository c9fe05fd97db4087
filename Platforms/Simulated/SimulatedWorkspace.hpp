#pragma once

#include "ZorbelKit/Host/Workspace.hpp"

#include <map>
#include <string>

namespace Simulated {

/// A desktop whose programs tests name.
class SimulatedWorkspace : public ZorbelKit::Workspace {
public:
    std::optional<ZorbelKit::RunningApplication> frontmostApplication() const override { return front; }

    std::optional<std::string> iconOf(const std::string& bundleIdentifier) const override {
        const auto found = icons.find(bundleIdentifier);
        return found == icons.end() ? std::nullopt : std::optional(found->second);
    }
    std::optional<std::string> ownBundleIdentifier() const override { return own; }

    std::optional<ZorbelKit::RunningApplication> front;
    std::optional<std::string> own = "zorbel";
    std::map<std::string, std::string> icons; // by bundle identifier
};

} // namespace Simulated
