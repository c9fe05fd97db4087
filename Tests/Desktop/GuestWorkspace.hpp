#pragma once

#include "ZorbelKit/Host/Workspace.hpp"

#include <optional>
#include <string>

namespace Desktop {

/// The programs of the desktop, this one among them: it opens the windows that are to be placed.
class GuestWorkspace : public ZorbelKit::Workspace {
public:
    explicit GuestWorkspace(const ZorbelKit::Workspace& all)
        : all_(all) {}

    std::optional<ZorbelKit::RunningApplication> frontmostApplication() const override {
        return all_.frontmostApplication();
    }
    std::optional<std::string> iconOf(const std::string& bundleIdentifier) const override {
        return all_.iconOf(bundleIdentifier);
    }
    std::optional<std::string> ownBundleIdentifier() const override { return std::nullopt; }

private:
    const ZorbelKit::Workspace& all_;
};

} // namespace Desktop
