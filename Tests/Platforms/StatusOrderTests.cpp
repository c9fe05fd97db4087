#include "Platforms/Linux/MenuBar/StatusOrder.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

namespace {

using Linux::afterDrag;
using Linux::isOwnItem;
using Linux::longestOrder;
using Linux::mergeOrder;
using Linux::StatusOrder;
using Linux::withSuiteInSight;

std::ptrdiff_t place(const StatusOrder& order, std::string_view identity) {
    return std::ranges::find(order, identity) - order.begin();
}

StatusOrder sorted(StatusOrder order) {
    std::ranges::sort(order);
    return order;
}

StatusOrder only(const StatusOrder& order, const auto& isWanted) {
    StatusOrder result;
    std::ranges::copy_if(order, std::back_inserter(result), isWanted);
    return result;
}

/// The row with one item taken out and put in at an index of the rest.
StatusOrder moved(StatusOrder row, const std::string& identity, std::size_t index) {
    std::erase(row, identity);
    row.insert(row.begin() + static_cast<std::ptrdiff_t>(std::min(index, row.size())), identity);
    return row;
}

/// Orders of identities drawn from a small stock, so that remembered and present ones meet.
class Orders {
public:
    StatusOrder next(std::size_t most) {
        StatusOrder stock;
        for (int number = 0; number < 12; ++number) {
            stock.push_back((number % 3 == 0 ? "own:" : "sni:") + std::to_string(number));
        }
        std::ranges::shuffle(stock, random_);
        stock.resize(std::min(below(most + 1), stock.size()));
        return stock;
    }
    std::size_t below(std::size_t limit) { return random_() % limit; }

private:
    std::mt19937 random_{20};
};

TEST(StatusOrder, TellsTheSuitesOwnItems) {
    EXPECT_TRUE(isOwnItem("own:glass"));
    EXPECT_TRUE(isOwnItem("own:"));
    EXPECT_FALSE(isOwnItem("sni:own:glass"));
    EXPECT_FALSE(isOwnItem("xembed:own"));
    EXPECT_FALSE(isOwnItem(""));
    EXPECT_FALSE(isOwnItem("Own:glass"));
}

TEST(StatusOrder, NewcomersPushNeitherGlassNorDividerAway) {
    const struct {
        const char* name;
        StatusOrder remembered;
        StatusOrder present;
        StatusOrder row;
    } rows[] = {
        {"nothing", {}, {}, {}},
        {"nobody is there", {"own:glass", "sni:a"}, {}, {}},
        {"first start", {}, {"own:glass", "own:divider"}, {"own:glass", "own:divider"}},
        {"programs before the suite", {}, {"sni:a", "own:glass", "sni:b"}, {"own:glass", "sni:a", "sni:b"}},
        {"all known",
         {"own:glass", "sni:b", "sni:a"},
         {"sni:a", "sni:b", "own:glass"},
         {"own:glass", "sni:b", "sni:a"}},
        {"a foreign newcomer",
         {"own:glass", "own:divider", "sni:a"},
         {"own:glass", "own:divider", "sni:new", "sni:a"},
         {"own:glass", "own:divider", "sni:a", "sni:new"}},
        {"two foreign newcomers, first come first",
         {"sni:a"},
         {"sni:z", "sni:a", "xembed:b"},
         {"sni:a", "sni:z", "xembed:b"}},
        {"newcomers of the suite",
         {"sni:a", "own:glass"},
         {"own:glass", "own:y", "own:x", "sni:a"},
         {"own:y", "own:x", "sni:a", "own:glass"}},
        {"of doubles the first counts", {"sni:a", "sni:b", "sni:a"}, {"sni:b", "sni:a"}, {"sni:a", "sni:b"}},
        {"rubbish in the settings",
         {"", "\xff", "sni:b", " ", "sni:a"},
         {"sni:a", "sni:b"},
         {"sni:b", "sni:a"}},
        {"a double that should not be", {}, {"sni:a", "sni:a"}, {"sni:a"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(mergeOrder(row.remembered, row.present), row.row);
    }
}

TEST(StatusOrder, MergingKeepsEveryItemAndTheRankOfKnownOnes) {
    Orders orders;
    for (int round = 0; round < 3000; ++round) {
        SCOPED_TRACE(round);
        const StatusOrder remembered = orders.next(12);
        const StatusOrder present = orders.next(12);
        const StatusOrder row = mergeOrder(remembered, present);
        ASSERT_EQ(sorted(row), sorted(present));

        const auto isIn = [](const StatusOrder& order) {
            return
                [&order](const std::string& each) { return std::ranges::find(order, each) != order.end(); };
        };
        const auto isNew = [&](const std::string& each) { return !isIn(remembered)(each); };
        const StatusOrder known = only(row, isIn(remembered));
        EXPECT_EQ(known, only(remembered, isIn(present)));
        EXPECT_EQ(only(row, isNew), mergeOrder({}, only(present, isNew)));
        for (std::size_t index = 0; index < row.size(); ++index) {
            if (isNew(row[index])) {
                const bool isAtRightEnd =
                    index < row.size() - known.size() &&
                    std::all_of(row.begin(), row.begin() + static_cast<long>(index) + 1, isOwnItem);
                const bool isAtLeftEnd = index >= known.size();
                EXPECT_TRUE(isOwnItem(row[index]) ? isAtRightEnd : isAtLeftEnd) << row[index];
            }
        }
        EXPECT_EQ(mergeOrder(row, present), row);
        EXPECT_EQ(mergeOrder(remembered, row), row);
    }
}

TEST(StatusOrder, AbsentProgramsKeepTheirPlaceInADrag) {
    const struct {
        const char* name;
        StatusOrder remembered;
        StatusOrder present;
        std::string dragged;
        std::size_t index;
        StatusOrder after;
    } rows[] = {
        {"nothing", {}, {}, "sni:a", 0, {}},
        {"alone", {}, {"sni:a"}, "sni:a", 5, {"sni:a"}},
        {"one that is not there", {"sni:b"}, {"sni:a"}, "sni:c", 0, {"sni:b", "sni:a"}},
        {"to the right end",
         {"sni:a", "sni:b", "sni:c"},
         {"sni:a", "sni:b", "sni:c"},
         "sni:c",
         0,
         {"sni:c", "sni:a", "sni:b"}},
        {"past the left end", {"sni:a", "sni:b"}, {"sni:a", "sni:b"}, "sni:a", 9, {"sni:b", "sni:a"}},
        {"to where it is", {"sni:a", "sni:b"}, {"sni:a", "sni:b"}, "sni:b", 1, {"sni:a", "sni:b"}},
        {"an absent one behind its neighbour",
         {"sni:a", "sni:gone", "sni:b"},
         {"sni:a", "sni:b"},
         "sni:b",
         0,
         {"sni:b", "sni:a", "sni:gone"}},
        {"an absent one at the right end",
         {"sni:gone", "sni:a", "sni:b"},
         {"sni:a", "sni:b"},
         "sni:b",
         0,
         {"sni:gone", "sni:b", "sni:a"}},
        {"two absent ones in a row",
         {"sni:a", "sni:x", "sni:y", "sni:b"},
         {"sni:a", "sni:b"},
         "sni:b",
         0,
         {"sni:b", "sni:a", "sni:x", "sni:y"}},
        {"an absent one does not follow the dragged one out of hiding",
         {"own:glass", "own:divider", "sni:a", "sni:gone", "sni:b"},
         {"own:glass", "own:divider", "sni:a", "sni:b"},
         "sni:a",
         1,
         {"own:glass", "sni:a", "own:divider", "sni:gone", "sni:b"}},
        {"dropped where it was, with an absent one behind it",
         {"own:glass", "own:divider", "sni:gone"},
         {"own:glass", "own:divider"},
         "own:divider",
         1,
         {"own:glass", "own:divider", "sni:gone"}},
        {"newcomers are remembered",
         {"sni:a"},
         {"sni:a", "sni:new", "own:glass"},
         "sni:new",
         1,
         {"own:glass", "sni:new", "sni:a"}},
        {"doubles and rubbish go",
         {"", "sni:a", "no identity", "sni:gone", "sni:a", "sni:gone", "sni:b"},
         {"sni:a", "sni:b"},
         "sni:b",
         0,
         {"sni:b", "sni:a", "sni:gone"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(afterDrag(row.remembered, row.present, row.dragged, row.index), row.after);
    }
}

TEST(StatusOrder, ADragForgetsNobodyAndShowsWhatTheUserDid) {
    Orders orders;
    for (int round = 0; round < 3000; ++round) {
        SCOPED_TRACE(round);
        const StatusOrder remembered = orders.next(12);
        StatusOrder present = orders.next(11);
        if (present.empty()) {
            present.emplace_back("sni:only");
        }
        const StatusOrder row = mergeOrder(remembered, present);
        const std::string dragged = row[orders.below(row.size())];
        const std::size_t index = orders.below(row.size() + 2);
        const StatusOrder after = afterDrag(remembered, present, dragged, index);

        EXPECT_EQ(mergeOrder(after, present), moved(row, dragged, index));
        StatusOrder all = remembered;
        all.insert(all.end(), present.begin(), present.end());
        const std::set<std::string> everyone(all.begin(), all.end());
        EXPECT_EQ(sorted(after), StatusOrder(everyone.begin(), everyone.end()));

        const bool hasMoved = moved(row, dragged, index) != row;
        const StatusOrder staying =
            only(remembered, [&](const auto& each) { return !hasMoved || each != dragged; });
        for (std::size_t rank = 1; rank < staying.size(); ++rank) {
            if (std::ranges::find(present, staying[rank]) == present.end()) {
                EXPECT_EQ(place(after, staying[rank]), place(after, staying[rank - 1]) + 1) << staying[rank];
            }
        }
    }
}

TEST(StatusOrder, RemembersNoMoreThanItsLimit) {
    StatusOrder remembered{"own:glass"};
    for (int number = 0; number < 20'000; ++number) {
        remembered.push_back("sni:gone" + std::to_string(number));
    }
    remembered.emplace_back("sni:there");
    const StatusOrder after = afterDrag(remembered, {"own:glass", "sni:there", "sni:new"}, "sni:new", 1);
    ASSERT_EQ(after.size(), longestOrder);
    EXPECT_EQ(after[0], "own:glass");
    EXPECT_EQ(after[1], "sni:gone0") << "behind the glass, as before";
    EXPECT_EQ(after[longestOrder - 3], "sni:gone252") << "the rightmost absent ones are kept";
    EXPECT_EQ(mergeOrder(after, {"sni:new", "sni:there", "own:glass"}),
              (StatusOrder{"own:glass", "sni:new", "sni:there"}));

    StatusOrder full(remembered.begin(), remembered.begin() + static_cast<long>(longestOrder));
    EXPECT_EQ(afterDrag(full, {"own:glass"}, "own:glass", 0), full) << "exactly as many as fit";

    const StatusOrder crowd(remembered.begin() + 1, remembered.begin() + 301);
    EXPECT_EQ(afterDrag({}, crowd, crowd[299], 0).size(), longestOrder);
}

TEST(StatusOrder, NothingOfTheSuiteIsLeftOfADivider) {
    const struct {
        const char* name;
        StatusOrder order;
        StatusOrder dividers;
        StatusOrder inSight;
    } rows[] = {
        {"nothing", {}, {"own:divider"}, {}},
        {"no divider", {"sni:a", "own:glass"}, {}, {"sni:a", "own:glass"}},
        {"a divider that is not there", {"sni:a", "own:glass"}, {"own:divider"}, {"sni:a", "own:glass"}},
        {"in order",
         {"own:glass", "own:divider", "sni:a"},
         {"own:divider"},
         {"own:glass", "own:divider", "sni:a"}},
        {"glass hidden",
         {"own:divider", "sni:a", "own:glass"},
         {"own:divider"},
         {"own:glass", "own:divider", "sni:a"}},
        {"two hidden keep their order",
         {"sni:r", "own:divider", "own:x", "sni:a", "own:y"},
         {"own:divider"},
         {"sni:r", "own:x", "own:y", "own:divider", "sni:a"}},
        {"between two dividers",
         {"sni:r", "own:d1", "own:glass", "sni:a", "own:d2", "own:x"},
         {"own:d2", "own:d1"},
         {"sni:r", "own:glass", "own:x", "own:d1", "sni:a", "own:d2"}},
        {"divider alone", {"own:divider"}, {"own:divider"}, {"own:divider"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(withSuiteInSight(row.order, row.dividers), row.inSight);
    }
}

TEST(StatusOrder, BringingTheSuiteInSightLeavesForeignItemsAlone) {
    Orders orders;
    for (int round = 0; round < 3000; ++round) {
        SCOPED_TRACE(round);
        const StatusOrder order = orders.next(12);
        const StatusOrder dividers = round % 2 == 0 ? StatusOrder{"own:0"} : StatusOrder{"own:3", "own:6"};
        const auto isDivider = [&](const std::string& each) {
            return std::ranges::find(dividers, each) != dividers.end();
        };
        const auto isForeign = [](const std::string& each) { return !isOwnItem(each); };
        const auto staysPut = [&](const std::string& each) { return isForeign(each) || isDivider(each); };
        const StatusOrder inSight = withSuiteInSight(order, dividers);
        EXPECT_EQ(sorted(inSight), sorted(order));
        EXPECT_EQ(only(inSight, staysPut), only(order, staysPut));
        bool isPastDivider = false;
        for (const std::string& each : inSight) {
            EXPECT_TRUE(!isPastDivider || staysPut(each)) << each;
            isPastDivider = isPastDivider || isDivider(each);
        }
        EXPECT_EQ(withSuiteInSight(inSight, dividers), inSight);
    }
}

} // namespace
