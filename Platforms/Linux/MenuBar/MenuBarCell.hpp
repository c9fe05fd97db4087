#pragma once

#include <QAbstractButton>

#include <string>

namespace Linux {

class MenuBarWindow;

/// One item on the suite's own bar: its part of the row, what the pointer does to it, and the ground it is
/// painted on. The left button with Ctrl or Super drags it; a drag never clicks.
class MenuBarCell : public QAbstractButton {
public:
    static constexpr int barHeight = 28; // points

    /// `identity` is unique on the bar (see StatusOrder.hpp).
    MenuBarCell(MenuBarWindow& bar, std::string identity);
    ~MenuBarCell() override;

    const std::string& identity() const { return identity_; }

    /// Puts the cell where the row says; in the bar's coordinates, y downwards.
    virtual void place(const QRect& frame);
    virtual void takeAway(); // out of sight

    /// The frame asked for with MenuBarWindow::showSoon has come.
    virtual void redraw() {}

protected:
    /// A button was pressed and released on the item, at this place on the screen (the toolkit's
    /// coordinates). May destroy the item. A screen reader's press is the left button's.
    virtual void act(Qt::MouseButton button, QPoint place) = 0;

    /// The part the item is drawn in; all of it, unless the item is wider than it looks.
    virtual QRectF drawnPart() const { return rect(); }
    virtual void paintContent(QPainter& painter) = 0;

    MenuBarWindow& bar() const { return bar_; }
    void paintEvent(QPaintEvent* event) final;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    MenuBarWindow& bar_;
    const std::string identity_;
    Qt::MouseButton pressed_ = Qt::NoButton;
};

} // namespace Linux
