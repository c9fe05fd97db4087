#include "ZorbelKit/Utf8.hpp"

#include <algorithm>
#include <cstring>

namespace ZorbelKit::utf8 {

namespace {

constexpr char32_t replacement = 0xFFFD;
constexpr std::string_view replacementBytes = "\xEF\xBF\xBD";

std::uint8_t byteAt(std::string_view text, std::size_t index) {
    return static_cast<std::uint8_t>(text[index]);
}

bool isContinuation(std::uint8_t byte) {
    return (byte & 0xC0) == 0x80;
}

/// How many bytes a code point takes that begins with this one; 0 where none does.
std::size_t lengthFrom(std::uint8_t lead) {
    if (lead < 0x80) {
        return 1;
    }
    if (lead < 0xC2) {
        return 0;
    }
    return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 0;
}

bool isBroken(CodePoint codePoint) {
    return codePoint.value == replacement && codePoint.length == 1; // the real one takes three bytes
}

/// How many of the first bytes are ASCII; eight at a time, for texts of many megabytes.
std::size_t asciiLength(std::string_view text) {
    constexpr std::uint64_t highBits = 0x8080808080808080;
    std::size_t length = 0;
    for (std::uint64_t eight = 0; length + sizeof(eight) <= text.size(); length += sizeof(eight)) {
        std::memcpy(&eight, text.data() + length, sizeof(eight));
        if (eight & highBits) {
            break;
        }
    }
    while (length < text.size() && byteAt(text, length) < 0x80) {
        ++length;
    }
    return length;
}

/// How many of the first bytes are whole code points.
std::size_t wholeLength(std::string_view text) {
    std::size_t length = 0;
    while (length < text.size()) {
        length += asciiLength(text.substr(length));
        if (length < text.size()) {
            const CodePoint next = first(text.substr(length));
            if (isBroken(next)) {
                break;
            }
            length += next.length;
        }
    }
    return length;
}

} // namespace

CodePoint first(std::string_view text) {
    constexpr CodePoint broken{replacement, 1};
    const std::uint8_t lead = byteAt(text, 0);
    const std::size_t length = lengthFrom(lead);
    if (length == 1) {
        return {lead, 1};
    }
    if (length == 0 || length > text.size()) {
        return broken;
    }
    char32_t value = lead & (0xFFU >> (length + 1));
    for (std::size_t index = 1; index < length; ++index) {
        const std::uint8_t byte = byteAt(text, index);
        if (!isContinuation(byte)) {
            return broken;
        }
        value = (value << 6) | (byte & 0x3FU);
    }
    constexpr char32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool isSurrogate = value >= 0xD800 && value <= 0xDFFF;
    return value < least[length] || value > 0x10FFFF || isSurrogate ? broken : CodePoint{value, length};
}

CodePoint last(std::string_view text) {
    const std::size_t most = std::min<std::size_t>(4, text.size());
    for (std::size_t length = 1; length <= most; ++length) {
        const std::string_view tail = text.substr(text.size() - length);
        if (!isContinuation(byteAt(tail, 0))) {
            const CodePoint found = first(tail);
            return found.length == length ? found : CodePoint{replacement, 1};
        }
    }
    return {replacement, 1};
}

std::string repaired(std::string text) {
    std::size_t whole = wholeLength(text);
    if (whole == text.size()) {
        return text; // nearly every text: not copied
    }
    std::string result;
    result.reserve(text.size() + 64);
    std::string_view rest = text;
    for (;;) {
        result.append(rest.substr(0, whole));
        rest.remove_prefix(whole);
        if (rest.empty()) {
            return result;
        }
        result.append(replacementBytes);
        rest.remove_prefix(1);
        whole = wholeLength(rest);
    }
}

bool isSpace(char32_t codePoint) {
    return (codePoint >= 0x09 && codePoint <= 0x0D) || codePoint == 0x20 || codePoint == 0x85 ||
           codePoint == 0xA0 || codePoint == 0x1680 || (codePoint >= 0x2000 && codePoint <= 0x200A) ||
           codePoint == 0x2028 || codePoint == 0x2029 || codePoint == 0x202F || codePoint == 0x205F ||
           codePoint == 0x3000;
}

bool isControl(char32_t codePoint) {
    return codePoint < 0x20 || (codePoint >= 0x7F && codePoint < 0xA0);
}

std::string oneLine(std::string_view text) {
    std::string line;
    line.reserve(text.size());
    bool isGap = false;
    while (!text.empty()) {
        const auto next = first(text);
        if (isSpace(next.value) || isControl(next.value)) {
            isGap = !line.empty();
        } else {
            if (isGap) {
                line += ' ';
                isGap = false;
            }
            line.append(text.substr(0, next.length));
        }
        text.remove_prefix(next.length);
    }
    return line;
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isSpace(first(text).value)) {
        text.remove_prefix(first(text).length);
    }
    while (!text.empty() && isSpace(last(text).value)) {
        text.remove_suffix(last(text).length);
    }
    return text;
}

std::string_view prefixOfBytes(std::string_view text, std::size_t bytes) {
    if (text.size() <= bytes) {
        return text;
    }
    std::size_t end = bytes;
    while (end > 0 && bytes - end < 3 && isContinuation(byteAt(text, end))) {
        --end;
    }
    return text.substr(0, end);
}

} // namespace ZorbelKit::utf8
