#pragma once

#include "ZorbelKit/Controls/LiveView.hpp"

#include <optional>
#include <string>

namespace ZorbelKit {
class ScrollView;
class Spice;
class Stall;
class Switch;
} // namespace ZorbelKit

namespace Zorbel {

/// A spice's image, names and summary, and the switch that turns it on and off.
class DetailHeader : public QWidget {
public:
    DetailHeader(ZorbelKit::Spice& spice, ZorbelKit::Stall& stall, QWidget* parent);
    void refresh();

private:
    ZorbelKit::Spice& spice_;
    ZorbelKit::Switch* switch_;
};

/// What stands in for the page of a spice that is off.
class Dormant : public QWidget {
public:
    Dormant(ZorbelKit::Spice& spice, ZorbelKit::Stall& stall, QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;
};

/// The right pane: the selected spice's header, and its page or the dormant one. Empty without a selection.
class SpiceDetail final : public ZorbelKit::LiveView {
public:
    SpiceDetail(ZorbelKit::Stall& stall, QWidget* parent);

protected:
    void refresh() override;
    void paintEvent(QPaintEvent* event) override;

private:
    /// What the pane shows; another page is built when it changes.
    struct Shown {
        std::string id;
        bool isEnabled = false;
        bool operator==(const Shown&) const = default;
    };

    ZorbelKit::Spice* selected() const;
    QWidget* makePage(ZorbelKit::Spice& spice, QWidget* parent);
    void show(ZorbelKit::Spice* spice);
    void fadeFromOldPage();

    ZorbelKit::Stall& stall_;
    ZorbelKit::ScrollView* scroll_;
    DetailHeader* header_ = nullptr; // owned by the page; null without a selection
    QWidget* page_ = nullptr;
    std::optional<Shown> shown_;
};

} // namespace Zorbel
