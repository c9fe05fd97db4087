#pragma once

#include "Zorbel/RowHover.hpp"
#include "ZorbelKit/Controls/FocusButton.hpp"
#include "ZorbelKit/Controls/Glide.hpp"
#include "ZorbelKit/Controls/LiveView.hpp"
#include "ZorbelKit/Wave.hpp"

#include <vector>

class QLabel;

namespace ZorbelKit {
class ScrollView;
class Spice;
class SpiceIcon;
class Stall;
} // namespace ZorbelKit

namespace Zorbel {

/// The program's title block.
class Masthead : public QWidget {
public:
    explicit Masthead(QWidget* parent);
};

/// A wave's title, and how many of its spices are on.
class WaveHeader : public QWidget {
public:
    WaveHeader(ZorbelKit::Wave wave, QWidget* parent);
    void setCount(int on, int all);

private:
    ZorbelKit::Wave wave_;
    QLabel* count_;
};

/// One spice of the list. A click selects it; resting the pointer on it tells the reason for its name.
class SpiceRow : public ZorbelKit::FocusButton {
public:
    SpiceRow(const ZorbelKit::Spice& spice, ZorbelKit::Stall& stall, ZorbelKit::MainLoop& loop,
             QWidget* parent);

    const ZorbelKit::Spice& spice() const { return spice_; }
    const RowHover& hover() const { return hover_; }
    void refresh();

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void hoverChanged();
    void layOutReason();

    const ZorbelKit::Spice& spice_;
    ZorbelKit::Stall& stall_;
    RowHover hover_;
    ZorbelKit::SpiceIcon* icon_;
    QLabel* name_; // in the order readers hear them
    QLabel* role_;
    QLabel* reason_;
    ZorbelKit::Glide shade_;  // the hover background
    ZorbelKit::Glide reveal_; // the reason's share of its full height
    bool isSelected_ = false;
    ZorbelKit::Token hoverChanges_;
};

/// The left column: the masthead and all spices by wave. Up, Down, Home and End move the selection.
class SpiceList final : public ZorbelKit::LiveView {
public:
    static constexpr int listWidth = 268;

    SpiceList(ZorbelKit::Stall& stall, ZorbelKit::MainLoop& loop, QWidget* parent);

protected:
    void refresh() override;
    void showEvent(QShowEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool moveSelection(int key);
    void select(int index);

    ZorbelKit::Stall& stall_;
    ZorbelKit::ScrollView* scroll_;
    std::vector<WaveHeader*> headers_; // in wave order
    std::vector<SpiceRow*> rows_;      // in order of display
};

} // namespace Zorbel
