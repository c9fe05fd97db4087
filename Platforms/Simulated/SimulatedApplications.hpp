#pragma once

#include "Hushel/Applications.hpp"

#include <algorithm>

namespace Simulated {

/// Programs that tests start, and that hide at once.
class SimulatedApplications : public Hushel::Applications {
public:
    std::vector<Hushel::Application> running() override {
        ++looks;
        return all;
    }

    void hide(const std::vector<Hushel::Application>& applications) override {
        for (const auto& application : applications) {
            hidden.push_back(application.bundleIdentifier.value_or(""));
            const auto found =
                std::ranges::find(all, application.bundleIdentifier, &Hushel::Application::bundleIdentifier);
            if (found != all.end() && found->canHide) {
                found->isHidden = true;
                found->isActive = false;
            }
        }
    }

    std::string hidingHint() override { return hint; }

    std::vector<Hushel::Application> all;
    std::vector<std::string> hidden; // every request, in order
    std::string hint;
    int looks = 0; // how often it was asked what runs
};

} // namespace Simulated
