#pragma once

#include "Ledgra/Staged.hpp"
#include "ZorbelKit/Controls/HoverButton.hpp"
#include "ZorbelKit/Lifetime.hpp"

#include <QWidget>

#include <functional>
#include <optional>
#include <vector>

namespace Ledgra {

class FileIconView;
class LedgraSpice;

/// A name in at most two lines: what does not fit is left out in the middle of the second.
QStringList nameLines(const QString& name, const QFont& font, double width);

/// Takes a file off the shelf. Shown on its tile as long as that has the pointer or the keyboard.
class RemoveButton final : public ZorbelKit::HoverButton {
public:
    static constexpr int side = 20; // points

    explicit RemoveButton(QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;
};

/// One parked file, which can be shown in the file manager, taken off the shelf and dragged elsewhere.
class StagedTile final : public ZorbelKit::Tile {
public:
    static constexpr QSize tileSize{72, 88}; // points
    static constexpr int iconSize = 40;

    StagedTile(const Staged& item, LedgraSpice& spice, QWidget* parent);

    const Staged& item() const { return item_; }
    const FileIconView& icon() const { return *icon_; }
    const QStringList& lines() const { return lines_; } // of the name, as shown

    QSize sizeHint() const override { return tileSize; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    void refreshButton();

    const Staged item_;
    LedgraSpice& spice_;
    FileIconView* icon_;
    RemoveButton* remove_;
    QStringList lines_;
    std::optional<QPoint> pressedAt_; // while the button is down and nothing is dragged yet
    bool isDragged_ = false;          // since the button was pressed last
    bool isThere_ = true;             // when last looked for
    ZorbelKit::Lifetime lifetime_;
};

/// The tiles of all parked files, between which the arrow keys lead.
class StagedTiles final : public QWidget {
public:
    enum class Flow { row, grid };

    StagedTiles(LedgraSpice& spice, Flow flow, QWidget* parent = nullptr);

    /// Those that stay keep their tiles. True where one has come.
    bool refresh();

    /// Called with a tile that the keyboard has come to.
    void onReach(std::function<void(QWidget& tile)> reached) { reached_ = std::move(reached); }

    const std::vector<StagedTile*>& tiles() const { return tiles_; }

    bool hasHeightForWidth() const override { return flow_ == Flow::grid; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    int columns(int width) const;
    void arrange();
    void passOnFocus(const std::vector<StagedTile*>& staying);
    bool moveFocus(int from, int to);

    LedgraSpice& spice_;
    const Flow flow_;
    std::vector<StagedTile*> tiles_;
    std::function<void(QWidget& tile)> reached_ = [](QWidget&) {};
};

} // namespace Ledgra
