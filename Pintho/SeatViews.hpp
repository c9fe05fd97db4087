#pragma once

#include "Pintho/PinthoTexts.hpp"
#include "Pintho/Seat.hpp"
#include "ZorbelKit/Color.hpp"
#include "ZorbelKit/Controls/HoverButton.hpp"

#include <functional>
#include <optional>
#include <vector>

class QPainter;
class QRectF;

namespace Pintho {

class PinthoSpice;

struct SeatColours {
    ZorbelKit::Color ground; // the screen
    ZorbelKit::Color border;
    ZorbelKit::Color fill; // the seat
};

/// A little screen with the seat's part of it filled.
void paintSeat(QPainter& painter, const QRectF& screen, Seat seat, const SeatColours& colours);

/// A button that places the front window. It highlights under the pointer, keeps a mark of the last placement
/// and looks disabled while no window can be placed. It can be pressed even then: whether a window can be
/// placed is asked anew.
class SeatTile : public ZorbelKit::Tile {
public:
    /// Writes what the spice says now; equal values repaint nothing.
    void refresh();

    Seat seat() const { return seat_; }
    bool isLast() const { return shown_->isLast; } // where the last window was placed
    bool canPlace() const { return shown_->canPlace; }
    const SeatKeys& keys() const { return shown_->keys; }

protected:
    /// Whoever derives from it writes the first time.
    SeatTile(PinthoSpice& spice, Seat seat, QWidget* parent);

    virtual void writeTip() = 0; // from the keys

    void paintGround(QPainter& painter) const;
    void paintScreen(QPainter& painter, const QRectF& screen) const;

    void paintEvent(QPaintEvent* event) override;
    virtual void paint(QPainter& painter) = 0;
    void focusInEvent(QFocusEvent* event) override;

private:
    struct Shown {
        SeatKeys keys;
        bool isLast = false;
        bool canPlace = false;
        bool operator==(const Shown&) const = default;
    };

    const PinthoSpice& spice_;
    const Seat seat_;
    std::optional<Shown> shown_; // none only until the first `refresh`
};

/// A seat's picture over its title.
class SeatButton final : public SeatTile {
public:
    SeatButton(PinthoSpice& spice, Seat seat, QWidget* parent);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void writeTip() override;
    void paint(QPainter& painter) override;
};

/// A seat's picture alone.
class SmallSeatButton final : public SeatTile {
public:
    SmallSeatButton(PinthoSpice& spice, Seat seat, QWidget* parent);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void writeTip() override;
    void paint(QPainter& painter) override;
};

/// All the seats in their order, five by two. The arrow keys, Home and End move the keyboard between them.
class SeatGrid final : public QWidget {
public:
    using Make = std::function<SeatTile*(Seat seat, QWidget* parent)>;

    /// `gap` in points.
    SeatGrid(const Make& make, int gap, QWidget* parent);

    void refresh();

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    std::vector<SeatTile*> tiles_;
};

} // namespace Pintho
