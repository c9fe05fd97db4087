#include "Rusket/Vitals.hpp"
#include "ZorbelKit/Percent.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

using Rusket::asMemorySize;
using Rusket::Vitals;
using ZorbelKit::percentText;

TEST(Vitals, StartAtZero) {
    EXPECT_EQ(Vitals{}, (Vitals{.cpu = 0, .memoryUsed = 0, .memoryTotal = 0, .memoryPressure = 0}));
}

TEST(Vitals, AreEqualOnlyWhenEveryFieldIs) {
    const Vitals reading{.cpu = 0.5, .memoryUsed = 1, .memoryTotal = 2, .memoryPressure = 0.25};
    EXPECT_EQ(reading, Vitals(reading));
    EXPECT_NE(reading, (Vitals{0.6, 1, 2, 0.25}));
    EXPECT_NE(reading, (Vitals{0.5, 3, 2, 0.25}));
    EXPECT_NE(reading, (Vitals{0.5, 1, 3, 0.25}));
    EXPECT_NE(reading, (Vitals{0.5, 1, 2, 0.26}));
}

TEST(Vitals, TheMemoryFractionIsUsedOverTotalWithoutACap) {
    const std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    const struct {
        const char* name;
        std::uint64_t used;
        std::uint64_t total;
        double fraction;
    } rows[] = {
        {"nothing of nothing", 0, 0, 0},
        {"something of nothing", 5, 0, 0},
        {"nothing of something", 0, 8, 0},
        {"half", 4, 8, 0.5},
        {"all", 8, 8, 1},
        {"more than there is", 12, 8, 1.5},
        {"the largest", most, most, 1},
        {"the largest of one byte", most, 1, 18446744073709551616.0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ((Vitals{.memoryUsed = row.used, .memoryTotal = row.total}.memoryFraction()), row.fraction);
    }
}

TEST(Vitals, PercentagesAreTruncatedTowardZero) {
    const struct {
        const char* name;
        double fraction;
        const char* text;
    } rows[] = {
        {"zero", 0, "0%"},
        {"almost one percent", 0.00999, "0%"},
        {"one percent", 0.01, "1%"},
        {"half", 0.5, "50%"},
        {"just below half", 0.4999, "49%"},
        {"almost all", 0.999, "99%"},
        {"the last fraction below one", std::nextafter(1.0, 0.0), "99%"},
        {"all", 1, "100%"},
        {"more than all", 1.509, "150%"},
        {"barely negative", -0.009, "0%"},
        {"negative", -0.019, "-1%"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(percentText(row.fraction), row.text);
    }
}

TEST(Vitals, APercentageThatIsNoNumberStopsTheProcess) {
    EXPECT_DEATH((void)percentText(std::numeric_limits<double>::quiet_NaN()), "arithmetic overflow");
    EXPECT_DEATH((void)percentText(1e18), "arithmetic overflow");
}

TEST(Vitals, MemorySizesAreBinary) {
    const struct {
        const char* name;
        std::uint64_t bytes;
        const char* text;
    } rows[] = {
        {"nothing", 0, "Zero MB"},
        {"half a gigabyte", 1ULL << 29, "512 MB"},
        {"just below a gigabyte", (1ULL << 30) - 1, "1024 MB"},
        {"a gigabyte", 1ULL << 30, "1 GB"},
        {"one and a half", 3ULL << 29, "1.5 GB"},
        {"sixteen", 1ULL << 34, "16 GB"},
        {"the largest", std::numeric_limits<std::uint64_t>::max(), "17179869184 GB"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(asMemorySize(row.bytes), row.text);
    }
}
