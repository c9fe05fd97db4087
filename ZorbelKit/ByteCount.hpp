#pragma once

#include <cstdint>
#include <string>

namespace ZorbelKit {

/// How sizes are counted: files in decimal (1 MB = 1,000,000 bytes), memory in binary (1 MB = 2^20 bytes).
enum class CountStyle { file, memory };

/// A size as "512 MB" or "1.25 GB"; megabytes and gigabytes only. One fraction digit for megabytes, two for
/// gigabytes, no trailing zeros; gigabytes from one whole gigabyte on. Zero reads "Zero MB" ("Zero KB" is
/// never used); negative sizes keep their sign. The decimal mark is the one of `decimalMark`.
std::string byteCountText(std::int64_t bytes, CountStyle style, char decimalMark = '.');

/// The same for a count that cannot be negative and may pass 2^63.
std::string byteCountText(std::uint64_t bytes, CountStyle style, char decimalMark = '.');

} // namespace ZorbelKit
