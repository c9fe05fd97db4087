#pragma once

#include "Duvesk/Duvesk.hpp"
#include "ZorbelKit/Controls/LiveView.hpp"

namespace Duvesk {

/// The page of the dashboard.
class DuveskPanel final : public ZorbelKit::LiveView {
public:
    explicit DuveskPanel(DuveskSpice& spice, QWidget* parent = nullptr);

protected:
    void refresh() override;

private:
    DuveskSpice& spice_;
};

/// The block in the menu panel.
class DuveskMenuSection final : public ZorbelKit::LiveView {
public:
    explicit DuveskMenuSection(DuveskSpice& spice, QWidget* parent = nullptr);

protected:
    void refresh() override;

private:
    DuveskSpice& spice_;
};

} // namespace Duvesk
