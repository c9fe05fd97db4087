#pragma once

#include "ZorbelKit/Host/Shortcuts.hpp"

#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>

namespace Simulated {

/// A keyboard that tests press.
class SimulatedShortcuts : public ZorbelKit::Shortcuts {
public:
    ZorbelKit::Token grab(std::string_view key, std::function<void()> pressed) override {
        const std::string name(key);
        if (takenByOthers.contains(name) || !grabs_->emplace(name, std::move(pressed)).second) {
            return {};
        }
        return ZorbelKit::Token([grabs = grabs_, name] { grabs->erase(name); });
    }
    std::string text(std::string_view key) const override { return "Ctrl+Alt+" + std::string(key); }

    /// False where nobody waits for the key.
    bool press(const std::string& key) {
        const auto found = grabs_->find(key);
        if (found == grabs_->end()) {
            return false;
        }
        const auto pressed = found->second;
        pressed();
        return true;
    }
    int liveGrabs() const { return static_cast<int>(grabs_->size()); }

    std::set<std::string> takenByOthers;

private:
    using Grabs = std::map<std::string, std::function<void()>>;
    std::shared_ptr<Grabs> grabs_ = std::make_shared<Grabs>();
};

} // namespace Simulated
