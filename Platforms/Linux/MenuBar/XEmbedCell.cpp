#include "Platforms/Linux/MenuBar/XEmbedCell.hpp"

#include "Platforms/Linux/MenuBar/MenuBarWindow.hpp"
#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Controls/Text.hpp"

#include <cmath>

namespace Linux {

XEmbedCell::XEmbedCell(MenuBarWindow& bar, std::string identity, XEmbedTray& tray,
                       const XEmbedTray::Icon& icon)
    : MenuBarCell(bar, std::move(identity))
    , tray_(tray)
    , icon_(icon) {
}

void XEmbedCell::show(const XEmbedTray::Icon& icon, bool isSpare) {
    icon_ = icon;
    const std::string& name = icon.title.empty() ? icon.instance : icon.title;
    ZorbelKit::setAccessible(*this, QAccessible::Button, ZorbelKit::qString(name));
    bar().showSoon(*this, icon.wantsRoom && !isSpare ? barHeight : 0);
}

void XEmbedCell::place(const QRect& frame) {
    MenuBarCell::place(frame);
    const double scale = devicePixelRatioF();
    const auto pixels = [scale](int points) { return static_cast<int>(std::lround(points * scale)); };
    tray_.setIconSide(pixels(iconSide));
    tray_.place(icon_.id,
                {pixels(frame.x()), pixels(frame.y()), pixels(frame.width()), pixels(frame.height())});
}

void XEmbedCell::takeAway() {
    tray_.hide(icon_.id);
    MenuBarCell::takeAway();
}

} // namespace Linux
