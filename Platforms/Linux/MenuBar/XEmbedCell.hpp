#pragma once

#include "Platforms/Linux/MenuBar/MenuBarCell.hpp"
#include "Platforms/Linux/MenuBar/XEmbedTray.hpp"

namespace Linux {

/// The place on the suite's bar of an icon that is a window of its own program. The pointer is that program's
/// business; only drags come to us.
class XEmbedCell : public MenuBarCell {
public:
    static constexpr int iconSide = 24; // points: toolkits declare 22 or 24 as their least

    XEmbedCell(MenuBarWindow& bar, std::string identity, XEmbedTray& tray, const XEmbedTray::Icon& icon);

    /// The icon has changed; or whether it is spare: its program shows the same by the newer protocol.
    void show(const XEmbedTray::Icon& icon, bool isSpare);
    const XEmbedTray::Icon& icon() const { return icon_; }

    void place(const QRect& frame) override;
    void takeAway() override;

protected:
    void act(Qt::MouseButton, QPoint) override {}
    void paintContent(QPainter&) override {}

private:
    XEmbedTray& tray_;
    XEmbedTray::Icon icon_;
};

} // namespace Linux
