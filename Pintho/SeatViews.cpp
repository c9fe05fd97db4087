#include "Pintho/SeatViews.hpp"

#include "Pintho/Pintho.hpp"
#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QGridLayout>
#include <QKeyEvent>
#include <QPainter>
#include <QScrollArea>

#include <algorithm>
#include <cmath>

namespace Pintho {

using namespace ZorbelKit;

namespace {

constexpr int columns = 5;
constexpr double disabledOpacity = 0.45;

// Points.
constexpr QSizeF screenSize(58, 38);
constexpr int buttonHeight = 84;
constexpr int screenTop = 14;
constexpr int titleGap = 8;
constexpr double titlePadding = 4;
constexpr double titleSize = 11;

constexpr QSizeF smallScreenSize(34, 22);
constexpr int smallHeight = 38;

constexpr double keySide = 10;
constexpr double keyInset = 7;

/// A struck key: none of the keyboard's leads here.
void paintStruckKey(QPainter& painter, const QPointF& topRight) {
    const QRectF key(topRight.x() - keySide, topRight.y(), keySide, keySide);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(qColor(malaiFaint), 1.2, Qt::SolidLine, Qt::RoundCap));
    painter.drawRoundedRect(key, 2.5, 2.5);
    painter.drawLine(key.bottomLeft() + QPointF(2.5, -2.5), key.topRight() + QPointF(-2.5, 2.5));
}

/// The keyboard can go where the user does not see it: scrolls it into sight.
void reveal(QWidget& widget) {
    constexpr int margin = 12;
    for (QWidget* parent = widget.parentWidget(); parent; parent = parent->parentWidget()) {
        if (auto* area = qobject_cast<QScrollArea*>(parent)) {
            area->ensureWidgetVisible(&widget, 0, margin);
            return;
        }
    }
}

} // namespace

void paintSeat(QPainter& painter, const QRectF& screen, Seat seat, const SeatColours& colours) {
    const double rounding = std::clamp(screen.height() / 8, 2.0, 5.0);
    painter.setPen(QPen(qColor(colours.border), 1));
    painter.setBrush(qColor(colours.ground));
    painter.drawRoundedRect(screen.adjusted(0.5, 0.5, -0.5, -0.5), rounding, rounding);

    const double inset = screen.height() < 20 ? 2 : 3;
    const double gap = screen.height() < 20 ? 0.5 : 1; // at an edge that the seat shares with another
    const QRectF room = screen.adjusted(inset, inset, -inset, -inset);
    const SeatShare part = share(seat);
    QRectF filled(room.x() + part.x * room.width(), room.y() + part.y * room.height(),
                  part.width * room.width(), part.height * room.height());
    filled.adjust(part.x > 0 ? gap : 0, part.y > 0 ? gap : 0, part.x + part.width < 1 ? -gap : 0,
                  part.y + part.height < 1 ? -gap : 0);
    const double inner = std::max(rounding - inset + 1, 1.5);
    painter.setPen(Qt::NoPen);
    painter.setBrush(qColor(colours.fill));
    painter.drawRoundedRect(filled, inner, inner);
}

SeatTile::SeatTile(PinthoSpice& spice, Seat seat, QWidget* parent)
    : Tile(parent)
    , spice_(spice)
    , seat_(seat) {
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setAccessible(*this, QAccessible::Button, qString(title(seat)));
    connect(this, &QAbstractButton::clicked, this, [&spice, seat] { spice.place(seat); });
}

void SeatTile::refresh() {
    const Shown now{.keys = {.isOn = spice_.isEnabled(), .shortcut = spice_.shortcut(seat_)},
                    .isLast = spice_.lastSeat() == seat_,
                    .canPlace = spice_.hasAccessibility()};
    if (shown_ == now) {
        return;
    }
    shown_ = now;
    writeTip();
    setAccessibleDescription(qString(descriptionText(now.keys, now.isLast)));
    update();
}

void SeatTile::paintGround(QPainter& painter) const {
    const Color shade = isDown() ? stall : kettle.mixedWith(kettlePeak, hover());
    const Color border = isLast() ? spiceColour("pintho") : rim;
    painter.setPen(QPen(qColor(border), 1));
    painter.setBrush(qColor(shade));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radiusControl, radiusControl);
}

void SeatTile::paintScreen(QPainter& painter, const QRectF& screen) const {
    const Color fill = isDown()   ? brassDim
                       : isLast() ? spiceColour("pintho")
                                  : stall.mixedWith(malaiDim, 0.66);
    paintSeat(painter, screen, seat_,
              {.ground = stall,
               .border = rim.mixedWith(malaiDim, hover()),
               .fill = isDown() ? fill : fill.mixedWith(brass, hover())});
}

void SeatTile::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setOpacity(canPlace() ? 1 : disabledOpacity);
    paint(painter);
    painter.setOpacity(1);
    if (showsFocus()) {
        paintFocusRing(painter, rect(), radiusControl);
    }
}

void SeatTile::focusInEvent(QFocusEvent* event) {
    Tile::focusInEvent(event);
    if (showsFocus()) {
        reveal(*this);
    }
}

SeatButton::SeatButton(PinthoSpice& spice, Seat seat, QWidget* parent)
    : SeatTile(spice, seat, parent) {
    setFont(interfaceFont(titleSize, QFont::Medium));
    refresh();
}

QSize SeatButton::sizeHint() const {
    const double title = QFontMetricsF(font()).horizontalAdvance(accessibleName()) + 2 * titlePadding;
    return {static_cast<int>(std::ceil(std::max(title, screenSize.width() + 24))), buttonHeight};
}

QSize SeatButton::minimumSizeHint() const {
    return {static_cast<int>(screenSize.width()) + 12, buttonHeight};
}

void SeatButton::writeTip() {
    setToolTip(qString(tipText(seat(), keys())));
}

void SeatButton::paint(QPainter& painter) {
    paintGround(painter);
    const QRectF screen(QPointF(std::round((width() - screenSize.width()) / 2), screenTop), screenSize);
    paintScreen(painter, screen);
    const QRectF line(titlePadding, screen.bottom() + titleGap, width() - 2 * titlePadding,
                      QFontMetricsF(font()).height());
    painter.setFont(font());
    painter.setPen(qColor(isLast() ? malai : malaiDim.mixedWith(malai, hover())));
    painter.drawText(
        line, Qt::AlignCenter,
        QFontMetricsF(font()).elidedText(accessibleName(), Qt::ElideRight, std::ceil(line.width())));
    if (keys().areTaken()) {
        paintStruckKey(painter, {width() - keyInset, keyInset});
    }
}

SmallSeatButton::SmallSeatButton(PinthoSpice& spice, Seat seat, QWidget* parent)
    : SeatTile(spice, seat, parent) {
    refresh();
}

QSize SmallSeatButton::sizeHint() const {
    return {static_cast<int>(smallScreenSize.width()) + 14, smallHeight};
}

void SmallSeatButton::writeTip() {
    setToolTip(qString(helpText(seat(), keys())));
}

void SmallSeatButton::paint(QPainter& painter) {
    paintGround(painter);
    const QPointF corner(std::round((width() - smallScreenSize.width()) / 2),
                         std::round((height() - smallScreenSize.height()) / 2));
    paintScreen(painter, {corner, smallScreenSize});
}

SeatGrid::SeatGrid(const Make& make, int gap, QWidget* parent)
    : QWidget(parent) {
    setAccessible(*this, QAccessible::Grouping, "Places for the front window");
    auto* grid = new QGridLayout(this);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setSpacing(gap);
    for (const Seat seat : allSeats) {
        const int place = static_cast<int>(tiles_.size());
        tiles_.push_back(make(seat, this));
        grid->addWidget(tiles_.back(), place / columns, place % columns);
        grid->setColumnStretch(place % columns, 1);
        grid->setColumnMinimumWidth(place % columns, 1);
    }
}

void SeatGrid::refresh() {
    for (SeatTile* tile : tiles_) {
        tile->refresh();
    }
}

void SeatGrid::keyPressEvent(QKeyEvent* event) {
    const auto found = std::ranges::find_if(tiles_, [](const SeatTile* tile) { return tile->hasFocus(); });
    if (found == tiles_.end() || (event->modifiers() & ~Qt::KeypadModifier)) {
        QWidget::keyPressEvent(event);
        return;
    }
    const int count = static_cast<int>(tiles_.size());
    const int place = static_cast<int>(found - tiles_.begin());
    const int column = place % columns;
    int wanted = place;
    switch (event->key()) {
    case Qt::Key_Left:
        wanted = column > 0 ? place - 1 : place;
        break;
    case Qt::Key_Right:
        wanted = column + 1 < columns ? place + 1 : place;
        break;
    case Qt::Key_Up:
        wanted = place - columns;
        break;
    case Qt::Key_Down:
        wanted = place + columns;
        break;
    case Qt::Key_Home:
        wanted = 0;
        break;
    case Qt::Key_End:
        wanted = count - 1;
        break;
    default:
        break;
    }
    if (wanted == place || wanted < 0 || wanted >= count) {
        QWidget::keyPressEvent(event); // past an edge the key is whoever holds the grid's
        return;
    }
    tiles_[static_cast<std::size_t>(wanted)]->setFocus(Qt::TabFocusReason);
}

} // namespace Pintho
