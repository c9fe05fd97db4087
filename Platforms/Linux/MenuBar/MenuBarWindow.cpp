#include "Platforms/Linux/MenuBar/MenuBarWindow.hpp"

#include "Platforms/Linux/MenuBar/BarStrut.hpp"
#include "Platforms/Linux/MenuBar/StatusLayout.hpp"
#include "Platforms/Linux/XConnection.hpp"
#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/PainterCanvas.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <QWindow>
#include <xcb/xcb.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace Linux {

using namespace ZorbelKit;

namespace {

constexpr int edgePadding = 10; // between the screen's right edge and the first item

template <std::size_t count>
void setCardinals(xcb_connection_t* connection, xcb_window_t window, const char* property,
                  const std::array<std::uint32_t, count>& values) {
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, xAtom(connection, property),
                        XCB_ATOM_CARDINAL, 32, count, values.data());
}

} // namespace

MenuBarItem::MenuBarItem(QWidget* parent)
    : QAbstractButton(parent) {
    setFocusPolicy(Qt::NoFocus); // the bar never takes the keyboard
    setAccessible(*this, QAccessible::Button, "Zorbel");
    // What a screen reader presses is the left button.
    connect(this, &QAbstractButton::clicked, this, [this] { click(ClickButton::left); });
}

void MenuBarItem::setImage(const Image& image) {
    image_ = image;
    render();
}

void MenuBarItem::render() {
    if (image_.isEmpty()) {
        return;
    }
    QImage picture = rendered(image_, devicePixelRatioF(), qColor(malai));
    if (picture != picture_) {
        picture_ = std::move(picture);
        const QSizeF size = picture_.deviceIndependentSize();
        const QPointF corner((width() - size.width()) / 2, (height() - size.height()) / 2);
        update(QRectF(corner, size).toAlignedRect());
    }
}

void MenuBarItem::setLength(double points) {
    length_ = points;
}

void MenuBarItem::click(ClickButton button) {
    if (clicked_) {
        const auto clicked = clicked_; // the click may destroy the item
        clicked(button);
    }
}

void MenuBarItem::mousePressEvent(QMouseEvent* event) {
    setDown(event->button() == Qt::LeftButton || event->button() == Qt::RightButton);
}

void MenuBarItem::mouseReleaseEvent(QMouseEvent* event) {
    const bool wasDown = isDown();
    setDown(false);
    if (!wasDown || !rect().contains(event->position().toPoint())) {
        return;
    }
    if (event->button() == Qt::LeftButton) {
        click(ClickButton::left);
    } else if (event->button() == Qt::RightButton) {
        click(ClickButton::right);
    }
}

void MenuBarItem::enterEvent(QEnterEvent* event) {
    update();
    QAbstractButton::enterEvent(event);
}

void MenuBarItem::leaveEvent(QEvent* event) {
    update();
    QAbstractButton::leaveEvent(event);
}

void MenuBarItem::changeEvent(QEvent* event) {
    QAbstractButton::changeEvent(event);
    if (event->type() == QEvent::ToolTipChange) {
        setAccessibleText(*this, toolTip());
    }
}

void MenuBarItem::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    if (underMouse() || isDown()) {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(qColor(isDown() ? rim : kettleHi));
        painter.drawRoundedRect(QRectF(rect()).adjusted(1, 3, -1, -4), 5, 5);
    }
    if (picture_.devicePixelRatio() != devicePixelRatioF()) {
        picture_ = rendered(image_, devicePixelRatioF(), qColor(malai));
    }
    const QSizeF size = picture_.deviceIndependentSize();
    painter.drawImage(QPointF((width() - size.width()) / 2, (height() - size.height()) / 2), picture_);
}

MenuBarWindow::MenuBarWindow() {
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

MenuBarItem& MenuBarWindow::addItem() {
    items_.push_back(new MenuBarItem(this));
    items_.back()->show();
    return *items_.back();
}

void MenuBarWindow::removeItem(MenuBarItem& item) {
    std::erase(items_, &item);
    item.hide();
    item.deleteLater(); // its own click may have brought us here
    layOut();
}

void MenuBarWindow::layOut() {
    std::vector<double> widths;
    widths.reserve(items_.size());
    for (const MenuBarItem* item : items_) {
        widths.push_back(item->length() == StatusBar::squareLength ? barHeight : item->length());
    }
    const auto places = layoutStatusArea(widths, width() - edgePadding);
    for (std::size_t index = 0; index < items_.size(); ++index) {
        const StatusPlace& place = places[index];
        items_[index]->setGeometry(QRectF(place.visibleX, 0, place.visibleWidth, barHeight).toAlignedRect());
        items_[index]->setVisible(place.isVisible);
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
