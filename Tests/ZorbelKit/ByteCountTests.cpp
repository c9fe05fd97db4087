#include "ZorbelKit/ByteCount.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

using ZorbelKit::byteCountText;
using ZorbelKit::CountStyle;

namespace {

constexpr std::int64_t binaryMega = 1LL << 20;
constexpr std::int64_t binaryGiga = 1LL << 30;

struct Row {
    const char* name;
    std::int64_t bytes;
    const char* text;
};

} // namespace

TEST(ByteCount, FilesAreCountedInThousands) {
    const Row rows[] = {
        {"nothing", 0, "Zero MB"},
        {"one byte", 1, "0 MB"},
        {"half a step rounds to the even zero", 50'000, "0 MB"},
        {"just over half a step", 50'001, "0.1 MB"},
        {"one and a half steps round to the even two", 150'000, "0.2 MB"},
        {"two and a half steps round to the even two", 250'000, "0.2 MB"},
        {"just below half a megabyte", 499'999, "0.5 MB"},
        {"half a megabyte", 500'000, "0.5 MB"},
        {"just below a megabyte and its last step", 949'999, "0.9 MB"},
        {"rounded up to a megabyte", 950'001, "1 MB"},
        {"just below a megabyte", 999'999, "1 MB"},
        {"a megabyte", 1'000'000, "1 MB"},
        {"a binary megabyte", binaryMega, "1 MB"},
        {"one fraction digit", 1'234'567, "1.2 MB"},
        {"no grouping", 512'000'000, "512 MB"},
        {"below the last step of the megabytes", 999'949'999, "999.9 MB"},
        {"rounded up to a thousand megabytes", 999'950'000, "1000 MB"},
        {"just below a gigabyte", 999'999'999, "1000 MB"},
        {"a gigabyte", 1'000'000'000, "1 GB"},
        {"below a step past a gigabyte", 1'004'999'999, "1 GB"},
        {"half a step past rounds to even", 1'005'000'000, "1 GB"},
        {"just over half a step past", 1'005'000'001, "1.01 GB"},
        {"half a step from an odd one", 1'015'000'000, "1.02 GB"},
        {"two fraction digits", 1'234'567'890, "1.23 GB"},
        {"no trailing zero", 1'500'000'000, "1.5 GB"},
        {"no trailing zero after rounding", 1'099'999'999, "1.1 GB"},
        {"a zero between digits stays", 1'050'000'000, "1.05 GB"},
        {"zeros before the mark stay", 20'000'000'000, "20 GB"},
        {"a terabyte stays in gigabytes", 1'000'000'000'000, "1000 GB"},
        {"the largest", std::numeric_limits<std::int64_t>::max(), "9223372036.85 GB"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(byteCountText(row.bytes, CountStyle::file), row.text);
    }
}

TEST(ByteCount, MemoryIsCountedInPowersOfTwo) {
    const Row rows[] = {
        {"nothing", 0, "Zero MB"},
        {"one byte", 1, "0 MB"},
        {"a decimal megabyte", 1'000'000, "1 MB"},
        {"just below 2^20", binaryMega - 1, "1 MB"},
        {"2^20", binaryMega, "1 MB"},
        {"just above 2^20", binaryMega + 1, "1 MB"},
        {"half of 2^20", binaryMega / 2, "0.5 MB"},
        {"below a twentieth of 2^20", 52'428, "0 MB"},
        {"above a twentieth of 2^20", 52'429, "0.1 MB"},
        {"one and a half", 3 * binaryMega / 2, "1.5 MB"},
        {"a quarter rounds to even", 5 * binaryMega / 4, "1.2 MB"},
        {"three quarters round to even", 7 * binaryMega / 4, "1.8 MB"},
        {"a decimal gigabyte", 1'000'000'000, "953.7 MB"},
        {"just below 2^30", binaryGiga - 1, "1024 MB"},
        {"2^30", binaryGiga, "1 GB"},
        {"just above 2^30", binaryGiga + 1, "1 GB"},
        {"an eighth rounds to even", binaryGiga + binaryGiga / 8, "1.12 GB"},
        {"three eighths round to even", binaryGiga + 3 * binaryGiga / 8, "1.38 GB"},
        {"two fraction digits", 5 * binaryGiga / 4, "1.25 GB"},
        {"a usual machine", 16 * binaryGiga, "16 GB"},
        {"a terabyte stays in gigabytes", 1024 * binaryGiga, "1024 GB"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(byteCountText(row.bytes, CountStyle::memory), row.text);
        EXPECT_EQ(byteCountText(static_cast<std::uint64_t>(row.bytes), CountStyle::memory), row.text);
    }
}

TEST(ByteCount, NegativeSizesKeepTheirSignUnlessTheyReadAsZero) {
    const Row rows[] = {
        {"minus one byte", -1, "0 MB"},
        {"half a step", -50'000, "0 MB"},
        {"just over half a step", -50'001, "-0.1 MB"},
        {"megabytes", -1'500'000, "-1.5 MB"},
        {"just below a gigabyte", -999'999'999, "-1000 MB"},
        {"a gigabyte", -1'000'000'000, "-1 GB"},
        {"gigabytes", -2'250'000'000, "-2.25 GB"},
        {"the lowest", std::numeric_limits<std::int64_t>::min(), "-9223372036.85 GB"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(byteCountText(row.bytes, CountStyle::file), row.text);
    }
    EXPECT_EQ(byteCountText(std::numeric_limits<std::int64_t>::min(), CountStyle::memory), "-8589934592 GB");
}

TEST(ByteCount, ACountPast63BitsIsNotNegative) {
    const std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    EXPECT_EQ(byteCountText(std::uint64_t{1} << 63, CountStyle::file), "9223372036.85 GB");
    EXPECT_EQ(byteCountText(std::uint64_t{1} << 63, CountStyle::memory), "8589934592 GB");
    EXPECT_EQ(byteCountText(most, CountStyle::file), "18446744073.71 GB");
    EXPECT_EQ(byteCountText(most, CountStyle::memory), "17179869184 GB");
    EXPECT_EQ(byteCountText(std::uint64_t{0}, CountStyle::file), "Zero MB");
}

TEST(ByteCount, TheDecimalMarkIsTheUsers) {
    EXPECT_EQ(byteCountText(std::int64_t{1'500'000}, CountStyle::file, ','), "1,5 MB");
    EXPECT_EQ(byteCountText(std::int64_t{-2'250'000'000}, CountStyle::file, ','), "-2,25 GB");
    EXPECT_EQ(byteCountText(std::uint64_t{5} << 28, CountStyle::memory, ','), "1,25 GB");
    EXPECT_EQ(byteCountText(std::int64_t{3'000'000}, CountStyle::file, ','), "3 MB");
}

TEST(ByteCount, NeverEndsAFractionInAZero) {
    for (std::int64_t bytes = 0; bytes < 3'000'000'000; bytes += 1'234'567) {
        for (const CountStyle style : {CountStyle::file, CountStyle::memory}) {
            const std::string text = byteCountText(bytes, style);
            const std::string amount = text.substr(0, text.find(' '));
            if (amount.find('.') != std::string::npos) {
                EXPECT_NE(amount.back(), '0') << bytes;
                EXPECT_NE(amount.back(), '.') << bytes;
            }
        }
    }
}
