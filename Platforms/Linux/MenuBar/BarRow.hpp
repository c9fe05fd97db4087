#pragma once

#include "Platforms/Linux/MenuBar/StatusLayout.hpp"
#include "Platforms/Linux/MenuBar/StatusOrder.hpp"
#include "ZorbelKit/Forward.hpp"
#include "ZorbelKit/Host/StatusBar.hpp"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Linux {

/// The items of the bar: which there are, in which order they stand, and where each lies. The order the user
/// gives them by dragging is remembered, also for programs that are not there. Points from the left end of
/// the area. Main thread only.
class BarRow {
public:
    /// A divider is drawn, and taken hold of, in its rightmost points only.
    static constexpr double dividerWidth = 22;

    /// From this length on an item means to fill the bar, however wide the screen.
    static constexpr double fillingLength = 10000;

    struct Placed {
        std::string_view identity;
        StatusPlace place;
    };

    explicit BarRow(ZorbelKit::Defaults& defaults);

    /// `identity` must not be there yet. Length as a status item's: StatusBar::squareLength, or points.
    void add(const std::string& identity, ZorbelKit::StatusItemKind kind, double length);
    void remove(std::string_view identity);
    bool setLength(std::string_view identity, double length); // true where it is another one
    bool has(std::string_view identity) const { return items_.contains(identity); }

    /// From right to left.
    std::vector<Placed> layOut(double areaWidth) const;
    const StatusOrder& order() const { return row_; }

    /// The user takes hold of an item; the others make room as the pointer passes their middles. Meanwhile a
    /// divider is as wide as it is drawn, so that what it hides can be seen.
    void beginDrag(std::string_view identity);
    bool dragTo(double x, double areaWidth); // true where the order has changed
    void endDrag(bool isDropped);            // dropped: remember; otherwise everything is as before
    const std::optional<std::string>& dragged() const { return dragged_; }

private:
    struct Item {
        ZorbelKit::StatusItemKind kind = ZorbelKit::StatusItemKind::button;
        double length = 0;
    };

    double width(std::string_view identity, const Item& item, double areaWidth) const;
    StatusOrder dividers() const;
    void arrange();
    void remember() const;

    ZorbelKit::Defaults& defaults_;
    std::map<std::string, Item, std::less<>> items_;
    StatusOrder arrivals_;
    StatusOrder remembered_;
    StatusOrder row_; // what is there, from right to left
    std::optional<std::string> dragged_;
};

} // namespace Linux
