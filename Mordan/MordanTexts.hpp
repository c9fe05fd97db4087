#pragma once

#include "Mordan/Wound.hpp"
#include "ZorbelKit/Color.hpp"
#include "ZorbelKit/Forward.hpp"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace Mordan {

/// The symbol that stands for a kind of entry, by its name among the program's drawings.
std::string_view symbolName(Wound::Kind kind);

/// What a kind is called: "Text", "Code", "Link", "Colour", "Image", "File".
std::string_view kindText(Wound::Kind kind);

/// A preview as one line: runs of white space, line ends and control characters become one space each.
std::string lineText(std::string_view preview);

/// What a screen reader says of an entry: "Link https://zorbel.org, pinned".
std::string spokenText(const Wound& wound);

/// Where and when an entry was copied: "xterm, 14:02", or only the time of day.
std::string originText(const Wound& wound, std::string_view timeOfDay);

/// A preview as a tool tip shows it: lines and tabs kept, other control characters gone, and long words with
/// places at which they may be broken.
std::string tipText(std::string_view preview);

/// A part of a text, in bytes.
struct TextSpan {
    std::size_t begin = 0;
    std::size_t length = 0;
    bool operator==(const TextSpan&) const = default;
};

/// The first and shortest part of a line in which `search` is found, case aside; it is looked for as one line
/// too. None where it is not in there, or there is nothing to look for.
std::optional<TextSpan> foundIn(std::string_view line, std::string_view search,
                                const ZorbelKit::Language& language);

/// The colour that a colour entry writes, "#rgb" or "#rrggbb" with white space around it; none for any other
/// text.
std::optional<ZorbelKit::Color> writtenColour(std::string_view preview);

/// How many entries are listed of those held: "12", or "3 of 12" while a search holds some back.
std::string countText(std::size_t shown, std::size_t held);

} // namespace Mordan
