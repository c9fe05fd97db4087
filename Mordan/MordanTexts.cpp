#include "Mordan/MordanTexts.hpp"

#include "ZorbelKit/Utf8.hpp"

#include <array>
#include <cstdint>

namespace Mordan {

using namespace ZorbelKit;

namespace {

struct KindWords {
    std::string_view symbol;
    std::string_view name;
};

constexpr std::array<KindWords, 6> words{{
    {"text.alignleft", "Text"},
    {"chevron.left.forwardslash.chevron.right", "Code"},
    {"link", "Link"},
    {"paintpalette", "Colour"},
    {"photo", "Image"},
    {"doc", "File"},
}};

std::optional<std::uint32_t> hexDigit(char character) {
    if (character >= '0' && character <= '9') {
        return character - '0';
    }
    if (character >= 'A' && character <= 'F') {
        return character - 'A' + 10;
    }
    if (character >= 'a' && character <= 'f') {
        return character - 'a' + 10;
    }
    return std::nullopt;
}

bool isControl(char32_t codePoint) {
    return codePoint < 0x20 || (codePoint >= 0x7F && codePoint < 0xA0);
}

} // namespace

std::string_view symbolName(Wound::Kind kind) {
    return words.at(static_cast<std::size_t>(kind)).symbol;
}

std::string_view kindText(Wound::Kind kind) {
    return words.at(static_cast<std::size_t>(kind)).name;
}

std::string lineText(std::string_view preview) {
    std::string line;
    line.reserve(preview.size());
    bool isGap = false;
    while (!preview.empty()) {
        const auto next = utf8::first(preview);
        if (utf8::isSpace(next.value) || isControl(next.value)) {
            isGap = !line.empty();
        } else {
            if (isGap) {
                line += ' ';
                isGap = false;
            }
            line.append(preview.substr(0, next.length));
        }
        preview.remove_prefix(next.length);
    }
    return line;
}

std::optional<Color> writtenColour(std::string_view preview) {
    std::string_view digits = utf8::trimmed(preview);
    if ((digits.size() != 4 && digits.size() != 7) || digits.front() != '#') {
        return std::nullopt;
    }
    digits.remove_prefix(1);
    const bool isShort = digits.size() == 3;
    std::uint32_t bits = 0;
    for (const char character : digits) {
        const auto digit = hexDigit(character);
        if (!digit) {
            return std::nullopt;
        }
        bits = bits << 4 | *digit;
        if (isShort) {
            bits = bits << 4 | *digit; // each digit stands for two
        }
    }
    const auto component = [bits](int shift) { return static_cast<double>((bits >> shift) & 0xFF) / 255; };
    return Color{component(16), component(8), component(0)};
}

std::string countText(std::size_t shown, std::size_t held) {
    return shown == held ? std::to_string(held) : std::to_string(shown) + " of " + std::to_string(held);
}

} // namespace Mordan
