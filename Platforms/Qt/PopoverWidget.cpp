#include "Platforms/Qt/PopoverWidget.hpp"

#include "Platforms/Qt/PopoverPlacement.hpp"
#include "Platforms/Qt/ScreenSpace.hpp"
#include "ZorbelKit/Controls/TabOrder.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QBitmap>
#include <QCursor>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>

#include <utility>

namespace QtPlatform {

using namespace ZorbelKit;

namespace {

constexpr int border = 1;
constexpr int beakHeight = 9;
constexpr int beakHalfWidth = 10;
constexpr double screenMargin = 4;

} // namespace

PopoverWidget::PopoverWidget(QSize contentSize, AnyView content, std::function<bool()> canBlend)
    : contentSize_(contentSize)
    , content_(std::move(content))
    , canBlend_(std::move(canBlend)) {
    setWindowFlags(Qt::Popup | Qt::FramelessWindowHint | Qt::NoDropShadowWindowHint);
    // The click that closes the popover does nothing else: on the glass itself it would open it again.
    setAttribute(Qt::WA_NoMouseReplay);
    setAttribute(Qt::WA_TranslucentBackground);
    setWindowTitle("Zorbel");
    setAccessibleName("Zorbel");
    setFixedSize(contentSize.width() + 2 * border, contentSize.height() + 2 * border + beakHeight);
}

void PopoverWidget::build() {
    isBuilt_ = true;
    QWidget* content = content_.build(this);
    content->setFixedSize(contentSize_);
    content->show();
}

void PopoverWidget::showAt(std::optional<Rect> anchor) {
    if (!isBuilt_) {
        build();
    }
    const QPoint pointer = QCursor::pos();
    const QRectF target = anchor ? fromScreenSpace(*anchor) : QRectF(pointer, QSizeF(1, 1));
    QScreen* screen = QGuiApplication::screenAt(target.center().toPoint());
    if (!screen) {
        screen = QGuiApplication::primaryScreen();
    }
    if (!screen) {
        return;
    }
    const QRectF room = screen->geometry();
    const auto place = placePopover({target.x(), target.y(), target.width(), target.height()},
                                    {static_cast<double>(width()), static_cast<double>(height())},
                                    {room.x(), room.y(), room.width(), room.height()}, screenMargin,
                                    radiusPanel + beakHalfWidth);
    isBeakOnTop_ = place.isBelow;
    beakX_ = place.beakX;
    for (QObject* child : children()) {
        if (auto* content = qobject_cast<QWidget*>(child)) {
            content->move(border, border + (isBeakOnTop_ ? beakHeight : 0));
        }
    }
    move(static_cast<int>(place.x), static_cast<int>(place.y));
    cutOut();
    show();
    raise();
    activateWindow();
    setFocus(Qt::PopupFocusReason);
}

void PopoverWidget::cutOut() {
    if (canBlend_()) {
        clearMask(); // the painted edges are soft
        return;
    }
    QBitmap shape(size());
    shape.fill(Qt::color0);
    QPainter painter(&shape);
    painter.fillPath(outline(), Qt::color1);
    painter.end();
    setMask(shape);
}

/// Content that is made again while the panel lives keeps its place.
bool PopoverWidget::focusNextPrevChild(bool next) {
    return ZorbelKit::moveFocus(*this, next);
}

QPainterPath PopoverWidget::outline() const {
    const double top = isBeakOnTop_ ? beakHeight : 0;
    QPainterPath body;
    body.addRoundedRect(QRectF(0, top, width(), height() - beakHeight), radiusPanel, radiusPanel);
    QPainterPath beak;
    const double base = isBeakOnTop_ ? beakHeight + border : height() - beakHeight - border;
    const double tip = isBeakOnTop_ ? 0 : height();
    beak.moveTo(beakX_ - beakHalfWidth, base);
    beak.lineTo(beakX_, tip);
    beak.lineTo(beakX_ + beakHalfWidth, base);
    beak.closeSubpath();
    return body.united(beak);
}

void PopoverWidget::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPainterPath shape = outline();
    painter.fillPath(shape, qColor(kettle));
    painter.setClipPath(shape);
    painter.setPen(QPen(qColor(rim), 2 * border)); // the outer half is clipped away
    painter.drawPath(shape);
}

void PopoverWidget::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    if (closed_) {
        closed_();
    }
}

void PopoverWidget::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        close();
        return;
    }
    QWidget::keyPressEvent(event);
}

} // namespace QtPlatform
