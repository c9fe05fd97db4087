#pragma once

#include "Duvesk/Finding.hpp"
#include "ZorbelKit/Controls/RowList.hpp"

#include <functional>
#include <optional>
#include <vector>

class QStackedLayout;

namespace ZorbelKit {
class LineText;
class QuietButton;
class Reading;
class Symbol;
} // namespace ZorbelKit

namespace Duvesk {

class DuveskSpice;

/// One finding: its tick box, its name over why it was found, its size, and while the row has attention a
/// button that shows it in its folder. A click on the tick box, or Space, toggles the tick.
class FindingRow final : public ZorbelKit::ListRow {
public:
    static constexpr int rowHeight = 48;

    FindingRow(DuveskSpice& spice, QWidget* parent);

    /// The same again does nothing.
    void bind(const Finding& finding);

    const std::optional<Finding>& finding() const { return finding_; } // none before the first

    void reveal();

    /// The part of the row that counts as its tick box.
    QRect tickBox() const;

protected:
    void attentionChanged() override;
    bool hitButton(const QPoint& position) const override { return tickBox().contains(position); }
    void nextCheckState() override {} // the spice decides
    void mousePressEvent(QMouseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void toggle();
    void writeTick();
    void arrange();

    DuveskSpice& spice_;
    std::optional<Finding> finding_;
    ZorbelKit::Symbol* tick_;
    ZorbelKit::LineText* title_;
    ZorbelKit::LineText* note_;
    ZorbelKit::Reading* size_;
    ZorbelKit::QuietButton* reveal_;
};

/// The findings of the tab that is chosen.
class FindingList final : public QWidget {
public:
    static constexpr int leastRows = 3; // there is room for these at least

    FindingList(DuveskSpice& spice, QWidget* parent);

    /// Rows that stay keep the keyboard, the pointer and their place on the screen.
    void setFindings(std::vector<Finding> findings);

    void scrollToTop();
    void takeKeyboard(); // on the row that had it last

    /// Up on the first row, or the last row of all went while it had the keyboard.
    void onLeave(std::function<void()> left) { rows_->onLeave(std::move(left)); }

private:
    std::vector<Finding> findings_; // what is listed
    ZorbelKit::RowList* rows_;
    QStackedLayout* states_;
};

} // namespace Duvesk
