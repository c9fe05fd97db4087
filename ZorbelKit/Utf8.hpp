#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace ZorbelKit::utf8 {

/// One code point and the bytes it takes. A byte that is no UTF-8 reads as U+FFFD, one byte long.
struct CodePoint {
    char32_t value = 0;
    std::size_t length = 0;
};

/// The code point that begins `text`, which is not empty.
CodePoint first(std::string_view text);

/// The code point that ends `text`, which is not empty.
CodePoint last(std::string_view text);

/// `text` with U+FFFD for whatever in it is no UTF-8.
std::string repaired(std::string text);

/// Whether a code point is white space or ends a line.
bool isSpace(char32_t codePoint);

/// Whether a code point is one of the control characters (C0, DEL, C1).
bool isControl(char32_t codePoint);

/// `text` on one line: runs of white space, line ends and control characters become one space each, and those
/// at both its ends go.
std::string oneLine(std::string_view text);

/// `text` without the white space and line ends at both its ends.
std::string_view trimmed(std::string_view text);

/// The longest beginning of `text` that fits into so many bytes and ends with a whole code point.
std::string_view prefixOfBytes(std::string_view text, std::size_t bytes);

} // namespace ZorbelKit::utf8
