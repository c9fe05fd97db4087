#include "ZorbelKit/Controls/ScrollView.hpp"

#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>

#include <algorithm>
#include <cmath>

namespace ZorbelKit {

namespace {

constexpr int pillWidth = 8;
constexpr double shortestPill = 24;

/// Shows and drags the position of a scroll bar that is itself hidden.
class ScrollPill : public QWidget {
public:
    ScrollPill(QScrollBar& bar, QWidget* parent)
        : QWidget(parent)
        , bar_(bar) {
        setAttribute(Qt::WA_Hover);
        connect(&bar, &QScrollBar::valueChanged, this, [this] { update(); });
        connect(&bar, &QScrollBar::rangeChanged, this, [this] {
            setVisible(bar_.maximum() > bar_.minimum());
            update();
        });
        hide();
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(qColor(malaiFaint.withOpacity(underMouse() || isDragged_ ? 0.9 : 0.45)));
        const QRectF pill(2, top() + 2, width() - 4, length() - 4);
        painter.drawRoundedRect(pill, pill.width() / 2, pill.width() / 2);
    }

    void mousePressEvent(QMouseEvent* event) override {
        isDragged_ = true;
        const double y = event->position().y();
        const bool isOnPill = y >= top() && y < top() + length();
        grip_ = isOnPill ? y - top() : length() / 2;
        drag(y);
    }

    void mouseMoveEvent(QMouseEvent* event) override { drag(event->position().y()); }

    void mouseReleaseEvent(QMouseEvent*) override {
        isDragged_ = false;
        update();
    }

private:
    double length() const {
        const double span = bar_.maximum() - bar_.minimum() + bar_.pageStep();
        return std::max(shortestPill, height() * bar_.pageStep() / std::max(span, 1.0));
    }

    double top() const {
        const int range = std::max(bar_.maximum() - bar_.minimum(), 1);
        return (height() - length()) * (bar_.value() - bar_.minimum()) / range;
    }

    void drag(double y) {
        const double travel = std::max(height() - length(), 1.0);
        const double share = (y - grip_) / travel;
        bar_.setValue(bar_.minimum() +
                      static_cast<int>(std::lround(share * (bar_.maximum() - bar_.minimum()))));
        update();
    }

    QScrollBar& bar_;
    bool isDragged_ = false;
    double grip_ = 0; // where on the pill it was taken
};

} // namespace

ScrollView::ScrollView(QWidget* parent)
    : QScrollArea(parent)
    , pill_(new ScrollPill(*verticalScrollBar(), this)) {
    setFrameShape(QFrame::NoFrame);
    setWidgetResizable(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::NoFocus);
    QPalette clear = palette();
    clear.setColor(QPalette::Window, Qt::transparent);
    setPalette(clear);
}

void ScrollView::resizeEvent(QResizeEvent* event) {
    QScrollArea::resizeEvent(event);
    pill_->setGeometry(width() - pillWidth, 0, pillWidth, height());
    pill_->raise();
}

} // namespace ZorbelKit
