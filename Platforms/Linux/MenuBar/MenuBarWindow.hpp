#pragma once

#include "ZorbelKit/Host/Image.hpp"
#include "ZorbelKit/Host/StatusBar.hpp"

#include <QAbstractButton>
#include <QImage>
#include <QWidget>

#include <functional>
#include <vector>

class QScreen;

namespace Linux {

/// One item on the suite's own bar. Left and right button both click it, on release.
class MenuBarItem : public QAbstractButton {
public:
    explicit MenuBarItem(QWidget* parent);

    void setImage(const ZorbelKit::Image& image);
    void setLength(double points);
    double length() const { return length_; }
    void onClick(std::function<void(ZorbelKit::ClickButton)> clicked) { clicked_ = std::move(clicked); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void render();
    void click(ZorbelKit::ClickButton button);

    ZorbelKit::Image image_;
    QImage picture_; // the image in the bar's colour, at the screen's resolution
    double length_ = ZorbelKit::StatusBar::squareLength;
    std::function<void(ZorbelKit::ClickButton)> clicked_;
};

/// The suite's own menu bar: a dock window along the top of the main screen that keeps its room free of other
/// windows and never takes the keyboard. Follows the main screen.
class MenuBarWindow : public QWidget {
public:
    static constexpr int barHeight = 28; // points

    MenuBarWindow();
    ~MenuBarWindow() override;

    /// A new item at the left end of the row; the row grows from the right.
    MenuBarItem& addItem();
    void removeItem(MenuBarItem& item);

    /// Puts the items where their lengths say.
    void layOut();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void followScreen();
    void declareDock();
    void reserveRoom();

    std::vector<MenuBarItem*> items_; // from right to left
    QList<QMetaObject::Connection> screenConnections_;
};

} // namespace Linux
