#include "Platforms/Linux/MenuBar/StatusLayout.hpp"

#include <gtest/gtest.h>

#include <random>

namespace {

using Linux::layoutStatusArea;
using Linux::StatusPlace;

TEST(StatusLayout, PlacesItemsFromTheRight) {
    struct Row {
        const char* name;
        std::vector<double> widths;
        double area;
        std::vector<double> x;         // of each item
        std::vector<double> visibleTo; // visible width; 0 for hidden
    };
    const Row rows[] = {
        {"all fit", {24, 26, 22, 26, 26}, 1280, {1256, 1230, 1208, 1182, 1156}, {24, 26, 22, 26, 26}},
        {"wide spacer",
         {24, 26, 10000, 26, 26},
         1280,
         {1256, 1230, -8770, -8796, -8822},
         {24, 26, 1230, 0, 0}},
        {"one too many", {24, 26, 26, 26}, 90, {66, 40, 14, -12}, {24, 26, 26, 0}},
        {"exact fit", {24, 26, 26}, 76, {52, 26, 0}, {24, 26, 26}},
        {"no half icons, nothing slips past", {24, 60, 10}, 80, {56, -4, -14}, {24, 0, 0}},
        {"spacer first", {10000, 24}, 1280, {-8720, -8744}, {1280, 0}},
        {"no room for the spacer", {50, 50, 10000}, 100, {50, 0, -10000}, {50, 50, 0}},
        {"absent items take no room", {24, 0, 22, 0, 26}, 200, {176, 176, 154, 154, 128}, {24, 0, 22, 0, 26}},
        {"nothing", {}, 100, {}, {}},
        {"negative counts as absent", {-5, 24}, 100, {100, 76}, {0, 24}},
        {"no area", {24}, 0, {-24}, {0}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const auto places = layoutStatusArea(row.widths, row.area);
        ASSERT_EQ(places.size(), row.x.size());
        for (std::size_t index = 0; index < places.size(); ++index) {
            SCOPED_TRACE(index);
            EXPECT_DOUBLE_EQ(places[index].x, row.x[index]);
            EXPECT_EQ(places[index].isVisible, row.visibleTo[index] > 0);
            EXPECT_DOUBLE_EQ(places[index].visibleWidth, row.visibleTo[index]);
        }
    }
}

TEST(StatusLayout, WhatIsHiddenIsAlwaysTheLeftEndOfTheRow) {
    std::mt19937 random(7);
    std::uniform_int_distribution<int> width(-3, 80);
    for (int round = 0; round < 2000; ++round) {
        std::vector<double> widths(static_cast<std::size_t>(round % 23));
        for (double& each : widths) {
            each = width(random);
        }
        const double area = width(random) * 10;
        bool hidden = false;
        double left = area;
        for (const StatusPlace& place : layoutStatusArea(widths, area)) {
            if (place.width == 0) {
                continue;
            }
            EXPECT_FALSE(hidden && place.isVisible) << "round " << round;
            hidden = hidden || !place.isVisible;
            if (place.isVisible) {
                EXPECT_GE(place.visibleX, 0);
                EXPECT_DOUBLE_EQ(place.visibleX + place.visibleWidth, left)
                    << "no gap to the item on its right";
                left = place.visibleX;
            }
        }
    }
}

} // namespace
