#include "Platforms/Linux/MenuBar/MenuBarWindow.hpp"

#include "Platforms/Linux/MenuBar/BarStrut.hpp"
#include "Platforms/Linux/XConnection.hpp"
#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QGuiApplication>
#include <QPainter>
#include <QScreen>
#include <QWindow>
#include <xcb/xcb.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace Linux {

using namespace ZorbelKit;

namespace {

constexpr int edgePadding = 10;     // between the screen's right edge and the first item
constexpr double dragThreshold = 4; // points; less is a hand that trembles

template <std::size_t count>
void setCardinals(xcb_connection_t* connection, xcb_window_t window, const char* property,
                  const std::array<std::uint32_t, count>& values) {
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, xAtom(connection, property),
                        XCB_ATOM_CARDINAL, 32, count, values.data());
}

} // namespace

MenuBarWindow::MenuBarWindow(MainLoop& loop, Defaults& defaults)
    : row_(defaults)
    , frames_(loop, frame, [this] { drawFrame(); }) {
    setWindowFlags(Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::WindowDoesNotAcceptFocus);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setWindowTitle("Zorbel menu bar");
    setAccessible(*this, QAccessible::MenuBar, "Zorbel menu bar");
    QObject::connect(qGuiApp, &QGuiApplication::primaryScreenChanged, this, [this] { followScreen(); });
    winId(); // the type of a dock must be known before it is first shown
    declareDock();
    followScreen();
}

MenuBarWindow::~MenuBarWindow() = default;

void MenuBarWindow::join(MenuBarCell& cell, StatusItemKind kind, double length) {
    cells_.emplace(cell.identity(), &cell);
    row_.add(cell.identity(), kind, length);
    if (isOwnItem(cell.identity())) {
        layOut();
    } else if (length > 0) {
        layOutSoon();
    }
}

void MenuBarWindow::remove(MenuBarCell& cell) {
    row_.remove(cell.identity());
    cells_.erase(cell.identity());
    changed_.erase(&cell);
    leaving_.push_back(&cell);
    if (isOwnItem(cell.identity())) {
        layOut();
    } else {
        layOutSoon();
    }
}

void MenuBarWindow::setLength(const MenuBarCell& cell, double length) {
    row_.setLength(cell.identity(), length);
    layOut();
}

void MenuBarWindow::showSoon(MenuBarCell& cell, double length) {
    needsLayout_ = row_.setLength(cell.identity(), length) || needsLayout_;
    changed_.insert(&cell);
    frames_.request();
}

void MenuBarWindow::layOutSoon() {
    needsLayout_ = true;
    frames_.request();
}

void MenuBarWindow::drawFrame() {
    if (needsLayout_) {
        layOut();
    }
    for (MenuBarCell* cell : std::exchange(changed_, {})) {
        cell->redraw();
    }
}

double MenuBarWindow::areaWidth() const {
    return width() - edgePadding;
}

void MenuBarWindow::layOut() {
    needsLayout_ = false;
    for (MenuBarCell* cell : std::exchange(leaving_, {})) {
        cell->takeAway();
        cell->deleteLater(); // its own click may have brought us here
    }
    for (const auto& [identity, place] : row_.layOut(areaWidth())) {
        MenuBarCell& cell = *cells_.find(identity)->second;
        if (place.isVisible || (hasMoved_ && dragged() == identity)) {
            cell.place(shownFrame(cell, place));
        } else {
            cell.takeAway();
        }
    }
}

/// Where the row says; while it is dragged, under the pointer.
QRect MenuBarWindow::shownFrame(const MenuBarCell& cell, const StatusPlace& place) const {
    const bool isDragged = hasMoved_ && dragged() == cell.identity();
    const double width = isDragged ? place.width : place.visibleWidth;
    const double x = isDragged ? clamped(dragX_ - dragOffset_, 0, areaWidth() - width) : place.visibleX;
    return QRectF(x, 0, width, barHeight).toAlignedRect();
}

// The toolkit keeps a monitor's corner in device pixels and counts points from there.

QPoint MenuBarWindow::fromPixels(QPoint pixels) const {
    const QPoint corner = screen()->geometry().topLeft();
    return corner + (QPointF(pixels - corner) / screen()->devicePixelRatio()).toPoint();
}

QPoint MenuBarWindow::toPixels(QPoint place) const {
    const QPoint corner = screen()->geometry().topLeft();
    return corner + (QPointF(place - corner) * screen()->devicePixelRatio()).toPoint();
}

void MenuBarWindow::beginDrag(const std::string& identity, QPoint place) {
    const auto cell = cells_.find(identity);
    if (cell == cells_.end() || isDragging()) {
        return;
    }
    row_.beginDrag(identity);
    hasMoved_ = false;
    dragStart_ = dragX_ = mapFromGlobal(place).x();
    layOut(); // a divider shrinks to what is drawn of it
    dragOffset_ = clamped(dragX_ - cell->second->x(), 0, cell->second->width());
    cell->second->raise();
    cell->second->update();
}

void MenuBarWindow::dragTo(QPoint place) {
    if (!isDragging()) {
        return;
    }
    dragX_ = mapFromGlobal(place).x();
    hasMoved_ = hasMoved_ || std::abs(dragX_ - dragStart_) >= dragThreshold;
    if (hasMoved_) {
        row_.dragTo(dragX_, areaWidth());
        layOut();
    }
}

void MenuBarWindow::endDrag(bool isDropped) {
    if (!isDragging()) {
        return;
    }
    const auto cell = cells_.find(*dragged());
    row_.endDrag(isDropped && std::exchange(hasMoved_, false));
    hasMoved_ = false;
    layOut();
    if (cell != cells_.end()) {
        cell->second->update();
    }
}

void MenuBarWindow::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    painter.fillRect(event->rect(), qColor(kettle));
    painter.fillRect(QRect(0, height() - 1, width(), 1), qColor(rim));
}

void MenuBarWindow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    layOut();
}

void MenuBarWindow::followScreen() {
    for (const auto& connection : screenConnections_) {
        disconnect(connection);
    }
    screenConnections_.clear();
    QScreen* screen = QGuiApplication::primaryScreen();
    if (!screen) {
        return;
    }
    const auto place = [this, screen] {
        const QRect area = screen->geometry();
        setFixedSize(area.width(), barHeight);
        move(area.topLeft());
        reserveRoom();
    };
    screenConnections_ << connect(screen, &QScreen::geometryChanged, this, place);
    place();
}

void MenuBarWindow::declareDock() {
    xcb_connection_t* connection = xConnection();
    if (!connection) {
        return;
    }
    const auto window = static_cast<xcb_window_t>(winId());
    const xcb_atom_t dock = xAtom(connection, "_NET_WM_WINDOW_TYPE_DOCK");
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, xAtom(connection, "_NET_WM_WINDOW_TYPE"),
                        XCB_ATOM_ATOM, 32, 1, &dock);
    setCardinals(connection, window, "_NET_WM_DESKTOP", std::array<std::uint32_t, 1>{0xFFFFFFFF});
}

void MenuBarWindow::reserveRoom() {
    xcb_connection_t* connection = xConnection();
    const QScreen* screen = QGuiApplication::primaryScreen();
    if (!connection || !screen) {
        return;
    }
    // The toolkit keeps a monitor's corner in device pixels and divides its size by the scale.
    const auto pixels = [](const QScreen& each) {
        const QRect area = each.geometry();
        const double scale = each.devicePixelRatio();
        return Rect{static_cast<double>(area.x()), static_cast<double>(area.y()), area.width() * scale,
                    area.height() * scale};
    };
    std::vector<Rect> others;
    for (const QScreen* other : QGuiApplication::screens()) {
        if (other != screen) {
            others.push_back(pixels(*other));
        }
    }
    const auto strut = barStrut(pixels(*screen), barHeight * screen->devicePixelRatio(), others);
    const auto window = static_cast<xcb_window_t>(winId());
    setCardinals(connection, window, "_NET_WM_STRUT", std::array<std::uint32_t, 4>{0, 0, strut[2], 0});
    setCardinals(connection, window, "_NET_WM_STRUT_PARTIAL", strut);
    xcb_flush(connection);
}

} // namespace Linux
