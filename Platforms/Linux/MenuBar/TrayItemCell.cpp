#include "Platforms/Linux/MenuBar/TrayItemCell.hpp"

#include "Platforms/Linux/MenuBar/MenuBarWindow.hpp"
#include "Platforms/Linux/MenuBar/TrayItem.hpp"
#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QFontMetricsF>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <utility>

namespace Linux {

using namespace ZorbelKit;

namespace {

constexpr int sideMargin = 3;        // points, left and right of a wide picture
constexpr int labelGap = 2;          // points, between picture and label
constexpr double longestLabel = 160; // points
constexpr qint64 samePress = 200;    // milliseconds between a menu's end and the press that ended it

QFont labelFont() {
    return interfaceFont(12);
}

void tint(QImage& picture, const QColor& colour) {
    QPainter painter(&picture);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(picture.rect(), colour);
}

} // namespace

TrayItemCell::TrayItemCell(MenuBarWindow& bar, std::string identity, MainLoop& loop, TrayItem& item)
    : MenuBarCell(bar, std::move(identity))
    , item_(&item)
    , loader_(loop) {
}

TrayItemCell::~TrayItemCell() = default;

void TrayItemCell::itemChanged() {
    const TrayItemState& state = item_->state();
    const QString name = state.spokenName();
    setAccessible(*this, QAccessible::Button, name);
    if (toolTip() != name) {
        setToolTip(name);
    }
    if (state.menuPath != menuPath_) {
        menuPath_ = state.menuPath;
        menu_.reset();
    }
    label_ = QFontMetricsF(labelFont()).elidedText(state.label, Qt::ElideRight, longestLabel);
    load();
}

void TrayItemCell::itemLeaves() {
    item_ = nullptr;
    menu_.reset();
}

void TrayItemCell::load() {
    if (!item_) {
        return;
    }
    const TrayItemState& state = item_->state();
    loadedScale_ = devicePixelRatioF();
    loader_.load(state.picture(), state.iconThemePath, static_cast<int>(std::lround(iconSide * loadedScale_)),
                 [this, scale = loadedScale_](TrayImage image) {
                     image.image.setDevicePixelRatio(scale);
                     if (image.isTemplate) {
                         image.image = image.image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
                         tint(image.image, qColor(malai));
                     }
                     loaded_ = std::move(image);
                     hasImage_ = true;
                     bar().showSoon(*this, length());
                 });
}

double TrayItemCell::length() const {
    if (!item_ || !hasImage_ || item_->state().status == TrayItemStatus::passive) {
        return 0;
    }
    const double picture =
        std::max<double>(barHeight, loaded_.image.deviceIndependentSize().width() + 2 * sideMargin);
    const double label =
        label_.isEmpty() ? 0 : QFontMetricsF(labelFont()).horizontalAdvance(label_) + labelGap;
    return std::ceil(picture + label + (label_.isEmpty() ? 0 : sideMargin));
}

void TrayItemCell::place(const QRect& frame) {
    MenuBarCell::place(frame);
    if (hasImage_ && loadedScale_ != devicePixelRatioF()) {
        load();
    }
}

void TrayItemCell::redraw() {
    if (shown_.image != loaded_.image || !label_.isEmpty()) {
        shown_ = loaded_;
        update();
    }
}

void TrayItemCell::paintContent(QPainter& painter) {
    const QSizeF size = shown_.image.deviceIndependentSize();
    const double ground = std::max<double>(barHeight, size.width() + 2 * sideMargin);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(
        QPointF(std::floor((ground - size.width()) / 2), std::floor((height() - size.height()) / 2)),
        shown_.image);
    if (!label_.isEmpty()) {
        painter.setFont(labelFont());
        painter.setPen(qColor(malai));
        painter.drawText(QRectF(ground + labelGap, 0, width() - ground, height()), Qt::AlignVCenter, label_);
    }
}

void TrayItemCell::mousePressEvent(QMouseEvent* event) {
    closedMenu_ = sinceMenu_.isValid() && sinceMenu_.elapsed() < samePress;
    MenuBarCell::mousePressEvent(event);
}

void TrayItemCell::act(Qt::MouseButton button, QPoint place) {
    if (!item_ || (std::exchange(closedMenu_, false) && button != Qt::MiddleButton)) {
        return;
    }
    const QPoint pixels = bar().toPixels(place);
    switch (button) {
    case Qt::LeftButton:
        if (item_->state().itemIsMenu && hasMenu()) {
            openMenu([this, pixels] { item_->activate(pixels, {}); });
        } else {
            item_->activate(pixels, [this] { openMenu({}); });
        }
        break;
    case Qt::RightButton:
        if (hasMenu()) {
            openMenu([this, pixels] { item_->contextMenu(pixels); });
        } else {
            item_->contextMenu(pixels);
        }
        break;
    case Qt::MiddleButton:
        item_->secondaryActivate(pixels);
        break;
    default:
        break;
    }
}

void TrayItemCell::wheelEvent(QWheelEvent* event) {
    const QPoint turn = event->angleDelta();
    if (item_ && turn.y() != 0) {
        item_->scroll(turn.y(), Qt::Vertical);
    }
    if (item_ && turn.x() != 0) {
        item_->scroll(turn.x(), Qt::Horizontal);
    }
    event->accept();
}

bool TrayItemCell::hasMenu() const {
    return !menuPath_.isEmpty();
}

void TrayItemCell::openMenu(std::function<void()> failed) {
    if (!item_ || !hasMenu()) {
        return;
    }
    if (!menu_) {
        menu_ = std::make_unique<TrayMenu>(item_->address().service, menuPath_);
        menu_->onClosed([this] { sinceMenu_.start(); });
    }
    menu_->open(QRect(mapToGlobal(QPoint(0, 0)), size()), [this, failed = std::move(failed)] {
        if (item_ && failed) {
            failed();
        }
    });
}

} // namespace Linux
