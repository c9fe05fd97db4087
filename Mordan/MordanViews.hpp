#pragma once

#include "ZorbelKit/Controls/LiveView.hpp"

namespace Mordan {

class MordanSpice;

/// The block in the menu panel: the newest entries; a click puts one back.
class MordanMenuSection final : public ZorbelKit::LiveView {
public:
    MordanMenuSection(MordanSpice& spice, QWidget* parent);

protected:
    void refresh() override;

private:
    MordanSpice& spice_;
};

/// The dashboard page: search, and the whole history.
class MordanPanel final : public ZorbelKit::LiveView {
public:
    MordanPanel(MordanSpice& spice, QWidget* parent);

protected:
    void refresh() override;

private:
    MordanSpice& spice_;
};

} // namespace Mordan
