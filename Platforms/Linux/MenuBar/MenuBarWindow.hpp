#pragma once

#include "Platforms/Linux/MenuBar/BarRow.hpp"
#include "Platforms/Linux/MenuBar/MenuBarCell.hpp"
#include "ZorbelKit/Throttle.hpp"

#include <QWidget>

#include <map>
#include <memory>
#include <set>

namespace Linux {

/// The suite's own menu bar: a dock window along the top of the main screen that keeps its room free of other
/// windows and never takes the keyboard. Follows the main screen.
class MenuBarWindow : public QWidget {
public:
    static constexpr int barHeight = MenuBarCell::barHeight;
    static constexpr ZorbelKit::Seconds frame{1.0 / 60}; // what other programs change is shown no more often

    MenuBarWindow(ZorbelKit::MainLoop& loop, ZorbelKit::Defaults& defaults);
    ~MenuBarWindow() override;

    bool has(std::string_view identity) const { return row_.has(identity); }

    /// Takes a cell into the row. The bar owns it.
    template <class Cell, class... Arguments>
    Cell& add(ZorbelKit::StatusItemKind kind, double length, const std::string& identity,
              Arguments&&... arguments) {
        auto* cell = new Cell(*this, identity, std::forward<Arguments>(arguments)...);
        join(*cell, kind, length);
        return *cell;
    }
    void remove(MenuBarCell& cell); // it is gone with the next layout

    /// Of one of the suite's own: at once.
    void setLength(const MenuBarCell& cell, double length);

    /// Of another program's: with the next frame, together with whatever the cell's `redraw` puts in place.
    void showSoon(MenuBarCell& cell, double length);

    /// A place in device pixels of the root window, on the screen the bar is on, in the toolkit's
    /// coordinates; and back.
    QPoint fromPixels(QPoint pixels) const;
    QPoint toPixels(QPoint place) const;

    /// Drags by the pointer's place on the screen, in the toolkit's coordinates.
    void beginDrag(const std::string& identity, QPoint place);
    void dragTo(QPoint place);
    void endDrag(bool isDropped);
    bool isDragging() const { return row_.dragged().has_value(); }
    const std::optional<std::string>& dragged() const { return row_.dragged(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void join(MenuBarCell& cell, ZorbelKit::StatusItemKind kind, double length);
    void layOut();
    void layOutSoon();
    void drawFrame();
    QRect shownFrame(const MenuBarCell& cell, const StatusPlace& place) const;
    double areaWidth() const;
    void followScreen();
    void declareDock();
    void reserveRoom();

    BarRow row_;
    std::map<std::string, MenuBarCell*, std::less<>> cells_;
    std::set<MenuBarCell*> changed_;    // wait for the next frame
    std::vector<MenuBarCell*> leaving_; // no longer in the row, in sight until the next layout
    bool needsLayout_ = false;
    ZorbelKit::Throttle frames_;
    double dragStart_ = 0;  // the pointer's x when it took hold, from the left end
    double dragOffset_ = 0; // from the dragged cell's left edge to the pointer
    double dragX_ = 0;      // the pointer's x now
    bool hasMoved_ = false; // far enough to be a drag
    QList<QMetaObject::Connection> screenConnections_;
};

} // namespace Linux
