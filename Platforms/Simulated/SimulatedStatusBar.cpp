#include "Platforms/Simulated/SimulatedStatusBar.hpp"

#include <algorithm>

namespace Simulated {

using ZorbelKit::StatusClick;

class SimulatedStatusBar::Handle : public ZorbelKit::StatusItem {
public:
    Handle(SimulatedStatusBar& bar, std::shared_ptr<Item> item)
        : bar_(bar)
        , item_(std::move(item)) {}
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    ~Handle() override { std::erase(bar_.items_, item_); }

    void setLength(double points) override { item_->length = points; }
    void setImage(const ZorbelKit::Image& image) override {
        item_->image = image;
        ++item_->imagesShown;
    }
    void setToolTip(std::string text) override { item_->toolTip = std::move(text); }
    void onClick(std::function<void(StatusClick)> handler) override { item_->clicked = std::move(handler); }
    std::optional<ZorbelKit::Rect> frame() const override { return item_->frame; }

private:
    SimulatedStatusBar& bar_;
    std::shared_ptr<Item> item_;
};

std::unique_ptr<ZorbelKit::StatusItem> SimulatedStatusBar::statusItem(double length, std::string autosaveName,
                                                                      ZorbelKit::StatusItemKind kind) {
    if (!showsItems_) {
        return nullptr;
    }
    auto item = std::make_shared<Item>();
    item->autosaveName = std::move(autosaveName);
    item->kind = kind;
    item->length = length;
    items_.push_back(item);
    return std::make_unique<Handle>(*this, item);
}

ZorbelKit::Token SimulatedStatusBar::onChange(std::function<void()> changed) {
    return changes_.observe(std::move(changed));
}

void SimulatedStatusBar::click(std::string_view autosaveName, ZorbelKit::ClickButton button) {
    if (Item* found = item(autosaveName); found && found->clicked) {
        const auto handler = found->clicked; // the handler may destroy the item
        handler(StatusClick{button, found->frame});
    }
}

SimulatedStatusBar::Item* SimulatedStatusBar::item(std::string_view autosaveName) {
    const auto found =
        std::ranges::find_if(items_, [&](const auto& item) { return item->autosaveName == autosaveName; });
    return found == items_.end() ? nullptr : found->get();
}

void SimulatedStatusBar::setPushesOthers(bool on) {
    pushesOthers_ = on;
    changes_.notify();
}

void SimulatedStatusBar::setReachable(bool on) {
    isReachable_ = on;
    changes_.notify();
}

void SimulatedStatusBar::setUsesOwnBar(bool on) {
    if (usesOwnBar_) {
        setChoice(on);
        setPushesOthers(on);
    }
}

void SimulatedStatusBar::setChoice(std::optional<bool> usesOwnBar) {
    usesOwnBar_ = usesOwnBar;
    changes_.notify();
}

} // namespace Simulated
