#pragma once

#include "ZorbelKit/Color.hpp"
#include "ZorbelKit/Controls/LiveView.hpp"

#include <QScrollArea>

class QDropEvent;
class QLabel;
class QStackedLayout;

namespace ZorbelKit {
class PaintedButton;
class Symbol;
} // namespace ZorbelKit

namespace Ledgra {

class LedgraSpice;
class StagedTiles;

/// A row that scrolls from side to side, by the wheel too. It fades out at an end behind which there is more.
class TileStrip final : public QScrollArea {
public:
    TileStrip(StagedTiles& tiles, QWidget* parent);

    void setGround(const ZorbelKit::Color& colour); // into which it fades
    void scrollToEnd();

protected:
    void wheelEvent(QWheelEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    class Fade;
    Fade* fade_;
};

/// The content of the strip at the top of the screen: the parked files, and a place to drop more.
class ShelfView final : public ZorbelKit::LiveView {
public:
    ShelfView(LedgraSpice& spice, QWidget* parent);

    /// Whether files are held above it that it would take.
    bool isTargeted() const { return targeted_; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void refresh() override;
    void hideEvent(QHideEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    bool take(QDropEvent& event);
    void setTargeted(bool targeted);

    LedgraSpice& spice_;
    bool targeted_ = false;
    QWidget* nothing_;
    ZorbelKit::Symbol* tray_;
    QLabel* hint_;
    QWidget* files_;
    QLabel* count_;
    ZorbelKit::PaintedButton* clear_;
    StagedTiles* tiles_;
    TileStrip* strip_;
    QStackedLayout* states_;
};

} // namespace Ledgra
