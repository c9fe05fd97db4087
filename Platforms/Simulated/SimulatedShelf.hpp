#pragma once

#include "Ledgra/ParkedFiles.hpp"
#include "ZorbelKit/Host/FloatingPanels.hpp"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <vector>

namespace Simulated {

/// Panels as records; no content is built.
class SimulatedFloatingPanels : public ZorbelKit::FloatingPanels {
public:
    struct Panel {
        ZorbelKit::FloatingPanelStyle style;
        ZorbelKit::AnyView content;
        std::optional<ZorbelKit::Point> origin;
        bool isShown = false;
        int fronts = 0; // how often it was brought to the front
    };

    std::unique_ptr<ZorbelKit::FloatingPanel> make(const ZorbelKit::FloatingPanelStyle& style,
                                                   const ZorbelKit::AnyView& content) override {
        const auto panel = std::make_shared<Panel>(Panel{.style = style, .content = content, .origin = {}});
        made.push_back(panel);
        return std::make_unique<Handle>(panel);
    }

    int live() const {
        int count = 0;
        for (const auto& panel : made) {
            count += panel.expired() ? 0 : 1;
        }
        return count;
    }

    /// The newest panel; null where it is gone, or none was made.
    std::shared_ptr<Panel> newest() const { return made.empty() ? nullptr : made.back().lock(); }

    std::vector<std::weak_ptr<Panel>> made;

private:
    class Handle : public ZorbelKit::FloatingPanel {
    public:
        explicit Handle(std::shared_ptr<Panel> panel)
            : panel_(std::move(panel)) {}

        void setOrigin(ZorbelKit::Point origin) override { panel_->origin = origin; }
        void orderFrontRegardless() override {
            panel_->isShown = true;
            ++panel_->fronts;
        }
        void orderOut() override { panel_->isShown = false; }

    private:
        std::shared_ptr<Panel> panel_;
    };
};

/// Files that are what a test says.
class SimulatedParkedFiles : public Ledgra::ParkedFiles {
public:
    std::shared_ptr<const Ledgra::FileIcon> icon(const std::filesystem::path& file) override {
        const auto icon = std::make_shared<Ledgra::FileIcon>(Ledgra::FileIcon::Look{.names = {"text-plain"}});
        icons.emplace_back(file, icon);
        return icon;
    }

    std::int64_t totalBytes(const std::vector<std::filesystem::path>& files) const override {
        std::int64_t sum = 0;
        for (const auto& file : files) {
            const auto found = sizes.find(file);
            sum += found == sizes.end() ? 0 : found->second;
        }
        return sum;
    }

    void look(const std::filesystem::path& file, std::function<void(bool isThere)> answer) override {
        answer(!missing.contains(file));
    }

    std::map<std::filesystem::path, std::int64_t> sizes; // of regular files
    std::set<std::filesystem::path> missing;             // when looked for again
    std::vector<std::pair<std::filesystem::path, std::shared_ptr<Ledgra::FileIcon>>>
        icons; // as they were asked for
};

} // namespace Simulated
