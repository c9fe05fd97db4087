#pragma once

#include "ZorbelKit/AnyView.hpp"
#include "ZorbelKit/Geometry.hpp"

#include <QWidget>

#include <optional>

namespace QtPlatform {

/// A panel that hangs from an item of the menu bar: rounded, with a beak that points at the item. A click
/// elsewhere or Escape closes it.
class PopoverWidget : public QWidget {
public:
    PopoverWidget(QSize contentSize, ZorbelKit::AnyView content);

    /// Below the anchor (screen coordinates, y upwards); without one, by the pointer.
    void showAt(std::optional<ZorbelKit::Rect> anchor);
    void setClosed(std::function<void()> closed) { closed_ = std::move(closed); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void build();
    QPainterPath outline() const;

    QSize contentSize_;
    ZorbelKit::AnyView content_;
    std::function<void()> closed_;
    bool isBuilt_ = false;
    bool isBeakOnTop_ = true;
    double beakX_ = 0;
};

} // namespace QtPlatform
