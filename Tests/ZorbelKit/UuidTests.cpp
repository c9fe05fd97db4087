#include "ZorbelKit/Uuid.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <string>

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

TEST(Uuid, IsWrittenInGroupsOfCapitalDigits) {
    const struct {
        const char* name;
        Uuid uuid;
        std::string text;
    } rows[] = {
        {"nothing", {0, 0}, "00000000-0000-0000-0000-000000000000"},
        {"every digit", {0x0123456789ABCDEF, 0xFEDCBA9876543210}, "01234567-89AB-CDEF-FEDC-BA9876543210"},
        {"everything", {~std::uint64_t{0}, ~std::uint64_t{0}}, "FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF"},
        {"the first and the last bit", {std::uint64_t{1} << 63, 1}, "80000000-0000-0000-0000-000000000001"},
        {"beside each hyphen",
         {0x0000000110011001, 0x1001100000000000},
         "00000001-1001-1001-1001-100000000000"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(row.uuid.text(), row.text);
    }
}

TEST(Uuid, IsWrittenDifferentlyEveryTime) {
    std::set<std::string> seen;
    for (int count = 0; count < 1000; ++count) {
        const std::string text = Uuid::make().text();
        EXPECT_TRUE(seen.insert(text).second);
        EXPECT_EQ(text.size(), 36U);
        EXPECT_EQ(text[14], '4') << "version";
    }
}
