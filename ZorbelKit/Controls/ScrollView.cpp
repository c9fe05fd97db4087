#include "ZorbelKit/Controls/ScrollView.hpp"

#include "ZorbelKit/Controls/ScrollPill.hpp"

#include <QScrollBar>

namespace ZorbelKit {

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
    pill_->place();
}

} // namespace ZorbelKit
