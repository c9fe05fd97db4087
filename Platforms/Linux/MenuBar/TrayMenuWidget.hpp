#pragma once

#include "Platforms/Linux/MenuBar/TrayMenuLayout.hpp"
#include "ZorbelKit/Controls/Menu.hpp"

#include <functional>

namespace Linux {

/// Another program's menu, or one of its submenus, on the screen. What it says is read from the layout
/// whenever it is shown or told to look again; a row that stays the same entry stays the same action, so that
/// nothing changes under the pointer without need. Submenus are filled when they open.
class TrayMenuWidget : public ZorbelKit::SuiteMenu {
public:
    /// What a whole menu reads from and tells; outlives the menu.
    struct Program {
        /// The entry with this id as it is known now; null where there is none (any more).
        std::function<const TrayMenuEntry*(int id)> entry;
        std::function<void(int id)> chosen;
        std::function<void(int id)> submenuOpened; // before it is shown
        std::function<void(int id)> submenuClosed;
    };

    TrayMenuWidget(const Program& program, int id, bool canBlend);

    /// Looks at the layout again; a submenu that is closed looks when it opens.
    void refresh();

    /// Whether an entry has anything to show as a menu.
    static bool hasRows(const TrayMenuEntry& entry);

private:
    class Row;

    TrayMenuWidget(const Program& program, int id, bool canBlend, int depth, QWidget* parent);
    void arrange(const std::vector<const TrayMenuEntry*>& entries);
    Row& makeRow(const TrayMenuEntry& entry);
    static void removeRow(Row& row);

    const Program& program_;
    const int id_;
    const int depth_; // of its rows, 1 for the outermost menu's
};

} // namespace Linux
