#include "Mordan/MordanTexts.hpp"

#include "ZorbelKit/Host/Language.hpp"
#include "ZorbelKit/Utf8.hpp"

#include <array>
#include <cstdint>
#include <functional>

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

constexpr std::size_t longestWord = 48;                 // code points; from there on a word may be broken
constexpr std::string_view breakPlace = "\xE2\x80\x8B"; // a space without width

/// Where breaking does no harm: a letter of other scripts may go together with the one before it.
bool isPlainLetter(char32_t codePoint) {
    return codePoint > 0x20 && codePoint < 0x7F;
}

/// The least number from 0 to `most` that `holds`, as all greater ones do; `most` where none below does.
std::size_t leastThat(std::size_t most, const std::function<bool(std::size_t)>& holds) {
    std::size_t least = 0;
    while (least < most) {
        const std::size_t middle = least + (most - least) / 2;
        if (holds(middle)) {
            most = middle;
        } else {
            least = middle + 1;
        }
    }
    return least;
}

} // namespace

std::string_view symbolName(Wound::Kind kind) {
    return words.at(static_cast<std::size_t>(kind)).symbol;
}

std::string_view kindText(Wound::Kind kind) {
    return words.at(static_cast<std::size_t>(kind)).name;
}

std::string lineText(std::string_view preview) {
    return utf8::oneLine(preview);
}

std::string spokenText(const Wound& wound) {
    std::string text(kindText(wound.kind));
    text += ' ' + lineText(wound.preview);
    return wound.pinned ? text + ", pinned" : text;
}

std::string originText(const Wound& wound, std::string_view timeOfDay) {
    const std::string source = wound.source ? lineText(*wound.source) : std::string();
    return source.empty() ? std::string(timeOfDay) : source + ", " + std::string(timeOfDay);
}

std::string tipText(std::string_view preview) {
    std::string text;
    text.reserve(preview.size());
    std::size_t wordLength = 0;
    while (!preview.empty()) {
        const auto next = utf8::first(preview);
        const bool isKept = next.value == '\n' || next.value == '\t' || !utf8::isControl(next.value);
        if (isKept) {
            wordLength = utf8::isSpace(next.value) ? 0 : wordLength + 1;
            if (wordLength > longestWord && isPlainLetter(next.value)) {
                text += breakPlace;
                wordLength = 1;
            }
            text.append(preview.substr(0, next.length));
        }
        preview.remove_prefix(next.length);
    }
    return text;
}

std::optional<TextSpan> foundIn(std::string_view line, std::string_view search, const Language& language) {
    const std::string wanted = language.folded(lineText(search));
    const auto holds = [&](std::string_view part) {
        return language.folded(part).find(wanted) != std::string::npos;
    };
    if (wanted.empty() || !holds(line)) {
        return std::nullopt;
    }
    // A part that holds what is wanted still does when it grows: its end and then its beginning are searched
    // by halves, in whole characters.
    const std::size_t end = leastThat(
        line.size(), [&](std::size_t characters) { return holds(language.prefix(line, characters)); });
    line = language.prefix(line, end);
    const auto without = [&](std::size_t characters) {
        return line.substr(language.prefix(line, characters).size());
    };
    const std::size_t past =
        leastThat(line.size(), [&](std::size_t characters) { return !holds(without(characters)); });
    const std::string_view found = without(past - 1);
    return TextSpan{line.size() - found.size(), found.size()};
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
