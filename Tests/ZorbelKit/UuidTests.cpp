#include "ZorbelKit/Uuid.hpp"

#include <gtest/gtest.h>

#include <set>

using ZorbelKit::Uuid;

TEST(Uuid, IsNewEveryTime) {
    std::set<Uuid> seen;
    for (int count = 0; count < 10'000; ++count) {
        EXPECT_TRUE(seen.insert(Uuid::make()).second);
    }
}

TEST(Uuid, SaysThatItIsRandom) {
    for (int count = 0; count < 100; ++count) {
        const Uuid uuid = Uuid::make();
        EXPECT_EQ((uuid.high >> 12) & 0xF, 4U) << "version";
        EXPECT_EQ(uuid.low >> 62, 2U) << "variant";
    }
}
