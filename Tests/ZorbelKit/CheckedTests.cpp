#include "ZorbelKit/Checked.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

namespace {

constexpr auto most = std::numeric_limits<std::uint64_t>::max();
constexpr auto highest = std::numeric_limits<std::int64_t>::max();
constexpr auto lowest = std::numeric_limits<std::int64_t>::min();
constexpr double twoTo63 = 9223372036854775808.0;

} // namespace

TEST(Checked, AddsUpToTheBorder) {
    EXPECT_EQ(checked::add<std::uint64_t>(0, 0), 0U);
    EXPECT_EQ(checked::add<std::uint64_t>(most - 1, 1), most);
    EXPECT_EQ(checked::add<std::uint64_t>(most, 0), most);
    EXPECT_EQ(checked::add<std::int64_t>(highest - 1, 1), highest);
    EXPECT_EQ(checked::add<std::int64_t>(lowest + 1, -1), lowest);
    EXPECT_EQ(checked::add<std::int64_t>(highest, lowest), -1);
}

TEST(Checked, StopsTheProcessWhenASumDoesNotFit) {
    EXPECT_DEATH((void)checked::add<std::uint64_t>(most, 1), "arithmetic overflow in add");
    EXPECT_DEATH((void)checked::add<std::uint64_t>(1, most), "arithmetic overflow in add");
    EXPECT_DEATH((void)checked::add<std::int64_t>(highest, 1), "arithmetic overflow in add");
    EXPECT_DEATH((void)checked::add<std::int64_t>(lowest, -1), "arithmetic overflow in add");
    EXPECT_DEATH((void)checked::add<std::int8_t>(127, 1), "arithmetic overflow in add");
}

TEST(Checked, MultipliesUpToTheBorder) {
    EXPECT_EQ(checked::multiply<std::uint64_t>(most, 1), most);
    EXPECT_EQ(checked::multiply<std::uint64_t>(most, 0), 0U);
    EXPECT_EQ(checked::multiply<std::uint64_t>(0xFFFF'FFFF, 0x1'0000'0001), most); // (2^32 − 1)(2^32 + 1)
    EXPECT_EQ(checked::multiply<std::int64_t>(lowest / 2, 2), lowest);
    EXPECT_EQ(checked::multiply<std::int64_t>(highest, -1), -highest);
}

TEST(Checked, StopsTheProcessWhenAProductDoesNotFit) {
    EXPECT_DEATH((void)checked::multiply<std::uint64_t>(1ULL << 32, 1ULL << 32),
                 "arithmetic overflow in multiply");
    EXPECT_DEATH((void)checked::multiply<std::uint64_t>(most, 2), "arithmetic overflow in multiply");
    EXPECT_DEATH((void)checked::multiply<std::int64_t>(lowest, -1), "arithmetic overflow in multiply");
    EXPECT_DEATH((void)checked::multiply<std::int64_t>(highest / 2 + 1, 2),
                 "arithmetic overflow in multiply");
}

TEST(Checked, TruncatesTowardZero) {
    const struct {
        const char* name;
        double value;
        std::int64_t whole;
    } rows[] = {
        {"zero", 0.0, 0},
        {"minus zero", -0.0, 0},
        {"almost one", 0.999999, 0},
        {"almost minus one", -0.999999, 0},
        {"one", 1.0, 1},
        {"a half up", 2.5, 2},
        {"a half down", -2.5, -2},
        {"smallest", std::numeric_limits<double>::denorm_min(), 0},
        {"last double below 2^63", std::nextafter(twoTo63, 0.0), 9223372036854774784},
        {"-2^63", -twoTo63, lowest},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(checked::toInt64(row.value), row.whole);
    }
}

TEST(Checked, StopsTheProcessForAValueThatIsNoWholeNumberOf64Bits) {
    const struct {
        const char* name;
        double value;
    } rows[] = {
        {"2^63", twoTo63},
        {"just below -2^63", std::nextafter(-twoTo63, -2 * twoTo63)},
        {"infinity", std::numeric_limits<double>::infinity()},
        {"minus infinity", -std::numeric_limits<double>::infinity()},
        {"not a number", std::numeric_limits<double>::quiet_NaN()},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_DEATH((void)checked::toInt64(row.value), "arithmetic overflow in toInt64");
    }
}

TEST(Checked, ASumThatDoesNotFitIsTheLargestThereIs) {
    constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(checked::saturatingAdd(largest - 2, std::int64_t{2}), largest);
    EXPECT_EQ(checked::saturatingAdd(largest - 2, std::int64_t{3}), largest);
    EXPECT_EQ(checked::saturatingAdd(largest, largest), largest);
}
