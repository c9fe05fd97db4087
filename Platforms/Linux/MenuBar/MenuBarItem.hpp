#pragma once

#include "Platforms/Linux/MenuBar/MenuBarCell.hpp"
#include "ZorbelKit/Host/Image.hpp"
#include "ZorbelKit/Host/StatusBar.hpp"

#include <QImage>

#include <functional>

namespace Linux {

/// One item of the suite's own on its bar. Left and right button both click it, on release.
class MenuBarItem : public MenuBarCell {
public:
    MenuBarItem(MenuBarWindow& bar, std::string identity, ZorbelKit::StatusItemKind kind);

    void setImage(const ZorbelKit::Image& image);
    void onClick(std::function<void(ZorbelKit::ClickButton)> clicked) { clicked_ = std::move(clicked); }

protected:
    void act(Qt::MouseButton button, QPoint place) override;
    QRectF drawnPart() const override;
    void paintContent(QPainter& painter) override;

private:
    QRectF pictureFrame() const;

    const ZorbelKit::StatusItemKind kind_;
    ZorbelKit::Image image_;
    QImage picture_; // the image in the bar's colour, at the screen's resolution
    std::function<void(ZorbelKit::ClickButton)> clicked_;
};

} // namespace Linux
