#include "Platforms/Linux/MenuBar/MenuBarItem.hpp"

#include "Platforms/Linux/MenuBar/BarRow.hpp"
#include "Platforms/Linux/MenuBar/MenuBarWindow.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/PainterCanvas.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QPainter>

#include <algorithm>
#include <utility>

namespace Linux {

using namespace ZorbelKit;

MenuBarItem::MenuBarItem(MenuBarWindow& bar, std::string identity, StatusItemKind kind)
    : MenuBarCell(bar, std::move(identity))
    , kind_(kind) {
}

void MenuBarItem::setImage(const Image& image) {
    image_ = image;
    if (image_.isEmpty()) {
        return;
    }
    QImage picture = rendered(image_, devicePixelRatioF(), qColor(malai));
    if (picture != picture_) {
        picture_ = std::move(picture);
        update(pictureFrame().toAlignedRect());
    }
}

void MenuBarItem::act(Qt::MouseButton button, QPoint) {
    const bool isLeft = button == Qt::LeftButton;
    if (clicked_ && (isLeft || button == Qt::RightButton)) {
        const auto clicked = clicked_; // the click may destroy the item
        clicked(isLeft ? ClickButton::left : ClickButton::right);
    }
}

QRectF MenuBarItem::drawnPart() const {
    if (kind_ != StatusItemKind::divider) {
        return rect();
    }
    const double drawn = std::min<double>(width(), BarRow::dividerWidth);
    return {width() - drawn, 0, drawn, static_cast<double>(height())};
}

QRectF MenuBarItem::pictureFrame() const {
    const QSizeF size = picture_.deviceIndependentSize();
    const QPointF middle = drawnPart().center();
    // Whole points, so that lines stay sharp.
    return {QPointF(std::floor(middle.x() - size.width() / 2), std::floor(middle.y() - size.height() / 2)),
            size};
}

void MenuBarItem::paintContent(QPainter& painter) {
    if (picture_.devicePixelRatio() != devicePixelRatioF() && !image_.isEmpty()) {
        picture_ = rendered(image_, devicePixelRatioF(), qColor(malai));
    }
    painter.drawImage(pictureFrame().topLeft(), picture_);
}

} // namespace Linux
