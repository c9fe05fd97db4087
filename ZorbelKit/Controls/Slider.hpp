#pragma once

#include "ZorbelKit/Controls/Glide.hpp"

#include <QTimer>
#include <QWidget>

#include <functional>
#include <optional>

namespace ZorbelKit {

/// A level between 0 and 1 on a line, by pointer, wheel and keyboard. While it is dragged it shows where the
/// hand is, whatever is set meanwhile; at all other times it shows what was set.
class Slider final : public QWidget {
public:
    static constexpr int frame = 16; // milliseconds
    static constexpr int edge = 3;   // points left and right of the line, for the ring round the knob

    /// `moved` hears of the user's moves, the last one of each frame; `spoken`: what a screen reader calls
    /// it.
    Slider(const QString& spoken, std::function<void(double)> moved, QWidget* parent);

    /// None: there is nothing to show, and it cannot be moved. Below 0 and above 1 the knob is at that end.
    void setValue(std::optional<double> value);

    /// Where the knob is; none: nowhere.
    std::optional<double> shown() const;

    /// The shown level as a whole percentage; a dash for none.
    QString valueText() const;

    /// A move by the user without the pointer: asks for a level, or for one so much higher.
    void ask(double level);
    void step(double by);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    double knobX() const; // of its centre
    void drag(double x);
    void endDrag();
    void tellPending();
    void showLevel(const std::function<void()>& change);
    void noticeAttention();

    const std::function<void(double)> moved_;
    std::optional<double> value_;
    bool isDragged_ = false;
    double hand_ = 0;               // the level it is dragged to
    double grip_ = 0;               // how far right of the knob's centre it was taken, in points
    std::optional<double> pending_; // what is to be told at the frame's end
    QTimer frameEnd_;               // runs for a frame after something was told
    int wheelRest_ = 0;             // of the wheel's turn, in eighths of a degree
    bool showsFocus_ = false;
    Glide growth_; // 0 at rest, 1 under the pointer
};

} // namespace ZorbelKit
