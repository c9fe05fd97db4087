#pragma once

#include "ZorbelKit/Host/StatusBar.hpp"
#include "ZorbelKit/Observable.hpp"

#include <string_view>
#include <vector>

namespace Simulated {

/// A menu bar that is a list: tests read what the items show and click them.
class SimulatedStatusBar : public ZorbelKit::StatusBar {
public:
    struct Item {
        std::string autosaveName;
        ZorbelKit::StatusItemKind kind = ZorbelKit::StatusItemKind::button;
        double length = 0;
        ZorbelKit::Image image;
        std::string toolTip;
        std::function<void(ZorbelKit::StatusClick)> clicked;
        std::optional<ZorbelKit::Rect> frame = ZorbelKit::Rect{700, 572, 28, 28};
        int imagesShown = 0;
    };

    std::unique_ptr<ZorbelKit::StatusItem> statusItem(double length, std::string autosaveName,
                                                      ZorbelKit::StatusItemKind kind) override;
    bool pushesOthers() const override { return pushesOthers_; }
    bool isReachable() const override { return isReachable_ && showsItems_; }
    std::optional<bool> usesOwnBar() const override { return usesOwnBar_; }
    void setUsesOwnBar(bool on) override;
    std::string arrangingHint() const override { return arrangingHint_; }
    ZorbelKit::Token onChange(std::function<void()> changed) override;

    /// As a user would: nothing happens where there is no such item.
    void click(std::string_view autosaveName, ZorbelKit::ClickButton button);

    /// Null where there is no such item.
    Item* item(std::string_view autosaveName);
    int liveItems() const { return static_cast<int>(items_.size()); }

    void setPushesOthers(bool on);
    void setReachable(bool on);
    void setChoice(std::optional<bool> usesOwnBar); // none: nothing to choose
    void setArrangingHint(std::string hint) { arrangingHint_ = std::move(hint); }
    void setShowsItems(bool on) { showsItems_ = on; } // false: the platform has no status items at all

private:
    class Handle;
    std::vector<std::shared_ptr<Item>> items_; // in order of creation
    bool pushesOthers_ = true;
    bool isReachable_ = true;
    bool showsItems_ = true;
    std::optional<bool> usesOwnBar_;
    std::string arrangingHint_;
    ZorbelKit::Changes changes_;
};

} // namespace Simulated
