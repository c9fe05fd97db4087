#include "Tests/ZorbelKit/RecordingSpice.hpp"
#include "ZorbelKit/Wave.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>
#include <vector>

using ZorbelKit::allWaves;
using ZorbelKit::RecordingSpice;
using ZorbelKit::Wave;

TEST(Wave, ListsItsThreeGroupsInOrderWithTheirNumbersAndTitles) {
    const struct {
        int number;
        std::string_view title;
    } rows[] = {{0, "In the cup"}, {1, "Next batch"}, {2, "Later"}};
    ASSERT_EQ(allWaves.size(), std::size(rows));
    for (std::size_t index = 0; index < allWaves.size(); ++index) {
        SCOPED_TRACE(rows[index].title);
        EXPECT_EQ(static_cast<int>(allWaves[index]), rows[index].number);
        EXPECT_EQ(title(allWaves[index]), rows[index].title);
    }
}

TEST(Wave, SortsByItsNumber) {
    std::vector waves{Wave::later, Wave::inTheCup, Wave::nextBatch, Wave::inTheCup};
    std::ranges::sort(waves);
    EXPECT_EQ(waves, (std::vector{Wave::inTheCup, Wave::inTheCup, Wave::nextBatch, Wave::later}));
}

TEST(Wave, OnlySpicesOfTheFirstOneAreOnByDefault) {
    for (const Wave wave : allWaves) {
        SCOPED_TRACE(title(wave));
        EXPECT_EQ(isOnByDefault(RecordingSpice("test", wave)), wave == Wave::inTheCup);
    }
}
