#pragma once

#include <QWidget>

class QScrollBar;

namespace ZorbelKit {

/// Shows and drags the position of a scroll bar that is itself hidden. It is there only while there is more
/// to see than fits.
class ScrollPill final : public QWidget {
public:
    static constexpr int thickness = 8; // points

    ScrollPill(QScrollBar& bar, QWidget* parent);

    /// Puts it along the right edge of its parent.
    void place();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    double length() const;
    double top() const;
    void drag(double y);

    QScrollBar& bar_;
    bool isDragged_ = false;
    double grip_ = 0; // where on the pill it was taken
};

} // namespace ZorbelKit
