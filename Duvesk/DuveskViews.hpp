#pragma once

#include "Duvesk/Duvesk.hpp"
#include "ZorbelKit/Controls/LiveView.hpp"

#include <QVariantAnimation>

#include <vector>

class QLabel;
class QStackedLayout;

namespace ZorbelKit {
class LineText;
class PaintedButton;
class Reading;
} // namespace ZorbelKit

namespace Duvesk {

class FindingList;
class TabRow;

/// A thin line on which a light goes to and fro: something is going on, and nobody knows for how long. It
/// moves only while it can be seen.
class BusyBar final : public QWidget {
public:
    static constexpr int thickness = 4; // points

    BusyBar(int width, const ZorbelKit::Color& colour, QWidget* parent);

    bool isMoving() const { return motion_.state() == QVariantAnimation::Running; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    const ZorbelKit::Color colour_;
    QVariantAnimation motion_; // 0 at the left end, 1 at the right one
};

/// What the button of a view that starts a scan says, and whether it can be pressed. What had the keyboard
/// and goes, or cannot be pressed for a while, leaves it to the button; while a scan runs it waits on the
/// view.
class ScanControl {
public:
    ScanControl(DuveskSpice& spice, ZorbelKit::PaintedButton& button, QWidget& view);

    /// Before anything is hidden. `going`: what is about to be, with all that is on it.
    void refresh(const std::vector<const QWidget*>& going);

private:
    DuveskSpice& spice_;
    ZorbelKit::PaintedButton& button_;
    QWidget& view_;
    bool showsFocus_ = false; // whether what had the keyboard showed it
};

/// Ticks all and none, says what is ticked and moves it to the Trash.
class SelectionBar final : public QWidget {
public:
    SelectionBar(DuveskSpice& spice, QWidget* parent);

    void refresh();

private:
    const DuveskSpice& spice_;
    ZorbelKit::PaintedButton* selectAll_;
    ZorbelKit::Reading* selected_;
    ZorbelKit::PaintedButton* moveToTrash_;
};

/// What stands in place of the findings while there are none: what a scan will look at, or that one runs.
class Unscanned final : public QWidget {
public:
    explicit Unscanned(DuveskSpice& spice, QWidget* parent = nullptr);

    void refresh();

private:
    const DuveskSpice& spice_;
    QStackedLayout* states_;
};

/// The dashboard page: a scan, what it found, and the way to the Trash.
class DuveskPanel final : public ZorbelKit::LiveView {
public:
    explicit DuveskPanel(DuveskSpice& spice, QWidget* parent = nullptr);

protected:
    void refresh() override;

private:
    DuveskSpice& spice_;
    ZorbelKit::PaintedButton* scan_;
    ScanControl scanControl_;
    QWidget* moved_;
    ZorbelKit::LineText* movedLine_;
    TabRow* tabs_;
    QWidget* results_;
    SelectionBar* selection_;
    FindingList* list_;
    Unscanned* unscanned_;
    QStackedLayout* states_;
};

/// The block in the menu panel: a scan, or how much the last one found.
class DuveskMenuSection final : public ZorbelKit::LiveView {
public:
    explicit DuveskMenuSection(DuveskSpice& spice, QWidget* parent = nullptr);

protected:
    void refresh() override;

private:
    DuveskSpice& spice_;
    ZorbelKit::PaintedButton* scan_;
    ScanControl scanControl_;
    BusyBar* busy_;
    QLabel* count_;
    ZorbelKit::Reading* total_;
};

} // namespace Duvesk
