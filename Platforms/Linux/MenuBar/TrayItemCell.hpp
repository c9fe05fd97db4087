#pragma once

#include "Platforms/Linux/MenuBar/MenuBarCell.hpp"
#include "Platforms/Linux/MenuBar/TrayIcon.hpp"
#include "Platforms/Linux/MenuBar/TrayMenu.hpp"

#include <QElapsedTimer>

#include <memory>

namespace Linux {

class TrayItem;

/// Another program's icon on the suite's bar. What a click does is that program's to say.
class TrayItemCell : public MenuBarCell {
public:
    static constexpr int iconSide = 22; // points

    TrayItemCell(MenuBarWindow& bar, std::string identity, ZorbelKit::MainLoop& loop, TrayItem& item);
    ~TrayItemCell() override;

    /// The item has told of itself.
    void itemChanged();

    /// The item's program is gone: it is not spoken to any more.
    void itemLeaves();

    void place(const QRect& frame) override;
    void redraw() override;

protected:
    void act(Qt::MouseButton button, QPoint place) override;
    void paintContent(QPainter& painter) override;
    void mousePressEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    void load();
    double length() const;
    bool hasMenu() const;
    void openMenu(std::function<void()> failed);

    TrayItem* item_; // null once it has left
    TrayIconLoader loader_;
    TrayImage loaded_; // waits for the next frame
    TrayImage shown_;
    QString label_;
    bool hasImage_ = false;
    double loadedScale_ = 0; // device pixels for a point, of the image
    std::unique_ptr<TrayMenu> menu_;
    QString menuPath_;
    QElapsedTimer sinceMenu_; // a press that closed the menu must not open it again
    bool closedMenu_ = false;
};

} // namespace Linux
