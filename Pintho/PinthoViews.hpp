#pragma once

#include "ZorbelKit/Controls/LiveView.hpp"

#include <optional>
#include <string>
#include <vector>

class QLabel;

namespace ZorbelKit {
class AppIcon;
class Capsule;
class LineText;
class Reading;
class Symbol;
} // namespace ZorbelKit

namespace Pintho {

class PinthoSpice;
class SeatGrid;
struct Placement;
struct ScreenInfo;
struct WindowInfo;

/// The block in the menu panel: one small button a seat.
class PinthoMenuSection final : public ZorbelKit::LiveView {
public:
    PinthoMenuSection(PinthoSpice& spice, QWidget* parent);

protected:
    void refresh() override;

private:
    const PinthoSpice& spice_;
    SeatGrid* seats_;
    QLabel* required_;
};

/// Says what is missing while windows cannot be placed, and asks for it.
class PermissionNotice final : public QWidget {
public:
    PermissionNotice(PinthoSpice& spice, QWidget* parent);

    void refresh();

private:
    void ask();

    PinthoSpice& spice_;
    QLabel* hint_; // what would help here; once the user has asked
    bool hasAsked_ = false;
};

/// The window in front: its program, its title, its size and position.
class FrontWindow final : public QWidget {
public:
    FrontWindow(const PinthoSpice& spice, QWidget* parent);

    void refresh();

private:
    void write(const WindowInfo& window);

    const PinthoSpice& spice_;
    QWidget* nothing_;
    QWidget* window_;
    ZorbelKit::AppIcon* icon_;
    ZorbelKit::LineText* app_;
    ZorbelKit::LineText* title_;
    ZorbelKit::Reading* size_;
    ZorbelKit::Reading* position_;
    std::optional<std::string> iconOf_; // the bundle whose picture is loaded
};

/// A placement on one line.
class PlacementRow;

/// The last placements, the newest first.
class Recent final : public QWidget {
public:
    Recent(const PinthoSpice& spice, QWidget* parent);

    void refresh();

private:
    const PinthoSpice& spice_;
    QWidget* nothing_;
    QWidget* list_;
    std::vector<PlacementRow*> rows_;
};

/// A screen on one line.
class ScreenRow;

/// The attached screens.
class Displays final : public QWidget {
public:
    Displays(const PinthoSpice& spice, QWidget* parent);

    void refresh();

private:
    const PinthoSpice& spice_;
    QWidget* list_;
    std::vector<ScreenRow*> rows_; // those past the last screen are hidden
};

/// The dashboard page.
class PinthoPanel final : public ZorbelKit::LiveView {
public:
    PinthoPanel(PinthoSpice& spice, QWidget* parent);

protected:
    void refresh() override;

private:
    const PinthoSpice& spice_;
    PermissionNotice* notice_;
    FrontWindow* front_;
    SeatGrid* seats_;
    Recent* recent_;
    Displays* displays_;
    QWidget* displaysSection_;
};

} // namespace Pintho
