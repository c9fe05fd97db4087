#include "Platforms/Linux/MenuBar/BarRow.hpp"
#include "Platforms/Simulated/SimulatedDefaults.hpp"

#include <gtest/gtest.h>

#include <random>

namespace {

using Linux::BarRow;
using Linux::StatusOrder;
using ZorbelKit::StatusBar;
using ZorbelKit::StatusItemKind;

constexpr double area = 600;
const std::string glass = "own:glass";
const std::string divider = "own:divider";

class BarRowTest : public testing::Test {
protected:
    void addOwn(BarRow& to) {
        to.add(glass, StatusItemKind::button, StatusBar::squareLength);
        to.add(divider, StatusItemKind::divider, 22);
    }
    void addForeign(BarRow& to, const std::string& name, double length = 28) {
        to.add("sni:" + name, StatusItemKind::button, length);
    }

    Linux::StatusPlace place(std::string_view identity, double width = area) const {
        for (const auto& placed : row.layOut(width)) {
            if (placed.identity == identity) {
                return placed.place;
            }
        }
        ADD_FAILURE() << identity << " has no place";
        return {};
    }

    void drag(std::string_view identity, double x) {
        row.beginDrag(identity);
        row.dragTo(x, area);
        row.endDrag(true);
    }

    Simulated::SimulatedDefaults defaults;
    BarRow row{defaults};
};

TEST_F(BarRowTest, NewcomersStandLeftAndPushNothingAway) {
    addForeign(row, "early");
    addOwn(row);
    addForeign(row, "late");
    EXPECT_EQ(row.order(), (StatusOrder{glass, divider, "sni:early", "sni:late"}));
}

TEST_F(BarRowTest, AFillingDividerHidesEverythingLeftOfItOnAScreenOfAnyWidth) {
    addOwn(row);
    addForeign(row, "a");
    row.setLength(divider, 10000);
    for (const double width : {100.0, 1280.0, 9999.0, 10028.0, 10240.0, 30720.0}) {
        SCOPED_TRACE(width);
        EXPECT_TRUE(place(glass, width).isVisible);
        EXPECT_TRUE(place(divider, width).isVisible);
        EXPECT_FALSE(place("sni:a", width).isVisible);
    }
    row.setLength(divider, 22);
    EXPECT_TRUE(place("sni:a").isVisible);
}

TEST_F(BarRowTest, AnItemWithoutWidthKeepsItsPlaceInTheOrder) {
    addOwn(row);
    addForeign(row, "a");
    addForeign(row, "passive", 0);
    addForeign(row, "b");
    EXPECT_FALSE(place("sni:passive").isVisible);
    EXPECT_EQ(place("sni:b").x, 600 - 28 - 22 - 28 - 28);
    row.setLength("sni:passive", 28);
    EXPECT_EQ(place("sni:passive").x, 600 - 28 - 22 - 28 - 28);
}

TEST_F(BarRowTest, NeighboursSwapAsThePointerPassesTheirMiddle) {
    addOwn(row);          // glass 572, divider 550
    addForeign(row, "a"); // 522
    addForeign(row, "b"); // 494
    row.beginDrag("sni:b");
    EXPECT_FALSE(row.dragTo(535, area));
    EXPECT_TRUE(row.dragTo(537, area)); // the middle of a is 536
    EXPECT_EQ(row.order(), (StatusOrder{glass, divider, "sni:b", "sni:a"}));
    EXPECT_FALSE(row.dragTo(560, area));
    EXPECT_TRUE(row.dragTo(562, area)); // that of the divider 561
    EXPECT_EQ(row.order(), (StatusOrder{glass, "sni:b", divider, "sni:a"}));
    row.endDrag(true);
    EXPECT_EQ(defaults.string("menubar.order"), R"(["own:glass","sni:b","own:divider","sni:a"])");
}

TEST_F(BarRowTest, AnItemDroppedOnACollapsedDividersBlankIsHidden) {
    addOwn(row);
    addForeign(row, "a");
    addForeign(row, "b");
    drag("sni:a", 565); // right of the divider's middle
    row.setLength(divider, 10000);
    ASSERT_TRUE(place("sni:a").isVisible);
    drag("sni:a", 200);
    EXPECT_FALSE(place("sni:a").isVisible);
    EXPECT_EQ(row.order(), (StatusOrder{glass, divider, "sni:a", "sni:b"}));
}

TEST_F(BarRowTest, ADividerInTheHandIsAsWideAsItIsDrawn) {
    addOwn(row);
    addForeign(row, "a");
    row.setLength(divider, 10000);
    row.beginDrag(divider);
    EXPECT_TRUE(place("sni:a").isVisible) << "what it hides can be seen meanwhile";
    row.dragTo(530, area);
    row.endDrag(true);
    EXPECT_EQ(row.order(), (StatusOrder{glass, "sni:a", divider}));
    EXPECT_TRUE(place("sni:a").isVisible);
    EXPECT_EQ(place(divider).visibleX, 0) << "and it fills the bar again";
}

TEST_F(BarRowTest, S04_NothingOfTheSuiteIsEverPushedOutOfSight) {
    addOwn(row);
    addForeign(row, "a");
    drag(divider, 595); // right of everything
    EXPECT_EQ(row.order(), (StatusOrder{glass, divider, "sni:a"}));
    drag(glass, 10); // left of everything
    EXPECT_EQ(row.order(), (StatusOrder{glass, divider, "sni:a"}));
    drag(divider, 10);
    EXPECT_EQ(row.order(), (StatusOrder{glass, "sni:a", divider}));
    row.setLength(divider, 10000);
    EXPECT_TRUE(place(glass).isVisible);
}

TEST_F(BarRowTest, TheOrderIsThereAtTheNextStartAlsoForProgramsThatComeLater) {
    addOwn(row);
    addForeign(row, "a");
    addForeign(row, "b");
    drag("sni:b", 565);
    BarRow next{defaults};
    addOwn(next);
    addForeign(next, "new");
    EXPECT_EQ(next.order(), (StatusOrder{glass, divider, "sni:new"}));
    addForeign(next, "b");
    EXPECT_EQ(next.order(), (StatusOrder{glass, "sni:b", divider, "sni:new"}));
    addForeign(next, "a");
    EXPECT_EQ(next.order(), (StatusOrder{glass, "sni:b", divider, "sni:a", "sni:new"}));
}

TEST_F(BarRowTest, AbsentProgramsKeepTheirPlaceThroughADrag) {
    addOwn(row);
    addForeign(row, "a");
    addForeign(row, "b");
    addForeign(row, "c");
    drag("sni:c", 565); // glass c divider a b
    row.remove("sni:a");
    drag("sni:c", 530);
    addForeign(row, "a");
    const StatusOrder& order = row.order();
    const auto at = [&](const std::string& identity) {
        return std::ranges::find(order, identity) - order.begin();
    };
    EXPECT_LT(at(divider), at("sni:a"));
    EXPECT_LT(at("sni:a"), at("sni:b"));
}

TEST_F(BarRowTest, ABrokenOffDragChangesNothing) {
    addOwn(row);
    addForeign(row, "a");
    const StatusOrder before = row.order();
    row.beginDrag("sni:a");
    row.dragTo(590, area);
    row.endDrag(false);
    EXPECT_EQ(row.order(), before);
    EXPECT_FALSE(defaults.has("menubar.order"));
}

TEST_F(BarRowTest, ItemsMayComeAndGoInTheMiddleOfADrag) {
    addOwn(row);
    addForeign(row, "a");
    addForeign(row, "b");
    row.beginDrag("sni:a");
    row.remove("sni:b");
    addForeign(row, "c");
    row.dragTo(565, area);
    row.endDrag(true);
    EXPECT_EQ(row.order(), (StatusOrder{glass, "sni:a", divider, "sni:c"}));
    row.beginDrag("sni:c");
    row.remove("sni:c");
    EXPECT_FALSE(row.dragged());
    EXPECT_FALSE(row.dragTo(10, area));
}

TEST_F(BarRowTest, AStoredOrderThatIsNoneCountsAsEmpty) {
    for (const char* stored :
         {"", "{", "{}", "7", "null", R"([1,{},null,"",["own:glass"]])", R"(["a","a"])"}) {
        SCOPED_TRACE(stored);
        defaults.setString("menubar.order", stored);
        BarRow other{defaults};
        addOwn(other);
        EXPECT_EQ(other.order(), (StatusOrder{glass, divider}));
    }
}

TEST_F(BarRowTest, AnyDragLeavesEveryItemOnceAndTheOrderIsWhatTheNextStartShows) {
    std::mt19937 random(7);
    addOwn(row);
    for (int number = 0; number < 12; ++number) {
        addForeign(row, std::to_string(number));
    }
    for (int round = 0; round < 500; ++round) {
        const StatusOrder before = row.order();
        drag(before[random() % before.size()], static_cast<double>(random() % 600));
        StatusOrder sorted = row.order();
        std::ranges::sort(sorted);
        StatusOrder expected = before;
        std::ranges::sort(expected);
        ASSERT_EQ(sorted, expected);
        BarRow next{defaults};
        for (int number = 11; number >= 0; --number) {
            addForeign(next, std::to_string(number));
        }
        addOwn(next);
        ASSERT_EQ(next.order(), row.order());
        ASSERT_LT(std::ranges::find(row.order(), glass), std::ranges::find(row.order(), divider));
    }
}

} // namespace
