#pragma once

#include "ZorbelKit/Controls/LiveView.hpp"

class QLabel;

namespace ZorbelKit {
class PaintedButton;
class Switch;
} // namespace ZorbelKit

namespace Ledgra {

class LedgraSpice;
class StagedTiles;

/// The spice's page in the dashboard: whether the shelf is shown, and what is on it.
class LedgraPanel final : public ZorbelKit::LiveView {
public:
    LedgraPanel(LedgraSpice& spice, QWidget* parent);

protected:
    void refresh() override;

private:
    LedgraSpice& spice_;
    ZorbelKit::Switch* showShelf_;
    ZorbelKit::PaintedButton* clear_;
    QWidget* nothing_;
    QWidget* files_;
    StagedTiles* tiles_;
};

/// How many files are on the shelf, in the panel under the glass.
class LedgraMenuSection final : public ZorbelKit::LiveView {
public:
    LedgraMenuSection(LedgraSpice& spice, QWidget* parent);

protected:
    void refresh() override;

private:
    LedgraSpice& spice_;
    QLabel* count_;
    ZorbelKit::PaintedButton* clear_;
};

} // namespace Ledgra
