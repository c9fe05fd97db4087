#pragma once

#include "ZorbelKit/AnyView.hpp"
#include "ZorbelKit/Geometry.hpp"

#include <QWidget>

#include <functional>
#include <optional>

namespace QtPlatform {

/// A panel that hangs from an item of the menu bar: rounded, with a beak that points at the item. A click
/// elsewhere or Escape closes it.
class PopoverWidget : public QWidget {
public:
    /// `canBlend` says whether the desktop mixes a window's soft edges with what lies below it.
    PopoverWidget(QSize contentSize, ZorbelKit::AnyView content, std::function<bool()> canBlend);

    /// Below the anchor (screen coordinates, y upwards); without one, by the pointer.
    void showAt(std::optional<ZorbelKit::Rect> anchor);
    void setClosed(std::function<void()> closed) { closed_ = std::move(closed); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool focusNextPrevChild(bool next) override;

private:
    void build();
    void cutOut();
    QPainterPath outline() const;

    QSize contentSize_;
    ZorbelKit::AnyView content_;
    std::function<bool()> canBlend_;
    std::function<void()> closed_;
    bool isBuilt_ = false;
    bool isBeakOnTop_ = true;
    double beakX_ = 0;
};

} // namespace QtPlatform
